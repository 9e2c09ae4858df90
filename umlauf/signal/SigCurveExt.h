#pragma once

#include <concepts>

#include "umlauf/signal/SigCurve.h"

/// Equidistant curve with a valid span: the part of its axis inside which its values count. It also carries a
/// date and an id, so that the curves of a curve array can be ordered in time and told apart.
///
/// The span is kept as positions (`VMin`, `VMax`) and as sample indices (`IMin`, `IMax`, both included); the
/// x length (`XLen`) is the number of samples in the span. Operations of the base classes that know nothing
/// of the span (`Malloc`, `ShiftData`, `SetXMinMax`) leave it as it was; the samples that it names are
/// limited to those that exist wherever they are used. One object is used by one thread at a time.
class UMLAUF_API CSigCurveExt : public CSigCurve {
  UMLAUF_DECLARE_DYNCREATE(CSigCurveExt)

 public:
  /// Empty, over [0, 1).
  CSigCurveExt();
  /// n zeroed samples over [0, 1), all of them valid.
  explicit CSigCurveExt(std::uint64_t n);
  /// Copies as CSigCurve's copy does (units stay at their default), with span, date and id.
  CSigCurveExt(const CSigCurveExt& other, bool deep);
  CSigCurveExt(const CSigCurveExt& other) : CSigCurveExt(other, true) {}
  CSigCurveExt& operator=(const CSigCurveExt& other);
  /// The whole curve becomes valid, at date 0. Intended: the curve id becomes -1.
  CSigCurveExt& operator=(const CSigCurve& other);
  using CSigCurve::operator=;
  void InitHeader() override;
  /// Header, axis, span, date and id of another curve; the samples stay.
  void InitHeader(const CSigCurveExt& source, bool deep);
  /// Header and axis of a curve without a span; what belongs to the span becomes what assignment makes it.
  void InitHeader(const CSigCurve& source, bool deep);
  /// Zero samples with length, axis, span and id of another curve; name, units and date stay.
  CSigCurveExt& MakeSameSize(const CSigCurveExt& other);

  float Date() const { return date_; }
  /// Time of the curve on the time axis of its curve array.
  float& Date() { return date_; }
  void Date(float date) { date_ = date; }
  int CurveId() const { return curveId_; }
  void CurveId(int id) { curveId_ = id; }

  // Valid span
  float VMin() const { return vMin_; }
  float VMax() const { return vMax_; }
  std::int64_t IMin() const { return iMin_; }
  std::int64_t IMax() const { return iMax_; }
  /// Samples in the span; 0 or less for an invalid one.
  std::int64_t ILen() const { return iMax_ - iMin_ + 1; }
  SSampleRun ValidSamples() const override;
  /// True when there are samples and the span holds at least one.
  bool IsValid() const { return DLen() != 0 && iMin_ <= iMax_; }
  /// Limits both positions to the axis; the indices are those of the nearest samples.
  void SetVMinMax(float from, float to);
  /// Limits both indices to the samples. Intended: the positions are those of the indices as passed.
  void SetVIMinMax(std::int64_t from, std::int64_t to);
  /// The whole curve.
  void ResetVMinMax();
  /// Makes the span empty. Intended: the one sample of a one-sample curve stays valid.
  void Invalidate();
  /// Widens the span to hold [from, to], as far as the axis goes.
  void Expandieren(float from, float to);
  void Expandieren(const CSigCurveExt* other) { Expandieren(other->vMin_, other->vMax_); }
  /// Narrows the span to what it shares with [from, to].
  void Schrumpfen(float from, float to);
  void Schrumpfen(const CSigCurveExt* other) { Schrumpfen(other->vMin_, other->vMax_); }
  /// Index of the nearest sample, limited to the span.
  std::int64_t GetIndexV(float x) const;

  // Lookup and ranges, over the span
  float GetValue(float x) const override;
  /// VMin <= x <= VMax.
  bool IsInRange(float x) const override;
  void GetXRange(float& lo, float& hi) const override;
  void GetYRange(float& lo, float& hi) const override;
  void GetYRangeX(float& lo, float& hi, float x1, float x2) const override;
  using CSigCurve::GetYRangeXI;
  /// Over the samples i1 to i2, both included, that lie in the span; the nearest sample inside it when none
  /// does. Nothing is written when i1 > i2 or there is no such sample.
  virtual void GetYRangeXI(float& lo, float& hi, std::int64_t i1, std::int64_t i2) const;
  /// As above, for indices that are neither both std::size_t nor both std::int64_t, such as plain numbers.
  template <std::integral First, std::integral Last>
  void GetYRangeXI(float& lo, float& hi, First i1, Last i2) const {
    GetYRangeXI(lo, hi, static_cast<std::int64_t>(i1), static_cast<std::int64_t>(i2));
  }
  /// As CSigCurve::PointDistance, to the valid part; 0 when there is none.
  float PointDistance(float x, float y, std::size_t* index) const override;
  /// Sum of the samples from x1 to x2 inside the span; with `energetic` the samples are levels in decibels
  /// and the result is the level of their summed powers. 0 when nothing lies between.
  float AbschnittSumme(float x1, float x2, bool energetic) const;

  // Shape
  /// CSigCurve's re-framing makes all samples valid, but `VMin` and `VMax` stay those of the axis before:
  /// `ResetVMinMax` follows.
  using CSigCurve::Resize;
  /// As CSignal::Resize; the whole curve becomes valid, also when there is no room for more samples.
  bool Resize(std::uint64_t n) override;
  /// Cutting also cuts the span, which then begins (ends) at the cut.
  CSigCurveExt& CutLeft(float x) override;
  CSigCurveExt& CutRight(float x) override;
  CSigCurveExt& CutLR(float left, float right) override;
  /// Appends the samples of a curve; the span covers all samples before them and grows by the width of the
  /// other curve's span.
  CSigCurveExt& Append(const CSigCurveExt& other);
  /// Reverses samples, axis and span.
  CSigCurveExt& MirrorX();
  /// Zeroes the samples and resets the header; the length stays.
  /// Intended: the span's indices cover all samples while its positions are 0 and 1.
  void Reset() override;

  // Joining two extended curves
  /// Widens the span with the other curve's samples where that one's span reaches further. Only for curves of
  /// exactly the same step whose spans overlap or touch. Intended: the x length stays.
  CSigCurveExt& operator^=(const CSigCurveExt& other);
  /// Over the overlap of both spans, the larger of both samples.
  /// Intended: with mode 0 the smaller of both.
  CSigCurveExt& Maximize(const CSigCurveExt* other, int mode);
  using CSigCurve::AddSquared;
  using CSigCurve::AddWithWeight;
  /// Adds weight * o² (weight * o) for the other curve's samples (for an extended one those of its span),
  /// shifted by `offset` samples from IMin on and limited to the span. Nothing for weight 0.
  CSigCurveExt& AddSquared(const CSigCurve& other, float weight, int offset);
  CSigCurveExt& AddWithWeight(const CSigCurve& other, float weight, int offset);

  // File record: the curve's, from version 2 on followed by date, VMin and VMax
  bool WriteToFile(CFile& file, unsigned version) const override;
  /// Fields that the file no longer holds are those of version 1: date 0, the whole curve valid.
  bool ReadFromFile(CFile& file, unsigned version) override;

 protected:
  void Append(const CSignal& other) override { CSignal::Append(other); }

 private:
  float SampleNear(std::int64_t i) const;
  void SetSpan(float from, float to, std::int64_t first, std::int64_t last);
  void CopyFrom(const CSigCurveExt& other, std::int64_t otherFirst, std::int64_t first, std::int64_t last);
  template <class Term>
  void AddTerms(const CSigCurve& other, int offset, Term term);

  float vMin_ = 0.0f;
  float vMax_ = 1.0f;
  float date_ = 0.0f;
  std::int32_t curveId_ = 0;
  std::int64_t iMin_ = 0;
  std::int64_t iMax_ = -1;
};
