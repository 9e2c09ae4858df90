#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "umlauf/recording/BlockSource.h"

/// A recording that lies in memory as floats, which it refers to and does not copy: they must outlive it.
/// Copies of it read independently of each other.
class UMLAUF_API CMemorySource : public CBlockSource {
 public:
  /// One channel: successive samples, at `rate` [samples/s].
  CMemorySource(std::span<const float> samples, double rate, double startTime = 0)
      : CMemorySource(samples.data(), samples.size(), 1, 1, rate, startTime) {}
  /// `frames` frames of `channels` channels, `stride` floats from frame to frame (at least `channels`).
  CMemorySource(const float* samples, std::uint64_t frames, unsigned channels, std::size_t stride,
                double rate, double startTime = 0)
      : samples_(samples),
        frames_(frames),
        channels_(channels),
        stride_(stride),
        rate_(rate),
        startTime_(startTime) {}

  double SampleRate() const override { return rate_; }
  unsigned Channels() const override { return channels_; }
  std::optional<std::uint64_t> Frames() const override { return frames_; }
  double StartTime() const override { return startTime_; }
  SampleBlock Read(std::size_t count) override;
  bool Rewind() override;
  bool Seek(std::uint64_t frame) override;

 private:
  const float* samples_;
  std::uint64_t frames_;
  unsigned channels_;
  std::size_t stride_;
  double rate_, startTime_;
  std::uint64_t at_ = 0;
};
