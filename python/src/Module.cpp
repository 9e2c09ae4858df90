#include <exception>

#include "python/src/Bindings.h"
#include "python/src/Errors.h"

namespace nb = nanobind;
using namespace umlauf::python;

NB_MODULE(_core, module) {
  module.doc() = "The library as Python sees it. What is meant for use is in the package `umlauf`.";
  nb::exception<Error>(module, "Error").doc() =
      "What was asked for is in order, but the data do not give it: a recording without pulses, a damaged "
      "file.";
  BindLog(module);
  BindUnits(module);
  BindPairs(module);
  BindCurves(module);
  BindCurveArrays(module);
  BindSignalFiles(module);
  BindRecordings(module);
  BindSpeeds(module);
  BindSpeedPieces(module);
  BindEncoders(module);
  BindOrders(module);
  BindRates(module);
  BindCan(module);
  BindTypedSignals(module);
  BindVibrationSpeeds(module);
}
