#include "platform/QVLKernels.h"
#include "support/Test.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

class QVLChannels : public QVLKernels {};
INSTANTIATE_TEST_SUITE_P(On, QVLChannels, AllTargets(), TargetName);

/// Channels of an interleaved block, each on a block of its own: channel c of frame i is 100000 c + i.
struct Channels {
  Channels(std::size_t count, std::size_t length, std::size_t offset)
      : joined(count * length, offset), channels(count), frames(length) {
    for (std::size_t c = 0; c < channels; ++c) {
      parts.emplace_back(frames, (offset + c) % 3);
      pointers.push_back(parts[c].data());
      for (std::size_t i = 0; i < frames; ++i) joined[i * channels + c] = static_cast<float>(c * 100000 + i);
    }
  }
  std::size_t WrongParts() {
    std::size_t wrong = 0;
    for (std::size_t c = 0; c < channels; ++c) {
      for (std::size_t i = 0; i < frames; ++i) wrong += parts[c][i] != static_cast<float>(c * 100000 + i);
    }
    return wrong;
  }
  Exact<float> joined;
  std::vector<Exact<float>> parts;
  std::vector<float*> pointers;
  std::size_t channels, frames;
};

TEST_P(QVLChannels, SplitAndJoinedChannelsAreInverse) {
  for (std::size_t channels = 0; channels <= 40; ++channels) {
    for (const std::size_t frames : {0u, 1u, 3u, 15u, 16u, 17u, 32u, 47u, 300u}) {
      Channels c(channels, frames, channels % 3);
      const auto joined = c.joined.copy();
      QVL::Deinterleave(c.pointers.data(), c.joined.data(), channels, frames);
      ASSERT_EQ(c.WrongParts(), 0u) << channels << " channels, " << frames << " frames";
      std::fill_n(c.joined.data(), joined.size(), -1.0f);
      QVL::Interleave(c.joined.data(), c.pointers.data(), channels, frames);
      ASSERT_EQ(c.joined.copy(), joined) << channels << " channels, " << frames << " frames";
    }
  }
}

// From 64 MB on, aligned blocks are written around the caches.
TEST_P(QVLChannels, VeryLongChannelsAreComplete) {
  constexpr std::size_t total = 9u << 20;
  CAlignedMem<float> joined(total), back(total), parts(total);
  std::iota(joined.begin(), joined.end(), 0.0f);
  for (const std::size_t channels : {1u, 3u, 5u, 32u, 72u}) {
    const std::size_t distance = total / channels / 16 * 16, frames = distance - 11;
    std::vector<float*> pointers;
    for (std::size_t c = 0; c < channels; ++c) pointers.push_back(parts.data() + c * distance);
    QVL::Deinterleave(pointers.data(), joined.data(), channels, frames);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < frames * channels; ++i)
      wrong += pointers[i % channels][i / channels] != joined[i];
    EXPECT_EQ(wrong, 0u) << channels;
    std::fill(back.begin(), back.end(), -1.0f);
    QVL::Interleave(back.data(), pointers.data(), channels, frames);
    EXPECT_TRUE(std::equal(joined.begin(), joined.begin() + frames * channels, back.begin())) << channels;
  }
}

template <class T>
void CheckMasks(std::mt19937& random) {
  for (const std::size_t frames : {0u, 1u, 2u, 5u, 16u, 61u}) {
    for (std::uint32_t mask : {0u, 1u, 2u, 5u, 0x70u, 0x1FFu, 0xFFFDu, 0x80000001u, 0xFFFFFFFFu}) {
      const auto width = static_cast<std::size_t>(std::bit_width(mask));
      const std::size_t from = std::max<std::size_t>(1, width + random() % 4);
      const std::size_t to = std::max<std::size_t>(1, width + random() % 4);
      const auto length = [&](std::size_t stride) { return frames == 0 ? 0 : (frames - 1) * stride + width; };
      Exact<T> in(length(from), frames % 3), out(length(to), (frames + 1) % 3);
      for (std::size_t i = 0; i < length(from); ++i) in[i] = static_cast<T>(i + 1);
      std::fill_n(out.data(), length(to), static_cast<T>(-5));
      auto expected = out.copy();
      for (std::size_t i = 0; i < frames * 32; ++i) {
        if ((mask >> i % 32 & 1u) != 0) expected[i / 32 * to + i % 32] = in[i / 32 * from + i % 32];
      }
      QVL::CopyChannels(out.data(), to, in.data(), from, mask, frames);
      ASSERT_EQ(out.copy(), expected) << frames << " frames, mask " << mask;
    }
  }
}

TEST_P(QVLChannels, MaskedChannelsAloneAreCopied) {
  CheckMasks<float>(random_);
  CheckMasks<std::int32_t>(random_);
  CheckMasks<std::uint32_t>(random_);
  CheckMasks<std::int16_t>(random_);
}

}  // namespace
