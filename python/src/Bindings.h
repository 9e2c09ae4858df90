#pragma once

#include <nanobind/nanobind.h>

namespace umlauf::python {

void BindLog(nanobind::module_& module);
void BindUnits(nanobind::module_& module);
void BindCurves(nanobind::module_& module);
void BindPairs(nanobind::module_& module);
void BindCurveArrays(nanobind::module_& module);
void BindSignalFiles(nanobind::module_& module);
void BindRecordings(nanobind::module_& module);
void BindSpeeds(nanobind::module_& module);
void BindSpeedPieces(nanobind::module_& module);
void BindEncoders(nanobind::module_& module);
void BindOrders(nanobind::module_& module);
void BindRates(nanobind::module_& module);
void BindCan(nanobind::module_& module);
void BindTypedSignals(nanobind::module_& module);
void BindVibrationSpeeds(nanobind::module_& module);

}  // namespace umlauf::python
