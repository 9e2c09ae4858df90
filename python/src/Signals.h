#pragma once

#include <memory>
#include <string>

#include "python/src/Arrays.h"
#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "python/src/Units.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurveArray.h"

// Signals do not change their samples once Python has them: arrays refer to them. Every operation makes a new
// one.
namespace umlauf::python {

/// A copy with units, which copy constructors leave out.
template <class Signal>
std::unique_ptr<Signal> CopyOf(const Signal& signal) {
  auto copy = std::make_unique<Signal>();
  *copy = signal;
  NeedMemory(copy->DLen() == signal.DLen());
  return copy;
}

/// A curve with a span from one without; null, as of a builder without memory, is a MemoryError.
std::unique_ptr<CSigCurveExt> AsCurve(const CSigCurve* curve);

struct SignalHeader {
  CString name;
  CMeasuringUnit xUnit, yUnit;

  void GiveTo(CSignal& signal) const;
};

/// "Curve of 100 samples, name 'speed', x in s, y in rpm".
CString Description(const wchar_t* kind, std::uint64_t size, const wchar_t* of, const CSignal& signal);

/// Name and units as properties.
template <class Signal, class... Extra>
void BindHeader(nb::class_<Signal, Extra...>& type) {
  type.def_prop_rw(
          "name", [](const Signal& s) { return CString(s.Name()); },
          [](Signal& s, const CString& name) { s.SetName(name); })
      .def_prop_rw("x_unit", &Signal::XUnit,
                   [](Signal& s, const UnitLike& unit) { s.SetXUnit(CMeasuringUnit(unit)); })
      .def_prop_rw("y_unit", &Signal::YUnit,
                   [](Signal& s, const UnitLike& unit) { s.SetYUnit(CMeasuringUnit(unit)); });
}

/// Ends of a slice by x, as `signal[0.5:2]`; a missing one is infinite.
struct XRange {
  float from, to;
  explicit XRange(const nb::slice& slice);
};

}  // namespace umlauf::python
