#include "umlauf/rotation/Levels.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rotation/internal/Blocks.h"

namespace {

constexpr int steps = 12;        ///< of 1/sqrt(2) each, down to a 45th of the distance
constexpr int halved = 2;        ///< steps to half the distance
constexpr double same = 0.002;   ///< numbers of pulses that differ by no more count as equal
constexpr float even = 1.5f;     ///< ratio of pulses that count as equally long
constexpr double regular = 0.7;  ///< share of such pulses; a wheel's gap takes two of them in a revolution
constexpr std::size_t longestPattern = 6;  ///< pulses; marks on a shaft need not be at even distances

/// Counts the pulses between one pair of levels.
class Candidate {
 public:
  Candidate(double middle, double halfDistance, bool ttl) {
    detector_.SchrankenSetzen(static_cast<float>(middle + halfDistance),
                              static_cast<float>(middle - halfDistance));
    detector_.PulsMinLenSetzen(0);
    detector_.TtlKorrekturAktivieren(ttl);
    detector_.Neustart();
  }

  void Take(const float* samples, std::size_t n, std::size_t stride, CDzPulsListe& list) {
    detector_.PulseSuchen(samples, n, list, static_cast<unsigned>(stride));
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

  double Pulses() const { return static_cast<double>(pulses_); }
  bool Regular() const { return pulses_ > 4 && MostEven() >= regular * (Pulses() - 2); }
  /// Grows with every regular pulse, and falls fast with those that are not.
  double Surplus() const { return 5 * MostEven() - 4 * Pulses(); }
  void Export(PulseLevels& levels, bool certain) const {
    levels.upper = detector_.ObereSchranke();
    levels.lower = detector_.UntereSchranke();
    levels.certain = certain;
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

/// Levels around one middle, each pair closer together than the one before.
using Family = std::vector<Candidate>;

Family Around(double middle, double halfDistance, bool ttl, int count) {
  Family family;
  for (int i = 0; i < count; ++i) {
    family.emplace_back(middle, halfDistance, ttl);
    halfDistance /= std::sqrt(2.0);
  }
  return family;
}

void Count(CBlockSource& source, unsigned channel, std::size_t blockSize, std::vector<Family>& families) {
  CDzPulsListe list;
  umlauf::rotation::ForEachBlock(source, channel, blockSize,
                                 [&](const float* samples, std::size_t n, std::size_t stride) {
                                   for (Family& family : families) {
                                     for (Candidate& each : family) each.Take(samples, n, stride, list);
                                   }
                                 });
}

/// Steps behind candidate `from` that leave the number of pulses as it is.
std::size_t RunLength(const Family& family, std::size_t from) {
  std::size_t i = from;
  while (i + 1 < family.size() &&
         std::abs(family[i + 1].Pulses() - family[i].Pulses()) <= same * family[i].Pulses()) {
    ++i;
  }
  return i - from;
}

void TakeBest(const std::vector<Family>& families, PulseLevels& levels) {
  std::size_t longest = 1;
  double mostRegular = 0;
  for (const Family& family : families) {
    for (std::size_t i = 0; i < family.size(); ++i) {
      const std::size_t length = RunLength(family, i);
      // A third into the run: away from the pulses that just reach the levels, and from the noise.
      const Candidate& chosen = family[i + length / 3];
      if (!chosen.Regular()) continue;
      if (length > longest) {
        longest = length;
        chosen.Export(levels, true);
      } else if (longest == 1 && family[i].Surplus() > mostRegular) {
        mostRegular = family[i].Surplus();
        family[i].Export(levels, false);
      }
    }
  }
}

}  // namespace

void CLevelFinder::Given(std::optional<float> upper, std::optional<float> lower) {
  upper_ = upper;
  lower_ = lower;
}

bool CLevelFinder::Rewound(CBlockSource& source) {
  failure_ = source.Failure();
  if (!failure_.IsEmpty()) return false;
  if (source.Rewind()) return true;
  failure_ = source.Failure();
  if (failure_.IsEmpty()) failure_ = L"the recording can be read only once; give both levels";
  return false;
}

bool CLevelFinder::Find(CBlockSource& source, unsigned channel) {
  levels_ = PulseLevels();
  statistics_ = CRecordingStatistics();
  failure_ = umlauf::rotation::CheckSource(source, channel);
  if (!failure_.IsEmpty()) return false;
  levels_.automaticUpper = !upper_;
  levels_.automaticLower = !lower_;
  if (upper_ && lower_) {
    levels_.upper = *upper_;
    levels_.lower = *lower_;
  } else {
    if (!Rewound(source)) return false;
    statistics_.Add(source, channel, blockSize_);
    if (!Rewound(source)) return false;
    // What it returns tells nothing about the recording (it is false for a clean sine): the pulses found do.
    detector_.AutoSchrankenSetzen(statistics_.Min(), statistics_.Max(),
                                  static_cast<float>(statistics_.Mean()),
                                  static_cast<float>(statistics_.Deviation()));
    if (!upper_ && !lower_) return Choose(source, channel);
    levels_.upper = upper_.value_or(detector_.ObereSchranke());
    levels_.lower = lower_.value_or(detector_.UntereSchranke());
  }
  if (levels_.lower > levels_.upper) {
    failure_.Format(L"the lower level %g lies above the upper one %g; give both",
                    static_cast<double>(levels_.lower), static_cast<double>(levels_.upper));
  }
  return failure_.IsEmpty();
}

bool CLevelFinder::Choose(CBlockSource& source, unsigned channel) {
  const double upper = static_cast<double>(detector_.ObereSchranke());
  const double lower = static_cast<double>(detector_.UntereSchranke());
  const double middle = (upper + lower) / 2, halfDistance = (upper - lower) / 2;
  const bool ttl = detector_.TtlKorrektur();
  // Where rare samples are far from all others, the rule's levels change places.
  const bool usable = halfDistance > 0;
  const bool enough = umlauf::HadMemory([&] {
    std::vector<Family> families;
    if (usable) {
      families.push_back(Around(middle, halfDistance, ttl, halved + 1));
      Count(source, channel, blockSize_, families);
      if (!Rewound(source)) return;
      const Candidate& rule = families[0][0];
      rule.Export(levels_, true);
      if (rule.Pulses() > 1 && RunLength(families[0], 0) >= halved) return;
      families[0] = Around(middle, halfDistance, ttl, steps);
    }
    families.push_back(Around(statistics_.Mean(), statistics_.Deviation(), ttl, steps));
    Count(source, channel, blockSize_, families);
    if (!Rewound(source)) return;
    levels_.upper = static_cast<float>(std::max(upper, lower));
    levels_.lower = static_cast<float>(std::min(upper, lower));
    levels_.certain = false;
    TakeBest(families, levels_);
    if (levels_.certain) return;
    levels_.warnings.push_back({"levels-uncertain",
                                L"the number of pulses depends on the levels; look at the recording and give "
                                L"both levels"});
  });
  if (!enough) failure_ = L"there is no memory to look for levels";
  return failure_.IsEmpty();
}
