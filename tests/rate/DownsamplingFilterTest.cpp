#include "umlauf/rate/DownsamplingFilter.h"

#include "rate/RateTestSupport.h"
#include "support/Test.h"
#include "umlauf/rate/MuxDownsamplingFilter.h"

namespace {

TEST(DownsamplingKernel, Shape) {
  const CDownsamplingInfo info;
  ASSERT_EQ(info.FilterLen(), 4440u);
  EXPECT_EQ(info.MaxRatio(), 200.0f);
  EXPECT_NEAR(info.FilterNorm() * 4440.0f, 20.4906, 0.002);
  const float* c = info.FilterCoefficients();
  EXPECT_EQ(c[0], 0.0f);
  EXPECT_FLOAT_EQ(c[2211], 0.0863844f);
  int changes = 0;
  float last = c[1];
  for (int i = 0; i < 4440; ++i) {
    EXPECT_TRUE(i == 2211 || c[i] < c[2211]) << i;
    EXPECT_EQ(c[i], i <= 4422 ? c[4422 - i] : 0.0f) << i;
    if (c[i] * last < 0.0f) ++changes;
    if (c[i] != 0.0f) last = c[i];
  }
  EXPECT_EQ(changes, 42);
}

TEST(DownsamplingInfo, Downscale) {
  CDownsamplingFilter filter;
  EXPECT_ALL(!filter.SetDownscale(0), filter.DownscaleFactor() == 1u, filter.SetDownscale(2),
             filter.MaxRatio() == 100.0f, filter.FilterLen() == 2220u);
  EXPECT_EQ(filter.Taps(7.3f), CDownsamplingFilter().Taps(7.3f));  // the whole kernel at half its density
  const float few[] = {1.0f, 2.0f, 1.0f};
  const CDownsamplingInfo::coefs_t table{few, 3, 1.0f};
  filter.SetInfo(CDownsamplingInfo(&table));
  EXPECT_FLOAT_EQ(filter.FilterNorm(), 4.0f / 3.0f);
  EXPECT_ALL(filter.Taps(1000.0f) == 3u, filter.Taps(0.1f) == 2u);
}

/// The rules, one output after the other from the table.
Samples Reference(const CDownsamplingInfo& info, const float* in, std::uint64_t n, float ratio, float& phase,
                  float gain) {
  const std::uint32_t length = info.FilterLen();
  auto k = static_cast<std::uint32_t>(ratio / info.MaxRatio() * static_cast<float>(length) + 0.5f);
  k = std::clamp(k, 2u, length);
  const std::uint32_t step = length / k, start = (length - step * k) / 2 + step;
  const double total = static_cast<double>(n) / static_cast<double>(ratio) + static_cast<double>(phase);
  Samples out(static_cast<std::size_t>(total));
  const float norm =
      (static_cast<float>(length - step * k) / static_cast<float>(step) + static_cast<float>(k)) *
      info.FilterNorm();
  for (std::size_t j = 0; j < out.size(); ++j) {
    const double t = (1.0 - static_cast<double>(phase) + static_cast<double>(j)) * static_cast<double>(ratio);
    const double base = std::floor(t);
    const auto offset = static_cast<std::uint32_t>(std::round((t - base) * step));
    const float* x = in + static_cast<std::ptrdiff_t>(base) - k / 2;
    double sum = 0.0;
    for (std::uint32_t i = 0; i + 1 < k; ++i) {
      const float c = info.FilterCoefficients()[(start - offset + step * i) * info.DownscaleFactor()];
      sum += static_cast<double>(c) * static_cast<double>(x[i]);
    }
    out[j] = static_cast<float>(sum) * (gain / norm);
  }
  phase = static_cast<float>(total - static_cast<double>(out.size()));
  return out;
}

TEST(Downsampling, FollowsTheRulesAndReadsNoFurther) {
  std::mt19937 random(3);
  for (const float ratio : {1.0f, 1.5f, 2.5f, 3.0f, 6.4f, 10.0f, 17.77f, 64.3f, 199.0f, 450.0f}) {
    for (const unsigned downscale : {1u, 3u}) {
      CDownsamplingFilter filter;
      filter.SetDownscale(downscale);
      for (const float startPhase : {0.0f, 0.4f, 1.0f}) {
        const std::size_t margin = filter.Taps(ratio) / 2, n = 700 + random() % 3000;
        const auto noise = OnHeap(Noise(n + 2 * margin, static_cast<unsigned>(n)));  // just what may be read
        const float* in = noise.get() + margin;
        float phase = startPhase, again = startPhase, phaseBefore = startPhase;
        const Samples expected = Reference(filter.Info(), in, n, ratio, phaseBefore, 0.7f);
        Samples out(3 * expected.size() + 3, 77.0f), contiguous(expected.size());
        ASSERT_EQ(filter.Downsampling(out.data(), 3, in, n, ratio, phase, 0.7f), expected.size());
        ASSERT_NEAR(phase, phaseBefore, 1e-6);
        filter.DownsamplingCpp(contiguous.data(), in, n, ratio, again, 0.7f);
        for (std::size_t j = 0; j < expected.size(); ++j) {
          ASSERT_NEAR(out[3 * j], expected[j], 3e-6f) << ratio << " " << j;
          ASSERT_EQ(out[3 * j + 1], 77.0f);
          ASSERT_EQ(contiguous[j], out[3 * j]);
        }
      }
    }
  }
}

TEST(Downsampling, KeepsTheMeanAndStopsAliases) {
  // In dB; the alias at 1.2 times the output's Nyquist frequency
  const Cases<float, double, double> cases = {{1.0f, 0.001, 0},    {2.5f, 0.001, -85},  {10.0f, 0.001, -90},
                                              {64.3f, 0.001, -90}, {150.0f, 0.01, -65}, {200.0f, 0.001, -90}};
  for (const auto& [ratio, mean, alias] : cases) {
    const auto levelAt = [&](double frequency) {
      return LevelOf(static_cast<double>(ratio), frequency, [&](auto* out, auto* in, auto n) {
        float phase = 0.0f;
        CDownsamplingFilter().Downsampling(out, 1, in, n, ratio, phase, 1.0f);
      });
    };
    EXPECT_NEAR(levelAt(0.0), 0.0, mean) << ratio;
    EXPECT_LE(alias < 0 ? levelAt(1.2) : 0.0, alias) << ratio;
  }
}

TEST(Downsampling, RefusesWhatItCannotUse) {
  CDownsamplingFilter filter;
  const Samples in(5000, 1.0f);
  float out = 77.0f, partial = 5.0f;
  const Cases<std::uint64_t, float, float> cases = {{0, 2.0f, 0.5f},  {10, 0.0f, 0.5f}, {10, -1.0f, 0.5f},
                                                    {10, kNaN, 0.5f}, {10, kInf, 0.5f}, {10, 2.0f, -0.1f},
                                                    {10, 2.0f, 1.1f}, {10, 2.0f, kNaN}, {10, 1e-30f, 0.0f}};
  for (const auto& [n, ratio, phaseBefore] : cases) {
    float phase = phaseBefore;
    EXPECT_EQ(filter.Downsampling(&out, 1, in.data() + 2500, n, ratio, phase, 1.0f), 0u) << ratio;
    EXPECT_ALL(
        filter.DummDownsampling(&out, in.data(), n, ratio, phase, 1.0f, false) == 0u,
        filter.SimpleDownsamplingMean(&out, in.data(), n, 1, ratio, phase, partial, 1.0f, false) == 0u);
    EXPECT_TRUE(phase == phaseBefore || std::isnan(phaseBefore)) << ratio;
  }
  EXPECT_ALL(partial == 5.0f, out == 77.0f);
  // A ratio of any size is filtered as well as the table allows, unless that has no taps.
  float phase = 0.5f;
  EXPECT_EQ(filter.Downsampling(&out, 1, in.data() + 2500, 1, 1e30f, phase, 1.0f), 0u);
  const CDownsamplingInfo::coefs_t single{in.data(), 1, 200.0f}, none{nullptr, 4440, 200.0f};
  for (const auto* table : {&single, &none})
    EXPECT_EQ(CDownsamplingFilter(table).Downsampling(&out, 1, in.data(), 100, 2.0f, phase, 1.0f), 0u);
}

TEST(MuxDownsampling, EachChannelIsTheSingleChannelResult) {
  for (const unsigned channels : {1u, 2u, 3u, 4u, 7u, 8u, 9u}) {
    for (const float ratio : {2.5f, 10.0f, 64.3f, 300.0f}) {
      CMuxDownsamplingFilter mux;
      CDownsamplingFilter single;
      const std::size_t margin = mux.Taps(ratio) / 2, n = 9000;
      const Samples noise = Noise((n + 2 * margin) * channels, channels);
      const auto in = OnHeap(noise);
      Samples out(n * channels), means(n * channels), partial(channels, 0.25f), expected(n);
      float phase = 0.3f, meanPhase = 0.3f;
      const auto written =
          mux.Downsampling(out.data(), in.get() + margin * channels, n, channels, ratio, phase, 0.5f);
      const auto meanCount = mux.SimpleDownsamplingMean(means.data(), noise.data(), n, channels, ratio,
                                                        meanPhase, partial.data(), 0.5f, false);
      for (unsigned c = 0; c < channels; ++c) {
        Samples channel(n + 2 * margin);
        for (std::size_t i = 0; i < channel.size(); ++i) channel[i] = noise[i * channels + c];
        float onePhase = 0.3f, oneMeanPhase = 0.3f, onePartial = 0.25f;
        ASSERT_EQ(single.Downsampling(expected.data(), 1, channel.data() + margin, n, ratio, onePhase, 0.5f),
                  written);
        for (std::size_t j = 0; j < written; ++j) ASSERT_EQ(out[j * channels + c], expected[j]) << channels;
        ASSERT_EQ(single.SimpleDownsamplingMean(expected.data(), noise.data() + c, n, channels, ratio,
                                                oneMeanPhase, onePartial, 0.5f, false),
                  meanCount);
        for (std::size_t j = 0; j < meanCount; ++j) ASSERT_EQ(means[j * channels + c], expected[j]);
        ASSERT_EQ(phase, onePhase);
        ASSERT_EQ(meanPhase, oneMeanPhase);
        ASSERT_EQ(partial[c], onePartial);
      }
    }
  }
  float phase = 0.5f;
  Samples frames{1, 2, 3, 4};
  EXPECT_EQ(CMuxDownsamplingFilter::NoResampling(frames.data(), frames.data(), 2, 2, 3.0f, phase, 2.0f), 2u);
  EXPECT_THAT(frames, testing::ElementsAre(2, 4, 6, 8));
  EXPECT_EQ(CMuxDownsamplingFilter().Downsampling(frames.data(), frames.data(), 2, 0, 3.0f, phase, 2.0f), 0u);
}

}  // namespace
