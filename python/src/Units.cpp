#include <nanobind/operators.h>
#include <nanobind/stl/string.h>

#include <functional>
#include <string>

#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "python/src/Units.h"
#include "umlauf/units/UnitAlgebra.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace umlauf::python {
namespace {

CMeasuringUnit UnitOf(const CString& text, bool registering) {
  CMeasuringUnit unit;
  if (!(registering ? MeantUnit::ReadOrRegister(text, unit) : MeantUnit::Read(text, unit))) {
    RefuseValue("\"" + text.ToUtf8() +
                "\" is no known unit; write for example rpm, m/s², dB(Pa) or V^2, or register it with "
                "Unit(text, register=True)");
  }
  return unit;
}

double FactorTo(const CMeasuringUnit& from, const UnitLike& unit) {
  const CMeasuringUnit to = unit;
  const double factor = MeantUnit::Factor(from, to);
  if (factor == 0) {
    RefuseValue(MeantUnit::Write(from).ToUtf8() + " cannot be converted to " + MeantUnit::Write(to).ToUtf8() +
                " by a factor; give plain units of one kind and power");
  }
  return factor;
}

CMeasuringUnit Combined(CMeasuringUnit (*operation)(const CMeasuringUnitInterface&,
                                                    const CMeasuringUnitInterface&),
                        const CMeasuringUnit& a, const CMeasuringUnit& b) {
  if (a.flags() != 0 || b.flags() != 0) RefuseValue("levels and logarithms have no product");
  return operation(a, b);
}

nb::object Scaled(const CMeasuringUnit& from, const nb::object& values, const UnitLike& to) {
  const double factor = FactorTo(from, to);
  if (nb::isinstance<nb::float_>(values) || nb::isinstance<nb::int_>(values)) {
    return nb::float_(nb::cast<double>(values) * factor);
  }
  return nb::module_::import_("numpy").attr("multiply")(values, factor);
}

}  // namespace

UnitLike::operator CMeasuringUnit() const {
  if (nb::isinstance<CMeasuringUnit>(source)) return nb::cast<const CMeasuringUnit&>(source);
  return UnitOf(nb::cast<CString>(source), false);
}

bool IsSame(const CMeasuringUnit& a, const CMeasuringUnit& b) {
  return a.unit() == b.unit() && a.exponent() == b.exponent() && a.power() == b.power() &&
         a.flags() == b.flags() && (a.flags() == 0 || a.logref() == b.logref());
}

void BindUnits(nb::module_& module) {
  nb::class_<CMeasuringUnit>(module, "Unit",
                             R"doc(A measuring unit, such as Unit("m/s²"), Unit("kHz") or Unit("dB(Pa)").

A value: it does not change. Prefixes are meant as people write them: km² is 10⁶ m².)doc")
      .def(
          "__init__",
          [](CMeasuringUnit* self, const CString& text, bool registering) {
            new (self) CMeasuringUnit(UnitOf(text, registering));
          },
          "text"_a = "-", nb::kw_only(), "register"_a = false,
          "From its text; an unknown name is a ValueError, or with register=True a new unit of this process.")
      .def("__str__", [](const CMeasuringUnit& unit) { return MeantUnit::Write(unit); })
      .def("__repr__",
           [](const CMeasuringUnit& unit) { return CString(L"Unit('") + MeantUnit::Write(unit) + L"')"; })
      .def("__eq__", IsSame, nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__hash__",
           [](const CMeasuringUnit& unit) {
             return std::hash<std::string>()(MeantUnit::Write(unit).ToUtf8());
           })
      .def(
          "__mul__",
          [](const CMeasuringUnit& a, const CMeasuringUnit& b) {
            return Combined(UnitAlgebra::Product, a, b);
          },
          nb::is_operator(), "Unit of products: N · m, joined where the unit is known.")
      .def(
          "__truediv__",
          [](const CMeasuringUnit& a, const CMeasuringUnit& b) {
            return Combined(UnitAlgebra::Quotient, a, b);
          },
          nb::is_operator(), "Unit of quotients: m over s is m/s.")
      .def(
          "__pow__",
          [](const CMeasuringUnit& unit, std::int16_t power) {
            if (unit.flags() != 0) RefuseValue("levels and logarithms have no powers");
            return UnitAlgebra::Power(unit, power);
          },
          nb::is_operator())
      .def("factor", FactorTo, "to"_a,
           "Factor by which values in this unit are multiplied to be in another one; ValueError where there "
           "is "
           "none.")
      .def("convert", Scaled, "values"_a, "to"_a,
           nb::sig("def convert(self, values: numpy.typing.ArrayLike, to: str | Unit) -> typing.Any"),
           "A number, or an array of any shape, in this unit as one in another unit.")
      .def(
          "to_pint",
          [](const nb::object& self, const nb::object& registry) {
            return nb::module_::import_("umlauf._pint").attr("to_pint")(self, registry);
          },
          "registry"_a = nb::none(), nb::sig("def to_pint(self, registry: typing.Any = None) -> typing.Any"),
          "As a unit of pint, of the application's registry unless another one is given; ValueError for "
          "levels "
          "and what pint does not know. There, 1 rpm is 2π/60 Hz; here it is 1/60.")
      .def_static(
          "from_pint",
          [](const nb::object& unit) {
            return nb::cast<CMeasuringUnit>(nb::module_::import_("umlauf._pint").attr("from_pint")(unit));
          },
          "unit"_a, nb::sig("def from_pint(unit: typing.Any) -> Unit"),
          "From a unit or quantity of pint; ValueError where there is no such unit here.")
      .def_prop_ro(
          "base", [](const CMeasuringUnit& unit) { return unit.baseunit(); },
          "Name without prefix and power: \"m\" of km².")
      .def_prop_ro(
          "exponent", [](const CMeasuringUnit& unit) { return unit.exponent(); },
          "Values count 10**exponent: 6 of km².")
      .def_prop_ro(
          "power", [](const CMeasuringUnit& unit) { return unit.power(); }, "2 of km².")
      .def_prop_ro(
          "is_level", [](const CMeasuringUnit& unit) { return unit.is_db(); },
          "Values are levels in dB over `reference`.")
      .def_prop_ro(
          "is_logarithm", [](const CMeasuringUnit& unit) { return unit.is_log(); },
          "Values are decimal logarithms.")
      .def_prop_ro("reference", [](const CMeasuringUnit& unit) { return unit.logref(); });
}

}  // namespace umlauf::python
