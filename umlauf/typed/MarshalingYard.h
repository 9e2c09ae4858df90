#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Tags by which the kind of a record is recognised in a marshaled stream. The stream itself is the business
/// of those who transport records.
namespace MarshalingYard {

/// Four characters; `tag()` gives them as text, `id()` as one little-endian number.
template <char a, char b, char c, char d>
struct Tag {
  static constexpr char characters[4] = {a, b, c, d};

  static constexpr std::string_view tag() { return {characters, sizeof characters}; }
  static constexpr std::uint32_t id() {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      number |= std::uint32_t{static_cast<unsigned char>(characters[i])} << (8 * i);
    }
    return number;
  }
};

/// The tag of a class T; each class that has one specialises it beside its definition:
/// `template <> struct MarshalingYard::ID<CThing> : MarshalingYard::Tag<'T', 'h', 'n', 'g'> {};`
template <class T>
struct ID;

}  // namespace MarshalingYard
