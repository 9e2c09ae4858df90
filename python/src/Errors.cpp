#include "python/src/Errors.h"

#include <nanobind/nanobind.h>

#include <new>

namespace nb = nanobind;

namespace umlauf::python {
namespace {

[[noreturn]] void RaiseAs(PyObject* type, const std::string& reason) {
  nb::gil_scoped_acquire lock;
  PyErr_SetString(type, reason.c_str());
  throw nb::python_error();
}

}  // namespace

void RefuseValue(const std::string& reason) { throw nb::value_error(reason.c_str()); }

void FailSystem(const CString& reason) { RaiseAs(PyExc_OSError, reason.ToUtf8()); }

void Raise(const RecordingFailure& failure) {
  using Kind = RecordingFailure::Kind;
  const std::string reason = failure.text.ToUtf8();
  switch (failure.kind) {
    case Kind::notThere:
      RaiseAs(PyExc_FileNotFoundError, reason);
    case Kind::unreadable:
    case Kind::unwritable:
      RaiseAs(PyExc_OSError, reason);
    case Kind::noSuchChannel:
    case Kind::notEquidistant:
    case Kind::wrongOption:
    case Kind::outOfRange:
      RefuseValue(reason);
    case Kind::noMemory:
      throw std::bad_alloc();
    case Kind::unknownFormat:
    case Kind::badContent:
    case Kind::none:
      break;
  }
  throw Error(failure.text);
}

}  // namespace umlauf::python
