#pragma once

#include "umlauf/platform/framework/Types.h"
#include "umlauf/platform/ui/UserInterface.h"
#include "umlauf_win/Export.h"

/// What the library asks of a user interface, with the dialogs and controls of Windows. Hand one to
/// CUserInterface::Set; take it back (Set(nullptr)) before it goes. Messages and dialogs may come from every
/// thread, combo boxes only from that of the window.
class UMLAUF_WIN_API CWinUserInterface : public CUserInterface {
 public:
  /// Dialogs are shown over a window of the application, combo boxes are made in it. Without one, dialogs
  /// stand by themselves and combo boxes live in memory only.
  explicit CWinUserInterface(HWND window = nullptr) : window_(window) {}

  /// The system's message box, with the program's name as its title.
  void ShowMessage(const CString& text, Icon icon) override;
  /// The system's dialog.
  bool AskForFile(const OpenFileDialog& dialog, CString& path) override;
  /// As CWinComboBoxControl::MakeIn.
  std::unique_ptr<CComboBoxControl> CreateComboBoxControl() override;

 private:
  HWND window_;
};
