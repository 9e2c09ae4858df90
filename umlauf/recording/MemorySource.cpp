#include "umlauf/recording/MemorySource.h"

#include <algorithm>

SampleBlock CMemorySource::Read(std::size_t count) {
  const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(count, frames_ - at_));
  const SampleBlock block{samples_ + at_ * stride_, n, stride_};
  at_ += n;
  return block;
}

bool CMemorySource::Rewind() {
  at_ = 0;
  return true;
}

bool CMemorySource::Seek(std::uint64_t frame) {
  at_ = std::min(frame, frames_);
  return true;
}
