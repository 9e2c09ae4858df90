#include "umlauf_qt/QtComboBoxControl.h"

#include <QSignalBlocker>

CQtComboBoxControl::CQtComboBoxControl(QComboBox* widget, bool own) : widget_(widget), own_(own) {
  if (widget == nullptr) return;
  chosen_ = QObject::connect(widget, &QComboBox::activated, widget, [this] {
    if (on_notify) on_notify(CBN_SELCHANGE);
  });
}

CQtComboBoxControl::~CQtComboBoxControl() {
  QObject::disconnect(chosen_);
  if (own_ && widget_ != nullptr && widget_->parent() == nullptr) delete widget_;
}

QComboBox* CQtComboBoxControl::WidgetOf(CComboBox& box) {
  auto* control = dynamic_cast<CQtComboBoxControl*>(&box.Control());
  return control != nullptr ? control->Widget() : nullptr;
}

std::size_t CQtComboBoxControl::Count() const {
  return widget_ != nullptr ? static_cast<std::size_t>(widget_->count()) : 0;
}

std::size_t CQtComboBoxControl::Selected() const {
  return widget_ != nullptr && widget_->currentIndex() >= 0
             ? static_cast<std::size_t>(widget_->currentIndex())
             : kNothing;
}

void CQtComboBoxControl::Select(std::size_t index) {
  if (widget_ != nullptr) widget_->setCurrentIndex(index == kNothing ? -1 : static_cast<int>(index));
}

bool CQtComboBoxControl::Insert(std::size_t index, const std::wstring& text) {
  if (widget_ == nullptr || widget_->count() >= widget_->maxCount()) return false;
  // The widget selects its first item by itself; whoever listens need not see that.
  const QSignalBlocker quiet(widget_);
  const int selected = widget_->currentIndex();
  const int at = static_cast<int>(index);
  widget_->insertItem(at, QString::fromStdWString(text), QVariant(0));
  widget_->setCurrentIndex(selected < at ? selected : selected + 1);
  return true;
}

void CQtComboBoxControl::Remove(std::size_t index) {
  // The widget would go from an item that is removed to its neighbour, and announce that as a choice.
  if (widget_->currentIndex() == static_cast<int>(index)) widget_->setCurrentIndex(-1);
  widget_->removeItem(static_cast<int>(index));
}

void CQtComboBoxControl::Clear() {
  if (widget_ != nullptr) widget_->clear();
}

std::wstring CQtComboBoxControl::Text(std::size_t index) const {
  return widget_->itemText(static_cast<int>(index)).toStdWString();
}

std::intptr_t CQtComboBoxControl::Data(std::size_t index) const {
  return static_cast<std::intptr_t>(widget_->itemData(static_cast<int>(index)).toLongLong());
}

void CQtComboBoxControl::SetData(std::size_t index, std::intptr_t data) {
  widget_->setItemData(static_cast<int>(index), QVariant(static_cast<qlonglong>(data)));
}
