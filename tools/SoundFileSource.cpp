#include <sndfile.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/Error.h"

namespace umlauf::tool {
namespace {

struct CloseSoundFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

/// WAV, FLAC, W64, RF64, MAT and whatever else libsndfile reads. Floating-point files keep their numbers,
/// integer files come as parts of full scale (-1 ... 1).
class SoundFileSource final : public BlockSource {
 public:
  explicit SoundFileSource(const RecordingOptions& options) : path_(options.path.string()) {
    SF_INFO info{};
    file_.reset(sf_open(options.path.c_str(), SFM_READ, &info));
    if (!file_) {
      Fail(
          "cannot read {}: no recording in a known format ({}); give --raw FORMAT {} HZ if it is raw "
          "samples",
          path_, Reason(nullptr), options.rateOption);
    }
    if (info.samplerate <= 0 || info.channels <= 0 || info.frames < 0) {
      Fail("cannot read {}: its header tells no usable sample rate, channels and length", path_);
    }
    channels_ = static_cast<unsigned>(info.channels);
    channel_ = ChannelIndex(options, channels_);
    if (options.allChannels && !options.channel) width_ = channels_;
    channelName_ = fmt::format("channel {} of {}", channel_ + 1, channels_);
    sampleRate_ = info.samplerate;
    frames_ = static_cast<std::uint64_t>(info.frames);
  }

  SampleBlock Read(std::size_t count) override {
    // Wide recordings are read in smaller steps, so that memory does not grow with the number of channels.
    count = std::clamp<std::size_t>(bufferSamples / channels_, 1, count);
    buffer_.resize(count * channels_);
    const sf_count_t n = sf_readf_float(file_.get(), buffer_.data(), static_cast<sf_count_t>(count));
    if (n <= 0 && sf_error(file_.get()) != SF_ERR_NO_ERROR) {
      Fail("cannot read {}: {}", path_, Reason(file_.get()));
    }
    return {buffer_.data() + channel_, static_cast<std::size_t>(std::max<sf_count_t>(n, 0)), channels_};
  }

  void Rewind() override {
    if (sf_seek(file_.get(), 0, SEEK_SET) != 0) Fail("cannot read {} twice: {}", path_, Reason(file_.get()));
  }

 private:
  static constexpr std::size_t bufferSamples = std::size_t{1} << 22;

  static std::string Reason(SNDFILE* file) {
    std::string text = sf_strerror(file);
    std::replace(text.begin(), text.end(), '\n', ' ');
    while (text.ends_with('.') || text.ends_with(' ')) text.pop_back();
    return text;
  }

  std::string path_;
  std::unique_ptr<SNDFILE, CloseSoundFile> file_;
  std::vector<float> buffer_;
  unsigned channel_ = 0;
};

}  // namespace

std::unique_ptr<BlockSource> OpenSoundFile(const RecordingOptions& options) {
  return std::make_unique<SoundFileSource>(options);
}

}  // namespace umlauf::tool
