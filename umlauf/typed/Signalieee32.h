#pragma once

#include <cstddef>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/typed/TypedSignal.h"

/// The float signal, with arithmetic and statistics; see CTypedSignal.
///
/// They cover all samples of the block, whatever channel they belong to, or those from `first` to before
/// `last` that lie in the block of this signal (a range of any other signal is empty): `Mean(begin(0, c),
/// end(0, c))` is the mean of channel c of an interleaved signal. Sums are formed in single precision.
/// Without samples all statistics are 0. Units and gauges in the description are the caller's business.
class UMLAUF_API CSignalieee32 : public CTypedSignal<float> {
 public:
  using CTypedSignal::CTypedSignal;
  CSignalieee32() = default;
  explicit CSignalieee32(const CTypedSignal<float>& other) : CTypedSignal(other) {}
  CSignalieee32& operator=(const CTypedSignal<float>& other) {
    CTypedSignal::operator=(other);
    return *this;
  }

  float Sum() const { return Sum(begin(), end()); }
  float Sum(const_iterator first, const_iterator last) const;
  float SumSquares() const { return SumSquares(begin(), end()); }
  float SumSquares(const_iterator first, const_iterator last) const;
  float Mean() const { return Mean(begin(), end()); }
  float Mean(const_iterator first, const_iterator last) const;
  float MeanSquare() const { return MeanSquare(begin(), end()); }
  float MeanSquare(const_iterator first, const_iterator last) const;
  /// Square root of the mean square.
  float RMS() const { return RMS(begin(), end()); }
  float RMS(const_iterator first, const_iterator last) const;
  float MeanMagnitude() const { return MeanMagnitude(begin(), end()); }
  float MeanMagnitude(const_iterator first, const_iterator last) const;
  /// Greatest magnitude; NaN samples are passed over.
  float MaxMagnitude() const { return MaxMagnitude(begin(), end()); }
  float MaxMagnitude(const_iterator first, const_iterator last) const;
  /// Minimum and maximum; NaN samples are passed over unless the first one is NaN.
  std::pair<float, float> YRange() const { return YRange(begin(), end()); }
  std::pair<float, float> YRange(const_iterator first, const_iterator last) const;

  CSignalieee32& AbsoluteVal() { return AbsoluteVal(begin(), end()); }
  CSignalieee32& AbsoluteVal(const_iterator first, const_iterator last);
  CSignalieee32& Square() { return Square(begin(), end()); }
  CSignalieee32& Square(const_iterator first, const_iterator last);
  /// 0 for samples <= 0.
  CSignalieee32& SquareRoot() { return SquareRoot(begin(), end()); }
  CSignalieee32& SquareRoot(const_iterator first, const_iterator last);
  /// All samples get the value.
  CSignalieee32& operator=(float value) { return Fill(begin(), end(), value); }
  CSignalieee32& Fill(const_iterator first, const_iterator last, float value);
  CSignalieee32& operator*=(float factor) { return Scale(begin(), end(), factor); }
  /// Multiplies by 1 / divisor; a divisor of 0 changes nothing.
  CSignalieee32& operator/=(float divisor);
  CSignalieee32& Scale(const_iterator first, const_iterator last, float factor);

  // With another signal, sample by sample in the order of the blocks; samples that the other one does not
  // have stay as they are. Descriptions are not looked at.

  CSignalieee32& operator+=(const CTypedSignal<float>& other);
  CSignalieee32& operator-=(const CTypedSignal<float>& other);
  /// The greater (smaller) of both; the other's where one is NaN.
  CSignalieee32& Maximize(const CTypedSignal<float>& other);
  CSignalieee32& Minimize(const CTypedSignal<float>& other);
  /// This * a + other * b.
  CSignalieee32& WeightedSum(const CTypedSignal<float>& other, float a, float b);

  /// Becomes the other signal, which may be this one, with its first two x dimensions exchanged: their
  /// descriptions and the samples with them, y[.., j, i, ..] = other[.., i, j, ..]. With fewer dimensions a
  /// copy of them. Key, set point and id stay. False, and nothing changes, without memory and when the other
  /// has fewer samples than its description asks for.
  bool MakeTransposedOf(const CTypedSignal<float>& other);

  using CTypedSignal::demux;
  /// Splits all y channels at once: channel c goes into dsts[c], 0 <= c < `YCount()`, as much of it as fits;
  /// with reshapeDst each gets the description of its channel and a block of its size before. False without
  /// memory. Intended: samples are taken as interleaved, whatever the signal coding.
  bool demux(CTypedSignal<float>* dsts, bool reshapeDst) const;
  /// The inverse: fills channel c of this signal from the start of the block of srcs[c], 0 <= c < `YCount()`,
  /// as far as both have samples. False unless this signal is interleaved and none of srcs.
  bool mux(const CTypedSignal<float>* srcs);

 private:
  struct Samples {
    std::size_t first, n, stride;
  };
  using Statistic = float(const float* x, std::size_t n, std::size_t stride);
  Samples Range(const const_iterator& first, const const_iterator& last) const;
  float Over(const const_iterator& first, const const_iterator& last, Statistic* statistic) const;
  std::size_t Common(const CTypedSignal<float>& other) const;
  template <class Op>
  CSignalieee32& Apply(const const_iterator& first, const const_iterator& last, Op op);
};

// Arrays of float signals are arrays of their base class, which `demux` and `mux` rely on.
static_assert(sizeof(CSignalieee32) == sizeof(CTypedSignal<float>));
