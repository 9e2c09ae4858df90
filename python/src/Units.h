#pragma once

#include "python/src/Text.h"
#include "umlauf/units/MeantUnit.h"

namespace umlauf::python {

/// An argument that is a unit or its text. A text that is no unit is a ValueError once it is used.
struct UnitLike {
  nanobind::object source;

  operator CMeasuringUnit() const;  // NOLINT(google-explicit-constructor)
};

/// Equal as far as it matters: a reference counts for levels and logarithms only.
bool IsSame(const CMeasuringUnit& a, const CMeasuringUnit& b);

}  // namespace umlauf::python

namespace nanobind::detail {

template <>
struct type_caster<umlauf::python::UnitLike> {
  NB_TYPE_CASTER(umlauf::python::UnitLike, const_name("str | ") + make_caster<CMeasuringUnit>::Name)

  bool from_python(handle source, std::uint32_t, cleanup_list*) noexcept {
    if (!isinstance<str>(source) && !isinstance<CMeasuringUnit>(source)) return false;
    value.source = borrow(source);
    return true;
  }
};

}  // namespace nanobind::detail
