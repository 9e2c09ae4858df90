#pragma once

#include <cstdint>

#include "tools/BlockSource.h"
#include "tools/Pulse.h"
#include "umlauf/speed/DzPulsDetektor.h"
#include "umlauf/speed/DzPulsListe.h"

namespace umlauf::tool {

/// Range and moments of a whole recording.
struct RecordingStatistics {
  float min = 0, max = 0, mean = 0, meanSquare = 0;
  std::uint64_t samples = 0;
};
/// One pass from the first sample; rewinds the source before and after it.
RecordingStatistics MeasureRecording(BlockSource& source, std::size_t blockSize);

/// Puts the entries that the detector wrote for successive blocks together to closed pulses over the block
/// borders: whole lengths and the positions of the edges between the samples.
class PulseAssembler {
 public:
  /// For a detector as it is set now.
  explicit PulseAssembler(const CDzPulsDetektor& detector);

  /// Takes the list of the next block.
  void Take(const CDzPulsListe& list, const PulseSink& sink);

 private:
  Pulse Close(const PulsEntry& entry);

  double edgesPerPulse_;
  double pulsesPerRevolution_;
  bool merges_;                 ///< short pulses are merged with the next one
  std::uint64_t carried_ = 0;   ///< samples of the pulse in progress that lie in earlier blocks
  std::uint64_t position_ = 0;  ///< samples up to the last closed pulse
  double lastEdge_ = 0;
  bool any_ = false;
};

/// Runs the detector over the recording from its first sample; every closed pulse goes to the sink. Returns
/// the number of samples.
std::uint64_t FindPulses(BlockSource& source, std::size_t blockSize, CDzPulsDetektor& detector,
                         const PulseSink& sink);

}  // namespace umlauf::tool
