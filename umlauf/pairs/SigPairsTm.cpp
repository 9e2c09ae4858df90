#include "umlauf/pairs/SigPairsTm.h"

#include <cmath>

UMLAUF_IMPLEMENT_DYNCREATE(CSigPairsTm, CSigPairs)

CSigPairsTm& CSigPairsTm::operator=(const CSigPairs& pairs) {
  CSigPairs::operator=(pairs);
  return *this;
}

CSigPairsTm& CSigPairsTm::operator=(const CSigPairsTm& other) {
  CSigPairs::operator=(other);
  scaling_ = other.scaling_;
  return *this;
}

void CSigPairsTm::SetRange(CTime start, CTime end) {
  scaling_.SetzeZeitraum(start, end);
  // Division by a span of 0 is meant: no two times of such a range can be told apart.
  PunktgleichheitToleranz(static_cast<float>(std::fabs(1.0 / (2.0 * scaling_.Spanne()))));
}

void CSigPairsTm::Neustart(CTime start, CTime end, double scale) {
  CSigPairs::Neustart();
  SetRange(start, end);
  if (!scaling_.SetzeSkalierung(scale)) scaling_.SetzeSkalierung(1.0);
}

bool CSigPairsTm::NeustartSekundengenau(CTime start, CTime end) {
  constexpr std::int64_t longest = std::int64_t{1} << 24;  // as many steps as the significand of a float has
  const double needed = TimeDifference(end, start);
  if (!(needed >= 0.0 && needed <= static_cast<double>(longest))) return false;
  std::int64_t length = 1;
  while (static_cast<double>(length) < needed) length *= 2;
  Neustart(start, start + CTimeSpan(length), 1.0);
  return true;
}

void CSigPairsTm::ZeitraumAendern(CTime start, CTime end) {
  const double span = TimeDifference(end, start);
  const double inverseSpan = 1.0 / span;
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) {
    p->x = span == 0.0 ? 0.0f : static_cast<float>(TimeDifference(Float2Time(p->x), start) * inverseSpan);
  }
  SetRange(start, end);
  PruefeSortierung();
}

void CSigPairsTm::SkalierungAendern(double scale) {
  const double factor = scale * scaling_.InverseSkalierung();
  if (!scaling_.SetzeSkalierung(scale)) return;
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->x = static_cast<float>(p->x * factor);
}

std::size_t CSigPairsTm::NeuesPaar(CTime t, float y) {
  if (t < StartZeit()) ZeitraumAendern(t, EndZeit());
  if (t > EndZeit()) ZeitraumAendern(StartZeit(), t);
  return NeuesPaarEinsortieren(Time2Float(t), y);
}

bool CSigPairsTm::ZeitImBereich(CTime t) const {
  if (!Gueltig()) return false;
  const float x = Time2Float(t);
  return Punkt(0) <= x && x <= Punkt(NPaare() - 1);
}

bool CSigPairsTm::HatWertBei(CTime t, CTimeSpan tolerance) const {
  if (!Gueltig()) return false;
  const float x = Time2Float(t);
  const double seconds = static_cast<double>(tolerance.GetTotalSeconds());
  return std::fabs(x - Punkt(CSigPairs::IndexZu(x, naechster))) < seconds * scaling_.InverseSpanne();
}
