#pragma once

#include <array>
#include <cstdint>
#include <utility>

/// The scope of the codes and modes of drawable items: write `CVisDataItem::AxisY`.
struct VisDataTypes {
  /// Codes of the concrete classes; 0 is the base.
  enum Datatype : std::int32_t { DtVector = 1, DtIntVector, DtPolygon, DtArray, DtGrid };
  /// How an item is shown; a set of bits.
  enum Displaymode : std::uint32_t {
    DmBackground = 1,   ///< "Bg": behind the other items
    DmHighlighted = 2,  ///< "Hg": picked out
    DmSidebands = 4,    ///< "Sb": with markers at the sidebands of the cursor
    DmStairs = 8,       ///< "St": as stairs instead of connected points
    DmForeground = 16,  ///< "Fg": before the other items
    DmThreshold = 32    ///< "Th": a limit that others are compared with
  };
  /// Axes; a set of bits. y is the axis of the values.
  enum Dataaxis : std::uint32_t { AxisX = 1, AxisY = 2, AxisZ = 4, AllAxes = 7 };
  /// How samples are written into files.
  enum FileCompress : std::int32_t {
    CompressNone = 0,  ///< raw floats
    CompressBytes = 1  ///< quantised to 8 bits
  };
};

constexpr VisDataTypes::Displaymode operator|(VisDataTypes::Displaymode a, VisDataTypes::Displaymode b) {
  return static_cast<VisDataTypes::Displaymode>(std::uint32_t{a} | std::uint32_t{b});
}
constexpr VisDataTypes::Dataaxis operator|(VisDataTypes::Dataaxis a, VisDataTypes::Dataaxis b) {
  return static_cast<VisDataTypes::Dataaxis>(std::uint32_t{a} | std::uint32_t{b});
}

/// What an item stands for, in the words of whoever made it; the items only carry it along.
struct SVisDataId {
  std::uint64_t word = 0;
  std::int32_t number = -1;
  std::array<std::int32_t, 8> block{-1, -1, -1, -1, -1, -1, -1, -1};

  friend bool operator==(const SVisDataId&, const SVisDataId&) = default;
};

/// Axis of n equidistant elements. As on a curve, `max` is the end of the last element's step, not its
/// position. May run backward (max < min).
struct SVisDataAxis {
  float min = 0.0f;
  float max = 1.0f;

  /// Position of element i of n, also outside; `min` for n = 0.
  float Position(std::int64_t i, std::uint64_t n) const {
    return n == 0 ? min : (max - min) * static_cast<float>(i) / static_cast<float>(n) + min;
  }
  /// Lower and upper end.
  std::pair<float, float> Extent() const { return max < min ? std::pair(max, min) : std::pair(min, max); }

  friend bool operator==(const SVisDataAxis&, const SVisDataAxis&) = default;
};
