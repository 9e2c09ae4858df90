#include "umlauf/platform/ui/ComboBoxControl.h"

#include <algorithm>
#include <cwctype>
#include <new>
#include <string_view>

namespace {

bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](wchar_t x, wchar_t y) {
    return std::towlower(static_cast<wint_t>(x)) == std::towlower(static_cast<wint_t>(y));
  });
}

const wchar_t* TextOf(std::intptr_t lParam) { return reinterpret_cast<const wchar_t*>(lParam); }

}  // namespace

std::intptr_t CComboBoxList::SendMessageW(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
  try {
    return Answer(message, wParam, lParam);
  } catch (const std::bad_alloc&) {
    return CB_ERRSPACE;
  }
}

std::intptr_t CComboBoxList::Answer(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
  switch (message) {
    case CB_RESETCONTENT:
      Select(kNothing);
      Clear();
      return CB_OKAY;
    case CB_GETCOUNT:
      return static_cast<std::intptr_t>(Count());
    case CB_GETCURSEL:
      return static_cast<std::intptr_t>(Selected());
    case CB_SETCURSEL:
      return SetSelection(wParam);
    case CB_ADDSTRING:
      return InsertText(Count(), TextOf(lParam));
    case CB_INSERTSTRING:
      return InsertText(wParam == kNothing ? Count() : wParam, TextOf(lParam));
    case CB_FINDSTRING:
    case CB_FINDSTRINGEXACT:
      return Find(wParam, TextOf(lParam), message == CB_FINDSTRINGEXACT);
    case CB_SELECTSTRING: {
      const std::intptr_t found = Find(wParam, TextOf(lParam), false);
      return found < 0 ? found : SetSelection(static_cast<std::uintptr_t>(found));
    }
    case CB_DELETESTRING:
    case CB_GETLBTEXT:
    case CB_GETLBTEXTLEN:
    case CB_GETITEMDATA:
    case CB_SETITEMDATA:
      return wParam < Count() ? AnswerForItem(message, wParam, lParam) : CB_ERR;
    default:
      return 0;
  }
}

std::intptr_t CComboBoxList::AnswerForItem(unsigned message, std::size_t index, std::intptr_t lParam) {
  switch (message) {
    case CB_DELETESTRING:
      return Delete(index);
    case CB_GETITEMDATA:
      return Data(index);
    case CB_SETITEMDATA:
      SetData(index, lParam);
      return CB_OKAY;
    case CB_GETLBTEXTLEN:
      return static_cast<std::intptr_t>(Text(index).size());
    default: {  // CB_GETLBTEXT
      auto* buffer = reinterpret_cast<wchar_t*>(lParam);
      if (buffer == nullptr) return CB_ERR;
      const std::wstring text = Text(index);
      std::copy_n(text.c_str(), text.size() + 1, buffer);
      return static_cast<std::intptr_t>(text.size());
    }
  }
}

std::intptr_t CComboBoxList::InsertText(std::size_t index, const wchar_t* text) {
  if (text == nullptr || index > Count()) return CB_ERR;
  const std::size_t selected = Selected();
  if (!Insert(index, text)) return CB_ERR;
  // The selection stays with its item.
  Select(selected == kNothing || selected < index ? selected : selected + 1);
  return static_cast<std::intptr_t>(index);
}

std::intptr_t CComboBoxList::Delete(std::size_t index) {
  const std::size_t selected = Selected();
  Remove(index);
  if (selected == index) {
    Select(kNothing);
  } else {
    Select(selected == kNothing || selected < index ? selected : selected - 1);
  }
  return static_cast<std::intptr_t>(Count());
}

std::intptr_t CComboBoxList::Find(std::uintptr_t before, const wchar_t* text, bool exact) const {
  const std::size_t count = Count();
  if (text == nullptr || count == 0) return CB_ERR;
  const std::wstring_view wanted = text;
  const std::size_t first = before < count ? before + 1 : 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t index = (first + i) % count;
    const std::wstring item = Text(index);
    const std::wstring_view compared = std::wstring_view(item).substr(0, exact ? item.size() : wanted.size());
    if (EqualIgnoringCase(compared, wanted)) return static_cast<std::intptr_t>(index);
  }
  return CB_ERR;
}

std::intptr_t CComboBoxList::SetSelection(std::uintptr_t index) {
  const bool valid = index < Count();
  Select(valid ? index : kNothing);
  return valid ? static_cast<std::intptr_t>(index) : CB_ERR;
}

bool CWindowlessComboBox::Insert(std::size_t index, const std::wstring& text) {
  items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(index), Item{text});
  return true;
}

void CWindowlessComboBox::Remove(std::size_t index) {
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
}
