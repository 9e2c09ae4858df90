#include <nanobind/stl/string.h>

#include <exception>
#include <string>

#include "python/src/Bindings.h"
#include "python/src/Text.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace nb = nanobind;

namespace umlauf::python {
namespace {

/// Hands a line of the library's log to the logger `umlauf`, from whatever thread it comes.
void ToLogging(int category, int style, const CString& text) {
  nb::gil_scoped_acquire lock;
  try {
    std::string line = text.ToUtf8();
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    const nb::object logger = nb::module_::import_("logging").attr("getLogger")("umlauf");
    const char* level = style > 0 ? "warning" : category == PrWin::debug ? "debug" : "info";
    logger.attr(level)("%s", line);
  } catch (nb::python_error& error) {
    error.discard_as_unraisable("umlauf: a line of the log");
  } catch (const std::exception&) {
    // Without memory the line is lost; the library must not see an exception.
  }
}

}  // namespace

void BindLog(nb::module_& module) {
  PrWin::SetSink(ToLogging);
  // Lines that come when Python has gone would find no logger.
  nb::module_::import_("atexit").attr("register")(
      nb::cpp_function([] { PrWin::SetSink([](int, int, const CString&) {}); }));
  module.attr("version") = UMLAUF_VERSION;
}

}  // namespace umlauf::python
