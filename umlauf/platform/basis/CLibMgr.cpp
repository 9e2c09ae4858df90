#include "umlauf/platform/basis/CLibMgr.h"

#include <charconv>
#include <mutex>
#include <optional>
#include <string>

#include "umlauf/platform/basis/CSwitchResourceDefault.h"
#include "umlauf/platform/memory/Immortal.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/os/os.h"

namespace {

struct ProcessLanguage {
  std::mutex mutex;
  CString language;
};

ProcessLanguage& TheLanguage() {
  static umlauf::Immortal<ProcessLanguage> language;
  return language.object;
}

CString NamedLanguage() {
  if (CString language = CSwitchResourceDefault::Language(); !language.IsEmpty()) return language;
  {
    ProcessLanguage& process = TheLanguage();
    const std::lock_guard lock(process.mutex);
    if (!process.language.IsEmpty()) return process.language;
  }
  return umlauf::WithMemory(CString(), []() -> CString { return umlauf::os::UserLanguage(); });
}

std::optional<std::string_view> FindText(std::string_view texts, unsigned id) {
  while (!texts.empty()) {
    const std::string_view line = texts.substr(0, texts.find('\n'));
    texts.remove_prefix(std::min(texts.size(), line.size() + 1));
    unsigned found = 0;
    const char* const lineEnd = line.data() + line.size();
    const auto [end, error] = std::from_chars(line.data(), lineEnd, found);
    if (error != std::errc{} || found != id || end == lineEnd || *end != '\t') continue;
    return std::string_view(end + 1, static_cast<std::size_t>(lineEnd - end - 1));
  }
  return {};
}

}  // namespace

CString CLibMgr::Language() {
  const CString named = NamedLanguage();
  CString code;
  for (const wchar_t c : named.view()) {
    const wchar_t small = c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    if (small < L'a' || small > L'z') break;
    code += small;
  }
  return code.GetLength() == 2 || code.GetLength() == 3 ? code : CString();
}

void CLibMgr::SetLanguage(const CString& language) {
  ProcessLanguage& process = TheLanguage();
  const std::lock_guard lock(process.mutex);
  process.language = language;
}

CString CLibMgr::LoadStringW(unsigned id) {
  const CResourceModule* const module = CSwitchResourceDefault::Module();
  if (module == nullptr || module->tables.empty()) return {};
  const std::string language = Language().ToUtf8();
  for (const CResourceTable& table : module->tables) {
    if (language != table.language) continue;
    if (const auto text = FindText(table.texts, id)) return CString::FromUtf8(*text);
  }
  const auto text = FindText(module->tables.front().texts, id);
  return text ? CString::FromUtf8(*text) : CString();
}
