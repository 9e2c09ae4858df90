#include "umlauf/rotation/internal/Regularity.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace umlauf::rotation {
namespace {

constexpr double even = 1.5;       ///< ratio of pulses that count as equally long
constexpr double pairIsOne = 1.4;  ///< two pulses that are together shorter than so many pitches are one
constexpr double part = 0.85;      ///< each of these is shorter than this
constexpr double farTooShort = 0.45;
constexpr double patterned = 0.95, plain = 0.8;  ///< shares of even pulses
constexpr double longPulse = 1.5;                ///< pitches
constexpr double longBesides = 1.4;              ///< of the longer one of its neighbours
constexpr double calm = 0.12;                    ///< greatest change from pulse to pulse
constexpr double standstill = 4;                 ///< pitches
constexpr double gradual = 1.15;  ///< a wheel that comes to rest and starts: from pulse to pulse
constexpr double plainly = 1.3;   ///< one of the two, where the other one cannot be seen
constexpr double burstPart = 0.3, burstEnds = 0.6;  ///< of the pulses before
constexpr double longestBurst = 6;                  ///< of these
constexpr std::size_t leastBurst = 3;               ///< fewer are seen one by one
constexpr std::size_t mostBehind = 3;               ///< longer ones before it ends
constexpr std::size_t mostLongs = 100000;
constexpr std::size_t mostGaps = 4;  ///< of a wheel
constexpr std::size_t mostPlaces = 200;

/// Neighbours in one, until there are few enough.
void Limit(std::vector<Regularity::Place>& places) {
  while (places.size() > mostPlaces) {
    for (std::size_t i = 0; i < places.size(); i += 2) {
      places[i / 2] = {places[i].from, places[std::min(i + 1, places.size() - 1)].to};
    }
    places.resize((places.size() + 1) / 2);
  }
}

}  // namespace

void Regularity::Take(double length, double end) {
  const double before = Before(1);
  calm_ = std::abs(length - before) <= calm * before ? calm_ + 1 : 0;
  if (calm_ > window) {
    // Most pulses: nothing odd can be within reach.
    ++evenForAll_;
    Keep(length, end);
    skip_ = false;
    return;
  }
  Compare(length);
  WatchBurst(length, end);
  Keep(length, end);
  if (inPart_ >= window) Judge();
}

void Regularity::Take(const double* lengths, std::size_t n, const double* ends) {
  for (std::size_t i = 0; i < n;) {
    if (calm_ >= window) i += TakeCalm(lengths + i, n - i, ends != nullptr ? ends + i : nullptr);
    if (i == n) return;
    Take(lengths[i], ends != nullptr ? ends[i] : 0);
    ++i;
  }
}

/// Takes the pulses up to the first one that is not much like the one before it.
std::size_t Regularity::TakeCalm(const double* lengths, std::size_t n, const double* ends) {
  double before = Before(1);
  std::size_t taken = 0;
  for (; taken < n; before = lengths[taken++]) {
    if (!(std::abs(lengths[taken] - before) <= calm * before)) break;
  }
  if (taken == 0) return 0;
  const std::size_t passed = taken - std::min(taken, window);
  pulses_ += passed;
  inPart_ += passed;
  for (std::size_t i = passed; i < taken; ++i) Keep(lengths[i], ends != nullptr ? ends[i] : 0);
  calm_ += taken;
  evenForAll_ += taken;
  skip_ = false;
  return taken;
}

void Regularity::Keep(double length, double end) {
  const std::size_t at = pulses_ % window;
  ends_[at] = ends_[at + window] = end;
  lengths_[at] = lengths_[at + window] = length;
  ++pulses_;
  ++inPart_;
}

void Regularity::Break() {
  JudgeRest();
  inPart_ = 0;
  calm_ = 0;
  skip_ = false;
  burst_ = {};
  ++parts_;
}

void Regularity::Finish() { JudgeRest(); }

/// Beyond the end it goes on evenly.
void Regularity::JudgeRest() {
  if (inPart_ < window) return;
  const std::uint64_t pulses = pulses_;
  for (std::size_t i = 0; i < reach; ++i) {
    Keep(Before(1), ends_[(pulses_ + window - 1) % window]);
    Judge();
  }
  pulses_ = pulses;
}

void Regularity::Compare(double length) {
  const double* const behind = Last() + window;
  const std::size_t patterns = std::min<std::uint64_t>(longestPattern, inPart_);
  for (std::size_t pattern = 1; pattern <= patterns; ++pattern) {
    const double before = *(behind - pattern);
    even_[pattern - 1] += ((length <= even * before) & (before <= even * length)) ? 1 : 0;
  }
}

/// No shaft turns far faster for the time of two pulses and goes on as before.
void Regularity::WatchBurst(double length, double end) {
  if (burst_.pulses == 0) {
    if (inPart_ < 2) return;
    burst_.before = std::min(Before(1), Before(2));
  }
  const bool isShort = length < burstPart * burst_.before;
  if (isShort) {
    burst_.sum += length;
    burst_.pulses += 1 + std::exchange(burst_.behind, 0);
  } else if (burst_.pulses > 0) {
    ++burst_.behind;  // cut, or of its last swings
  }
  const bool ends = !isShort && length >= burstEnds * burst_.before;
  if (ends && burst_.pulses >= leastBurst) {
    extra_ += static_cast<double>(burst_.pulses);
    KeepExtra({end - length - burst_.sum, end == 0 ? 0 : end - length});
  }
  if (ends || burst_.behind > mostBehind || burst_.sum > longestBurst * burst_.before) burst_ = {};
  if (burst_.pulses > 0) calm_ = 0;  // each one is to be seen
}

double Regularity::EvenShare() const {
  const auto most = static_cast<double>(evenForAll_ + *std::max_element(even_.begin(), even_.end()));
  const std::uint64_t without = 2 * parts_;
  return pulses_ > without ? std::min(1.0, most / static_cast<double>(pulses_ - without)) : 0;
}

/// Whether the pulse in the middle of the window is plainly neither too short nor too long, as most are: the
/// pitch is not much more than it, by three of its neighbours, and one beside it is about as long.
bool Regularity::Fits() const {
  const double* const at = Last();
  const double longest = at[reach] * (0.999 / part);
  std::size_t shorter = 0;
  for (std::size_t i = 0; i < reach; ++i)
    shorter += (at[i] <= longest ? 1u : 0u) + (at[reach + 1 + i] <= longest ? 1u : 0u);
  return shorter >= reach && at[reach] < longBesides * std::max(at[reach - 1], at[reach + 1]);
}

void Regularity::Judge() {
  if (skip_) {
    skip_ = false;
    return;
  }
  if (Fits()) return;
  const double* const at = Last();
  // The pitch by the neighbours, of which long ones may be gaps.
  std::array<double, 2 * reach> others;
  std::copy_n(at, reach, others.begin());
  std::copy_n(at + reach + 1, reach, others.begin() + reach);
  std::nth_element(others.begin(), others.begin() + reach - 1, others.end());
  const double reference = others[reach - 1];
  const double before = at[reach - 1], length = at[reach], next = at[reach + 1];
  const bool arePair = length + next < pairIsOne * reference && std::max(length, next) < part * reference;
  if (arePair || length < farTooShort * reference) {
    ++extra_;
    skip_ = true;
    KeepExtra(PlaceTo(reach + 1));
    return;
  }
  if (length < longPulse * reference || length < longBesides * std::max(before, next)) return;
  const double slows = before / at[reach - 2], speedsUp = next / at[reach + 2];
  const bool rests = std::max(slows, speedsUp) > plainly || std::min(slows, speedsUp) > gradual;
  if (length > standstill * reference && rests) {
    ++standstills_;
  } else if (longs_.size() < mostLongs) {
    longs_.push_back({pulses_, std::round(length / reference), parts_});
    const Place place = PlaceTo(reach);
    if (place.to != 0) longPlaces_.push_back(place);
  }
}

void Regularity::KeepExtra(const Place& place) {
  if (place.to == 0) return;  // without ends
  extraPlaces_.push_back(place);
  if (extraPlaces_.size() > 2 * mostPlaces) Limit(extraPlaces_);
}

/// A burst may hold pulses that were seen one by one as well.
std::vector<Regularity::Place> Regularity::ExtraPlaces() const {
  std::vector<Place> places;
  if (IsPattern()) return places;
  std::vector<Place> sorted = extraPlaces_;
  std::sort(sorted.begin(), sorted.end(), [](const Place& a, const Place& b) { return a.from < b.from; });
  for (const Place& each : sorted) {
    if (!places.empty() && each.from <= places.back().to) {
      places.back().to = std::max(places.back().to, each.to);
    } else {
      places.push_back(each);
    }
  }
  Limit(places);
  return places;
}

Regularity::Place Regularity::PlaceTo(std::size_t last) const {
  const double* const ends = &ends_[pulses_ % window];
  return {ends[reach - 1], ends[last]};
}

bool Regularity::SamePart(std::size_t a, std::size_t b) const { return longs_[a].part == longs_[b].part; }

bool Regularity::IsPattern() const {
  const auto n = static_cast<double>(pulses_);
  return EvenShare() > patterned && static_cast<double>(evenForAll_ + even_[0]) < plain * n;
}

double Regularity::Lost() const {
  if (longs_.empty()) return 0;
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t gaps = 1; gaps <= mostGaps; ++gaps) least = std::min(least, Lost(gaps));
  return least;
}

std::vector<Regularity::Place> Regularity::LostPlaces() const {
  std::vector<Place> places;
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t gaps = 1; gaps <= mostGaps; ++gaps) {
    std::vector<Place> found;
    const double lost = Lost(gaps, &found);
    if (lost >= least) continue;
    least = lost;
    places.swap(found);
  }
  Limit(places);
  return places;
}

/// With g gaps a revolution every g-th long pulse comes after the same number of pulses.
double Regularity::Lost(std::size_t gaps, std::vector<Place>* places) const {
  std::map<std::uint64_t, std::size_t> distances;
  for (std::size_t i = gaps; i < longs_.size(); ++i) {
    if (SamePart(i, i - gaps)) ++distances[longs_[i].index - longs_[i - gaps].index];
  }
  std::uint64_t usual = 0;
  std::size_t most = 1;  // once is no rule
  for (const auto& [distance, times] : distances) {
    if (times > most) most = times, usual = distance;
  }
  double lost = 0, breaks = 0;
  for (std::size_t i = 0; i < longs_.size(); ++i) {
    const bool hasBefore = i >= gaps && SamePart(i, i - gaps);
    const bool hasNext = i + gaps < longs_.size() && SamePart(i, i + gaps);
    const bool fromBefore = hasBefore && longs_[i].index - longs_[i - gaps].index == usual;
    const bool toNext = hasNext && longs_[i + gaps].index - longs_[i].index == usual;
    // One part of several may be too short to tell.
    const bool alone = parts_ > 1 && usual > 0 && !hasBefore && !hasNext;
    if (!fromBefore && !toNext && !alone) {
      lost += std::max(1.0, longs_[i].pitches - 1);
      if (places != nullptr && i < longPlaces_.size()) places->push_back(longPlaces_[i]);
    }
    if (!fromBefore && hasBefore) breaks += 1.0 / static_cast<double>(gaps);
  }
  // At a standstill one more or less may be counted.
  return std::max(lost, std::ceil(breaks - 0.01) - static_cast<double>(standstills_));
}

}  // namespace umlauf::rotation
