#include <sys/stat.h>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/os/internal/StdioFile.h"

namespace umlauf::os {

using codepages::WideToName;

bool SeekStdio(std::FILE* file, std::uint64_t position) {
  return fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0;
}

std::uint64_t StdioPosition(std::FILE* file) {
  const off_t at = ftello(file);
  return at < 0 ? 0 : static_cast<std::uint64_t>(at);
}

std::uint64_t StdioLength(std::FILE* file) {
  struct stat info {};
  return fstat(fileno(file), &info) == 0 && info.st_size > 0 ? static_cast<std::uint64_t>(info.st_size) : 0;
}

std::wstring SystemPath(const std::wstring& path) { return path; }

std::unique_ptr<File> File::Open(const std::wstring& path, const OpenMode& mode) {
  const std::string name = WideToName(path);
  struct stat info {};
  const bool exists = stat(name.c_str(), &info) == 0;
  if ((exists && S_ISDIR(info.st_mode)) || (!exists && !(mode.write && mode.create))) return nullptr;
  StdioPointer file(std::fopen(name.c_str(), StdioMode(mode, exists)));
  return file != nullptr ? MakeStdioFile(std::move(file)) : nullptr;
}

}  // namespace umlauf::os
