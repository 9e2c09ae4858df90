#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/visdata/VisDataItem.h"

/// Equidistant samples of 32 bits in an item's raw data: what both vector classes share. The first `Size()`
/// words of the raw data are the samples; operations of the base that shrink or free the block leave no more
/// samples than there is room for.
template <class T>
class UMLAUF_TEMPLATE_API CVisDataSamples : public CVisDataItem {
  static_assert(sizeof(T) == sizeof(float));

 public:
  std::uint64_t Size() const { return std::min(size_, RawCapacity()); }
  bool Empty() const { return Size() == 0; }
  /// First sample; valid until the next operation that allocates or frees.
  T* Data() { return reinterpret_cast<T*>(RawData()); }
  const T* Data() const { return reinterpret_cast<const T*>(RawData()); }
  /// Sample i < Size(); not checked.
  T& operator[](std::uint64_t i) { return Data()[i]; }
  const T& operator[](std::uint64_t i) const { return Data()[i]; }

  /// n zeroed samples in place of what was there. False, with no samples, when there is no memory.
  bool SetSize(std::uint64_t n) {
    size_ = AllocRawData(n) ? n : 0;
    return size_ == n;
  }
  /// Keeps the first n samples; new ones are zero. False, with no samples, when there is no memory.
  bool Resize(std::uint64_t n) {
    const std::uint64_t kept = std::min(Size(), n);
    size_ = ExpandRawData(n) ? n : 0;
    if (size_ > kept) std::fill(Data() + kept, Data() + size_, T{});
    return size_ == n;
  }
  /// Copies of n samples, which may lie in the item itself, in place of what was there. False, with no
  /// samples, when there is no memory.
  bool Set(const T* samples, std::uint64_t n) {
    size_ = CopyRawData(reinterpret_cast<const float*>(samples), n) ? n : 0;
    return size_ == n;
  }
  /// Appends n samples, which may lie in the item itself. False, with no samples, when there is no memory.
  bool Append(const T* samples, std::uint64_t n) {
    const std::uint64_t size = Size();
    size_ = AppendRawData(size, samples, n) ? size + n : 0;
    return size_ != 0 || n == 0;
  }

  /// [0, 1) at first.
  const SVisDataAxis& Axis() const { return axis_; }
  void SetAxis(const SVisDataAxis& axis) { axis_ = axis; }
  /// x of sample i.
  float X(std::int64_t i) const { return axis_.Position(i, Size()); }

  /// As CVisDataItem::Reset, and there are no samples on an axis of [0, 1).
  void Reset() override {
    CVisDataItem::Reset();
    size_ = 0;
    axis_ = SVisDataAxis();
  }

 protected:
  using CVisDataItem::CVisDataItem;

 private:
  std::uint64_t size_ = 0;
  SVisDataAxis axis_;
};

/// Equidistant float samples, for example a curve to be drawn.
class UMLAUF_API CVisDataVector : public CVisDataSamples<float> {
  UMLAUF_DECLARE_DYNCREATE(CVisDataVector)

 public:
  CVisDataVector() : CVisDataSamples(DtVector) {}
  /// Of those asked for, x: the ends of the axis; y: the range of the samples.
  void CalcRange(Dataaxis axes) override;
};

/// Equidistant integer samples; sample i stands for the value `(*this)[i] * ScaleFactor()`.
class UMLAUF_API CVisDataIntVector : public CVisDataSamples<std::int32_t> {
  UMLAUF_DECLARE_DYNCREATE(CVisDataIntVector)

 public:
  CVisDataIntVector() : CVisDataSamples(DtIntVector) {}
  /// Value of sample i < Size(); not checked.
  float Value(std::uint64_t i) const { return static_cast<float>((*this)[i]) * ScaleFactor(); }
  /// Rounds values to samples in the present scale (a half goes away from zero); those beyond 32 bits
  /// saturate, NaN becomes the lowest sample. False, with no samples, when there is no memory.
  bool SetValues(const float* values, std::uint64_t n);
  /// Of those asked for, x: the ends of the axis; y: the range of the values.
  void CalcRange(Dataaxis axes) override;

 private:
  Range ValueRange() const;
};
