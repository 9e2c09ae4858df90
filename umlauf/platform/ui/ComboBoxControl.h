#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/ui/ComboBoxMessages.h"

/// The control behind a combo box: a list of texts with an item data each, of which at most one is selected.
/// It is spoken to by the standard combo-box messages only. One object is used by one thread at a time, the
/// one of the user interface.
class UMLAUF_API CComboBoxControl {
 public:
  CComboBoxControl() = default;
  virtual ~CComboBoxControl() = default;
  CComboBoxControl(const CComboBoxControl&) = delete;
  CComboBoxControl& operator=(const CComboBoxControl&) = delete;
  /// Answers a message; 0 for one that it does not know. See ComboBoxMessages.h.
  virtual std::intptr_t SendMessageW(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) = 0;

  /// Called with a notification (CBN_SELCHANGE) when the user, not a message, chose an item.
  std::function<void(unsigned notification)> on_notify;
};

/// Answers the messages over the few operations that a list of items has; the bounds are checked here. The
/// list is not sorted. What runs out of memory answers CB_ERRSPACE.
class UMLAUF_API CComboBoxList : public CComboBoxControl {
 public:
  std::intptr_t SendMessageW(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) override;

 protected:
  static constexpr std::size_t kNothing = static_cast<std::size_t>(-1);

  virtual std::size_t Count() const = 0;
  /// Index of the selected item, kNothing without one.
  virtual std::size_t Selected() const = 0;
  /// An index below Count() or kNothing.
  virtual void Select(std::size_t index) = 0;
  /// Inserts an item with data 0 before an index up to Count(). The selection is set afterwards. False when
  /// the control cannot take it.
  virtual bool Insert(std::size_t index, const std::wstring& text) = 0;
  virtual void Remove(std::size_t index) = 0;
  virtual void Clear() = 0;
  virtual std::wstring Text(std::size_t index) const = 0;
  virtual std::intptr_t Data(std::size_t index) const = 0;
  virtual void SetData(std::size_t index, std::intptr_t data) = 0;

 private:
  std::intptr_t Answer(unsigned message, std::uintptr_t wParam, std::intptr_t lParam);
  std::intptr_t AnswerForItem(unsigned message, std::size_t index, std::intptr_t lParam);
  std::intptr_t InsertText(std::size_t index, const wchar_t* text);
  std::intptr_t Delete(std::size_t index);
  std::intptr_t Find(std::uintptr_t before, const wchar_t* text, bool exact) const;
  /// The index, or CB_ERR without one.
  std::intptr_t SetSelection(std::uintptr_t index);
};

/// The control of programs without a user interface: the items live in memory only.
class UMLAUF_API CWindowlessComboBox : public CComboBoxList {
 protected:
  std::size_t Count() const override { return items_.size(); }
  std::size_t Selected() const override { return selected_; }
  void Select(std::size_t index) override { selected_ = index; }
  bool Insert(std::size_t index, const std::wstring& text) override;
  void Remove(std::size_t index) override;
  void Clear() override { items_.clear(); }
  std::wstring Text(std::size_t index) const override { return items_[index].text; }
  std::intptr_t Data(std::size_t index) const override { return items_[index].data; }
  void SetData(std::size_t index, std::intptr_t data) override { items_[index].data = data; }

 private:
  struct Item {
    std::wstring text;
    std::intptr_t data = 0;
  };

  std::vector<Item> items_;
  std::size_t selected_ = kNothing;
};
