#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "umlauf/platform/basis/CAlignedMem.h"

namespace umlauf::spectrum {

/// Cuts a stream of blocks into overlapping segments, over several channels in step. A segment that lies
/// within a block is read where it is; what a later segment still needs is kept.
template <std::size_t Channels>
class SegmentFeed {
 public:
  using Pointers = std::array<const float*, Channels>;

  SegmentFeed() = default;
  SegmentFeed(std::size_t length, std::size_t step) : length_(length), step_(step) {
    for (auto& kept : kept_) valid_ = kept.alloc(2 * length) && valid_;
  }
  bool IsValid() const { return valid_; }
  void Restart() { held_ = 0; }

  /// Segments that Process completes with n samples more.
  std::uint64_t Completed(std::uint64_t n) const {
    const std::uint64_t there = held_ + n;
    return there < length_ ? 0 : (there - length_) / step_ + 1;
  }

  /// Takes n samples of each channel and visits the segments that they complete.
  template <class Visit>
  void Process(const Pointers& x, std::uint64_t n, Visit visit) {
    std::uint64_t start = 0;  // of the next segment; counted from the first sample that is kept
    if (held_ > 0) {
      const std::size_t added = static_cast<std::size_t>(std::min<std::uint64_t>(n, length_));
      for (std::size_t c = 0; c < Channels; ++c) Copy(kept_[c].data() + held_, x[c], added);
      for (; start < held_ && start + length_ <= held_ + added; start += step_)
        visit(At(KeptPointers(), start));
      if (start < held_) {
        Keep(KeptPointers(), start, held_ + added);
        return;
      }
    }
    start -= held_;
    for (; start + length_ <= n; start += step_) visit(At(x, start));
    Keep(x, start, n);
  }

 private:
  static void Copy(float* to, const float* from, std::uint64_t n) {
    if (n != 0) std::memmove(to, from, static_cast<std::size_t>(n) * sizeof(float));
  }
  static Pointers At(Pointers x, std::uint64_t i) {
    for (const float*& p : x) p += i;
    return x;
  }
  Pointers KeptPointers() const {
    Pointers pointers;
    for (std::size_t c = 0; c < Channels; ++c) pointers[c] = kept_[c].data();
    return pointers;
  }
  void Keep(const Pointers& x, std::uint64_t from, std::uint64_t to) {
    held_ = static_cast<std::size_t>(to - from);
    for (std::size_t c = 0; c < Channels && held_ != 0; ++c) Copy(kept_[c].data(), x[c] + from, held_);
  }

  std::size_t length_ = 0;
  std::size_t step_ = 0;
  std::size_t held_ = 0;  // below length_
  bool valid_ = true;
  std::array<CAlignedMem<float>, Channels> kept_;
};

}  // namespace umlauf::spectrum
