#pragma once

#include <array>
#include <cstdint>

namespace umlauf::units {

/// A decimal prefix of units by its letter.
struct SiPrefix {
  wchar_t letter;
  std::int16_t exponent;
};

/// The prefixes by ascending exponent, one for each group of three; that of exponent 0 has no letter.
inline constexpr wchar_t kNoPrefixLetter = L'-';
inline constexpr std::array<SiPrefix, 10> kSiPrefixes{{{L'f', -15},
                                                       {L'p', -12},
                                                       {L'n', -9},
                                                       {L'µ', -6},
                                                       {L'm', -3},
                                                       {kNoPrefixLetter, 0},
                                                       {L'k', 3},
                                                       {L'M', 6},
                                                       {L'G', 9},
                                                       {L'T', 12}}};

}  // namespace umlauf::units
