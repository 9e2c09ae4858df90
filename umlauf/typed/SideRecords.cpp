#include <cstddef>
#include <iterator>

#include "umlauf/typed/ResampInfo.h"
#include "umlauf/typed/TriggerInfo.h"
#include "umlauf/typed/WavPlaybackEvent.h"

void CResampInfo::_construct(bool keep) {
  if (!keep) pod() = SResampInfoPOD();
}

void CWavPlaybackEventInfo::_construct(bool keep) {
  if (!keep) pod() = SWavPlaybackEventPOD();
}

void CTriggerInfo::_construct(bool keep) {
  if (!keep) pod() = STriggerInfoPOD();
}

const wchar_t* CTriggerInfo::StateName(std::uint32_t state) {
  static constexpr const wchar_t* kNames[] = {L"undef", L"start", L"enter", L"leave", L"inval", L"stop"};
  return state < std::size(kNames) ? kNames[state] : L"?";
}
