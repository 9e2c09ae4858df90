#include "umlauf/encoder/internal/DenseEdges.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "umlauf/encoder/EncoderWord.h"

namespace umlauf::encoder {
namespace {

/// A shortest pulse, where samples or sub-samples of one scan are compared: these are far below the limit.
int Within32(std::int64_t minimum) {
  return static_cast<int>(std::min<std::int64_t>(minimum, std::numeric_limits<std::int32_t>::max()));
}

constexpr int kTimeShift = std::countr_zero(EncoderWord::timeRange);

constexpr int kErrorCount = static_cast<int>(EncoderWord::edgeCountError);

using Integers = std::array<std::int32_t, kScanned>;

}  // namespace

bool TakeAllStandard(const DenseWords& words, const StandardRule& rule, StandardState& state,
                     PulseBuffer& pulses) {
  const std::size_t n = words.count;
  const ULONG* const word = words.word;
  const std::uint32_t* const place = words.place;
  const double first = static_cast<double>(words.first), tick = rule.samplesPerTick, scale = rule.revPerEdge;
  const unsigned shift = rule.shift;
  std::array<double, kScanned> edge;
  Integers end;  // from `first` on
  ULONG errors = 0;
  for (std::size_t k = 0; k < n; ++k) {
    const ULONG half = (word[k] >> shift) & EncoderWord::halfMask;
    errors += half & EncoderWord::standardError;
    const double time = static_cast<double>(static_cast<int>(half >> EncoderWord::standardTimeShift));
    edge[k] = time * tick + (static_cast<double>(static_cast<int>(place[k])) + first);
    end[k] = static_cast<int>(edge[k] - first);
  }
  const int minimum = Within32(rule.minimum);
  int merged = 0;
  float* const values = pulses.Values();
  std::int64_t* const ends = pulses.Ends();
  for (std::size_t k = 1; k < n; ++k) {
    merged |= end[k] - end[k - 1] < minimum ? 1 : 0;
    values[k - 1] = static_cast<float>((edge[k] - edge[k - 1]) * scale);
  }
  if (merged != 0) return false;
  for (std::size_t k = 1; k < n; ++k) ends[k - 1] = words.first + end[k];
  pulses.Keep(n - 1);
  errors -= (word[0] >> shift) & EncoderWord::standardError;
  state = {edge[n - 1], words.first + end[n - 1], state.errors + errors / EncoderWord::standardError};
  return true;
}

bool TakeAllHighRes(const DenseWords& words, const HighResRule& rule, HighResState& state,
                    PulseBuffer& pulses) {
  const std::size_t n = words.count;
  const ULONG* const word = words.word;
  const std::uint32_t* const place = words.place;
  const double scale = rule.revPerEdge;
  const unsigned half = rule.shift;
  const int roundUp = static_cast<int>(rule.subsamples) - 1, shift = std::countr_zero(rule.subsamples);
  const double resolution = 1.0 / static_cast<double>(rule.subsamples);
  Integers position, edges, end;
  int errors = 0;
  for (std::size_t k = 0; k < n; ++k) {
    const ULONG bits = word[k] >> half;
    edges[k] = static_cast<int>((bits >> EncoderWord::edgeCountShift) & EncoderWord::edgeCountMask);
    position[k] = static_cast<int>((bits >> EncoderWord::timeShift) & EncoderWord::timeMask);
    errors += edges[k] == kErrorCount ? 1 : 0;
    end[k] = static_cast<int>(place[k]) + ((position[k] + roundUp) >> shift);
  }
  const int minimum = Within32(rule.minimum);
  int merged = 0;
  float* const values = pulses.Values();
  std::int64_t* const ends = pulses.Ends();
  for (std::size_t k = 1; k < n; ++k) {
    const int samples = static_cast<int>(place[k]) - static_cast<int>(place[k - 1]);
    merged |= (static_cast<int>(place[k]) - end[k - 1] < minimum ? 1 : 0) | (end[k] == end[k - 1] ? 1 : 0);
    const double length =
        static_cast<double>(position[k] - position[k - 1]) * resolution + static_cast<double>(samples);
    values[k - 1] = static_cast<float>(scale * length / static_cast<double>(edges[k]));
  }
  if (merged != 0) return false;
  for (std::size_t k = 1; k < n; ++k) ends[k - 1] = words.first + end[k];
  pulses.Keep(n - 1);
  errors -= edges[0] == kErrorCount ? 1 : 0;
  state = {static_cast<std::uint64_t>(words.first) + place[n - 1],
           static_cast<std::uint32_t>(position[n - 1]), words.first + end[n - 1],
           state.errors + static_cast<unsigned>(errors)};
  return true;
}

bool TakeAllQuadrature(const DenseWords& words, const QuadratureRule& rule, QuadratureState& state,
                       PulseBuffer& pulses) {
  const std::size_t n = words.count;
  const ULONG* const word = words.word;
  const std::uint32_t* const place = words.place;
  const double scale = rule.revPerEdge;
  const int subsamples = static_cast<int>(rule.subsamples), shift = std::countr_zero(rule.subsamples);
  const int factor = rule.highRes ? static_cast<int>(EncoderWord::timeRange) : subsamples;
  Integers time, end;
  for (std::size_t k = 0; k < n; ++k) {
    const int within = static_cast<int>((word[k] >> EncoderWord::timeShift) & EncoderWord::timeMask);
    time[k] = static_cast<int>(place[k]) * subsamples + ((within * factor) >> kTimeShift);
    end[k] = (time[k] + subsamples - 1) >> shift;
  }
  const int minimum = Within32(rule.minimum);
  int merged = 0;
  float* const values = pulses.Values();
  std::int64_t* const ends = pulses.Ends();
  for (std::size_t k = 1; k < n; ++k) {
    // The counter wraps around, its change does not.
    const auto counts = static_cast<std::int32_t>((word[k] & EncoderWord::counterMask) -
                                                  (word[k - 1] & EncoderWord::counterMask)) >>
                        EncoderWord::counterShift;
    merged |= (time[k] - time[k - 1] < minimum ? 1 : 0) | (counts == 0 ? 1 : 0);
    values[k - 1] =
        static_cast<float>(static_cast<double>(time[k] - time[k - 1]) * scale / static_cast<double>(counts));
  }
  if (merged != 0) return false;
  for (std::size_t k = 1; k < n; ++k) ends[k - 1] = words.first + end[k];
  pulses.Keep(n - 1);
  state = {words.first * subsamples + time[n - 1], words.first + end[n - 1]};
  return true;
}

}  // namespace umlauf::encoder
