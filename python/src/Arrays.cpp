#include "python/src/Arrays.h"

#include <nanobind/stl/string.h>

#include <cmath>
#include <string>

#include "python/src/Errors.h"

namespace umlauf::python {

nb::object AsNumPy(const nb::object& source, nb::dlpack::dtype type, int dimensions) {
  const nb::module_ numpy = nb::module_::import_("numpy");
  const bool words = type == nb::dtype<ULONG>();
  const char* name = words ? "uint32" : type == nb::dtype<double>() ? "float64" : "float32";
  // Masked samples are no numbers.
  const nb::object plain = !words && nb::hasattr(source, "filled")
                               ? source.attr("astype")(name).attr("filled")(nb::float_(NAN))
                               : source;
  const nb::object array = numpy.attr("asarray")(plain);
  const auto kind = nb::cast<std::string>(array.attr("dtype").attr("kind"));
  if (kind.find_first_of(words ? "iu" : "biuf") == std::string::npos) {
    RefuseValue(words ? "words are 32-bit integers" : "the array must hold real numbers");
  }
  if (nb::cast<int>(array.attr("ndim")) != dimensions) {
    RefuseValue("the array must have " + std::to_string(dimensions) +
                (dimensions == 1 ? " dimension: one channel" : " dimensions"));
  }
  if (words) {
    if (nb::cast<int>(array.attr("dtype").attr("itemsize")) != 4) RefuseValue("words are 32-bit integers");
    return numpy.attr("ascontiguousarray")(array).attr("view")(name);
  }
  return numpy.attr("ascontiguousarray")(array, name);
}

}  // namespace umlauf::python
