#include "umlauf/rate/DownsamplingStream.h"

#include "rate/RateTestSupport.h"
#include "support/Test.h"

namespace {

using Reduction = CDownsamplingStream::Reduction;
constexpr Reduction kAll[] = {Reduction::Filter, Reduction::Linear, Reduction::Mean,       Reduction::Max,
                              Reduction::MinMax, Reduction::Sum,    Reduction::SteepFilter};
constexpr double kRatios[] = {1.0,  1.0884353741496597, 2.5,    2.7182818284590452, 10.0,
                              64.3, 1000.0 / 3.0,       2500.25};

/// The outputs of a signal in blocks; every one of them fits in what the stream promised.
Samples Convert(CDownsamplingStream& stream, const Samples& in, unsigned channels,
                const std::vector<std::size_t>& blocks) {
  Samples all;
  const auto keep = [&](std::uint64_t promised, auto write) {
    Samples out(promised * channels + 1, 77.0f);
    const std::uint64_t written = write(out.data());
    EXPECT_ALL(written <= promised, out.back() == 77.0f);
    all.insert(all.end(), out.begin(), out.begin() + static_cast<std::ptrdiff_t>(written * channels));
  };
  const float* at = in.data();
  for (const std::size_t n : blocks) {
    keep(stream.MaxOutput(n), [&](float* out) { return stream.Process(out, at, n); });
    at += n * channels;
  }
  keep(stream.MaxFlush(), [&](float* out) { return stream.Flush(out); });
  return all;
}

TEST(DownsamplingStream, NeitherBlocksNorOtherChannelsMatter) {
  std::mt19937 random(21);
  const auto same = [](float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); };
  for (const Reduction reduction : kAll) {
    const bool sums = reduction == Reduction::Mean || reduction == Reduction::Sum;
    for (const double ratio : kRatios) {
      const auto channels = static_cast<unsigned>(random() % 6 == 0 ? 17 : 1 + random() % 9);
      const std::size_t n = 3000 + random() % 20000;
      Samples in = Noise(n * channels, 7), channel(n);
      if (reduction == Reduction::MinMax) {
        for (float& x : in) x = random() % 5 == 0 ? std::nanf("") : x;
      }
      CDownsamplingStream stream(ratio, reduction, channels, 0.5f);
      ASSERT_TRUE(stream.IsValid());
      const Samples whole = Convert(stream, in, channels, {n});
      const double frames =
          std::ceil(static_cast<double>(n) / ratio) * (reduction == Reduction::MinMax ? 2 : 1);
      ASSERT_EQ(static_cast<double>(whole.size()), frames * channels) << ratio;
      for (const std::size_t longest : {3u, 50u, 6000u}) {
        const Samples pieces = Convert(stream, in, channels, Split(n, longest, random));
        EXPECT_TRUE(std::equal(whole.begin(), whole.end(), pieces.begin(), pieces.end(), same))
            << ratio << " " << static_cast<int>(reduction) << " " << longest;
      }
      const std::size_t c = channels - 1;
      for (std::size_t i = 0; i < n; ++i) channel[i] = in[i * channels + c];
      CDownsamplingStream single(ratio, reduction, 1, 0.5f);
      const Samples alone = Convert(single, channel, 1, {n});
      for (std::size_t j = 0; j < alone.size(); ++j) {
        const float one = whole[j * channels + c];
        ASSERT_TRUE(same(one, alone[j]) || (sums && std::fabs(one - alone[j]) < 1e-5 * ratio)) << ratio;
      }
    }
  }
}

TEST(DownsamplingStream, QuotientsOfRatesGiveNoOutputTooMany) {
  const struct {
    double from, to;
  } rates[] = {{8000, 5333}, {48000, 44100}, {51200, 50001}, {30000, 29999}, {96000, 7919}};
  for (const Reduction reduction : kAll) {
    for (const auto& rate : rates) {
      const auto n = static_cast<std::size_t>(rate.from);  // one second
      const Samples in(n, 0.25f);
      CDownsamplingStream stream(rate.from / rate.to, reduction);
      const double due = rate.to * (reduction == Reduction::MinMax ? 2 : 1);
      EXPECT_EQ(static_cast<double>(Convert(stream, in, 1, {n}).size()), due)
          << rate.to << " " << static_cast<int>(reduction);
    }
  }
}

TEST(DownsamplingStreamFilter, SignalToNoiseAfterTenMillionSamples) {
  // At the given ratios, and at ratios that need mixed phases.
  const Cases<Reduction, double, double> cases = {{Reduction::Filter, 98.0, -0.52},
                                                  {Reduction::SteepFilter, 120.0, 0.0}};
  constexpr double ratios[] = {2.5, 10.0, 64.3, 2.7182818284590452, 63.661977236758134};
  for (std::size_t i = 0; i < 2 * std::size(ratios); ++i) {
    const auto& [reduction, noise, gain] = *(cases.begin() + static_cast<std::ptrdiff_t>(i % 2));
    const double ratio = ratios[i / 2], cycles = 0.35 / ratio;
    constexpr std::size_t n = 10'000'000;
    const Samples in = Sine(cycles, n);
    CDownsamplingStream stream(ratio, reduction);
    const Samples out = Convert(stream, in, 1, std::vector<std::size_t>(n / 10000, 10000));
    const std::size_t count = out.size(), settled = 60, length = 20000;
    const Tone start(out, 0.35, settled, settled + length),
        end(out, 0.35, count - settled - length, count - settled);
    for (const Tone& tone : {start, end}) {
      EXPECT_GT(tone.snr, noise) << ratio;
      EXPECT_NEAR(Decibels(tone.amplitude), gain, 0.01) << ratio;
      EXPECT_LT(Decibels(2 * std::numbers::pi * std::fabs(std::remainder(tone.phase, 1.0))), -95.0) << ratio;
    }
  }
}

TEST(DownsamplingStreamFilter, SpectrumInDecibels) {
  const struct {
    double frequency, lowest, highest;  // relative to the output's Nyquist frequency, dB
  } tones[] = {{0.0, -1e-5, 1e-5}, {0.1, -0.02, 0.02}, {0.5, -0.02, 0.02}, {0.64, -0.11, 0.01},
               {0.79, -3.2, -2.8}, {1.15, -999, -90},  {1.2, -999, -92},   {1.37, -999, -92},
               {1.93, -999, -92},  {2.43, -999, -92},  {7.1, -999, -92},   {31.7, -999, -92},
               {62.9, -999, -92}};
  for (const double ratio : {2.5, 10.0, 64.3, 2.7182818284590452, 63.661977236758134, 400.0}) {
    for (const auto& tone : tones) {
      if (tone.frequency > 0.99 * ratio) continue;
      const double level = LevelOf(ratio, tone.frequency, [&](auto* out, auto* in, auto n) {
        CDownsamplingStream(ratio).Process(out, in, n);
      });
      EXPECT_ALL(level >= tone.lowest, level <= tone.highest)
          << ratio << " " << tone.frequency << ": " << level << " dB";
    }
  }
}

TEST(DownsamplingStreamSteepFilter, SpectrumInDecibels) {
  const Cases<double, double, double> tones = {
      {0.0, -1e-4, 1e-4},   {0.1, -0.001, 0.005}, {0.57, -0.001, 0.005}, {0.89, -0.001, 0.005},
      {0.9, -0.002, 0.005}, {1.03, -20, -6.1},    {1.101, -999, -120},   {1.3, -999, -120},
      {2.03, -999, -120},   {2.95, -999, -120},   {3.1, -999, -120},     {3.85, -999, -120},
      {5.2, -999, -120},    {16.7, -999, -120},   {62.9, -999, -120}};
  for (const double ratio : {1.0, 160.0 / 147.0, 1.5, 2.0, 2.5, 2.7182818284590452, 10.0, 64.3, 1000.0}) {
    for (const auto& [frequency, lowest, highest] : tones) {
      if (frequency > 0.99 * ratio) continue;
      const double level = LevelOf(ratio, frequency, [&](auto* out, auto* in, auto n) {
        const auto more = static_cast<std::uint64_t>(2.0 * ratio);  // the delay is above 50 outputs
        CDownsamplingStream(ratio, Reduction::SteepFilter).Process(out, in, n + more);
      });
      EXPECT_ALL(level >= lowest, level <= highest) << ratio << " " << frequency << ": " << level << " dB";
    }
  }
}

TEST(DownsamplingStreamSteepFilter, BackwardIsTheSameFromTheOtherEnd) {
  // Linear phase, no delay, and no difference between what lies in front of a signal and what lies behind.
  for (const double ratio : {1.0, 1.25, 2.0, 2.5, 3.0, 12.8, 64.0, 1000.0}) {
    for (const double outputs : {0.0, 20.0, 160.0}) {
      Samples in = Noise(static_cast<std::size_t>(ratio * outputs) + 1, 5);
      CDownsamplingStream stream(ratio, Reduction::SteepFilter);
      Samples forward = Convert(stream, in, 1, {in.size()});
      std::reverse(in.begin(), in.end());
      const Samples backward = Convert(stream, in, 1, {in.size()});
      ASSERT_EQ(static_cast<double>(forward.size()), outputs + 1.0) << ratio;
      std::reverse(forward.begin(), forward.end());
      EXPECT_THAT(forward, testing::Pointwise(testing::FloatNear(2e-6f), backward))
          << ratio << " " << outputs;
    }
  }
}

TEST(DownsamplingStreamSteepFilter, AnyRatio) {
  for (const double ratio : {1.0000001, 65536.5, 1e9, 1e12, 0x1p40}) {
    CDownsamplingStream stream(ratio, Reduction::SteepFilter, 2, 3.0f);
    ASSERT_TRUE(stream.IsValid()) << ratio;
    EXPECT_ALL(stream.Delay() > 39 * ratio, stream.Delay() < 53 * ratio, stream.MaxFlush() < 56u);
    const Samples in(2 * 3000, 1.0f), out = Convert(stream, in, 2, {3000});
    EXPECT_EQ(static_cast<double>(out.size()), 2 * std::ceil(3000 / ratio)) << ratio;
    // A short part of a long kernel, whose centre is about 1 / ratio high.
    EXPECT_TRUE(ratio < 3000 || std::fabs(out[0] - 9000 / ratio) < 1500 / ratio) << ratio << " " << out[0];
  }
}

TEST(DownsamplingStreamFilter, OtherTables) {
  // A triangle as wide as two outputs: straight lines at ratio 1, the mean of neighbours' lines beyond.
  const float triangle[] = {0, 1, 2, 3, 4, 3, 2, 1, 0};
  const CDownsamplingInfo::coefs_t table{triangle, 9, 4.0f};
  CDownsamplingStream stream(1.0, Reduction::Filter, 1, 1.0f, &table);
  EXPECT_THAT(Convert(stream, {1, 5, 2, 8}, 1, {4}),
              testing::Pointwise(testing::FloatNear(1e-6f), {1, 5, 2, 8}));
  const float none[] = {1, -1};
  const CDownsamplingInfo::coefs_t sumless{none, 2, 4.0f}, empty{none, 0, 4.0f}, ratioless{triangle, 9, 0.0f};
  for (const auto* bad : {&sumless, &empty, &ratioless})
    EXPECT_FALSE(CDownsamplingStream(2.0, Reduction::Filter, 1, 1.0f, bad).IsValid());
}

TEST(DownsamplingStream, ReductionsHaveExactBorders) {
  for (const double ratio : {1.0, 1.25, 2.5, 4.0, 10.7, 1000.0 / 3.0, 2500.25}) {
    const std::size_t n = static_cast<std::size_t>(ratio * 20.3) + 1;
    const Samples in = Noise(n, 13);
    const auto reduced = [&](Reduction reduction) {
      CDownsamplingStream stream(ratio, reduction);
      return Convert(stream, in, 1, {n});
    };
    const Samples means = reduced(Reduction::Mean), sums = reduced(Reduction::Sum),
                  maxima = reduced(Reduction::Max), ranges = reduced(Reduction::MinMax);
    for (std::size_t j = 0; j < means.size(); ++j) {
      const double begin = static_cast<double>(j) * ratio,
                   end = std::min(begin + ratio, static_cast<double>(n));
      double sum = 0, low = 2, high = -2;
      for (std::size_t i = static_cast<std::size_t>(begin + 1e-6); static_cast<double>(i) < end - 1e-6; ++i) {
        const double x = static_cast<double>(in[i]), at = static_cast<double>(i);
        sum += x * (std::min(at + 1.0, end) - std::max(at, begin));
        low = std::min(low, x);
        high = std::max(high, x);
      }
      ASSERT_NEAR(means[j], sum / (end - begin), 1e-5) << ratio << " " << j;
      ASSERT_NEAR(sums[j], sum, 1e-5 * ratio) << ratio << " " << j;
      ASSERT_EQ(maxima[j], static_cast<float>(high)) << ratio << " " << j;
      ASSERT_EQ(ranges[2 * j], static_cast<float>(low)) << ratio << " " << j;
      ASSERT_EQ(ranges[2 * j + 1], static_cast<float>(high)) << ratio << " " << j;
    }
  }
}

TEST(DownsamplingStream, LinearHoldsTheEnd) {
  CDownsamplingStream stream(1.5, Reduction::Linear, 1, 10.0f);
  EXPECT_THAT(Convert(stream, {0, 1, 2, 3, 4}, 1, {5}), testing::ElementsAre(0, 15, 30, 40));
}

TEST(DownsamplingStream, StartsAfreshAndRefusesWhatItCannotUse) {
  for (const Reduction reduction : kAll) {
    CDownsamplingStream stream(3.3, reduction), none(2.0, reduction, 0);
    const Samples in = Noise(500, 1), expected = Convert(stream, in, 1, {500});
    Samples out(1000);
    EXPECT_EQ(stream.Flush(out.data()), 0u);
    stream.Process(out.data(), in.data() + 77, 123);
    stream.Restart();
    EXPECT_EQ(Convert(stream, in, 1, {500}), expected);
    for (const double bad : {0.5, 0.0, -2.0, 1e300, std::nan("")})
      EXPECT_FALSE(CDownsamplingStream(bad, reduction).IsValid()) << bad;
    EXPECT_ALL(!none.IsValid(),
               none.Process(out.data(), in.data(), 100) + none.Flush(out.data()) + none.MaxOutput(9) == 0u,
               CDownsamplingStream(1e6, reduction).IsValid() == (reduction != Reduction::Filter));
  }
}

}  // namespace
