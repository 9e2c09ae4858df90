#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include "umlauf/platform/os/internal/StdioFile.h"
#include "umlauf/platform/os/windows/Windows.h"

namespace umlauf::os {

// One that nears the usual limit of 260 characters becomes absolute and begins with "\\?\".
std::wstring SystemPath(const std::wstring& path) {
  constexpr std::size_t nearLimit = MAX_PATH - 20;
  if (path.size() < nearLimit || path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\")) return path;
  std::wstring whole(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  const DWORD length =
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr);
  if (length == 0 || length >= whole.size()) return path;
  whole.resize(length);
  return whole.starts_with(L"\\\\") ? L"\\\\?\\UNC\\" + whole.substr(2) : L"\\\\?\\" + whole;
}

bool SeekStdio(std::FILE* file, std::uint64_t position) {
  return _fseeki64(file, static_cast<std::int64_t>(position), SEEK_SET) == 0;
}

std::uint64_t StdioPosition(std::FILE* file) {
  const std::int64_t at = _ftelli64(file);
  return at < 0 ? 0 : static_cast<std::uint64_t>(at);
}

std::uint64_t StdioLength(std::FILE* file) {
  const std::int64_t length = _filelengthi64(_fileno(file));
  return length < 0 ? 0 : static_cast<std::uint64_t>(length);
}

std::unique_ptr<File> File::Open(const std::wstring& path, const OpenMode& mode) {
  const std::wstring name = SystemPath(path);
  const DWORD access = (mode.read || !mode.write ? GENERIC_READ : 0) | (mode.write ? GENERIC_WRITE : 0);
  const bool create = mode.write && mode.create;
  const DWORD disposition = !create ? OPEN_EXISTING : mode.truncate ? CREATE_ALWAYS : OPEN_ALWAYS;
  // As on other systems, an open file may be read, written, renamed and removed by others. A folder is none.
  const HANDLE handle =
      CreateFileW(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return nullptr;
  const int number = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
  if (number < 0) {
    CloseHandle(handle);
    return nullptr;
  }
  StdioPointer file(_fdopen(number, StdioMode(mode, true)));
  if (file == nullptr) {
    _close(number);
    return nullptr;
  }
  return MakeStdioFile(std::move(file));
}

}  // namespace umlauf::os
