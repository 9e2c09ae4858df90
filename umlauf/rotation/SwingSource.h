#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/recording/BlockSource.h"

/// How the swings of a recording are brought to one scale.
struct SwingScale {
  enum class Preparation : std::uint8_t {
    none,
    median,     ///< each sample becomes the median of itself and its neighbours: single wild samples vanish
    unwrapped,  ///< steps of about `limit` are those of a converter that went round
    jumps       ///< steps of more than `limit` are taken out, wherever the level goes then
  };
  float smallest = 1;  ///< up and down by less is noise
  Preparation preparation = Preparation::none;
  float limit = 0;

  /// Levels that every swing passes on its scale: far enough apart for the noise, and away from the middle,
  /// where a sine rests in the gap of a wheel.
  static constexpr float upper = 0.8f, lower = 0.2f;
};

/// One channel of a recording on a scale of its own for every swing: from 0 at each low extreme to 1 at the
/// next high one and back, whatever level and size the swing has. What goes up and down by less than the
/// smallest swing stays within its flank. So one pair of levels serves for signals that drift and grow.
///
/// Samples stay where they are; those before the first and behind the last whole swing lie at its end. It
/// looks ahead to the next extreme, a million samples at most (a longer rest keeps the scale of the swing in
/// progress), and takes about 12 MB.
///
/// The source must outlive it; it is read from where it stands. Not for several threads at once. Nothing
/// throws: without memory it ends, and `Failure` says so.
class UMLAUF_API CSwingSource : public CBlockSource {
 public:
  CSwingSource(CBlockSource& source, unsigned channel, const SwingScale& scale);
  ~CSwingSource() override;
  CSwingSource(const CSwingSource&) = delete;
  CSwingSource& operator=(const CSwingSource&) = delete;

  double SampleRate() const override { return source_.SampleRate(); }
  std::optional<std::uint64_t> Frames() const override { return source_.Frames(); }
  double StartTime() const override { return source_.StartTime(); }
  CString ChannelName(unsigned) const override { return source_.ChannelName(channel_); }
  SampleBlock Read(std::size_t count) override;
  bool Rewind() override;
  CString Failure() const override;
  bool HasFailed() const override { return noMemory_ || source_.HasFailed(); }

 private:
  struct State;

  void Fill(std::size_t count);

  CBlockSource& source_;
  unsigned channel_;
  SwingScale scale_;
  State* state_ = nullptr;
  bool noMemory_ = false;
};
