#include "umlauf/rotation/Rotation.h"

#include <gtest/gtest.h>

#include <functional>

#include "rotation/TrainSupport.h"
#include "umlauf/recording/MemorySource.h"
#include "umlauf/signal/SigCurve.h"

namespace {

constexpr double kRate = 20000;

/// Two seconds from 600 to 1800 rpm.
double RunUp(double t) { return 10 * t + 5 * t * t; }
double RunUpRpm(double t) { return 600 + 600 * t; }

TEST(Rotation, FindsSpeedAngleAndWheelOfARecording) {
  for (const unsigned missing : {0u, 2u}) {
    const std::vector<float> samples = Tacho(2, kRate, 60, missing, RunUp);
    for (const std::size_t block : {std::size_t{97}, std::size_t{65536}}) {
      CMemorySource recording(samples, kRate, 100);
      CRotation rotation;
      rotation.Wheel(60, missing > 0 ? CRotation::Gap::automatic : CRotation::Gap::none);
      rotation.BlockSize(block);
      ASSERT_TRUE(rotation.Analyse(recording)) << rotation.Failure().ToUtf8();
      EXPECT_TRUE(rotation.Warnings().empty());
      EXPECT_EQ(rotation.Wheel().Teeth(), 60 - missing);
      EXPECT_NEAR(static_cast<double>(rotation.Counts().Pulses()), 40 * (60 - missing), 2);
      EXPECT_NEAR(rotation.Speed().Mean(kRate), 1200, 3);
      ASSERT_NEAR(static_cast<double>(rotation.Revolutions().size()), 39, 1);
      for (const auto& each : rotation.Revolutions()) {
        EXPECT_NEAR(each.rpm, RunUpRpm(each.Middle() / kRate), 2) << each.begin;
      }
      const auto curve = rotation.SpeedCurve(0.1);
      ASSERT_GE(curve->DLen(), 18u);
      for (std::size_t i = 0; i < curve->DLen(); ++i) {
        EXPECT_NEAR(curve->FData()[i], RunUpRpm(curve->GetPoint(static_cast<std::int64_t>(i)) - 100), 6) << i;
      }
      CSpeedComparison truth = rotation.Compare({{100, 600}, {102, 1800}});
      EXPECT_LT(truth.MaxPercent(), 1.5);
      EXPECT_GT(truth.Count(), 2200u);
      const CShaftAngle angle = rotation.Angle();
      const double from = angle.At(0.5 * kRate), to = angle.At(1.5 * kRate);
      EXPECT_NEAR(to - from, RunUp(1.5) - RunUp(0.5), 1e-3);
    }
  }
}

/// A stream: it is read once, and fails where it is told to.
class Stream : public CBlockSource {
 public:
  explicit Stream(const std::vector<float>& samples, std::size_t end = SIZE_MAX)
      : memory_(samples, kRate), end_(end) {}
  double SampleRate() const override { return rate; }
  SampleBlock Read(std::size_t count) override {
    if (at_ >= end_) return {};
    const SampleBlock block = memory_.Read(std::min(count, end_ - at_));
    at_ += block.count;
    return block;
  }
  CString Failure() const override { return at_ >= end_ ? CString(L"the plug is out") : CString(); }

  double rate = kRate;

 private:
  CMemorySource memory_;
  std::size_t end_, at_ = 0;
};

TEST(Rotation, StreamsNeedLevels) {
  const std::vector<float> samples = Tacho(2, kRate, 60, 0, RunUp);
  Stream stream(samples);
  CRotation rotation;
  rotation.Wheel(60);
  rotation.GivenLevels(0.1f, -0.1f);
  ASSERT_TRUE(rotation.Analyse(stream)) << rotation.Failure().ToUtf8();
  EXPECT_NEAR(rotation.Speed().Mean(kRate), 1200, 3);
  EXPECT_FALSE(rotation.Levels().automaticUpper);
}

TEST(Rotation, OneGivenLevelStays) {
  const std::vector<float> samples = Tacho(2, kRate, 60, 0, RunUp);
  CMemorySource recording(samples, kRate);
  CRotation rotation;
  rotation.Wheel(60);
  rotation.GivenLevels(0.33f, std::nullopt);
  ASSERT_TRUE(rotation.Analyse(recording));
  EXPECT_EQ(rotation.Levels().upper, 0.33f);
  EXPECT_TRUE(rotation.Levels().automaticLower);
  EXPECT_LT(rotation.Levels().lower, 0.0f);
  EXPECT_NEAR(rotation.Speed().Mean(kRate), 1200, 3);
}

TEST(Rotation, NoiseIsDoubtful) {
  std::vector<float> noise;
  for (unsigned i = 0, x = 1; i < 4000; ++i, x = x * 1664525 + 1013904223)
    noise.push_back(static_cast<float>(x >> 8));
  CMemorySource recording(noise, kRate);
  CRotation rotation;
  rotation.Analyse(recording);
  ASSERT_EQ(rotation.Warnings().size(), 1u);
  EXPECT_EQ(rotation.Warnings()[0].code, "irregular");
}

TEST(Rotation, WhatCannotBeIsSaid) {
  const std::vector<float> samples = Tacho(0.2, kRate, 60, 0, RunUp), silence(1000, 1.0f);
  const struct {
    const char* failure;
    std::function<void(CRotation&)> set;
    std::function<std::unique_ptr<CBlockSource>()> source;
    unsigned channel = 0;
  } cases[] = {
      {"no channel 1", [](CRotation&) {}, [&] { return std::make_unique<CMemorySource>(samples, kRate); }, 1},
      {"no usable sample rate", [](CRotation&) {},
       [&] { return std::make_unique<CMemorySource>(samples, 0); }},
      {"above 0", [](CRotation& r) { r.Wheel(0); }, [&] { return std::make_unique<Stream>(samples); }},
      {"at least 4", [](CRotation& r) { r.Wheel(3, 2.0); },
       [&] { return std::make_unique<Stream>(samples); }},
      {"longer than", [](CRotation& r) { r.Wheel(60, 1.0); },
       [&] { return std::make_unique<Stream>(samples); }},
      {"one pulse",
       [](CRotation& r) {
         r.Wheel(60, CRotation::Gap::automatic);
         r.Detector().BeideFlankenSuchen(true);
       },
       [&] { return std::make_unique<Stream>(samples); }},
      {"only once", [](CRotation&) {}, [&] { return std::make_unique<Stream>(samples); }},
      {"the plug is out", [](CRotation& r) { r.GivenLevels(0.1f, -0.1f); },
       [&] { return std::make_unique<Stream>(samples, 3000); }},
      {"lies above", [](CRotation& r) { r.GivenLevels(-3.0f, 3.0f); },
       [&] { return std::make_unique<CMemorySource>(samples, kRate); }},
      {"no pulses", [](CRotation&) {}, [&] { return std::make_unique<CMemorySource>(silence, kRate); }},
      {"no pulses", [](CRotation&) {},
       [&] { return std::make_unique<CMemorySource>(nullptr, 0, 1, 1, kRate); }},
  };
  for (const auto& c : cases) {
    CRotation rotation;
    c.set(rotation);
    const auto source = c.source();
    EXPECT_FALSE(rotation.Analyse(*source, c.channel)) << c.failure;
    EXPECT_NE(rotation.Failure().ToUtf8().find(c.failure), std::string::npos) << rotation.Failure().ToUtf8();
    EXPECT_TRUE(rotation.Pulses().empty());
    EXPECT_EQ(rotation.Speed().count, 0u);
    EXPECT_FALSE(rotation.Angle().Valid());
    EXPECT_NE(rotation.SpeedCurve(1), nullptr);
  }
}

}  // namespace
