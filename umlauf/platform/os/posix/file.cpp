#include <sys/stat.h>

#include <cstdio>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/os/os.h"

namespace umlauf::os {

using codepages::WideToName;

namespace {

/// stdio gives the buffering that small reads and writes of records need.
class PosixFile final : public File {
 public:
  explicit PosixFile(std::FILE* file) : file_(file) {}
  ~PosixFile() override { std::fclose(file_); }
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  std::size_t Read(void* buffer, std::size_t count) override {
    Turn(Direction::reading);
    return count == 0 ? 0 : std::fread(buffer, 1, count, file_);
  }
  bool Write(const void* buffer, std::size_t count) override {
    Turn(Direction::writing);
    return count == 0 || std::fwrite(buffer, 1, count, file_) == count;
  }
  bool Seek(std::uint64_t position) override {
    last_ = Direction::none;
    return position <= INT64_MAX && fseeko(file_, static_cast<off_t>(position), SEEK_SET) == 0;
  }
  std::uint64_t Position() const override {
    const off_t at = ftello(file_);
    return at < 0 ? 0 : static_cast<std::uint64_t>(at);
  }
  std::uint64_t Length() const override {
    if (last_ == Direction::writing) std::fflush(file_);
    struct stat info {};
    return fstat(fileno(file_), &info) == 0 && info.st_size > 0 ? static_cast<std::uint64_t>(info.st_size)
                                                                : 0;
  }
  bool Flush() override { return std::fflush(file_) == 0 && std::ferror(file_) == 0; }

 private:
  enum class Direction { none, reading, writing };

  /// stdio wants a positioning call between reading and writing.
  void Turn(Direction next) {
    if (last_ != Direction::none && last_ != next) std::fseek(file_, 0, SEEK_CUR);
    last_ = next;
  }

  std::FILE* file_;
  Direction last_ = Direction::none;
};

const char* StdioMode(const OpenMode& mode, bool exists) {
  if (!mode.write) return "rb";
  if (mode.truncate || !exists) return mode.read ? "w+b" : "wb";
  return "r+b";
}

}  // namespace

std::unique_ptr<File> File::Open(const std::wstring& path, const OpenMode& mode) {
  const std::string name = WideToName(path);
  struct stat info {};
  const bool exists = stat(name.c_str(), &info) == 0;
  if ((exists && S_ISDIR(info.st_mode)) || (!exists && !(mode.write && mode.create))) return nullptr;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), StdioMode(mode, exists)),
                                                       std::fclose);
  if (file == nullptr) return nullptr;
  auto opened = std::make_unique<PosixFile>(file.get());
  file.release();
  return opened;
}

}  // namespace umlauf::os
