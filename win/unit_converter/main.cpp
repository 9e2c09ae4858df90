// The unit converter: both unit pickers of the library on the combo boxes of a dialog from the program's
// resources.
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// The system's other headers come behind its first.
#include <commctrl.h>

#include <fmt/format.h>
#include <fmt/xchar.h>

#include <cmath>
#include <cwchar>

#include "resource.h"
#include "umlauf/units/UnitPickers.h"
#include "umlauf_win/WinComboBoxControl.h"
#include "umlauf_win/WinUserInterface.h"

namespace {

/// Both pickers of one side of the conversion.
struct Side {
  CSiPrefixComboBox prefix;
  CMeasuringUnitComboBox unit;

  void Attach(HWND dialog, int prefixBox, int unitBox) {
    prefix.Attach(std::make_unique<CWinComboBoxControl>(GetDlgItem(dialog, prefixBox)));
    unit.Attach(std::make_unique<CWinComboBoxControl>(GetDlgItem(dialog, unitBox)));
    SendDlgItemMessageW(dialog, unitBox, CB_SETMINVISIBLE, 12, 0);  // of 31
    prefix.Prepare(0);
    unit.Prepare(CMeasuringUnit());
  }
  CMeasuringUnit Retrieve() {
    CMeasuringUnit chosen = unit.Retrieve();
    prefix.RetrieveExponent(chosen);
    return chosen;
  }
  void Select(const CMeasuringUnit& selected) {
    unit.SetSelection(selected);
    prefix.SetSelection(selected);
  }
};

/// Converts a value while it is typed and the units are chosen.
class UnitConverter {
 public:
  static void Show(HINSTANCE program) {
    UnitConverter converter;
    DialogBoxParamW(program, MAKEINTRESOURCEW(IDD_CONVERTER), nullptr, Handle,
                    reinterpret_cast<LPARAM>(&converter));
  }

 private:
  static INT_PTR CALLBACK Handle(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrW(dialog, DWLP_USER, lParam);
      reinterpret_cast<UnitConverter*>(lParam)->Start(dialog);
      return TRUE;
    }
    auto* const converter = reinterpret_cast<UnitConverter*>(GetWindowLongPtrW(dialog, DWLP_USER));
    if (message != WM_COMMAND || converter == nullptr) return FALSE;
    converter->Command(LOWORD(wParam), HIWORD(wParam));
    return TRUE;
  }

  void Start(HWND dialog) {
    dialog_ = dialog;
    from_.Attach(dialog, IDC_FROM_PREFIX, IDC_FROM_UNIT);
    to_.Attach(dialog, IDC_TO_PREFIX, IDC_TO_UNIT);
    from_.Select(CMeasuringUnit(CMeasuringUnit::rpm));
    to_.Select(CMeasuringUnit(CMeasuringUnit::hertz));
    SetDlgItemTextW(dialog, IDC_VALUE, L"1500");  // which tells of a change
  }

  void Command(WORD control, WORD code) {
    if (control == IDCANCEL) {
      EndDialog(dialog_, 0);
    } else if (control == IDC_SWAP) {
      const CMeasuringUnit from = from_.Retrieve();
      from_.Select(to_.Retrieve());
      to_.Select(from);
      Update();
    } else if (code == CBN_SELCHANGE || (control == IDC_VALUE && code == EN_CHANGE)) {
      Update();
    }
  }

  void Update() {
    const CMeasuringUnit from = from_.Retrieve(), to = to_.Retrieve();
    const float factor = from.scale_to(to);
    const bool convertible = std::isfinite(factor) && factor != 0.0f;
    wchar_t text[64] = L"", *end = text;
    GetDlgItemTextW(dialog_, IDC_VALUE, text, 64);
    const double value = std::wcstod(text, &end);
    const bool isNumber = end != text && *end == L'\0';
    const std::wstring fromText = from.prefixstring().str(), toText = to.prefixstring().str();
    SetDlgItemTextW(dialog_, IDC_RESULT,
                    convertible && isNumber ? fmt::format(L"{:.6g}", value * double{factor}).c_str() : L"");
    SetDlgItemTextW(dialog_, IDC_NOTE,
                    (convertible ? fmt::format(L"1 {} = {:.6g} {}", fromText, factor, toText)
                                 : fmt::format(L"{} and {} have no unit in common.", fromText, toText))
                        .c_str());
  }

  HWND dialog_ = nullptr;
  Side from_, to_;
};

}  // namespace

int WINAPI wWinMain(HINSTANCE program, HINSTANCE, PWSTR, int) {
  CWinUserInterface userInterface;
  CUserInterface::Set(&userInterface);
  UnitConverter::Show(program);
  CUserInterface::Set(nullptr);
  return 0;
}
