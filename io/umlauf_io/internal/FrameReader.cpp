#include "umlauf_io/internal/FrameReader.h"

#include <algorithm>

#include "umlauf_io/internal/Error.h"

namespace umlauf::io {

void FrameReader::Skip(std::uint64_t frames) {
  constexpr std::uint64_t step = 65536;
  while (frames > 0) {
    const std::size_t n = Read(static_cast<std::size_t>(std::min(frames, step))).count;
    if (n == 0) return;
    frames -= n;
  }
}

void FrameReader::Warn(const char* code, const std::string& text) {
  const auto same = [code](const RecordingWarning& each) { return each.code == code; };
  if (std::none_of(warnings_.begin(), warnings_.end(), same)) {
    warnings_.push_back({code, CString::FromUtf8(text)});
  }
}

void FrameReader::NumberChannels(unsigned count) {
  recordingChannels_ = count;
  channels_.reserve(count);
  for (unsigned i = 1; i <= count; ++i)
    channels_.push_back({i, fmt::format("channel {} of {}", i, count), ""});
}

}  // namespace umlauf::io
