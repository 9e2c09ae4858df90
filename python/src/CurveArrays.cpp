#include <vector>

#include <nanobind/stl/optional.h>
#include <nanobind/stl/unique_ptr.h>

#include "python/src/Signals.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using CurveArray = CSigCurveArray;
using Curve = CSigCurveExt;

std::unique_ptr<CurveArray> CopyOfArray(const CurveArray& array) {
  auto copy = std::make_unique<CurveArray>();
  *copy = array;
  NeedMemory(copy->Count() == array.Count());
  return copy;
}

void Fill(CurveArray& array, const FrameArray& values, const DoubleArray& positions, double x0, double dx,
          const SignalHeader& header) {
  const std::size_t rows = values.shape(0), n = values.shape(1);
  if (positions.shape(0) != rows) RefuseValue("there must be one position for each row of values");
  if (!(dx > 0)) RefuseValue("the step dx must be above 0");
  const auto view = values.view();
  const auto at = positions.view();
  for (std::size_t row = 0; row < rows; ++row) {
    auto curve = std::make_unique<Curve>(n);
    NeedMemory(curve->DLen() == n);
    for (std::size_t i = 0; i < n; ++i) curve->SetAt(i, view(row, i));
    curve->SetXMinMax(static_cast<float>(x0), static_cast<float>(x0 + dx * static_cast<double>(n)));
    curve->ResetVMinMax();
    header.GiveTo(*curve);
    curve->Date(static_cast<float>(at(row)));
    if (!array.Append(std::move(curve))) RefuseValue("the positions must ascend");
  }
  header.GiveTo(array);
}

void FillFromCurves(CurveArray& array, const nb::sequence& curves) {
  for (const nb::handle each : curves) {
    if (array.Insert(CopyOf(nb::cast<const Curve&>(each))) == CurveArray::None) {
      RefuseValue("a curve of the array has no position");
    }
  }
}

void Give(CurveArray& self, CurveArray& made, const UnitLike& positionUnit) {
  made.SetArrayUnit(CMeasuringUnit(positionUnit));
  new (&self) CurveArray(made);
  NeedMemory(self.Count() == made.Count());
}

NumPyArray<float, nb::ndim<2>> Values(const CurveArray& array) {
  if (!array.HasCommonAxis())
    RefuseValue("the curves have different axes; take array.on_common_axis().values");
  const std::size_t n = array.IsEmpty() ? 0 : array[0].DLen();
  std::vector<float> all;
  all.reserve(array.Count() * n);
  for (const auto& curve : array) all.insert(all.end(), curve->FData(), curve->FData() + n);
  return ToNumPy(std::move(all), std::max<std::size_t>(n, 1));
}

NumPyArray<float> Positions(const CurveArray& array) {
  std::vector<float> positions;
  for (const auto& curve : array) positions.push_back(curve->Date());
  return ToNumPy(std::move(positions));
}

/// In the order of Python: -1 is the last one.
std::unique_ptr<Curve> Row(const CurveArray& array, std::int64_t i) {
  const auto count = static_cast<std::int64_t>(array.Count());
  if (i < -count || i >= count) throw nb::index_error();
  return CopyOf(array[static_cast<std::size_t>(i < 0 ? i + count : i)]);
}

std::unique_ptr<CurveArray> Slice(const CurveArray& array, const nb::slice& slice) {
  const XRange range(slice);
  auto part = std::make_unique<CurveArray>();
  NeedMemory(array.Part(range.from, range.to, *part));
  return part;
}

template <bool (CurveArray::*fold)(Curve&) const>
std::unique_ptr<Curve> Folded(const CurveArray& array) {
  if (array.IsEmpty()) RefuseValue("there are no curves");
  auto result = std::make_unique<Curve>();
  NeedMemory((array.*fold)(*result));
  return result;
}

std::unique_ptr<Curve> At(const CurveArray& array, float position) {
  if (array.IsEmpty()) RefuseValue("there are no curves");
  auto result = std::make_unique<Curve>();
  NeedMemory(array.SectionAt(position, *result));
  return result;
}

std::unique_ptr<CSigPairs> AtX(const CurveArray& array, float x) {
  auto result = std::make_unique<CSigPairs>();
  NeedMemory(result->NeueGroesse(array.Count()));
  const std::size_t n = array.SectionAtX(x, &result->Punkte()->x);
  NeedMemory(result->SetzeGueltig(n));
  result->PruefeSortierung();
  SignalHeader{array.Name(), array.ArrayUnit(), array.YUnit()}.GiveTo(*result);
  return result;
}

std::unique_ptr<CurveArray> OnCommonAxis(const CurveArray& array) {
  std::unique_ptr<CurveArray> result = CopyOfArray(array);
  NeedMemory(result->MakeCommonAxis());
  return result;
}

}  // namespace

void BindCurveArrays(nb::module_& module) {
  nb::class_<CurveArray> type(module, "CurveArray",
                              R"(Curves over an axis of their own, such as spectra over time or speed.

array[i] is curve i (a copy), array[a:b] the curves at positions from a to b, both included.)");
  type.def(
          "__init__",
          [](CurveArray* self, const Frames& values, const Doubles& positions, double x0, double dx,
             const CString& name, const UnitLike& xUnit, const UnitLike& yUnit,
             const UnitLike& positionUnit) {
            CurveArray made;
            Fill(made, values.Get(), positions.Get(), x0, dx, {name, xUnit, yUnit});
            Give(*self, made, positionUnit);
          },
          "values"_a, "positions"_a, nb::kw_only(), "x0"_a = 0.0, "dx"_a = 1.0, "name"_a = "",
          "x_unit"_a = "-", "y_unit"_a = "-", "position_unit"_a = "-",
          "Copies values [curves, n]; the curves lie at ascending positions [curves].")
      .def(
          "__init__",
          [](CurveArray* self, const nb::typed<nb::sequence, Curve>& curves, const UnitLike& positionUnit) {
            CurveArray made;
            FillFromCurves(made, curves);
            Give(*self, made, positionUnit);
          },
          "curves"_a, nb::kw_only(), "position_unit"_a = "-",
          "Copies curves, in the order of their positions.")
      .def_prop_ro("values", Values, nb::rv_policy::automatic,
                   "[curves, n] float32, a copy; the curves must have one axis.")
      .def_prop_ro("positions", Positions, nb::rv_policy::automatic, "[curves] float32")
      .def_prop_rw("position_unit", &CurveArray::ArrayUnit,
                   [](CurveArray& a, const UnitLike& unit) { a.SetArrayUnit(CMeasuringUnit(unit)); })
      .def("__len__", &CurveArray::Count)
      .def("__getitem__", Row, "i"_a)
      .def("__getitem__", Slice, "positions"_a)
      .def("at", At, "position"_a, "The curve at a position, interpolated between its neighbours.")
      .def("at_x", AtX, "x"_a, "Value of every curve at an x, as points over the positions.")
      .def("on_common_axis", OnCommonAxis, "All curves interpolated on one x axis.")
      .def("minimum", Folded<&CurveArray::Minimum>)
      .def("maximum", Folded<&CurveArray::Maximum>)
      .def("mean", Folded<&CurveArray::Mean>)
      .def("__repr__",
           [](const CurveArray& a) { return Description(L"CurveArray", a.Count(), L"curves", a); });
  BindHeader(type);
}

}  // namespace umlauf::python
