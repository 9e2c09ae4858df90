#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include <nanobind/operators.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>

#include "python/src/Signals.h"
#include "umlauf/algorithms/CurveResampling.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Curve = CSigCurveExt;
using CurvePtr = std::unique_ptr<Curve>;

CurvePtr NewCurve(const Floats& samples, double x0, double dx, const CString& name, const UnitLike& xUnit,
                  const UnitLike& yUnit) {
  const FloatArray values = samples.Get();
  const std::size_t n = values.shape(0);
  const double end = x0 + dx * static_cast<double>(n);
  if (!(dx > 0) || !std::isfinite(static_cast<float>(end)) || !std::isfinite(static_cast<float>(x0))) {
    RefuseValue("the axis of a curve is finite and its step dx above 0");
  }
  auto curve = std::make_unique<Curve>(n);
  NeedMemory(curve->DLen() == n);
  const auto view = values.view();
  for (std::size_t i = 0; i < n; ++i) curve->SetAt(i, view(i));
  curve->SetXMinMax(static_cast<float>(x0), static_cast<float>(end));
  curve->ResetVMinMax();
  SignalHeader{name, xUnit, yUnit}.GiveTo(*curve);
  return curve;
}

/// Like slices of lists: with the sample at the first end, without that at the last.
CurvePtr Slice(const Curve& curve, const nb::slice& slice) {
  const XRange range(slice);
  float from = std::max(range.from, curve.XMin()), to = std::min(range.to, curve.XMax());
  CurvePtr part = CopyOf(curve);
  if (!(from < to) || part->Resize(from, to) == 0) {
    RefuseValue("the curve has no samples from " + std::to_string(range.from) + " to " +
                std::to_string(range.to));
  }
  part->ResetVMinMax();
  part->Schrumpfen(&curve);
  return part;
}

void NeedOneAxis(const Curve& a, const Curve& b) {
  if (!a.FitTogether(&b)) {
    RefuseValue(
        "the curves have different axes; resample one of them, or combine them as pairs: a.to_pairs()");
  }
  if (!a.YUnit().empty() && !b.YUnit().empty() && !IsSame(a.YUnit(), b.YUnit())) {
    RefuseValue("the curves are in " + MeantUnit::Write(a.YUnit()).ToUtf8() + " and " +
                MeantUnit::Write(b.YUnit()).ToUtf8() + "; convert one of them: a.convert(unit)");
  }
}

template <class Change>
CurvePtr Changed(const Curve& curve, Change change) {
  CurvePtr copy = CopyOf(curve);
  change(static_cast<CSigCurve&>(*copy));
  return copy;
}

CurveResampling::Method MethodOf(const std::string& name) {
  if (name == "linear") return CurveResampling::Method::Linear;
  if (name == "cubic") return CurveResampling::Method::Cubic;
  if (name == "band-limited") return CurveResampling::Method::BandLimited;
  RefuseValue("method \"" + name + "\" is not known; take linear, cubic or band-limited");
}

CurvePtr Resampled(const Curve& curve, double step, const std::string& method) {
  const double span = static_cast<double>(curve.XMax()) - curve.XMin();
  const double n = std::round(span / step);
  if (!(step > 0) || !(n >= 1 && n < 4e9)) RefuseValue("the step must be above 0 and serve for the curve");
  auto result = std::make_unique<Curve>();
  const auto end = static_cast<float>(curve.XMin() + n * step);
  bool good = false;
  {
    nb::gil_scoped_release free;
    good = CurveResampling::Resample(curve, curve.XMin(), end, static_cast<std::uint64_t>(n),
                                     MethodOf(method), *result);
  }
  if (!good) RefuseValue("the curve has no samples to resample, or there is no memory");
  return result;
}

NumPyArray<float> Positions(const Curve& curve) {
  std::vector<float> x(curve.DLen());
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = curve.GetPoint(static_cast<std::int64_t>(i));
  return ToNumPy(std::move(x));
}

NumPyArray<float> ValuesAt(const Curve& curve, const Floats& x) {
  const FloatArray at = x.Get();
  std::vector<float> y(at.shape(0));
  const auto view = at.view();
  for (std::size_t i = 0; i < y.size(); ++i) y[i] = curve.GetValue(view(i));
  return ToNumPy(std::move(y));
}

CurvePtr Converted(const Curve& curve, const UnitLike& to) {
  const CMeasuringUnit unit = to;
  const double factor = MeantUnit::Factor(curve.YUnit(), unit);
  if (factor == 0) RefuseValue("the y unit of the curve cannot be converted to this one by a factor");
  CurvePtr result = Changed(curve, [factor](CSigCurve& each) { each *= static_cast<float>(factor); });
  result->SetYUnit(unit);
  return result;
}

CurvePtr Divided(const Curve& curve, float divisor) {
  if (divisor == 0) {
    PyErr_SetString(PyExc_ZeroDivisionError, "a curve over 0");
    throw nb::python_error();
  }
  return Changed(curve, [divisor](CSigCurve& each) { each /= divisor; });
}

void BindArithmetic(nb::class_<Curve>& type) {
  const auto both = [](const Curve& a, const Curve& b, auto operation) {
    NeedOneAxis(a, b);
    return Changed(a, [&](CSigCurve& each) { operation(each, b); });
  };
  type.def(
          "__add__",
          [both](const Curve& a, const Curve& b) { return both(a, b, [](auto& x, auto& y) { x += y; }); },
          nb::is_operator())
      .def(
          "__sub__",
          [both](const Curve& a, const Curve& b) { return both(a, b, [](auto& x, auto& y) { x -= y; }); },
          nb::is_operator())
      .def(
          "__add__", [](const Curve& a, float b) { return Changed(a, [b](CSigCurve& each) { each += b; }); },
          nb::is_operator())
      .def(
          "__radd__", [](const Curve& a, float b) { return Changed(a, [b](CSigCurve& each) { each += b; }); },
          nb::is_operator())
      .def(
          "__sub__", [](const Curve& a, float b) { return Changed(a, [b](CSigCurve& each) { each -= b; }); },
          nb::is_operator())
      .def(
          "__mul__", [](const Curve& a, float b) { return Changed(a, [b](CSigCurve& each) { each *= b; }); },
          nb::is_operator())
      .def(
          "__rmul__", [](const Curve& a, float b) { return Changed(a, [b](CSigCurve& each) { each *= b; }); },
          nb::is_operator())
      .def("__truediv__", Divided, nb::is_operator())
      .def("__neg__", [](const Curve& a) { return Changed(a, [](CSigCurve& each) { each.MirrorY(); }); })
      .def("__abs__", [](const Curve& a) { return Changed(a, [](CSigCurve& each) { each.Abs(); }); });
}

}  // namespace

void SignalHeader::GiveTo(CSignal& signal) const {
  signal.SetName(name);
  signal.SetXUnit(xUnit);
  signal.SetYUnit(yUnit);
}

CString Description(const wchar_t* kind, std::uint64_t size, const wchar_t* of, const CSignal& signal) {
  CString text;
  text.Format(L"<%s '%s' of %u %s, x in %s, y in %s>", kind, signal.Name(), size, of,
              MeantUnit::Write(signal.XUnit()), MeantUnit::Write(signal.YUnit()));
  return text;
}

XRange::XRange(const nb::slice& slice) {
  const auto end = [&](const char* name, float otherwise) {
    const nb::object value = slice.attr(name);
    return value.is_none() ? otherwise : nb::cast<float>(value);
  };
  if (!slice.attr("step").is_none()) RefuseValue("a slice by x has no step; resample instead");
  from = end("start", -std::numeric_limits<float>::infinity());
  to = end("stop", std::numeric_limits<float>::infinity());
}

std::unique_ptr<CSigCurveExt> AsCurve(const CSigCurve* curve) {
  NeedMemory(curve != nullptr);
  auto result = std::make_unique<CSigCurveExt>();
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(curve)) {
    *result = *extended;
  } else {
    *result = *curve;
  }
  NeedMemory(result->DLen() == curve->DLen());
  return result;
}

void BindCurves(nb::module_& module) {
  nb::class_<Curve> type(module, "Curve", R"(Equidistant samples over x, with name and units.

Its samples do not change; every operation makes a new curve. Slices go by x: curve[0.5:2.0] has the samples from 0.5 to before 2.0.)");
  type.def(
          "__init__",
          [](Curve* self, const Floats& values, double x0, double dx, const CString& name,
             const UnitLike& xUnit, const UnitLike& yUnit) {
            const CurvePtr made = NewCurve(values, x0, dx, name, xUnit, yUnit);
            new (self) Curve();
            *self = *made;
            NeedMemory(self->DLen() == made->DLen());
          },
          "values"_a, nb::kw_only(), "x0"_a = 0.0, "dx"_a = 1.0, "name"_a = "", "x_unit"_a = "-",
          "y_unit"_a = "-",
          "Copies values [n]; sample i lies at x0 + i · dx, dx > 0. The axis is kept in single precision.")
      .def_prop_ro(
          "values",
          [](nb::handle_t<Curve> self) {
            const auto& curve = nb::cast<const Curve&>(self);
            return View(std::span<const float>(curve.FData(), curve.DLen()), self);
          },
          nb::rv_policy::automatic, "[n] float32, read-only, where the curve has them.")
      .def_prop_ro("x", Positions, nb::rv_policy::automatic, "[n] float32: positions of the samples.")
      .def_prop_ro("x0", &Curve::XMin, "Position of the first sample.")
      .def_prop_ro("x_end", &Curve::XMax, "End of the last sample's step.")
      .def_prop_ro("dx", &Curve::XDelta)
      .def_prop_rw(
          "position", [](const Curve& c) { return c.Date(); }, [](Curve& c, float at) { c.Date(at); },
          "Where the curve lies on the axis of a curve array.")
      .def_prop_rw(
          "valid", [](const Curve& c) { return std::pair(c.VMin(), c.VMax()); },
          [](Curve& c, std::pair<float, float> span) { c.SetVMinMax(span.first, span.second); },
          "First and last x between which the values count.")
      .def("__len__", &Curve::DLen)
      .def(
          "__call__", [](const Curve& c, float x) { return c.GetValue(x); }, "x"_a,
          "Value at x by straight lines; the ends are held, 0 for an empty curve.")
      .def("__call__", ValuesAt, "x"_a)
      .def("__getitem__", Slice, "x"_a)
      .def("resample", Resampled, "step"_a, nb::kw_only(), "method"_a = "linear",
           "The same stretch of x in other steps: \"linear\", \"cubic\" or \"band-limited\", which filters "
           "for a "
           "coarser step.")
      .def(
          "to_pairs",
          [](const Curve& c) {
            auto pairs = std::make_unique<CSigPairs>();
            *pairs = static_cast<const CSigCurve&>(c);
            return pairs;
          },
          "The samples of the valid stretch as points.")
      .def("convert", Converted, "y_unit"_a, "The values in another unit.")
      .def("__repr__", [](const Curve& c) { return Description(L"Curve", c.DLen(), L"samples", c); });
  BindHeader(type);
  BindArithmetic(type);
}

}  // namespace umlauf::python
