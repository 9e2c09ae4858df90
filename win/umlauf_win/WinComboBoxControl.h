#pragma once

#include "umlauf/platform/framework/Types.h"
#include "umlauf/platform/ui/CComboBox.h"
#include "umlauf_win/Export.h"

/// A combo box of Windows as the control behind a combo box of the library: it answers the messages of
/// ComboBoxMessages.h from what its window holds, just as the other controls do (the system's own answers
/// differ between versions), hands on all others, and tells of what the user chooses (CBN_SELCHANGE). For the
/// thread of the window only.
///
/// A window of the application stays when the control goes. When the window goes first, the control answers
/// as an empty list that takes no items.
class UMLAUF_WIN_API CWinComboBoxControl : public CComboBoxList {
 public:
  /// Puts a combo box of the application to use, as of a dialog (GetDlgItem), with the items that it has. It
  /// keeps its texts (CBS_HASSTRINGS, or not drawn by its owner) and does not sort them (no CBS_SORT).
  explicit CWinComboBoxControl(HWND window);
  /// Makes a drop-down list as the child of a window, without size and not visible yet, which goes with the
  /// control. Null when there can be none.
  static std::unique_ptr<CWinComboBoxControl> MakeIn(HWND parent);
  CWinComboBoxControl(const CWinComboBoxControl&) = delete;
  CWinComboBoxControl& operator=(const CWinComboBoxControl&) = delete;
  ~CWinComboBoxControl() override;

  /// Null when the window is gone.
  HWND Window() const { return window_; }
  /// The window behind a combo box; null when its control is another one.
  static HWND WindowOf(CComboBox& box);

  std::intptr_t SendMessageW(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) override;

 protected:
  std::size_t Count() const override;
  std::size_t Selected() const override;
  void Select(std::size_t index) override;
  bool Insert(std::size_t index, const std::wstring& text) override;
  void Remove(std::size_t index) override;
  void Clear() override;
  std::wstring Text(std::size_t index) const override;
  std::intptr_t Data(std::size_t index) const override;
  void SetData(std::size_t index, std::intptr_t data) override;

 private:
  struct Hooks;

  /// To the window; CB_ERR without one.
  std::intptr_t Send(unsigned message, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) const;

  HWND window_;
  HWND parent_;
  bool own_ = false;
};
