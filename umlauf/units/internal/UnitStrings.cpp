#include "umlauf/units/internal/UnitStrings.h"

#include <new>

#include "umlauf/platform/memory/Immortal.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/units/CommonUnits.h"

namespace {

constexpr int kMessageStyle = 3;

struct AlternativeName {
  const wchar_t* name;
  std::uint32_t unit;
};

constexpr AlternativeName kAlternativeNames[] = {
    {L"Rpm", CommonUnits::rpm},
    {L"RPM", CommonUnits::rpm},
    {L"Rev", CommonUnits::revolution},
    {L"Rad", CommonUnits::radian},
    {L"Rad/s", CommonUnits::radian_per_second},
    {L"Rad/s²", CommonUnits::radian_per_second_squared},
    {L"UpM", CommonUnits::rpm},
    {L"Upm", CommonUnits::rpm},
    {L"Umd", CommonUnits::revolution},
    {L"Ord", CommonUnits::order},
    {L"rpm", CommonUnits::rpm},
    {L"n", CommonUnits::number},
};

void TellRejected(const CString& name) {
  PrWin::Output(PrWin::debug, kMessageStyle,
                L"CMeasuringUnit::UnitStrings: Unknown measuring unit ‘%s’ rejected!\n", name);
}

void TellRegistered(const CString& name, std::uint32_t index) {
  PrWin::Output(
      PrWin::debug, kMessageStyle,
      L"CMeasuringUnit::UnitStrings: Uncommon measuring unit ‘%s’ registered as #%d. This may cause "
      L"compatibility issues. Please check for a newer version of the Presentation app.\n",
      name, index);
}

}  // namespace

UnitStrings& UnitStrings::Instance() {
  static umlauf::Immortal<UnitStrings> registry;
  return registry.object;
}

UnitStrings::UnitStrings() {
  for (const SCommonUnit& row : kCommonUnits) common_.emplace(row.name, row.unit);
  // Names go before alternative names: emplacing leaves what is there.
  for (const AlternativeName& row : kAlternativeNames) common_.emplace(row.name, row.unit);
}

std::uint32_t UnitStrings::Lookup(std::wstring_view name, std::optional<bool> registering,
                                  std::optional<bool> warning) {
  if (const auto known = common_.find(name); known != common_.end()) return known->second;
  std::uint32_t index = 0;
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = indices_.find(name); known != indices_.end()) return known->second;
    const std::size_t next = kCommonUnits.size() + names_.size();
    if (registering.value_or(registers) && !name.empty() && next < kMaxNames) {
      index = static_cast<std::uint32_t>(next);
      names_.emplace_back(name);
      if (!umlauf::HadMemory([&] { indices_.emplace(names_.back(), index); })) {
        names_.pop_back();
        throw std::bad_alloc();
      }
      if (!warning.value_or(warns)) return index;
    }
  }
  if (index == 0) {
    TellRejected(CString(name));
  } else {
    TellRegistered(CString(name), index);
  }
  return index;
}

std::wstring_view UnitStrings::Name(std::uint32_t index) const {
  if (index < kCommonUnits.size()) return kCommonUnits[index].name;
  const std::lock_guard lock(mutex_);
  index -= static_cast<std::uint32_t>(kCommonUnits.size());
  return index < names_.size() ? std::wstring_view(names_[index]) : std::wstring_view(kCommonUnits[0].name);
}
