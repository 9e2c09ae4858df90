#include "umlauf/orders/internal/FilterLadder.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {

namespace {

constexpr double kRungsPerOctave = 8;
constexpr double kWidest = 65536;
constexpr double kPhases = 256;  ///< rows in an output step: mixing two is then exact to 95 dB

}  // namespace

FilterLadder::FilterLadder(double pass, double stop, double narrowest, double widest) {
  const double step = std::exp2(1 / kRungsPerOctave);
  widest = std::min(widest, kWidest);
  const bool had = HadMemory([&] {
    // The ratio may grow by a rung, and with it what the filter stops, before the next one has taken over.
    const KaiserSinc kernel(pass, stop / step);
    for (double start = narrowest; start == narrowest || start < widest; start *= step) {
      if (!AddRung(start, kernel)) throw std::bad_alloc();
    }
  });
  if (!had) *this = FilterLadder();
}

bool FilterLadder::AddRung(double start, const KaiserSinc& kernel) {
  const auto half = numeric::trunc_sat<std::size_t>(std::ceil(kernel.HalfLength() * start));
  const std::size_t taps = 2 * half, stride = (taps + 15) / 16 * 16;
  const double phases = std::max(1.0, std::ceil(kPhases / start));
  const std::size_t rows = numeric::trunc_sat<std::size_t>(phases) + 1;
  CAlignedMem<float> table;
  if (!table.alloc(rows * stride)) return false;
  for (std::size_t r = 0; r < rows; ++r) {
    const double middle = static_cast<double>(half) - 1 + static_cast<double>(r) / phases;
    for (std::size_t j = 0; j < taps; ++j) {
      table[r * stride + j] =
          static_cast<float>(kernel.At((static_cast<double>(j) - middle) / start) / start);
    }
  }
  taps_.push_back(std::move(table));
  rungs_.push_back({{taps_.back().data(), stride, taps, vekta::TapMix::Linear},
                    phases,
                    static_cast<std::ptrdiff_t>(half) - 1});
  starts_.push_back(start);
  reach_ = std::max(reach_, half + 1);
  return true;
}

}  // namespace umlauf::orders
