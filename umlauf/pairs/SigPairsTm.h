#pragma once

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/basis/CTimeFloatScaling.h"

/// Point pairs over calendar time: x runs from 0 at the start of a time range to the scale (1 by default) at
/// its end, and lookups take times.
///
/// The points hold only x; start and end (whole seconds) and the scale lie in this object. The file record is
/// that of CSigPairs: it holds neither, so whoever stores timed pairs stores the time range and the scale
/// beside them and sets them again before reading the points (`Neustart`, then `ReadFromFile`).
///
/// x is a float, so whole seconds come back unchanged only where they have one of their own: in a range that
/// is 2^n seconds long, n up to 24 (194 days), at scale 1 (`NeustartSekundengenau`). In any other range a
/// time may come back up to a second earlier, more in ranges longer than 2^24 s; and as a new range moves the
/// points by the times that come back, such losses add up: 1000 points of about 40 days, of which each
/// widened the range, ended up to 533 s early.
///
/// The lookups of the base by x are reached as `signal.CSigPairs::WertBei(x)`; here they take times, which
/// floating-point numbers do not convert to. One object is used by one thread at a time.
class UMLAUF_API CSigPairsTm : public CSigPairs {
  UMLAUF_DECLARE_DYNCREATE(CSigPairsTm)

 public:
  CSigPairsTm() = default;
  /// With room for n points.
  explicit CSigPairsTm(int n) : CSigPairs(static_cast<std::size_t>(std::max(n, 0))) {}
  explicit CSigPairsTm(const CSigPairs& pairs) : CSigPairs(pairs) {}
  /// Intended: copies the points, but the time range starts empty, unlike in assignment.
  CSigPairsTm(const CSigPairsTm& other) : CSigPairs(other) {}
  /// The time range stays.
  CSigPairsTm& operator=(const CSigPairs& pairs);
  /// With time range and scale.
  CSigPairsTm& operator=(const CSigPairsTm& other);
  using CSigPairs::operator=;

  using CSigPairs::Neustart;
  /// Empties the signal and sets time range and scale (1 unless scale > 0). The point-equality tolerance
  /// becomes half a second at scale 1; it is infinite for a range of zero length.
  void Neustart(CTime start, CTime end, double scale);
  /// As `Neustart` at scale 1, with the shortest range from `start` that holds `end` and keeps whole seconds:
  /// its end is 2^n seconds behind the start, n up to 24. False, and nothing changed, when `end` lies before
  /// the start or further behind it.
  bool NeustartSekundengenau(CTime start, CTime end);
  /// Moves the time range; the points keep their times, as far as the ranges can tell them (see above).
  /// Intended: the scale is not applied, x then runs from 0 to 1; a range of zero length takes all to x = 0.
  void ZeitraumAendern(CTime start, CTime end);
  /// Stretches x to a new scale; nothing unless scale > 0.
  void SkalierungAendern(double scale);
  double Skalierung() const { return scaling_.Skalierung(); }

  /// Inserts a point at its place in time and widens the time range to hold it (`ZeitraumAendern`, which
  /// costs precision: better begin with a range that holds all). Returns its index, KeinPunkt when there is
  /// no memory.
  std::size_t NeuesPaar(CTime t, float y);

  /// 0 for a time range of zero length.
  float Time2Float(CTime t) const { return scaling_.Time2Float(t); }
  CTime Float2Time(float x) const { return scaling_.Float2Time(x); }
  static float Time2Float(CTime t, CTime start, CTime end) {
    return CTimeFloatScaling::Time2Float(t, start, end);
  }
  static CTime Float2Time(float x, CTime start, CTime end) {
    return CTimeFloatScaling::Float2Time(x, start, end);
  }

  CTime StartZeit() const { return scaling_.StartZeit(); }
  CTime EndZeit() const { return scaling_.EndZeit(); }
  /// Time of the first (last) point; start (end) of the time range when there are none.
  CTime ErsteZeit() const { return Gueltig() ? Zeitpunkt(0) : StartZeit(); }
  CTime LetzteZeit() const { return Gueltig() ? Zeitpunkt(NPaare() - 1) : EndZeit(); }
  /// Time of point i; not checked.
  CTime Zeitpunkt(std::size_t i) const { return Float2Time(Punkt(i)); }
  /// True from the first point's time to the last one's.
  bool ZeitImBereich(CTime t) const;

  float WertBei(CTime t) const { return CSigPairs::WertBei(Time2Float(t)); }
  std::size_t IndexZu(CTime t, int mode) const { return CSigPairs::IndexZu(Time2Float(t), mode); }
  /// Intended: the tolerance is taken to x without the scale.
  bool HatWertBei(CTime t, CTimeSpan tolerance) const;

 private:
  void SetRange(CTime start, CTime end);

  CTimeFloatScaling scaling_;
};
