#include "umlauf/orders/AngleResampler.h"

#include <gtest/gtest.h>

#include <random>

#include "orders/OrderSupport.h"
#include "umlauf/orders/TimeResampler.h"

namespace {

/// Greatest deviation of frames from a signal over the angle, the ends left out.
double Deviation(const OverAngle& over, double steps, double margin,
                 const std::function<double(double angle)>& signal) {
  double worst = 0;
  const double last = static_cast<double>(over.places.back().count) / steps - margin;
  for (std::size_t i = 0; i < over.frames.size(); ++i) {
    const double angle = static_cast<double>(over.places[i].count) / steps;
    if (angle < margin || angle > last) continue;
    worst = std::max(worst, std::abs(static_cast<double>(over.frames[i]) - signal(angle)));
  }
  return worst;
}

TEST(AngleResampler, PassesOrdersFlatAndStopsThoseAboveTheBand) {
  const double rate = 40000, seconds = 4;
  const struct {
    double maxOrder, steps, start, rise;
  } cases[] = {
      {60, 160, 10, 16.7}, {60, 120, 50, -10}, {25, 64, 90, -16.7}, {100, 256, 5, 1}, {10, 25.6, 20, 16.7}};
  for (const auto& c : cases) {
    const RunUp shaft{c.start, c.rise};
    const CShaftAngle angle(shaft.Pulses(rate, seconds, 60), 60);
    const AngleGrid grid{c.maxOrder, c.steps, 60};
    // Flat to 0.01 dB (0.00115) up to 0.8 of the highest order, and to where it says.
    for (const double order : {0.0, 1.0, 0.31 * c.maxOrder, 0.8 * c.maxOrder, grid.FlatTo()}) {
      CAngleResampler resampler(grid, 1, rate);
      const OverAngle over = Resampled(
          resampler, angle, Sampled(rate, seconds, [&](double t) { return Cosine(order * shaft.Angle(t)); }));
      ASSERT_GT(over.frames.size(), 1000u);
      EXPECT_LT(Deviation(over, c.steps, 3, [&](double a) { return Cosine(order * a); }), 1.15e-3)
          << order << " of " << c.maxOrder;
    }
    // Down by 80 dB where it would come back below the highest order, also at the ends of the filters.
    for (const double beyond : {1.0, 1.03, 1.2, 1.7}) {
      const double order = beyond * (c.steps - c.maxOrder);
      if (order * std::max(shaft.Speed(0), shaft.Speed(seconds)) > 0.5 * rate) continue;
      CAngleResampler resampler(grid, 1, rate);
      const OverAngle over = Resampled(
          resampler, angle, Sampled(rate, seconds, [&](double t) { return Cosine(order * shaft.Angle(t)); }));
      EXPECT_LT(Deviation(over, c.steps, 3, [](double) { return 0; }), 1e-4) << order << " of " << c.maxOrder;
    }
  }
}

TEST(AngleResampler, BlocksAndChannelsDoNotMatter) {
  const double rate = 8000;
  const unsigned channels = 7;
  std::mt19937 random(5);
  std::uniform_real_distribution<float> noise(-1, 1);
  std::vector<float> samples(20000 * channels);
  for (float& each : samples) each = noise(random);
  const CShaftAngle angle(RunUp{3, 4}.Pulses(rate, 2.4, 12), 12);
  const AngleGrid grid{20, 64, 60};
  CAngleResampler together(grid, channels, rate);
  const OverAngle all = Resampled(together, angle, samples, channels);
  together.Restart();
  const OverAngle again = Resampled(together, angle, samples, channels, [&] { return 1 + random() % 3000; });
  EXPECT_EQ(all.frames, again.frames);
  ASSERT_EQ(all.frames.size(), all.places.size() * channels);
  for (const unsigned c : {0u, 3u, 6u}) {
    std::vector<float> alone, expected;
    for (std::size_t i = c; i < samples.size(); i += channels) alone.push_back(samples[i]);
    for (std::size_t i = c; i < all.frames.size(); i += channels) expected.push_back(all.frames[i]);
    CAngleResampler single(grid, 1, rate);
    const OverAngle one = Resampled(single, angle, alone);
    ASSERT_EQ(one.frames.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_NEAR(one.frames[i], expected[i], 2e-6);
  }
}

TEST(AngleResampler, PulsesMayComeInBlocksAndOnAClockOfTheirOwn) {
  // Pulses at 20 kHz that begin half a second before the samples, at 8 kHz; the shaft goes the other way.
  const double rate = 8000;
  const RunUp shaft{8, 3};
  CPulseTrain pulses(20000);
  const CPulseTrain forward = shaft.Pulses(20000, 4, 10);
  for (std::size_t i = 0; i < forward.size(); ++i) {
    CPulseTrain::Pulse pulse = forward[i];
    pulse.pitches = -1;
    pulses.Append(pulse);
  }
  const auto samples = Sampled(rate, 3, [&](double t) { return Cosine(3.25 * shaft.Angle(t + 0.5) + 0.1); });
  const SampleClock clock = SampleClock::Between(rate, 0.5, 20000, 0);
  const AngleGrid grid{10, 32, 60};
  CAngleResampler whole(grid, 1, rate, clock);
  const OverAngle all = Resampled(whole, CShaftAngle(pulses, 10), samples);
  EXPECT_LT(all.places.back().count, -500);
  EXPECT_LT(Deviation({{all.frames.begin() + 64, all.frames.end() - 64},
                       {all.places.begin() + 64, all.places.end() - 64}},
                      32, -1e9, [](double a) { return Cosine(-3.25 * a + 0.1); }),
            1e-3);
  // Seven pulses at a time, of which those behind the last place are forgotten.
  CAngleResampler parts(grid, 1, rate, clock);
  std::vector<float> frames(4000);
  std::size_t put = 0, got = 0;
  CPulseTrain window(20000);
  double origin = 0;
  for (std::size_t i = 0; i < pulses.size(); i += 7) {
    window.Append(pulses, i, 7);
    if (window.size() > 40) {
      for (std::size_t j = 0; j < 7; ++j) origin += window[j].pitches / 10;
      window.RemoveFirst(7);
    }
    const auto until = static_cast<std::size_t>(std::max(0.0, clock.Position(window.Edges().back()) + 500));
    put += parts.Put(samples.data() + put, std::min(until, samples.size()) - put, 1);
    got += parts.Get(CShaftAngle(window, 10, origin), frames.data() + got, 200, nullptr,
                     window.Edges()[window.size() - 1]);
  }
  ASSERT_GT(got, 400u);
  for (std::size_t i = 0; i < got; ++i) EXPECT_NEAR(frames[i], all.frames[i], 2e-3) << i;
}

TEST(AngleResampler, ToAngleAndBackIsTheSignal) {
  const double rate = 10000, seconds = 5;
  const RunUp shaft{60, -8};
  std::mt19937 random(6);
  std::uniform_real_distribution<double> phase(0, 1);
  std::vector<std::pair<double, double>> tones;  // up to order 32 at the lowest speed
  for (double f = 10; f < 640; f += 35) tones.emplace_back(f, phase(random));
  const auto samples = Sampled(rate, seconds, [&](double t) {
    double sum = 0;
    for (const auto& [f, p] : tones) sum += 0.1 * Cosine(f * t + p);
    return sum;
  });
  const CShaftAngle angle(shaft.Pulses(rate, seconds, 60), 60);
  const AngleGrid grid{40, 102.4, 60};
  CAngleResampler to(grid, 1, rate);
  const OverAngle over = Resampled(to, angle, samples);
  CTimeResampler back(grid, 1, rate);
  back.Start(over.places.front());
  const std::int64_t first = back.Next();
  std::vector<float> again(samples.size());
  std::size_t got = 0;
  for (std::size_t put = 0; put < over.frames.size();) {
    put += back.Put(over.frames.data() + put, over.frames.size() - put);
    while (const std::size_t n = back.Get(angle, again.data() + got, 1000)) got += n;
  }
  back.Finish();
  while (const std::size_t n = back.Get(angle, again.data() + got, 1000)) got += n;
  ASSERT_GT(got, samples.size() - 200);
  for (std::size_t i = 500; i + 500 < got; ++i) {
    ASSERT_NEAR(again[i], samples[i + static_cast<std::size_t>(first)], 2e-3) << i;
  }
}

TEST(AngleResampler, WhatCannotBeIsNotValid) {
  const double nan = std::nan("");
  for (const AngleGrid& grid : {AngleGrid{60, 100, 60}, AngleGrid{0, 100, 60}, AngleGrid{nan, 100, 60},
                                AngleGrid{60, nan, 60}, AngleGrid{60, 160, 0}, AngleGrid{60, 2e6, 1},
                                AngleGrid::ForSpectra(60, 0), AngleGrid::ForSpectra(60, 1e-12)}) {
    EXPECT_FALSE(CAngleResampler(grid, 1, 1000).IsValid());
    EXPECT_FALSE(CTimeResampler(grid, 1, 1000).IsValid());
  }
  const AngleGrid good{10, 25.6, 60};
  EXPECT_FALSE(CAngleResampler(good, 0, 1000).IsValid());
  EXPECT_FALSE(CAngleResampler(good, 65, 1000).IsValid());
  EXPECT_FALSE(CAngleResampler(good, 1, nan).IsValid());
  EXPECT_FALSE(CAngleResampler(good, 1, 1000, {0, 0}).IsValid());
  CAngleResampler resampler(good, 1, 1000);
  float frame = 0;
  EXPECT_EQ(resampler.Get(CShaftAngle(CPulseTrain(), 1), &frame, 1), 0u);
}

TEST(AngleResampler, SamplesWithoutAnAngleDoNotStopIt) {
  // Revolutions in the first and last second; a standstill between, then samples without end.
  CPulseTrain pulses(1000);
  CPulseTrain::Pulse pulse;
  for (const double end : {200.0, 400.0, 600.0, 800.0, 60000.0, 60200.0, 60400.0}) {
    pulse.begin = pulse.end;
    pulse.end = end;
    pulses.Append(pulse);
  }
  const CShaftAngle angle(pulses, 1);
  CAngleResampler resampler({4, 10.24, 60}, 1, 1000);
  const OverAngle over = Resampled(resampler, angle, std::vector<float>(200000, 2.0f));
  EXPECT_EQ(over.frames.size(), 71u);
  for (const float each : over.frames) EXPECT_NEAR(each, 2, 1e-5);
}

}  // namespace
