#pragma once

#include "umlauf/rotation/internal/PreparedStretches.h"
#include "umlauf/rotation/internal/Swings.h"

namespace umlauf::rotation {

/// Whether small swings are ripple on the flats between the edges of great ones (hum, ringing, a level that
/// moves with the angle), how ever regular: the great ones go up and down in one go, or nearly so. Teeth that
/// lie on a greater wave, of a shaft that runs out, turn many times on its way; where a shaft speeds up,
/// small teeth come before great ones, not between them. Many of some height, with one much higher in a
/// revolution, are teeth.
bool AreRipple(const PreparedStretches& stretches, const Swings& small, Swings& great);

/// Whether great swings, which small ones seem to lie on, could as well be the marks of a shaft under hum.
bool CouldBeMarks(const Swings& small, const Swings& great);
/// Whether small swings between such marks could as well be teeth.
bool CouldBeTeeth(const Swings& small, const Swings& great);

/// How many of the swings look like hum while the shaft stands: small ones beside the others, many of them
/// one like the other in length, which do not go on from the speed before or lead to the one after them. A
/// shaft that turns slowly and evenly, with small swings, gets there and away from there bit by bit.
/// `least`: none of the swings is smaller.
double CountHum(const PreparedStretches& stretches, const Swings& swings, double least);

}  // namespace umlauf::rotation
