#include "FailingAllocation.h"
#include "support/Test.h"
#include "umlauf/umlauf.h"

namespace {

// A wheel of 12 - 2 teeth, 24 samples from tooth to tooth, for 20 revolutions; levels drift where asked for.
std::vector<float> Tacho(float drift) {
  std::vector<float> samples;
  for (int revolution = 0; revolution < 20; ++revolution)
    for (int i = 0; i < 288; ++i) {
      const float base = drift * static_cast<float>(samples.size()) / 5760.0f;
      samples.push_back(base + (i < 240 && i % 24 < 12 ? 1.0f : -1.0f));
    }
  return samples;
}

TEST(WithoutMemory, WholeRecordings) {
  EveryAllocationFails([] {
    static const std::vector<float> steady = Tacho(0), drifting = Tacho(6);
    for (const auto* samples : {&steady, &drifting}) {
      CMemorySource recording(*samples, 48000);
      CRotation rotation;
      rotation.Wheel(12, CRotation::Gap::automatic);
      if (!rotation.Analyse(recording)) {
        EXPECT_TRUE(rotation.Pulses().empty());
        continue;
      }
      // Whatever could not be had, nothing is left out in silence.
      if (rotation.Pulses().Complete() && rotation.Warnings().empty()) {
        EXPECT_NEAR(static_cast<double>(rotation.Pulses().size()), 200, 2);
      }
      rotation.SpeedCurve(0.01);
      rotation.SpeedPairs();
      rotation.Compare({});
      const CShaftAngle angle = rotation.Angle();
      EXPECT_GE(angle.End(), angle.Begin());
    }
  });
}

TEST(WithoutMemory, RotationStreams) {
  EveryAllocationFails([] {
    static const std::vector<float> samples = Tacho(0);
    CRotationStream::Settings settings;
    settings.sampleRate = 48000;
    settings.pulsesPerRevolution = 12;
    settings.gap = true;
    settings.learning = 1000;
    CRotationStream stream(settings);
    CPulseTrain pulses = stream.NewTrain();
    std::size_t found = 0;
    bool good = true, complete = true;
    for (std::size_t at = 0; good && at < samples.size(); at += 960) {
      good = stream.Take(samples.data() + at, 960, 1, pulses);
      found += pulses.size();
      complete = complete && pulses.Complete();
    }
    good = good && stream.Finish(pulses);
    found += pulses.size();
    if (good && complete && pulses.Complete()) {
      EXPECT_NEAR(static_cast<double>(found), 200, 2);
    }
  });
}

TEST(WithoutMemory, RotationOfPieces) {
  EveryAllocationFails([] {
    static const std::vector<float> samples = Tacho(0);
    CRotationStream::Settings settings;
    settings.pulsesPerRevolution = 12;
    settings.gap = true;
    CRotationPieces rotation(settings, 2000);
    CMemorySource recording(samples, 48000);
    RotationPiece first, second;
    const std::array pieces{&std::as_const(first), &std::as_const(second)};
    const bool found = rotation.FindLevels(recording) && rotation.Search(recording, 0, 3000, first) &&
                       rotation.Search(recording, 3000, 5760, second) && rotation.Join(recording, pieces);
    if (found) {
      EXPECT_NEAR(static_cast<double>(rotation.Pulses().size()), 200, 2);
    } else {
      EXPECT_FALSE(rotation.Failure().IsEmpty());
    }
    CDzPulsDetektor detector;
    detector.SchrankenSetzen(0.5f, -0.5f);
    CPulseFinder finder(recording, 0, detector);
    CPulseTrain pulses;
    recording.Rewind();
    const bool next = finder.Next(pulses);
    EXPECT_NE(next, !finder.Failure().IsEmpty());
  });
}

// Levels of drifting samples come with a reason for doubt, which a copy of them takes along.
TEST(WithoutMemory, LevelsOfPieces) {
  EveryAllocationFails([] {
    static const std::vector<float> samples = Tacho(6);
    CMemorySource recording(samples, 48000);
    CRotationPieces rotation({});
    const bool found = rotation.FindLevels(recording);
    EXPECT_NE(found, !rotation.Failure().IsEmpty());
  });
}

TEST(WithoutMemory, PulsesOfOtherRecordings) {
  EveryAllocationFails([] {
    static std::array<ULONG, 600> words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<ULONG>(i / 7 << 16 | 0x10A0);
    CEncoderPulseFinder encoder({.minSamples = 2}, 48000, 60);
    CPulseTrain pulses(48000), merged(48000);
    encoder.Take(words.data(), words.size(), 1, pulses);
    CPulseMerger(2, 60).Take(pulses, merged);
    static const std::vector<RecordedEdge> edges = [] {
      std::vector<RecordedEdge> made;
      for (int i = 0; i < 100; ++i) made.push_back({i * 0.01, i % 2 == 0});
      return made;
    }();
    CEdgePulses({}).Take(edges, pulses);
    Copy(encoder);
  });
}

TEST(WithoutMemory, WhatTakesPulses) {
  EveryAllocationFails([] {
    static const CPulseTrain pulses = [] {
      CPulseTrain train(1000);
      CPulseTrain::Pulse pulse;
      for (int i = 0; i < 100; ++i) {
        pulse.begin = pulse.end;
        pulse.end += i % 10 == 9 ? 30 : 10;
        pulse.revolutionTime = 12 * pulse.Length();
        train.Append(pulse);
      }
      return train;
    }();
    CPulseTrain corrected(1000);
    CGapCorrection gap(std::nullopt, 12.0);
    gap.Take(pulses, corrected);
    gap.Finish(corrected);
    CRevolutions revolutions(true, 12);
    revolutions.Take(pulses);
    CSpeedCurveBuilder curve(0.01);
    curve.Take(pulses);
    curve.Finish(L"a name of a curve that needs memory of its own");
    CSpeedPairsBuilder pairs;
    pairs.Take(pulses);
    pairs.Finish(L"a name of pairs that needs memory of its own");
    CPulseCounts counts;
    counts.Take(pulses);
    CSpeedComparison comparison({});
    comparison.Take(pulses);
    CPulseTrain copy(pulses);
    copy.Append(pulses);
    EXPECT_TRUE(copy.size() == 200 || !copy.Complete()) << copy.size();
    Copy(CShaftAngle(pulses, 12));
  });
}

}  // namespace
