#pragma once

#include <cstdint>

#include "tools/BlockSource.h"
#include "tools/Pulse.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace umlauf::tool {

/// Range, mean and standard deviation of a whole recording: of the samples that are finite numbers.
struct RecordingStatistics {
  float min = 0, max = 0;
  double mean = 0, deviation = 0;
  std::uint64_t samples = 0;
};
/// One pass from the first sample; rewinds the source before and after it.
RecordingStatistics MeasureRecording(BlockSource& source, std::size_t blockSize);

/// How a detector's pulse lists are to be understood.
struct PulseForm {
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
};

/// Puts the entries that a detector wrote for successive blocks together to closed pulses over the block
/// borders: whole lengths and the positions of the edges between the samples.
class PulseAssembler {
 public:
  explicit PulseAssembler(const PulseForm& form);

  /// Takes the list of the next block.
  void Take(const CDzPulsListe& list, const PulseSink& sink);

 private:
  Pulse Close(const PulsEntry& entry);
  void PlaceSampled(Pulse& pulse) const;
  void PlaceDigital(Pulse& pulse) const;

  PulseForm form_;
  std::uint64_t carried_ = 0;   ///< samples of the pulse in progress that lie in earlier blocks
  std::uint64_t position_ = 0;  ///< samples up to the last closed pulse
  double lastEdge_ = 0;
  bool any_ = false;
};

/// Fills the pulse list of the next block and returns the block's number of samples; 0 = there is no more.
using BlockStep = std::function<std::uint64_t(CDzPulsListe&)>;

/// Runs block after block; every closed pulse goes to the sink. Returns the number of samples. `frames`
/// [samples] are expected.
std::uint64_t AssemblePulses(const PulseForm& form, std::uint64_t frames, const BlockStep& step,
                             const PulseSink& sink);

/// Runs the detector over the recording from its first sample; every closed pulse goes to the sink. Returns
/// the number of samples.
std::uint64_t FindPulses(BlockSource& source, std::size_t blockSize, CDzPulsDetektor& detector,
                         const PulseSink& sink);

}  // namespace umlauf::tool
