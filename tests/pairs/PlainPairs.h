#pragma once

#include "support/Test.h"
#include "umlauf/pairs/SigPairs.h"

using Points = std::vector<SPunkt>;

inline void PrintTo(const SPunkt& p, std::ostream* out) { *out << '(' << p.x << ", " << p.y << ')'; }

inline Points PointsOf(const CSigPairs& signal) { return {signal.Punkte(), signal.PunkteEnd()}; }

inline std::vector<float> ValuesOf(const CSigPairs& signal) { return {signal.Werte(), signal.WerteEnd()}; }

inline CSigPairs Pairs(const Points& points) {
  CSigPairs signal;
  for (const SPunkt& p : points) signal.NeuesPaar(p.x, p.y);
  return signal;
}

/// The rules in their plain form, as slow as they read.
namespace plain {

inline void Sort(Points& p) {
  for (std::size_t i = 1; i < p.size(); ++i) {
    const auto greater = std::find_if(p.begin(), p.begin() + static_cast<std::ptrdiff_t>(i),
                                      [&](const SPunkt& q) { return q.x > p[i].x; });
    if (greater - p.begin() == static_cast<std::ptrdiff_t>(i)) continue;
    std::swap(*greater, p[i]);
    i = 0;  // again from the beginning
  }
}

/// Of ascending points.
inline float ValueAt(const Points& p, float x) {
  if (x <= p.front().x) return p.front().y;
  if (x >= p.back().x) return p.back().y;
  std::size_t i = 1;
  while (p[i].x < x) ++i;
  return p[i - 1].y + (p[i].y - p[i - 1].y) / (p[i].x - p[i - 1].x) * (x - p[i - 1].x);
}

inline void Insert(Points& p, SPunkt point) {
  std::size_t i = p.size();
  while (i > 0 && p[i - 1].x > point.x) --i;
  p.insert(p.begin() + static_cast<std::ptrdiff_t>(i), point);
}

/// `tolerance` as the setting of the signal.
inline Points Combine(Points a, Points b, int op, float tolerance) {
  Sort(a);
  Sort(b);
  if (a.empty() || b.empty() || b.front().x > a.back().x || a.front().x > b.back().x) return {};
  const float spacing = (a.back().x - a.front().x) / static_cast<float>(a.size());
  const float percent = tolerance < -100 ? 5.0f : -tolerance;
  const float tol = tolerance >= 0 ? tolerance : percent * 0.01f * spacing;
  std::size_t k = 0;
  for (const SPunkt& q : b) {
    if (q.x < a.front().x - tol || q.x > a.back().x + tol) {
      if (op == 0 || op == 12) Insert(a, {q.x, op == 0 ? q.y : 0.0f});
      continue;
    }
    bool found = false;
    for (std::size_t i = k; i < a.size(); ++i) found = found || std::fabs(a[i].x - q.x) <= tol;
    ++k;
    if (!found) Insert(a, {q.x, op == 12 ? 0.0f : ValueAt(a, q.x)});
  }
  if (op == 0 || op == 12) return a;
  const bool min = op == 4 || op == 9;
  if (min || op == 5 || op == 8) {
    for (SPunkt& p : a) {
      if (p.x < b.front().x || p.x > b.back().x) continue;
      p.y = min ? std::min(p.y, ValueAt(b, p.x)) : std::max(p.y, ValueAt(b, p.x));
    }
    return a;
  }
  std::erase_if(a, [&](const SPunkt& p) { return p.x < b.front().x - tol || p.x > b.back().x + tol; });
  for (SPunkt& p : a) {
    const float v = ValueAt(b, p.x);
    const float results[] = {p.y, p.y, p.y + v,     p.y - v,    p.y, p.y, p.y * v, v == 0 ? 0 : p.y / v,
                             p.y, p.y, p.y + v * v, p.y - v * v};
    p.y = results[op];
  }
  return a;
}

inline Points Smooth(const Points& p, float width) {
  Points out = p;
  if (p.size() < 3) return out;
  for (SPunkt& target : out) {
    double sum = 0;
    int n = 0;
    for (const SPunkt& q : p) {
      if (!(std::fabs(target.x - q.x) < width)) continue;
      sum += q.y;
      ++n;
    }
    if (n != 0) target.y = static_cast<float>(sum / n);
  }
  return out;
}

}  // namespace plain

/// Random points on a coarse grid, so that many x are equal or close.
class RandomPoints {
 public:
  explicit RandomPoints(unsigned seed) : random_(seed) {}
  std::size_t Below(std::size_t n) { return random_() % n; }
  Points Make(std::size_t n, unsigned grid) {
    Points points(n);
    const float shift = static_cast<float>(Below(3)) - 1.0f;
    for (std::size_t i = 0; i < n; ++i) {
      points[i].x = static_cast<float>(Below(grid)) / static_cast<float>(grid) * 4.0f + shift;
      if (Below(4) == 0) points[i].x += static_cast<float>(Below(100)) * 0.001f;
      points[i].y = static_cast<float>(Below(7)) - 2.0f;
    }
    return points;
  }

 private:
  std::mt19937 random_;
};
