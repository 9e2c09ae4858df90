#include <sndfile.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf_io/internal/ByteStream.h"
#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameWriter.h"
#include "umlauf_io/internal/System.h"

namespace umlauf::io {
namespace {

constexpr double largestWav = 4e9;  ///< [bytes]

/// The file that libsndfile writes through. It remembers that a write failed: the encoder of FLAC does not
/// tell.
struct Sink {
  FilePointer file;
  bool failed = false;
};

// What libsndfile writes through.

sf_count_t Tell(void* user) { return PositionIn(static_cast<Sink*>(user)->file.get()); }

// Seeking writes what is still buffered, and so can fail on a full disk.
sf_count_t Seek(sf_count_t offset, int whence, void* user) {
  auto* const sink = static_cast<Sink*>(user);
  const bool good = SeekIn(sink->file.get(), offset, whence);
  sink->failed |= !good;
  return good ? Tell(user) : -1;
}

sf_count_t Length(void* user) {
  const sf_count_t here = Tell(user), length = Seek(0, SEEK_END, user);
  Seek(here, SEEK_SET, user);
  return length;
}

sf_count_t Read(void* to, sf_count_t count, void* user) {
  return static_cast<sf_count_t>(
      std::fread(to, 1, static_cast<std::size_t>(count), static_cast<Sink*>(user)->file.get()));
}

sf_count_t Write(const void* from, sf_count_t count, void* user) {
  auto* const sink = static_cast<Sink*>(user);
  const auto n = std::fwrite(from, 1, static_cast<std::size_t>(count), sink->file.get());
  sink->failed |= n < static_cast<std::size_t>(count);
  return static_cast<sf_count_t>(n);
}

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
    Open(out, info);
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
    bool good = sf_close(file_.release()) == 0 && !sink_.failed;
    if (sink_.file) good = std::fclose(sink_.file.release()) == 0 && good;
    if (!good) {
      Fail(Kind::unwritable, "cannot write {}: the disk may be full", name_);
    }
  }

 private:
  void Open(COutputFile& out, SF_INFO& info) {
    // Only libsndfile itself knows how to write to what cannot be sought in.
    if (out.IsDirect()) return file_.reset(sf_open(out.Temporary().string().c_str(), SFM_WRITE, &info));
    sink_.file.reset(OpenFile(out.Temporary(), "wb+"));
    if (!sink_.file) Fail(Kind::unwritable, "cannot write {}: {}", name_, std::strerror(errno));
    SF_VIRTUAL_IO io{Length, io::Seek, io::Read, io::Write, Tell};
    file_.reset(sf_open_virtual(&io, SFM_WRITE, &info, &sink_));
  }

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
  Sink sink_;               ///< outlives the file that writes to it
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
