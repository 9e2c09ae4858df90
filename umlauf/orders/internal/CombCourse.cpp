#include "umlauf/orders/internal/CombCourse.h"

#include <algorithm>
#include <cmath>

namespace umlauf::orders {
namespace {

constexpr double kSame = 0.05;  ///< closer speeds are one course
constexpr std::size_t kEvery = 256;

template <class T>
void Drop(std::vector<T>& rows, std::size_t n) {
  rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(n));
}

}  // namespace

bool CombGrid::MayStart(std::size_t place) const {
  const double rpm = Rpm(static_cast<double>(place));
  return !(startHigh > 0) || (rpm >= startLow - step && rpm <= startHigh + step);
}

void CombRival::Take(const float* scores, const CombPoint& other) {
  const double taken = grid_.Rpm(other.place);
  for (std::size_t i = 0; i < grid_.speeds; ++i) {
    const bool off = std::abs(grid_.Rpm(static_cast<double>(i)) / taken - 1) >= kSame;
    scores_[i] = off && (begun_ || grid_.MayStart(i)) ? scores[i] : CombFront::never;
  }
  begun_ ? front_.Advance(scores_.data(), grid_.reach, nullptr) : front_.Begin(scores_.data());
  begun_ = true;
}

CombCourse::CombCourse(const CombGrid& grid, std::size_t cells)
    : grid_(grid),
      most_(std::max<std::size_t>(4, cells / grid.speeds)),
      every_(std::min(kEvery, most_ / 4)),
      front_(grid.speeds),
      rival_(grid) {}

void CombCourse::Take(const float* scores, const std::uint16_t* lines) {
  const bool first = decided_.empty() && moves_.empty();
  scores_.insert(scores_.end(), scores, scores + grid_.speeds);
  lines_.insert(lines_.end(), lines, lines + grid_.speeds);
  moves_.resize(moves_.size() + grid_.speeds);
  if (!first) {
    Advance(Undecided() - 1);
  } else {
    std::vector<float> starts(scores, scores + grid_.speeds);
    for (std::size_t i = 0; i < grid_.speeds; ++i) {
      if (!grid_.MayStart(i)) starts[i] = CombFront::never;
    }
    front_.Begin(starts.data());
  }
  if (Undecided() % every_ != 0) return;
  Place common;
  if (Common(common)) Decide(common);
  if (Undecided() >= most_) DecideHalf();
}

void CombCourse::Advance(std::size_t segment) {
  front_.Advance(Scores(segment), grid_.reach, moves_.data() + segment * grid_.speeds);
}

std::size_t CombCourse::Before(const Place& at) const {
  return at.speed +
         static_cast<std::size_t>(static_cast<std::ptrdiff_t>(moves_[at.segment * grid_.speeds + at.speed]));
}

/// Where the course that ends at a speed was in an undecided segment.
std::size_t CombCourse::Back(std::size_t speed, std::size_t segment) const {
  for (std::size_t r = Undecided() - 1; r > segment; --r) speed = Before({r, speed});
  return speed;
}

/// The last segment that all courses passed at one speed.
bool CombCourse::Common(Place& place) const {
  std::size_t low = front_.Lowest(), high = front_.Highest(), r = Undecided() - 1;
  for (; low < high && r > 0; --r) {
    low = Before({r, low});
    high = Before({r, high});
  }
  place = {r, low};
  return low == high && front_.Any();
}

CombPoint CombCourse::PointAt(const Place& at) const {
  const float* row = Scores(at.segment) + at.speed;
  // Between the speeds of the grid: the parabola through three scores.
  double shift = 0;
  if (at.speed > 0 && at.speed + 1 < grid_.speeds) {
    const auto a = static_cast<double>(row[-1]), b = static_cast<double>(row[0]),
               c = static_cast<double>(row[1]);
    if (a + c < 2 * b) shift = std::clamp((a - c) / (2 * (a - 2 * b + c)), -0.5, 0.5);
  }
  return {static_cast<float>(static_cast<double>(at.speed) + shift), row[0],
          static_cast<std::uint32_t>(at.speed), lines_[at.segment * grid_.speeds + at.speed]};
}

/// Appends the course up to a place.
void CombCourse::Trace(Place to, std::vector<CombPoint>& points) const {
  const std::size_t known = points.size();
  points.resize(known + to.segment + 1);
  for (;; --to.segment) {
    points[known + to.segment] = PointAt(to);
    if (to.segment == 0) return;
    to.speed = Before(to);
  }
}

void CombCourse::Decide(const Place& to) {
  const std::size_t known = decided_.size(), rows = to.segment + 1;
  Trace(to, decided_);
  for (std::size_t r = 0; r < rows; ++r) rival_.Take(Scores(r), decided_[known + r]);
  Drop(scores_, rows * grid_.speeds);
  Drop(lines_, rows * grid_.speeds);
  Drop(moves_, rows * grid_.speeds);
}

/// By the best course so far; what does not come from there is followed no further.
void CombCourse::DecideHalf() {
  const std::size_t half = Undecided() / 2;
  const Place to{half, Back(front_.Best(), half)};
  Decide(to);
  front_.BeginAt(to.speed);
  for (std::size_t r = 0; r < Undecided(); ++r) Advance(r);
}

std::vector<CombPoint> CombCourse::Find(CombRival* rival) const {
  std::vector<CombPoint> points;
  if ((decided_.empty() && moves_.empty()) || !front_.Any()) return points;
  points = decided_;
  if (Undecided() > 0) Trace({Undecided() - 1, front_.Best()}, points);
  if (rival == nullptr) return points;
  *rival = rival_;
  for (std::size_t r = 0; r < Undecided(); ++r) rival->Take(Scores(r), points[decided_.size() + r]);
  return points;
}

}  // namespace umlauf::orders
