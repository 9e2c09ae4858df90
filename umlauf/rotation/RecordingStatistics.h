#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"

class CBlockSource;

/// Range, mean and standard deviation of samples: of those that are finite numbers. A small swing around a
/// large offset keeps its digits. One object is used by one thread at a time.
class UMLAUF_API CRecordingStatistics {
 public:
  /// Adds n samples, `stride` floats apart.
  void Add(const float* samples, std::size_t n, std::size_t stride = 1);
  /// Adds a channel [from 0] of a recording from where the source stands to its end.
  void Add(CBlockSource& source, unsigned channel, std::size_t blockSize = 65536);

  /// Samples that were finite numbers.
  std::uint64_t Count() const { return count_; }
  // All 0 without samples
  float Min() const { return min_; }
  float Max() const { return max_; }
  double Mean() const;
  double Deviation() const;

 private:
  void AddChunk(const float* samples, std::size_t n);
  void AddFinite(const float* samples, std::size_t n);

  std::uint64_t count_ = 0;
  float min_ = 0, max_ = 0;
  float reference_ = 0;  ///< the first sample; sums are of differences from it
  double sum_ = 0, sumSquares_ = 0;
};
