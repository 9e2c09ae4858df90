#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace umlauf::tool {

/// A progress bar on standard error. It shows itself only on a terminal and only for work that takes longer
/// than a second, and takes itself away at the end.
class Progress {
 public:
  /// `total` steps in all; 0 = unknown, the count is shown instead of a bar.
  Progress(std::string what, std::uint64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Advance(std::uint64_t steps);

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
  Clock::time_point next_;
  bool wanted_;
  bool shown_ = false;
};

}  // namespace umlauf::tool
