#include "umlauf/rate/ResampleTool.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

bool Usable(const void* in, int nIn, const void* out, int nOut) {
  return in != nullptr && out != nullptr && nIn >= 1 && nOut >= 1;
}

/// Shrinks: out[j] = reduce(first input of run j, its length). A run ends where it has passed the middle
/// between two outputs, inputs and outputs seen as equidistant in a row of length 1.
template <class Reduce>
void ReduceRuns(const float* in, int nIn, float* out, int nOut, Reduce reduce) {
  const double inStep = 1.0 / nIn, outStep = 1.0 / nOut, half = outStep * 0.5;
  double position = 0.0;
  int i = 0, j = 0;
  for (; j < nOut && i < nIn; ++j) {
    const int begin = i;
    do {
      position += inStep;
      ++i;
    } while (i < nIn && position < half);
    position -= outStep;
    out[j] = reduce(in + begin, static_cast<std::size_t>(i - begin));
  }
  std::fill(out + j, out + nOut, in[nIn - 1]);
}

/// Stretches: calls ramp(i, j, m) for the m outputs from j on that lead from input i - 1 to input i, and
/// returns the number of outputs taken.
template <class Ramp>
int ForRamps(int nIn, int nOut, Ramp ramp) {
  const double inStep = 1.0 / nIn, outStep = 1.0 / nOut;
  double position = -inStep;
  int j = 1;
  for (int i = 1; i < nIn && j < nOut; ++i) {
    const int begin = j;
    do {
      position += outStep;
      ++j;
    } while (j < nOut && position < 0.5 * inStep);
    position -= inStep;
    ramp(i, begin, j - begin);
  }
  return j;
}

template <class Pixel>
void Convert(const float* in, int n, float min, float max, Pixel* out, int range) {
  const double scale = static_cast<double>(range) / (static_cast<double>(max) - static_cast<double>(min));
  const double low = std::min(range, 0), high = std::max(range, 0);
  for (int i = 0; i < n; ++i) {
    const double value = (static_cast<double>(in[i]) - static_cast<double>(min)) * scale;
    out[i] = std::isnan(value) ? Pixel{0}
                               : numeric::trunc_sat<Pixel>(numeric::round(std::clamp(value, low, high)));
  }
}

}  // namespace

void CResampleTool::Resample1d(const float* in, int nIn, float* out, int nOut, InterpOpts opts) {
  if (!Usable(in, nIn, out, nOut)) return;
  if (nIn == nOut) {
    std::copy_n(in, nIn, out);
  } else if (opts == RO_MeanLinear) {
    Resample1dDmUi(in, nIn, out, nOut);
  } else if (nOut < nIn) {
    Resample1dDown(in, nIn, out, nOut, opts);
  } else {
    Resample1dUp(in, nIn, out, nOut, opts);
  }
}

void CResampleTool::Resample1dDmUi(const float* in, int nIn, float* out, int nOut) {
  if (!Usable(in, nIn, out, nOut)) return;
  QVL::Resamling(out, static_cast<std::size_t>(nOut), in, static_cast<std::size_t>(nIn), 1, 1.0f,
                 RO_MeanLinear);
}

void CResampleTool::Resample1dDown(const float* in, int nIn, float* out, int nOut, InterpOpts opts) {
  if (!Usable(in, nIn, out, nOut)) return;
  const auto reduceRange = [&](auto result) {
    ReduceRuns(in, nIn, out, nOut, [&](const float* run, std::size_t n) {
      float min = 0.0f, max = 0.0f;
      QVL::VectorMinMax(run, n, 1, min, max);
      return result(min, max);
    });
  };
  switch (opts & 7) {
    case RO_Maximum:
      return reduceRange([](float, float max) { return max; });
    case RO_Minimum:
      return reduceRange([](float min, float) { return min; });
    case RO_MidRange:
      return reduceRange([](float min, float max) { return (min + max) * 0.5f; });
    case RO_Mean:
      return ReduceRuns(in, nIn, out, nOut,
                        [](const float* run, std::size_t n) { return QVL::VectorMean(run, n); });
    default:
      return ReduceRuns(in, nIn, out, nOut, [](const float* run, std::size_t) { return *run; });
  }
}

void CResampleTool::Resample1dDownMaxi(const float* in, int nIn, float* out, int nOut) {
  if (!Usable(in, nIn, out, nOut)) return;
  ReduceRuns(in, nIn, out, nOut, [](const float* run, std::size_t n) {
    std::size_t minIndex = 0, maxIndex = 0;
    QVL::VectorMinMaxIndex(run, n, minIndex, maxIndex);
    const float lowest = -run[minIndex], greatest = run[maxIndex];
    if (lowest == greatest) return run[std::min(minIndex, maxIndex)];
    return lowest > greatest ? run[minIndex] : greatest;
  });
}

void CResampleTool::Resample1dUp(const float* in, int nIn, float* out, int nOut, InterpOpts opts) {
  if (!Usable(in, nIn, out, nOut)) return;
  if ((opts & RO_LinearUp) != 0) return Resample1dUpInterpol(in, nIn, out, nOut);
  for (std::int64_t j = 0; j < nOut; ++j) {
    out[j] =
        in[(2 * j + 1) * nIn / (2 * std::int64_t{nOut})];  // the input whose span holds the output's middle
  }
}

void CResampleTool::Resample1dUpInterpol(const float* in, int nIn, float* out, int nOut) {
  if (!Usable(in, nIn, out, nOut)) return;
  out[0] = in[0];
  const int taken = ForRamps(nIn, nOut, [&](int i, int j, int m) {
    const float from = in[i - 1], to = in[i];
    if (m == 2) {
      out[j] = (from + to) * 0.5f;
    } else {
      const float step = (to - from) / static_cast<float>(m);
      for (int k = 1; k < m; ++k) out[j + k - 1] = from + static_cast<float>(k) * step;
    }
    out[j + m - 1] = to;
  });
  std::fill(out + taken, out + nOut, in[nIn - 1]);
}

void CResampleTool::IntConversion(const float* in, int n, float min, float max, LONG* out, int range) {
  if (Usable(in, n, out, n)) Convert(in, n, min, max, out, range);
}

void CResampleTool::ByteConversion(const float* in, int n, float min, float max, unsigned char* out,
                                   unsigned char range) {
  if (Usable(in, n, out, n)) Convert(in, n, min, max, out, range);
}

bool CResampleTool::Adjust2dPuffer(std::uint64_t rows, std::uint64_t columns) {
  if (columns != 0 && rows > std::numeric_limits<std::uint64_t>::max() / columns) return false;
  if (!rows_.alloc(rows * columns)) return false;
  rowCount_ = rows;
  columns_ = columns;
  return true;
}

float* CResampleTool::PPunkt(std::uint64_t row, std::uint64_t column) {
  if (row >= rowCount_ || column >= columns_) return nullptr;
  return rows_.data() + row * columns_ + column;
}

bool CResampleTool::Interpol2dy(std::uint64_t nIn, std::uint64_t nOut) {
  if (nIn < 1 || nIn > nOut || nOut > rowCount_ || nOut > std::numeric_limits<int>::max()) return false;
  if (nIn == nOut) return true;
  // Where each row comes from.
  struct Source {
    std::int32_t row;
    float share;  // of the row behind it
  };
  CAlignedMem<Source> sources;
  if (!sources.alloc(nOut)) return false;
  const int last = static_cast<int>(nIn) - 1;
  std::fill(sources.begin(), sources.end(), Source{last, 0.0f});
  sources[0] = {0, 0.0f};
  ForRamps(static_cast<int>(nIn), static_cast<int>(nOut), [&](int i, int j, int m) {
    for (int k = 1; k < m; ++k) {
      sources[static_cast<std::size_t>(j + k - 1)] = {i - 1, static_cast<float>(k) / static_cast<float>(m)};
    }
    sources[static_cast<std::size_t>(j + m - 1)] = {i, 0.0f};
  });
  // From the last row down: no row has sources behind itself.
  for (std::uint64_t j = nOut; j-- > 0;) {
    const auto& [row, share] = sources[j];
    const float* from = PZeile(static_cast<std::uint64_t>(row));
    if (share > 0.0f) {
      QVL::VectorWeightedSum(PZeile(j), from, 1.0f - share, from + columns_, share, columns_);
    } else if (PZeile(j) != from) {
      std::copy_n(from, columns_, PZeile(j));
    }
  }
  return true;
}
