#include <cstring>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/Error.h"
#include "tools/RawFile.h"
#include "umlauf/platform/framework/Types.h"

namespace umlauf::tool {
namespace {

constexpr std::size_t SampleSize(RawFormat format) { return format == RawFormat::i16 ? 2 : 4; }

/// Bytes of little-endian samples as numbers; integers keep their plain value.
template <class T>
void Convert(const char* bytes, std::size_t count, std::size_t stride, float* out) {
  for (std::size_t i = 0; i < count; ++i) {
    T value;
    std::memcpy(&value, bytes + i * stride, sizeof value);
    out[i] = static_cast<float>(value);
  }
}

/// Headerless little-endian samples, channels interleaved.
class RawSource final : public BlockSource {
 public:
  explicit RawSource(const RecordingOptions& options)
      : format_(*options.raw), file_(options.path, SampleSize(format_) * options.channels.value_or(1)) {
    channels_ = options.channels.value_or(1);
    channel_ = ChannelIndex(options, channels_);
    if (options.allChannels && !options.channel) width_ = channels_;
    channelName_ = fmt::format("channel {} of {}", channel_ + 1, channels_);
    sampleRate_ = *options.rate;
    frames_ = file_.frames();
  }

  SampleBlock Read(std::size_t count) override {
    bytes_.resize(count * file_.frameSize());
    samples_.resize(count * width_);
    const std::size_t n = file_.Read(bytes_.data(), count);
    const char* first = bytes_.data() + channel_ * SampleSize(format_);
    const std::size_t stride = width_ > 1 ? SampleSize(format_) : file_.frameSize();
    switch (format_) {
      case RawFormat::f32:
        Convert<float>(first, n * width_, stride, samples_.data());
        break;
      case RawFormat::i16:
        Convert<std::int16_t>(first, n * width_, stride, samples_.data());
        break;
      case RawFormat::i32:
        Convert<std::int32_t>(first, n * width_, stride, samples_.data());
        break;
      case RawFormat::u32:
        Convert<std::uint32_t>(first, n * width_, stride, samples_.data());
        break;
    }
    return {samples_.data(), n, width_};
  }

  void Rewind() override { file_.Rewind(); }

 private:
  RawFormat format_;
  RawFile file_;
  std::vector<char> bytes_;
  std::vector<float> samples_;
  unsigned channel_ = 0;
};

}  // namespace

std::unique_ptr<BlockSource> OpenRawFile(const RecordingOptions& options) {
  return std::make_unique<RawSource>(options);
}

}  // namespace umlauf::tool
