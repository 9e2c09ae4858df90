#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/filters/SosSections.h"
#include "umlauf/signal/SigCurve.h"

/// Filters whole signals forward and backward: no shift in time, and the gain in dB counts twice. The signal
/// is continued at both ends by its point reflection there, x[−i] = 2 x[0] − x[i], for three times the
/// filter's taps (or as far as it reaches), and both runs begin settled on their first value.
///
/// Needs memory for the signal in double precision; CZeroPhaseStream does not. Safe on several threads.
/// Source: F. Gustafsson, "Determining the initial states in forward-backward filtering", IEEE Trans. Signal
/// Processing 44 (1996).
namespace ZeroPhase {

/// Samples by which a signal is continued at each end, if it has that many and one more.
UMLAUF_API std::uint64_t Margin(const SosSections& sections);
/// n samples in place. False, and nothing changed, when there is no memory.
UMLAUF_API bool Filter(const SosSections& sections, float* samples, std::uint64_t n);
/// The samples of a curve (of an extended one those of its valid span) in place; likewise.
UMLAUF_API bool Filter(const SosSections& sections, CSigCurve& curve);

}  // namespace ZeroPhase
