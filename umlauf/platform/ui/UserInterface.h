#pragma once

#include <memory>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

class CComboBoxControl;

/// What a modal dialog that asks for an existing file shows at first.
struct UMLAUF_API OpenFileDialog {
  CString title;
  CString folder;            ///< where it starts
  CString fileName;          ///< in the name field; may be a pattern
  CString defaultExtension;  ///< added to a name without one
  CString filter;            ///< pairs of text and pattern, each ended by "|", and one more "|" at the end
  bool explorerStyle = true;
  bool resizable = true;
  bool fileMustExist = true;
  bool keepCurrentFolder = true;  ///< the process's current folder is as before afterwards
};

/// What the library asks of a user interface. The library has none: the default writes messages to the log
/// and cancels dialogs. An application derives from this class and sets its own object, which must outlive
/// every use of the library.
class UMLAUF_API CUserInterface {
 public:
  enum class Icon { information, warning, error };

  virtual ~CUserInterface() = default;
  /// Shows a message and returns when it was read. The default writes it to the log, category 1.
  virtual void ShowMessage(const CString& text, Icon icon);
  /// Asks for a file and returns when the dialog is closed: true, with its full path, on OK. The default
  /// cancels: false, and `path` stays.
  virtual bool AskForFile(const OpenFileDialog& dialog, CString& path);
  /// A new control for a combo box. The default is one that lives in memory only (CWindowlessComboBox), which
  /// also stands in for null.
  virtual std::unique_ptr<CComboBoxControl> CreateComboBoxControl();

  /// The interface in use. Safe from every thread.
  static CUserInterface& Get();
  /// Sets the interface; null restores the default. The caller keeps ownership.
  static void Set(CUserInterface* userInterface);
};

/// Modal error message box.
UMLAUF_API void ErrorMessageBox(const CString& text);
