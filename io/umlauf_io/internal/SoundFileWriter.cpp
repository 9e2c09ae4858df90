#include <sndfile.h>

#include <algorithm>
#include <cmath>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameWriter.h"

namespace umlauf::io {
namespace {

constexpr double largestWav = 4e9;  ///< [bytes]

class SoundFileWriter final : public FrameWriter {
 public:
  SoundFileWriter(COutputFile& out, const RecordingShape& shape)
      : name_(out.Target().string()), channels_(shape.channels) {
    SF_INFO info{};
    info.samplerate = numeric::trunc_sat<int>(std::round(shape.rate));
    info.channels = numeric::trunc_sat<int>(static_cast<double>(channels_));
    info.format = SoundFormat(out.Target());
    const int container = info.format & SF_FORMAT_TYPEMASK;
    fullScale_ = container == SF_FORMAT_FLAC;
    const double bytes = static_cast<double>(shape.frames.value_or(0)) * channels_ * sizeof(float);
    if (container == SF_FORMAT_WAV && bytes > largestWav) {
      Fail(Kind::unwritable, "{} samples do not fit into a WAV file; name the output .w64", *shape.frames);
    }
    if (info.samplerate < 1) {
      Fail(Kind::unwritable, "{}: a file tells no rate of {:g} samples/s; keep at least 1", name_,
           shape.rate);
    }
    file_.reset(sf_open(out.Temporary().string().c_str(), SFM_WRITE, &info));
    if (!file_) {
      Fail(Kind::unwritable, "cannot write {} with {} channels at {} samples/s: {}; name it .wav or .w64",
           name_, channels_, info.samplerate, sf_strerror(nullptr));
    }
    // The peak chunk holds the time of day, and the file would not be the same for the same samples.
    sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  }

  void Write(const float* samples, std::uint64_t frames) override {
    if (frames == 0) return;
    if (fullScale_) CheckRange(samples, frames);
    const auto count = static_cast<sf_count_t>(frames);
    if (sf_writef_float(file_.get(), samples, count) != count) {
      Fail(Kind::unwritable, "cannot write {}: {}", name_, sf_strerror(file_.get()));
    }
  }

  void Close() override {
    if (sf_close(file_.release()) != 0) {
      Fail(Kind::unwritable, "cannot write {}: the disk may be full", name_);
    }
  }

 private:
  void CheckRange(const float* samples, std::uint64_t frames) const {
    float min = 0, max = 0;
    QVL::VectorMinMax(samples, frames * channels_, 1, min, max);
    if (std::max(-min, max) > 1) {
      Fail(Kind::outOfRange,
           "{} holds numbers from -1 to 1, and {:g} is to be written; name it .wav, or make it smaller",
           name_, std::max(-min, max) == max ? max : min);
    }
  }

  std::string name_;
  unsigned channels_;
  bool fullScale_ = false;  ///< numbers beyond -1 ... 1 cannot be written
  std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_{nullptr, sf_close};
};

}  // namespace

int SoundFormat(const std::filesystem::path& name) {
  const auto ending = name.extension();
  if (ending == ".wav") return SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  if (ending == ".w64") return SF_FORMAT_W64 | SF_FORMAT_FLOAT;
  if (ending == ".flac") return SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
  return 0;
}

std::unique_ptr<FrameWriter> CreateSoundFile(COutputFile& out, const RecordingShape& shape) {
  return std::make_unique<SoundFileWriter>(out, shape);
}

}  // namespace umlauf::io
