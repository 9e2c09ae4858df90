#include "umlauf/pulses/DzPulsListArray.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"

CDzPulsListe* CDzPulsListArray::Liste(std::uint64_t channel) {
  return const_cast<CDzPulsListe*>(std::as_const(*this).Liste(channel));
}

const CDzPulsListe* CDzPulsListArray::Liste(std::uint64_t channel) const {
  return channel < lists_.size() ? &lists_[static_cast<std::size_t>(channel)] : nullptr;
}

bool CDzPulsListArray::GroesseAendern(std::uint64_t channels) {
  if (channels > std::numeric_limits<std::size_t>::max()) return false;
  return umlauf::HadMemory([&] { lists_.resize(static_cast<std::size_t>(channels)); });
}

bool CDzPulsListArray::ListeUebernehmen(std::uint64_t channel, const CDzPulsListe& list) {
  CDzPulsListe* own = Liste(channel);
  return own != nullptr &&
         (own == &list || own->CopyPulsList(list, 0, std::numeric_limits<std::uint64_t>::max()));
}

std::uint64_t CDzPulsListArray::LetztePulseNachbessern(const CDzPulsListArray& next) {
  std::uint64_t corrected = 0;
  const std::size_t channels = std::min(lists_.size(), next.lists_.size());
  for (std::size_t i = 0; i < channels; ++i) corrected += lists_[i].AdjustLastPulse(next.lists_[i]) ? 1 : 0;
  return corrected;
}

CDzPulsListe* CDzPulsListArray::ListeZuAppSignal(std::int32_t signalId) {
  return const_cast<CDzPulsListe*>(std::as_const(*this).ListeZuAppSignal(signalId));
}

const CDzPulsListe* CDzPulsListArray::ListeZuAppSignal(std::int32_t signalId) const {
  const auto found = std::find_if(lists_.begin(), lists_.end(), [signalId](const CDzPulsListe& list) {
    return list.SignalId() == signalId;
  });
  return found != lists_.end() ? &*found : nullptr;
}

void CDzPulsListArray::AllesAufAnfang() {
  for (CDzPulsListe& list : lists_) list.Reset();
}
