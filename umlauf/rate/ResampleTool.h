#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/framework/Types.h"

/// How a row of one length becomes a row of another one. The low three bits say what shrinking keeps of each
/// run of inputs; `RO_LinearUp`, added to them, makes stretching draw straight lines instead of repeating the
/// nearest input.
enum InterpOpts : int {
  RO_First = 0,
  RO_Maximum = 1,
  RO_Minimum = 2,
  RO_Mean = 3,
  RO_MidRange = 4,    ///< (minimum + maximum) / 2
  RO_MeanLinear = 5,  ///< by itself: means when shrinking, straight lines from end to end when stretching
  RO_LinearUp = 8,
};
constexpr InterpOpts operator|(InterpOpts a, InterpOpts b) {
  return static_cast<InterpOpts>(static_cast<int>(a) | static_cast<int>(b));
}

/// Maps rows of floats onto rows of another length, for display and for comparing curves of different
/// resolution, and converts them to pixel values. The static functions are safe from every thread; they do
/// nothing for a length below 1 and for null, and input and output do not overlap. An object adds working
/// buffers, which it owns; it is used by one thread at a time.
class UMLAUF_API CResampleTool {
 public:
  using InterpOpts = ::InterpOpts;

  /// Copies (nIn = nOut), shrinks or stretches in[nIn] onto out[nOut].
  static void Resample1d(const float* in, int nIn, float* out, int nOut, InterpOpts opts);
  /// `QVL::Resamling` in mode 5: see `RO_MeanLinear`.
  static void Resample1dDmUi(const float* in, int nIn, float* out, int nOut);
  /// Shrinks (nOut < nIn): out[j] is what the option keeps of the j-th run of inputs. The runs follow each
  /// other; each has an input at least.
  /// Intended: runs differ (11 inputs on 2 outputs: 3 and 6), and the last one may end before the inputs do:
  /// what lies behind it, up to half the inputs of an output, is not looked at, and a peak there is lost.
  static void Resample1dDown(const float* in, int nIn, float* out, int nOut, InterpOpts opts);
  /// Shrinks to the value of greatest magnitude of each run, with its sign; the first of equals.
  static void Resample1dDownMaxi(const float* in, int nIn, float* out, int nOut);
  /// Stretches (nOut > nIn): repeats the nearest input, or as `Resample1dUpInterpol` with `RO_LinearUp`.
  static void Resample1dUp(const float* in, int nIn, float* out, int nOut, InterpOpts opts);
  /// Stretches (nOut > nIn) by straight lines: out[0] = in[0], and each further input ends a ramp of at least
  /// one output.
  /// Intended: near nOut = nIn the row may be used up before the last input.
  static void Resample1dUpInterpol(const float* in, int nIn, float* out, int nOut);

  /// Maps min to 0 and max to `range`, linearly, rounded and limited to these two; NaN becomes 0.
  static void IntConversion(const float* in, int n, float min, float max, LONG* out, int range);
  static void ByteConversion(const float* in, int n, float min, float max, unsigned char* out,
                             unsigned char range);

  /// Makes the one-dimensional buffer n zeros. False, and unchanged, when there is no memory. Likewise the
  /// two-dimensional one of rows x columns.
  bool Adjust1dPuffer(std::uint64_t n) { return row_.alloc(n); }
  bool Adjust2dPuffer(std::uint64_t rows, std::uint64_t columns);
  float* Puffer1d() { return row_.data(); }
  /// Row of the two-dimensional buffer, [columns samples]; null where there is none. Valid until the buffer
  /// is adjusted.
  float* PZeile(std::uint64_t row) { return PPunkt(row, 0); }
  float* PPunkt(std::uint64_t row, std::uint64_t column);
  /// Stretches the first nIn rows of the two-dimensional buffer onto the first nOut, in place, column by
  /// column as `Resample1dUpInterpol`. False, and nothing happens, unless 1 <= nIn <= nOut <= rows and there
  /// is memory.
  bool Interpol2dy(std::uint64_t nIn, std::uint64_t nOut);

 private:
  CAlignedMem<float> row_, rows_;
  std::uint64_t rowCount_ = 0, columns_ = 0;
};
