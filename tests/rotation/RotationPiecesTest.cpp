#include "umlauf/rotation/RotationPieces.h"

#include "rotation/TrainSupport.h"
#include "support/Test.h"
#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/Rotation.h"

namespace {

constexpr double kRate = 20000;

/// A run-up that may stand still between 4 and 8 s.
std::vector<float> Recorded(unsigned missing, bool stands) {
  return Tacho(12, kRate, 60, missing, [stands](double t) {
    const double moved = !stands || t < 4 ? t : std::max(4.0, t - 4);
    return 8 * moved + 0.5 * moved * moved;
  });
}

CRotationStream::Settings Known(double pulses = 60) {
  CRotationStream::Settings settings;
  settings.pulsesPerRevolution = pulses;
  settings.detector.PulsMinLenSetzen(0);
  return settings;
}

/// The recording in pieces that begin at random places.
bool Joined(CMemorySource recording, const CRotationStream::Settings& settings, unsigned seed,
            std::uint64_t overlap, CRotationPieces& rotation) {
  std::mt19937 random(seed);
  std::vector<std::uint64_t> cuts{0, *recording.Frames()};
  for (unsigned i = 0; i <= seed % 5; ++i) cuts.push_back(random() % *recording.Frames());
  std::ranges::sort(cuts);
  std::vector<RotationPiece> pieces(cuts.size() - 1);
  std::vector<const RotationPiece*> all;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    CRotationPieces elsewhere(settings, overlap);
    EXPECT_TRUE(elsewhere.FindLevels(recording));
    EXPECT_TRUE(elsewhere.Search(recording, cuts[i], cuts[i + 1], pieces[i])) << elsewhere.Failure().ToUtf8();
    all.push_back(&pieces[i]);
  }
  return rotation.FindLevels(recording) && rotation.Join(recording, all);
}

TEST(RotationPieces, GiveWhatOneGoGivesWhereverTheyBegin) {
  auto spikes = Known(), both = Known(120), merged = Known(), logic = Known(), gap = Known(), given = Known();
  spikes.detector.StoerpulsFilterAktivieren(true, 0.2f, 5, 0);
  both.detector.BeideFlankenSuchen(true);
  merged.detector.PulsMinLenSetzen(25);
  logic.detector.TtlKorrekturAktivieren(true);
  gap.gap = true;
  given.gapLength = 3;
  const Cases<const char*, CRotationStream::Settings, unsigned, bool> cases = {
      {"plain", Known(), 0, false},  {"spike filter", spikes, 2, false}, {"both edges", both, 0, false},
      {"merged", merged, 0, false},  {"logic", logic, 0, false},         {"gap", gap, 2, false},
      {"given gap", given, 2, true}, {"standstill", Known(), 0, true}};
  unsigned again = 0;
  for (const auto& [name, settings, missing, stands] : cases) {
    const std::vector<float> samples = Recorded(missing, stands);
    CMemorySource recording(samples, kRate, 100);
    CRotation whole;
    whole.Wheel(settings.pulsesPerRevolution,
                settings.gap ? CRotation::Gap::automatic : CRotation::Gap::none);
    if (settings.gapLength) whole.Wheel(settings.pulsesPerRevolution, *settings.gapLength);
    whole.Detector() = settings.detector;
    ASSERT_TRUE(whole.Analyse(recording)) << name;
    for (unsigned seed = 1; seed <= 10; ++seed) {
      SCOPED_TRACE(std::string(name) + ", seed " + std::to_string(seed));
      CRotationPieces rotation(settings, seed % 2 == 0 ? 3000 : 1 << 20);
      ASSERT_TRUE(Joined(recording, settings, seed, seed % 2 == 0 ? 3000 : 1 << 20, rotation))
          << rotation.Failure().ToUtf8();
      again += rotation.SearchedAgain();
      EXPECT_EQ(rotation.Samples(), whole.Samples());
      EXPECT_EQ(rotation.Wheel().gaps.size(), whole.Wheel().gaps.size());
      EXPECT_EQ(rotation.Levels().warnings.size(), whole.Warnings().size());
      ASSERT_EQ(rotation.Pulses().size(), whole.Pulses().size());
      for (std::size_t i = 0; i < whole.Pulses().size(); ++i) {
        const auto pulse = rotation.Pulses()[i], expected = whole.Pulses()[i];
        ASSERT_EQ(pulse.samples, expected.samples) << i;
        ASSERT_EQ(pulse.flags, expected.flags) << i;
        ASSERT_NEAR(pulse.end, expected.end, 0.01) << i;
        ASSERT_NEAR(pulse.revolutionTime, expected.revolutionTime, 1e-6 * expected.revolutionTime) << i;
      }
    }
  }
  EXPECT_GT(again, 0u) << "no seam lay in a standstill";
}

TEST(RotationPieces, NeedOneGoWhereNoTwoLevelsServe) {
  std::vector<float> samples(5'000'000);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = std::sin(0.2f * static_cast<float>(i % 31416));
  const auto joins = [&samples](unsigned seed) {
    CRotationPieces rotation(Known());
    const bool joined = Joined(CMemorySource(samples, kRate), Known(), seed, 1 << 20, rotation);
    EXPECT_EQ(rotation.Failure().ToUtf8(), "");
    return joined;
  };
  EXPECT_TRUE(joins(3));
  // Between the stretches in which levels are looked for, the signal rides higher.
  for (std::size_t i = 100'000; i < 130'000; ++i) samples[i] += 3;
  EXPECT_FALSE(joins(3));

  auto divided = Known();
  divided.detector.PulsTeilerSetzen(3);
  CMemorySource recording(samples, kRate);
  CRotationPieces counting(divided);
  ASSERT_TRUE(counting.FindLevels(recording));
  EXPECT_FALSE(counting.Splits());
}

TEST(RotationPieces, RefusePiecesThatDoNotFollowEachOther) {
  const std::vector<float> samples = Recorded(0, false);
  CMemorySource recording(samples, kRate);
  CRotationPieces rotation(Known());
  ASSERT_TRUE(rotation.FindLevels(recording));
  RotationPiece first, last;
  ASSERT_TRUE(rotation.Search(recording, 0, 100'000, first));
  ASSERT_TRUE(rotation.Search(recording, 110'000, samples.size(), last));
  const std::vector<std::vector<const RotationPiece*>> wrong = {
      {}, {&first}, {&first, &last}, {&last, &first}, {&first, nullptr}};
  for (const auto& pieces : wrong) {
    EXPECT_FALSE(rotation.Join(recording, pieces));
    EXPECT_THAT(rotation.Failure().ToUtf8(), HasSubstr("do not follow each other"));
  }
}

}  // namespace
