#pragma once

#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CObject.h"
#include "umlauf/platform/ui/ComboBoxControl.h"

class CComboBox;

/// A notification of the control and the member function that handles it.
struct CMessageMapEntry {
  unsigned notification = 0;
  void (CComboBox::*handler)() = nullptr;
};

/// The notifications that a class handles; what it does not name goes to its base.
struct CMessageMap {
  const CMessageMap* (*base)();     ///< null at the root
  const CMessageMapEntry* entries;  ///< ended by one without a handler
};

/// A combo box of the program; a control that only knows the standard combo-box messages shows it. The
/// control is made by the user interface in use (CUserInterface::CreateComboBoxControl) when the first
/// message is sent, unless one was attached before. Owns its control. One object is used by one thread at a
/// time, the one of the user interface.
class UMLAUF_API CComboBox : public CObject {
  UMLAUF_DECLARE_DYNCREATE(CComboBox)

 public:
  CComboBox() = default;
  CComboBox(const CComboBox&) = delete;
  CComboBox& operator=(const CComboBox&) = delete;
  ~CComboBox() override = default;

  /// Puts a control behind the combo box in place of the one before; null lets the next message make one.
  void Attach(std::unique_ptr<CComboBoxControl> control);
  /// The control, made now if there is none; without memory one that answers CB_ERRSPACE to everything.
  CComboBoxControl& Control();
  /// Sends a message to the control; see ComboBoxMessages.h.
  std::intptr_t SendMessageW(unsigned message, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) {
    return Control().SendMessageW(message, wParam, lParam);
  }
  std::intptr_t SendMessageW(unsigned message, std::uintptr_t wParam, const wchar_t* text) {
    return SendMessageW(message, wParam, reinterpret_cast<std::intptr_t>(text));
  }

 protected:
  static const CMessageMap* GetThisMessageMap();
  virtual const CMessageMap* GetMessageMap() const { return GetThisMessageMap(); }

 private:
  void OnNotify(unsigned notification);

  std::unique_ptr<CComboBoxControl> control_;
};

/// Declares the message map of a class below CComboBox.
#define UMLAUF_DECLARE_MESSAGE_MAP()             \
 protected:                                      \
  static const CMessageMap* GetThisMessageMap(); \
  const CMessageMap* GetMessageMap() const override;

/// Defines it; behind the classes stand the handlers, one UMLAUF_ON_NOTIFICATION each.
#define UMLAUF_IMPLEMENT_MESSAGE_MAP(Class, Base, ...)                                         \
  const CMessageMap* Class::GetMessageMap() const { return GetThisMessageMap(); }              \
  const CMessageMap* Class::GetThisMessageMap() {                                              \
    using ThisClass [[maybe_unused]] = Class;                                                  \
    static const CMessageMapEntry entries[] = {__VA_ARGS__ __VA_OPT__(, ) CMessageMapEntry{}}; \
    static const CMessageMap map{&Base::GetThisMessageMap, entries};                           \
    return &map;                                                                               \
  }
#define UMLAUF_ON_NOTIFICATION(notification, handler) \
  CMessageMapEntry { notification, static_cast<void (CComboBox::*)()>(&ThisClass::handler) }
