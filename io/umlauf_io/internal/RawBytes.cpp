#include "umlauf_io/internal/RawBytes.h"

#include <algorithm>
#include <utility>

#include "umlauf_io/internal/Error.h"

namespace umlauf::io {

RawBytes::RawBytes(std::unique_ptr<ByteStream> stream, std::size_t frameSize)
    : stream_(std::move(stream)), frameSize_(frameSize) {
  if (stream_->length()) oddBytes_ = static_cast<std::size_t>(*stream_->length() % frameSize_);
  stream_->Seek(0);
}

std::optional<std::uint64_t> RawBytes::frames() const {
  if (!stream_->length()) return std::nullopt;
  return *stream_->length() / frameSize_;
}

std::string RawBytes::OddBytesText() const {
  return fmt::format(
      "{} ends with {} byte{} that make{} no whole frame of {}; check the format and the number of channels",
      name(), oddBytes_, oddBytes_ > 1 ? "s" : "", oddBytes_ > 1 ? "" : "s", frameSize_);
}

std::size_t RawBytes::Read(void* to, std::size_t count) {
  const std::size_t n = stream_->Read(to, count * frameSize_);
  if (n % frameSize_ != 0) oddBytes_ = n % frameSize_;
  return n / frameSize_;
}

bool RawBytes::Skip(std::uint64_t count) {
  if (!stream_->seekable()) return false;
  const std::uint64_t end = *frames() * frameSize_, here = stream_->position();
  const std::uint64_t left = (end - std::min(end, here)) / frameSize_;
  return stream_->Seek(here + std::min(count, left) * frameSize_);
}

}  // namespace umlauf::io
