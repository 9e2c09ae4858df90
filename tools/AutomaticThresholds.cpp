#include "tools/AutomaticThresholds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "tools/output/Progress.h"

namespace umlauf::tool {
namespace {

constexpr int steps = 12;        ///< of 1/sqrt(2) each, down to a 45th of the distance
constexpr int halved = 2;        ///< steps to half the distance
constexpr double same = 0.002;   ///< numbers of pulses that differ by no more count as equal
constexpr float even = 1.5f;     ///< ratio of pulses that count as equally long
constexpr double regular = 0.7;  ///< share of such pulses; a wheel's gap takes two of them in a revolution
constexpr std::size_t longestPattern = 6;  ///< pulses; marks on a shaft need not be at even distances

/// Counts the pulses between one pair of thresholds.
class Candidate {
 public:
  Candidate(double middle, double halfDistance, bool ttl) {
    detector_.SchrankenSetzen(static_cast<float>(middle + halfDistance),
                              static_cast<float>(middle - halfDistance));
    detector_.PulsMinLenSetzen(0);
    detector_.TtlKorrekturAktivieren(ttl);
    detector_.Neustart();
  }

  void Take(const SampleBlock& block, CDzPulsListe& list) {
    detector_.PulseSuchen(block.samples, block.count, list, block.stride);
    for (std::size_t i = 0; i < list.NrRealPulses(); ++i) {
      const float length = list[i].Value();
      for (std::size_t pattern = 1; pattern <= longestPattern; ++pattern) {
        const float before = before_[(pulses_ + longestPattern - pattern) % longestPattern];
        // The first pulse begins with the recording and not with an edge.
        if (pulses_ > pattern && length <= even * before && before <= even * length) ++even_[pattern - 1];
      }
      before_[pulses_ % longestPattern] = length;
      ++pulses_;
    }
  }

  double pulses() const { return static_cast<double>(pulses_); }
  bool Regular() const { return pulses_ > 4 && MostEven() >= regular * (pulses() - 2); }
  /// Grows with every regular pulse, and falls fast with those that are not.
  double surplus() const { return 5 * MostEven() - 4 * pulses(); }
  AutomaticThresholds Thresholds(bool certain) const {
    return {detector_.ObereSchranke(), detector_.UntereSchranke(), certain};
  }

 private:
  /// Pulses that are as long as the one before them, or as the one before that, and so on, whichever fits
  /// best.
  double MostEven() const { return static_cast<double>(*std::max_element(even_.begin(), even_.end())); }

  CDzPulsDetektor detector_;
  std::uint64_t pulses_ = 0;
  std::array<float, longestPattern> before_{};
  std::array<std::uint64_t, longestPattern> even_{};
};

/// Thresholds around one level, each pair closer together than the one before.
using Family = std::vector<Candidate>;

Family Around(double middle, double halfDistance, bool ttl, int count) {
  Family family;
  for (int i = 0; i < count; ++i) {
    family.emplace_back(middle, halfDistance, ttl);
    halfDistance /= std::sqrt(2.0);
  }
  return family;
}

void Count(BlockSource& source, std::size_t blockSize, std::vector<Family>& families) {
  CDzPulsListe list;
  Progress progress("thresholds", source.frames());
  source.Rewind();
  for (SampleBlock block = source.Read(blockSize); block.count > 0; block = source.Read(blockSize)) {
    for (Family& family : families) {
      for (Candidate& each : family) each.Take(block, list);
    }
    progress.Advance(block.count);
  }
  source.Rewind();
}

/// Steps behind candidate `from` that leave the number of pulses as it is.
std::size_t RunLength(const Family& family, std::size_t from) {
  std::size_t i = from;
  while (i + 1 < family.size() &&
         std::abs(family[i + 1].pulses() - family[i].pulses()) <= same * family[i].pulses()) {
    ++i;
  }
  return i - from;
}

}  // namespace

AutomaticThresholds ChooseThresholds(BlockSource& source, std::size_t blockSize,
                                     const RecordingStatistics& statistics, const CDzPulsDetektor& detector) {
  const double upper = static_cast<double>(detector.ObereSchranke());
  const double lower = static_cast<double>(detector.UntereSchranke());
  const double middle = (upper + lower) / 2, halfDistance = (upper - lower) / 2;
  const bool ttl = detector.TtlKorrektur();
  // Where rare samples are far from all others, the rule's thresholds change places.
  const bool usable = halfDistance > 0;
  if (usable) {
    std::vector<Family> rule = {Around(middle, halfDistance, ttl, halved + 1)};
    Count(source, blockSize, rule);
    const bool found = rule[0][0].pulses() > 1 && RunLength(rule[0], 0) >= halved;
    if (found) return rule[0][0].Thresholds(true);
  }

  std::vector<Family> families;
  if (usable) families.push_back(Around(middle, halfDistance, ttl, steps));
  families.push_back(Around(statistics.mean, statistics.deviation, ttl, steps));
  Count(source, blockSize, families);
  std::size_t longest = 1;
  double mostRegular = 0;
  AutomaticThresholds best = {static_cast<float>(std::max(upper, lower)),
                              static_cast<float>(std::min(upper, lower)), false};
  for (const Family& family : families) {
    for (std::size_t i = 0; i < family.size(); ++i) {
      const std::size_t length = RunLength(family, i);
      // A third into the run: away from the pulses that just reach the thresholds, and from the noise.
      const Candidate& chosen = family[i + length / 3];
      if (!chosen.Regular()) continue;
      if (length > longest) {
        longest = length;
        best = chosen.Thresholds(true);
      } else if (longest == 1 && family[i].surplus() > mostRegular) {
        mostRegular = family[i].surplus();
        best = family[i].Thresholds(false);
      }
    }
  }
  return best;
}

}  // namespace umlauf::tool
