#include "tools/output/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "tools/Error.h"
#include "tools/System.h"

namespace umlauf::tool {

namespace fs = std::filesystem;

OutputFile::OutputFile(fs::path target) : target_(std::move(target)) {
  std::error_code error;
  // A link keeps pointing where it points: its target is what is replaced.
  if (fs::is_symlink(target_, error)) {
    const fs::path real = fs::weakly_canonical(target_, error);
    if (!error) target_ = real;
  }
  const fs::file_status status = fs::status(target_, error);
  if (fs::is_directory(status)) Fail("cannot write {}: it is a folder; name a file", target_.string());
  direct_ = target_ == "-" || (fs::exists(status) && !fs::is_regular_file(status));
  if (direct_) {
    temporary_ = target_;
    file_ = target_ == "-" ? stdout : std::fopen(target_.c_str(), "wb");
  } else {
    temporary_ = target_;
    // The ending stays last: some writers choose the format by it.
    temporary_.replace_filename(
        fmt::format(".{}.{}.part{}", target_.stem().string(), ProcessNumber(), target_.extension().string()));
    RemoveOnSignal(temporary_.string());
    file_ = std::fopen(temporary_.c_str(), "wb");
  }
  if (file_ == nullptr) {
    const int reason = errno;
    if (!direct_) ForgetOnSignal(temporary_.string());
    Fail("cannot write {}: {}; choose another place", target_.string(), std::strerror(reason));
  }
}

OutputFile::~OutputFile() {
  if (file_ != nullptr && file_ != stdout) std::fclose(file_);
  if (direct_ || committed_) return;
  std::error_code ignored;
  fs::remove(temporary_, ignored);
  ForgetOnSignal(temporary_.string());
}

void OutputFile::CheckWritten(bool good) const {
  if (!good) Fail("cannot write {}: {}", target_.string(), std::strerror(errno));
}

void OutputFile::FlushPending() {
  CheckWritten(std::fwrite(pending_.data(), 1, pending_.size(), file_) == pending_.size());
  pending_.clear();
}

void OutputFile::Write(std::string_view bytes) {
  FlushPending();
  CheckWritten(std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size());
}

void OutputFile::Commit() {
  FlushPending();
  CheckWritten(std::fflush(file_) == 0);
  if (file_ != stdout) CheckWritten(std::fclose(std::exchange(file_, nullptr)) == 0);
  if (direct_) return;
  std::error_code error;
  fs::rename(temporary_, target_, error);
  if (error) Fail("cannot write {}: {}", target_.string(), error.message());
  committed_ = true;
  ForgetOnSignal(temporary_.string());
}

void CheckOutputPath(const std::string& option, const fs::path& output, const fs::path& input) {
  std::error_code ignored;
  if (fs::equivalent(output, input, ignored)) {
    FailUsage("{} would overwrite the input {}; name another file", option, input.string());
  }
}

}  // namespace umlauf::tool
