#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include "rotation/KnownRecordings.h"
#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/Rotation.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr std::uint64_t oneOf = 5;  // slow there
#else
constexpr std::uint64_t oneOf = 1;
#endif
constexpr std::uint64_t recordings = 500;

/// What became of recordings.
struct Tally {
  int all = 0, right = 0, rightButDoubted = 0, wrongAndDoubted = 0, wrong = 0;

  void operator+=(const Tally& other) {
    all += other.all, right += other.right, rightButDoubted += other.rightButDoubted;
    wrongAndDoubted += other.wrongAndDoubted, wrong += other.wrong;
  }
  void Print(const char* name) const {
    std::printf("| %-25s | %4d | %5d | %15d | %17d | %5d |\n", name, all, right, rightButDoubted,
                wrongAndDoubted, wrong);
  }
};

struct Way {
  const char* name;
  /// Levels that are given, in parts of the range.
  std::optional<double> upper, lower;
};

Tally Judge(const KnownRecording& known, const Way& way, std::uint64_t seed) {
  const auto [low, high] = std::minmax_element(known.samples.begin(), known.samples.end());
  const auto level = [&, low = *low, range = *high - *low](std::optional<double> part) {
    return part ? std::optional(low + static_cast<float>(*part) * range) : std::nullopt;
  };
  CMemorySource source(known.samples, known.rate);
  CRotation rotation;
  rotation.Wheel(static_cast<double>(known.teethPerTurn));
  rotation.GivenLevels(level(way.upper), level(way.lower));
  const bool found = rotation.Analyse(source);
  const auto edges = rotation.Pulses().Edges();
  const bool right = found && known.IsRight({edges.begin() + 1, edges.end()});
  const bool doubted = !found || !rotation.Warnings().empty();
  if (!right && !doubted)
    std::printf("seed %llu, %s: %zu pulses, %g teeth\n", static_cast<unsigned long long>(seed),
                known.kind.c_str(), edges.size() - 1, known.teeth);
  if (std::getenv("UMLAUF_LIST_DOUBTS") != nullptr && doubted) {
    std::printf("seed %llu, %s, %s: %zu pulses, %g teeth: %s\n", static_cast<unsigned long long>(seed),
                known.kind.c_str(), right ? "right" : "wrong", edges.empty() ? 0 : edges.size() - 1,
                known.teeth, found ? rotation.Warnings()[0].text.ToUtf8().c_str() : "no pulses");
  }
  return {1, right, right && doubted, !right && doubted, !right && !doubted};
}

Tally JudgeAll(const Way& way, std::uint64_t count) {
  // Other seeds for trying out changes.
  const char* first = std::getenv("UMLAUF_FIRST_SEED");
  const std::uint64_t begin = first != nullptr ? std::strtoull(first, nullptr, 10) : 1;
  std::map<std::string, Tally> table;
  for (std::uint64_t seed = begin; seed < begin + count; seed += oneOf) {
    const KnownRecording known = SimulateKind(seed);
    table[known.kind] += Judge(known, way, seed);
  }
  Tally all;
  std::printf(
      "levels: %s\n| kind | recordings | right | right, doubted | wrong, doubted | wrong "
      "|\n|---|--:|--:|--:|--:|--:|\n",
      way.name);
  for (const auto& [kind, tally] : table) {
    tally.Print(kind.c_str());
    all += tally;
  }
  all.Print("all");
  return all;
}

TEST(KnownRecordings, AreRightOrDoubtfulWithoutLevels) {
  const Tally all = JudgeAll({"found", {}, {}}, recordings);
  EXPECT_GE(all.right, 0.97 * all.all);
  EXPECT_EQ(all.wrong, 0);
  EXPECT_LT(all.rightButDoubted, 0.03 * all.right);
}

/// Levels in the middle of the range are often wrong; the judge has to see it.
TEST(KnownRecordings, AreRightOrDoubtfulWithLevels) {
  for (const Way& way :
       {Way{"given", 0.6, 0.4}, Way{"upper given", 0.55, {}}, Way{"lower given", {}, 0.45}}) {
    const Tally all = JudgeAll(way, recordings / 5);
    EXPECT_EQ(all.wrong, 0) << way.name;
    // Under sanitizers, where there are few of them, one or two are no share.
    EXPECT_LT(all.rightButDoubted, 0.1 * all.right + (oneOf > 1 ? 2 : 0)) << way.name;
  }
}

}  // namespace
