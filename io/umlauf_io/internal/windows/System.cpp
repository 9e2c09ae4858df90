#include "umlauf_io/internal/System.h"

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <array>
#include <cerrno>
#include <string>
#include <string_view>

namespace umlauf::io {
namespace {

int ErrnoOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
      return ENOENT;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
      return EACCES;
    case ERROR_WRITE_PROTECT:
      return EACCES;
    case ERROR_TOO_MANY_OPEN_FILES:
      return EMFILE;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    default:
      return EIO;
  }
}

std::FILE* AsStdio(HANDLE handle, const char* mode) {
  if (handle == INVALID_HANDLE_VALUE) {
    errno = ErrnoOf(GetLastError());
    return nullptr;
  }
  const int number = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
  if (number < 0) {
    CloseHandle(handle);
    return nullptr;
  }
  std::FILE* const file = _fdopen(number, mode);
  if (file == nullptr) _close(number);
  return file;
}

constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace

std::filesystem::path LongPath(const std::filesystem::path& path) {
  constexpr std::size_t nearLimit = MAX_PATH - 20;
  const std::wstring& name = path.native();
  if (name.size() < nearLimit || name.starts_with(L"\\\\?\\") || name.starts_with(L"\\\\.\\")) return path;
  std::wstring whole(GetFullPathNameW(name.c_str(), 0, nullptr, nullptr), L'\0');
  const DWORD length =
      GetFullPathNameW(name.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr);
  if (length == 0 || length >= whole.size()) return path;
  whole.resize(length);
  return whole.starts_with(L"\\\\") ? L"\\\\?\\UNC\\" + whole.substr(2) : L"\\\\?\\" + whole;
}

bool IsDevice(const std::filesystem::path& path) {
  // Some have plain names, in every folder: NUL, CON, COM1.
  std::array<wchar_t, MAX_PATH> whole{};
  const DWORD length = GetFullPathNameW(path.c_str(), MAX_PATH, whole.data(), nullptr);
  return length < MAX_PATH && std::wstring_view(whole.data(), length).starts_with(L"\\\\.\\");
}

std::FILE* OpenFile(const std::filesystem::path& path, const char* mode) {
  const std::string_view way = mode;
  const bool writes = way.starts_with('w'), readsToo = way.ends_with('+');
  const DWORD disposition = !writes ? OPEN_EXISTING : way.ends_with('x') ? CREATE_NEW : CREATE_ALWAYS;
  const HANDLE handle = CreateFileW(LongPath(path).c_str(),
                                    (writes ? GENERIC_WRITE : 0) | (readsToo || !writes ? GENERIC_READ : 0),
                                    kShared, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  return AsStdio(handle, !writes ? "rb" : readsToo ? "wb+" : "wb");
}

std::FILE* TemporaryFile() {
  // std::tmpfile makes its files in the root of the drive, which few users may write.
  wchar_t folder[MAX_PATH + 1] = L"", name[MAX_PATH + 1] = L"";
  if (GetTempPathW(MAX_PATH, folder) == 0 || GetTempFileNameW(folder, L"uml", 0, name) == 0) {
    errno = ErrnoOf(GetLastError());
    return nullptr;
  }
  const HANDLE handle = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, kShared, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  return AsStdio(handle, "w+b");
}

int MoveInto(const std::filesystem::path& from, const std::filesystem::path& to) {
  // Who indexes files or looks for viruses has each new one open for a moment, and shares it with nobody.
  constexpr int attempts = 10;
  for (int attempt = 1;; ++attempt) {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0) return 0;
    const DWORD error = GetLastError();
    if (error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) return ErrnoOf(error);
    // What others have open is moved away only by this, where the system is an older one.
    if (ReplaceFileW(to.c_str(), from.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) !=
        0) {
      return 0;
    }
    if (attempt == attempts) return ErrnoOf(error);
    Sleep(30);
  }
}

bool SeekIn(std::FILE* file, std::int64_t offset, int whence) { return _fseeki64(file, offset, whence) == 0; }
std::int64_t PositionIn(std::FILE* file) { return _ftelli64(file); }

std::optional<std::uint64_t> LengthFromStart(std::FILE* file) {
  // Positions of a pipe seem to be there, too.
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
  if (GetFileType(handle) != FILE_TYPE_DISK || _ftelli64(file) != 0) return {};
  return static_cast<std::uint64_t>(_filelengthi64(_fileno(file)));
}

void MakeBinary(std::FILE* file) { _setmode(_fileno(file), _O_BINARY); }

}  // namespace umlauf::io
