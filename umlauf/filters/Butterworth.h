#pragma once

#include "umlauf/Export.h"
#include "umlauf/filters/SosSections.h"

/// Butterworth filters: maximally flat where they pass, −3.01 dB at their edges. With w = tan(π f / rate),
/// lower and upper edge l and u, their mean m = √(l u), and order n:
///
/// | kind | \|H\|² |
/// |---|---|
/// | low pass | 1 / (1 + (w/u)^2n) |
/// | high pass | 1 / (1 + (l/w)^2n) |
/// | band pass | 1 / (1 + ((w² − m²) / (w (u − l)))^2n) |
/// | band stop | 1 / (1 + (w (u − l) / (w² − m²))^2n) |
///
/// Designed in double precision by the bilinear transform of the analogue filter, poles in pairs, the most
/// damped first. Source: A. V. Oppenheim, R. W. Schafer, "Discrete-Time Signal Processing". Safe on several
/// threads.
namespace Butterworth {

/// A band filter of order n has 2n poles.
constexpr unsigned kMaxOrder = 16;

// Orders from 1 to kMaxOrder, edges above 0 and below half the sample rate, in its unit, the lower one below
// the upper one; else there are no sections.
UMLAUF_API SosSections LowPass(unsigned order, double edge, double rate);
UMLAUF_API SosSections HighPass(unsigned order, double edge, double rate);
UMLAUF_API SosSections BandPass(unsigned order, double lower, double upper, double rate);
UMLAUF_API SosSections BandStop(unsigned order, double lower, double upper, double rate);

}  // namespace Butterworth
