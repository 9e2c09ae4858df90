#pragma once

#include <memory>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

class CComboBoxControl;

/// What the library asks of a user interface. The library has none: the default writes messages to the log.
/// An application derives from this class and sets its own object, which must outlive every use of the
/// library.
class UMLAUF_API CUserInterface {
 public:
  enum class Icon { information, warning, error };

  virtual ~CUserInterface() = default;
  /// Shows a message and returns when it was read. The default writes it to the log, category 1.
  virtual void ShowMessage(const CString& text, Icon icon);
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
