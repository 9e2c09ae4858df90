#include "umlauf/rotation/RotationStream.h"

#include <gtest/gtest.h>

#include <random>

#include "rotation/TrainSupport.h"
#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/Rotation.h"

namespace {

constexpr double kRate = 20000;
double RunUp(double t) { return 10 * t + 5 * t * t; }

CPulseTrain Streamed(const std::vector<float>& samples, const CRotationStream::Settings& settings,
                     unsigned seed) {
  std::mt19937 random(seed);
  CRotationStream stream(settings);
  CPulseTrain all = stream.NewTrain(), pulses = stream.NewTrain();
  for (std::size_t at = 0; at < samples.size();) {
    const std::size_t count = std::min<std::size_t>(random() % 5000, samples.size() - at);
    EXPECT_TRUE(stream.Take(samples.data() + at, count, 1, pulses)) << stream.Failure().ToUtf8();
    all.Append(pulses);
    at += count;
  }
  EXPECT_TRUE(stream.Finish(pulses));
  all.Append(pulses);
  return all;
}

TEST(RotationStream, GivesThePulsesOfTheWholeRecordingWhateverTheBlocks) {
  for (const unsigned missing : {0u, 2u}) {
    const std::vector<float> samples = Tacho(2, kRate, 60, missing, RunUp);
    CMemorySource recording(samples, kRate, 100);
    CRotation rotation;
    if (missing > 0) rotation.Wheel(60, CRotation::Gap::automatic);
    if (missing == 0) rotation.Wheel(60);
    ASSERT_TRUE(rotation.Analyse(recording));
    const CPulseTrain& whole = rotation.Pulses();

    CRotationStream::Settings settings;
    settings.sampleRate = kRate;
    settings.startTime = 100;
    settings.pulsesPerRevolution = 60;
    settings.gap = missing > 0;
    settings.detector.PulsMinLenSetzen(0);
    for (const unsigned seed : {1u, 2u, 3u}) {
      settings.learning = seed == 3 ? samples.size() + 1 : 10000;
      settings.upper = settings.lower = {};
      if (seed == 1) settings.upper = rotation.Levels().upper;
      if (seed == 1) settings.lower = rotation.Levels().lower;
      const CPulseTrain streamed = Streamed(samples, settings, seed);
      ASSERT_EQ(streamed.size(), whole.size()) << missing << " missing, seed " << seed;
      for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_NEAR(streamed[i].end, whole[i].end, 0.2) << i;
        EXPECT_NEAR(streamed[i].pitches, whole[i].pitches, 0.01) << i;
        EXPECT_EQ(streamed[i].flags & ~CPulseTrain::first, whole[i].flags & ~CPulseTrain::first) << i;
      }
    }
  }
}

TEST(RotationStream, SaysWhatItCannotDo) {
  const std::vector<float> samples = Tacho(0.5, kRate, 60, 2, RunUp);
  const auto failure = [&](auto change) {
    CRotationStream::Settings settings;
    settings.sampleRate = kRate;
    settings.pulsesPerRevolution = 60;
    settings.gap = true;
    change(settings);
    CRotationStream stream(settings);
    CPulseTrain pulses = stream.NewTrain();
    EXPECT_FALSE(stream.Take(samples.data(), samples.size(), 1, pulses));
    EXPECT_FALSE(stream.Finish(pulses));
    EXPECT_TRUE(pulses.empty());
    return stream.Failure().ToUtf8();
  };
  using Settings = CRotationStream::Settings;
  EXPECT_NE(failure([](Settings& s) { s.sampleRate = 0; }).find("rate"), std::string::npos);
  EXPECT_NE(failure([](Settings& s) { s.pulsesPerRevolution = 3; }).find("at least 4"), std::string::npos);
  EXPECT_NE(failure([](Settings& s) { s.gapLength = 60; }).find("shorter than"), std::string::npos);
  EXPECT_NE(failure([](Settings& s) { s.detector.PulsTeilerSetzen(2); }).find("divider"), std::string::npos);
  EXPECT_NE(failure([](Settings& s) { s.upper = 1.0f, s.lower = 2.0f; }).find("exchange"), std::string::npos);
}

}  // namespace
