#include "umlauf/units/UnitPickers.h"

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/units/internal/SiPrefixes.h"

UMLAUF_IMPLEMENT_DYNCREATE(CMeasuringUnitComboBox, CComboBox)
UMLAUF_IMPLEMENT_MESSAGE_MAP(CMeasuringUnitComboBox, CComboBox)

UMLAUF_IMPLEMENT_DYNCREATE(CSiPrefixComboBox, CComboBox)
UMLAUF_IMPLEMENT_MESSAGE_MAP(CSiPrefixComboBox, CComboBox)

using umlauf::units::kSiPrefixes;
using umlauf::units::SiPrefix;

namespace {

CString TextOf(const SiPrefix& prefix) {
  return prefix.exponent == 0 ? CString(L"(1)") : CString(&prefix.letter, 1);
}

void AddItem(CComboBox& box, const wchar_t* text, std::intptr_t data) {
  const std::intptr_t index = box.SendMessageW(CB_ADDSTRING, 0, text);
  if (index >= 0) box.SendMessageW(CB_SETITEMDATA, static_cast<std::uintptr_t>(index), data);
}

bool SelectLastWithData(CComboBox& box, std::intptr_t data) {
  const std::intptr_t count = box.SendMessageW(CB_GETCOUNT);
  for (std::intptr_t i = count - 1; i >= 0; --i) {
    const auto index = static_cast<std::uintptr_t>(i);
    if (box.SendMessageW(CB_GETITEMDATA, index) != data) continue;
    box.SendMessageW(CB_SETCURSEL, index);
    return true;
  }
  return false;
}

/// Hands the data of the selected item to `use`, if there is one.
template <class Use>
void WithSelectedData(CComboBox& box, Use use) {
  const std::intptr_t selected = box.SendMessageW(CB_GETCURSEL);
  if (selected >= 0) use(box.SendMessageW(CB_GETITEMDATA, static_cast<std::uintptr_t>(selected)));
}

}  // namespace

void CMeasuringUnitComboBox::Prepare(CMeasuringUnit const& unit) {
  SendMessageW(CB_RESETCONTENT);
  for (std::uint32_t i = 0; i < CommonUnits::kCommonUnitCount; ++i) {
    AddItem(*this, CMeasuringUnit::UnitString(i), static_cast<std::intptr_t>(i));
  }
  SetSelection(unit);
}

bool CMeasuringUnitComboBox::SetSelection(CMeasuringUnit const& unit) {
  choice_ = unit;
  return SelectLastWithData(*this, static_cast<std::intptr_t>(unit.unit()));
}

CMeasuringUnit const& CMeasuringUnitComboBox::Retrieve() {
  choice_.clear();
  WithSelectedData(
      *this, [this](std::intptr_t data) { choice_.set(static_cast<std::uint32_t>(data), 0, 1, 1.0f, 0); });
  return choice_;
}

void CMeasuringUnitComboBox::FillIdNameMap(std::map<int, CString>& map) {
  map.clear();
  umlauf::HadMemory([&map] {
    for (std::uint32_t i = 0; i < CommonUnits::kCommonUnitCount; ++i) {
      map.emplace(static_cast<int>(i), CMeasuringUnit::UnitString(i));
    }
  });
}

void CSiPrefixComboBox::Prepare(std::int16_t exponent) {
  SendMessageW(CB_RESETCONTENT);
  for (const SiPrefix& prefix : kSiPrefixes) AddItem(*this, TextOf(prefix), prefix.exponent);
  SetSelection(exponent);
}

bool CSiPrefixComboBox::SetSelection(std::int16_t exponent) {
  choice_ = exponent;
  return SelectLastWithData(*this, exponent);
}

std::int16_t CSiPrefixComboBox::Retrieve() {
  choice_ = 0;
  WithSelectedData(*this, [this](std::intptr_t data) { choice_ = static_cast<std::int16_t>(data); });
  return choice_;
}

void CSiPrefixComboBox::FillIdNameMap(std::map<int, CString>& map) {
  map.clear();
  umlauf::HadMemory([&map] {
    for (const SiPrefix& prefix : kSiPrefixes) map.emplace(prefix.exponent, TextOf(prefix));
  });
}
