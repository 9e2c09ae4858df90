#include "umlauf/filters/SosSections.h"

#include <algorithm>
#include <cmath>
#include <numbers>

SosSections::SosSections(std::span<const SosSection> sections) {
  for (const SosSection& section : sections.first(std::min(sections.size(), kMost))) Append(section);
}

bool SosSections::Append(const SosSection& section) {
  if (count_ == kMost) return false;
  sections_[count_++] = section;
  return true;
}

std::complex<double> SosSections::Response(double frequency) const {
  const std::complex<double> back = std::polar(1.0, -2.0 * std::numbers::pi * frequency);
  std::complex<double> response = 1.0;
  for (const SosSection& s : *this) {
    response *= (s.b0 + back * (s.b1 + back * s.b2)) / (1.0 + back * (s.a1 + back * s.a2));
  }
  return response;
}

double SosSections::Gain(double frequency) const { return 20.0 * std::log10(std::abs(Response(frequency))); }

bool SosSections::IsStable() const {
  // The triangle of stability of a polynomial of second order.
  return std::all_of(begin(), end(),
                     [](const SosSection& s) { return std::abs(s.a2) < 1.0 && std::abs(s.a1) < 1.0 + s.a2; });
}
