#include "umlauf_win/WinUserInterface.h"

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "support/ComboBoxConversation.h"
#include "umlauf/units/UnitPickers.h"
#include "umlauf_win/WinComboBoxControl.h"

namespace {

using U = CMeasuringUnit;

/// A dialog with room for two combo boxes; its own handler counts what they notify.
class Win : public testing::Test {
 protected:
  Win() {
    struct {
      alignas(4) DLGTEMPLATE dialog{WS_POPUP | WS_CAPTION | WS_VISIBLE, 0, 0, 0, 0, 160, 60};
      WORD menu = 0, windowClass = 0, title = 0;
    } const bare;
    dialog_ = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &bare.dialog, nullptr, Handle,
                                         reinterpret_cast<LPARAM>(this));
    SetWindowTextW(dialog_, L"Units");
    for (int i = 0; i < 2; ++i) {
      box_[i] = CreateWindowExW(0, L"COMBOBOX", L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL | CBS_DROPDOWNLIST,
                                10 + 120 * i, 10, 110, 200, dialog_, nullptr, nullptr, nullptr);
    }
  }
  ~Win() override { DestroyWindow(dialog_); }

  static void Press(HWND window, WPARAM key) {
    SendMessageW(window, WM_KEYDOWN, key, 0);
    SendMessageW(window, WM_KEYUP, key, 0);
  }

  HWND dialog_ = nullptr;
  HWND box_[2] = {};
  int handled_ = 0;

 private:
  static INT_PTR CALLBACK Handle(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    auto* const test = reinterpret_cast<Win*>(GetWindowLongPtrW(dialog, DWLP_USER));
    if (message == WM_COMMAND && HIWORD(wParam) == CBN_SELCHANGE) ++test->handled_;
    return FALSE;
  }
};

TEST_F(Win, ControlAnswersAsTheWindowlessOne) {
  CWinComboBoxControl control(box_[0]);
  ExpectStandardAnswers(control);
  const std::unique_ptr<CWinComboBoxControl> made = CWinComboBoxControl::MakeIn(dialog_);
  ASSERT_NE(made, nullptr);
  ExpectStandardAnswers(*made);
}

TEST_F(Win, PickersWorkOnADialog) {
  CMeasuringUnitComboBox units;
  CSiPrefixComboBox prefixes;
  units.Attach(std::make_unique<CWinComboBoxControl>(box_[0]));
  prefixes.Attach(std::make_unique<CWinComboBoxControl>(box_[1]));
  units.Prepare(U(U::rpm, 3));
  prefixes.Prepare(0);
  const auto count = static_cast<int>(SendMessageW(box_[0], CB_GETCOUNT, 0, 0));
  EXPECT_EQ(count, 31);
  for (int i = 0; i < count; ++i) {
    SendMessageW(box_[0], CB_SETCURSEL, static_cast<WPARAM>(i), 0);
    wchar_t text[64] = L"";
    GetWindowTextW(box_[0], text, 64);
    EXPECT_EQ(U::UnitString(units.Retrieve().unit()), CString(text)) << i;
  }
  SendMessageW(box_[0], CB_SETCURSEL, static_cast<WPARAM>(-1), 0);
  EXPECT_EQ(units.Retrieve(), U());
  int choices = 0;
  prefixes.Control().on_notify = [&choices](unsigned code) { choices += code == CBN_SELCHANGE ? 1 : 0; };
  Press(box_[1], VK_DOWN);
  EXPECT_ALL(prefixes.Retrieve() == 3, choices == 1, handled_ == 1);
  EXPECT_ALL(prefixes.SetSelection(-6), choices == 1);  // told of what the user does only
}

TEST_F(Win, WindowAndPickerMayGoInAnyOrder) {
  auto picker = std::make_unique<CSiPrefixComboBox>();
  picker->Attach(std::make_unique<CWinComboBoxControl>(box_[0]));
  picker->Prepare(3);
  picker.reset();
  EXPECT_ALL(IsWindow(box_[0]) != 0, SendMessageW(box_[0], CB_GETCOUNT, 0, 0) > 0);
  CSiPrefixComboBox longer;
  longer.Attach(std::make_unique<CWinComboBoxControl>(box_[1]));
  longer.Prepare(3);
  DestroyWindow(box_[1]);
  EXPECT_ALL(CWinComboBoxControl::WindowOf(longer) == nullptr, longer.SendMessageW(CB_GETCOUNT) == 0,
             longer.SendMessageW(CB_ADDSTRING, 0, L"k") == CB_ERR);
  EXPECT_EQ(CWinComboBoxControl(nullptr).SendMessageW(CB_GETCOUNT, 0, 0), 0);
}

/// Presses a button of the next dialog box of this process, as soon as it is there.
std::thread AnswerNext(WPARAM button, const wchar_t* name, std::wstring& text) {
  return std::thread([button, name, &text] {
    for (int i = 0; i < 2000; ++i, Sleep(5)) {
      const HWND box = FindWindowW(L"#32770", name);
      if (box == nullptr || IsWindowVisible(box) == 0) continue;
      wchar_t shown[200] = L"";
      for (HWND part = nullptr; (part = FindWindowExW(box, part, L"Static", nullptr)) != nullptr;) {
        if (shown[0] == L'\0') GetWindowTextW(part, shown, 200);
      }
      text = shown;
      PostMessageW(box, WM_COMMAND, button, 0);
      return;
    }
  });
}

TEST_F(Win, MessageBoxShowsTheText) {
  CWinUserInterface userInterface(dialog_);
  CUserInterface::Set(&userInterface);
  std::wstring text;
  std::thread person = AnswerNext(IDOK, L"test_win", text);
  ErrorMessageBox(L"Lücke bei 試験 \U0001F600");
  person.join();
  CUserInterface::Set(nullptr);
  EXPECT_EQ(text, L"Lücke bei 試験 \U0001F600");
}

TEST_F(Win, FileDialogGivesTheFileOrNothing) {
  wchar_t folder[MAX_PATH] = L"";
  GetTempPathW(MAX_PATH, folder);
  const std::wstring file = std::wstring(folder) + L"umlauf-Größe.xml";
  std::ofstream(std::filesystem::path(file)) << "<a/>";
  CWinUserInterface userInterface;
  OpenFileDialog dialog;
  dialog.title = L"Description of messages";
  dialog.folder = folder;
  dialog.fileName = file;
  dialog.filter = L"Descriptions|*.xml|All|*.*||";
  for (const WPARAM button : {IDOK, IDCANCEL}) {
    std::wstring text;
    CString path = L"before";
    std::thread person = AnswerNext(button, L"Description of messages", text);
    EXPECT_EQ(userInterface.AskForFile(dialog, path), button == IDOK);
    person.join();
    EXPECT_EQ(path, button == IDOK ? file.c_str() : L"before");
  }
  DeleteFileW(file.c_str());
}

}  // namespace
