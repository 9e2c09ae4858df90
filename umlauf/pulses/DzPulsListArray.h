#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/pulses/DzPulsListe.h"

/// The pulse lists of all speed channels of one block, by channel index. Owns its lists; can be moved, and
/// copied list by list (`ListeUebernehmen`). One array is used by one thread at a time.
class UMLAUF_API CDzPulsListArray {
 public:
  CDzPulsListArray() = default;
  CDzPulsListArray(CDzPulsListArray&&) noexcept = default;
  CDzPulsListArray& operator=(CDzPulsListArray&&) noexcept = default;

  std::uint64_t Anzahl() const { return lists_.size(); }
  /// The list of a channel; null when there is none. Valid until the size changes.
  CDzPulsListe* Liste(std::uint64_t channel);
  const CDzPulsListe* Liste(std::uint64_t channel) const;
  /// Number of channels; new ones get empty lists. False, and nothing changed, when there is no memory.
  bool GroesseAendern(std::uint64_t channels);
  /// Takes over a copy of a list as that of a channel. False when there is no such channel or no memory; the
  /// channel keeps its list then.
  bool ListeUebernehmen(std::uint64_t channel, const CDzPulsListe& list);
  /// Corrects the open last pulse of every channel with the first pulse of the next block (see
  /// `CDzPulsListe::AdjustLastPulse`); returns the number of channels that were corrected.
  std::uint64_t LetztePulseNachbessern(const CDzPulsListArray& next);
  /// The first list whose signal id is that of an application signal; null when there is none.
  CDzPulsListe* ListeZuAppSignal(std::int32_t signalId);
  const CDzPulsListe* ListeZuAppSignal(std::int32_t signalId) const;
  /// Resets every list; the number of channels stays.
  void AllesAufAnfang();

 private:
  std::vector<CDzPulsListe> lists_;
};
