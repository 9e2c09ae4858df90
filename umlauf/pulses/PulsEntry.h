#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "umlauf/Export.h"

/// One pulse of a speed signal: how many samples it lasted within its block and the time of one revolution
/// that it stands for. A plain value whose 32 bytes are its flat form; the reserved bytes are zero.
class UMLAUF_API PulsEntry {
 public:
  PulsEntry() = default;
  PulsEntry(std::uint64_t samples, float value) : samples_(samples), value_(value) {}
  /// No samples, value 0, a rising edge, neither open nor gap corrected.
  void Reset() { *this = PulsEntry(); }

  /// Whole samples since the previous pulse, as far as they lie in this block.
  std::uint64_t NrSamples() const { return samples_; }
  void SetNrSamples(std::uint64_t samples) { samples_ = samples; }
  /// Time of one revolution, interpolated [samples].
  float Value() const { return value_; }
  void SetValue(float value) { value_ = value; }
  /// First sample of the pulse in its block; known when the list is completed.
  std::uint64_t StartSample() const { return start_; }
  void SetStartSample(std::uint64_t sample) { start_ = sample; }
  /// The unfinished pulse at the end of a block: no edge has ended it yet.
  bool IsOpen() const { return open_ != 0; }
  void SetOpen(bool open) { open_ = open ? 1 : 0; }
  /// Whether a rising or a falling edge ended the pulse.
  bool IsHiFlank() const { return rising_ != 0; }
  bool IsLoFlank() const { return rising_ == 0; }
  void SetHiFlank(bool rising) { rising_ = rising ? 1 : 0; }
  /// The pulse spans a gap of the wheel and its value was divided down to that of one tooth.
  bool IsGapCorrected() const { return gapCorrected_ != 0; }
  void SetGapCorrected(bool corrected) { gapCorrected_ = corrected ? 1 : 0; }

  /// Whether the pulse covers a sample of the block; safe for any content.
  bool Covers(std::uint64_t sample) const { return sample >= start_ && sample - start_ < samples_; }

 private:
  friend struct PulsEntryLayout;

  std::uint64_t samples_ = 0;
  float value_ = 0.0f;
  [[maybe_unused]] std::uint32_t reserved1_ = 0;
  std::uint64_t start_ = 0;
  std::uint8_t open_ = 0;
  std::uint8_t rising_ = 1;
  std::uint8_t gapCorrected_ = 0;
  [[maybe_unused]] std::uint8_t reserved2_[5] = {};
};

/// The flat form of an entry, checked where it is defined.
struct PulsEntryLayout {
  static_assert(std::is_trivially_copyable_v<PulsEntry> && std::is_standard_layout_v<PulsEntry>);
  static_assert(sizeof(PulsEntry) == 32);
  static_assert(offsetof(PulsEntry, samples_) == 0 && offsetof(PulsEntry, value_) == 8 &&
                offsetof(PulsEntry, reserved1_) == 12 && offsetof(PulsEntry, start_) == 16 &&
                offsetof(PulsEntry, open_) == 24 && offsetof(PulsEntry, rising_) == 25 &&
                offsetof(PulsEntry, gapCorrected_) == 26 && offsetof(PulsEntry, reserved2_) == 27);
};
