#include "umlauf/rate/internal/StreamKernel.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

#include "umlauf/rate/DownsamplingStream.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {
namespace {

/// Phases per output interval between which mixing is linear: an error of -103 dB at 0.35 of the output rate.
constexpr double kMixedPhases = 256.0;
/// Phases per output interval up to which a ratio that needs no mixing gets a row for each of its phases.
constexpr double kExactPhases = 1024.0;

/// The part of a table that is not 0, and its centroid.
struct Support {
  std::int64_t begin, end;
  double centroid;
};

bool FindSupport(const CDownsamplingInfo& table, Support& support) {
  const float* coefs = table.FilterCoefficients();
  const auto count = static_cast<std::int64_t>(table.FilterLen());
  support = {count, 0, 0.0};
  double sum = 0.0, moment = 0.0;
  for (std::int64_t i = 0; i < count; ++i) {
    if (coefs[i] == 0.0f) continue;
    support.begin = std::min(support.begin, i);
    support.end = i + 1;
    sum += static_cast<double>(coefs[i]);
    moment += static_cast<double>(coefs[i]) * static_cast<double>(i);
  }
  support.centroid = moment / sum;
  return support.centroid >= static_cast<double>(support.begin) &&
         support.centroid < static_cast<double>(support.end);
}

/// Cubic interpolation between table entries, 0 outside.
double ValueAt(const CDownsamplingInfo& table, double position) {
  const double below = std::floor(position), f = position - below;
  const auto at = numeric::trunc_sat<std::int64_t>(below);
  const auto entry = [&](std::int64_t i) {
    const bool inside = i >= 0 && i < static_cast<std::int64_t>(table.FilterLen());
    return inside ? static_cast<double>(table.FilterCoefficients()[i]) : 0.0;
  };
  return entry(at - 1) * (-f * (f - 1.0) * (f - 2.0) / 6.0) + entry(at) * ((f * f - 1.0) * (f - 2.0) / 2.0) +
         entry(at + 1) * (-f * (f + 1.0) * (f - 2.0) / 2.0) + entry(at + 2) * (f * (f * f - 1.0) / 6.0);
}

/// The short low-pass: a sum of cosines over its length [outputs], of area 1, with the least of greatest
/// errors in its bands. What lies between these is left to the filter behind it, which makes it that short.
constexpr double kShortLength = 6.4;
constexpr double kShortCosines[] = {0.15625,        0.3126194142,    0.3125005099,     0.3122670038,
                                    0.2944760092,   0.2166548686,    0.09927963624,    0.022763669,
                                    0.001810721241, 1.174819652e-05, -6.017846152e-08, 1.126044335e-07};
/// Phases per output between which mixing is linear: an error below -125 dB for all that passes.
constexpr double kMixedShortPhases = 4096.0;

double ShortAt(double outputs) {
  if (!(std::fabs(outputs) < kShortLength / 2.0)) return 0.0;
  double sum = 0.0;
  for (int k = 0; k < static_cast<int>(std::size(kShortCosines)); ++k) {
    sum += kShortCosines[k] * std::cos(2.0 * std::numbers::pi * k * outputs / kShortLength);
  }
  return sum;
}

}  // namespace

bool StreamKernel::Allocate(const RatioGrid& grid, double mixedPhases) {
  const bool mixed = grid.Parts() == 0;
  mix_ = mixed ? vekta::TapMix::Linear : vekta::TapMix::None;
  phases_ = mixed ? numeric::trunc_sat<std::uint32_t>(std::ceil(mixedPhases))
                  : static_cast<std::uint32_t>(grid.Parts());
  stride_ = (static_cast<std::size_t>(last_ - first_ + 1) + 7) / 8 * 8;
  return rows_.alloc((std::uint64_t{phases_} + 1) * stride_);
}

template <class Value>
bool StreamKernel::Fill(bool unitSums, Value valueAt) {
  for (std::uint32_t phase = 0; phase <= phases_; ++phase) {
    float* row = rows_.data() + phase * stride_;
    const auto value = [&](std::int64_t i) {
      return valueAt(static_cast<double>(i) - static_cast<double>(phase) / phases_);
    };
    double sum = unitSums ? 0.0 : 1.0;
    for (std::int64_t i = first_; unitSums && i <= last_; ++i) sum += value(i);
    if (!(std::fabs(sum) > 0.0)) return false;
    for (std::int64_t i = first_; i <= last_; ++i) row[i - first_] = static_cast<float>(value(i) / sum);
  }
  return true;
}

std::uint32_t StreamKernel::MaxDenominator(double ratio) {
  return std::max(1u, numeric::trunc_sat<std::uint32_t>(kExactPhases / ratio));
}

bool StreamKernel::MakeFilter(const CDownsamplingInfo& table, double ratio, const RatioGrid& grid) {
  Support support{};
  if (ratio > CDownsamplingStream::MaxFilterRatio || !(table.MaxRatio() > 0.0f) ||
      !FindSupport(table, support))
    return false;
  const double entriesPerSample = static_cast<double>(table.MaxRatio()) / ratio;
  const double before = support.centroid - static_cast<double>(support.begin - 1);
  const double behind = static_cast<double>(support.end) - support.centroid;
  first_ = -numeric::trunc_sat<std::int64_t>(before / entriesPerSample);
  last_ = numeric::trunc_sat<std::int64_t>(behind / entriesPerSample) + 1;
  if (!Allocate(grid, kMixedPhases / ratio)) return false;
  period_ = RatioGrid::Denominator(ratio, kLongestPeriod, 0.125 / phases_, 0.0);
  return Fill(
      true, [&](double distance) { return ValueAt(table, support.centroid + distance * entriesPerSample); });
}

std::uint32_t StreamKernel::MaxShortDenominator(double ratio) {
  return numeric::trunc_sat<std::uint32_t>(kMixedShortPhases / ratio);
}

bool StreamKernel::MakeShort(double ratio, const RatioGrid& grid) {
  const double half = kShortLength / 2.0 * ratio;  // inputs
  last_ = numeric::trunc_sat<std::int64_t>(std::ceil(half));
  first_ = 1 - last_;
  if (!Allocate(grid, kMixedShortPhases / ratio)) return false;
  period_ = RatioGrid::Denominator(ratio / 2.0, kLongestPeriod, 0.125 / phases_, 0.0);
  return Fill(false, [&](double distance) { return ShortAt(distance / ratio) / ratio; });
}

bool StreamKernel::MakeLinear() {
  first_ = 0;
  last_ = 1;
  if (!Allocate({}, 1.0)) return false;
  rows_[0] = rows_[stride_ + 1] = 1.0f;
  return true;
}

}  // namespace umlauf::rate
