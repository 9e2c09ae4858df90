#include "umlauf/platform/framework/CString.h"

#include <fmt/args.h>
#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <algorithm>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/memory/WithoutMemory.h"

namespace codepages = umlauf::codepages;
using umlauf::HadMemory;
using umlauf::WithMemory;

FormatArg::FormatArg(const CString& text) : value_(text.view()) {}

CString::CString(const wchar_t* text) : CString(std::wstring_view(text != nullptr ? text : L"")) {}
CString::CString(std::wstring_view text) { Append(text); }
CString::CString(const char* utf8) : CString(FromUtf8(utf8 != nullptr ? utf8 : "")) {}

CString& CString::operator=(const CString& other) {
  HadMemory([&] { text_ = other.text_; });
  return *this;
}

CString& CString::Append(std::wstring_view text) {
  HadMemory([&] { text_ += text; });
  return *this;
}

CString CString::FromUtf8(std::string_view utf8) {
  return WithMemory(std::wstring(), [&] { return codepages::Utf8ToWide(utf8); });
}
CString CString::FromAnsi(std::string_view ansi) {
  return WithMemory(std::wstring(), [&] { return codepages::Cp1252ToWide(ansi); });
}
std::string CString::ToUtf8() const {
  return WithMemory(std::string(), [this] { return codepages::WideToUtf8(text_); });
}
std::string CString::ToAnsi() const {
  return WithMemory(std::string(), [this] { return codepages::WideToCp1252(text_); });
}

wchar_t CString::GetAt(int position) const {
  return position >= 0 && position < GetLength() ? text_[static_cast<std::size_t>(position)] : L'\0';
}

CString CString::Mid(int first, int count) const {
  first = std::clamp(first, 0, GetLength());
  return CString(
      view().substr(static_cast<std::size_t>(first), static_cast<std::size_t>(std::max(count, 0))));
}

CString CString::Right(int count) const { return Mid(GetLength() - std::clamp(count, 0, GetLength())); }

int CString::Find(const wchar_t* what, int start) const {
  const auto at = text_.find(what, static_cast<std::size_t>(std::max(start, 0)));
  return at == std::wstring::npos ? -1 : static_cast<int>(at);
}

int CString::Find(wchar_t what, int start) const {
  const auto at = text_.find(what, static_cast<std::size_t>(std::max(start, 0)));
  return at == std::wstring::npos ? -1 : static_cast<int>(at);
}

int CString::Replace(const wchar_t* what, const wchar_t* with) {
  const std::wstring_view from(what);
  const std::wstring_view to(with);
  if (from.empty()) return 0;
  return WithMemory(0, [&] {
    int count = 0;
    std::wstring text = text_;
    for (auto at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size())) {
      text.replace(at, from.size(), to);
      ++count;
    }
    text_ = std::move(text);
    return count;
  });
}

int CString::Insert(int position, const wchar_t* what) {
  HadMemory([&] { text_.insert(static_cast<std::size_t>(std::clamp(position, 0, GetLength())), what); });
  return GetLength();
}

void CString::FormatV(const wchar_t* format, std::initializer_list<FormatArg> args) {
  HadMemory([&] {
    fmt::dynamic_format_arg_store<fmt::wprintf_context> store;
    for (const FormatArg& arg : args) {
      if (const auto* utf8 = std::get_if<std::string_view>(&arg.value())) {
        store.push_back(codepages::Utf8ToWide(*utf8));
        continue;
      }
      std::visit(
          [&store](const auto& value) {
            if constexpr (!std::is_same_v<decltype(value), const std::string_view&>) store.push_back(value);
          },
          arg.value());
    }
    try {
      text_ = fmt::vsprintf(fmt::wstring_view(format), fmt::basic_format_args<fmt::wprintf_context>(store));
    } catch (const fmt::format_error&) {
      text_ = format;
    }
  });
}

CString CString::FromPath(std::string_view path) {
  return WithMemory(std::wstring(), [&] { return codepages::NameToWide(path); });
}

std::string CString::ToPath() const {
  return WithMemory(std::string(), [this] { return codepages::WideToName(text_); });
}
