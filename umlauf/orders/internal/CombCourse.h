#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/orders/internal/CombFront.h"

namespace umlauf::orders {

/// Speeds that a comb may have, and how they may change.
struct CombGrid {
  std::size_t speeds;
  double lowest, step;         ///< [rpm]
  std::size_t reach;           ///< [steps] from segment to segment, below 32768
  double startLow, startHigh;  ///< [rpm] at the first segment; both 0: anywhere

  double Rpm(double place) const { return lowest + step * place; }
  bool MayStart(std::size_t place) const;
};

/// A segment of a course.
struct CombPoint {
  float speed;  ///< [steps] of the grid, between them too
  float score;
  std::uint32_t place;  ///< [steps]
  std::uint16_t lines;  ///< that stand out there: a bit for each
};

/// The best course that stays off another one, segment by segment behind that.
class CombRival {
 public:
  explicit CombRival(const CombGrid& grid) : grid_(grid), front_(grid.speeds), scores_(grid.speeds) {}
  void Take(const float* scores, const CombPoint& other);
  const CombFront& Front() const { return front_; }

 private:
  CombGrid grid_;
  CombFront front_;
  std::vector<float> scores_;
  bool begun_ = false;
};

/// The course of a speed through segments that have a score for each speed of a grid.
///
/// Where the outermost courses that end at the last segment have a past in common, all have it, since courses
/// never cross. That part is decided and its scores are let go: memory grows with the course alone, 16 bytes
/// for each segment. Up to `mostCells` scores are kept undecided, 8 bytes each; then the older half is
/// decided by the best course so far. Throws std::bad_alloc without memory.
class CombCourse {
 public:
  static constexpr std::size_t mostCells = std::size_t{1} << 23;

  explicit CombCourse(const CombGrid& grid, std::size_t cells = mostCells);

  /// Takes the next segment: score and lines of each speed.
  void Take(const float* scores, const std::uint16_t* lines);
  /// The whole course; empty when none begins within the start range. `rival`, unless null, then has taken
  /// all of it.
  std::vector<CombPoint> Find(CombRival* rival) const;

 private:
  /// Number of an undecided segment from which courses have one past, and the speed there.
  struct Place {
    std::size_t segment, speed;
  };

  std::size_t Undecided() const { return moves_.size() / grid_.speeds; }
  const float* Scores(std::size_t segment) const { return scores_.data() + segment * grid_.speeds; }
  void Advance(std::size_t segment);
  std::size_t Before(const Place& at) const;
  std::size_t Back(std::size_t speed, std::size_t segment) const;
  bool Common(Place& place) const;
  void Trace(Place to, std::vector<CombPoint>& points) const;
  CombPoint PointAt(const Place& at) const;
  void Decide(const Place& to);
  void DecideHalf();

  CombGrid grid_;
  std::size_t most_, every_;  ///< undecided segments, and those after which to look for what is decided
  CombFront front_;
  CombRival rival_;
  std::vector<float> scores_;         ///< [undecided segments, speeds]
  std::vector<std::uint16_t> lines_;  ///< likewise
  std::vector<std::int16_t> moves_;   ///< likewise: where a course was before
  std::vector<CombPoint> decided_;
};

}  // namespace umlauf::orders
