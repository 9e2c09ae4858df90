#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/filesystem.h>
#include <nanobind/stl/wstring.h>

#include <filesystem>
#include <utility>

#include "umlauf/platform/framework/CString.h"

namespace umlauf::python {

/// An argument that is the name of a file.
struct FileName {
  std::filesystem::path path;
};

}  // namespace umlauf::python

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

template <>
struct type_caster<umlauf::python::FileName> {
  NB_TYPE_CASTER(umlauf::python::FileName, const_name("str | os.PathLike[str]"))

  bool from_python(handle source, std::uint32_t flags, cleanup_list* cleanup) noexcept {
    make_caster<std::filesystem::path> path;
    if (!path.from_python(source, flags, cleanup)) return false;
    value.path = std::move(path.value);
    return true;
  }
};

}  // namespace nanobind::detail
