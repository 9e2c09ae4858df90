#include "umlauf/tacho/internal/EdgeSearch.h"

#include <cmath>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::speed {
namespace {

constexpr std::size_t kWords = kChunk / 64;
constexpr float kFlatStep = 0.0001f;  // a smaller step has no crossing to interpolate

/// State of the signal behind each of 64 samples, one bit a sample, from where it is above the upper
/// threshold and where below the lower one. `high` is the state before them and becomes the state behind
/// them.
///
/// A sum of two words carries in just this way: a bit generates a carry where the signal is above, absorbs it
/// where the signal is below, and passes it on in between.
std::uint64_t States(std::uint64_t above, std::uint64_t below, bool& high) {
  std::uint64_t states = 0;
  if ((above & below) == 0) {
    const std::uint64_t holds = ~below;
    const std::uint64_t sum = above + holds + (high ? 1 : 0);
    const std::uint64_t before = sum ^ above ^ holds;
    states = above | (holds & before);
  } else {  // thresholds upside down: a sample between them changes the state, whichever it was
    bool state = high;
    for (unsigned i = 0; i < 64; ++i) {
      if ((((state ? below : above) >> i) & 1) != 0) state = !state;
      states |= std::uint64_t{state} << i;
    }
  }
  high = (states >> 63) != 0;
  return states;
}

void FindPositions(const float* x, std::size_t n, float upper, float lower, bool& high, Edges& edges) {
  alignas(128) std::array<std::uint64_t, kWords> above;
  alignas(128) std::array<std::uint64_t, kWords> below;
  QVL::ThresholdMasks(x, n, upper, lower, above.data(), below.data());
  const std::uint64_t unwanted = edges.firstRising ? 0 : ~std::uint64_t{0};
  const std::size_t words = (n + 63) / 64;
  std::array<std::uint64_t, kWords> changes;
  for (std::size_t word = 0; word < words; ++word) {
    const std::uint64_t before = high ? 1 : 0;
    const std::uint64_t states = States(above[word], below[word], high);
    changes[word] = states ^ (states << 1 | before);
    if (!edges.alternating) changes[word] &= states ^ unwanted;
  }
  edges.count = QVL::SetBits(changes.data(), words, edges.position.data());
}

/// Crossing fractions of the edges first, first + distance, ..., which are all of one kind.
void Interpolate(const float* x, float previous, float level, bool rising, std::size_t first,
                 std::size_t distance, Edges& edges) {
  const float direction = rising ? 1.0f : -1.0f;
  std::array<float, kChunk> before, at;
  std::size_t n = 0;
  for (std::size_t k = first; k < edges.count; k += distance, ++n) {
    const std::size_t i = edges.position[k];
    before[n] = i != 0 ? x[i - 1] : previous;
    at[n] = x[i];
  }
  for (std::size_t k = 0; k < n; ++k) {  // in vectors
    const float step = at[k] - before[k];
    const float fraction = (level - before[k]) / step;
    const bool valid = step * direction > kFlatStep && fraction == fraction;
    at[k] = valid ? fraction : 0.0f;
  }
  for (std::size_t k = 0; k < n; ++k) edges.fraction[first + k * distance] = at[k];
}

}  // namespace

void FindEdges(const float* x, std::size_t n, float previous, float upper, float lower, EdgeKind kind,
               bool& high, Edges& edges) {
  edges.alternating = kind == EdgeKind::both;
  edges.firstRising = edges.alternating ? !high : kind == EdgeKind::rising;
  FindPositions(x, n, upper, lower, high, edges);
  const std::size_t distance = edges.alternating ? 2 : 1;
  const std::size_t firstFalling = edges.firstRising ? 1 : 0;
  if (kind != EdgeKind::falling) Interpolate(x, previous, upper, true, 1 - firstFalling, distance, edges);
  if (kind != EdgeKind::rising) Interpolate(x, previous, lower, false, firstFalling, distance, edges);
}

}  // namespace umlauf::speed
