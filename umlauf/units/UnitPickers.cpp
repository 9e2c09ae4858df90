#include "umlauf/units/UnitPickers.h"

#include <array>

UMLAUF_IMPLEMENT_DYNCREATE(CMeasuringUnitComboBox, CComboBox)
UMLAUF_IMPLEMENT_MESSAGE_MAP(CMeasuringUnitComboBox, CComboBox)

UMLAUF_IMPLEMENT_DYNCREATE(CSiPrefixComboBox, CComboBox)
UMLAUF_IMPLEMENT_MESSAGE_MAP(CSiPrefixComboBox, CComboBox)

namespace {

struct SiPrefix {
  const wchar_t* text;
  std::int16_t exponent;
};
constexpr std::array<SiPrefix, 10> kPrefixes{{
    {L"f", -15},
    {L"p", -12},
    {L"n", -9},
    {L"µ", -6},
    {L"m", -3},
    {L"(1)", 0},
    {L"k", 3},
    {L"M", 6},
    {L"G", 9},
    {L"T", 12},
}};

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
  for (std::uint32_t i = 0; i < CommonUnits::kCommonUnitCount; ++i) {
    map.emplace(static_cast<int>(i), CMeasuringUnit::UnitString(i));
  }
}

void CSiPrefixComboBox::Prepare(std::int16_t exponent) {
  SendMessageW(CB_RESETCONTENT);
  for (const SiPrefix& prefix : kPrefixes) AddItem(*this, prefix.text, prefix.exponent);
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
  for (const SiPrefix& prefix : kPrefixes) map.emplace(prefix.exponent, prefix.text);
}
