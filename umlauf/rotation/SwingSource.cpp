#include "umlauf/rotation/SwingSource.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/rotation/internal/SamplePreparation.h"
#include "umlauf/rotation/internal/Zigzag.h"

namespace {

constexpr std::size_t longestWait = 1 << 20;  ///< samples
constexpr std::size_t readAtOnce = 65536;
constexpr float cutSwing = 0.5f;  ///< the first and the last swing must be so much of their neighbour

}  // namespace

/// Samples run through three buffers: prepared ones wait for the extreme behind them, scaled ones for their
/// reader.
struct CSwingSource::State {
  explicit State(const SwingScale& scale) : preparation(scale), zigzag(scale.smallest) {}

  /// Puts the waiting samples up to position `end` on the scale from one extreme to the other.
  void Scale(std::uint64_t end, float from, float to) {
    const float low = std::min(from, to), factor = 1 / std::max(std::abs(to - from), 1e-37f);
    for (; done < end; ++done) ready.push_back(std::clamp((waiting[taken++] - low) * factor, 0.0f, 1.0f));
  }
  /// The same, all at one end.
  void Rest(std::uint64_t end, float value) {
    for (; done < end; ++done, ++taken) ready.push_back(value);
  }
  void Turn() {
    const float value = zigzag.Value();
    ++turns;
    if (turns == 3) {
      // Whether there was a swing before the second extreme shows only now.
      const bool whole = std::abs(last[0] - last[1]) >= cutSwing * std::abs(value - last[0]);
      const float end = last[0] > last[1] ? 1.0f : 0.0f;
      Rest(positions[whole ? 1 : 0], whole ? 1 - end : end);
      if (whole) Scale(positions[0], last[1], last[0]);
    }
    if (turns >= 3) Scale(zigzag.Position(), last[0], value);
    last[1] = last[0];
    last[0] = value;
    positions[1] = positions[0];
    positions[0] = zigzag.Position();
  }
  void Take(std::size_t from) {
    for (std::size_t i = from; i < waiting.size(); ++i) {
      if (zigzag.Take(waiting[i])) Turn();
    }
    received += waiting.size() - from;
    if (waiting.size() - taken > longestWait && turns > 2) Scale(received, last[0], zigzag.Candidate());
    if (waiting.size() - taken > longestWait) Rest(received, zigzag.IsFalling() ? 1.0f : 0.0f);
    waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(taken));
    taken = 0;
  }
  void End() {
    ended = true;
    const std::size_t from = waiting.size();
    preparation.Finish(waiting);
    Take(from);
    if (turns < 2) return Rest(received, 0);
    const float end = zigzag.IsFalling() ? 1.0f : 0.0f;  // where the last extreme lies
    const bool whole = std::abs(zigzag.Candidate() - last[0]) >= cutSwing * std::abs(last[0] - last[1]);
    if (turns == 2) {
      Rest(positions[1], 1 - end);
      Scale(positions[0], last[1], last[0]);
    }
    if (whole) Scale(received, last[0], zigzag.Candidate());
    Rest(received, end);
  }

  umlauf::rotation::SamplePreparation preparation;
  umlauf::rotation::Zigzag zigzag;
  std::vector<float> waiting, ready;
  std::size_t taken = 0;       ///< of those waiting
  std::size_t given = 0;       ///< of those ready
  std::uint64_t received = 0;  ///< prepared samples so far
  std::uint64_t done = 0;      ///< of them scaled
  std::uint64_t turns = 0;
  float last[2] = {};               ///< extremes, the last one first
  std::uint64_t positions[2] = {};  ///< of them
  bool ended = false;
};

CSwingSource::CSwingSource(CBlockSource& source, unsigned channel, const SwingScale& scale)
    : source_(source), channel_(channel), scale_(scale) {}

CSwingSource::~CSwingSource() { delete state_; }

void CSwingSource::Fill(std::size_t count) {
  if (state_ == nullptr) state_ = std::make_unique<State>(scale_).release();
  State& s = *state_;
  s.ready.erase(s.ready.begin(), s.ready.begin() + static_cast<std::ptrdiff_t>(s.given));
  s.given = 0;
  while (s.ready.size() < count && !s.ended) {
    const SampleBlock block = source_.Read(readAtOnce);
    if (block.count == 0) {
      s.End();
      return;
    }
    const std::size_t from = s.waiting.size();
    s.preparation.Take(block.samples + channel_, block.count, block.stride, s.waiting);
    s.Take(from);
  }
}

SampleBlock CSwingSource::Read(std::size_t count) {
  if (!noMemory_) noMemory_ = !umlauf::HadMemory([&] { Fill(count); });
  if (noMemory_ || state_ == nullptr) return {};
  SampleBlock block;
  block.samples = state_->ready.data();
  block.count = std::min(count, state_->ready.size());
  state_->given = block.count;
  return block;
}

bool CSwingSource::Rewind() {
  if (!source_.Rewind()) return false;
  delete state_;
  state_ = nullptr;
  noMemory_ = false;
  return true;
}

CString CSwingSource::Failure() const {
  if (noMemory_) return L"there is no memory to follow the swings of the signal";
  return source_.Failure();
}
