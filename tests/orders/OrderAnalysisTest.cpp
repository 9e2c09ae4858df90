#include "umlauf/orders/OrderAnalysis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "orders/OrderSupport.h"
#include "umlauf/orders/ShaftTrains.h"
#include "umlauf/orders/TorsionalVibration.h"
#include "umlauf/recording/MemorySource.h"

namespace {

constexpr double kRate = 12800;
const RunUp kShaft{10, 6};

/// Two channels: orders 2 (peak 3) and 7.3 (peak 0.5), and a tone of 180 Hz (peak 1).
std::vector<float> TwoChannels(double seconds) {
  std::vector<float> frames;
  for (const float each :
       Sampled(kRate, seconds, [&](double t) { return 3 * Cosine(2 * kShaft.Angle(t)); })) {
    const double t = static_cast<double>(frames.size() / 2) / kRate;
    frames.push_back(each + static_cast<float>(0.5 * Cosine(7.3 * kShaft.Angle(t))));
    frames.push_back(static_cast<float>(Cosine(180 * t)));
  }
  return frames;
}

TEST(OrderAnalysis, MapsOverTimeRevolutionsAndSpeedTellTheSame) {
  const auto frames = TwoChannels(8);
  const CPulseTrain pulses = kShaft.Pulses(kRate, 8, 60);
  for (const MapAxis axis : {MapAxis{MapAxis::Kind::time, 0}, MapAxis{MapAxis::Kind::revolution, 20},
                             MapAxis{MapAxis::Kind::speed, 100}}) {
    CMemorySource recording(frames.data(), frames.size() / 2, 2, 2, kRate);
    COrderAnalysis::Settings settings;
    settings.map = {.maxOrder = 20, .resolution = 0.1, .overlap = 0.75, .axis = axis};
    settings.frequencies = CampbellSettings{.resolution = 10, .maxFrequency = 1000, .axis = axis};
    COrderAnalysis analysis(settings);
    ASSERT_TRUE(analysis.Analyse(recording, pulses, 60));
    EXPECT_EQ(analysis.Tracks(), nullptr);
    const MapScale peaks{.scaling = SpectrumScaling::Amplitude,
                         .reference = {},
                         .unit = CMeasuringUnit(CMeasuringUnit::gravity)};
    CSigCurveArray map;
    ASSERT_TRUE(analysis.Map()->Map(0, peaks, map));
    EXPECT_EQ(map.ArrayUnit(), axis.Unit());
    ASSERT_GT(map.Count(), 10u);
    for (const auto& row : map) {
      EXPECT_EQ(row->DLen(), 201u);
      EXPECT_NEAR(row->FData()[20], 3, 0.003);
      EXPECT_NEAR(row->FData()[73], 0.5, 0.002);
      EXPECT_LT(row->FData()[40], 0.005);
    }
    EXPECT_EQ(map[0].XUnit(), CMeasuringUnit::order);
    EXPECT_EQ(map[0].YUnit(), CMeasuringUnit::gravity);
    // The other channel has its line in the frequency map, at the same frequency in all rows.
    CSigCurveArray frequencies;
    ASSERT_TRUE(analysis.Frequencies()->Map(1, peaks, frequencies));
    for (const auto& row : frequencies) EXPECT_NEAR(row->GetValue(180), 1, 0.01);
    EXPECT_EQ(frequencies[0].XUnit(), CMeasuringUnit::hertz);

    // Scalings of one number: mean square 4.5 in order 2, overall with that of 7.3.
    CSigCurve spectrum;
    ASSERT_TRUE(analysis.Map()->Spectrum(0, {.scaling = SpectrumScaling::Power}, spectrum));
    EXPECT_NEAR(spectrum.FData()[20], 4.5, 0.01);
    ASSERT_TRUE(analysis.Map()->Spectrum(0, {.scaling = SpectrumScaling::Density}, spectrum));
    EXPECT_NEAR(spectrum.FData()[20], 4.5 / 0.15, 0.1);
    ASSERT_TRUE(
        analysis.Map()->Spectrum(0, {.scaling = SpectrumScaling::Effective, .reference = 0.1}, spectrum));
    EXPECT_NEAR(spectrum.FData()[20], 20 * std::log10(std::sqrt(4.5) / 0.1), 0.01);
    EXPECT_TRUE(spectrum.YUnit().is_db());
    CSigPairs overall;
    ASSERT_TRUE(analysis.Map()->OverallLevel(0, {}, overall));
    EXPECT_EQ(overall.NPaare(), map.Count());
    for (std::size_t i = 0; i < overall.NPaare(); ++i) {
      EXPECT_NEAR(overall.Wert(i), std::sqrt(4.5 + 0.125), 0.005);
    }
  }
}

TEST(OrderAnalysis, PlacesAreThoseOfTheShaft) {
  const auto frames = TwoChannels(8);
  CMemorySource recording(frames.data(), frames.size() / 2, 2, 2, kRate, 100);
  CPulseTrain pulses(kRate, 100.5);  // the tacho was switched on half a second later
  const CPulseTrain all = kShaft.Pulses(kRate, 8, 60);
  for (std::size_t i = 0; i < all.size(); ++i) {
    CPulseTrain::Pulse pulse = all[i];
    pulse.begin -= 0.5 * kRate;
    pulse.end -= 0.5 * kRate;
    if (pulse.begin >= 0) pulses.Append(pulse);
  }
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 20, .resolution = 0.25};
  settings.tracks = {.orders = {7.3, 2}, .bandwidth = 0.4};
  COrderAnalysis analysis(settings);
  ASSERT_TRUE(analysis.Analyse(recording, pulses, 60, 0, 1));
  EXPECT_EQ(analysis.Channels(), 1u);
  for (const ShaftPlace& place : analysis.Map()->Rows()) {
    EXPECT_NEAR(place.rpm / 60 / kShaft.Speed(place.time - 100), 1, 0.002);
    EXPECT_NEAR(place.revolution, kShaft.Angle(place.time - 100) - kShaft.Angle(0.5), 0.02);
  }
  CSigPairs amplitude, phase;
  ASSERT_TRUE(analysis.Tracks()->Pairs(0, 0, MapAxis::Kind::speed, COrderTracker::Quantity::amplitude,
                                       CMeasuringUnit(CMeasuringUnit::gravity), amplitude));
  ASSERT_TRUE(analysis.Tracks()->Pairs(0, 0, MapAxis::Kind::time, COrderTracker::Quantity::phase,
                                       CMeasuringUnit(), phase));
  EXPECT_EQ(amplitude.XUnit(), CMeasuringUnit::rpm);
  EXPECT_EQ(phase.YUnit(), CMeasuringUnit::degree);
  for (std::size_t i = 0; i < amplitude.NPaare(); ++i) {
    EXPECT_NEAR(amplitude.Wert(i), 0.5, 0.001);
    EXPECT_NEAR(phase.Wert(i), phase.Wert(0), 0.2);
  }
  CSigCurveArray curves;
  ASSERT_TRUE(analysis.Tracks()->Curves(0, CMeasuringUnit(CMeasuringUnit::gravity), curves));
  ASSERT_EQ(curves.Count(), 2u);
  EXPECT_NEAR(curves[0].GetValue(100), 3, 0.003);
  EXPECT_EQ(curves[1].Date(), 7.3f);
}

TEST(OrderAnalysis, TheSynchronousAverageKeepsWhatTurnsWithTheShaft) {
  const auto frames = TwoChannels(8);
  std::vector<float> mixed;
  for (std::size_t i = 0; i < frames.size(); i += 2) mixed.push_back(frames[i] + frames[i + 1]);
  const CPulseTrain pulses = kShaft.Pulses(kRate, 8, 60);
  const CShaftAngle angle(pulses, 60);
  const AngleGrid grid = AngleGrid::ForSpectra(20, 0.1);
  CAngleResampler resampler(grid, 1, kRate);
  OverAngle over = Resampled(resampler, angle, mixed);
  CSynchronousAverage average(grid, 1);
  average.Take(over.frames.data(), over.places.data(), over.frames.size());
  EXPECT_NEAR(average.Spans(), angle.At(angle.End()), 0.1);
  CSigCurve turn;
  ASSERT_TRUE(average.Average(0, CMeasuringUnit(CMeasuringUnit::gravity), turn));
  for (float x = 0; x < 0.99f; x += 0.01f)
    EXPECT_NEAR(turn.GetValue(x), 3 * Cosine(2 * static_cast<double>(x)), 0.25);
  // The residual is the rest: the tone and order 7.3.
  average.Subtract(over.frames.data(), over.places.data(), over.frames.size());
  double square = 0;
  for (const float each : over.frames) square += static_cast<double>(each) * static_cast<double>(each);
  EXPECT_NEAR(square / static_cast<double>(over.frames.size()), 0.5 + 0.125, 0.02);
  EXPECT_NEAR(average.ResidualRms(0), std::sqrt(square / static_cast<double>(over.frames.size())), 1e-4);
  EXPECT_NEAR(average.AverageRms(0), 3 / std::sqrt(2), 0.01);
  EXPECT_FALSE(CSynchronousAverage({20, 51.3, 60}, 1).IsValid());
}

TEST(OrderAnalysis, TorsionIsInThePulsesThemselves) {
  // 40 rev/s, with 1.2 rpm at order 4 and 0.5 rpm at order 1.5: the angle swings by A / (order rpm) radians.
  const double n = 40, rate = 100000;
  const auto turned = [&](double t) {
    const double own = n * t;
    return own + (1.2 / 2400 / 4 * Cosine(4 * own + 0.1) + 0.5 / 2400 / 1.5 * Cosine(1.5 * own)) /
                     (2 * std::numbers::pi);
  };
  CPulseTrain pulses(rate);
  CPulseTrain::Pulse pulse;
  double t = 0;
  for (double k = 1; k < 24000; ++k) {
    for (int i = 0; i < 4; ++i) t += (k / 60 - turned(t)) / n;
    pulse.begin = pulse.end;
    pulse.end = t * rate;
    pulse.revolutionTime = pulse.Length() * 60;
    pulses.Append(pulse);
  }
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 20, .resolution = 0.1};
  settings.tracks = {.orders = {4, 1.5}, .bandwidth = 0.5};
  COrderAnalysis analysis(settings);
  ASSERT_TRUE(analysis.AnalyseTorsion(pulses, 60)) << analysis.Failure().ToUtf8();
  // What the means from edge to edge take off is made up for: 0.2 % and half a tooth at order 4.
  CSigCurve spectrum;
  ASSERT_TRUE(analysis.Map()->Spectrum(0, {.scaling = SpectrumScaling::Amplitude}, spectrum));
  EXPECT_NEAR(spectrum.FData()[40], 1.2, 0.001);
  const COrderTracker& tracks = *analysis.Tracks();
  EXPECT_NEAR(tracks.Track(0, 0)[50].amplitude, 1.2, 0.001);
  EXPECT_NEAR(tracks.Track(0, 0)[50].phase, 0.1 * 360 + 90, 0.1);
  EXPECT_NEAR(tracks.Track(0, 1)[50].amplitude, 0.5, 0.002);
  EXPECT_NEAR(CTorsionalVibration::AngleOf(1.2, 4, 2400), 1.2 / 2400 / 4 * 180 / std::numbers::pi, 1e-12);
  settings.map.maxOrder = 31;
  EXPECT_FALSE(COrderAnalysis(settings).AnalyseTorsion(pulses, 60));
}

TEST(OrderAnalysis, TellsWhatItCannotDo) {
  const auto frames = TwoChannels(1);
  const CPulseTrain pulses = kShaft.Pulses(kRate, 1, 60);
  const auto failure = [&](COrderAnalysis::Settings settings, unsigned first = 0, unsigned channels = 0) {
    CMemorySource recording(frames.data(), frames.size() / 2, 2, 2, kRate);
    COrderAnalysis analysis(settings);
    EXPECT_FALSE(analysis.Analyse(recording, pulses, 60, first, channels));
    EXPECT_EQ(analysis.Map(), nullptr);
    return analysis.Failure().ToUtf8();
  };
  COrderAnalysis::Settings good, bad;
  good.map = {.maxOrder = 20, .resolution = 0.5};
  EXPECT_THAT(failure(good, 2), testing::HasSubstr("no such channels"));
  EXPECT_THAT(failure(good, 1, 2), testing::HasSubstr("no such channels"));
  for (const OrderMapSettings& map : {OrderMapSettings{.maxOrder = 0},
                                      {.resolution = 0},
                                      {.resolution = std::nan("")},
                                      {.overlap = 1},
                                      {.axis = {MapAxis::Kind::time, -1}},
                                      {.steps = 30},
                                      {.maxOrder = 1, .resolution = 2, .steps = 3}}) {
    bad.map = map;
    EXPECT_THAT(failure(bad), testing::HasSubstr("no order map of such settings"));
  }
  bad = good;
  for (const std::vector<double>& orders : {std::vector<double>{0}, {21}, {1, 1.1}, {std::nan("")}, {2, 2}}) {
    bad.tracks.orders = orders;
    EXPECT_THAT(failure(bad), testing::HasSubstr("orders to follow"));
  }
  // Angles that nothing can be counted by.
  CMemorySource recording(frames.data(), frames.size() / 2, 2, 2, kRate);
  COrderAnalysis odd(good);
  EXPECT_FALSE(odd.Analyse(recording, ShaftTrains::Geared(pulses, 1e300), 60));
  EXPECT_FALSE(odd.Analyse(recording, ShaftTrains::Geared(pulses, 1e-300), 60));
  EXPECT_FALSE(odd.Analyse(recording, pulses, std::nan("")));
  bad = good;
  bad.map.resolution = 0.01;  // takes 100 revolutions
  EXPECT_THAT(failure(bad), testing::HasSubstr("not turn long enough"));
}

}  // namespace
