#include "umlauf/platform/os/internal/StdioFile.h"

namespace umlauf::os {
namespace {

class StdioFile final : public File {
 public:
  explicit StdioFile(StdioPointer file) : file_(std::move(file)) {}

  std::size_t Read(void* buffer, std::size_t count) override {
    Turn(Direction::reading);
    return count == 0 ? 0 : std::fread(buffer, 1, count, file_.get());
  }
  bool Write(const void* buffer, std::size_t count) override {
    Turn(Direction::writing);
    return count == 0 || std::fwrite(buffer, 1, count, file_.get()) == count;
  }
  bool Seek(std::uint64_t position) override {
    last_ = Direction::none;
    return position <= INT64_MAX && SeekStdio(file_.get(), position);
  }
  std::uint64_t Position() const override { return StdioPosition(file_.get()); }
  std::uint64_t Length() const override {
    if (last_ == Direction::writing) std::fflush(file_.get());
    return StdioLength(file_.get());
  }
  bool Flush() override { return std::fflush(file_.get()) == 0 && std::ferror(file_.get()) == 0; }

 private:
  enum class Direction { none, reading, writing };

  /// stdio wants a positioning call between reading and writing.
  void Turn(Direction next) {
    if (last_ != Direction::none && last_ != next) std::fseek(file_.get(), 0, SEEK_CUR);
    last_ = next;
  }

  StdioPointer file_;
  Direction last_ = Direction::none;
};

}  // namespace

const char* StdioMode(const OpenMode& mode, bool exists) {
  if (!mode.write) return "rb";
  if (mode.truncate || !exists) return mode.read ? "w+b" : "wb";
  return "r+b";
}

std::unique_ptr<File> MakeStdioFile(StdioPointer file) {
  return std::make_unique<StdioFile>(std::move(file));
}

}  // namespace umlauf::os
