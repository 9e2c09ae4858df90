#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/orders/internal/FilterLadder.h"

namespace umlauf::orders {

/// Takes frames of several channels at equal steps and gives them back, low-passed, at any places that rise.
/// Beyond its two ends the recording goes on with its first and last frame. `Get` allocates nothing.
class VaryingRate {
 public:
  /// A place that is asked for.
  struct Place {
    double position;  ///< [input frames], from 0 on, not below the one before
    double ratio;     ///< input frames in an output step there
  };

  /// `pass`, `stop` and the ratios as for FilterLadder.
  VaryingRate(double pass, double stop, double narrowest, double widest, unsigned channels);
  bool IsValid() const { return ladder_.IsValid() && !planes_.empty(); }
  unsigned Channels() const { return channels_; }

  /// Takes frames, `stride` floats from one to the next; returns how many there was room for.
  std::size_t Put(const float* frames, std::size_t n, std::size_t stride);
  /// No more frames will come.
  void Finish();
  /// No place before this one will be asked for.
  void Release(double position);
  /// Whether the frames around a position are there.
  bool Has(double position) const {
    return position + static_cast<double>(ladder_.Reach()) <= static_cast<double>(end_);
  }
  /// Writes the frames at n places, all of which it `Has`: [n, channels].
  void Get(const Place* places, std::size_t n, float* out);
  void Restart();

 private:
  std::size_t Room() const { return capacity_ - held_; }
  void Run(std::size_t rung, const Place* places, std::size_t n, float* out);
  void MakeRoom();
  void Append(const float* frames, std::size_t n, std::size_t stride);

  FilterLadder ladder_;
  unsigned channels_;
  std::size_t capacity_ = 0;  ///< of a plane
  CAlignedMem<float> planes_;
  std::vector<std::int32_t> in_;  ///< the places of some frames, as the filters take them
  std::vector<std::uint32_t> row_;
  std::vector<float> mix_;
  std::vector<float> next_;           ///< frames of the next filter of the ladder
  std::int64_t begin_ = 0, end_ = 0;  ///< frames that are held
  std::size_t held_ = 0;
  std::int64_t needed_ = 0;  ///< first frame that is still asked for
  std::size_t rung_ = 0;
  bool started_ = false, finished_ = false;
};

}  // namespace umlauf::orders
