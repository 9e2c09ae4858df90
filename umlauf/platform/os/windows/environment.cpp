#include "umlauf/platform/os/windows/Windows.h"
// The system's other headers come behind its first.
#include <shlobj.h>

#include "umlauf/platform/os/os.h"

namespace umlauf::os {
namespace {

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsAbsolute(const std::wstring& path) {
  return (path.size() > 2 && path[1] == L':' && (path[2] == L'\\' || path[2] == L'/')) ||
         path.starts_with(L"\\\\");
}

}  // namespace

std::wstring Environment(const char* name) {
  const std::wstring wide(name, name + std::char_traits<char>::length(name));
  std::wstring value;
  // The size may have grown between two calls.
  for (DWORD size = GetEnvironmentVariableW(wide.c_str(), nullptr, 0); size > value.size();) {
    value.resize(size);
    size = GetEnvironmentVariableW(wide.c_str(), value.data(), size);
    if (size >= value.size()) continue;
    value.resize(size);
    return value;
  }
  return {};
}

std::wstring UserLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (std::wstring language = Environment(variable); !language.empty()) return language;
  }
  wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
  const LCID locale = MAKELCID(GetUserDefaultUILanguage(), SORT_DEFAULT);
  return LCIDToLocaleName(locale, name, LOCALE_NAME_MAX_LENGTH, 0) > 0 ? std::wstring(name) : std::wstring();
}

std::wstring UserConfigFolder() {
  if (std::wstring folder = Environment("APPDATA"); IsAbsolute(folder)) return folder;
  wchar_t path[MAX_PATH] = L"";
  return SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK ? path : L"";
}

bool CreateFolders(const std::wstring& path) {
  // A folder in the user's own ones inherits who may use it.
  for (std::size_t end = path.find_first_of(L"\\/", 1); end != std::wstring::npos;
       end = path.find_first_of(L"\\/", end + 1)) {
    CreateDirectoryW(SystemPath(path.substr(0, end)).c_str(), nullptr);
  }
  CreateDirectoryW(SystemPath(path).c_str(), nullptr);
  return IsFolder(path);
}

}  // namespace umlauf::os
