#include "umlauf/platform/basis/LargeMemory.h"

#include <algorithm>
#include <random>
#include <thread>

#include "support/Test.h"

namespace {

/// Vectors of 4 kB to 32 MB come and go; each keeps what was written into it.
bool KeepTheirNumbers(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<umlauf::LargeVector<unsigned>> vectors(12);
  const auto holds = [](const umlauf::LargeVector<unsigned>& each) {
    return std::ranges::all_of(each, [&](unsigned x) { return x == each.front(); });
  };
  for (unsigned turn = 1; turn <= 100; ++turn) {
    auto& changed = vectors[random() % vectors.size()];
    if (!holds(changed)) return false;
    const std::size_t n = std::size_t{1024} << random() % (turn % 50 == 0 ? 14 : 9);
    changed = umlauf::LargeVector<unsigned>(n + random() % n, (seed << 16) + turn);
  }
  return std::ranges::all_of(vectors, holds);
}

TEST(LargeMemory, BelongsToOneAtATimeOnAnyThread) {
  std::array<bool, 4> good{};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < good.size(); ++i)
    threads.emplace_back([&, i] { good[i] = KeepTheirNumbers(i + 1); });
  for (std::thread& each : threads) each.join();
  EXPECT_THAT(good, testing::Each(true));
}

}  // namespace
