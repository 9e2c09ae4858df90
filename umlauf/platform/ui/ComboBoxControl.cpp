#include "umlauf/platform/ui/ComboBoxControl.h"

#include <algorithm>
#include <string_view>

#include "umlauf/platform/memory/WithoutMemory.h"

namespace {

/// The small letter of a capital of the Latin (with Latin-1 and Latin Extended-A), Greek and Cyrillic
/// alphabets; any other character as it is. Not std::towlower, which knows ASCII only in the "C" locale.
constexpr wchar_t SmallLetter(wchar_t c) {
  const auto within = [c](unsigned first, unsigned last) {
    return static_cast<std::uint32_t>(c) - first <= last - first;
  };
  const auto moved = [c](int distance) { return static_cast<wchar_t>(static_cast<int>(c) + distance); };
  if (within('A', 'Z')) return moved(32);
  if (c < 0x80) return c;
  if (within(0xC0, 0xDE) && c != 0xD7) return moved(32);
  // Capital and small letter take turns; the capital is even, in two stretches odd.
  if (within(0x139, 0x148) || within(0x179, 0x17E)) return (c & 1) != 0 ? moved(1) : c;
  if (c == 0x178) return 0xFF;
  if (within(0x100, 0x177) && c != 0x130 && c != 0x131 && c != 0x138) return (c & 1) == 0 ? moved(1) : c;
  if (within(0x391, 0x3AB) && c != 0x3A2) return moved(32);
  if (within(0x400, 0x40F)) return moved(80);
  if (within(0x410, 0x42F)) return moved(32);
  return c;
}

bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](wchar_t x, wchar_t y) { return SmallLetter(x) == SmallLetter(y); });
}

const wchar_t* TextOf(std::intptr_t lParam) { return reinterpret_cast<const wchar_t*>(lParam); }

}  // namespace

std::intptr_t CComboBoxList::SendMessageW(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
  return umlauf::WithMemory(std::intptr_t{CB_ERRSPACE}, [&] { return Answer(message, wParam, lParam); });
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
