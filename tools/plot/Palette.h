#pragma once

#include <array>
#include <cstdint>

namespace umlauf::tool {

struct Colour {
  std::uint8_t red, green, blue;  ///< sRGB
};

/// Colours of levels, from dark blue over green to light yellow: the lightness rises steadily, also for the
/// colour-blind and on paper, and equal steps of the level are equal differences for the eye.
std::array<Colour, 65> LevelPalette();

}  // namespace umlauf::tool
