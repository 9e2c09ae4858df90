#pragma once

#include <QPointer>
#include <QWidget>

#include "umlauf/platform/ui/UserInterface.h"
#include "umlauf_qt/Export.h"

/// What the library asks of a user interface, on Qt Widgets. Make one beside the QApplication and hand it to
/// CUserInterface::Set; take it back (Set(nullptr)) before it goes.
///
/// Messages and dialogs may come from every thread: another thread than the one of the user interface waits
/// until the dialog is closed, so that thread must be running its event loop and must not be waiting in turn.
/// Combo boxes are for the thread of the user interface only. Without a QApplication everything is as in the
/// base.
class UMLAUF_QT_API CQtUserInterface : public CUserInterface {
 public:
  /// Dialogs are shown over a window, which may be null or go before the user interface.
  explicit CQtUserInterface(QWidget* window = nullptr) : window_(window) {}

  /// A modal QMessageBox.
  void ShowMessage(const CString& text, Icon icon) override;
  /// A modal QFileDialog. It always is resizable and leaves the process's current folder alone; a pattern as
  /// the file name chooses the file type that is shown first.
  bool AskForFile(const OpenFileDialog& dialog, CString& path) override;
  /// A new QComboBox without a parent; see CQtComboBoxControl.
  std::unique_ptr<CComboBoxControl> CreateComboBoxControl() override;

 private:
  QPointer<QWidget> window_;
};
