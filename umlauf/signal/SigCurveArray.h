#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "umlauf/signal/SigCurveExt.h"

/// Curves over an array axis: each has a position on it, its `Date`, for example the time, the speed or the
/// revolution at which it was taken. The curves are in ascending order of their positions; equal ones are in
/// the order in which they came.
///
/// The array owns its curves. A pointer to one is valid until that curve is removed; who changes its date
/// must keep the order, or call `Sort`. Name, x and y unit of the array are those of its signal header; it
/// takes over the units of the first curve unless it has some. It has no samples of its own (`DLen` is 0).
/// Without memory an operation leaves the array as it is, unless it says otherwise. One object is used by one
/// thread at a time.
class UMLAUF_API CSigCurveArray : public CSignal {
  UMLAUF_DECLARE_DYNCREATE(CSigCurveArray)

 public:
  using CurvePtr = std::unique_ptr<CSigCurveExt>;
  /// Index of no curve.
  static constexpr std::size_t None = static_cast<std::size_t>(-1);

  CSigCurveArray();
  /// Copies everything with all curves. Empty when there is no memory.
  CSigCurveArray(const CSigCurveArray& other);
  CSigCurveArray& operator=(const CSigCurveArray& other);
  /// Without curves, name and units.
  void InitHeader() override;

  // Curves
  std::size_t Count() const { return curves_.size(); }
  bool IsEmpty() const { return curves_.empty(); }
  /// Curve i < Count(); not checked.
  CSigCurveExt& operator[](std::size_t i) { return *curves_[i]; }
  const CSigCurveExt& operator[](std::size_t i) const { return *curves_[i]; }
  const CurvePtr* begin() const { return curves_.data(); }
  const CurvePtr* end() const { return curves_.data() + curves_.size(); }
  /// Takes a curve as the last one. False, and the curve stays with its owner, for null, for a date that is
  /// NaN or before that of the last one, and when there is no memory.
  bool Append(CurvePtr&& curve);
  /// A copy of a curve, at a position; likewise.
  bool Append(const CSigCurve& curve, float position);
  /// Takes a curve behind all that do not lie beyond it and returns its index; None, and the curve stays with
  /// its owner, for null, a date that is NaN, and when there is no memory.
  std::size_t Insert(CurvePtr&& curve);
  /// Takes curve i out and hands it over; null when there is none.
  CurvePtr Remove(std::size_t i);
  void Clear() { curves_.clear(); }
  /// Takes all curves of another array, which has none afterwards, in place of its own.
  void TakeCurves(CSigCurveArray& from);
  /// Restores the order after dates were changed; those that are NaN go to the end.
  void Sort();

  // Array axis
  const CMeasuringUnit& ArrayUnit() const { return arrayUnit_; }
  void SetArrayUnit(const CMeasuringUnit& unit) { arrayUnit_ = unit; }
  /// Positions of the first and the last curve; untouched when there are none.
  void GetArrayRange(float& lo, float& hi) const;
  /// First curve at exactly this position; None when there is none.
  std::size_t Find(float position) const;
  /// Curve at the nearest position, of two equally near ones the one before; None when there are none.
  std::size_t FindNearest(float position) const;
  /// Last curve at or before this position; None when there is none.
  std::size_t FindBefore(float position) const;
  /// A copy of the header and of the curves from one position to another, both included, in place of what
  /// `part` held; `part` may be this array. False, with no curves in `part`, when there is no memory.
  bool Part(float from, float to, CSigCurveArray& part) const;

  // Cross-sections
  /// Position and value of every curve at an x that its span holds. `points` has room for Count() points of
  /// x and y; returns their number.
  std::size_t SectionAtX(float x, float* points) const;
  /// The same as a curve of n samples over the array axis, interpolated between the curves and held beyond
  /// the first and last. False, with an empty curve, when no curve has a value at x or there is no memory.
  bool SectionAtX(float x, std::uint64_t n, CSigCurveExt& out) const;
  /// The curve at a position, interpolated between its neighbours on the x axis that both share; beyond the
  /// first and the last curve that one. Valid where both are. False, with an empty curve, when there are no
  /// curves or there is no memory.
  bool SectionAt(float position, CSigCurveExt& out) const;

  // Over all curves, on their common x axis: from the least XMin to the greatest XMax of them in the least of
  // their steps, though with no more samples than all curves have together. At each x those curves count
  // whose span holds it; without any the value is 0. The result is valid from the first to the last x that
  // any span holds. False, with an empty curve, when there are no curves or there is no memory.
  bool Minimum(CSigCurveExt& out) const;
  bool Maximum(CSigCurveExt& out) const;
  bool Mean(CSigCurveExt& out) const;
  /// Of levels (y unit in dB) the level of the mean power, else the root of the mean square.
  bool EnergeticMean(CSigCurveExt& out) const;
  /// Whether all curves have one length and axis (FitTogether).
  bool HasCommonAxis() const;
  /// Gives all curves the common x axis, interpolated; their spans keep their ends to half a step. False,
  /// with some curves changed, when there is no memory.
  bool MakeCommonAxis();

  // What all signals offer: done to every curve, or over all of them
  CSigCurveArray& Abs() override;
  CSigCurveArray& Clip(float value, bool upper) override;
  CSigCurveArray& Add(float value) override;
  CSigCurveArray& Scale(float factor) override;
  CSigCurveArray& CutLeft(float x) override;
  CSigCurveArray& CutRight(float x) override;
  CSigCurveArray& CutLR(float left, float right) override;
  /// Of the nearest curve; its index, not that of a sample.
  float PointDistance(float x, float y, std::size_t* index) const override;
  bool IsInRange(float x) const override;
  /// Mean of the curves whose span holds x; 0 when none does.
  float GetValue(float x) const override;
  void GetXRange(float& lo, float& hi) const override;
  void GetYRange(float& lo, float& hi) const override;
  void GetYRangeX(float& lo, float& hi, float x1, float x2) const override;
  /// Over the curves i1 to i2, both included.
  void GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const override;
  Range YRange() const override;

  // File record: header section, array section, then for each curve its id and its record
  /// Version 2; nothing is written for others, and the result is false.
  bool WriteToFile(CFile& file, unsigned version) const override;
  /// False for other versions and when the file holds fewer curves than it says, or not in ascending order;
  /// the array then has those in front of the failure.
  bool ReadFromFile(CFile& file, unsigned version) override;

 protected:
  /// Appends copies of all curves of another array, in their order.
  void Append(const CSignal& other) override;

 private:
  struct Axis;
  template <class Act>
  CSigCurveArray& ForEach(Act act);
  Axis CommonAxis() const;
  bool Frame(const Axis& axis, CSigCurveExt& out) const;
  template <class Step, class Finish>
  bool Fold(CSigCurveExt& out, Step step, Finish finish) const;
  void TakeUnits(const CSignal& curve);

  std::vector<CurvePtr> curves_;
  CMeasuringUnit arrayUnit_;
};
