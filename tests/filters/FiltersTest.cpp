#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "support/Reference.h"
#include "umlauf/filters/Butterworth.h"
#include "umlauf/filters/SosFilter.h"
#include "umlauf/filters/ZeroPhase.h"
#include "umlauf/filters/ZeroPhaseStream.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

double Warped(double f) { return std::tan(std::numbers::pi * f); }

/// 10 lg |H|² by the closed form.
double Expected(double ratio, unsigned order) {
  return -10.0 * std::log10(1.0 + std::pow(ratio * ratio, order));
}

TEST(Butterworth, ResponsesFollowTheClosedForm) {
  for (const unsigned order : {1u, 2u, 3u, 4u, 5u, 8u, 16u}) {
    // The lower edge in parts of the sample rate, down to 0.0001; the upper one above it.
    for (const double lower : {0.0001, 0.003, 0.1, 0.4}) {
      const double upper = std::min(lower * 1.7, 0.49);
      const double l = Warped(lower), u = Warped(upper), m2 = l * u;
      const struct {
        const char* kind;
        SosSections sections;
        std::size_t count;
        std::function<double(double)> ratio;
      } cases[] = {{"low pass", Butterworth::LowPass(order, lower, 1.0), (order + 1) / 2,
                    [=](double w) { return w / l; }},
                   {"high pass", Butterworth::HighPass(order, lower * 48000, 48000), (order + 1) / 2,
                    [=](double w) { return l / w; }},
                   {"band pass", Butterworth::BandPass(order, lower, upper, 1.0), order,
                    [=](double w) { return (w * w - m2) / (w * (u - l)); }},
                   {"band stop", Butterworth::BandStop(order, lower, upper, 1.0), order,
                    [=](double w) { return w * (u - l) / (w * w - m2); }}};
      for (const auto& c : cases) {
        ASSERT_EQ(c.sections.Count(), c.count);
        EXPECT_TRUE(c.sections.IsStable()) << c.kind << order << " at " << lower;
        for (const double f : {lower * 0.3, lower * 0.8, lower, (lower + upper) / 2, upper, 0.2, 0.47}) {
          const double gain = Expected(c.ratio(Warped(f)), order);
          if (gain < -140.0) {
            EXPECT_LT(c.sections.Gain(f), -120.0) << c.kind << order << " of " << lower << " at " << f;
          } else {
            EXPECT_NEAR(c.sections.Gain(f), gain, 1e-3) << c.kind << order << " of " << lower << " at " << f;
          }
        }
      }
    }
  }
}

TEST(Butterworth, ImpossibleFiltersHaveNoSections) {
  EXPECT_EQ(Butterworth::LowPass(0, 10, 100).Count(), 0u);
  EXPECT_EQ(Butterworth::LowPass(17, 10, 100).Count(), 0u);
  for (const double edge : {0.0, -1.0, 50.0, 60.0, std::nan("")}) {
    EXPECT_EQ(Butterworth::LowPass(2, edge, 100).Count() + Butterworth::HighPass(2, edge, 100).Count() +
                  Butterworth::BandPass(2, 10, edge, 100).Count() +
                  Butterworth::BandStop(2, edge, 40, 100).Count(),
              0u)
        << edge;
  }
  EXPECT_EQ(Butterworth::BandPass(2, 30, 20, 100).Count(), 0u);
}

const struct {
  const char* kind;
  SosSections sections;
} kReferences[] = {{"lowpass", Butterworth::LowPass(4, 0.05, kReferenceRate)},
                   {"highpass", Butterworth::HighPass(4, 100, kReferenceRate)},
                   {"bandpass", Butterworth::BandPass(4, 50, 150, kReferenceRate)},
                   {"bandstop", Butterworth::BandStop(4, 50, 150, kReferenceRate)}};

std::vector<float> EveryTenth(const std::vector<float>& x) {
  std::vector<float> some;
  for (std::size_t i = 0; i < x.size(); i += 10) some.push_back(x[i]);
  return some;
}

TEST(SosFilter, AgreesWithTheReferenceForwardAndWithoutPhase) {
  for (const auto& c : kReferences) {
    std::vector<float> out(3000);
    CSosFilter filter(c.sections);
    filter.Process(out.data(), ReferenceX().data(), out.size());
    ExpectNear(EveryTenth(out).data(), 300, Reference(std::string("sosfilt_") + c.kind), c.kind);
    out = ReferenceX();
    ASSERT_TRUE(ZeroPhase::Filter(c.sections, out.data(), out.size()));
    ExpectNear(EveryTenth(out).data(), 300, Reference(std::string("sosfiltfilt_") + c.kind), c.kind);
  }
  std::vector<float> out = ReferenceX();
  ASSERT_TRUE(ZeroPhase::Filter(Butterworth::LowPass(5, 40, kReferenceRate), out.data(), out.size()));
  ExpectNear(EveryTenth(out).data(), 300, Reference("sosfiltfilt_odd"), "of odd order");
}

TEST(SosFilter, BlocksOfAnySizeGiveTheSameOutputAndInPlace) {
  std::mt19937 random(1);
  for (const unsigned order : {0u, 1u, 3u, 4u, 6u, 9u, 16u}) {
    const SosSections sections = Butterworth::BandPass(order, 50, 90, kReferenceRate);
    const std::vector<float> x = ReferenceX();
    std::vector<float> whole(x.size()), parts = x;
    CSosFilter filter(sections);
    filter.Process(whole.data(), x.data(), x.size());
    CSosFilter block(sections);
    for (std::size_t at = 0; at < x.size();) {
      const std::size_t count =
          std::min<std::size_t>(x.size() - at, random() % (random() % 3 == 0 ? 700 : 5));
      block.Process(parts.data() + at, parts.data() + at, count);
      at += count;
    }
    EXPECT_EQ(parts, whole) << order;
    filter.Restart();
    parts = x;
    filter.Process(parts.data(), parts.data(), parts.size());
    EXPECT_EQ(parts, whole) << "restarted " << order;
    EXPECT_EQ(whole == x, order == 0);  // without sections all passes
  }
}

TEST(SosFilter, IsLinearSettlesAndFadesToNothing) {
  CSosFilter filter(Butterworth::LowPass(4, 0.0001, 1.0));
  filter.Settle(2.5);
  std::vector<float> x(100000, 2.5f);
  filter.Process(x.data(), x.data(), x.size());
  EXPECT_NEAR(x.back(), 2.5f, 1e-5f);  // nothing drifts at a low edge
  filter = CSosFilter(Butterworth::HighPass(3, 0.2, 1.0));
  x = {1.0f};
  x.resize(20000);
  filter.Process(x.data(), x.data(), x.size());
  EXPECT_EQ(x.back(), 0.0f);
  std::vector<float> a = ReferenceX(), b = ReferenceY(), sum(a.size());
  for (std::size_t i = 0; i < sum.size(); ++i) sum[i] = 2.0f * a[i] - b[i];
  for (auto* signal : {&a, &b, &sum}) {
    filter.Restart();
    filter.Process(signal->data(), signal->data(), signal->size());
  }
  for (std::size_t i = 0; i < sum.size(); ++i) ASSERT_NEAR(sum[i], 2.0f * a[i] - b[i], 1e-5f);
}

TEST(ZeroPhase, KeepsThePlaceOfAPulseAndTakesShortSignals) {
  const SosSections sections = Butterworth::LowPass(4, 0.05, 1.0);
  CSigCurveExt curve(401);
  curve.FData()[150] = 1.0f;
  curve.FData()[399] = 7.0f;
  curve.SetVIMinMax(0, 300);
  ASSERT_TRUE(ZeroPhase::Filter(sections, curve));
  for (std::int64_t i = 1; i < 60; ++i)
    EXPECT_NEAR(curve.FData()[150 - i], curve.FData()[150 + i], 1e-6f) << i;
  EXPECT_EQ(curve.FData()[399], 7.0f);  // behind the valid span
  for (std::size_t n = 0; n < 40; ++n) {
    std::vector<float> constant(n, 3.0f);
    ASSERT_TRUE(ZeroPhase::Filter(sections, constant.data(), n));
    for (const float v : constant) EXPECT_NEAR(v, 3.0f, 1e-5f) << n;
  }
}

TEST(ZeroPhaseStream, GivesWhatTheWholeSignalGives) {
  std::mt19937 random(4);
  std::normal_distribution<float> digits;
  std::vector<float> x(60000);
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = digits(random) + 1e-4f * static_cast<float>(i);
  const SosSections filters[] = {SosSections(), Butterworth::LowPass(1, 0.2, 1),
                                 Butterworth::LowPass(4, 0.001, 1), Butterworth::HighPass(3, 0.0005, 1),
                                 Butterworth::BandPass(2, 0.1, 0.101, 1)};
  for (const SosSections& sections : filters) {
    CZeroPhaseStream stream(sections);
    ASSERT_TRUE(stream.IsValid());
    for (const std::size_t n : {std::size_t{0}, std::size_t{1}, std::size_t{14}, std::size_t{16},
                                std::size_t{40}, std::size_t{4097}, x.size()}) {
      std::vector<float> whole(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(n)), parts, out;
      ASSERT_TRUE(ZeroPhase::Filter(sections, whole.data(), n));
      for (std::size_t at = 0; at < n;) {
        const std::size_t count = std::min<std::size_t>(n - at, random() % (random() % 3 == 0 ? 9000 : 20));
        out.assign(stream.MaxOutput(count), NAN);
        out.resize(stream.Process(out.data(), x.data() + at, count));
        parts.insert(parts.end(), out.begin(), out.end());
        at += count;
      }
      out.assign(stream.MaxFlush(), NAN);
      out.resize(stream.Flush(out.data()));
      parts.insert(parts.end(), out.begin(), out.end());
      ASSERT_EQ(parts.size(), n);
      for (std::size_t i = 0; i < n; ++i) ASSERT_NEAR(parts[i], whole[i], 1e-6) << i << " of " << n;
    }
  }
}

TEST(ZeroPhaseStream, RefusesWhatNeverFades) {
  EXPECT_FALSE(CZeroPhaseStream(Butterworth::LowPass(4, 1e-8, 1)).IsValid());
  const SosSection unstable{1, 0, 0, -1.5, 0.5};
  CZeroPhaseStream stream(SosSections({&unstable, 1}));
  float sample = 1.0f;
  EXPECT_EQ(stream.Process(&sample, &sample, 1) + stream.Flush(&sample), 0u);
}

}  // namespace
