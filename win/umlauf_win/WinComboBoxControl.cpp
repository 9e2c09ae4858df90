#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// The system's other headers come behind its first.
#include <commctrl.h>

#include <new>

#include "umlauf_win/WinComboBoxControl.h"

namespace {

/// Subclassing by the system's common controls. The version that programs without a manifest get may export
/// these functions by number only.
struct Subclassing {
  template <class Function>
  static Function Find(const char* name, WORD number) {
    const HMODULE controls = LoadLibraryW(L"comctl32.dll");
    FARPROC found = GetProcAddress(controls, name);
    if (found == nullptr) found = GetProcAddress(controls, MAKEINTRESOURCEA(number));
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  }

  decltype(&::SetWindowSubclass) set = Find<decltype(&::SetWindowSubclass)>("SetWindowSubclass", 410);
  decltype(&::RemoveWindowSubclass) remove =
      Find<decltype(&::RemoveWindowSubclass)>("RemoveWindowSubclass", 412);
  decltype(&::DefSubclassProc) next = Find<decltype(&::DefSubclassProc)>("DefSubclassProc", 413);
};

const Subclassing& Controls() {
  static const Subclassing functions;
  return functions;
}

}  // namespace

/// Procedures in front of those of the window and of its parent, which gets the notifications.
struct CWinComboBoxControl::Hooks {
  static LRESULT CALLBACK OfWindow(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id,
                                   DWORD_PTR data) {
    if (message == WM_NCDESTROY) {
      auto* const control = reinterpret_cast<CWinComboBoxControl*>(data);
      Controls().remove(window, OfWindow, id);
      Controls().remove(control->parent_, OfParent, id);
      control->window_ = nullptr;
    }
    return Controls().next(window, message, wParam, lParam);
  }

  static LRESULT CALLBACK OfParent(HWND parent, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                   DWORD_PTR data) {
    // The application's own handler comes first, as if nobody listened.
    const LRESULT result = Controls().next(parent, message, wParam, lParam);
    if (message != WM_COMMAND || lParam == 0) return result;
    auto* const control = reinterpret_cast<CWinComboBoxControl*>(data);
    if (reinterpret_cast<HWND>(lParam) == control->window_ && control->on_notify) {
      control->on_notify(HIWORD(wParam));
    }
    return result;
  }
};

CWinComboBoxControl::CWinComboBoxControl(HWND window)
    : window_(IsWindow(window) != 0 ? window : nullptr), parent_(GetParent(window_)) {
  const auto id = reinterpret_cast<UINT_PTR>(this);
  const auto data = reinterpret_cast<DWORD_PTR>(this);
  if (window_ == nullptr) return;
  Controls().set(window_, Hooks::OfWindow, id, data);
  Controls().set(parent_, Hooks::OfParent, id, data);
}

std::unique_ptr<CWinComboBoxControl> CWinComboBoxControl::MakeIn(HWND parent) {
  const HWND window =
      CreateWindowExW(0, L"COMBOBOX", L"", WS_CHILD | WS_VSCROLL | WS_TABSTOP | CBS_DROPDOWNLIST, 0, 0, 0, 0,
                      parent, nullptr, GetModuleHandleW(nullptr), nullptr);
  if (window == nullptr) return nullptr;
  std::unique_ptr<CWinComboBoxControl> control(new (std::nothrow) CWinComboBoxControl(window));
  if (control == nullptr) {
    DestroyWindow(window);
  } else {
    control->own_ = true;
  }
  return control;
}

CWinComboBoxControl::~CWinComboBoxControl() {
  if (window_ == nullptr) return;
  const auto id = reinterpret_cast<UINT_PTR>(this);
  const HWND window = window_;
  Controls().remove(window, Hooks::OfWindow, id);
  Controls().remove(parent_, Hooks::OfParent, id);
  if (own_) DestroyWindow(window);
}

HWND CWinComboBoxControl::WindowOf(CComboBox& box) {
  const auto* const control = dynamic_cast<CWinComboBoxControl*>(&box.Control());
  return control != nullptr ? control->Window() : nullptr;
}

std::intptr_t CWinComboBoxControl::Send(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) const {
  return window_ != nullptr ? ::SendMessageW(window_, message, wParam, lParam) : CB_ERR;
}

std::intptr_t CWinComboBoxControl::SendMessageW(unsigned message, std::uintptr_t wParam,
                                                std::intptr_t lParam) {
  switch (message) {
    case CB_RESETCONTENT:
    case CB_GETCOUNT:
    case CB_GETCURSEL:
    case CB_SETCURSEL:
    case CB_ADDSTRING:
    case CB_INSERTSTRING:
    case CB_FINDSTRING:
    case CB_FINDSTRINGEXACT:
    case CB_SELECTSTRING:
    case CB_DELETESTRING:
    case CB_GETLBTEXT:
    case CB_GETLBTEXTLEN:
    case CB_GETITEMDATA:
    case CB_SETITEMDATA:
      return CComboBoxList::SendMessageW(message, wParam, lParam);
    default:
      return window_ != nullptr ? Send(message, wParam, lParam) : 0;
  }
}

std::size_t CWinComboBoxControl::Count() const {
  const std::intptr_t count = Send(CB_GETCOUNT);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t CWinComboBoxControl::Selected() const {
  const std::intptr_t index = Send(CB_GETCURSEL);
  return index >= 0 ? static_cast<std::size_t>(index) : kNothing;
}

void CWinComboBoxControl::Select(std::size_t index) { Send(CB_SETCURSEL, index); }

bool CWinComboBoxControl::Insert(std::size_t index, const std::wstring& text) {
  return Send(CB_INSERTSTRING, index, reinterpret_cast<std::intptr_t>(text.c_str())) >= 0;
}

void CWinComboBoxControl::Remove(std::size_t index) { Send(CB_DELETESTRING, index); }
void CWinComboBoxControl::Clear() { Send(CB_RESETCONTENT); }

std::wstring CWinComboBoxControl::Text(std::size_t index) const {
  const std::intptr_t length = Send(CB_GETLBTEXTLEN, index);
  if (length <= 0) return {};
  std::wstring text(static_cast<std::size_t>(length), L'\0');  // with room for the closing 0
  const std::intptr_t copied = Send(CB_GETLBTEXT, index, reinterpret_cast<std::intptr_t>(text.data()));
  text.resize(copied > 0 ? static_cast<std::size_t>(copied) : 0);
  return text;
}

std::intptr_t CWinComboBoxControl::Data(std::size_t index) const { return Send(CB_GETITEMDATA, index); }
void CWinComboBoxControl::SetData(std::size_t index, std::intptr_t data) {
  Send(CB_SETITEMDATA, index, data);
}
