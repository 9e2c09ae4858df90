#include "umlauf/can/CanMessageCompressor.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

constexpr unsigned kWords = kCanMessageWords;

void ClearOutputs(float* out, unsigned n, unsigned stride) {
  if (stride == 1) return QVL::FillFloat(out, n, 0.0f);
  for (std::size_t i = 0; i < n; ++i) out[i * stride] = 0.0f;
}

void WriteMessage(float* out, std::size_t first, unsigned stride, const CanMessageBlock_s& message) {
  float words[kWords];
  std::memcpy(words, &message, sizeof words);
  QVL::Interleave(out + first * stride, stride, words, 1, kWords);
}

bool IsZero(const float& output) {
  std::uint32_t bits;
  std::memcpy(&bits, &output, sizeof bits);
  return bits == 0;
}

}  // namespace

unsigned CCanMessageCompressor::CanDownsampling(float* out, unsigned outStride, const float* in, unsigned n,
                                                unsigned stride, float ratio, float& phase) {
  const float length = static_cast<float>(n) / ratio + phase;
  if (!(ratio > 0.0f) || !std::isfinite(ratio) || !std::isfinite(phase) ||
      !(length < static_cast<float>(std::numeric_limits<unsigned>::max() - kWords))) {
    return 0;
  }
  const auto outputs = numeric::trunc_sat<unsigned>(length);
  ClearOutputs(out, outputs, outStride);
  StartSearchBlock(reinterpret_cast<const ULONG*>(in), n, 0, -1, stride);

  const float positionPhase = 1.0f - phase;
  CanMessageBlock_s written;
  unsigned behind = 0;  // the first output behind the messages written
  while (FindNextMessage()) {
    const float position = static_cast<float>(SamplePos()) / ratio + positionPhase;
    const unsigned first = std::max(numeric::trunc_sat<unsigned>(position), behind);
    if (first > outputs) break;
    written = Message();
    WriteMessage(out, first, outStride, written);
    behind = first + kWords;
  }
  // A last message that leaves the view is shown whole once more, unless something begins in its place.
  if (behind > outputs && outputs >= kWords) {
    const std::size_t last = outputs - kWords;
    if (IsZero(out[last * outStride])) WriteMessage(out, last, outStride, written);
  }
  phase = length - static_cast<float>(outputs);
  return outputs;
}
