#pragma once

#include <initializer_list>
#include <iomanip>
#include <sstream>

#include "support/Test.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurve.h"

/// Samples of any signal as numbers.
inline std::vector<float> Values(const CSigRaw& signal) {
  const auto* first = reinterpret_cast<const float*>(signal.Data());
  return {first, first + signal.DLen()};
}

/// Axis and samples of a curve, for example "-0.5...4: 10 20". The x length must be that of the samples.
inline std::string Text(const CSigCurve& curve) {
  std::ostringstream text;
  text << curve.XMin() << "..." << curve.XMax() << ":";
  for (const float sample : Values(curve)) text << ' ' << sample;
  EXPECT_EQ(curve.XLen(), curve.DLen());
  return text.str();
}

inline CSigCurve Curve(std::initializer_list<float> samples, float xMin, float xMax) {
  CSigCurve curve(samples.size());
  std::copy(samples.begin(), samples.end(), curve.FData());
  curve.SetXMinMax(xMin, xMax);
  return curve;
}

/// Lends the samples to a signal.
inline void Lend(std::span<float> samples, CSigRaw& signal) {
  signal.SetBuffer(reinterpret_cast<ULONG*>(samples.data()), static_cast<LONG>(samples.size()));
}

/// Bytes as lower-case hex, for golden records.
inline std::string Hex(std::span<const std::byte> bytes) {
  std::ostringstream text;
  text << std::hex << std::setfill('0');
  for (const std::byte b : bytes) text << std::setw(2) << std::to_integer<int>(b);
  return text.str();
}

/// Hex digits without the blanks that set off the fields of a record.
inline std::string Packed(std::string digits) {
  std::erase(digits, ' ');
  return digits;
}
