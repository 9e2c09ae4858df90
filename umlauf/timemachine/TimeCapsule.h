#pragma once

#include <cstdint>
#include <functional>

#include "umlauf/Export.h"

namespace KxTimeMachine {

/// A hardware counter of limited width, extended to a 64-bit count by its wrap-arounds, with the offset that
/// maps it onto the time of a master capsule.
///
/// A record that the caller fills and owns; CTimeMachine reads and writes its members. Counts wrap as
/// unsigned 64-bit numbers do; shifts by 64 or more give 0. Used by one thread at a time.
struct UMLAUF_API CTimeCapsule {
  int shift = 0;                        ///< of the masked raw value: > 0 left, < 0 right
  std::uint64_t wrap_increment = 0;     ///< added to the extended count when the raw counter wrapped
  std::uint64_t raw_mask = ~0ull;       ///< valid bits of the raw counter
  std::uint64_t high_mask = ~0ull;      ///< bits of the extended count that the shifted raw value replaces
  CTimeCapsule* master_link = nullptr;  ///< without a source: the capsule whose raw readings this one shares
  std::int64_t base_offset = 0;         ///< constant part of the time
  std::int64_t extended_count = 0;      ///< the counter in 64 bits
  std::uint64_t last_raw = 0;           ///< last masked raw value
  std::int64_t adjustment = 0;          ///< maps this capsule onto the master's time
  bool adjustment_valid = false;        ///< false until the first alignment
  std::int64_t remainder = 0;           ///< part of a rate-limited correction that is not applied yet
  double rate = 1.0;                    ///< share of a correction that one alignment applies, 0 < rate <= 1
  std::int64_t zero_point = 0;          ///< subtracted from the time

  std::function<void()> on_reset;  ///< the adjustment was reset; may be empty
  std::function<void(std::uint64_t shifted, std::uint64_t masked)>
      on_reading;                         ///< a new reading; may be empty
  std::function<std::uint64_t()> source;  ///< reads the raw counter; may be empty

  /// A capsule over a counter of `bits` bits (limited to 1 ... 64) whose values are shifted by `shift`: masks
  /// and wrap increment follow.
  static CTimeCapsule ForCounter(int bits, int shift, std::function<std::uint64_t()> source);

  /// Reads the source, or takes over the last reading of the linked capsule; nothing when there is neither.
  void Update();
  /// Extended count - zero point + base offset + adjustment.
  std::int64_t Time() const;
  /// Clears counts, adjustment, remainder and zero point, and tells `on_reset`.
  void ResetAdjustment();
  /// Corrects the time by `delta`: the first time it becomes the adjustment, later by its share `rate`,
  /// keeping the rest. A rate that is 0 or not finite applies nothing and keeps the whole difference.
  void Align(std::int64_t delta);

 private:
  void Take(std::uint64_t raw);
};

}  // namespace KxTimeMachine
