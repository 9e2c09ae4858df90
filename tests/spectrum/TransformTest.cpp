#include <gtest/gtest.h>

#include <complex>
#include <random>
#include <thread>

#include "support/Reference.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrumWindow.h"

namespace {

using Complex = std::complex<double>;

void FillRandom(CRealTransform& t, std::mt19937& random) {
  std::normal_distribution<float> digits;
  std::generate_n(t.Samples(), t.Size(), [&] { return digits(random); });
}

TEST(RealTransform, AgreesWithTheDefinitionAndComesBack) {
  std::mt19937 random(5);
  for (const std::size_t n : {1u,  2u,  3u,  4u,   5u,   7u,   8u,   12u,  15u,   30u,
                              31u, 64u, 77u, 128u, 225u, 250u, 256u, 520u, 1000u, 2048u}) {
    CRealTransform t(n, true);
    ASSERT_TRUE(t.IsValid());
    FillRandom(t, random);
    const std::vector<float> samples(t.Samples(), t.Samples() + n);
    t.Forward();
    double energy = 0.0;
    for (const float s : samples) energy += double{s} * double{s};
    double parseval = 0.0;
    for (std::size_t k = 0; k < t.Bins(); ++k) {
      Complex sum = 0.0;
      for (std::size_t i = 0; i < n; ++i) {
        const double turn = static_cast<double>(k * i % n) / static_cast<double>(n);
        sum += double{samples[i]} * std::polar(1.0, -2 * std::numbers::pi * turn);
      }
      ASSERT_LT(std::abs(Complex(t.Spectrum()[k]) - sum), 1e-6 * std::sqrt(energy * static_cast<double>(n)))
          << k << " of " << n;
      parseval += std::norm(Complex(t.Spectrum()[k])) * (k == 0 || 2 * k == n ? 1.0 : 2.0);
    }
    EXPECT_NEAR(parseval / static_cast<double>(n), energy, 1e-5 * energy) << n;
    t.Inverse();
    for (std::size_t i = 0; i < n; ++i) ASSERT_NEAR(t.Samples()[i], samples[i], 1e-5f) << n;
  }
}

TEST(RealTransform, SizesThatCannotBeHadAreInvalid) {
  EXPECT_FALSE(CRealTransform().IsValid());
  EXPECT_FALSE(CRealTransform(0).IsValid());
  EXPECT_FALSE(CRealTransform(CRealTransform::kMaxSize + 1).IsValid());
  CRealTransform forwardOnly(8);
  forwardOnly.Samples()[3] = 5.0f;
  forwardOnly.Inverse();
  EXPECT_EQ(forwardOnly.Samples()[3], 5.0f);
}

TEST(RealTransform, FastSizesAreTheNextEvenProductsOf2And3And5) {
  std::vector<std::size_t> fast;
  for (std::size_t n = 2; n <= 1200; n += 2) {
    std::size_t rest = n;
    for (const std::size_t prime : {2u, 3u, 5u}) {
      while (rest % prime == 0) rest /= prime;
    }
    if (rest == 1) fast.push_back(n);
  }
  for (std::size_t n = 0; n <= 1000; ++n) {
    ASSERT_EQ(CRealTransform::FastSize(n), *std::lower_bound(fast.begin(), fast.end(), n)) << n;
  }
  EXPECT_EQ(CRealTransform::FastSize(SIZE_MAX), CRealTransform::kMaxSize);
}

TEST(RealTransform, ObjectsOfOneSizeWorkOnSeveralThreads) {
  std::vector<std::jthread> threads;
  std::vector<float> results(4);
  for (std::size_t thread = 0; thread < results.size(); ++thread) {
    threads.emplace_back([&results, thread] {
      for (int round = 0; round < 50; ++round) {
        CRealTransform t(512);
        std::fill_n(t.Samples(), 512, static_cast<float>(thread + 1));
        t.Forward();
        results[thread] = t.Spectrum()[0].real();
      }
    });
  }
  threads.clear();
  for (std::size_t thread = 0; thread < results.size(); ++thread) {
    EXPECT_FLOAT_EQ(results[thread], 512.0f * static_cast<float>(thread + 1));
  }
}

TEST(SpectrumWindow, ShapesAndFactors) {
  const struct {
    WindowShape shape;
    const char* name;
    double amplitude, bandwidth;  // of long windows, from Harris (1978), table 1
    double tolerance;
  } cases[] = {{WindowShape::Rectangle, "boxcar", 1.0, 1.0, 1e-9},
               {WindowShape::Hann, "hann", 0.5, 1.5, 1e-9},
               {WindowShape::Hamming, "hamming", 0.54, 1.36, 0.005},
               {WindowShape::Blackman, "blackman", 0.42, 1.73, 0.005},
               {WindowShape::FlatTop, "flattop", 0.2156, 3.77, 0.005},
               {WindowShape::Kaiser, "kaiser", 0.42, 1.73, 0.01}};
  for (const auto& c : cases) {
    const CSpectrumWindow window(c.shape, 24);
    ExpectNear(window.Samples(), 24, Reference(std::string("window_") + c.name), c.name, 1e-7);
    const CSpectrumWindow longer(c.shape, 4096);
    EXPECT_NEAR(longer.AmplitudeFactor(), c.amplitude, c.tolerance) << c.name;
    EXPECT_NEAR(longer.NoiseBandwidth(), c.bandwidth, c.tolerance) << c.name;
  }
  for (const double beta : {0.0, -3.0, std::nan(""), 1e9}) {
    EXPECT_EQ(CSpectrumWindow(WindowShape::Kaiser, 8, beta).Samples()[4], 1.0f) << beta;
  }
}

}  // namespace
