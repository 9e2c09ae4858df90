#include "umlauf_io/RecordingWriter.h"

#include <cmath>

#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameWriter.h"

using umlauf::io::Fail;
using umlauf::io::Guard;
using umlauf::io::Kind;

CRecordingWriter::CRecordingWriter() = default;
CRecordingWriter::~CRecordingWriter() = default;

bool CRecordingWriter::IsKnown(const std::filesystem::path& name) {
  return umlauf::io::SoundFormat(name) != 0 || name.extension() == ".csv" || name.extension() == ".f32";
}

const char* CRecordingWriter::KnownEndings() { return ".wav, .w64, .flac, .csv or .f32"; }

double CRecordingWriter::ToldRate(const std::filesystem::path& name, double rate) {
  return umlauf::io::SoundFormat(name) != 0 ? std::round(rate) : rate;
}

bool CRecordingWriter::Open(COutputFile& out, const RecordingShape& shape) {
  failure_ = {};
  writer_.reset();
  return Guard(failure_, [&] {
    const std::filesystem::path& name = out.Target();
    if (!(std::isfinite(shape.rate) && shape.rate > 0) || shape.channels == 0) {
      Fail(Kind::unwritable, "cannot write {}: a recording has a sample rate and at least one channel",
           name.string());
    }
    if (umlauf::io::SoundFormat(name) != 0) {
      writer_ = umlauf::io::CreateSoundFile(out, shape);
    } else if (name.extension() == ".csv") {
      writer_ = umlauf::io::CreateTable(out, shape);
    } else if (name.extension() == ".f32") {
      writer_ = umlauf::io::CreateRaw(out, shape);
    } else {
      Fail(Kind::unwritable, "{}: a recording is written as {}; choose a name that ends so", name.string(),
           KnownEndings());
    }
  });
}

bool CRecordingWriter::Write(const float* samples, std::uint64_t frames) {
  if (!writer_ || failure_) return false;
  return Guard(failure_, [&] { writer_->Write(samples, frames); });
}

bool CRecordingWriter::Close() {
  if (!writer_ || failure_) return false;
  const bool done = Guard(failure_, [&] { writer_->Close(); });
  writer_.reset();
  return done;
}
