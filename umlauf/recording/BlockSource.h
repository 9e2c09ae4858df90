#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

/// Successive frames of a recording. Sample i of channel c is `samples[i * stride + c]`. Valid until the
/// source is read again, rewound or destroyed.
struct SampleBlock {
  const float* samples = nullptr;
  std::size_t count = 0;   ///< frames; 0: the recording has ended, or it failed
  std::size_t stride = 1;  ///< floats from frame to frame
};

/// A recording, read from start to end block by block, so that memory does not grow with its length. An
/// application implements it for what it has: two functions suffice for a stream, `Rewind` beside them for
/// what can be read again, and `Seek` for what need not be read in between.
///
/// Not for several threads at once. Nothing throws: what cannot be read ends the recording, and `Failure`
/// says why.
class UMLAUF_API CBlockSource {
 public:
  virtual ~CBlockSource();

  /// [samples/s], above 0.
  virtual double SampleRate() const = 0;
  /// Channels in each frame, at least 1.
  virtual unsigned Channels() const { return 1; }
  /// Frames from start to end; nothing where that shows only at the end (a pipe, a live measurement).
  virtual std::optional<std::uint64_t> Frames() const { return std::nullopt; }
  /// Time of the first frame [s].
  virtual double StartTime() const { return 0; }
  /// Name of channel c [from 0] for people; may be empty.
  virtual CString ChannelName(unsigned c) const;

  /// The next frames, `count` (at least 1) at most; wide ones may come in smaller steps. None: the end.
  virtual SampleBlock Read(std::size_t count) = 0;
  /// Back to the first frame. False where that is not possible; the source then stays where it is.
  virtual bool Rewind() { return false; }
  /// Goes to frame `frame` [from 0], at most that behind the last one, without reading what lies before.
  /// False where that is not possible, or no faster than reading; the source then stays where it is.
  virtual bool Seek(std::uint64_t frame);

  /// Why reading ended before the end, in one sentence for people; empty when nothing went wrong.
  virtual CString Failure() const { return CString(); }
  /// Whether something did go wrong, also where there is no memory to say what.
  virtual bool HasFailed() const { return !Failure().IsEmpty(); }

 protected:
  CBlockSource() = default;
  CBlockSource(const CBlockSource&) = default;
  CBlockSource& operator=(const CBlockSource&) = default;
};
