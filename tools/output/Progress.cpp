#include "tools/output/Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/System.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {

using namespace std::chrono_literals;

Progress::Progress(std::string what, std::uint64_t total)
    : what_(std::move(what)), total_(total), next_(Clock::now() + 1s), wanted_(StandardErrorIsTerminal()) {}

Progress::~Progress() {
  if (shown_) WriteText(stderr, ClearLine());
}

void Progress::Advance(std::uint64_t steps) {
  done_ += steps;
  if (!wanted_ || Clock::now() < next_) return;
  next_ = Clock::now() + 100ms;
  shown_ = true;
  if (total_ == 0) {
    WriteText(stderr, fmt::format("\r{} {}", what_, done_));
  } else {
    constexpr std::size_t width = 40;
    const double part = std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_));
    const auto full = numeric::trunc_sat<std::size_t>(part * width);
    WriteText(stderr, fmt::format("\r{} [{}{}] {:3.0f} %", what_, std::string(full, '#'),
                                  std::string(width - full, ' '), part * 100));
  }
  std::fflush(stderr);
}

}  // namespace umlauf::tool
