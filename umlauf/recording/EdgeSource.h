#pragma once

#include <cstddef>
#include <span>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

/// One change of a logic level.
struct RecordedEdge {
  double time = 0;  ///< [s]
  bool rising = true;
};

/// A recording that holds the times of edges instead of samples, as a counter card or a logic analyser gives
/// them; read from start to end in constant memory. Times rise.
///
/// Not for several threads at once. Nothing throws: what cannot be read ends the recording, and `Failure`
/// says why.
class UMLAUF_API CEdgeSource {
 public:
  virtual ~CEdgeSource();

  /// The next edges, `count` (at least 1) at most; none: the end. Valid until the source is read again or
  /// destroyed.
  virtual std::span<const RecordedEdge> Read(std::size_t count) = 0;
  /// Why reading ended before the end, in one sentence for people; empty when nothing went wrong.
  virtual CString Failure() const { return CString(); }
  /// Whether something did go wrong, also where there is no memory to say what.
  virtual bool HasFailed() const { return !Failure().IsEmpty(); }

 protected:
  CEdgeSource() = default;
  CEdgeSource(const CEdgeSource&) = default;
  CEdgeSource& operator=(const CEdgeSource&) = default;
};
