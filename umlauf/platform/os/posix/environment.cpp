#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/os/os.h"

namespace umlauf::os {

using codepages::NameToWide;
using codepages::WideToName;

namespace {

bool IsFolder(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

std::wstring Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? NameToWide(value) : std::wstring();
}

std::wstring UserLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (std::wstring language = Environment(variable); !language.empty()) return language;
  }
  return {};
}

std::wstring UserConfigFolder() {
  // A relative path would depend on where the program was started, and is to be ignored.
  if (const std::wstring folder = Environment("XDG_CONFIG_HOME"); folder.starts_with(L'/')) return folder;
  std::wstring home = Environment("HOME");
  if (home.empty()) {
    const passwd* const user = getpwuid(getuid());
    if (user != nullptr && user->pw_dir != nullptr) home = NameToWide(user->pw_dir);
  }
  return home.empty() ? home : home + L"/.config";
}

bool CreateFolders(const std::wstring& path) {
  const std::string name = WideToName(path);
  for (std::size_t end = name.find('/', 1); end != std::string::npos; end = name.find('/', end + 1)) {
    mkdir(name.substr(0, end).c_str(), 0700);
  }
  mkdir(name.c_str(), 0700);
  return IsFolder(name);
}

}  // namespace umlauf::os
