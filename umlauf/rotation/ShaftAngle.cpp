#include "umlauf/rotation/ShaftAngle.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

constexpr double kMost = 1e15;  ///< [rev or steps] beyond, one is lost in the last digit
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// Speed at an edge between two pulses of the given lengths and speeds; 0 where the direction changes.
double EdgeSpeed(double lengthBefore, double before, double lengthBehind, double behind) {
  if (!(before * behind > 0)) return 0;
  const double weight = (lengthBefore + 2 * lengthBehind) / (3 * (lengthBefore + lengthBehind));
  return before * behind / (weight * behind + (1 - weight) * before);
}

}  // namespace

CShaftAngle::CShaftAngle(const CPulseTrain& pulses, double pulsesPerRevolution, double origin) {
  const bool enough = umlauf::HadMemory([&] { AddEdges(pulses, pulsesPerRevolution, origin); });
  if (!enough || knots_.size() < 2) {
    knots_.clear();
  } else {
    SetSpeeds();
  }
}

void CShaftAngle::AddEdges(const CPulseTrain& pulses, double pulsesPerRevolution, double origin) {
  if (!(pulsesPerRevolution > 0)) return;
  knots_.reserve(pulses.size() + 1);
  double pitches = 0;
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (pulse.Is(CPulseTrain::first)) continue;
    if (knots_.empty()) knots_.push_back({pulse.begin, origin, 0});
    pitches += pulse.pitches;
    const double angle = origin + pitches / pulsesPerRevolution;
    if (!(std::abs(angle) < kMost)) {
      knots_.clear();
      return;
    }
    // Several edges at one place are one.
    if (pulse.end > knots_.back().position) {
      knots_.push_back({pulse.end, angle, 0});
    } else if (knots_.size() > 1) {
      knots_.back().angle = angle;
    }
  }
}

void CShaftAngle::SetSpeeds() {
  const std::size_t last = knots_.size() - 1;
  const auto length = [this](std::size_t i) { return knots_[i + 1].position - knots_[i].position; };
  const auto mean = [&](std::size_t i) { return (knots_[i + 1].angle - knots_[i].angle) / length(i); };
  bool forward = false, backward = false;
  for (std::size_t i = 0; i < last; ++i) {
    const double speed = mean(i);
    forward = forward || speed > 0;
    backward = backward || speed < 0;
    if (i > 0) knots_[i].speed = EdgeSpeed(length(i - 1), mean(i - 1), length(i), speed);
  }
  knots_.front().speed = mean(0);
  knots_.back().speed = mean(last - 1);
  oneWay_ = !(forward && backward);
}

/// The pulse that a position lies in, the outermost ones reaching beyond the edges.
std::size_t CShaftAngle::SegmentAt(double position) const {
  const auto behind = std::upper_bound(knots_.begin() + 1, knots_.end() - 1, position,
                                       [](double x, const Knot& knot) { return x < knot.position; });
  return static_cast<std::size_t>(behind - knots_.begin()) - 1;
}

double CShaftAngle::In(std::size_t segment, double position) const {
  const Knot& a = knots_[segment];
  const Knot& b = knots_[segment + 1];
  if (position <= a.position) return a.angle + a.speed * (position - a.position);
  if (position >= b.position) return b.angle + b.speed * (position - b.position);
  const double length = b.position - a.position, t = (position - a.position) / length;
  const double turned = b.angle - a.angle, ta = a.speed * length, tb = b.speed * length;
  return a.angle + t * (ta + t * ((3 * turned - 2 * ta - tb) + t * (ta + tb - 2 * turned)));
}

double CShaftAngle::At(double position) const {
  return Valid() && !std::isnan(position) ? In(SegmentAt(position), position) : kNone;
}

void CShaftAngle::At(double first, double step, std::size_t n, double* angles) const {
  if (!Valid() || std::isnan(first) || !(step > 0)) {
    std::fill_n(angles, n, kNone);
    return;
  }
  std::size_t segment = SegmentAt(first);
  for (std::size_t i = 0; i < n; ++i) {
    const double position = first + static_cast<double>(i) * step;
    while (segment + 2 < knots_.size() && knots_[segment + 1].position <= position) ++segment;
    angles[i] = In(segment, position);
  }
}

double CShaftAngle::SpeedAt(double position) const {
  if (!Valid() || std::isnan(position)) return kNone;
  const std::size_t segment = SegmentAt(position);
  const Knot& a = knots_[segment];
  const Knot& b = knots_[segment + 1];
  if (position <= a.position) return a.speed;
  if (position >= b.position) return b.speed;
  const double length = b.position - a.position, t = (position - a.position) / length;
  const double mean = (b.angle - a.angle) / length;
  return a.speed + t * (2 * (3 * mean - 2 * a.speed - b.speed) + t * 3 * (a.speed + b.speed - 2 * mean));
}

double CShaftAngle::PositionOf(double angle) const {
  if (!Valid() || std::isnan(angle)) return kNone;
  const Knot& first = knots_.front();
  const Knot& last = knots_.back();
  // Before the first edge the shaft comes from where its first speed points back to.
  if ((angle - first.angle) * first.speed < 0) return first.position + (angle - first.angle) / first.speed;
  std::size_t segment = 0;
  if (oneWay_) {
    const bool forward = last.angle >= first.angle;
    const auto reached = std::partition_point(knots_.begin() + 1, knots_.end(), [&](const Knot& knot) {
      return forward ? knot.angle < angle : knot.angle > angle;
    });
    segment = static_cast<std::size_t>(reached - knots_.begin()) - 1;
  } else {
    const auto between = [&](const Knot& a, const Knot& b) {
      return (a.angle - angle) * (b.angle - angle) <= 0;
    };
    segment =
        static_cast<std::size_t>(std::adjacent_find(knots_.begin(), knots_.end(), between) - knots_.begin());
  }
  if (segment + 1 < knots_.size()) return Solve(segment, angle);
  return (angle - last.angle) * last.speed > 0 ? last.position + (angle - last.angle) / last.speed : kNone;
}

/// Newton steps, halved intervals where they lead out of what is left: the angle is monotone in a pulse.
double CShaftAngle::Solve(std::size_t segment, double angle) const {
  double low = knots_[segment].position, high = knots_[segment + 1].position;
  const double from = knots_[segment].angle, turned = knots_[segment + 1].angle - from;
  if (angle == from || turned == 0) return low;
  if (angle == knots_[segment + 1].angle) return high;
  double at = low + (high - low) * (angle - from) / turned;
  for (int i = 0; i < 60 && at > low && at < high; ++i) {
    const double miss = In(segment, at) - angle;
    if (miss == 0) break;
    ((miss > 0) == (turned > 0) ? high : low) = at;
    const double next = at - miss / SpeedAt(at);
    const double step = next > low && next < high ? next - at : (low + high) / 2 - at;
    at += step;
    if (std::abs(step) <= 1e-15 * std::abs(at)) break;
  }
  return at;
}

std::size_t CShaftAngle::Passings(double step, double from, std::size_t most, Passing* out) const {
  if (!Valid() || !(step > 0) || std::isnan(from) || from >= End()) return 0;
  if (!(std::max(std::abs(knots_.front().angle), std::abs(knots_.back().angle)) < kMost * step)) return 0;
  from = std::max(from, Begin());
  std::size_t n = 0;
  for (std::size_t segment = SegmentAt(from); segment + 1 < knots_.size() && n < most; ++segment) {
    n += PassingsIn(segment, step, from, most - n, out + n);
    from = knots_[segment + 1].position;
  }
  return n;
}

/// Each place is predicted from the one before with speed and acceleration; a Newton step or two settle it.
std::size_t CShaftAngle::PassingsIn(std::size_t segment, double step, double from, std::size_t most,
                                    Passing* out) const {
  constexpr double near = 1e-4;
  const Knot& a = knots_[segment];
  const Knot& b = knots_[segment + 1];
  const double length = b.position - a.position, begin = In(segment, from);
  const double turn = b.angle < begin ? -1 : 1;
  const double first = std::floor(turn * begin / step + near) + 1;
  const double last = std::floor(turn * b.angle / step + near);
  if (!(first <= last)) return 0;
  const double mean = (b.angle - a.angle) / length;
  const double c2 = (3 * mean - 2 * a.speed - b.speed) / length;
  const double c3 = (a.speed + b.speed - 2 * mean) / (length * length);
  double u = from - a.position, at = begin;
  std::size_t n = 0;
  for (double k = first; k <= last && n < most; ++k, ++n) {
    const double angle = turn * k * step;
    double speed = a.speed + u * (2 * c2 + u * 3 * c3);
    const double ahead = (angle - at) / speed;
    u += ahead * (1 - ahead * (c2 + 3 * c3 * u) / speed);
    double change = 0;
    for (int i = 0; i < 4; ++i) {
      speed = a.speed + u * (2 * c2 + u * 3 * c3);
      change = (a.angle - angle + u * (a.speed + u * (c2 + u * c3))) / speed;
      u -= change;
      if (std::abs(change) <= 1e-7) break;
    }
    if (!(std::abs(change) <= 1e-7 && u >= 0 && u <= length)) {
      u = Solve(segment, std::clamp(angle, std::min(a.angle, b.angle), std::max(a.angle, b.angle))) -
          a.position;
      speed = a.speed + u * (2 * c2 + u * 3 * c3);
    }
    at = angle;
    out[n] = {a.position + u, speed, numeric::trunc_sat<std::int64_t>(turn * k)};
  }
  return n;
}
