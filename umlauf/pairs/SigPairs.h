#pragma once

#include <algorithm>
#include <valarray>

#include "umlauf/platform/basis/StridedIterator.h"
#include "umlauf/signal/SigCurve.h"

/// One point of a point-pair signal.
struct SPunkt {
  float x = 0.0f;
  float y = 0.0f;
  friend bool operator==(const SPunkt&, const SPunkt&) = default;
};
static_assert(sizeof(SPunkt) == 2 * sizeof(float));

/// Signal of (x, y) points that need not be equidistant, with arithmetic between two signals on a merged x
/// grid.
///
/// The points lie interleaved (x0, y0, x1, y1, ...) in the float buffer; the valid-sample count `DLen` is the
/// number of points. The signal knows whether its x ascend, descend, both (all equal, or no points) or
/// neither, and looks things up accordingly: by binary search when sorted. `Setzen`, the iterators, `Resize`
/// and `SetzeGueltig` leave this state as it is; after writing x values out of order call
/// `PruefeSortierung`. A state that does not fit the points gives useless values but harms nothing.
///
/// Points keep the memory of the object; `Malloc`, `SetBuffer` and `ShiftData` of the base count floats and
/// know nothing of pairs. Without memory an operation leaves the signal as it is, unless it says otherwise.
/// One object is used by one thread at a time.
class UMLAUF_API CSigPairs : public CSignal {
  UMLAUF_DECLARE_DYNCREATE(CSigPairs)

 public:
  /// Index of no point.
  static constexpr std::size_t KeinPunkt = static_cast<std::size_t>(-1);
  /// What `IndexZu` looks for: the neighbour with the lower x, with the higher x, or the nearest.
  enum Nachbar : int { unterer = 0, oberer = 1, naechster = 2 };
  /// What `Verrechnen` forms from the own value y and the other signal's value v at the same x.
  enum Operation : int {
    vereinigen = 0,             ///< union of both grids: y, outside the own range v
    schneiden = 1,              ///< merged grid within the other's range: y
    addieren = 2,               ///< y + v
    subtrahieren = 3,           ///< y - v
    minimum = 4,                ///< min(y, v) within the other's range, y elsewhere (also 9)
    maximum = 5,                ///< max(y, v), likewise (also 8)
    multiplizieren = 6,         ///< y * v
    dividieren = 7,             ///< y / v; 0 where v is 0
    quadrat_addieren = 10,      ///< y + v²
    quadrat_subtrahieren = 11,  ///< y - v²
    gitter_vereinigen = 12      ///< union of both grids: y, 0 at every new point
  };

  // Construction and storage
  CSigPairs();
  /// Empty, with room for n points.
  explicit CSigPairs(std::size_t n);
  /// Copies as CSignal's copy does (units stay at their default), with points, parameter, number, tolerance.
  CSigPairs(const CSigPairs& other, bool deep);
  CSigPairs(const CSigPairs& other) : CSigPairs(other, true) {}
  /// The samples of a curve (of an extended one those of its span) as points, with its name and units.
  /// Converts, so that a curve can be given wherever points are asked for.
  CSigPairs(const CSigCurve& curve);  // NOLINT(google-explicit-constructor)
  /// Takes the units along as well. Empty when there is no memory.
  CSigPairs& operator=(const CSigPairs& other);
  CSigPairs& operator=(const CSigCurve& curve);
  /// Empties the signal and resets name, units, parameter, number and tolerance.
  void InitHeader() override;
  /// Empty, with room for n points. False when there is no memory.
  bool NeueGroesse(std::size_t n);
  /// Room for n points, which are then in use: those that were there, new ones at (0, 0).
  bool Resize(std::uint64_t n) override;
  /// Sets the number of points in use; false when there is no room for so many.
  bool SetzeGueltig(std::size_t n);
  /// Empties the signal; the room stays.
  void Neustart();

  // Points; indices are not checked
  std::size_t NPaare() const { return static_cast<std::size_t>(std::min(DLen(), Capacity() / 2)); }
  bool Gueltig() const { return NPaare() > 0; }
  void Setzen(std::size_t i, float x, float y) { Punkte()[i] = {x, y}; }
  float Wert(std::size_t i) const { return Punkte()[i].y; }
  float Punkt(std::size_t i) const { return Punkte()[i].x; }
  const SPunkt& Point(std::size_t i) const { return Punkte()[i]; }
  SPunkt* Punkte() { return reinterpret_cast<SPunkt*>(Samples()); }
  SPunkt* PunkteEnd() { return Punkte() + NPaare(); }
  const SPunkt* Punkte() const { return reinterpret_cast<const SPunkt*>(Samples()); }
  const SPunkt* PunkteEnd() const { return Punkte() + NPaare(); }
  /// Iterators over the y values.
  CStridedIterator<float> Werte() { return {Samples(), 1, 2}; }
  CStridedIterator<float> WerteEnd() { return {Samples(), 2 * NPaare() + 1, 2}; }
  CStridedIterator<const float> Werte() const { return {Samples(), 1, 2}; }
  CStridedIterator<const float> WerteEnd() const { return {Samples(), 2 * NPaare() + 1, 2}; }
  /// The y values; empty when there is no memory.
  std::valarray<float> ValArray() const;

  // Free fields
  float& Parameter() { return parameter_; }
  float Parameter() const { return parameter_; }
  LONG& Nummer() { return number_; }
  LONG Nummer() const { return number_; }
  /// Second number, in the upper 16 bits of `Nummer`.
  std::int16_t NummerOH() const { return static_cast<std::int16_t>(number_ >> 16); }
  void SetzeNummerOH(std::int16_t number);
  void NummerOH_Neu() { SetzeNummerOH(0); }

  // Point-equality tolerance: how close two x values are taken for one point when two signals are combined
  float PunktgleichheitToleranz() const { return tolerance_; }
  /// t >= 0 is an absolute distance; -100 <= t < 0 stands for -t percent of the mean point spacing (x span /
  /// number of points); t < -100 for the automatic 5 percent.
  void PunktgleichheitToleranz(float t) { tolerance_ = t; }
  /// A percentage of the mean point spacing. Above 100 it falls into the automatic range, which is 5 percent.
  void PunktgleichheitToleranzP(float percent) { tolerance_ = -percent; }
  void PunktgleichheitAutoToleranz() { tolerance_ = -101.0f; }
  /// The tolerance as a distance in x for this signal's span and number of points; 0 when there are none.
  float ToleranzInX() const;

  // Building
  /// Appends a point. False when there is no memory.
  bool NeuesPaar(float x, float y);
  /// Inserts a point behind all that do not lie beyond it (at the end of unsorted data). Returns its index,
  /// KeinPunkt when there is no memory.
  std::size_t NeuesPaarEinsortieren(float x, float y);
  /// Changes a point and moves it to its place in sorted data; it stays where it is as long as the order
  /// holds. Returns its new index, KeinPunkt when there is no point i.
  std::size_t Aendern(std::size_t i, float x, float y);
  /// Appends the points of another signal (also of this one).
  CSigPairs& Append(const CSigPairs& other);
  /// The points of another signal (also of this one) with x1 <= x <= x2, in its order, replace those of this
  /// one. Returns their number. The header stays.
  std::size_t AbschnittKopieren(const CSigPairs& source, float x1, float x2);
  /// Likewise the points i1 to i2, both included.
  std::size_t AbschnittKopierenIdx(const CSigPairs& source, std::size_t i1, std::size_t i2);
  void PunktEntfernen(std::size_t i) { PunkteEntfernen(i, 1); }
  /// Removes up to n points from index i on.
  void PunkteEntfernen(std::size_t i, std::size_t n);

  // Order
  bool IstSortiert() const { return ascending_; }
  bool IstInversSortiert() const { return descending_; }
  /// Finds out about the order; returns whether the x ascend.
  bool PruefeSortierung();
  /// Finds out whether the x descend, and if so takes them for descending only.
  bool PruefeInverseSortierung();
  /// Sorts by ascending x; ascending data only with `force`. Intended: points of equal x change their order,
  /// by the rule of the exchange sort (docs/decisions/exchange-sort-order.md). Points whose x is NaN stay in
  /// their place.
  void DatenSortieren(bool force);
  /// Reverses the order of the points.
  void DatenWenden();

  // Lookup
  /// Linear interpolation, the end values beyond the ends; 0 for unsorted data or no points.
  float WertBei(float x) const;
  float GetValue(float x) const override { return WertBei(x); }
  /// Index by `Nachbar`; 0 when there are no points. Unsorted data: the first nearest point.
  /// Intended: `naechster` is the neighbour with the lower x when the x descend.
  std::size_t IndexZu(float x, int mode) const;
  /// True when the x of point `IndexZu(x, naechster)` is closer than the tolerance.
  bool HatWertBei(float x, float tolerance) const;
  /// Intended: for data that only descend, true only when x equals both ends. Unsorted data: some point
  /// below, some above.
  bool IsInRange(float x) const override;
  /// Distance to the end points beyond the ends; within to (x, WertBei(x)), or to the nearest point when an
  /// index is asked for or the data are unsorted. 0 when there are no points.
  float PointDistance(float x, float y, std::size_t* index) const override;

  // Ranges; the outputs stay as they are when there are no points
  bool XBereich(float& lo, float& hi) const;
  bool YBereich(float& lo, float& hi) const;
  void GetXRange(float& lo, float& hi) const override { XBereich(lo, hi); }
  void GetYRange(float& lo, float& hi) const override { YBereich(lo, hi); }
  /// From point `IndexZu(x1, naechster)` to `IndexZu(x2, naechster)`; unsorted data: all points between.
  void GetYRangeX(float& lo, float& hi, float x1, float x2) const override;
  /// Over the points i1 to i2, both included; i2 is limited to the last one.
  void GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const override;
  /// The points of smallest and of greatest y, the first ones on ties; zeros when there are no points.
  Range YRange() const override;
  /// The extreme y (0 when there are no points); reports x and index of its point where asked for.
  float FindeYMax(float* x = nullptr, std::size_t* index = nullptr) const;
  float FindeYMin(float* x = nullptr, std::size_t* index = nullptr) const;
  /// Smallest x distance between neighbours; 0 for fewer than two points.
  float MinStepSize() const;

  // Statistics of y: 0 for no points, the y itself for one
  /// Mean; for two points or more also the standard deviation, by mean square minus squared mean: NaN where
  /// rounding makes that negative.
  float Mittelwert(float* deviation = nullptr) const;
  /// Intended: the level of the summed powers in decibels divided by the number of points.
  float MittelwertDb() const;
  float RmsWert() const;

  // Curves
  /// Fills a curve of n samples (of as many as there are points when n <= 0) with the interpolated values;
  /// first and last sample lie at both ends of the x range; a single one lies at its start, and the axis then
  /// is twice as long as the range. Name and units go along. False, and nothing changed, for unsorted data,
  /// no points or no memory.
  bool KurveBilden(CSigCurve* curve, int n) const;
  /// Greatest distance in y between a point and the curve's value at its x; that x goes to `x` when given.
  /// With `onlyInRange` only points within the curve's axis count, else its end values hold beyond it. 0,
  /// and x untouched, when no point counts or there is no curve.
  float MaxKurvenAbstand(const CSigCurve* curve, float* x, bool onlyInRange) const;

  // Editing in place
  /// y becomes -y.
  CSigPairs& DatenSpiegeln();
  /// x becomes -x, the order of the points stays: ascending data descend and the other way round.
  CSigPairs& PunkteSpiegeln();
  /// y becomes the mean over all points whose x is closer than `width`. Nothing for fewer than 3 points.
  void Glaetten(float width);
  /// Keeps the first point and of every `factor` further ones the last, with its own y or the mean of theirs;
  /// the last point always stays. Nothing for a factor below 2 or fewer than 3 points.
  void Unterabtasten(int factor, bool average);
  /// Drops points that lie closer to the line through their predecessors than the y range / divisor. Sorted
  /// data of at least 3 points only. Intended: the slope of the line divides by the ratio of the x values,
  /// not by their difference.
  void Linearisieren(float divisor);
  /// Square roots; NaN for negative values.
  CSigPairs& WurzelZiehen();
  CSigPairs& Abs() override;
  CSigPairs& Clip(float value, bool upper) override;
  CSigPairs& Add(float value) override { return *this += value; }
  CSigPairs& Scale(float factor) override { return *this *= factor; }
  /// Sorts, then drops the points left of x but for the last one. Empty when x is the last point's or beyond.
  CSigPairs& CutLeft(float x) override;
  /// Sorts, then drops the points right of x but for the first one. Empty when x is the first point's or
  /// before it.
  CSigPairs& CutRight(float x) override;
  CSigPairs& CutLR(float left, float right) override;
  CSigPairs& operator=(float value);
  CSigPairs& operator+=(float value);
  CSigPairs& operator-=(float value) { return *this += -value; }
  CSigPairs& operator*=(float factor);
  /// Multiplies by the reciprocal; 0 makes every y 0.
  CSigPairs& operator/=(float divisor);
  /// Shifts the points along x.
  CSigPairs& operator>>(float shift);

  // Combination with another signal
  /// Combines this signal with another one (`Operation`): sorts this signal, gives it a point at the x of
  /// every point of the other that lies in the own range and has no own point within the tolerance, and forms
  /// the values. All operations but unions, minimum and maximum then drop the points outside the other's
  /// range, widened by the tolerance. Empties this signal when the other one is empty or both ranges do not
  /// meet, whatever the operation. Unknown operations act as `schneiden`.
  void Verrechnen(const CSigPairs& other, int operation);
  CSigPairs& operator|=(const CSigPairs& other) { return Combine(other, vereinigen); }
  CSigPairs& operator&=(const CSigPairs& other) { return Combine(other, schneiden); }
  CSigPairs& operator+=(const CSigPairs& other) { return Combine(other, addieren); }
  CSigPairs& operator-=(const CSigPairs& other) { return Combine(other, subtrahieren); }
  CSigPairs& operator*=(const CSigPairs& other) { return Combine(other, multiplizieren); }
  CSigPairs& operator/=(const CSigPairs& other) { return Combine(other, dividieren); }
  CSigPairs& AddSquared(const CSigPairs& other) { return Combine(other, quadrat_addieren); }
  CSigPairs& SubtractSquared(const CSigPairs& other) { return Combine(other, quadrat_subtrahieren); }
  CSigPairs operator|(const CSigPairs& other) const { return Combined(other, vereinigen); }
  CSigPairs operator&(const CSigPairs& other) const { return Combined(other, schneiden); }
  CSigPairs operator+(const CSigPairs& other) const { return Combined(other, addieren); }
  CSigPairs operator-(const CSigPairs& other) const { return Combined(other, subtrahieren); }
  CSigPairs operator*(const CSigPairs& other) const { return Combined(other, multiplizieren); }
  CSigPairs operator/(const CSigPairs& other) const { return Combined(other, dividieren); }
  /// True when no y exceeds (falls below) the other signal's value on the merged grid; without a shared range
  /// when all y lie below (above) all of the other's. Intended: the own y of an index is compared at the
  /// merged grid's x of that index, for the indices that both have.
  bool operator<(const CSigPairs& other) const { return Compare(other, -1.0f); }
  bool operator>(const CSigPairs& other) const { return Compare(other, 1.0f); }
  bool operator<(const CSigCurve& curve) const { return *this < CSigPairs(curve); }
  bool operator>(const CSigCurve& curve) const { return *this > CSigPairs(curve); }

  // File record: the header section, then the pairs section
  bool WriteToFile(CFile& file, unsigned version) const override;
  bool ReadFromFile(CFile& file, unsigned version) override;
  /// Writes the pairs section: 80 bytes, then the x of all slots, then the y of all slots, zeros where there
  /// is no point.
  void DateiExport(CFile& file) const;
  /// Reads what `DateiExport` wrote and finds out about the order. Returns 1; 0 when bytes are missing or
  /// there is no memory: the signal is then empty.
  int DateiImport(CFile& file);

 protected:
  void AusSigCurveBilden(const CSigCurve& curve);
  /// Sorts this signal and gives the tolerance in units of x. False when the signals cannot be combined.
  bool OperationVorbereiten(const CSigPairs& other, float& tolerance);
  /// Appends pairs and curves; nothing of other signals.
  void Append(const CSignal& other) override;

 private:
  CSigPairs(const CSigPairs& other, HeaderOnly);
  bool Reserve(std::uint64_t n);
  bool ReserveNext();
  void SetCount(std::size_t n);
  void SetOrder(bool ascending, bool descending);
  bool CopyPoints(const SPunkt* points, std::size_t n);
  std::size_t InsertionIndex(float x) const;
  std::size_t UpperNeighbour(float x) const;
  float Report(std::size_t i, float* x, std::size_t* index) const;
  std::size_t KeepRange(std::size_t first, std::size_t n);
  bool AreCombinable(const CSigPairs& other, float& tolerance) const;
  bool TakeMerged(const CSigPairs& own, const CSigPairs& other, int operation, float tolerance);
  CSigPairs& Combine(const CSigPairs& other, int operation);
  CSigPairs Combined(const CSigPairs& other, int operation) const;
  bool Compare(const CSigPairs& other, float sign) const;

  float parameter_ = 0.0f;
  LONG number_ = 0;
  bool ascending_ = true;
  bool descending_ = true;
  float tolerance_ = -101.0f;
};
