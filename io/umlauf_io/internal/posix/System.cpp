#include "umlauf_io/internal/System.h"

#include <cerrno>

namespace umlauf::io {

std::filesystem::path LongPath(const std::filesystem::path& path) { return path; }
bool IsDevice(const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  return exists(status) && !is_regular_file(status) && !is_directory(status);
}
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}
std::FILE* TemporaryFile() { return std::tmpfile(); }
int MoveInto(const std::filesystem::path& from, const std::filesystem::path& to) {
  return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

bool SeekIn(std::FILE* file, std::int64_t offset, int whence) {
  return fseeko(file, static_cast<off_t>(offset), whence) == 0;
}
std::int64_t PositionIn(std::FILE* file) { return ftello(file); }

std::optional<std::uint64_t> LengthFromStart(std::FILE* file) {
  if (ftello(file) != 0 || fseeko(file, 0, SEEK_END) != 0) return {};
  const off_t length = ftello(file);
  std::rewind(file);
  return static_cast<std::uint64_t>(length);
}

void MakeBinary(std::FILE*) {}

}  // namespace umlauf::io
