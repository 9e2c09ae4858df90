#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/wstring.h>

#include <utility>

#include "umlauf/platform/framework/CString.h"

/// Texts of the library are those of Python.
namespace nanobind::detail {

template <>
struct type_caster<CString> {
  NB_TYPE_CASTER(CString, const_name("str"))

  bool from_python(handle source, std::uint32_t flags, cleanup_list* cleanup) noexcept {
    make_caster<std::wstring> text;
    if (!text.from_python(source, flags, cleanup)) return false;
    value = CString(std::move(text.value));
    return true;
  }

  static handle from_cpp(const CString& text, rv_policy policy, cleanup_list* cleanup) noexcept {
    return make_caster<std::wstring>::from_cpp(text.str(), policy, cleanup);
  }
};

}  // namespace nanobind::detail
