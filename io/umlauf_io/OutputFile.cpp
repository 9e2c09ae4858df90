#include "umlauf_io/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <random>
#include <system_error>
#include <utility>

#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/System.h"

namespace fs = std::filesystem;
using umlauf::io::Fail;
using umlauf::io::Guard;
using umlauf::io::Kind;
using umlauf::io::OpenFile;

COutputFile::~COutputFile() {
  if (file_ != nullptr && file_ != stdout) std::fclose(file_);
  if (direct_ || committed_ || temporary_.empty()) return;
  std::error_code ignored;
  fs::remove(temporary_, ignored);
}

bool COutputFile::Open(const fs::path& target, void (*announce)(const std::string&)) {
  return Guard(failure_, [&] {
    target_ = umlauf::io::LongPath(target);
    std::error_code error;
    if (fs::is_symlink(target_, error)) {
      const fs::path real = fs::weakly_canonical(target_, error);
      if (!error) target_ = real;
    }
    if (fs::is_directory(target_, error)) {
      Fail(Kind::unwritable, "cannot write {}: it is a folder; name a file", target_.string());
    }
    direct_ = target_ == "-" || umlauf::io::IsDevice(target_);
    if (direct_) {
      temporary_ = target_;
      file_ = target_ == "-" ? stdout : OpenFile(target_, "wb");
      if (file_ == stdout) umlauf::io::MakeBinary(stdout);
    } else if (!OpenTemporary(announce)) {
      temporary_.clear();
    }
    if (file_ == nullptr) {
      const int reason = errno;
      Fail(Kind::unwritable, "cannot write {}: {}; choose another place", target_.string(),
           std::strerror(reason));
    }
  });
}

/// A name of its own beside the target, so that two writers do not meet; the ending stays last, because some
/// writers choose the format by it.
bool COutputFile::OpenTemporary(void (*announce)(const std::string&)) {
  std::random_device random;
  fs::path::string_type folder = target_.native();
  folder.resize(folder.size() - target_.filename().native().size());
  for (int attempt = 0; attempt < 100 && file_ == nullptr; ++attempt) {
    // Made as one text: changing a path in place breaks it where there is no memory.
    const fs::path middle = fmt::format(".{:08x}.part", random());
    temporary_ = fs::path(folder + fs::path::string_type(1, '.') + target_.stem().native() + middle.native() +
                          target_.extension().native());
    if (announce != nullptr) announce(temporary_.string());
    file_ = OpenFile(temporary_, "wbx");
    if (file_ == nullptr && errno != EEXIST) break;
  }
  return file_ != nullptr;
}

bool COutputFile::Note(bool good, int reason) {
  if (good || failure_) return good;
  return Guard(failure_, [&] {
    Fail(Kind::unwritable, "cannot write {}: {}", target_.string(), std::strerror(reason));
  });
}

bool COutputFile::Write(std::string_view bytes) {
  if (failure_ || file_ == nullptr) return false;
  const bool good = std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size();
  return Note(good, errno);
}

bool COutputFile::Commit() {
  if (failure_ || file_ == nullptr) return false;
  const bool flushed = std::fflush(file_) == 0;
  if (!Note(flushed, errno)) return false;
  const bool closed = file_ == stdout || std::fclose(std::exchange(file_, nullptr)) == 0;
  if (!Note(closed, errno)) return false;
  if (direct_) return true;
  const int reason = umlauf::io::MoveInto(temporary_, target_);
  committed_ = reason == 0;
  return Note(committed_, reason);
}
