#include "umlauf/filters/Butterworth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Butterworth {
namespace {

using Complex = std::complex<double>;

/// Numerator of all sections of a filter, and where its gain becomes 1: at this point of the unit circle.
struct Zeros {
  double b0, b1, b2;
  Complex unityAt;
};

bool IsUsable(unsigned order, double lower, double upper, double rate) {
  return order >= 1 && order <= kMaxOrder && rate > 0.0 && lower > 0.0 && lower < upper && upper < rate / 2;
}

double Warped(double frequency, double rate) { return std::tan(std::numbers::pi * frequency / rate); }

/// Pole k of the analogue filter with edge 1; those below (order + 1) / 2 have no negative imaginary part.
/// The middle one of an odd order is −1.
Complex Pole(unsigned k, unsigned order) {
  if (2 * k + 1 == order) return -1.0;
  return Complex(0.0, 1.0) * std::polar(1.0, std::numbers::pi * (2.0 * k + 1.0) / (2.0 * order));
}

/// The section with two poles of the analogue plane and these zeros.
SosSection Section(Complex first, Complex second, const Zeros& zeros) {
  const Complex z1 = (1.0 + first) / (1.0 - first);
  const Complex z2 = (1.0 + second) / (1.0 - second);
  SosSection section{zeros.b0, zeros.b1, zeros.b2, -(z1 + z2).real(), (z1 * z2).real()};
  const Complex back = std::conj(zeros.unityAt);
  const double gain = std::abs((1.0 + back * (section.a1 + back * section.a2)) /
                               (zeros.b0 + back * (zeros.b1 + back * zeros.b2)));
  section.b0 *= gain;
  section.b1 *= gain;
  section.b2 *= gain;
  return section;
}

SosSection FirstOrder(double pole, double zero) {
  const double a1 = -(1.0 + pole) / (1.0 - pole);
  const double gain = (1.0 - a1 * zero) / 2.0;
  return {gain, -zero * gain, 0.0, a1, 0.0};
}

SosSections MostDampedFirst(std::span<SosSection> sections) {
  std::sort(sections.begin(), sections.end(),
            [](const SosSection& a, const SosSection& b) { return a.a2 < b.a2; });
  return SosSections(sections);
}

/// Low pass (zeros at −1) and high pass (zeros at 1); on the unit circle a pole's reciprocal is its
/// conjugate, so that both have the same poles.
SosSections Pass(unsigned order, double edge, double zero) {
  std::array<SosSection, SosSections::kMost> sections;
  std::size_t count = 0;
  for (unsigned k = 0; k < order / 2; ++k) {
    const Complex pole = edge * Pole(k, order);
    sections[count++] = Section(pole, std::conj(pole), {1.0, -2.0 * zero, 1.0, Complex(-zero)});
  }
  if (order % 2 == 1) sections[count++] = FirstOrder(-edge, zero);
  return MostDampedFirst(std::span(sections).first(count));
}

/// Both roots of s² − c s + m² = 0.
std::pair<Complex, Complex> Roots(Complex c, double m) {
  const Complex root = std::sqrt(c * c - 4.0 * m * m);
  // The one without cancellation; the other one by the product.
  const Complex sum = std::abs(c + root) >= std::abs(c - root) ? c + root : c - root;
  return {sum / 2.0, 2.0 * m * m / sum};
}

SosSections Band(unsigned order, double lower, double upper, bool stop, const Zeros& zeros) {
  const double middle = std::sqrt(lower * upper);
  const double width = upper - lower;
  std::array<SosSection, SosSections::kMost> sections;
  std::size_t count = 0;
  for (unsigned k = 0; k < (order + 1) / 2; ++k) {
    const Complex pole = Pole(k, order);
    const auto [first, second] = Roots(stop ? width / pole : width * pole, middle);
    if (2 * k + 1 == order) {
      sections[count++] = Section(first, second, zeros);
    } else {
      sections[count++] = Section(first, std::conj(first), zeros);
      sections[count++] = Section(second, std::conj(second), zeros);
    }
  }
  return MostDampedFirst(std::span(sections).first(count));
}

/// The point of the unit circle at a warped frequency.
Complex PointAt(double w) { return (Complex(1.0, w)) / (Complex(1.0, -w)); }

}  // namespace

SosSections LowPass(unsigned order, double edge, double rate) {
  if (!IsUsable(order, edge / 2, edge, rate)) return {};
  return Pass(order, Warped(edge, rate), -1.0);
}

SosSections HighPass(unsigned order, double edge, double rate) {
  if (!IsUsable(order, edge / 2, edge, rate)) return {};
  return Pass(order, Warped(edge, rate), 1.0);
}

SosSections BandPass(unsigned order, double lower, double upper, double rate) {
  if (!IsUsable(order, lower, upper, rate)) return {};
  const double l = Warped(lower, rate), u = Warped(upper, rate);
  SosSections sections = Band(order, l, u, false, {1.0, 0.0, -1.0, PointAt(std::sqrt(l * u))});
  return sections;
}

SosSections BandStop(unsigned order, double lower, double upper, double rate) {
  if (!IsUsable(order, lower, upper, rate)) return {};
  const double l = Warped(lower, rate), u = Warped(upper, rate);
  const double m2 = l * u;
  // Unity at the end of the axis that is far from the stopped band, where nothing cancels.
  return Band(order, l, u, true, {1.0, -2.0 * (1.0 - m2) / (1.0 + m2), 1.0, Complex(m2 < 1.0 ? -1.0 : 1.0)});
}

}  // namespace Butterworth
