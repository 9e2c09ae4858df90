#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// The system's other headers come behind its first.
#include <commdlg.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "umlauf_win/WinComboBoxControl.h"
#include "umlauf_win/WinUserInterface.h"

namespace {

/// Name of the program's file without folder and ending.
std::wstring ProgramName() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  path.erase(0, path.find_last_of(L'\\') + 1);
  return path.substr(0, path.find_last_of(L'.'));
}

UINT IconFlag(CUserInterface::Icon icon) {
  switch (icon) {
    case CUserInterface::Icon::error:
      return MB_ICONERROR;
    case CUserInterface::Icon::warning:
      return MB_ICONWARNING;
    default:
      return MB_ICONINFORMATION;
  }
}

/// Fields that end with "|" as the system takes them: each ends with a NUL, one more ends the list.
std::wstring Filter(std::wstring filter) {
  std::replace(filter.begin(), filter.end(), L'|', L'\0');
  return filter + std::wstring(2, L'\0');
}

bool Ask(HWND window, const OpenFileDialog& dialog, CString& path) {
  constexpr std::size_t longestPath = 32768;
  const std::wstring filter = Filter(dialog.filter.str());
  std::wstring extension = dialog.defaultExtension.str();
  extension.erase(0, extension.find_last_of(L'.') + 1);  // also of a pattern, as "*.xml"
  std::vector<wchar_t> name(longestPath, L'\0');
  dialog.fileName.view().copy(name.data(), longestPath - 1);
  OPENFILENAMEW question{};
  question.lStructSize = sizeof question;
  question.hwndOwner = window;
  question.lpstrFilter = filter.c_str();
  question.lpstrFile = name.data();
  question.nMaxFile = longestPath;
  question.lpstrInitialDir = dialog.folder;
  question.lpstrTitle = dialog.title.IsEmpty() ? nullptr : dialog.title.GetString();
  question.lpstrDefExt = extension.empty() ? nullptr : extension.c_str();
  question.Flags = OFN_HIDEREADONLY | (dialog.explorerStyle ? OFN_EXPLORER : 0) |
                   (dialog.resizable ? OFN_ENABLESIZING : 0) |
                   (dialog.fileMustExist ? OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST : 0) |
                   (dialog.keepCurrentFolder ? OFN_NOCHANGEDIR : 0);
  if (GetOpenFileNameW(&question) == 0) return false;
  path = name.data();
  return true;
}

}  // namespace

void CWinUserInterface::ShowMessage(const CString& text, Icon icon) {
  try {
    MessageBoxW(window_, text, ProgramName().c_str(), MB_OK | IconFlag(icon));
  } catch (const std::bad_alloc&) {
    MessageBoxW(window_, text, nullptr, MB_OK | IconFlag(icon));
  }
}

bool CWinUserInterface::AskForFile(const OpenFileDialog& dialog, CString& path) {
  try {
    return Ask(window_, dialog, path);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::unique_ptr<CComboBoxControl> CWinUserInterface::CreateComboBoxControl() {
  if (window_ == nullptr) return CUserInterface::CreateComboBoxControl();
  return CWinComboBoxControl::MakeIn(window_);
}
