#include "umlauf/filters/ZeroPhase.h"

#include <algorithm>

#include "umlauf/filters/SosFilter.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/signal/CurveSpan.h"

namespace ZeroPhase {
namespace {

void Run(CSosFilter& filter, double* samples, std::uint64_t n) {
  filter.Settle(samples[0]);
  filter.Process(samples, samples, n);
  std::reverse(samples, samples + n);
}

}  // namespace

std::uint64_t Margin(const SosSections& sections) {
  std::uint64_t taps = 2 * sections.Count() + 1;
  for (const SosSection& section : sections) taps -= section.IsFirstOrder() ? 1 : 0;
  return 3 * taps;
}

bool Filter(const SosSections& sections, float* samples, std::uint64_t n) {
  if (n == 0) return true;
  const std::uint64_t margin = std::min(Margin(sections), n - 1);
  CAlignedMem<double> work;
  if (!work.alloc(n + 2 * margin)) return false;
  double* middle = work.data() + margin;
  std::copy_n(samples, n, middle);
  for (std::uint64_t i = 1; i <= margin; ++i) {
    *(middle - i) = 2.0 * middle[0] - middle[i];
    middle[n - 1 + i] = 2.0 * middle[n - 1] - middle[n - 1 - i];
  }
  CSosFilter filter(sections);
  Run(filter, work.data(), work.size());
  Run(filter, work.data(), work.size());
  std::transform(middle, middle + n, samples, [](double v) { return static_cast<float>(v); });
  return true;
}

bool Filter(const SosSections& sections, CSigCurve& curve) {
  const CurveSpan span = SpanOf(curve);
  return Filter(sections, curve.FData() + span.first, span.length);
}

}  // namespace ZeroPhase
