#pragma once

#include "umlauf/Export.h"
#include "umlauf/rotation/PulseTrain.h"

/// Merges pulses shorter than a minimum with the next one, over the whole stream. For encoders: the minimum
/// of the detector itself counts the samples of one block only, so that its pulses would depend on the
/// blocks. Edges forward and backward that cancel each other go on into the next pulse, too; a merged pulse
/// that the end of the stream cuts is dropped.
///
/// One object serves one stream and one thread at a time.
class UMLAUF_API CPulseMerger {
 public:
  /// `minimum` [samples]; `edgesPerRev` edges make a revolution.
  CPulseMerger(std::uint64_t minimum, double edgesPerRev) : minimum_(minimum), edgesPerRev_(edgesPerRev) {}

  /// Takes the next pulses and appends those that are long enough.
  void Take(const CPulseTrain& pulses, CPulseTrain& merged);

 private:
  std::uint64_t minimum_;
  double edgesPerRev_;
  CPulseTrain::Pulse short_;
  bool pending_ = false;
};
