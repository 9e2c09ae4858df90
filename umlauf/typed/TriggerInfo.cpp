#include "umlauf/typed/TriggerInfo.h"

#include <iterator>

const wchar_t* CTriggerInfo::StateName(std::uint32_t state) {
  static constexpr const wchar_t* kNames[] = {L"undef", L"start", L"enter", L"leave", L"inval", L"stop"};
  return state < std::size(kNames) ? kNames[state] : L"?";
}
