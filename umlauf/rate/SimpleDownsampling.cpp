// The reductions of CDownsamplingFilter: mean, maximum, range and sum of output intervals.

#include <algorithm>
#include <array>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/DownsamplingFilter.h"
#include "umlauf/rate/internal/OutputGrid.h"
#include "umlauf/rate/internal/Strided.h"

namespace {

using umlauf::rate::OutputGrid;

struct Outputs {
  float* data;
  std::size_t stride;
  float gain;
};

struct Samples {
  const float* data;
  std::uint64_t n;
  std::size_t stride;
};

// A reduction has a value, the value of a run of samples, the value of two runs joined, and stores the
// results of an interval.

struct MeanOf {
  using Value = float;
  static constexpr unsigned kResults = 1;
  float Reduce(const float* x, std::uint64_t n, std::size_t stride) const {
    return QVL::VectorSum(x, n, stride);
  }
  float Join(float a, float b) const { return a + b; }
  void Store(float* out, std::size_t, float sum, float count) const { *out = sum / count; }
};

struct SumOf {
  using Value = float;
  static constexpr unsigned kResults = 1;
  bool levels;
  float Reduce(const float* x, std::uint64_t n, std::size_t stride) const {
    return levels ? QVL::VectorLogSum(x, n, stride) : QVL::VectorSum(x, n, stride);
  }
  float Join(float a, float b) const {
    const std::array<float, 2> both{a, b};
    return Reduce(both.data(), both.size(), 1);
  }
  void Store(float* out, std::size_t, float sum, float) const { *out = sum; }
};

struct MaxOf {
  using Value = float;
  static constexpr unsigned kResults = 1;
  float Reduce(const float* x, std::uint64_t n, std::size_t stride) const {
    float min = 0.0f, max = 0.0f;
    QVL::VectorMinMax(x, n, stride, min, max);
    return max;
  }
  float Join(float a, float b) const { return b > a ? b : a; }
  void Store(float* out, std::size_t, float max, float) const { *out = max; }
};

struct Range {
  float min, max;
};

struct RangeOf {
  using Value = Range;
  static constexpr unsigned kResults = 2;
  Range Reduce(const float* x, std::uint64_t n, std::size_t stride) const {
    Range range{};
    QVL::VectorMinMax(x, n, stride, range.min, range.max);
    return range;
  }
  Range Join(const Range& a, const Range& b) const {
    return {b.min < a.min ? b.min : a.min, b.max > a.max ? b.max : a.max};
  }
  void Store(float* out, std::size_t stride, const Range& range, float) const {
    out[0] = range.min;
    out[stride] = range.max;
  }
};

template <class Reduction>
std::uint64_t ReduceIntervals(const Reduction& reduction, const Outputs& out, const Samples& in, float ratio,
                              float& phase, typename Reduction::Value& partial) {
  const OutputGrid grid(in.n, ratio, phase);
  if (!grid.Valid()) return 0;
  const auto reduce = [&](std::uint64_t begin, std::uint64_t end) {
    return reduction.Reduce(in.data + begin * in.stride, end - begin, in.stride);
  };
  const auto samplesOf = [&grid](float part) {
    return grid.WholeSamples(static_cast<double>(part) * grid.Ratio());
  };
  const auto carried = static_cast<float>(samplesOf(phase));
  phase = grid.NextPhase();
  if (grid.Count() == 0) {
    partial = reduction.Join(partial, reduce(0, in.n));
    return 0;
  }
  const std::size_t outStep = Reduction::kResults * out.stride;
  std::uint64_t begin = 0;
  for (std::uint64_t j = 0; j < grid.Count(); ++j) {
    const std::uint64_t end = std::min(in.n, grid.WholeSamples(grid.Position(j) + 1.0));
    begin = std::min(begin, end - 1);
    auto value = reduce(begin, end);
    auto count = static_cast<float>(end - begin);
    if (j == 0 && carried > 0.0f) {
      value = reduction.Join(partial, value);
      count += carried;
    }
    reduction.Store(out.data + j * outStep, out.stride, value, count);
    begin = end;
  }
  if (begin < in.n) {
    partial = reduce(begin, in.n);
  } else if (samplesOf(phase) >= 1) {
    partial = reduce(in.n - 1, in.n);
  }
  const std::uint64_t written = Reduction::kResults * grid.Count();
  umlauf::rate::ScaleStrided(out.data, out.stride, written, out.gain);
  return written;
}

/// What mean, maximum and sum do where there is nothing to reduce.
std::uint64_t PassOn(const Outputs& out, const Samples& in, float ratio, float& phase, float& partial,
                     bool lastBlock) {
  if (in.stride == 1) {
    return CDownsamplingFilter::DummDownsampling(out.data, static_cast<unsigned>(out.stride), in.data, in.n,
                                                 ratio, phase, out.gain, lastBlock);
  }
  QVL::Interleave(out.data, out.stride, in.data, in.stride, in.n);
  umlauf::rate::ScaleStrided(out.data, out.stride, in.n, out.gain);
  partial = 0.0f;
  phase = 0.0f;
  return in.n;
}

}  // namespace

std::uint64_t CDownsamplingFilter::SimpleDownsamplingMean(float* out, unsigned outStride, const float* in,
                                                          std::uint64_t nIn, unsigned inStride, float ratio,
                                                          float& phase, float& partialSum, float gain,
                                                          bool lastBlock) {
  const Outputs to{out, outStride, gain};
  const Samples from{in, nIn, inStride};
  if (ratio <= 1.0f) return PassOn(to, from, ratio, phase, partialSum, lastBlock);
  return ReduceIntervals(MeanOf{}, to, from, ratio, phase, partialSum);
}

std::uint64_t CDownsamplingFilter::SimpleDownsamplingMax(float* out, unsigned outStride, const float* in,
                                                         std::uint64_t nIn, unsigned inStride, float ratio,
                                                         float& phase, float& partialMax, float gain,
                                                         bool lastBlock) {
  const Outputs to{out, outStride, gain};
  const Samples from{in, nIn, inStride};
  if (ratio <= 1.0f) return PassOn(to, from, ratio, phase, partialMax, lastBlock);
  return ReduceIntervals(MaxOf{}, to, from, ratio, phase, partialMax);
}

std::uint64_t CDownsamplingFilter::SimpleDownsamplingMinMax(float* out, unsigned outStride, const float* in,
                                                            std::uint64_t nIn, unsigned inStride, float ratio,
                                                            float& phase, float& partialMin,
                                                            float& partialMax, float gain, bool) {
  Range partial{partialMin, partialMax};
  const std::uint64_t written =
      ReduceIntervals(RangeOf{}, {out, outStride, gain}, {in, nIn, inStride}, ratio, phase, partial);
  partialMin = partial.min;
  partialMax = partial.max;
  return written;
}

std::uint64_t CDownsamplingFilter::SimpleDownsamplingSum(float* out, unsigned outStride, const float* in,
                                                         std::uint64_t nIn, unsigned inStride, float ratio,
                                                         float& phase, float& partialSum, bool logSum,
                                                         float gain, bool lastBlock) {
  const Outputs to{out, outStride, gain};
  const Samples from{in, nIn, inStride};
  const bool passOn = inStride == 1 ? ratio < 2.0f : ratio <= 1.0f;
  if (passOn) return PassOn(to, from, ratio, phase, partialSum, lastBlock);
  return ReduceIntervals(SumOf{logSum}, to, from, ratio, phase, partialSum);
}
