#include "umlauf/platform/ui/CComboBox.h"

#include <new>

#include "umlauf/platform/ui/UserInterface.h"

UMLAUF_IMPLEMENT_DYNCREATE(CComboBox, CObject)

namespace {

/// Stands in where there was no memory for a control.
struct NoControl : CComboBoxControl {
  std::intptr_t SendMessageW(unsigned, std::uintptr_t, std::intptr_t) override { return CB_ERRSPACE; }
};

}  // namespace

void CComboBox::Attach(std::unique_ptr<CComboBoxControl> control) {
  control_ = std::move(control);
  if (control_ != nullptr) {
    control_->on_notify = [this](unsigned notification) { OnNotify(notification); };
  }
}

CComboBoxControl& CComboBox::Control() {
  if (control_ == nullptr) Attach(CUserInterface::Get().CreateComboBoxControl());
  if (control_ == nullptr) Attach(std::unique_ptr<CComboBoxControl>(new (std::nothrow) CWindowlessComboBox));
  if (control_ != nullptr) return *control_;
  static NoControl none;
  return none;
}

void CComboBox::OnNotify(unsigned notification) {
  for (const CMessageMap* map = GetMessageMap(); map != nullptr;
       map = map->base != nullptr ? map->base() : nullptr) {
    for (const CMessageMapEntry* entry = map->entries; entry->handler != nullptr; ++entry) {
      if (entry->notification != notification) continue;
      (this->*entry->handler)();
      return;
    }
  }
}

const CMessageMap* CComboBox::GetThisMessageMap() {
  static const CMessageMapEntry entries[] = {CMessageMapEntry{}};
  static const CMessageMap map{nullptr, entries};
  return &map;
}
