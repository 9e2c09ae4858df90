#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include <nanobind/operators.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/unique_ptr.h>

#include "python/src/Signals.h"
#include "umlauf/units/UnitAlgebra.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Pairs = CSigPairs;
using PairsPtr = std::unique_ptr<Pairs>;

PairsPtr CopyOfPairs(const Pairs& pairs) {
  auto copy = std::make_unique<Pairs>();
  *copy = pairs;
  NeedMemory(copy->NPaare() == pairs.NPaare());
  return copy;
}

void Fill(Pairs& pairs, const FloatArray& x, const FloatArray& y) {
  const std::size_t n = x.shape(0);
  if (y.shape(0) != n) RefuseValue("x and y must have the same length");
  NeedMemory(pairs.NeueGroesse(n) && pairs.SetzeGueltig(n));
  const auto xs = x.view();
  const auto ys = y.view();
  for (std::size_t i = 0; i < n; ++i) pairs.Setzen(i, xs(i), ys(i));
  pairs.PruefeSortierung();
}

/// A view of every second number of the points, which they lie in.
NumPyArray<const float> Column(nb::handle_t<Pairs> self, std::size_t first) {
  const auto& pairs = nb::cast<const Pairs&>(self);
  const std::size_t n = pairs.NPaare();
  if (n == 0) return NumPyArray<const float>(nullptr, {0}, self);
  return NumPyArray<const float>(&pairs.Punkte()->x + first, {n}, self, {2});
}

void NeedLikeUnits(const Pairs& a, const Pairs& b) {
  if (a.YUnit().empty() || b.YUnit().empty() || IsSame(a.YUnit(), b.YUnit())) return;
  RefuseValue("the points are in " + MeantUnit::Write(a.YUnit()).ToUtf8() + " and " +
              MeantUnit::Write(b.YUnit()).ToUtf8() + "; convert one of them: a.convert(unit)");
}

/// The library empties points that share no x with the others, whatever the operation.
void NeedOverlap(const Pairs& a, const Pairs& b, const Pairs& result) {
  if (result.Gueltig() || !a.Gueltig() || !b.Gueltig()) return;
  RefuseValue("the points share no x: their ranges do not meet");
}

PairsPtr Combined(const Pairs& a, const Pairs& b, Pairs::Operation operation) {
  NeedLikeUnits(a, b);
  PairsPtr result = CopyOfPairs(a);
  result->Verrechnen(b, operation);
  NeedOverlap(a, b, *result);
  return result;
}

/// As above for products and quotients, which have a unit of their own.
PairsPtr Multiplied(const Pairs& a, const Pairs& b, Pairs::Operation operation) {
  PairsPtr result = CopyOfPairs(a);
  result->Verrechnen(b, operation);
  NeedOverlap(a, b, *result);
  result->SetYUnit(operation == Pairs::multiplizieren ? UnitAlgebra::Product(a.YUnit(), b.YUnit())
                                                      : UnitAlgebra::Quotient(a.YUnit(), b.YUnit()));
  return result;
}

template <class Change>
PairsPtr Changed(const Pairs& pairs, Change change) {
  PairsPtr copy = CopyOfPairs(pairs);
  change(*copy);
  return copy;
}

PairsPtr Divided(const Pairs& pairs, float divisor) {
  if (divisor == 0) {
    PyErr_SetString(PyExc_ZeroDivisionError, "points over 0");
    throw nb::python_error();
  }
  return Changed(pairs, [divisor](Pairs& each) { each /= divisor; });
}

PairsPtr Slice(const Pairs& pairs, const nb::slice& slice) {
  const XRange range(slice);
  PairsPtr part = CopyOfPairs(pairs);
  part->AbschnittKopieren(pairs, range.from, range.to);
  return part;
}

std::unique_ptr<CSigCurveExt> Resampled(const Pairs& pairs, double step) {
  float lo = 0, hi = 0;
  if (!pairs.XBereich(lo, hi)) RefuseValue("there are no points to resample");
  const double n = std::floor((static_cast<double>(hi) - lo) / step * (1 + 1e-6)) + 1;
  if (!(step > 0) || !(n < std::numeric_limits<int>::max())) {
    RefuseValue("the step must be above 0 and serve for the points");
  }
  PairsPtr sorted = CopyOfPairs(pairs);
  sorted->DatenSortieren(false);
  // The library's curve has its last sample at the end of the range: it is cut to whole steps first.
  const auto end = static_cast<float>(lo + (n - 1) * step);
  if (end < hi) {
    const float atEnd = sorted->WertBei(end);
    sorted->AbschnittKopieren(*CopyOfPairs(*sorted), lo, end);
    if (sorted->Punkt(sorted->NPaare() - 1) < end) sorted->NeuesPaar(end, atEnd);
  }
  CSigCurve curve;
  if (!sorted->KurveBilden(&curve, static_cast<int>(n))) throw std::bad_alloc();
  curve.SetXMinMax(lo, static_cast<float>(lo + n * step));
  return AsCurve(&curve);
}

PairsPtr Converted(const Pairs& pairs, const UnitLike& to) {
  const CMeasuringUnit unit = to;
  const double factor = MeantUnit::Factor(pairs.YUnit(), unit);
  if (factor == 0) RefuseValue("the y unit of the points cannot be converted to this one by a factor");
  PairsPtr result = Changed(pairs, [factor](Pairs& each) { each *= static_cast<float>(factor); });
  result->SetYUnit(unit);
  return result;
}

NumPyArray<float> ValuesAt(const Pairs& pairs, const Floats& x) {
  const FloatArray at = x.Get();
  std::vector<float> y(at.shape(0));
  const auto view = at.view();
  for (std::size_t i = 0; i < y.size(); ++i) y[i] = pairs.WertBei(view(i));
  return ToNumPy(std::move(y));
}

void BindArithmetic(nb::class_<Pairs>& type) {
  using Operation = Pairs::Operation;
  const auto combine = [&type](const char* name, Operation operation, const char* doc) {
    type.def(
        name, [operation](const Pairs& a, const Pairs& b) { return Combined(a, b, operation); }, "other"_a,
        doc);
  };
  combine("union", Pairs::vereinigen,
          "Points of both: the own values, outside the own range those of the other.");
  combine("intersect", Pairs::schneiden,
          "The own values at the points of both, within the range of the other.");
  combine("minimum", Pairs::minimum, "The smaller of both values where both are, the own ones elsewhere.");
  combine("maximum", Pairs::maximum, "The greater of both values where both are, the own ones elsewhere.");
  type.def(
          "__add__", [](const Pairs& a, const Pairs& b) { return Combined(a, b, Pairs::addieren); },
          nb::is_operator())
      .def(
          "__sub__", [](const Pairs& a, const Pairs& b) { return Combined(a, b, Pairs::subtrahieren); },
          nb::is_operator())
      .def(
          "__mul__", [](const Pairs& a, const Pairs& b) { return Multiplied(a, b, Pairs::multiplizieren); },
          nb::is_operator())
      .def(
          "__truediv__", [](const Pairs& a, const Pairs& b) { return Multiplied(a, b, Pairs::dividieren); },
          nb::is_operator())
      .def(
          "__add__", [](const Pairs& a, float b) { return Changed(a, [b](Pairs& each) { each += b; }); },
          nb::is_operator())
      .def(
          "__sub__", [](const Pairs& a, float b) { return Changed(a, [b](Pairs& each) { each -= b; }); },
          nb::is_operator())
      .def(
          "__mul__", [](const Pairs& a, float b) { return Changed(a, [b](Pairs& each) { each *= b; }); },
          nb::is_operator())
      .def(
          "__rmul__", [](const Pairs& a, float b) { return Changed(a, [b](Pairs& each) { each *= b; }); },
          nb::is_operator())
      .def("__truediv__", Divided, nb::is_operator());
}

}  // namespace

void BindPairs(nb::module_& module) {
  nb::class_<Pairs> type(module, "Pairs", R"(Points (x, y) of any spacing, with name and units.

Two of them combine on the points of both: a + b, a - b, a * b, a / b, a.union(b). Points do not change; every
operation makes new ones. Slices go by x, both ends included: points[0.5:2.0].)");
  type.def(
          "__init__",
          [](Pairs* self, const Floats& x, const Floats& y, const CString& name, const UnitLike& xUnit,
             const UnitLike& yUnit) {
            Pairs made;
            Fill(made, x.Get(), y.Get());
            SignalHeader{name, xUnit, yUnit}.GiveTo(made);
            new (self) Pairs();
            *self = made;
            NeedMemory(self->NPaare() == made.NPaare());
          },
          "x"_a, "y"_a, nb::kw_only(), "name"_a = "", "x_unit"_a = "-", "y_unit"_a = "-",
          "Copies x and y [n].")
      .def_prop_ro(
          "x", [](nb::handle_t<Pairs> self) { return Column(self, 0); }, nb::rv_policy::automatic,
          "[n] float32, read-only, where the points have them.")
      .def_prop_ro(
          "y", [](nb::handle_t<Pairs> self) { return Column(self, 1); }, nb::rv_policy::automatic,
          "[n] float32, likewise.")
      .def_prop_ro("is_sorted", &Pairs::IstSortiert, "Whether x ascends, as lookups need it.")
      .def_prop_rw(
          "tolerance", [](const Pairs& p) { return p.PunktgleichheitToleranz(); },
          [](Pairs& p, float t) { p.PunktgleichheitToleranz(t); },
          "How close in x two points count as one when signals are combined: 0 or more in units of x, -100 "
          "to 0 in percent of the mean spacing, below that 5 percent of it (as at first).")
      .def("__len__", &Pairs::NPaare)
      .def(
          "__call__", [](const Pairs& p, float x) { return p.WertBei(x); }, "x"_a,
          "Value at x by straight lines; the ends are held, 0 for points that are not sorted.")
      .def("__call__", ValuesAt, "x"_a)
      .def("__getitem__", Slice, "x"_a)
      .def(
          "sorted",
          [](const Pairs& p) { return Changed(p, [](Pairs& each) { each.DatenSortieren(false); }); },
          "By ascending x.")
      .def("resample", Resampled, "step"_a,
           "A curve through the points by straight lines, from the first x on.")
      .def("convert", Converted, "y_unit"_a, "The values in another unit.")
      .def("__repr__", [](const Pairs& p) { return Description(L"Pairs", p.NPaare(), L"points", p); });
  BindHeader(type);
  BindArithmetic(type);
}

}  // namespace umlauf::python
