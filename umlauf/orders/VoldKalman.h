#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

#include "umlauf/Export.h"

/// Vold-Kalman filter of the second generation: the slowly changing amplitudes and phases of several orders
/// at once, also of orders of different shafts that cross. With x[n] the samples and φk[n] the phase of order
/// k it finds the complex envelopes ck that minimise
///
///     Σn (x[n] − Re Σk ck[n] exp(2πj φk[n]))² + r² Σk Σn |∇^p ck[n]|²
///
/// ∇^p is the p-th difference, so the envelopes are polynomials of degree p − 1 in parts. The normal
/// equations are banded and solved by Cholesky's method. For a single order that is a low-pass filter of the
/// envelope, H(f) = 1 / (1 + 2 r² (2 − 2 cos 2πf)^p), from which r follows for a bandwidth B between the
/// points of −3 dB: r² = (√2 − 1) / (2 (2 − 2 cos πB)^p).
///
/// Sources: H. Vold, M. Mains, J. Blough, "Theoretical foundations for high performance order tracking with
/// the Vold-Kalman tracking filter", SAE 972007 (1997); J. Tůma, "Setting the passband width in the
/// Vold-Kalman order tracking filter", 12th Int. Congress on Sound and Vibration (2005).
///
/// Samples over equal steps of angle (CAngleResampler) give a bandwidth in orders: B · steps of a revolution.
/// Long signals are solved in parts that overlap by six times 1 / B, so that memory grows with the envelopes
/// only, 8 bytes for each sample and order. A part takes 512 MiB at most. COrderTracker follows orders with
/// it block by block. One object is used by one thread at a time.
class UMLAUF_API CVoldKalman {
 public:
  static constexpr std::size_t mostOrders = 16;

  /// `bandwidth` B in cycles per sample, up to 0.5; `poles` p, 1 to 3: with more the edges are steeper and
  /// the middle is flatter. B is at least 0.0001, 0.0003 and 0.005 for 1, 2 and 3 poles: narrower ones are
  /// lost in the last digits.
  explicit CVoldKalman(double bandwidth, unsigned poles = 2);
  CVoldKalman(CVoldKalman&&) noexcept = default;
  CVoldKalman& operator=(CVoldKalman&&) noexcept = default;

  bool IsValid() const { return weight_ > 0; }
  /// Whether it can find so many orders: of narrow ones parts are long, and memory for them goes with the
  /// square of the number of orders.
  bool Fits(std::size_t orders) const { return Kept(orders) > 0; }
  /// Finds a slowly changing level of the samples along with the orders (as a speed has): it is then part of
  /// none of them.
  void FollowLevel(bool along) { level_ = along; }
  /// Finds the envelopes of `orders` orders (1 to 16, `Fits`) in n samples. `phases` [orders, n], cycles, row
  /// by row: order · angle [rev]. False, without envelopes, for what cannot be and without memory.
  bool Fit(const float* samples, std::size_t n, const double* phases, std::size_t orders);

  std::size_t Orders() const { return n_ > 0 ? envelopes_.size() / n_ : 0; }
  /// [n] The envelope of order k: its magnitude is the peak; empty when there is none.
  std::span<const std::complex<float>> Envelope(std::size_t k) const;
  /// Writes the order itself, [n] samples; `phases` as given to `Fit`. Taken off the samples it leaves the
  /// rest.
  void Component(std::size_t k, const double* phases, float* out) const;

 private:
  struct Part;
  bool Solve(const float* samples, const double* phases, std::size_t stride, Part& part);
  std::size_t Unknowns(std::size_t orders) const { return 2 * orders + (level_ ? 1 : 0); }
  /// Samples on either side of a part that are solved again, and those of a part that are kept; 0: too many.
  std::size_t Overlap() const;
  std::size_t Kept(std::size_t orders) const;

  unsigned poles_;
  bool level_ = false;
  double bandwidth_, weight_ = 0;
  std::size_t n_ = 0;
  std::vector<std::complex<float>> envelopes_;  ///< [orders, n]
};
