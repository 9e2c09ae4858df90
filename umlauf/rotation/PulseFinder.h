#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rotation/PulseAssembler.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/tacho/DzPulsDetektor.h"

class CBlockSource;

/// Finds the pulses of one channel of a recording, block after block in constant memory: a live measurement
/// as well as a file.
///
///     CPulseFinder finder(source, 0, detector);
///     CPulseTrain pulses;
///     while (finder.Next(pulses)) Use(pulses);
///     if (!finder.Failure().IsEmpty()) ...
///
/// The source must outlive it. Nothing throws. One object is used by one thread at a time.
class UMLAUF_API CPulseFinder {
 public:
  /// Reads channel `channel` [from 0] from where the source stands, `blockSize` samples at a time, with the
  /// settings of a detector, its levels included. The pulses do not depend on the block size.
  CPulseFinder(CBlockSource& source, unsigned channel, const CDzPulsDetektor& detector,
               std::size_t blockSize = 65536);

  /// Replaces `pulses` by those that end in the next block; often none. False when the recording has ended or
  /// failed.
  bool Next(CPulseTrain& pulses);

  /// Samples that were read so far.
  std::uint64_t Samples() const { return samples_; }
  /// Why it ended early; empty when nothing went wrong.
  const CString& Failure() const { return failure_.Text(); }

 private:
  CBlockSource& source_;
  unsigned channel_;
  std::size_t blockSize_;
  CDzPulsDetektor detector_;
  CPulseAssembler assembler_;
  CDzPulsListe list_;
  std::uint64_t samples_ = 0;
  FailureText failure_;
};
