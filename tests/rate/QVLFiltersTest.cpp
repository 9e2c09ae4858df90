#include <cmath>
#include <numeric>

#include "rate/RateTestSupport.h"
#include "support/EveryTarget.h"
#include "support/Test.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"

namespace {

class QVLFilters : public EveryTarget {};
INSTANTIATE_TEST_SUITE_P(On, QVLFilters, AllTargets(), TargetName);

TEST_P(QVLFilters, DotProductsOfAnyShape) {
  std::mt19937 random(11);
  // Small whole numbers, whose sums of products are exact in any order.
  const auto digit = [&] { return static_cast<float>(static_cast<int>(random() % 17) - 8); };
  for (std::size_t taps = 1; taps <= 70; ++taps) {
    const auto channels = static_cast<unsigned>(1 + taps % 9);
    const std::size_t n = taps % 11, stride = (taps + 15) / 16 * 16, plane = taps + 40;
    Samples table(6 * stride);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = i % stride < taps ? digit() : 0.0f;
    const std::unique_ptr<float[]> x(new float[plane * channels]);  // a sanitizer sees every step beyond
    std::generate_n(x.get(), plane * channels, digit);
    std::vector<umlauf::vekta::TapWindow> windows(n);
    for (auto& w : windows) {
      const auto row = static_cast<std::uint32_t>(random() % 5);
      w = {static_cast<std::ptrdiff_t>(random() % 41) - 7, taps % 3 == 0 ? 2 : row, 0.25f};
    }
    if (n > 0) windows[0].in = 33;  // up to the last sample
    const std::size_t outStride = channels + taps % 2;
    Samples plain(n * outStride + 1, 77.0f), mixed = plain, expected = plain, expectedMix = plain;
    const umlauf::vekta::TapPlanes planes{x.get() + 7, plane, channels};
    const umlauf::vekta::TapRows rows{table.data(), stride, taps};
    umlauf::vekta::DotProducts(plain.data(), outStride, windows.data(), n, planes, rows, 0.5f);
    umlauf::vekta::TapRows both = rows;
    both.mix = umlauf::vekta::TapMix::Linear;
    umlauf::vekta::DotProducts(mixed.data(), outStride, windows.data(), n, planes, both, 0.5f);
    for (std::size_t j = 0; j < n; ++j) {
      for (unsigned c = 0; c < channels; ++c) {
        float sums[2] = {};
        for (std::size_t i = 0; i < taps; ++i) {
          const float v = planes.x[static_cast<std::ptrdiff_t>(c * plane + i) + windows[j].in];
          for (std::size_t r : {0u, 1u}) sums[r] += v * table[(windows[j].row + r) * stride + i];
        }
        expected[j * outStride + c] = 0.5f * sums[0];
        expectedMix[j * outStride + c] = 0.5f * (0.75f * sums[0] + 0.25f * sums[1]);
      }
    }
    ASSERT_EQ(plain, expected) << taps;
    ASSERT_EQ(mixed, expectedMix) << taps;
  }
}

TEST_P(QVLFilters, PlacedDotProductsOfAnyShape) {
  std::mt19937 random(17);
  const auto digit = [&] { return static_cast<float>(static_cast<int>(random() % 17) - 8); };
  for (std::size_t taps = 1; taps <= 70; ++taps) {
    const auto channels = static_cast<unsigned>(1 + taps % 9);
    const std::size_t n = random() % 14, stride = (taps + 7) / 8 * 8;
    const std::size_t plane = taps + 40, length = plane * channels;
    Samples table(6 * stride);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = i % stride < taps ? digit() : 0.0f;
    const std::unique_ptr<float[]> x(new float[length + umlauf::vekta::kReadBehind]);
    std::generate_n(x.get(), length, digit);
    std::fill_n(x.get() + length, umlauf::vekta::kReadBehind, NAN);  // read, without effect
    std::vector<std::int32_t> in(n);
    std::vector<std::uint32_t> row(n);
    std::generate(in.begin(), in.end(), [&] { return static_cast<std::int32_t>(random() % 41) - 7; });
    std::generate(row.begin(), row.end(), [&] { return static_cast<std::uint32_t>(random() % 5 * stride); });
    if (n > 0) in[n - 1] = 33;  // up to the last sample
    const std::vector<float> mix(n, 0.25f);
    const std::size_t outStride = channels + taps % 2;
    const umlauf::vekta::TapPlanes planes{x.get() + 7, plane, channels};
    for (const auto kind : {umlauf::vekta::TapMix::None, umlauf::vekta::TapMix::Linear}) {
      const float next = kind == umlauf::vekta::TapMix::None ? 0.0f : 0.25f;
      Samples out(n * outStride + 1, 77.0f), expected = out;
      umlauf::vekta::PlacedDotProducts(out.data(), outStride, {in.data(), row.data(), mix.data()}, n, planes,
                                       {table.data(), stride, taps, kind}, 0.5f);
      for (std::size_t j = 0; j < n * channels; ++j) {
        float sum = 0.0f;
        for (std::size_t i = 0; i < taps; ++i) {
          const float* const tap = table.data() + row[j / channels] + i;
          sum += planes.x[static_cast<std::ptrdiff_t>(j % channels * plane + i) + in[j / channels]] *
                 ((1.0f - next) * tap[0] + next * tap[stride]);
        }
        expected[j / channels * outStride + j % channels] = 0.5f * sum;
      }
      ASSERT_EQ(out, expected) << taps << " taps, " << channels << " channels, " << n;
    }
  }
}

TEST_P(QVLFilters, PlacesOfOutputsDoNotDrift) {
  std::mt19937_64 random(19);
  for (int k = 0; k < 200; ++k) {
    const umlauf::vekta::TapGrid grid{random(), k % 3 == 0 ? 0 : random() % 50, k % 5 == 0 ? 1u : random(),
                                      static_cast<std::uint32_t>(1 + random() % 4096), 24};
    const std::size_t n = random() % 130;
    std::vector<std::int32_t> in(n);
    std::vector<std::uint32_t> row(n);
    Samples mix(n);
    umlauf::vekta::PlaceTaps(grid, -5, n, in.data(), row.data(), mix.data());
    std::uint64_t part = grid.part;
    std::int64_t whole = -5;
    for (std::size_t j = 0; j < n; ++j) {
      const std::uint64_t phase = (part >> 32) * grid.phases;  // 32 fractional bits
      ASSERT_EQ(in[j], whole) << j;
      ASSERT_EQ(row[j], (phase >> 32) * grid.rowLength) << j;
      ASSERT_EQ(mix[j], static_cast<float>(phase << 32 >> 40) / 16777216.0f) << j;
      part += grid.stepPart;
      whole += static_cast<std::int64_t>(grid.stepWhole) + (part < grid.stepPart ? 1 : 0);
    }
  }
}

TEST_P(QVLFilters, CycledDotProductsOfAnyShape) {
  std::mt19937 random(13);
  const auto digit = [&] { return static_cast<float>(static_cast<int>(random() % 17) - 8); };
  for (int i = 0; i < 300; ++i) {
    const std::size_t period = 1 + random() % 16, distance = period + random() % (33 - period);
    const std::size_t taps = 1 + random() % (i % 10 == 0 ? 256 : 90), stride = (taps + 15) / 16 * 16;
    const std::size_t n = random() % (i % 3 == 0 ? 3000 : 40);
    const auto channels = static_cast<unsigned>(1 + random() % 3);
    Samples table(3 * stride);
    std::generate(table.begin(), table.end(), digit);
    std::vector<umlauf::vekta::TapWindow> windows(period);
    for (std::size_t b = 0; b < period; ++b) {
      const auto row = static_cast<std::uint32_t>(random() % 3);
      windows[b] = {static_cast<std::ptrdiff_t>(b * distance / period), row, 0.0f};
    }
    const auto first = [&](std::size_t j) {
      return static_cast<std::size_t>(windows[j % period].in) + j / period * distance;
    };
    const std::size_t plane = n == 0 ? 0 : first(n - 1) + taps;
    const std::unique_ptr<float[]> x(new float[plane * channels]);  // a sanitizer sees every step beyond
    std::generate_n(x.get(), plane * channels, digit);
    const std::size_t outStride = channels + random() % 2;
    Samples out(n * outStride + 1, 77.0f), expected = out, part(outStride * n + 1);
    const umlauf::vekta::TapPlanes planes{x.get(), plane, channels};
    const umlauf::vekta::TapRows rows{table.data(), stride, taps};
    const umlauf::vekta::TapCycle cycle{windows.data(), period, distance};
    umlauf::vekta::CycledDotProducts(out.data(), outStride, cycle, n, planes, rows, 0.5f);
    for (std::size_t j = 0; j < n; ++j) {
      for (unsigned c = 0; c < channels; ++c) {
        const float *from = x.get() + c * plane + first(j),
                    *row = table.data() + windows[j % period].row * stride;
        expected[j * outStride + c] = 0.5f * std::inner_product(from, from + taps, row, 0.0f);
      }
    }
    ASSERT_EQ(out, expected) << period << " " << distance << " " << taps << " " << n;
    // With numbers that round, few outputs at once are those of many.
    for (std::size_t k = 0; k < plane * channels; ++k) x[k] *= 0.1234567f;
    umlauf::vekta::CycledDotProducts(out.data(), outStride, cycle, n, planes, rows, 0.3f);
    const std::size_t some = std::min<std::size_t>(n, random() % (4 * period + 1));
    umlauf::vekta::CycledDotProducts(part.data(), outStride, cycle, some, planes, rows, 0.3f);
    for (std::size_t j = 0; j < some; ++j) ASSERT_EQ(part[j * outStride], out[j * outStride]) << j;
  }
}

TEST_P(QVLFilters, RangesOfFrames) {
  std::mt19937 random(12);
  for (std::size_t channels = 1; channels <= 40; ++channels) {
    for (const std::size_t n : {0u, 1u, 7u, 64u, 301u}) {
      const std::unique_ptr<float[]> x(new float[n * channels]);
      Samples min(channels, 0.5f), max(channels, -0.5f), low = min, high = max;
      for (std::size_t i = 0; i < n * channels; ++i) {
        x[i] = random() % 4 == 0 ? std::nanf("") : static_cast<float>(random() % 2000) / 1000.0f - 1.0f;
        if (x[i] < low[i % channels]) low[i % channels] = x[i];
        if (x[i] > high[i % channels]) high[i % channels] = x[i];
      }
      QVL::ExtendFrameMinMax(x.get(), n, channels, min.data(), max.data());
      ASSERT_EQ(min, low) << channels << " " << n;
      ASSERT_EQ(max, high) << channels << " " << n;
    }
  }
}

TEST_P(QVLFilters, Resamling) {
  const Samples in{0, 9, 2, 9, 4, 9, 6, 9, 8, 9, 10};
  const Cases<std::size_t, std::size_t, int, Samples> cases = {
      {6, 2, 5, {2, 10, 18}},      // means of two
      {5, 2, 5, {0, 6, 14}},       // runs of one, two and two: 0 | 2 4 | 6 8
      {3, 2, 5, {0, 2, 4, 6, 8}},  // lines between the ends
      {1, 1, 5, {0, 0, 0}},       {3, 4, 5, {0, 8, 16}}, {0, 2, 5, {77, 77}}, {6, 2, 4, {77, 77}}};
  for (const auto& [nIn, stride, mode, expectedOut] : cases) {
    Samples out(expectedOut.size(), 77.0f);
    QVL::Resamling(out.data(), out.size(), in.data(), nIn, stride, 2.0f, mode);
    EXPECT_EQ(out, expectedOut) << nIn;
  }
}

}  // namespace
