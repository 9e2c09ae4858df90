#pragma once

#include <cstring>
#include <random>
#include <vector>

#include "umlauf/can/CanMessageFinder.h"

struct Found {
  unsigned position;
  std::vector<std::uint32_t> words;  // of the message block, without zeros at the end
  bool operator==(const Found&) const = default;
};

inline std::vector<std::uint32_t> Words(const CanMessageBlock_s& block) {
  std::vector<std::uint32_t> words(kCanMessageWords);
  std::memcpy(words.data(), &block, sizeof block);
  while (!words.empty() && words.back() == 0) words.pop_back();
  return words;
}

inline std::vector<Found> FindAll(CCanMessageFinder& finder) {
  std::vector<Found> all;
  while (finder.FindNextMessage()) all.push_back({finder.SamplePos(), Words(finder.Message())});
  return all;
}

inline constexpr ULONG Header(unsigned length, unsigned free = 1) {
  return 0xAA000055u | length << 16 | free << 8;
}

/// Words of which every `rarity`-th looks like a header, some of them with a length that is not valid.
inline std::vector<ULONG> RandomStream(std::size_t words, unsigned rarity, std::mt19937& random) {
  constexpr unsigned lengths[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 16, 31, 63, 64, 65, 255};
  std::vector<ULONG> stream(words);
  for (ULONG& word : stream) {
    word = random() % rarity == 0
               ? Header(lengths[random() % std::size(lengths)], static_cast<unsigned>(random() % 256))
               : static_cast<ULONG>(random());
  }
  return stream;
}
