#include "umlauf/rotation/internal/SwingHistogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace umlauf::rotation {
namespace {

constexpr unsigned binShift = 21;      ///< exponent and two bits of the mantissa are left
constexpr double sameShare = 0.0005;   ///< numbers of swings that differ by no more count as equal, or by one
constexpr std::size_t leastWidth = 2;  ///< bins
constexpr float finest = 1.0f / 512;   ///< of the greatest swing: smaller ones are no teeth
constexpr float reach = 4;             ///< a smallest tooth is at most so many times the smallest swing

}  // namespace

std::size_t SwingHistogram::Bin(float size) {
  return std::min<std::size_t>(std::bit_cast<std::uint32_t>(std::abs(size)) >> binShift, bins - 1);
}

float SwingHistogram::Size(std::size_t bin) {
  return std::bit_cast<float>(static_cast<std::uint32_t>(bin) << binShift);
}

void SwingHistogram::Add(const TurningPoints& points) {
  const auto samples = points.Samples();
  const auto places = points.Places();
  if (places.empty()) return;
  open_.clear();
  open_.push_back(samples[0]);
  for (const std::uint32_t place : places.subspan(1)) Turn(samples[place]);
  if (places.size() == 1) Turn(samples[0]);
  Close();
}

/// A swing that lies within those on either side is complete.
void SwingHistogram::Turn(float value) {
  while (open_.size() >= 3) {
    const std::size_t n = open_.size();
    const float inner = std::abs(open_[n - 1] - open_[n - 2]);
    if (inner > std::abs(open_[n - 2] - open_[n - 3]) || inner > std::abs(value - open_[n - 1])) break;
    Count(inner, 1);
    open_.resize(n - 2);
  }
  open_.push_back(value);
}

void SwingHistogram::Close() {
  for (std::size_t i = 1; i < open_.size(); ++i) Count(open_[i] - open_[i - 1], 0.5);
  open_.clear();
}

std::vector<double> SwingHistogram::Counts() const {
  std::vector<double> counts(counts_.begin(), counts_.end());
  for (std::size_t i = bins - 1; i-- > 0;) counts[i] += counts[i + 1];
  return counts;
}

float Plateau::Smallest() const { return std::max(std::sqrt(low) * std::sqrt(high), high / reach); }

std::size_t GreatestBin(const std::vector<double>& counts) {
  std::size_t top = counts.size() - 1;
  while (top > 0 && counts[top] <= 0) --top;
  return top;
}

std::vector<Plateau> FindPlateaus(const SwingHistogram& histogram) {
  const std::vector<double> counts = histogram.Counts();
  std::vector<Plateau> plateaus;
  const std::size_t top = GreatestBin(counts);
  const std::size_t least = std::max<std::size_t>(SwingHistogram::Bin(SwingHistogram::Size(top) * finest), 1);
  for (std::size_t begin = least; begin < counts.size() && counts[begin] >= 2;) {
    std::size_t end = begin;
    while (end + 1 < counts.size() && counts[begin] - counts[end + 1] <= 1 + sameShare * counts[begin]) ++end;
    if (end - begin >= leastWidth && counts[end] >= 2)
      plateaus.push_back({SwingHistogram::Size(begin), SwingHistogram::Size(end), counts[end]});
    begin = end + 1;
  }
  return plateaus;
}

}  // namespace umlauf::rotation
