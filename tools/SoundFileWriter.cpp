#include "tools/SoundFileWriter.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>

#include "tools/Error.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

constexpr double largestWav = 4e9;  ///< [bytes]

int Format(const std::filesystem::path& target) {
  const auto ending = target.extension();
  if (ending == ".wav") return SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  if (ending == ".w64") return SF_FORMAT_W64 | SF_FORMAT_FLOAT;
  if (ending == ".flac") return SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
  return 0;
}

}  // namespace

struct SoundFileWriter::State {
  std::string name;
  unsigned channels;
  bool fullScale;  ///< numbers beyond -1 ... 1 cannot be written
  std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file{nullptr, sf_close};
};

void CheckSoundName(const std::string& option, const std::filesystem::path& target) {
  if (Format(target) == 0) {
    FailUsage("{} {}: a recording is written as .wav, .w64 or .flac; choose a name that ends so", option,
              target.string());
  }
}

SoundFileWriter::SoundFileWriter(OutputFile& out, double rate, unsigned channels, std::uint64_t frames)
    : state_(std::make_unique<State>()) {
  state_->name = out.target().string();
  state_->channels = channels;
  SF_INFO info{};
  info.samplerate = numeric::trunc_sat<int>(std::round(rate));
  info.channels = numeric::trunc_sat<int>(static_cast<double>(channels));
  info.format = Format(out.target());
  const int container = info.format & SF_FORMAT_TYPEMASK;
  state_->fullScale = container == SF_FORMAT_FLAC;
  if (container == SF_FORMAT_WAV && static_cast<double>(frames) * channels * sizeof(float) > largestWav) {
    Fail("{} samples do not fit into a WAV file; name the output .w64", frames);
  }
  if (info.samplerate < 1)
    Fail("{}: a file tells no rate of {:g} samples/s; keep at least 1", state_->name, rate);
  state_->file.reset(sf_open(out.temporary().c_str(), SFM_WRITE, &info));
  if (!state_->file) {
    Fail("cannot write {} with {} channels at {} samples/s: {}; name it .wav or .w64", state_->name, channels,
         info.samplerate, sf_strerror(nullptr));
  }
  // The peak chunk holds the time of day, and the file would not be the same for the same samples.
  sf_command(state_->file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

SoundFileWriter::~SoundFileWriter() = default;

void SoundFileWriter::Write(const float* samples, std::uint64_t frames) {
  if (frames == 0) return;
  if (state_->fullScale) {
    float min = 0, max = 0;
    QVL::VectorMinMax(samples, frames * state_->channels, 1, min, max);
    if (std::max(-min, max) > 1) {
      Fail(
          "{} holds numbers from -1 to 1, and {:g} is to be written; name it .wav, or make it smaller "
          "(downsample --gain, simulate --amplitude)",
          state_->name, std::max(-min, max) == max ? max : min);
    }
  }
  if (sf_writef_float(state_->file.get(), samples, static_cast<sf_count_t>(frames)) !=
      static_cast<sf_count_t>(frames)) {
    Fail("cannot write {}: {}", state_->name, sf_strerror(state_->file.get()));
  }
}

void SoundFileWriter::Close() {
  if (sf_close(state_->file.release()) != 0) Fail("cannot write {}: the disk may be full", state_->name);
}

}  // namespace umlauf::tool
