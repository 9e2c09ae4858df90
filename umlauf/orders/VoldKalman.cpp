#include "umlauf/orders/VoldKalman.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

/// Coefficients of the p-th difference.
constexpr std::array<std::array<double, 4>, 4> kDifference = {
    {{1, 0, 0, 0}, {1, -1, 0, 0}, {1, -2, 1, 0}, {1, -3, 3, -1}}};

/// Narrower bandwidths are lost in the last digits, by the number of poles.
constexpr std::array<double, 4> kNarrowest = {0, 0.0001, 0.0003, 0.005};

constexpr double kMostMemory = 512.0 * 1024 * 1024;

}  // namespace

/// A symmetric banded matrix, and the right side that becomes the solution. Row i holds the elements (i, i),
/// (i, i − 1) ... (i, i − reach).
struct CVoldKalman::Part {
  Part(std::size_t most, std::size_t samples, unsigned poles)
      : unknowns(most), reach(poles * most), band(samples * most * (reach + 1)), right(samples * most) {}

  double* Row(std::size_t i) { return band.data() + i * (reach + 1); }

  /// Cholesky factor in place of the matrix, and the solution in place of the right side. False when the
  /// matrix is not positive definite to the last digits.
  bool Solve(std::size_t rows) {
    for (std::size_t i = 0; i < rows; ++i) {
      double* row = Row(i);
      const std::size_t first = i > reach ? i - reach : 0;
      for (std::size_t j = first; j <= i; ++j) {
        const double* other = Row(j);
        double rest = row[i - j];
        const std::size_t from = std::max(first, j > reach ? j - reach : 0);
        for (std::size_t k = from; k < j; ++k) rest -= row[i - k] * other[j - k];
        if (j < i) {
          row[i - j] = rest / other[0];
        } else if (rest > 0) {
          row[0] = std::sqrt(rest);
        } else {
          return false;
        }
      }
      for (std::size_t k = first; k < i; ++k) right[i] -= row[i - k] * right[k];
      right[i] /= row[0];
    }
    for (std::size_t i = rows; i-- > 0;) {
      const double* row = Row(i);
      right[i] /= row[0];
      const std::size_t first = i > reach ? i - reach : 0;
      for (std::size_t k = first; k < i; ++k) right[k] -= row[i - k] * right[i];
    }
    return true;
  }

  std::size_t unknowns;  ///< of a sample: two for each order
  std::size_t reach;
  std::vector<double> band, right;
  std::size_t begin = 0, size = 0;  ///< [samples] of the part
};

CVoldKalman::CVoldKalman(double bandwidth, unsigned poles) : poles_(poles), bandwidth_(bandwidth) {
  if (poles < 1 || poles > 3 || !(bandwidth >= kNarrowest[poles]) || !(bandwidth <= 0.5)) return;
  const double half = 2 - 2 * std::cos(std::numbers::pi * bandwidth);
  weight_ = (std::numbers::sqrt2 - 1) / (2 * std::pow(half, poles));
}

bool CVoldKalman::Solve(const float* samples, const double* phases, std::size_t stride, Part& part) {
  const std::size_t m = part.unknowns;
  std::fill(part.band.begin(), part.band.end(), 0.0);
  const auto& difference = kDifference[poles_];
  std::array<double, 2 * mostOrders + 1> base{};
  if (level_) base[m - 1] = 1;
  for (std::size_t i = 0; i < part.size; ++i) {
    for (std::size_t k = 0; k < m / 2; ++k) {
      const double phase = phases[k * stride + part.begin + i];
      const double arc = 2 * std::numbers::pi * (phase - std::floor(phase));
      base[2 * k] = std::cos(arc);
      base[2 * k + 1] = -std::sin(arc);
    }
    for (std::size_t a = 0; a < m; ++a) {
      double* row = part.Row(i * m + a);
      for (std::size_t b = 0; b <= a; ++b) row[a - b] += base[a] * base[b];
      part.right[i * m + a] = base[a] * static_cast<double>(samples[part.begin + i]);
    }
    // The difference that ends at this sample.
    if (i < poles_) continue;
    for (std::size_t s = 0; s <= poles_; ++s) {
      for (std::size_t t = s; t <= poles_; ++t) {
        const double element = weight_ * difference[s] * difference[t];
        for (std::size_t a = 0; a < m; ++a) part.Row((i - s) * m + a)[(t - s) * m] += element;
      }
    }
  }
  return part.Solve(part.size * m);
}

std::size_t CVoldKalman::Overlap() const {
  return numeric::trunc_sat<std::size_t>(std::ceil(6 / bandwidth_));
}

std::size_t CVoldKalman::Kept(std::size_t orders) const {
  if (!IsValid() || orders < 1 || orders > mostOrders) return 0;
  const auto m = static_cast<double>(Unknowns(orders));
  const double ofSample = sizeof(double) * m * (m * poles_ + 2);
  for (const std::size_t kept : {std::max<std::size_t>(4 * Overlap(), 4096), Overlap()}) {
    if (static_cast<double>(kept + 2 * Overlap()) * ofSample <= kMostMemory) return kept;
  }
  return 0;
}

bool CVoldKalman::Fit(const float* samples, std::size_t n, const double* phases, std::size_t orders) {
  envelopes_.clear();
  n_ = 0;
  const std::size_t overlap = Overlap(), kept = Kept(orders);
  if (kept == 0 || n == 0) return false;
  bool solved = true;
  const bool had = umlauf::HadMemory([&] {
    envelopes_.resize(n * orders);
    Part part(Unknowns(orders), std::min(n, kept + 2 * overlap), poles_);
    for (std::size_t begin = 0; begin < n && solved; begin += kept) {
      const std::size_t end = std::min(n, begin + kept);
      part.begin = begin > overlap ? begin - overlap : 0;
      part.size = std::min(n, end + overlap) - part.begin;
      solved = Solve(samples, phases, n, part);
      for (std::size_t i = begin; i < end; ++i) {
        const double* found = part.right.data() + (i - part.begin) * part.unknowns;
        for (std::size_t k = 0; k < orders; ++k) {
          envelopes_[k * n + i] = {static_cast<float>(found[2 * k]), static_cast<float>(found[2 * k + 1])};
        }
      }
    }
  });
  if (had && solved) {
    n_ = n;
  } else {
    envelopes_.clear();
  }
  return n_ > 0;
}

std::span<const std::complex<float>> CVoldKalman::Envelope(std::size_t k) const {
  if (k >= Orders()) return {};
  return std::span(envelopes_).subspan(k * n_, n_);
}

void CVoldKalman::Component(std::size_t k, const double* phases, float* out) const {
  const std::span<const std::complex<float>> envelope = Envelope(k);
  for (std::size_t i = 0; i < envelope.size(); ++i) {
    const double phase = phases[k * n_ + i], arc = 2 * std::numbers::pi * (phase - std::floor(phase));
    out[i] = static_cast<float>(static_cast<double>(envelope[i].real()) * std::cos(arc) -
                                static_cast<double>(envelope[i].imag()) * std::sin(arc));
  }
}
