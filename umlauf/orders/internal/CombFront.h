#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace umlauf::orders {

/// The best courses over a grid of speeds that end at each of them, segment by segment: dynamic programming.
/// Courses never cross on their way. Throws std::bad_alloc without memory.
class CombFront {
 public:
  static constexpr float never = -1e30f;  ///< score of what no course passes

  explicit CombFront(std::size_t speeds)
      : best_(speeds, never), next_(speeds), origins_(speeds), nextOrigins_(speeds), places_(speeds) {}

  /// All courses begin here, with these scores [speeds].
  void Begin(const float* scores);
  /// All courses begin at this speed.
  void BeginAt(std::size_t speed);
  /// Goes on to the next segment, from at most `reach` speeds away. `moves` [speeds], unless null, gets where
  /// each course was before, counted from where it is.
  void Advance(const float* scores, std::size_t reach, std::int16_t* moves);

  /// The speed that the best course ends at, and the outermost ones that courses end at.
  std::size_t Best() const;
  std::size_t Lowest() const;
  std::size_t Highest() const;
  bool Any() const { return best_[Best()] > never / 2; }
  /// Sum of the scores of the best course, and the speed that it began at.
  double Score() const { return taken_ + static_cast<double>(best_[Best()]); }
  std::size_t Origin() const { return origins_[Best()]; }

 private:
  bool Ends(std::size_t speed) const { return best_[speed] > never / 2; }

  std::vector<float> best_, next_;
  std::vector<std::uint32_t> origins_, nextOrigins_;
  std::vector<std::uint32_t> places_;  ///< of falling scores, the greatest one within reach first
  double taken_ = 0;                   ///< off all of them, so that their last digits count
};

}  // namespace umlauf::orders
