#include <algorithm>
#include <cstring>

#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameReader.h"
#include "umlauf_io/internal/RawBytes.h"

namespace umlauf::io {
namespace {

constexpr std::size_t SampleSize(RawSamples format) { return format == RawSamples::i16 ? 2 : 4; }

constexpr const char* FormatName(RawSamples format) {
  switch (format) {
    case RawSamples::f32:
      return "raw, 32 bit float";
    case RawSamples::i16:
      return "raw, signed 16 bit";
    case RawSamples::i32:
      return "raw, signed 32 bit";
    case RawSamples::u32:
      return "raw, unsigned 32 bit";
  }
  return "raw";
}

/// Bytes of little-endian samples as numbers; integers keep their plain value.
template <class T>
void Convert(const char* bytes, std::size_t count, float* out) {
  for (std::size_t i = 0; i < count; ++i) {
    T value;
    std::memcpy(&value, bytes + i * sizeof value, sizeof value);
    out[i] = static_cast<float>(value);
  }
}

/// Headerless little-endian samples, channels interleaved.
class RawReader final : public FrameReader {
 public:
  RawReader(std::unique_ptr<ByteStream> stream, const RecordingFormat& format)
      : FrameReader(stream->name()),
        samplesFormat_(*format.raw),
        file_(std::move(stream), SampleSize(*format.raw) * format.rawChannels) {
    NumberChannels(format.rawChannels);
    format_ = FormatName(samplesFormat_);
    rate_ = *format.rate;
    frames_ = file_.frames();
    WarnOfOddBytes();
  }

  SampleBlock Read(std::size_t count) override {
    const std::size_t channels = channels_.size();
    count = std::clamp<std::size_t>(bufferSamples / channels, 1, count);
    samples_.resize(count * channels);
    if (samplesFormat_ == RawSamples::f32) {
      return {samples_.data(), Counted(file_.Read(samples_.data(), count)), channels};
    }
    bytes_.resize(count * file_.frameSize());
    const std::size_t n = Counted(file_.Read(bytes_.data(), count));
    switch (samplesFormat_) {
      case RawSamples::f32:
        break;
      case RawSamples::i16:
        Convert<std::int16_t>(bytes_.data(), n * channels, samples_.data());
        break;
      case RawSamples::i32:
        Convert<std::int32_t>(bytes_.data(), n * channels, samples_.data());
        break;
      case RawSamples::u32:
        Convert<std::uint32_t>(bytes_.data(), n * channels, samples_.data());
        break;
    }
    return {samples_.data(), n, channels};
  }

  bool Rewind() override { return file_.Rewind(); }

  void Skip(std::uint64_t frames) override {
    if (!file_.Skip(frames)) FrameReader::Skip(frames);
  }
  bool SkipsFast() const override { return frames_.has_value(); }

 private:
  static constexpr std::size_t bufferSamples = std::size_t{1} << 18;

  std::size_t Counted(std::size_t n) {
    if (n == 0) WarnOfOddBytes();
    return n;
  }
  void WarnOfOddBytes() {
    if (file_.oddBytes() > 0) Warn("odd-bytes", file_.OddBytesText());
  }

  RawSamples samplesFormat_;
  RawBytes file_;
  std::vector<char> bytes_;
  std::vector<float> samples_;
};

}  // namespace

std::unique_ptr<FrameReader> OpenRaw(std::unique_ptr<ByteStream> stream, const RecordingFormat& format) {
  if (format.rewindable) stream->MakeSeekable();
  return std::make_unique<RawReader>(std::move(stream), format);
}

}  // namespace umlauf::io
