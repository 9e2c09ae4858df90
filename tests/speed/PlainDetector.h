#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "umlauf/speed/DzPulsDetektor.h"

/// The pulse search in its plainest form, one sample after the other, to compare the fast one with.
struct PlainDetector {
  struct Pulse {
    std::uint64_t samples;
    float value;
    bool rising;
    bool operator==(const Pulse&) const = default;
  };

  explicit PlainDetector(const CDzPulsDetektor& d)
      : upper(d.ObereSchranke()),
        lower(d.UntereSchranke()),
        sourcePulses(d.QuellenPulseProUmdrReal()),
        spikeThreshold(d.StoerpulsSchwelle()),
        divider(d.PulsTeiler()),
        minLength(d.PulsMinLen()),
        runIn(d.PulsFilterRunin()),
        deadTime(d.PulsFilterTotzeit()),
        spikeFilter(d.StoerpulsFilter()),
        ttl(d.TtlKorrektur()),
        falling(d.FallendeFlankenSuchen()),
        both(d.BeideFlankenSuchen()) {}

  float upper, lower, sourcePulses, spikeThreshold;
  unsigned divider, minLength, runIn, deadTime;
  bool spikeFilter, ttl, falling, both;

  bool first = true, high = false;
  float carry = 0, previous = 0, lastValue = 0;
  std::int64_t countdown = 0, edges = 0, runInLeft = 0, rejections = 0, deadLeft = 0;
  double statistics[6] = {};  // minimum, maximum, mean, mean of squares, average above, average below

  /// Closed pulses of one block; `rest` tells the samples behind the last.
  std::vector<Pulse> Search(const float* x, std::size_t n, std::size_t stride, std::uint64_t& rest) {
    std::vector<Pulse> pulses;
    if (first) {
      first = false;
      countdown = divider;
      runInLeft = runIn;
      deadLeft = deadTime;
      previous = x[0];
      high = x[0] > upper;
    }
    const auto mean = static_cast<float>(statistics[2]);
    double low = x[0], top = x[0], sum = 0, squares = 0;
    std::uint64_t since = 0;
    for (std::size_t i = 0; i < n; ++i) {
      float v = x[i * stride];
      ++since;
      --deadLeft;
      if (ttl) v = previous * 0.15f + v * 0.85f;
      low = std::min<double>(low, v);
      top = std::max<double>(top, v);
      sum += v;
      squares += static_cast<double>(v) * v;
      double& average = statistics[v != mean ? 4 : 5];
      average = average * 0.995 + static_cast<double>(v) * 0.005;
      bool edge = false;
      if (!high) {
        edge = high = v > upper;
        edge = edge && (both || !falling);
      } else if (lower > v) {
        high = false;
        edge = both || falling;
      }
      if (edge && deadLeft <= 0) {
        if (--countdown == 0) {
          Enter(pulses, since, v, high);
          countdown = divider;
        }
        deadLeft = deadTime;
      }
      previous = v;
    }
    rest = since;
    carry += static_cast<float>(since);
    const double block[] = {low, top, sum / static_cast<double>(n), squares / static_cast<double>(n)};
    for (int i = 0; i < 4; ++i) statistics[i] = 0.25 * block[i] + 0.75 * statistics[i];
    return pulses;
  }

 private:
  void Enter(std::vector<Pulse>& pulses, std::uint64_t& since, float current, bool rising) {
    ++edges;
    if (static_cast<float>(since) + carry < static_cast<float>(minLength)) return;
    float f = 0;
    if (rising && current - previous > 0.0001f) f = (upper - previous) / (current - previous);
    if (!rising && previous - current > 0.0001f) f = (lower - previous) / (current - previous);
    const float reciprocal = divider < 2 ? 1.0f : 1.0f / static_cast<float>(divider);
    const float length = static_cast<float>(since - 1) + carry + f;
    const float value = length * reciprocal / static_cast<float>(edges) * sourcePulses;
    if (!spikeFilter || Plausible(value)) {
      rejections = 0;
      if (runInLeft != 0) --runInLeft;
      lastValue = value;
    }
    pulses.push_back({since, lastValue, rising});
    carry = 1.0f - f;
    since = 0;
    edges = 0;
  }

  bool Plausible(float value) {
    if (rejections != 0 && --rejections == 0) {
      runInLeft = std::int64_t{runIn} + 1;
      return true;
    }
    const double last = lastValue, wide = value;
    if (std::fabs(last - wide) / wide < double{spikeThreshold} || runInLeft != 0) return true;
    if (rejections == 0) rejections = runIn;
    return false;
  }
};
