#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/Error.h"
#include "umlauf/platform/framework/Types.h"

namespace umlauf::tool {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

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

/// Headerless little-endian samples, channels interleaved. Bytes behind the last whole frame are left out.
class RawSource final : public BlockSource {
 public:
  explicit RawSource(const RecordingOptions& options)
      : path_(options.path.string()), format_(*options.raw), file_(std::fopen(options.path.c_str(), "rb")) {
    if (!file_) Fail("cannot read {}: {}", path_, std::strerror(errno));
    channels_ = options.channels.value_or(1);
    channel_ = ChannelIndex(options, channels_);
    channelName_ = fmt::format("channel {} of {}", channel_ + 1, channels_);
    sampleRate_ = *options.rate;
    frameSize_ = SampleSize(format_) * channels_;
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(options.path, error);
    if (error) Fail("cannot read {}: {}", path_, error.message());
    frames_ = bytes / frameSize_;
  }

  SampleBlock Read(std::size_t count) override {
    bytes_.resize(count * frameSize_);
    samples_.resize(count);
    const std::size_t n = std::fread(bytes_.data(), frameSize_, count, file_.get());
    if (n < count && std::ferror(file_.get()) != 0) Fail("cannot read {}: {}", path_, std::strerror(errno));
    const char* first = bytes_.data() + channel_ * SampleSize(format_);
    switch (format_) {
      case RawFormat::f32:
        Convert<float>(first, n, frameSize_, samples_.data());
        break;
      case RawFormat::i16:
        Convert<std::int16_t>(first, n, frameSize_, samples_.data());
        break;
      case RawFormat::i32:
        Convert<std::int32_t>(first, n, frameSize_, samples_.data());
        break;
      case RawFormat::u32:
        Convert<std::uint32_t>(first, n, frameSize_, samples_.data());
        break;
    }
    return {samples_.data(), n, 1};
  }

  void Rewind() override { std::rewind(file_.get()); }

 private:
  std::string path_;
  RawFormat format_;
  std::unique_ptr<std::FILE, CloseFile> file_;
  std::vector<char> bytes_;
  std::vector<float> samples_;
  std::size_t frameSize_ = 0;
  unsigned channel_ = 0;
};

}  // namespace

std::unique_ptr<BlockSource> OpenRawFile(const RecordingOptions& options) {
  return std::make_unique<RawSource>(options);
}

}  // namespace umlauf::tool
