#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/recording/BlockSource.h"

namespace umlauf::rotation {

/// Reads a source from where it stands to its end: f(first sample of the channel, frames, stride) for each
/// block. Returns the number of frames.
template <class F>
std::uint64_t ForEachBlock(CBlockSource& source, unsigned channel, std::size_t blockSize, F f) {
  std::uint64_t frames = 0;
  for (SampleBlock block = source.Read(blockSize); block.count > 0; block = source.Read(blockSize)) {
    f(block.samples + channel, block.count, block.stride);
    frames += block.count;
  }
  return frames;
}

/// What is wrong with the source for work on this channel; empty when nothing is.
CString CheckSource(const CBlockSource& source, unsigned channel);

}  // namespace umlauf::rotation
