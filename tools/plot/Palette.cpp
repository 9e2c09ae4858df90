#include "tools/plot/Palette.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <utility>
#include <vector>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

/// A colour in Oklab (B. Ottosson, "A perceptual color space for image processing", 2020), where distances
/// are differences for the eye.
struct Oklab {
  double lightness, a, b;
};

std::array<double, 3> LinearRgb(const Oklab& colour) {
  const auto cube = [](double x) { return x * x * x; };
  const double l = cube(colour.lightness + 0.3963377774 * colour.a + 0.2158037573 * colour.b);
  const double m = cube(colour.lightness - 0.1055613458 * colour.a - 0.0638541728 * colour.b);
  const double s = cube(colour.lightness - 0.0894841775 * colour.a - 1.2914855480 * colour.b);
  return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
          -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
          -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

bool InGamut(const Oklab& colour) {
  const auto rgb = LinearRgb(colour);
  return std::all_of(rgb.begin(), rgb.end(), [](double each) { return each >= 0 && each <= 1; });
}

constexpr std::size_t places = 1024;  ///< of the path that are looked at

/// The path through the colours, from place 0 to `places`: lightness and hue change evenly.
Oklab OnPath(std::size_t place, double chroma) {
  const double t = static_cast<double>(place) / places;
  const double hue = (285 - 180 * t) * std::numbers::pi / 180;
  return {0.24 + 0.69 * t, chroma * std::cos(hue), chroma * std::sin(hue)};
}

/// The greatest chroma that sRGB can show at a place, up to what is pleasant.
double GreatestChroma(std::size_t place) {
  double low = 0, high = 0.16;
  for (int i = 0; i < 30; ++i) {
    const double middle = (low + high) / 2;
    (InGamut(OnPath(place, middle)) ? low : high) = middle;
  }
  return low;
}

/// The same without corners, which would look like edges in the picture: the mean over neighbours of the
/// smallest of their neighbours, which is nowhere greater than what can be shown.
std::vector<double> SmoothChroma() {
  constexpr std::size_t reach = places / 8;
  std::vector<double> greatest(places + 1), smallest(places + 1), smooth(places + 1);
  for (std::size_t i = 0; i <= places; ++i) greatest[i] = GreatestChroma(i);
  const auto neighbours = [reach](const std::vector<double>& values, std::size_t i) {
    return std::pair(values.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, reach)),
                     values.begin() + static_cast<std::ptrdiff_t>(std::min(i + reach, places) + 1));
  };
  for (std::size_t i = 0; i <= places; ++i) {
    const auto [first, end] = neighbours(greatest, i);
    smallest[i] = *std::min_element(first, end);
  }
  for (std::size_t i = 0; i <= places; ++i) {
    const auto [first, end] = neighbours(smallest, i);
    smooth[i] = std::accumulate(first, end, 0.0) / static_cast<double>(end - first);
  }
  return smooth;
}

std::uint8_t Encoded(double linear) {
  const double value = linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
  return numeric::trunc_sat<std::uint8_t>(255 * value + 0.5);
}

}  // namespace

std::array<Colour, 65> LevelPalette() {
  std::vector<Oklab> path;
  const std::vector<double> chroma = SmoothChroma();
  for (std::size_t i = 0; i <= places; ++i) path.push_back(OnPath(i, chroma[i]));
  // Colours at even lengths of the path.
  std::vector<double> length(places + 1, 0.0);
  for (std::size_t i = 1; i <= places; ++i) {
    length[i] = length[i - 1] + std::hypot(path[i].lightness - path[i - 1].lightness,
                                           path[i].a - path[i - 1].a, path[i].b - path[i - 1].b);
  }
  std::array<Colour, 65> palette{};
  for (std::size_t i = 0; i < palette.size(); ++i) {
    const double wanted = length.back() * static_cast<double>(i) / (palette.size() - 1);
    const auto found = std::lower_bound(length.begin(), length.end(), wanted);
    const auto rgb = LinearRgb(path[static_cast<std::size_t>(found - length.begin())]);
    palette[i] = {Encoded(rgb[0]), Encoded(rgb[1]), Encoded(rgb[2])};
  }
  return palette;
}

}  // namespace umlauf::tool
