#include "rate/RateTestSupport.h"
#include "support/Test.h"
#include "umlauf/rate/DownsamplingFilter.h"

namespace {

using Filter = CDownsamplingFilter;

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

enum Kind { mean, max, sum, levelSum, range };

/// The reductions in the form that all tests call. A range has two results for one output.
std::uint64_t Reduce(Kind kind, float* out, unsigned outStride, const float* in, std::uint64_t n,
                     unsigned inStride, float ratio, float& phase, float& partial, float& partialMax,
                     float gain) {
  switch (kind) {
    case mean:
      return Filter::SimpleDownsamplingMean(out, outStride, in, n, inStride, ratio, phase, partial, gain,
                                            false);
    case max:
      return Filter::SimpleDownsamplingMax(out, outStride, in, n, inStride, ratio, phase, partial, gain,
                                           false);
    case range:
      return Filter::SimpleDownsamplingMinMax(out, outStride, in, n, inStride, ratio, phase, partial,
                                              partialMax, gain, false);
    default:
      return Filter::SimpleDownsamplingSum(out, outStride, in, n, inStride, ratio, phase, partial,
                                           kind == levelSum, gain, false);
  }
}

TEST(SimpleDownsampling, FollowsTheRulesBlockByBlock) {
  const Samples in{3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7, 9, 3, 2, 3, 8, 4};
  using Blocks = std::vector<std::size_t>;
  // 3 1 4 | 1 5 9 | 2 6 | 5 3 5, and 8 is left.
  const Blocks ofFour{4, 4, 4};
  // 3 1 4 gives no output yet. 3 1 4 1 5 does, and its last sample, which lies within the next interval, is
  // carried on.
  const Blocks early{3, 2, 7, 8};
  const Blocks late{1, 1, 6, 8};
  const Blocks fine{3, 4, 5};  // what is carried is less than a sample, and does not count
  const Cases<Kind, float, const Blocks&, Samples, float, float> cases = {
      {mean, 2.5f, ofFour, {8.0f / 3, 5, 4, 13.0f / 3}, 0.8f, 8},
      {max, 2.5f, ofFour, {4, 9, 6, 5}, 0.8f, 8},
      {sum, 2.5f, ofFour, {8, 15, 8, 13}, 0.8f, 8},
      {levelSum, 2.5f, ofFour, {7.6088f, 10.9218f, 7.4554f, 9.2011f}, 0.8f, 8},
      {range, 2.5f, ofFour, {1, 4, 1, 9, 2, 6, 3, 5}, 0.8f, 8},
      {mean, 4, early, {2.8f, 5.4f, 16.0f / 3, 6, 5}, 0, 5},
      {max, 4, early, {5, 9, 8, 9, 8}, 0, 5},
      {sum, 4, early, {14, 27, 16, 30, 15}, 0, 5},
      {levelSum, 4, early, {10.0806f, 12.9741f, 10.5945f, 13.8879f, 10.341f}, 0, 5},
      {range, 4, early, {1, 5, 2, 9, 3, 8, 2, 9, 3, 8}, 0, 5},
      {mean, 4, late, {2.8f, 17.0f / 3, 6, 19.0f / 3}, 0, 4},
      {levelSum, 4, late, {10.0806f, 11.3063f, 13.5358f, 11.7465f}, 0, 5.1244f},
      {range, 4, late, {1, 5, 2, 9, 3, 9, 3, 9}, 0, 1},
      {mean, 1.25f, fine, {2, 4, 1, 7, 2, 6, 5, 4, 8}, 0.6f, 0},
      {sum, 1.25f, fine, {4, 4, 1, 14, 2, 6, 5, 8, 8}, 0.6f, 0},
      {range, 1.25f, fine, {1, 3, 4, 4, 1, 1, 5, 9, 2, 2, 6, 6, 5, 5, 3, 5, 8, 8}, 0.6f, 99},
  };
  for (const auto& [kind, ratio, blocks, results, expectedPhase, expectedPartial] : cases) {
    for (const unsigned stride : {1u, 3u}) {
      if (stride == 1 && ratio < 2 && kind == sum) continue;  // straight lines
      Samples spread(in.size() * stride, -77.0f), out(100, 77.0f), expected = out;
      for (std::size_t i = 0; i < in.size(); ++i) spread[i * stride] = in[i];
      for (std::size_t j = 0; j < results.size(); ++j) expected[2 * j] = 2 * results[j];
      float phase = 0, partial = kind == range ? 99 : kind == levelSum ? -100 : 0, partialMax = -99;
      const float* at = spread.data();
      std::uint64_t written = 0;
      for (const std::size_t n : blocks) {
        written += Reduce(kind, &out[2 * written], 2, at, n, stride, ratio, phase, partial, partialMax, 2);
        at += n * stride;
      }
      EXPECT_EQ(written, results.size()) << ratio << " " << kind;
      EXPECT_THAT(out, testing::Pointwise(testing::FloatNear(1e-3f), expected)) << ratio << " " << kind;
      EXPECT_NEAR(phase, expectedPhase, 1e-6) << kind;
      EXPECT_NEAR(partial, expectedPartial, 1e-3) << ratio << " " << kind;
    }
  }
}

TEST(SimpleDownsampling, LittleRatiosCopyOrInterpolate) {
  const Samples in{1, 10, 2, 20, 3, 30, 4, 40};
  float phase = 0, partial = 0, partialMax = -99;
  for (const Kind kind : {mean, max, sum, levelSum}) {
    phase = 0.5f;
    partial = 9.0f;
    Samples out(8, 77.0f);
    EXPECT_EQ(Reduce(kind, out.data(), 2, in.data(), 4, 2, 1, phase, partial, partialMax, 2), 4u) << kind;
    EXPECT_THAT(out, ElementsAre(2, 77, 4, 77, 6, 77, 8, 77)) << kind;
    EXPECT_ALL(phase == 0.0f, partial == 0.0f);
    EXPECT_EQ(Reduce(kind, out.data(), 1, in.data(), 4, 1, 1, phase, partial, partialMax, 2), 4u) << kind;
    EXPECT_THAT(out, ElementsAre(20, 4, 40, 6, 6, 77, 8, 77)) << kind;
  }
  Samples lines(3, 77.0f), twice(9, 77.0f);
  EXPECT_EQ(Reduce(sum, lines.data(), 1, in.data(), 3, 1, 1.5f, phase, partial, partialMax, 1), 2u);
  EXPECT_THAT(lines, ElementsAre(6, 20, 77));
  phase = 0;
  EXPECT_EQ(Reduce(range, twice.data(), 1, in.data(), 2, 1, 0.5f, phase, partial, partialMax, 1), 8u);
  EXPECT_THAT(twice, ElementsAre(1, 1, 10, 10, 10, 10, 10, 10, 77));
}

}  // namespace
