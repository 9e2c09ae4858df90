#pragma once

#include "umlauf/signal/Signal.h"

/// A run of samples of a curve, all of which exist.
struct SSampleRun {
  std::int64_t first = 0;
  std::int64_t count = 0;
};

/// Tells which samples of a curve count. Beside CSignal, so that the slots of that interface stay as they
/// are.
class UMLAUF_API CValidSamples {
 public:
  virtual SSampleRun ValidSamples() const = 0;

 protected:
  ~CValidSamples() = default;
};

/// Equidistant curve: n float samples spread evenly over an x interval.
///
/// The step is (XMax - XMin) / n, so XMax is the end of the last sample's step and not its position. The
/// samples are contiguous (`FData`); index computations from any x, NaN included, stay inside them. One
/// object is used by one thread at a time.
class UMLAUF_API CSigCurve : public CSignal, public CValidSamples {
  UMLAUF_DECLARE_DYNCREATE(CSigCurve)

 public:
  /// Empty, over [0, 1).
  CSigCurve();
  /// n zeroed samples over [0, 1).
  explicit CSigCurve(std::uint64_t n);
  /// Copies as CSignal's copy does (units stay at their default), with axis, scale factor and compression.
  CSigCurve(const CSigCurve& other, bool deep);
  CSigCurve(const CSigCurve& other) : CSigCurve(other, true) {}
  CSigCurve& operator=(const CSigCurve& other);
  /// Empty name, units cleared, and the axis, scale factor and compression of a new curve; the samples stay.
  void InitHeader() override;
  /// CSignal's header copy, then axis, scale factor and compression of the source; the samples stay.
  void InitHeader(const CSigCurve& source, bool deep);
  /// Overwrites the first samples with those of another curve; this curve must have at least as many (excess
  /// ones are not copied).
  void CopyData(const CSigCurve& other);

  // Samples and axis
  float* FData() { return Samples(); }
  const float* FData() const { return Samples(); }
  /// Writes sample i < DLen(); not checked.
  void SetAt(std::size_t i, float value) { Samples()[i] = value; }
  /// All samples; of a curve with a valid span those in it.
  SSampleRun ValidSamples() const override { return {0, static_cast<std::int64_t>(DLen())}; }
  float XMin() const { return xMin_; }
  float XMax() const { return xMax_; }
  void SetXMinMax(float xMin, float xMax);
  /// Step of the axis; 0 for an empty curve.
  float XDelta() const;
  /// x of sample i, also outside the curve; 0 for an empty curve.
  float GetPoint(std::int64_t i) const;
  /// Free factor kept with the curve, 1 by default; not part of the file record.
  float ScaleFactor() const { return scaleFactor_; }
  void SetScaleFactor(float factor) { scaleFactor_ = factor; }
  /// True when the file record (`WriteToFile`) holds 8-bit quantised samples, false for raw floats. By
  /// default it is true: samples then come back to within 1/510 of the curve's range (9.8 rpm of 600 ... 5600
  /// rpm).
  bool FileCompression() const { return fileCompression_ == 1; }
  void SetFileCompression(bool on) { fileCompression_ = on ? 1 : 0; }

  // Index from position: the nearest sample, (x - XMin) n / (XMax - XMin) + 0.5 in single precision,
  // truncated
  /// Limited to the samples; 0 for an empty curve or interval.
  std::uint64_t GetIndex(float x) const;
  std::uint64_t GetIndex(int x) const { return GetIndex(static_cast<float>(x)); }
  std::uint64_t GetIndex(double x) const { return GetIndex(static_cast<float>(x)); }
  /// Not limited: may be negative or beyond the last sample. 0 for an empty interval.
  std::int64_t GetIndexA(float x) const;
  /// Stores the unlimited index and tells whether it is one of a sample. False, with i untouched, for an
  /// empty curve or interval.
  bool GetIndexValidate(float x, std::int64_t& i) const;
  /// Intended: only the first sample is compared: 0 when it equals y, else -1.
  std::int64_t GetIndexFromY(float y) const;

  /// Linear interpolation; the first (last) sample within a thousandth of a step of the ends and beyond; 0
  /// when empty.
  float GetValue(float x) const override;
  /// XMin <= x <= XMax.
  bool IsInRange(float x) const override;

  // Ranges
  void GetXRange(float& lo, float& hi) const override;
  void GetYRange(float& lo, float& hi) const override;
  void GetYRangeX(float& lo, float& hi, float x1, float x2) const override;
  /// Over samples i1 to i2, both included; i2 is limited to the last one. Nothing is written when i1 > i2 or
  /// i1 is no sample.
  void GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const override;
  /// Positions and values of the first minimum and the first maximum; all 0 for an empty curve.
  Range YRange() const override;
  /// The range through the virtual `GetYRange`.
  void YMinMax(float& lo, float& hi) const { GetYRange(lo, hi); }
  /// Distance of a point to the curve: to the ends beyond the axis; within it to the sample at `GetIndex(x)`
  /// when an index is asked for, else to (x, GetValue(x)). 0 for an empty curve.
  float PointDistance(float x, float y, std::size_t* index) const override;

  // Cutting: an x outside the samples changes nothing
  /// The sample nearest to x becomes the first.
  /// Intended: XMin becomes x itself, not the sample's position, so the step changes slightly.
  CSigCurve& CutLeft(float x) override;
  /// The sample nearest to x becomes the last, and XMax becomes x itself.
  CSigCurve& CutRight(float x) override;
  CSigCurve& CutLR(float left, float right) override;
  /// Drops what lies left of x = 0.
  CSigCurve& CutNegative();
  /// Drops what lies right of x = 0.
  CSigCurve& CutPositive();
  CSigCurve& Clip(float value, bool upper) override;

  // Whole curve
  /// Squares the samples; the y unit is raised to the power 2.
  CSigCurve& Square();
  /// Square root, 0 for samples <= 0; the root of the y unit where its power allows it.
  CSigCurve& SquareRoot();
  /// Levels: with the y unit's power p (0 counts as 1), 20 / p * log10(s * reference^p), 0 for samples <= 0,
  /// NaN for NaN;
  /// the y unit becomes its root of order p, in decibels over the reference. Intended: multiplied by the
  /// power of the reference, not divided.
  CSigCurve& Log(float reference);
  /// Reverses the samples; the axis becomes [-XMax, -XMin).
  CSigCurve& MirrorX();
  CSigCurve& MirrorY();
  CSigCurve& Abs() override;
  /// Zero samples over another curve's axis, with its length, scale factor, compression, extended name and
  /// timestamp; name and units stay. Changes nothing else when there is no memory.
  CSigCurve& MakeSameSize(const CSigCurve& other);
  /// Appends the samples of a curve (also of this one); XMax grows by its span. Unchanged when there is no
  /// room.
  CSigCurve& Append(const CSigCurve& other);
  using CSignal::Resize;
  /// Re-frames the curve onto [x1, x2) with the same step, zeros where there were no samples, and moves both
  /// arguments onto the grid. An empty curve starts from 100 zero samples, an empty interval from a length of
  /// 100. Returns 1; 0 when both ends fall on one sample (nothing changes) or the size cannot be had, as for
  /// ends too far away to have an index of 32 bits (the samples are already shifted).
  int Resize(float& x1, float& x2);
  /// Same length, and both ends closer than 0.0001.
  bool FitTogether(const CSigCurve* other) const;
  /// Zeroes the samples and resets the header; the length stays.
  virtual void Reset();

  // Arithmetic with another curve: sample by sample over the smaller length; axis and length stay
  CSigCurve& operator+=(const CSigCurve& other);
  CSigCurve& operator-=(const CSigCurve& other);
  /// s += o * w, s += o² * w, s -= o².
  CSigCurve& AddWithWeight(const CSigCurve& other, float weight);
  CSigCurve& AddSquared(const CSigCurve& other, float weight);
  CSigCurve& SubtractSquared(const CSigCurve& other);
  /// The larger (smaller) of both samples. The other curve is expected to be at least as long.
  CSigCurve& Max(const CSigCurve& other);
  CSigCurve& Min(const CSigCurve& other);

  // Arithmetic with a number
  CSigCurve& operator=(float value);
  CSigCurve& operator+=(float value);
  CSigCurve& operator-=(float value) { return *this += -value; }
  CSigCurve& operator*=(float factor);
  /// Multiplies by the reciprocal; nothing for 0.
  CSigCurve& operator/=(float divisor);
  CSigCurve& Add(float value) override { return *this += value; }
  CSigCurve& Scale(float factor) override { return *this *= factor; }

  // File record: the header section, then a section of samples
  bool WriteToFile(CFile& file, unsigned version) const override;
  bool ReadFromFile(CFile& file, unsigned version) override;

 protected:
  void Append(const CSignal& other) override { CSignal::Append(other); }

 private:
  float IndexPosition(float x) const;
  std::uint64_t CommonLength(const CSigCurve& other) const;

  float xMin_ = 0.0f;
  float xMax_ = 1.0f;
  float scaleFactor_ = 1.0f;
  std::int32_t fileCompression_ = 1;
};
