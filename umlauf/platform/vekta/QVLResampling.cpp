// Resampling of rows.

#include <cstdint>

#include "umlauf/platform/vekta/QVL.h"

namespace QVL {
namespace {

void MeanOfRuns(float* out, std::uint64_t nOut, const float* in, std::uint64_t nIn, std::size_t stride,
                float gain) {
  for (std::uint64_t i = 0, begin = 0; i < nOut; ++i) {
    const std::uint64_t end = (i + 1) * nIn / nOut;
    out[i] = VectorMean(in + begin * stride, end - begin, stride) * gain;
    begin = end;
  }
}

void LinearBetweenEnds(float* out, std::uint64_t nOut, const float* in, std::uint64_t nIn, std::size_t stride,
                       float gain) {
  for (std::uint64_t i = 0; i < nOut; ++i) {
    const std::uint64_t position = i * (nIn - 1), at = position / (nOut - 1);
    const float fraction = static_cast<float>(position % (nOut - 1)) / static_cast<float>(nOut - 1);
    const float here = in[at * stride];
    const float next = fraction > 0.0f ? in[(at + 1) * stride] : here;
    out[i] = ((1.0f - fraction) * here + fraction * next) * gain;
  }
}

}  // namespace

void Resamling(float* out, std::size_t nOut, const float* in, std::size_t nIn, std::size_t inStride,
               float gain, int mode) {
  constexpr std::size_t limit = std::size_t{1} << 32;  // products of two lengths have 64 bits
  if (mode != 5 || nIn == 0 || nIn >= limit || nOut >= limit) return;
  if (nOut == nIn) {
    Interleave(out, 1, in, inStride, nIn);
    MulFloat(out, out, nOut, gain);
  } else if (nOut < nIn) {
    MeanOfRuns(out, nOut, in, nIn, inStride, gain);
  } else {
    LinearBetweenEnds(out, nOut, in, nIn, inStride, gain);
  }
}

}  // namespace QVL
