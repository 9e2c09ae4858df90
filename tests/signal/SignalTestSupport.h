#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurve.h"

/// Samples of any signal as numbers.
inline std::vector<float> Values(const CSigRaw& signal) {
  const auto* first = reinterpret_cast<const float*>(signal.Data());
  return {first, first + signal.DLen()};
}

inline CSigCurve Curve(std::initializer_list<float> samples, float xMin, float xMax) {
  CSigCurve curve(samples.size());
  std::copy(samples.begin(), samples.end(), curve.FData());
  curve.SetXMinMax(xMin, xMax);
  return curve;
}

/// Bytes as lower-case hex, for golden records.
inline std::string Hex(std::span<const std::byte> bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::byte b : bytes) {
    text += kDigits[std::to_integer<unsigned>(b) >> 4];
    text += kDigits[std::to_integer<unsigned>(b) & 15u];
  }
  return text;
}
