#include <hwy/targets.h>

#include <memory>

#include "rate/RateTestSupport.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

/// Each test runs with every instruction set that this processor has.
class QVLFilters : public testing::TestWithParam<std::int64_t> {
 protected:
  QVLFilters() { Choose(GetParam()); }
  ~QVLFilters() override { Choose(0); }
  static void Choose(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
};
INSTANTIATE_TEST_SUITE_P(On, QVLFilters, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return hwy::TargetName(target.param); });

/// Small whole numbers, whose sums of products are exact in any order.
Samples Whole(std::size_t n, unsigned seed) {
  std::mt19937 random(seed);
  Samples samples(n);
  for (float& x : samples) x = static_cast<float>(static_cast<int>(random() % 17) - 8);
  return samples;
}

TEST_P(QVLFilters, DotProductsOfAnyShape) {
  std::mt19937 random(11);
  for (std::size_t taps = 1; taps <= 70; ++taps) {
    const auto channels = static_cast<unsigned>(1 + taps % 9);
    const std::size_t n = taps % 11, stride = (taps + 15) / 16 * 16, plane = taps + 40;
    Samples table = Whole(6 * stride, 5);
    for (std::size_t i = 0; i < table.size(); ++i) {
      if (i % stride >= taps) table[i] = 0.0f;
    }
    const Samples samples = Whole(plane * channels, 6);
    const std::unique_ptr<float[]> x(new float[samples.size()]);  // a sanitizer sees every step beyond
    std::copy(samples.begin(), samples.end(), x.get());
    std::vector<QVL::TapWindow> windows(n);
    for (auto& w : windows) {
      w = {static_cast<std::ptrdiff_t>(random() % 41) - 7, static_cast<std::uint32_t>(random() % 5), 0.25f};
      if (taps % 3 == 0) w.row = 2;
    }
    if (n > 0) windows[0].in = 33;  // up to the last sample
    const std::size_t outStride = channels + taps % 2;
    Samples plain(n * outStride + 1, 77.0f), mixed = plain;
    const QVL::TapPlanes planes{x.get() + 7, plane, channels};
    const QVL::TapRows rows{table.data(), stride, taps};
    QVL::DotProducts(plain.data(), outStride, windows.data(), n, planes, rows, 0.5f);
    QVL::MixedDotProducts(mixed.data(), outStride, windows.data(), n, planes, rows, 0.5f);
    for (std::size_t j = 0; j < n; ++j) {
      for (unsigned c = 0; c < channels; ++c) {
        float sums[2] = {};
        for (std::size_t i = 0; i < taps; ++i) {
          const float v = planes.x[static_cast<std::ptrdiff_t>(c * plane + i) + windows[j].in];
          for (std::size_t r : {0u, 1u}) sums[r] += v * table[(windows[j].row + r) * stride + i];
        }
        ASSERT_EQ(plain[j * outStride + c], 0.5f * sums[0]) << taps << " " << j << " " << c;
        ASSERT_EQ(mixed[j * outStride + c], 0.5f * (0.75f * sums[0] + 0.25f * sums[1])) << taps;
      }
      ASSERT_TRUE(outStride == channels || plain[j * outStride + channels] == 77.0f);
    }
    ASSERT_EQ(plain.back(), 77.0f);
  }
}

TEST_P(QVLFilters, RangesOfFrames) {
  std::mt19937 random(12);
  for (std::size_t channels = 1; channels <= 40; ++channels) {
    for (const std::size_t n : {0u, 1u, 7u, 64u, 301u}) {
      const Samples noise = Noise(n * channels, 3);
      const std::unique_ptr<float[]> x(new float[noise.size()]);
      for (std::size_t i = 0; i < noise.size(); ++i) x[i] = random() % 4 == 0 ? std::nanf("") : noise[i];
      Samples min(channels, 0.5f), max(channels, -0.5f), low = min, high = max;
      QVL::ExtendFrameMinMax(x.get(), n, channels, min.data(), max.data());
      for (std::size_t i = 0; i < noise.size(); ++i) {
        if (x[i] < low[i % channels]) low[i % channels] = x[i];
        if (x[i] > high[i % channels]) high[i % channels] = x[i];
      }
      ASSERT_EQ(min, low) << channels << " " << n;
      ASSERT_EQ(max, high) << channels << " " << n;
    }
  }
}

TEST_P(QVLFilters, Resamling) {
  const Samples in{0, 9, 2, 9, 4, 9, 6, 9, 8, 9, 10};
  const struct {
    std::size_t nIn, stride;
    Samples out;
  } cases[] = {{6, 2, {2, 10, 18}},      // means of two
               {5, 2, {0, 6, 14}},       // runs of one, two and two: 0 | 2 4 | 6 8
               {3, 2, {0, 2, 4, 6, 8}},  // lines between the ends
               {1, 1, {0, 0, 0}},
               {3, 4, {0, 8, 16}}};
  Samples out;
  for (const auto& c : cases) {
    out.assign(c.out.size(), 77.0f);
    QVL::Resamling(out.data(), out.size(), in.data(), c.nIn, c.stride, 2.0f, 5);
    EXPECT_EQ(out, c.out) << c.nIn;
  }
  out.assign(3, 77.0f);
  QVL::Resamling(out.data(), 3, in.data(), 6, 2, 2.0f, 4);
  QVL::Resamling(out.data(), 3, in.data(), 0, 2, 2.0f, 5);
  EXPECT_THAT(out, testing::ElementsAre(77, 77, 77));
}

}  // namespace
