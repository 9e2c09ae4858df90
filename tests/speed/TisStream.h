#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "umlauf/speed/DzPulsTisDetector.h"

using ETisMode = CYChannelDescriptionInterface::ETisMode;

inline bool IsQuadrature(int mode) { return mode != 1 && mode != 4; }

/// What an encoder stream would hold for a known angle, and the truth about its edges.
struct TisStream {
  struct Edge {
    double time;         // [samples]
    std::int64_t count;  // edges passed, signed
  };
  std::vector<ULONG> words;
  std::vector<Edge> edges;
  double quantum;  // resolution of the times [samples]

  /// angle(t): revolutions at a time in samples; edgesPerRev edges a revolution. Everything that does not
  /// belong to the stream is filled with bits that look like edges.
  TisStream(int mode, unsigned rate, bool lowWord, std::size_t n, unsigned stride, double edgesPerRev,
            const std::function<double(double)>& angle)
      : words(n * stride, 0xA5A5F0F0u) {
    const double ticks = rate == 24000 ? 1 / (1.6276e-07 * 24000) : 1 / (7.8125e-08 * rate);
    const double r = rate <= 50000 ? 2048 : rate <= 100000 ? 1024 : 512;
    const double units = mode == 1 ? ticks : mode == 2 || mode == 3 ? 2048 : r;
    quantum = mode == 2 || mode == 3 ? 4 / r : 1 / units;
    const auto count = [&](double t) {
      return static_cast<std::int64_t>(std::floor(edgesPerRev * angle(t)));
    };
    std::uint32_t field = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const double start = static_cast<double>(i);
      const std::int64_t before = count(start), now = count(start + 1);
      if (now != before) {
        double lo = start, hi = start + 1;
        while (hi - lo > 1e-9) {
          const double mid = (lo + hi) / 2;
          (count(mid) == now ? hi : lo) = mid;
        }
        edges.push_back({hi, now});
        field = static_cast<std::uint32_t>((hi - start) * units * (1 - 1e-9));
      }
      ULONG& word = words[i * stride];
      const auto passed = static_cast<std::uint32_t>(std::abs(now - before));
      if (IsQuadrature(mode)) {
        word = static_cast<std::uint32_t>(now + 65530) << 16 | (word & 0xF001) | field << 1;
      } else {
        std::uint32_t half = 0x0F5F;  // bits that are no edge
        if (mode == 4) half = passed << 12 | field << 1;
        if (mode == 1 && passed != 0) half = 0x1Fu | field << 8 | 0xA0;
        word = lowWord ? (word & 0xFFFF0000u) | half : (word & 0xFFFFu) | half << 16;
      }
    }
  }
};

/// An angle for a mode: a run-up with a torsional vibration, in the quadrature modes swinging back and forth.
inline std::function<double(double)> TestAngle(int mode) {
  if (IsQuadrature(mode)) return [](double t) { return 0.9 * std::sin(t * 4e-3) + t * 1e-3; };
  return [](double t) { return t * 1.1e-3 + t * t * 5e-8 + 2e-3 * std::sin(t * 0.031); };
}
