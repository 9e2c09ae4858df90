#include "umlauf/recording/MemorySource.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

TEST(MemorySource, GivesEveryFrameOnceInBlocksOfAnySize) {
  std::vector<float> memory(7 * 5);  // 7 frames of 3 channels, 5 floats apart
  std::iota(memory.begin(), memory.end(), 0.0f);
  for (const std::size_t count : {1u, 2u, 3u, 7u, 100u}) {
    CMemorySource source(memory.data(), 7, 3, 5, 1000, 2.5);
    EXPECT_EQ(source.Frames(), 7u);
    for (int pass = 0; pass < 2; ++pass) {
      std::vector<float> seen;
      for (SampleBlock block = source.Read(count); block.count > 0; block = source.Read(count)) {
        EXPECT_LE(block.count, count);
        for (std::size_t i = 0; i < block.count; ++i) seen.push_back(block.samples[i * block.stride + 2]);
      }
      EXPECT_EQ(seen, (std::vector<float>{2, 7, 12, 17, 22, 27, 32})) << count;
      EXPECT_EQ(source.Read(count).count, 0u);
      EXPECT_TRUE(source.Rewind());
    }
  }
}

}  // namespace
