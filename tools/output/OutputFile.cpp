#include "tools/output/OutputFile.h"

#include <system_error>

#include "tools/Error.h"
#include "tools/System.h"
#include "tools/output/Console.h"

namespace umlauf::tool {

namespace fs = std::filesystem;

OutputFile::OutputFile(const FilePath& target) {
  CheckWritten(file_.Open(target, RemoveOnSignal));
  if (!file_.IsDirect()) watched_ = file_.Temporary().string();
}

OutputFile::~OutputFile() {
  if (!watched_.empty()) ForgetOnSignal(watched_);
}

COutputFile& OutputFile::file() {
  FlushPending();
  return file_;
}

void OutputFile::CheckWritten(bool good) const {
  if (!good) Fail("{}", file_.Failure().text.ToUtf8());
}

void OutputFile::Send(std::string_view bytes) {
  // A console needs whole characters.
  if (file_.Target() == "-") return WriteOutAsItIs(bytes);
  CheckWritten(file_.Write(bytes));
}

void OutputFile::FlushPending() {
  Send({pending_.data(), pending_.size()});
  pending_.clear();
}

void OutputFile::Write(std::string_view bytes) {
  FlushPending();
  Send(bytes);
}

void OutputFile::Commit() {
  FlushPending();
  CheckWritten(file_.Commit());
}

void CheckOutputPath(const std::string& option, const FilePath& output, const FilePath& input) {
  std::error_code ignored;
  if (fs::equivalent(output, input, ignored)) {
    FailUsage("{} would overwrite the input {}; name another file", option, input.string());
  }
}

}  // namespace umlauf::tool
