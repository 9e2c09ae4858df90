#include "umlauf/rotation/internal/LevelSearch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "umlauf/rotation/internal/PreparedStretches.h"
#include "umlauf/rotation/internal/Ripple.h"
#include "umlauf/rotation/internal/SwingHistogram.h"
#include "umlauf/rotation/internal/TurningPoints.h"
#include "umlauf/rotation/internal/Zigzag.h"

namespace umlauf::rotation {
namespace {

constexpr double bad = 0.02;       ///< of the badness
constexpr float cutSwing = 0.85f;  ///< a swing at either end must be so much of the next one
constexpr float dwarf = 0.15f;     ///< a swing so much smaller than those on both sides belongs to no tooth
constexpr std::size_t mostPlateaus = 8;
constexpr double plainlyMore = 0.02;  ///< of the teeth; noise adds fewer
constexpr double sameFading = 0.97;
constexpr float aboveNoise = 1.5f;
constexpr float leastFading = 1.0f / 64;  ///< of the greatest swing

/// Follows one stretch.
class Follower {
 public:
  explicit Follower(Swings& swings) : swings_(swings), zigzag_(swings.scale.smallest) {}

  void Run(const TurningPoints& points) {
    points.Follow(zigzag_, [this](std::size_t seen) {
      Turn(zigzag_.Value());
      if (zigzag_.IsFalling()) return;
      if (lastRise_ > 0) swings_.regularity.Take(static_cast<double>(seen - lastRise_));
      lastRise_ = seen;
    });
    swings_.counts.push_back(static_cast<double>(turns_) / 2);
    swings_.count += swings_.counts.back();
    // The last swing may be cut by the end of the stretch, as the first one by its begin.
    if (turns_ > 1 && std::abs(zigzag_.Candidate() - last_[0]) > cutSwing * std::abs(last_[0] - last_[1]))
      Bound(zigzag_.Candidate(), !zigzag_.IsFalling());
  }

 private:
  void Bound(float value, bool high) {
    if (high) {
      swings_.lowestHigh = std::min(swings_.lowestHigh, value);
    } else {
      swings_.highestLow = std::max(swings_.highestLow, value);
    }
  }
  void Turn(float value) {
    const bool high = zigzag_.IsFalling();
    if (turns_ > 0) Bound(value, high);
    if (turns_ == 2 && std::abs(last_[0] - last_[1]) > cutSwing * std::abs(value - last_[0]))
      Bound(last_[1], high);
    // Two small half swings side by side, from one tooth back to the same.
    if (turns_ > 3) {
      const float inner = std::abs(last_[0] - last_[1]);
      const float around = std::min(std::abs(last_[1] - last_[2]), std::abs(value - last_[0]));
      if (inner < dwarf * around) ++swings_.dwarfs;
    }
    if (turns_ > 0) {
      const float middle = (value + last_[0]) / 2;
      swings_.sizes += static_cast<double>(std::abs(value - last_[0]));
      if (turns_ > middles_.size())
        swings_.wander += static_cast<double>(std::abs(middle - middles_[turns_ % middles_.size()]));
      middles_[turns_ % middles_.size()] = middle;
    }
    last_ = {value, last_[0], last_[1]};
    ++turns_;
  }

  Swings& swings_;
  Zigzag zigzag_;
  std::array<float, 3> last_{};
  std::array<float, 8> middles_{};  ///< of the last four swings up and down
  std::uint64_t turns_ = 0;
  std::size_t lastRise_ = 0;
};

Swings FollowPrepared(const PreparedStretches& stretches, const SwingScale& scale) {
  Swings swings;
  swings.scale = scale;
  swings.highestLow = -std::numeric_limits<float>::infinity();
  swings.lowestHigh = std::numeric_limits<float>::infinity();
  for (const TurningPoints& each : stretches) {
    if (!swings.counts.empty()) swings.regularity.Break();
    Follower(swings).Run(each);
  }
  swings.regularity.Finish();
  return swings;
}

/// Whether the great swings are the small ones without those that look like hum.
bool WithoutHum(const Swings& small, const Swings& great) {
  return small.hum > 0 && great.AreRegular() &&
         std::abs(small.count - small.hum - great.count) <= std::max(4.0, 0.1 * small.hum);
}

/// Swings that shrink into the noise, as those of a coil do while its shaft comes to rest, are more by any
/// smaller smallest one. The least smallest one that gives safe pulses leaves the fewest of them out, and a
/// somewhat greater one may keep out some more of the noise.
Swings FindFading(const Stretches& stretches, SwingScale scale) {
  const PreparedStretches prepared(stretches, scale);
  SwingHistogram histogram;
  for (const TurningPoints& each : prepared) histogram.Add(each);
  const std::vector<double> counts = histogram.Counts();
  const std::size_t top = GreatestBin(counts);
  Swings best;
  double most = 0;
  for (std::size_t bin = SwingHistogram::Bin(SwingHistogram::Size(top) * leastFading); bin < top; ++bin) {
    scale.smallest = SwingHistogram::Size(bin);
    Swings swings = FollowPrepared(prepared, scale);
    swings.fading = swings.AreSafe();
    if (!swings.fading) continue;
    most = std::max(most, swings.count);
    if (swings.count < sameFading * most) break;
    if (!best.fading || swings.Misfits() < best.Misfits()) best = std::move(swings);
  }
  if (!best.fading) return best;
  // Some noise may look like teeth.
  scale.smallest = best.scale.smallest * aboveNoise;
  Swings above = FollowPrepared(prepared, scale);
  above.fading = above.AreSafe();
  return above.fading ? above : best;
}

/// Whether there are plainly more of the small swings, though both follow each other as teeth do: one in each
/// gap of a wheel, where the level moves, or a low tooth.
bool AreInGaps(const Swings& small, const Swings& great) {
  return small.count - great.count > std::max(4.0, plainlyMore * small.count);
}

/// The best of one preparation.
Swings Best(const Stretches& stretches, SwingScale scale) {
  const PreparedStretches prepared(stretches, scale);
  SwingHistogram histogram;
  for (const TurningPoints& each : prepared) histogram.Add(each);
  std::vector<Plateau> plateaus = FindPlateaus(histogram);
  // From small to great, of the widest ones.
  if (plateaus.size() > mostPlateaus) {
    std::vector<Plateau> widest = plateaus;
    const auto width = [](const Plateau& plateau) { return plateau.high / plateau.low; };
    std::nth_element(widest.begin(), widest.begin() + mostPlateaus - 1, widest.end(),
                     [&](const Plateau& a, const Plateau& b) { return width(a) > width(b); });
    const float least = width(widest[mostPlateaus - 1]);
    std::erase_if(plateaus, [&](const Plateau& plateau) { return width(plateau) < least; });
  }
  Swings best;
  float width = 0;
  for (const Plateau& plateau : plateaus) {
    scale.smallest = plateau.Smallest();
    Swings swings = FollowPrepared(prepared, scale);
    // Where the numbers are much the same, noise adds a few to the smaller swings; else the smaller ones are
    // the teeth, if they look like teeth.
    const bool alike = swings.count > 0.8 * best.count && best.Badness() < bad && swings.Badness() < bad;
    const bool withoutHum = WithoutHum(best, swings), inGaps = alike && AreInGaps(best, swings);
    if (best.scale.smallest == 0 || withoutHum || inGaps ||
        (alike ? plateau.Width() > width : swings.Badness() < best.Badness() / 2) ||
        (!alike && swings.AreRegular() && AreRipple(prepared, best, swings))) {
      if ((inGaps && plateau.Width() <= width) ||
          (!alike && swings.rivals == 0 && CouldBeTeeth(best, swings)))
        swings.rivals = best.count;
      swings.humLeftOut = withoutHum ? best.hum : 0;
      best = std::move(swings);
      best.hum = CountHum(prepared, best, static_cast<double>(plateau.high));
      width = plateau.Width();
    } else if (CouldBeMarks(best, swings)) {
      best.rivals = swings.count;
    }
  }
  return best;
}

}  // namespace

Swings FindSwings(const Stretches& stretches) {
  SwingScale plain;
  for (const Stretch& each : stretches) plain.limit = std::max(plain.limit, WrapRange(each.samples));
  if (plain.limit > 0) plain.preparation = Preparation::unwrapped;
  Swings best = Best(stretches, plain);
  for (const auto kind : {Preparation::median, Preparation::jumps}) {
    // A step is no edge only where edges do not make sense; a spike, which is gone in a median, may well come
    // as regularly as a mark.
    const bool good = best.regularity.Odd() <= 0 && best.Badness() < bad;
    if (best.scale.smallest > 0 && (kind == Preparation::jumps ? good || best.AreFlawless() : good)) break;
    SwingScale scale{.preparation = kind};
    if (kind == Preparation::jumps) {
      scale.limit = std::numeric_limits<float>::infinity();
      for (const Stretch& each : stretches) {
        const float limit = JumpLimit(each.samples);
        if (limit > 0) scale.limit = std::min(scale.limit, limit);
      }
    }
    Swings other = Best(stretches, scale);
    const bool enough = other.count > best.count / 2 || best.Badness() > bad;
    if (other.scale.smallest > 0 && enough && other.Badness() < best.Badness() / 2) best = std::move(other);
  }
  if (best.AreRegular()) return best;
  Swings fading = FindFading(stretches, plain);
  return fading.fading ? fading : best;
}

}  // namespace umlauf::rotation
