#include "umlauf/orders/internal/CombFront.h"

#include <algorithm>
#include <numeric>

namespace umlauf::orders {
namespace {

constexpr float kMost = 1e4f;

}  // namespace

void CombFront::Begin(const float* scores) {
  std::copy_n(scores, best_.size(), best_.begin());
  std::iota(origins_.begin(), origins_.end(), 0u);
  taken_ = 0;
}

void CombFront::BeginAt(std::size_t speed) {
  std::fill(best_.begin(), best_.end(), never);
  best_[speed] = 0;
}

void CombFront::Advance(const float* scores, std::size_t reach, std::int16_t* moves) {
  const std::size_t speeds = best_.size();
  std::size_t taken = 0, first = 0, size = 0;
  for (std::size_t i = 0; i < speeds; ++i) {
    for (const std::size_t end = std::min(speeds, i + reach + 1); taken < end; ++taken) {
      while (size > first && best_[places_[size - 1]] <= best_[taken]) --size;
      places_[size++] = static_cast<std::uint32_t>(taken);
    }
    while (places_[first] + reach < i) ++first;
    const std::size_t from = places_[first];
    next_[i] = std::max(best_[from] + scores[i], never);
    nextOrigins_[i] = origins_[from];
    if (moves != nullptr)
      moves[i] =
          static_cast<std::int16_t>(static_cast<std::ptrdiff_t>(from) - static_cast<std::ptrdiff_t>(i));
  }
  best_.swap(next_);
  origins_.swap(nextOrigins_);
  const float top = best_[Best()];
  if (top < kMost) return;
  for (std::size_t i = 0; i < speeds; ++i) {
    if (Ends(i)) best_[i] -= top;
  }
  taken_ += static_cast<double>(top);
}

std::size_t CombFront::Best() const {
  return static_cast<std::size_t>(std::max_element(best_.begin(), best_.end()) - best_.begin());
}

std::size_t CombFront::Lowest() const {
  std::size_t i = 0;
  while (i + 1 < best_.size() && !Ends(i)) ++i;
  return i;
}

std::size_t CombFront::Highest() const {
  std::size_t i = best_.size() - 1;
  while (i > 0 && !Ends(i)) --i;
  return i;
}

}  // namespace umlauf::orders
