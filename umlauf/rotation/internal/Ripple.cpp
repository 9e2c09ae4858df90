#include "umlauf/rotation/internal/Ripple.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "umlauf/rotation/internal/TurningPoints.h"
#include "umlauf/rotation/internal/Zigzag.h"

namespace umlauf::rotation {
namespace {

constexpr std::uint64_t fewMarks = 10;
constexpr double fewBetween = 6;      ///< swings between great ones that a shaft or a sensor may add
constexpr double highMarks = 5;       ///< times the swings that lie on them
constexpr double mostCertain = 0.05;  ///< of a swing: so small is no tooth beside it
constexpr double lowHum = 0.6;        ///< of the mean swing
constexpr double evenHum = 0.15;      ///< of the mean length in a run
constexpr std::size_t leastHum = 8;   ///< swings that follow each other
constexpr std::size_t beside = 3;     ///< swings on either side that are looked at
constexpr double nearLength = 1.3, nearHeight = 1.6, equalLength = 1.1;  ///< ratios to these

/// What small swings are to great ones: edges are passed in one go, the rest is ripple.
struct Ripple {
  double edges = 0, flats = 0;  ///< flats: between two edges, with ripple on them
  double others = 0, heights = 0;
  double Height() const { return heights / std::max(others, 1.0); }
};

Ripple RippleBetween(const PreparedStretches& stretches, float smallest, double edge) {
  Ripple ripple;
  for (const TurningPoints& points : stretches) {
    Zigzag zigzag(smallest);
    float last = points.Samples().empty() ? 0 : points.Samples()[0];
    bool rippled = false;
    points.Follow(zigzag, [&](std::size_t) {
      const double swing = std::abs(zigzag.Value() - last);
      last = zigzag.Value();
      if (swing >= edge) {
        ++ripple.edges;
        ripple.flats += rippled ? 1 : 0;
        rippled = false;
      } else {
        rippled = true;
        ++ripple.others;
        ripple.heights += swing;
      }
    });
  }
  return ripple;
}

struct Swing {
  double length = 0, height = 0;  ///< [samples]; the lower one of up and down
};

/// The swings of one stretch, from one high to the next.
std::vector<Swing> SwingsOf(const TurningPoints& points, float smallest) {
  std::vector<Swing> swings;
  Zigzag zigzag(smallest);
  double last = 0, rise = 0, high = 0;
  std::size_t turns = 0;
  points.Follow(zigzag, [&](std::size_t) {
    const double height = std::abs(static_cast<double>(zigzag.Value()) - last);
    last = static_cast<double>(zigzag.Value());
    if (!zigzag.IsFalling()) {
      rise = height;
      return;
    }
    const auto at = static_cast<double>(zigzag.Position());
    if (turns++ > 0) swings.push_back({at - high, std::min(rise, height)});
    high = at;
  });
  return swings;
}

/// Swings of one length, one after the other, and whether what lies beside them speaks for hum (> 0) or
/// against it (< 0).
struct Run {
  double length = 0, count = 0;
  int verdict = 0;
};

/// Whether the swings beside a run go over into it: one is much like its swings, or all have their length.
bool GoesOn(std::span<const Swing> neighbours, const Swing& run) {
  const auto alike = [](double a, double b, double ratio) { return a < ratio * b && b < ratio * a; };
  std::size_t sameLength = 0;
  for (const Swing& each : neighbours) {
    if (alike(each.length, run.length, nearLength) && alike(each.height, run.height, nearHeight)) return true;
    sameLength += alike(each.length, run.length, equalLength) ? 1 : 0;
  }
  return sameLength == neighbours.size() && sameLength > 0;
}

void AddRuns(std::span<const Swing> swings, double highest, std::vector<Run>& runs) {
  for (std::size_t begin = 0, end = 0; begin < swings.size(); begin = std::max(end, begin + 1)) {
    Swing sum, mean;
    for (end = begin; end < swings.size() && swings[end].height < highest; ++end) {
      if (end > begin && std::abs(swings[end].length - mean.length) > evenHum * mean.length) break;
      sum = {sum.length + swings[end].length, sum.height + swings[end].height};
      const auto count = static_cast<double>(end - begin + 1);
      mean = {sum.length / count, sum.height / count};
    }
    if (end - begin < leastHum) continue;
    const auto before = swings.subspan(begin - std::min(begin, beside), std::min(begin, beside));
    const auto after = swings.subspan(end, std::min(swings.size() - end, beside));
    const bool goesOn = GoesOn(before, mean) || GoesOn(after, mean);
    const int verdict = before.empty() && after.empty() ? 0 : goesOn ? -1 : 1;
    runs.push_back({mean.length, static_cast<double>(end - begin), verdict});
  }
}

}  // namespace

bool AreRipple(const PreparedStretches& stretches, const Swings& small, Swings& great) {
  const double height = great.sizes / (2 * great.count);
  const double highest = small.count < fewBetween * great.count ? 0.35 : 0.15;
  for (const auto& [edge, most] : {std::pair(0.6, highest), std::pair(0.25, 0.1)}) {
    const Ripple ripple = RippleBetween(stretches, small.scale.smallest, edge * height);
    if (ripple.edges < 0.9 * 2 * great.count || ripple.flats < 0.05 * ripple.edges) continue;
    if (ripple.Height() > most * height) continue;
    great.rivals = ripple.Height() > mostCertain * height ? small.count : 0;
    return true;
  }
  return false;
}

bool CouldBeMarks(const Swings& small, const Swings& great) {
  return great.regularity.Pulses() >= fewMarks && great.AreRegular() && 3 * great.count < small.count &&
         great.sizes / great.count > highMarks * small.sizes / small.count;
}

bool CouldBeTeeth(const Swings& small, const Swings& great) {
  return small.AreRegular() && CouldBeMarks(small, great) &&
         small.sizes / small.count > mostCertain * great.sizes / great.count;
}

double CountHum(const PreparedStretches& stretches, const Swings& swings, double least) {
  std::vector<Run> runs;
  const double highest = lowHum * swings.sizes / std::max(2 * swings.count, 1.0);
  if (least >= highest) return 0;
  for (const TurningPoints& points : stretches)
    AddRuns(SwingsOf(points, swings.scale.smallest), highest, runs);
  // A stretch that holds nothing else is hum if another one tells that swings of this length are.
  const auto isHum = [&](const Run& run) {
    return run.verdict == 0 && std::any_of(runs.begin(), runs.end(), [&](const Run& other) {
             return other.verdict > 0 && std::abs(other.length - run.length) < evenHum * run.length;
           });
  };
  double hum = 0;
  for (const Run& run : runs) hum += run.verdict > 0 || isHum(run) ? run.count : 0;
  return hum;
}

}  // namespace umlauf::rotation
