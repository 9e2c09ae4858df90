#pragma once

#include <cstdint>
#include <span>

#include "umlauf/Export.h"
#include "umlauf/encoder/DzPulsTisDetector.h"
#include "umlauf/rotation/PulseTrain.h"

class CDzPulsDetektor;
class CDzPulsListe;
class PulsEntry;

/// How a detector's pulse lists are to be understood.
struct UMLAUF_API PulseForm {
  enum class Kind {
    /// Of a sampled signal: an edge lies within the sample before the last one of its pulse. The first pulse
    /// begins one sample before the recording.
    samples,
    /// Of words that hold edges: an edge lies within the sample behind the last one of its pulse. The first
    /// pulse begins with the recording.
    edgeWords,
    /// As `edgeWords`, but an edge lies within the last sample of its pulse, and the value of the first pulse
    /// is that from the first edge on.
    edgeToEdge
  };

  Kind kind = Kind::samples;
  double edgesPerPulse = 1;  ///< by the divider
  double edgesPerRev = 1;
  bool merges = false;  ///< of sampled signals: short pulses are merged with the next one

  /// Lists of a detector with these settings.
  static PulseForm Of(const CDzPulsDetektor& detector);
  /// Lists of an encoder detector in this mode, which knows `pulsesPerRev` edges (modes 1 and 4) or lines
  /// (the others) of a revolution and ends a pulse at every `divider`-th edge (mode 1).
  static PulseForm Of(CDzPulsTisDetector::ETisMode mode, double pulsesPerRev, unsigned divider);
};

/// Puts the entries that a detector wrote for successive blocks together to closed pulses over the block
/// borders: whole lengths, and the positions of the edges between the samples. What lies before the first
/// edge comes as a pulse with the flag `first` (but with `edgeToEdge`). The result does not depend on the
/// blocks, within the single precision of the list's values.
///
/// One object serves one recording and one thread at a time; it allocates nothing itself.
class UMLAUF_API CPulseAssembler {
 public:
  explicit CPulseAssembler(const PulseForm& form);

  /// Takes the list of the next block and appends the pulses that it closes.
  void Take(const CDzPulsListe& list, CPulseTrain& pulses);

 private:
  std::span<const PulsEntry> TakeSampled(std::span<const PulsEntry> entries, CPulseTrain& pulses);
  CPulseTrain::Pulse Close(const PulsEntry& entry);
  void PlaceSampled(CPulseTrain::Pulse& pulse) const;
  void PlaceDigital(CPulseTrain::Pulse& pulse) const;

  PulseForm form_;
  std::uint64_t carried_ = 0;   ///< samples of the pulse in progress that lie in earlier blocks
  std::uint64_t position_ = 0;  ///< samples up to the last closed pulse
  double lastEdge_ = 0;
  bool any_ = false;
};
