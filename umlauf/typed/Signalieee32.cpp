#include "umlauf/typed/Signalieee32.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/typed/internal/Lanes.h"

// Ranges

CSignalieee32::Samples CSignalieee32::Range(const const_iterator& first, const const_iterator& last) const {
  constexpr Samples kNone{0, 0, 1};
  if (first.block() != data() || last.block() != data()) return kNone;
  if (first.stride() == 0 || !(first < last)) return kNone;
  const auto steps = static_cast<std::uint64_t>(last - first);
  const std::uint64_t n = std::min(steps, lanes::Fits(elements(), first.position(), first.stride()));
  return n == 0 ? kNone
                : Samples{static_cast<std::size_t>(first.position()), static_cast<std::size_t>(n),
                          static_cast<std::size_t>(first.stride())};
}

float CSignalieee32::Over(const const_iterator& first, const const_iterator& last,
                          Statistic* statistic) const {
  const Samples s = Range(first, last);
  return statistic(data() + s.first, s.n, s.stride);
}

float CSignalieee32::Sum(const_iterator first, const_iterator last) const {
  return Over(first, last, QVL::VectorSum);
}
float CSignalieee32::SumSquares(const_iterator first, const_iterator last) const {
  return Over(first, last, QVL::VectorSumSquares);
}
float CSignalieee32::Mean(const_iterator first, const_iterator last) const {
  return Over(first, last, QVL::VectorMean);
}
float CSignalieee32::MeanSquare(const_iterator first, const_iterator last) const {
  return Over(first, last, QVL::VectorMeanSquare);
}
float CSignalieee32::RMS(const_iterator first, const_iterator last) const {
  return std::sqrt(MeanSquare(first, last));
}
float CSignalieee32::MeanMagnitude(const_iterator first, const_iterator last) const {
  return Over(first, last, QVL::VectorMeanMagnitude);
}
float CSignalieee32::MaxMagnitude(const_iterator first, const_iterator last) const {
  return Over(first, last, QVL::VectorMaxMagnitude);
}

std::pair<float, float> CSignalieee32::YRange(const_iterator first, const_iterator last) const {
  const Samples s = Range(first, last);
  std::pair<float, float> range{0.0f, 0.0f};
  QVL::VectorMinMax(data() + s.first, s.n, s.stride, range.first, range.second);
  return range;
}

// Sample by sample

/// Calls op(samples, n) for contiguous pieces of the range, which it changes in place.
template <class Op>
CSignalieee32& CSignalieee32::Apply(const const_iterator& first, const const_iterator& last, Op op) {
  const Samples s = Range(first, last);
  float* const x = data() + s.first;
  if (s.stride == 1) {
    op(x, s.n);
    return *this;
  }
  std::array<float, 1024> piece;
  for (std::size_t i = 0; i < s.n; i += piece.size()) {
    const std::size_t n = std::min(piece.size(), s.n - i);
    QVL::Interleave(piece.data(), 1, x + i * s.stride, s.stride, n);
    op(piece.data(), n);
    QVL::Interleave(x + i * s.stride, s.stride, piece.data(), 1, n);
  }
  return *this;
}

CSignalieee32& CSignalieee32::AbsoluteVal(const_iterator first, const_iterator last) {
  return Apply(first, last, [](float* x, std::size_t n) { QVL::AbsVector(x, x, n); });
}

CSignalieee32& CSignalieee32::Square(const_iterator first, const_iterator last) {
  return Apply(first, last, [](float* x, std::size_t n) { QVL::SquareVector(x, x, n); });
}

CSignalieee32& CSignalieee32::SquareRoot(const_iterator first, const_iterator last) {
  return Apply(first, last, [](float* x, std::size_t n) { QVL::SqrtVector(x, x, n); });
}

CSignalieee32& CSignalieee32::Fill(const_iterator first, const_iterator last, float value) {
  return Apply(first, last, [value](float* x, std::size_t n) { QVL::FillFloat(x, n, value); });
}

CSignalieee32& CSignalieee32::Scale(const_iterator first, const_iterator last, float factor) {
  return Apply(first, last, [factor](float* x, std::size_t n) { QVL::MulFloat(x, x, n, factor); });
}

CSignalieee32& CSignalieee32::operator/=(float divisor) {
  return divisor == 0.0f ? *this : *this *= 1.0f / divisor;
}

std::size_t CSignalieee32::Common(const CTypedSignal<float>& other) const {
  return static_cast<std::size_t>(std::min(elements(), other.elements()));
}

CSignalieee32& CSignalieee32::operator+=(const CTypedSignal<float>& other) {
  QVL::AddVectors(data(), data(), other.data(), Common(other));
  return *this;
}

CSignalieee32& CSignalieee32::operator-=(const CTypedSignal<float>& other) {
  QVL::SubVectors(data(), data(), other.data(), Common(other));
  return *this;
}

CSignalieee32& CSignalieee32::Maximize(const CTypedSignal<float>& other) {
  QVL::MaximizeVectors(data(), data(), other.data(), Common(other));
  return *this;
}

CSignalieee32& CSignalieee32::Minimize(const CTypedSignal<float>& other) {
  QVL::MinimizeVectors(data(), data(), other.data(), Common(other));
  return *this;
}

CSignalieee32& CSignalieee32::WeightedSum(const CTypedSignal<float>& other, float a, float b) {
  QVL::VectorWeightedSum(data(), data(), a, other.data(), b, Common(other));
  return *this;
}

// Rearrangement

namespace {

/// A rows x columns matrix of items of `width` floats.
struct Matrix {
  std::size_t rows, columns, width;
};

/// The tile of n x m items from (row, column) on, with runs along the rows of `in` (or along its columns).
void TransposeTile(float* out, const float* in, const Matrix& shape, bool alongRow, std::size_t row,
                   std::size_t column, std::size_t runs, std::size_t length) {
  const auto [rows, columns, width] = shape;
  const std::size_t inStride = alongRow ? width : width * columns;
  const std::size_t outStride = alongRow ? width * rows : width;
  for (std::size_t run = 0; run < runs; ++run) {
    const std::size_t r = alongRow ? row + run : row, c = alongRow ? column : column + run;
    for (std::size_t k = 0; k < width; ++k) {
      QVL::Interleave(out + (c * rows + r) * width + k, outStride, in + (r * columns + c) * width + k,
                      inStride, length);
    }
  }
}

/// out[c][r] = in[r][c], in tiles of which each touches few enough cache lines to stay in the cache: runs
/// along the longer side, sixteen of them (the floats of a cache line) side by side.
void Transpose(float* out, const float* in, const Matrix& shape) {
  constexpr std::size_t kRuns = 16, kLength = 256;
  const bool alongRow = shape.columns >= shape.rows;
  const std::size_t runs = alongRow ? shape.rows : shape.columns;
  const std::size_t length = alongRow ? shape.columns : shape.rows;
  for (std::size_t at = 0; at < length; at += kLength) {
    for (std::size_t run = 0; run < runs; run += kRuns) {
      TransposeTile(out, in, shape, alongRow, alongRow ? run : at, alongRow ? at : run,
                    std::min(kRuns, runs - run), std::min(kLength, length - at));
    }
  }
}

}  // namespace

bool CSignalieee32::MakeTransposedOf(const CTypedSignal<float>& other) {
  CDescription description(other.Description());
  const std::uint64_t n = description.elements();
  CAlignedMem<float> samples;
  if (n > other.elements() || !samples.alloc(n)) return false;
  Matrix shape{1, static_cast<std::size_t>(n), 1};
  if (description.XCount() >= 2) {
    const bool interleaved = description.SignalCoding() == signalCodingInterleaved;
    shape = {description.X(1).Len(), description.X(0).Len(), interleaved ? description.YCount() : 1u};
    std::swap(description.pod().x[0], description.pod().x[1]);
  }
  const std::size_t step = shape.rows * shape.columns * shape.width;
  for (std::size_t at = 0; at < n; at += step) Transpose(samples.data() + at, other.data() + at, shape);
  Description() = description;
  Block() = std::move(samples);
  return true;
}

bool CSignalieee32::demux(CTypedSignal<float>* dsts, bool reshapeDst) const {
  const unsigned channels = Description().YCount();
  for (unsigned c = 0; c < channels; ++c) {
    if (&dsts[c] != this) continue;
    const CSignalieee32 copy(*this);
    return copy.elements() == elements() && copy.demux(dsts, reshapeDst);
  }
  std::array<float*, SDescriptionPOD::slotCount> out;
  std::array<std::uint64_t, SDescriptionPOD::slotCount> samples;
  for (unsigned c = 0; c < channels; ++c) {
    if (reshapeDst && !dsts[c].reshape(*this, 1u << c)) return false;
    out[c] = dsts[c].data();
    samples[c] = std::min(elements() / channels, dsts[c].elements());
  }
  lanes::Split(out.data(), samples.data(), data(), channels);
  return true;
}

bool CSignalieee32::mux(const CTypedSignal<float>* srcs) {
  const unsigned channels = Description().YCount();
  if (Description().SignalCoding() != signalCodingInterleaved) return false;
  if (std::any_of(srcs, srcs + channels, [this](const auto& src) { return &src == this; })) return false;
  std::array<const float*, SDescriptionPOD::slotCount> in;
  std::array<std::uint64_t, SDescriptionPOD::slotCount> samples;
  for (unsigned c = 0; c < channels; ++c) {
    in[c] = srcs[c].data();
    samples[c] = std::min(Usable() / channels, srcs[c].elements());
  }
  lanes::Join(data(), in.data(), samples.data(), channels);
  return true;
}
