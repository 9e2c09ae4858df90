#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CObject.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/platform/memory/AlignedBlock.h"

/// Type tags of the signal classes.
enum SignalTag : LONG {
  SigIdRaw = 101,
  SigIdCurve = 102,
  SigIdCurveArray = 103,
  SigIdPairs = 109,
  SigIdCurveExt = 1021
};

/// Sample buffer of a signal: a run of 32-bit samples that is empty, owned (a 128-byte aligned block that
/// this object allocated) or borrowed from the caller (`SetBuffer`), plus a tag that tells the concrete
/// signal class.
///
/// The samples are declared as 32-bit words and hold the bits of single-precision floats. Sizes count
/// samples. Memory is never given back on shrinking. One object is used by one thread at a time.
class UMLAUF_API CSigRaw : public CObject {
  UMLAUF_DECLARE_DYNAMIC(CSigRaw)

 public:
  CSigRaw() = default;
  /// n zeroed samples; empty when there is no memory.
  explicit CSigRaw(std::uint64_t n);
  /// Deep copy of the samples (also of borrowed ones) and the data word; the tag is 101, the copy-data
  /// flag 1.
  CSigRaw(const CSigRaw& other);
  ~CSigRaw() override = default;
  /// Copies samples and data word; tag and copy-data flag stay. Unchanged but emptied when there is no
  /// memory.
  CSigRaw& operator=(const CSigRaw& other);

  LONG SigId() const { return tag_; }
  void SetSigId(LONG tag) { tag_ = tag; }
  bool IsSigCurve() const { return tag_ == SigIdCurve; }
  bool IsSigCurveExt() const { return tag_ == SigIdCurveExt; }
  bool IsSigCurveAny() const { return IsSigCurve() || IsSigCurveExt(); }
  bool IsSigPairs() const { return tag_ == SigIdPairs; }

  /// Number of valid samples.
  std::uint64_t DLen() const { return length_; }
  /// First valid sample; null when empty. Valid until the next operation that allocates or frees.
  ULONG* Data() { return reinterpret_cast<ULONG*>(data_); }
  const ULONG* Data() const { return reinterpret_cast<const ULONG*>(data_); }
  /// Free word that travels with the samples, 1 by default.
  LONG DataWord() const { return dataWord_; }
  void SetDataWord(LONG word) { dataWord_ = word; }
  /// Flag for callers, 1 by default.
  int DoCopyData() const { return copyData_; }
  void DoCopyData(int flag) { copyData_ = flag; }

  /// n zeroed samples in place of what was there; reuses the owned block when it is large enough. Returns the
  /// samples, null when there is no memory (the object is then empty).
  ULONG* Malloc(std::uint64_t n);
  /// Changes the length and keeps the samples; new ones are zero. From empty it is `Malloc`. False, and
  /// nothing changed, when there is no memory or when a borrowed buffer would have to grow.
  virtual bool Resize(std::uint64_t n);
  void Free();
  /// Borrows n samples at p, which the caller keeps alive; a negative n counts as 0, as does any n without a
  /// buffer. An owned block is released.
  void SetBuffer(ULONG* p, LONG n);
  /// Turns a borrowed buffer into an owned copy.
  /// Intended: on an owned buffer the samples become zero, because the block is reused and cleared before the
  /// copy.
  void CopyToRealData();
  /// Moves the samples k places toward the end (k > 0) or the front (k < 0); freed places become zero, the
  /// length stays.
  void ShiftData(int k);
  /// Sets all samples to zero.
  void Nullsetzen();

 protected:
  float* Samples() { return data_; }
  const float* Samples() const { return data_; }
  /// Samples that fit without allocating.
  std::uint64_t Capacity() const { return capacity_; }
  /// As `Malloc`, but the samples are left as they come: for who writes all of them.
  ULONG* MallocUncleared(std::uint64_t n);
  /// Takes over a block with room for n samples, all of which are then valid, in place of what was there.
  void Adopt(umlauf::AlignedBlock<float> block, std::uint64_t n);
  /// Sets the number of valid samples, at most the current length or the capacity.
  void SetDLen(std::uint64_t n) { length_ = n; }

 private:
  bool Alloc(std::uint64_t n);
  void Release();

  LONG tag_ = SigIdRaw;
  std::uint64_t length_ = 0;
  LONG dataWord_ = 1;
  float* data_ = nullptr;
  umlauf::AlignedBlock<float> block_;
  std::uint64_t capacity_ = 0;
  int copyData_ = 1;
};
