#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace umlauf::rotation {

/// How well pulses fit to their neighbours. A wheel's teeth follow each other evenly, its gaps come back
/// after the same number of pulses, and it comes to rest gradually; noise, spikes and lost teeth do none of
/// this.
class Regularity {
 public:
  /// Where pulses lie that do not fit, in the unit of their ends.
  struct Place {
    double from, to;
  };

  /// Takes the length of the next pulse, from one edge to the next one of its kind, in any unit, and where it
  /// ends, if places are asked for.
  void Take(double length, double end = 0);
  /// The same for n successive pulses; without `ends` (null) there are no places.
  void Take(const double* lengths, std::size_t n, const double* ends = nullptr);
  /// What follows lies elsewhere in the recording: it is not compared with what was.
  void Break();
  /// Takes what is still held back; call once behind the last pulse.
  void Finish();

  std::uint64_t Pulses() const { return pulses_; }
  /// Share of pulses about as long as the one before, or as the second before, up to the sixth, whichever
  /// fits best.
  double EvenShare() const;
  /// Pulses that two edges too close together make of one, and those of bursts.
  double Extra() const { return IsPattern() ? 0 : extra_; }
  /// Pulses that seem to be lost: pitches in long pulses that are no gap of the wheel.
  double Lost() const;
  /// Where they are, by rising end; neighbours in one where there are many.
  std::vector<Place> ExtraPlaces() const;
  std::vector<Place> LostPlaces() const;
  std::uint64_t Standstills() const { return standstills_; }
  /// Pulses that do not fit.
  double Odd() const { return Extra() + Lost(); }

 private:
  static constexpr std::size_t reach = 3, window = 2 * reach + 2, longestPattern = 6;
  static_assert(window == 8 && longestPattern < window);
  struct Long {
    std::uint64_t index;
    double pitches;
    std::uint64_t part;  ///< of the recording; breaks lie between parts
  };

  /// The last pulses, the oldest of them first.
  const double* Last() const { return &lengths_[pulses_ % window]; }
  double Before(std::size_t pulses) const { return Last()[window - pulses]; }
  std::size_t TakeCalm(const double* lengths, std::size_t n, const double* ends);
  void Keep(double length, double end);
  void KeepExtra(const Place& place);
  /// From the end of the pulse before the one in the middle of the window to the end of pulse `last` of it.
  Place PlaceTo(std::size_t last) const;
  void Compare(double length);
  void WatchBurst(double length, double end);
  void Judge();
  void JudgeRest();
  bool Fits() const;
  bool SamePart(std::size_t a, std::size_t b) const;
  double Lost(std::size_t gaps, std::vector<Place>* places = nullptr) const;
  /// Marks at uneven distances, the same in every revolution.
  bool IsPattern() const;

  std::uint64_t pulses_ = 0, parts_ = 1;
  std::uint64_t inPart_ = 0;                          ///< pulses since the last break
  std::array<std::uint64_t, longestPattern> even_{};  ///< but for those that count for all patterns
  std::uint64_t evenForAll_ = 0;
  std::array<double, 2 * window> lengths_{};  ///< pulse i at i % window, and once more a window behind
  std::array<double, 2 * window> ends_{};     ///< likewise
  std::size_t calm_ = 0;                      ///< pulses much like the one before, in succession
  bool skip_ = false;
  /// Pulses far shorter than the ones before them.
  struct Burst {
    double before = 0;       ///< length
    double sum = 0;          ///< of their lengths
    std::size_t pulses = 0;  ///< 0: there is none
    std::size_t behind = 0;  ///< pulses that came after them
  } burst_;
  double extra_ = 0;
  std::uint64_t standstills_ = 0;
  std::vector<Long> longs_;
  std::vector<Place> longPlaces_;   ///< [longs] where there are ends
  std::vector<Place> extraPlaces_;  ///< likewise
};

}  // namespace umlauf::rotation
