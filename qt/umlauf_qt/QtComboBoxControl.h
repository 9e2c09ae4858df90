#pragma once

#include <QComboBox>
#include <QPointer>

#include "umlauf/platform/ui/CComboBox.h"
#include "umlauf_qt/Export.h"

/// A QComboBox as the control behind a combo box of the library: it answers the standard messages from what
/// the widget shows, and tells of what the user chooses (CBN_SELCHANGE). The item data are the widget's user
/// data. For the thread of the user interface only.
///
/// A widget made by the control is deleted with it unless it was given a parent in the meantime; a widget of
/// the application stays. When the widget goes first, the control answers as an empty list that takes no
/// items.
class UMLAUF_QT_API CQtComboBoxControl : public CComboBoxList {
 public:
  /// Makes a new widget without a parent.
  CQtComboBoxControl() : CQtComboBoxControl(new QComboBox, true) {}
  /// Puts a widget of the application to use, with the items that it has.
  explicit CQtComboBoxControl(QComboBox* widget) : CQtComboBoxControl(widget, false) {}
  CQtComboBoxControl(const CQtComboBoxControl&) = delete;
  CQtComboBoxControl& operator=(const CQtComboBoxControl&) = delete;
  ~CQtComboBoxControl() override;

  /// Null when the widget is gone.
  QComboBox* Widget() const { return widget_; }
  /// The widget behind a combo box; null when its control is another one.
  static QComboBox* WidgetOf(CComboBox& box);

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
  CQtComboBoxControl(QComboBox* widget, bool own);

  QPointer<QComboBox> widget_;
  bool own_;
  QMetaObject::Connection chosen_;
};
