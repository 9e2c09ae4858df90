#include "umlauf/pairs/CurveArraySections.h"

bool SectionAtX(const CSigCurveArray& array, float x, CSigPairs& section) {
  section.InitHeader();
  section.SetName(array.Name());
  section.SetXUnit(array.ArrayUnit());
  section.SetYUnit(array.YUnit());
  if (array.IsEmpty()) return true;
  if (!section.NeueGroesse(array.Count()) || !section.SetzeGueltig(array.Count())) return false;
  static_assert(sizeof(SPunkt) == 2 * sizeof(float));
  section.SetzeGueltig(array.SectionAtX(x, &section.Punkte()->x));
  section.PruefeSortierung();
  return true;
}
