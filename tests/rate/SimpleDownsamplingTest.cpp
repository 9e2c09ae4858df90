#include "rate/RateTestSupport.h"
#include "umlauf/rate/DownsamplingFilter.h"

namespace {

using Filter = CDownsamplingFilter;
using testing::ElementsAre;

TEST(KeinDownsampling, CopiesWithGain) {
  float phase = 0.25f;
  const Samples in{1, -2, 3};
  Samples out(4, 77.0f);
  EXPECT_EQ(Filter::KeinDownsampling(nullptr, nullptr, 0, 2, phase, 2), 0u);
  EXPECT_EQ(Filter::KeinDownsampling(out.data(), in.data(), 3, 2, phase, 2), 3u);
  EXPECT_THAT(out, ElementsAre(2, -4, 6, 77));
  EXPECT_EQ(phase, 0.25f);
}

TEST(DummDownsampling, LinesBetweenSamples) {
  Samples ramp(1001);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i);
  std::mt19937 random(5);
  for (const float ratio : {0.4f, 1.0f, 2.5f, 7.31f}) {
    float phase = 0.0f, count = 0.0f;
    const float* at = ramp.data();
    for (const std::size_t n : Split(1000, 40, random)) {
      Samples out(2 * n + 200, 77.0f);
      const auto written = Filter::DummDownsampling(out.data(), 2, at, n, ratio, phase, 3, false);
      for (std::size_t j = 0; j < written; ++j) {
        ASSERT_NEAR(out[2 * j], 3.0f * ratio * ++count, 2e-3) << ratio;
        ASSERT_EQ(out[2 * j + 1], 77.0f);
      }
      at += n;
    }
    EXPECT_NEAR(count, 1000.0f / ratio, 1.0f);
  }
}

TEST(DummDownsampling, LastBlockEndsWithItsLastSample) {
  const Samples in{10, 20, 30, 40};
  Samples out(9, 1.0f);
  float phase = 0.0f;
  EXPECT_EQ(Filter::DummDownsampling(out.data(), in.data(), 4, 0.5f, phase, 2, true), 8u);
  EXPECT_THAT(out, ElementsAre(30, 40, 50, 60, 70, 80, 2, 2, 1));  // the last two count, unwritten
  EXPECT_EQ(phase, 0.0f);
}

/// A reduction in the form that all tests call, with a gain of 2. Minimum and maximum of the range are two of
/// them.
struct Reduction {
  enum Kind { mean, max, sum, levelSum, rangeMin, rangeMax } kind;

  bool isRange() const { return kind >= rangeMin; }
  std::uint64_t run(float* out, unsigned outStride, const float* in, std::uint64_t n, unsigned inStride,
                    float ratio, float& phase, float& partial) const {
    if (isRange()) {
      Samples both(2 * n + 2);
      float other = 0.0f;
      float &low = kind == rangeMin ? partial : other, &high = kind == rangeMin ? other : partial;
      const auto count = Filter::SimpleDownsamplingMinMax(both.data(), 1, in, n, inStride, ratio, phase, low,
                                                          high, 2, false);
      for (std::size_t j = 0; j < count / 2; ++j) out[j * outStride] = both[2 * j + kind - rangeMin];
      return count / 2;
    }
    if (kind == sum || kind == levelSum) {
      return Filter::SimpleDownsamplingSum(out, outStride, in, n, inStride, ratio, phase, partial,
                                           kind == levelSum, 2, false);
    }
    return kind == max ? Filter::SimpleDownsamplingMax(out, outStride, in, n, inStride, ratio, phase, partial,
                                                       2, false)
                       : Filter::SimpleDownsamplingMean(out, outStride, in, n, inStride, ratio, phase,
                                                        partial, 2, false);
  }
  double join(double a, double b) const {
    if (kind == max || kind == rangeMax) return std::max(a, b);
    if (kind == rangeMin) return std::min(a, b);
    return kind == levelSum ? 10.0 * std::log10(std::pow(10.0, a / 10) + std::pow(10.0, b / 10)) : a + b;
  }
};

constexpr Reduction kReductions[] = {{Reduction::mean},     {Reduction::max},      {Reduction::sum},
                                     {Reduction::levelSum}, {Reduction::rangeMin}, {Reduction::rangeMax}};

/// A ratio and a phase in whole numbers: num / den input samples per output, covered / num.
struct Ratio {
  std::uint64_t num, den;
};

/// The rules of one block, sample by sample.
Samples Expected(const Reduction& reduction, const float* in, std::uint64_t n, unsigned stride,
                 const Ratio& ratio, std::uint64_t& covered, float& partial) {
  const auto reduce = [&](std::uint64_t begin, std::uint64_t end) {
    double value = static_cast<double>(in[begin * stride]);
    for (std::uint64_t i = begin + 1; i < end; ++i) {
      value = reduction.join(value, static_cast<double>(in[i * stride]));
    }
    return value;
  };
  const std::uint64_t total = n * ratio.den + covered, carried = covered / ratio.den;
  Samples out(total / ratio.num);
  if (out.empty()) {
    partial = static_cast<float>(reduction.join(static_cast<double>(partial), reduce(0, n)));
    covered = total;
    return out;
  }
  std::uint64_t begin = 0;
  for (std::size_t j = 0; j < out.size(); ++j) {
    const auto end = std::min(n, ((j + 1) * ratio.num - covered) / ratio.den + 1);
    const bool joins = j == 0 && carried != 0;
    double value = reduce(begin, end);
    if (joins) value = reduction.join(static_cast<double>(partial), value);
    if (reduction.kind == Reduction::mean) value /= static_cast<double>(end - begin + (joins ? carried : 0));
    out[j] = static_cast<float>(2.0 * value);
    begin = end;
  }
  covered = total % ratio.num;
  if (begin < n) {
    partial = static_cast<float>(reduce(begin, n));
  } else if (covered >= ratio.den) {
    partial = in[(n - 1) * stride];
  }
  return out;
}

TEST(SimpleDownsampling, FollowsTheRulesBlockByBlock) {
  std::mt19937 random(6);
  for (const Reduction& reduction : kReductions) {
    for (const Ratio& ratio : {Ratio{5, 4}, {2, 1}, {5, 2}, {4, 1}, {15, 2}, {69, 4}, {300, 1}}) {
      for (const unsigned stride : {1u, 3u}) {
        const bool sums = reduction.kind == Reduction::sum || reduction.kind == Reduction::levelSum;
        if (sums && stride == 1 && ratio.num < 2 * ratio.den) continue;  // straight lines
        const float samplesPerOutput = static_cast<float>(ratio.num) / static_cast<float>(ratio.den);
        const Samples in = Noise(3000 * stride, 8);
        float phase = 0, partial = 0, expectedPartial = 0;
        std::uint64_t covered = 0;
        const float* at = in.data();
        int block = 0;
        for (const std::size_t n : Split(3000, 30, random)) {
          if (n == 0) continue;
          if (block++ % 20 == 0) phase = partial = expectedPartial = 0, covered = 0;  // its 24 bits wear out
          const Samples expected = Expected(reduction, at, n, stride, ratio, covered, expectedPartial);
          Samples out(2 * expected.size() + 1);
          ASSERT_EQ(reduction.run(out.data(), 2, at, n, stride, samplesPerOutput, phase, partial),
                    expected.size());
          ASSERT_NEAR(phase, static_cast<double>(covered) / static_cast<double>(ratio.num), 2e-6);
          ASSERT_NEAR(partial, expectedPartial, 1e-4) << reduction.kind << " " << samplesPerOutput;
          for (std::size_t j = 0; j < expected.size(); ++j) {
            ASSERT_NEAR(out[2 * j], expected[j], 1e-4) << reduction.kind << " " << samplesPerOutput;
          }
          partial = expectedPartial;  // rounding does not add up
          at += n * stride;
        }
      }
    }
  }
}

TEST(SimpleDownsampling, LittleRatiosCopyOrInterpolate) {
  const Samples in{1, 10, 2, 20, 3, 30, 4, 40};
  for (const Reduction& reduction : kReductions) {
    if (reduction.isRange()) continue;
    float phase = 0.5f, partial = 9.0f;
    Samples out(8, 77.0f);
    EXPECT_EQ(reduction.run(out.data(), 2, in.data(), 4, 2, 1.0f, phase, partial), 4u) << reduction.kind;
    EXPECT_THAT(out, ElementsAre(2, 77, 4, 77, 6, 77, 8, 77)) << reduction.kind;
    EXPECT_EQ(phase, 0.0f);
    EXPECT_EQ(partial, 0.0f);
    EXPECT_EQ(reduction.run(out.data(), 1, in.data(), 4, 1, 1.0f, phase, partial), 4u) << reduction.kind;
    EXPECT_THAT(out, ElementsAre(20, 4, 40, 6, 6, 77, 8, 77)) << reduction.kind;
  }
  float phase = 0, low = 99, high = -99;
  Samples out(9, 77.0f);
  EXPECT_EQ(Filter::SimpleDownsamplingSum(out.data(), 1, in.data(), 3, 1, 1.5f, phase, low, false, 1, false),
            2u);
  EXPECT_THAT(Samples(out.begin(), out.begin() + 3), ElementsAre(6, 20, 77));  // lines below 2
  phase = 0;
  EXPECT_EQ(
      Filter::SimpleDownsamplingMinMax(out.data(), 1, in.data(), 2, 1, 0.5f, phase, low, high, 1, false), 8u);
  EXPECT_THAT(out, ElementsAre(1, 1, 10, 10, 10, 10, 10, 10, 77));
}

}  // namespace
