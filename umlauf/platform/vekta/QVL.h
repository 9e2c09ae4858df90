#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"

/// Float-vector functions (lVekta). Every function is safe from every thread, allocates nothing and chooses
/// the widest instructions of the processor at run time. Lengths count elements; a stride is the distance
/// between successive elements, in elements, and at least 1. Pointers need only the alignment of their
/// element type; 128-byte aligned blocks are fastest. Unless a function says otherwise, outputs may be the
/// inputs themselves (exactly, not shifted) and n = 0 does nothing.
///
/// Sums are formed in single precision, in several partial sums; those of blocks (of 65536 elements, or 1024
/// strided ones) are added in double precision, save in `DotProduct` and `VectorMoments`. The result depends
/// on the processor's vector width only within rounding.
namespace QVL {

// Ranges and sums over x[0], x[stride], ... (n elements)

/// Smallest and greatest element. Both start at the first element and take strictly smaller (greater) ones,
/// so NaN elements are passed over unless the first one is NaN. Where both zeros occur, either can be the end
/// of the range. n = 0 leaves the outputs alone.
UMLAUF_API void VectorMinMax(const float* x, std::size_t n, std::size_t stride, float& min, float& max);
/// Index of the first smallest and first greatest element, by the same rule; 0 for n = 0.
UMLAUF_API void VectorMinMaxIndex(const float* x, std::size_t n, std::size_t& minIndex,
                                  std::size_t& maxIndex);
UMLAUF_API float VectorSum(const float* x, std::size_t n, std::size_t stride = 1);
UMLAUF_API float VectorSumSquares(const float* x, std::size_t n, std::size_t stride = 1);
UMLAUF_API float VectorSumMagnitudes(const float* x, std::size_t n, std::size_t stride = 1);
/// Sum / n; 0 for n = 0. Likewise the means of squares and of magnitudes.
UMLAUF_API float VectorMean(const float* x, std::size_t n, std::size_t stride = 1);
UMLAUF_API float VectorMeanSquare(const float* x, std::size_t n, std::size_t stride = 1);
UMLAUF_API float VectorMeanMagnitude(const float* x, std::size_t n, std::size_t stride = 1);
/// Greatest magnitude; 0 for n = 0. NaN elements are passed over.
UMLAUF_API float VectorMaxMagnitude(const float* x, std::size_t n, std::size_t stride = 1);
/// Level of the summed powers of levels in decibels: 10 log10(sum of 10^(x/10)); 0 for n = 0. Does not
/// overflow: the greatest level is the reference.
UMLAUF_API float VectorLogSum(const float* x, std::size_t n, std::size_t stride = 1);
/// Sum of a[i] * b[i].
UMLAUF_API float DotProduct(const float* a, const float* b, std::size_t n);

/// Range and moments of one block.
struct Moments {
  float min, max, sum, sumSquares;
};
/// All four in one pass over contiguous samples; n must be at least 1. Minimum and maximum as VectorMinMax.
UMLAUF_API Moments VectorMoments(const float* x, std::size_t n);

// Element by element, n contiguous elements

UMLAUF_API void FillFloat(float* out, std::size_t n, float value);
UMLAUF_API void AddFloat(float* out, const float* a, std::size_t n, float value);
UMLAUF_API void MulFloat(float* out, const float* a, std::size_t n, float factor);
UMLAUF_API void AddVectors(float* out, const float* a, const float* b, std::size_t n);
UMLAUF_API void SubVectors(float* out, const float* a, const float* b, std::size_t n);
UMLAUF_API void MulVectors(float* out, const float* a, const float* b, std::size_t n);
/// a[i] where it is strictly greater (less) than b[i], else b[i].
UMLAUF_API void MaximizeVectors(float* out, const float* a, const float* b, std::size_t n);
UMLAUF_API void MinimizeVectors(float* out, const float* a, const float* b, std::size_t n);
/// a[i] * weightA + b[i] * weightB.
UMLAUF_API void VectorWeightedSum(float* out, const float* a, float weightA, const float* b, float weightB,
                                  std::size_t n);
/// out[i] += x[i] * weight.
UMLAUF_API void AddScaled(float* out, const float* x, float weight, std::size_t n);
/// out[i] += (x[i] * x[i]) * weight.
UMLAUF_API void AddSquares(float* out, const float* x, float weight, std::size_t n);
/// Clears the sign bit, also of NaN.
UMLAUF_API void AbsVector(float* out, const float* a, std::size_t n);
UMLAUF_API void SquareVector(float* out, const float* a, std::size_t n);
/// Square root; 0 for elements <= 0.
UMLAUF_API void SqrtVector(float* out, const float* a, std::size_t n);
/// Ceiling: elements >= limit become limit. Floor: elements <= limit become limit. NaN stays NaN.
UMLAUF_API void ClipUpper(float* out, const float* a, std::size_t n, float limit);
UMLAUF_API void ClipLower(float* out, const float* a, std::size_t n, float limit);
/// Reverses the order in place.
UMLAUF_API void ReverseVector(float* x, std::size_t n);

// Complex numbers, n of them, interleaved: real part, imaginary part

/// out[i] = |x[i]|² * scale, for n complex numbers; `out` has n floats and does not overlap the input.
UMLAUF_API void ComplexPowers(float* out, const float* x, std::size_t n, float scale);
/// sum[i] += |x[i]|².
UMLAUF_API void AddComplexPowers(float* sum, const float* x, std::size_t n);
/// sum[i] += conj(a[i]) * b[i], all complex.
UMLAUF_API void AddCrossPowers(float* sum, const float* a, const float* b, std::size_t n);
/// out[i] = a[i] * b[i], all complex.
UMLAUF_API void MulComplex(float* out, const float* a, const float* b, std::size_t n);
/// Four Fourier transforms of n numbers each, one behind the other, of every fourth number from the 1st, 2nd,
/// 3rd and 4th on, become that of all 4 n numbers, in place. The twiddles are w^k, then w^2k, then w^3k for
/// k < n, with w = exp(−2πj / 4n): 3 n complex numbers.
UMLAUF_API void CombineTransforms(float* x, const float* twiddles, std::size_t n);
/// From the transform z of n >= 1 complex numbers, which are pairs of successive real ones, to the bins 0 to
/// n of the transform of these 2 n: n + 1 complex numbers, which do not overlap z. The twiddles are exp(−πj
/// (k/n + 1/2)) for k < (n + 1) / 2.
UMLAUF_API void SplitTransform(float* out, const float* z, const float* twiddles, std::size_t n);

// Copies

/// Strided copy: out[i * outStride] = in[i * inStride] for i < n. The two must not overlap.
UMLAUF_API void Interleave(float* out, std::size_t outStride, const float* in, std::size_t inStride,
                           std::size_t n);
UMLAUF_API void Interleave(std::int32_t* out, std::size_t outStride, const std::int32_t* in,
                           std::size_t inStride, std::size_t n);
UMLAUF_API void Interleave(std::uint32_t* out, std::size_t outStride, const std::uint32_t* in,
                           std::size_t inStride, std::size_t n);
UMLAUF_API void Interleave(std::int16_t* out, std::size_t outStride, const std::int16_t* in,
                           std::size_t inStride, std::size_t n);

/// Splits interleaved channels: out[c][i] = in[i * channels + c] for i < frames. The blocks must not overlap.
UMLAUF_API void Deinterleave(float* const* out, const float* in, std::size_t channels, std::size_t frames);
/// Joins channels, the inverse: out[i * channels + c] = in[c][i] for i < frames. No block may overlap `out`.
UMLAUF_API void Interleave(float* out, const float* const* in, std::size_t channels, std::size_t frames);
/// Copies channel c of interleaved frames for every set bit c of the mask: out[i * outStride + c] =
/// in[i * inStride + c] for i < frames; the strides are at least the greatest c + 1. Elements in between
/// stay, though they may be written with their own value. The two must not overlap.
UMLAUF_API void CopyChannels(float* out, std::size_t outStride, const float* in, std::size_t inStride,
                             std::uint32_t mask, std::size_t frames);
UMLAUF_API void CopyChannels(std::int32_t* out, std::size_t outStride, const std::int32_t* in,
                             std::size_t inStride, std::uint32_t mask, std::size_t frames);
UMLAUF_API void CopyChannels(std::uint32_t* out, std::size_t outStride, const std::uint32_t* in,
                             std::size_t inStride, std::uint32_t mask, std::size_t frames);
UMLAUF_API void CopyChannels(std::int16_t* out, std::size_t outStride, const std::int16_t* in,
                             std::size_t inStride, std::uint32_t mask, std::size_t frames);

// Number formats

/// 8-bit quantisation: out[i] = low 8 bits of the whole part of (x[i] - lo) * factor * 255 + 0.5, formed in
/// single precision in this order. Samples whose value cannot be converted (NaN, far outside) give the
/// saturated integer's low bits.
UMLAUF_API void QuantizeBytes(std::uint8_t* out, const float* x, std::size_t n, float lo, float factor);
/// out[i] = in[i] * step + lo.
UMLAUF_API void DequantizeBytes(float* out, const std::uint8_t* in, std::size_t n, float step, float lo);
/// Packed little-endian signed integers of 2, 3 or 4 bytes each (any other size does nothing), at any
/// address: out[i] = float(in[i]) * factor. The two must not overlap.
UMLAUF_API void WidenIntegers(float* out, const void* in, std::size_t n, unsigned size, float factor);

// Searches

/// One bit a sample for n <= 64 * words samples: bit i % 64 of above[i / 64] tells x[i] > upper, of below[i /
/// 64] tells lower > x[i]. Bits behind the last sample are 0. NaN is neither.
UMLAUF_API void ThresholdMasks(const float* x, std::size_t n, float upper, float lower, std::uint64_t* above,
                               std::uint64_t* below);
/// Places of the bits that are set in n <= 1024 words, in order: bit i % 64 of words[i / 64] gives i. Returns
/// their number; `places` has room for 4 more, which may be written to.
UMLAUF_API std::size_t SetBits(const std::uint64_t* words, std::size_t n, std::uint16_t* places);
/// Number of elements that equal a value (NaN equals nothing).
UMLAUF_API std::size_t CountEqual(const float* x, std::size_t n, float value);
/// Index of the first of words[0], words[stride], ... (n words) for which (word & mask) == pattern; n when
/// there is none. The memory may hold other 32-bit data, such as floats. Here a stride of 0 is allowed.
UMLAUF_API std::size_t FindMasked(const std::uint32_t* words, std::size_t n, std::size_t stride,
                                  std::uint32_t mask, std::uint32_t pattern);

/// Indices of all of words[0], words[stride], ... (n words, fewer than 2^32) for which (word & mask) ==
/// pattern, in order. Returns their number; `places` has room for 16 more, which may be written to. The
/// memory may hold other 32-bit data, such as floats.
UMLAUF_API std::size_t FindAllMasked(const std::uint32_t* words, std::size_t n, std::size_t stride,
                                     std::uint32_t mask, std::uint32_t pattern, std::uint32_t* places);
/// The same for (word & mask) != pattern.
UMLAUF_API std::size_t FindAllUnlike(const std::uint32_t* words, std::size_t n, std::size_t stride,
                                     std::uint32_t mask, std::uint32_t pattern, std::uint32_t* places);
/// The same for words that differ under the mask from the one before; a word precedes the first.
UMLAUF_API std::size_t FindChanges(const std::uint32_t* words, std::size_t n, std::size_t stride,
                                   std::uint32_t mask, std::uint32_t* places);

// Frames and resampling

/// Lowers min[c] and raises max[c] by channel c of n interleaved frames. NaN in the frames is passed
/// over.
UMLAUF_API void ExtendFrameMinMax(const float* frames, std::size_t n, std::size_t channels, float* min,
                                  float* max);

/// Maps nIn elements in[0], in[inStride], ... onto nOut contiguous elements, times gain. Mode 5, the one that
/// there is: means of successive runs, as equal in length as whole elements allow, when nOut < nIn; straight
/// lines from the first to the last element when nOut > nIn. Another mode, nIn = 0, and lengths of 2^32 and
/// more do nothing. The output does not overlap the input.
UMLAUF_API void Resamling(float* out, std::size_t nOut, const float* in, std::size_t nIn,
                          std::size_t inStride, float gain, int mode);

#ifdef _WIN32
// The same for LONG and ULONG, which are long there: other types than int, of the same size and bits.

inline void Interleave(long* out, std::size_t outStride, const long* in, std::size_t inStride,
                       std::size_t n) {
  Interleave(reinterpret_cast<std::int32_t*>(out), outStride, reinterpret_cast<const std::int32_t*>(in),
             inStride, n);
}
inline void Interleave(unsigned long* out, std::size_t outStride, const unsigned long* in,
                       std::size_t inStride, std::size_t n) {
  Interleave(reinterpret_cast<std::uint32_t*>(out), outStride, reinterpret_cast<const std::uint32_t*>(in),
             inStride, n);
}
inline void CopyChannels(long* out, std::size_t outStride, const long* in, std::size_t inStride,
                         std::uint32_t mask, std::size_t frames) {
  CopyChannels(reinterpret_cast<std::int32_t*>(out), outStride, reinterpret_cast<const std::int32_t*>(in),
               inStride, mask, frames);
}
inline void CopyChannels(unsigned long* out, std::size_t outStride, const unsigned long* in,
                         std::size_t inStride, std::uint32_t mask, std::size_t frames) {
  CopyChannels(reinterpret_cast<std::uint32_t*>(out), outStride, reinterpret_cast<const std::uint32_t*>(in),
               inStride, mask, frames);
}
inline std::size_t FindMasked(const unsigned long* words, std::size_t n, std::size_t stride,
                              std::uint32_t mask, std::uint32_t pattern) {
  return FindMasked(reinterpret_cast<const std::uint32_t*>(words), n, stride, mask, pattern);
}
inline std::size_t FindAllMasked(const unsigned long* words, std::size_t n, std::size_t stride,
                                 std::uint32_t mask, std::uint32_t pattern, std::uint32_t* places) {
  return FindAllMasked(reinterpret_cast<const std::uint32_t*>(words), n, stride, mask, pattern, places);
}
inline std::size_t FindAllUnlike(const unsigned long* words, std::size_t n, std::size_t stride,
                                 std::uint32_t mask, std::uint32_t pattern, std::uint32_t* places) {
  return FindAllUnlike(reinterpret_cast<const std::uint32_t*>(words), n, stride, mask, pattern, places);
}
inline std::size_t FindChanges(const unsigned long* words, std::size_t n, std::size_t stride,
                               std::uint32_t mask, std::uint32_t* places) {
  return FindChanges(reinterpret_cast<const std::uint32_t*>(words), n, stride, mask, places);
}
#endif

}  // namespace QVL
