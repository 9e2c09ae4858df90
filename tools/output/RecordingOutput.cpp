#include "tools/output/RecordingOutput.h"

#include "tools/Error.h"

namespace umlauf::tool {
namespace {

void Check(bool good, const CRecordingWriter& writer) {
  if (good) return;
  const bool range = writer.Failure().kind == RecordingFailure::Kind::outOfRange;
  Fail("{}{}", writer.Failure().text.ToUtf8(), range ? " (downsample --gain, simulate --amplitude)" : "");
}

}  // namespace

void CheckRecordingName(const std::string& option, const FilePath& target) {
  if (CRecordingWriter::IsKnown(target)) return;
  FailUsage("{} {}: a recording is written as {}; choose a name that ends so", option, target.string(),
            CRecordingWriter::KnownEndings());
}

RecordingOutput::RecordingOutput(OutputFile& out, const RecordingShape& shape) {
  Check(writer_.Open(out.file(), shape), writer_);
}

void RecordingOutput::Write(const float* samples, std::uint64_t frames) {
  Check(writer_.Write(samples, frames), writer_);
}

void RecordingOutput::Close() { Check(writer_.Close(), writer_); }

}  // namespace umlauf::tool
