#pragma once

#include <cstdint>
#include <memory>

#include "umlauf/rate/DownsamplingStream.h"

namespace umlauf::rate {

struct StreamFormat {
  double ratio;
  unsigned channels;
  float gain;
};

/// What a CDownsamplingStream does with its signal. `Process` and `Flush` return frames; a restart follows
/// each flush.
class StreamEngine {
 public:
  virtual ~StreamEngine() = default;
  virtual std::uint64_t Process(float* out, const float* in, std::uint64_t nIn) = 0;
  virtual std::uint64_t Flush(float* out) = 0;
  virtual void Restart() = 0;
  virtual std::uint64_t Delay() const = 0;
};

/// Each returns null when the engine cannot be made.
std::unique_ptr<StreamEngine> MakeFilterEngine(const StreamFormat& format, const CDownsamplingInfo& kernel);
std::unique_ptr<StreamEngine> MakeSteepEngine(const StreamFormat& format);
std::unique_ptr<StreamEngine> MakeLinearEngine(const StreamFormat& format);
std::unique_ptr<StreamEngine> MakeIntervalEngine(const StreamFormat& format,
                                                 CDownsamplingStream::Reduction reduction);

}  // namespace umlauf::rate
