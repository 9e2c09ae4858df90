#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/LargeMemory.h"

/// Pulses one after the other: those of a whole recording, or those that a block of it closed. In columns, so
/// that each quantity is one array; `operator[]` gathers one pulse where that is handier.
///
/// A pulse goes from one edge to the next one. Edges are positions on the sample axis of the whole recording,
/// in samples with a fraction, 0 being the first sample, whatever the blocks were. Pulse i begins at edge i
/// and ends at edge i + 1, so there is one edge more than there are pulses.
///
/// The pulses are appended without a call in between; memory grows by doubling. When there is none the pulse
/// is dropped and `Complete` becomes false. One object is used by one thread at a time.
class UMLAUF_API CPulseTrain {
 public:
  enum Flag : std::uint8_t {
    rising = 1,        ///< ended on a rising edge
    first = 2,         ///< begins with the recording and not with an edge: its speed is unknown
    held = 4,          ///< the spike filter put the value of an earlier pulse in place of its own
    gapCorrected = 8,  ///< spans a gap of the wheel, or part of it
    gapStart = 16      ///< its first edge is the last one before a gap of the wheel
  };

  /// One pulse.
  struct Pulse {
    double begin = 0, end = 0;  ///< [samples] edges
    double revolutionTime = 0;  ///< [samples] of one revolution at its speed; < 0 backward, 0 unknown
    double pitches = 1;  ///< edges of a full wheel that it stands for: more than 1 for merged edges and gaps,
                         ///< below 0 backward
    std::uint64_t samples = 0;  ///< whole samples since the previous pulse
    std::uint8_t flags = rising;

    bool Is(Flag flag) const { return (flags & flag) != 0; }
    void Set(Flag flag, bool on) {
      flags = static_cast<std::uint8_t>(on ? flags | flag : flags & ~static_cast<unsigned>(flag));
    }
    double Length() const { return end - begin; }
    double Middle() const { return (begin + end) / 2; }
    bool HasSpeed() const { return !Is(first) && revolutionTime != 0; }
    /// Revolutions that the shaft made in it.
    double Turns() const { return Length() / revolutionTime; }
    /// [rpm] at `sampleRate` [samples/s].
    double Rpm(double sampleRate) const { return 60 * sampleRate / revolutionTime; }
  };

  CPulseTrain() = default;
  /// Pulses of a recording at `sampleRate` [samples/s] whose first sample was taken at `startTime` [s].
  explicit CPulseTrain(double sampleRate, double startTime = 0)
      : sampleRate_(sampleRate), startTime_(startTime) {}
  /// Without memory a copy has no pulses and is not `Complete`.
  CPulseTrain(const CPulseTrain& other) { *this = other; }
  CPulseTrain(CPulseTrain&& other) noexcept { *this = std::move(other); }
  CPulseTrain& operator=(const CPulseTrain& other);
  CPulseTrain& operator=(CPulseTrain&& other) noexcept;

  double SampleRate() const { return sampleRate_; }
  double StartTime() const { return startTime_; }
  /// Seconds of a position [samples].
  double Time(double position) const { return startTime_ + position / sampleRate_; }

  std::size_t size() const { return flags_.size(); }
  bool empty() const { return flags_.empty(); }
  /// Pulse i < size(); not checked.
  Pulse operator[](std::size_t i) const {
    return {edges_[i], edges_[i + 1], revolutionTimes_[i], pitches_[i], samples_[i], flags_[i]};
  }
  /// False when a pulse was dropped because there was no memory for it.
  bool Complete() const { return complete_; }

  // Columns; valid until the train changes
  /// [size() + 1, samples], empty without pulses.
  std::span<const double> Edges() const { return edges_; }
  /// [size(), samples]
  std::span<const double> RevolutionTimes() const { return revolutionTimes_; }
  /// [size()]
  std::span<const double> Pitches() const { return pitches_; }
  /// [size()] whole samples since the previous pulse.
  std::span<const std::uint64_t> Samples() const { return samples_; }
  /// [size()]
  std::span<const std::uint8_t> Flags() const { return flags_; }

  /// Pulses were lost on their way here: `Complete` becomes false.
  void MarkIncomplete() { complete_ = false; }
  /// Room for so many pulses in all; false without memory.
  bool Reserve(std::size_t pulses);
  /// Appends a pulse. The first one sets where the train begins; each other one goes on from the edge before.
  void Append(const Pulse& pulse) {
    if (size() == room_ && !Reserve(room_ < 1024 ? 1024 : 2 * room_)) {
      complete_ = false;
      return;
    }
    if (edges_.empty()) edges_.push_back(pulse.begin);
    edges_.push_back(pulse.end);
    revolutionTimes_.push_back(pulse.revolutionTime);
    pitches_.push_back(pulse.pitches);
    samples_.push_back(pulse.samples);
    flags_.push_back(pulse.flags);
  }
  /// Where pulses that are appended together are to be filled in: a value of each for every column, edges
  /// being those that end them.
  struct Columns {
    double *ends, *revolutionTimes, *pitches;
    std::uint64_t* samples;
    std::uint8_t* flags;
  };
  /// Appends `count` pulses, the first of which begins at `begin` where the train is empty, for the caller to
  /// fill in at once. Without memory `count` becomes 0.
  Columns Extend(std::size_t& count, double begin);
  /// Appends the pulses of another train (also of this one).
  void Append(const CPulseTrain& other) { Append(other, 0, other.size()); }
  /// Appends `count` pulses of another train from pulse `from` on.
  void Append(const CPulseTrain& other, std::size_t from, std::size_t count);
  /// Removes the first pulses; the train then begins at the edge behind them.
  void RemoveFirst(std::size_t pulses);
  /// Removes the pulses; room, rate and start time stay.
  void Clear();
  /// As above, for the pulses of another recording.
  void Clear(double sampleRate, double startTime) {
    Clear();
    sampleRate_ = sampleRate;
    startTime_ = startTime;
  }

 private:
  double sampleRate_ = 1, startTime_ = 0;
  umlauf::LargeVector<double> edges_, revolutionTimes_, pitches_;
  umlauf::LargeVector<std::uint64_t> samples_;
  umlauf::LargeVector<std::uint8_t> flags_;
  std::size_t room_ = 0;  ///< pulses that every column has room for
  bool complete_ = true;
};
