#include "umlauf/rotation/WheelFinder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

constexpr double misfit = 0.35;           ///< gaps whose lengths differ by no more are alike
constexpr std::size_t mostGaps = 16;      ///< in a revolution
constexpr std::int64_t mostEdges = 4096;  ///< in a revolution, where the wheel is not known

bool Alike(double a, double b) { return std::abs(a - b) <= misfit * std::max(a, b); }

}  // namespace

bool CWheelFinder::CanBeGap(const LongPulses& each) const {
  const double missing = std::round(each.Relative()) - 1;
  return missing >= 1 && missing <= (pitches_ ? std::max(1.0, *pitches_ / 4) : 30.0);
}

bool CWheelFinder::Find(std::span<const LongPulses> found) {
  Forget();
  bool isFound = false;
  const bool enough = umlauf::HadMemory([&] {
    edges_ = MostCommonDistance(found);
    if (edges_ > 0 && TakePattern(found)) {
      repeats_ = true;
      Measure(found);
      isFound = true;
    } else {
      isFound = BelieveTheOnly(found);
    }
  });
  if (enough && isFound) return true;
  Forget();
  return false;
}

void CWheelFinder::Forget() {
  wheel_.pitches = pitches_.value_or(1);
  wheel_.gaps.clear();
  places_.clear();
  edges_ = 0;
  repeats_ = false;
}

bool CWheelFinder::BelieveTheOnly(std::span<const LongPulses> found) {
  const auto canBe = [this](const LongPulses& each) { return CanBeGap(each); };
  if (!pitches_ || std::ranges::count_if(found, canBe) != 1) return false;
  const double length = std::round(std::ranges::find_if(found, canBe)->Relative());
  wheel_.gaps.push_back({0, length});
  places_.push_back(0);
  edges_ = numeric::trunc_sat<std::int64_t>(std::round(*pitches_ - length + 1));
  return true;
}

/// Edges between like long pulses that make a whole wheel with the teeth that are missing on the way.
std::int64_t CWheelFinder::MostCommonDistance(std::span<const LongPulses> found) const {
  struct Votes {
    std::int64_t count = 0;
    double missing = 0;  ///< teeth, summed up
  };
  // No two gaps are a revolution apart that lacks no tooth.
  const std::int64_t most =
      pitches_ ? numeric::trunc_sat<std::int64_t>(std::min(*pitches_, 1e6)) - 1 : mostEdges;
  std::vector<Votes> votes(static_cast<std::size_t>(std::max<std::int64_t>(most, 0)) + 1);
  std::int64_t candidates = 0;
  for (std::size_t k = 0; k < found.size(); ++k) {
    if (!CanBeGap(found[k])) continue;
    ++candidates;
    double missing = 0;
    const std::size_t end = std::min(found.size(), k + 1 + 2 * mostGaps);
    for (std::size_t j = k; j < end && found[j].edge - found[k].edge <= most; ++j) {
      if (!CanBeGap(found[j])) continue;
      if (j > k && Alike(found[j].Relative(), found[k].Relative())) {
        Votes& here = votes[static_cast<std::size_t>(found[j].edge - found[k].edge)];
        ++here.count;
        here.missing += missing;
      }
      missing += found[j].Relative() - 1;
    }
  }
  std::int64_t best = 0, bestCount = candidates / 5;
  for (std::size_t d = 1; d < votes.size(); ++d) {
    if (votes[d].count <= bestCount) continue;
    const double measured = votes[d].missing / static_cast<double>(votes[d].count);
    if (pitches_) {
      const double lacking = *pitches_ - static_cast<double>(d);
      if (!(std::abs(measured - lacking) <= std::max(0.75, misfit * lacking))) continue;
    }
    best = static_cast<std::int64_t>(d);
    // Without a known wheel a revolution is the shortest that repeats, and not two of them.
    bestCount = pitches_ ? votes[d].count : votes[d].count + votes[d].count / 10;
  }
  return best;
}

/// Takes the gaps of the first revolution that has as many as most have.
bool CWheelFinder::TakePattern(std::span<const LongPulses> found) {
  std::vector<std::size_t> coming;  // those that come back, or came
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (CanBeGap(found[i]) && (HasGapAt(found, i, edges_, 0) || HasGapAt(found, i, -edges_, 0))) {
      coming.push_back(i);
    }
  }
  // The gaps from each one up to a revolution later, where that is one again.
  const auto gapsFrom = [&](std::size_t k) -> std::size_t {
    for (std::size_t j = k + 1; j < coming.size(); ++j) {
      const std::int64_t distance = found[coming[j]].edge - found[coming[k]].edge;
      if (distance == edges_) return j - k;
      if (distance > edges_) break;
    }
    return 0;
  };
  std::vector<std::size_t> counts(mostGaps + 1);
  for (std::size_t k = 0; k < coming.size(); ++k) ++counts[std::min(gapsFrom(k), mostGaps)];
  counts[0] = 0;
  const auto gaps = static_cast<std::size_t>(std::max_element(counts.begin(), counts.end()) - counts.begin());
  if (counts[gaps] == 0) return false;
  for (std::size_t k = 0; k < coming.size(); ++k) {
    if (std::min(gapsFrom(k), mostGaps) != gaps) continue;
    for (std::size_t j = k; j < k + gaps; ++j) {
      const LongPulses& gap = found[coming[j]];
      places_.push_back(gap.edge - found[coming[k]].edge);
      wheel_.gaps.push_back({0, gap.Relative()});
    }
    return true;
  }
  return false;
}

/// Lengths as means over the recording, and places in pitches.
void CWheelFinder::Measure(std::span<const LongPulses> found) {
  struct Sum {
    double length = 0, count = 0;
  };
  std::vector<PulseWheel::Gap>& gaps = wheel_.gaps;
  std::vector<Sum> sums(gaps.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    const int gap = GapAt(found, i);
    if (gap < 0) continue;
    sums[static_cast<std::size_t>(gap)].length += found[i].Relative();
    ++sums[static_cast<std::size_t>(gap)].count;
  }
  double missing = 0;
  std::vector<double> rest;  // what rounding took away
  for (std::size_t i = 0; i < gaps.size(); ++i) {
    const double mean = sums[i].count > 0 ? sums[i].length / sums[i].count : gaps[i].length;
    gaps[i].length = std::max(2.0, std::round(mean));
    rest.push_back(mean - gaps[i].length);
    missing += gaps[i].length - 1;
  }
  if (!pitches_) wheel_.pitches = static_cast<double>(edges_) + missing;
  // What the wheel lacks is known to the tooth; the gap with the most doubtful length has the difference.
  for (double lack = std::round(wheel_.pitches - static_cast<double>(edges_) - missing); lack != 0;) {
    const double step = lack > 0 ? 1 : -1;
    std::size_t most = 0;
    for (std::size_t i = 1; i < gaps.size(); ++i) {
      if (rest[i] * step > rest[most] * step) most = i;
    }
    gaps[most].length += step;
    rest[most] -= step;
    lack -= step;
  }
  LongestFirst();
}

/// Begins the revolution at the longest gap, and sets the places in pitches.
void CWheelFinder::LongestFirst() {
  std::vector<PulseWheel::Gap>& gaps = wheel_.gaps;
  const auto longest = std::ranges::max_element(gaps, {}, &PulseWheel::Gap::length);
  const auto first = longest - gaps.begin();
  const std::int64_t begin = places_[static_cast<std::size_t>(first)];
  std::rotate(gaps.begin(), longest, gaps.end());
  std::rotate(places_.begin(), places_.begin() + first, places_.end());
  double missing = 0;
  for (std::size_t i = 0; i < gaps.size(); ++i) {
    places_[i] -= begin;
    if (places_[i] < 0) places_[i] += edges_;
    gaps[i].place = static_cast<double>(places_[i]) + missing;
    missing += gaps[i].length - 1;
  }
}

/// Whether another gap lies `distance` edges behind `found[i]` (before it when negative), give or take
/// `slack`.
bool CWheelFinder::HasGapAt(std::span<const LongPulses> found, std::size_t i, std::int64_t distance,
                            std::int64_t slack) const {
  const bool later = distance > 0;
  for (std::size_t j = i; later ? ++j < found.size() : j-- > 0;) {
    const std::int64_t off = found[j].edge - found[i].edge - distance;
    if (std::abs(off) <= slack && CanBeGap(found[j])) return true;
    if (later ? off > slack : off < -slack) break;
  }
  return false;
}

bool CWheelFinder::ComesBack(std::span<const LongPulses> found, std::size_t i) const {
  return HasGapAt(found, i, -edges_, Slack());
}

int CWheelFinder::GapAt(std::span<const LongPulses> found, std::size_t i) const {
  const double length = found[i].Relative();
  if (!CanBeGap(found[i])) return -1;
  if (repeats_ && !HasGapAt(found, i, -edges_, Slack()) && !HasGapAt(found, i, edges_, Slack())) return -1;
  int best = -1, mostOthers = -1;
  for (std::size_t c = 0; c < places_.size(); ++c) {
    const double misses = std::abs(length - wheel_.gaps[c].length);
    if (!Alike(length, wheel_.gaps[c].length)) continue;
    int others = 0;
    for (std::size_t o = 0; o < places_.size(); ++o) {
      if (o == c) continue;
      const std::int64_t to = places_[o] - places_[c];
      const std::int64_t around = to > 0 ? to - edges_ : to + edges_;
      others += HasGapAt(found, i, to, Slack()) || HasGapAt(found, i, around, Slack()) ? 1 : 0;
    }
    if (others > mostOthers ||
        (others == mostOthers &&
         misses < std::abs(length - wheel_.gaps[static_cast<std::size_t>(best)].length))) {
      best = static_cast<int>(c);
      mostOthers = others;
    }
  }
  return best;
}
