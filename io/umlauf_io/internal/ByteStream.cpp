#include "umlauf_io/internal/ByteStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/System.h"

namespace umlauf::io {

namespace fs = std::filesystem;

void CloseFile::operator()(std::FILE* file) const {
  if (file != stdin && file != stdout) std::fclose(file);
}

ByteStream::ByteStream(const fs::path& path) : name_(path.string()) {
  if (path == "-") {
    name_ = "standard input";
    file_.reset(stdin);
    MakeBinary(stdin);
    // Also what was redirected from a file can be read twice, if from its start.
    length_ = LengthFromStart(stdin);
    seekable_ = length_.has_value();
  } else {
    Open(LongPath(path));
  }
  startSize_ = std::fread(start_.data(), 1, start_.size(), file_.get());
  if (std::ferror(file_.get()) != 0) {
    Fail(Kind::unreadable, "cannot read {}: {}", name_, std::strerror(errno));
  }
}

void ByteStream::Open(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    Fail(Kind::notThere, "cannot read {}: there is no such file; check the name", name_);
  }
  if (fs::is_directory(status)) {
    Fail(Kind::notThere, "cannot read {}: it is a folder; name a recording", name_);
  }
  file_.reset(OpenFile(path, "rb"));
  if (!file_) Fail(Kind::unreadable, "cannot read {}: {}", name_, std::strerror(errno));
  seekable_ = fs::is_regular_file(status);
  if (!seekable_) return;
  length_ = fs::file_size(path, error);
  if (error) Fail(Kind::unreadable, "cannot read {}: {}", name_, error.message());
}

std::size_t ByteStream::Read(void* to, std::size_t count) {
  std::size_t n = 0;
  if (position_ < startSize_) {
    n = std::min(count, startSize_ - static_cast<std::size_t>(position_));
    std::memcpy(to, start_.data() + position_, n);
  }
  if (n < count) {
    n += std::fread(static_cast<char*>(to) + n, 1, count - n, file_.get());
    if (n < count && std::ferror(file_.get()) != 0) {
      Fail(Kind::unreadable, "cannot read {}: {}", name_, std::strerror(errno));
    }
  }
  position_ += n;
  return n;
}

bool ByteStream::Seek(std::uint64_t position) {
  if (!seekable_) return false;
  // What the buffered start holds is read from there; the file stands behind it then. Nothing is read behind
  // the end, however far away a header places it.
  const std::uint64_t end = std::max<std::uint64_t>(length_.value_or(0), startSize_);
  const std::uint64_t target = std::clamp<std::uint64_t>(position, startSize_, end);
  if (target > INT64_MAX || !SeekIn(file_.get(), static_cast<std::int64_t>(target), SEEK_SET)) return false;
  position_ = position;
  return true;
}

void ByteStream::MakeSeekable() {
  if (seekable_) return;
  FilePointer copy(TemporaryFile());
  if (!copy) {
    Fail(Kind::unreadable, "cannot keep what comes from {}: {}", name_, std::strerror(errno));
  }
  std::vector<char> buffer(std::size_t{1} << 16);
  std::uint64_t length = 0;
  while (const std::size_t n = Read(buffer.data(), buffer.size())) {
    if (std::fwrite(buffer.data(), 1, n, copy.get()) != n) {
      Fail(Kind::unreadable, "cannot keep what comes from {} in a temporary file: {}", name_,
           std::strerror(errno));
    }
    length += n;
  }
  if (std::fflush(copy.get()) != 0) {
    Fail(Kind::unreadable, "cannot keep what comes from {} in a temporary file: {}", name_,
         std::strerror(errno));
  }
  file_ = std::move(copy);
  seekable_ = true;
  length_ = length;
  Seek(0);
}

}  // namespace umlauf::io
