#pragma once

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurve.h"

/// Fractional-octave bands of IEC 61260-1, base ten: with G = 10^(3/10), band x of b to the octave has
///
///     middle fm = 1000 Hz · G^(x/b),  edges fm · G^(∓1/(2b))        for odd b (1, 3 …)
///     middle fm = 1000 Hz · G^((2x+1)/(2b)), likewise               for even b
///
/// Safe on several threads.
namespace OctaveBands {

struct Band {
  double lower, middle, upper;  ///< [Hz]
};
/// Band x (0 has 1000 Hz in it or above it) of b to the octave, b at least 1.
UMLAUF_API Band BandAt(int x, unsigned b);
/// The rounded frequency that the band goes by: the series R10 (… 100, 125, 160, 200 …) for b = 1 and 3,
/// else the middle to three digits.
UMLAUF_API double NominalMiddle(int x, unsigned b);

/// Mean squares of the bands of a one-sided power spectral density over Hz that begins at 0: Σ density ·
/// width, where a bin that an edge cuts counts by its share. The x of the points are the middles. Bands that
/// are narrower than a bin, begin below half of one or end beyond the axis are left out. The unit is the
/// density's times Hz. False, and no points, for b = 0, a curve without an axis from 0 on, or no memory.
UMLAUF_API bool FromDensity(const CSigCurve& density, unsigned b, CSigPairs& meanSquares);

/// Levels [dB]: 10 lg(mean square / reference²), −∞ for 0. The reference is that of the unit whose square the
/// mean squares are in (sound pressure: 20 µPa = 2e-5); above 0, else nothing happens.
UMLAUF_API void ToLevels(CSigPairs& meanSquares, double reference);
/// The level of all bands together: 10 lg Σ 10^(L/10); −∞ without points.
UMLAUF_API double TotalLevel(const CSigPairs& levels);

}  // namespace OctaveBands
