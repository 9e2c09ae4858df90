#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "umlauf/Export.h"

class CString;

/// Numbers, characters and enumerations.
template <class T>
concept FormatNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;

/// One argument of a printf-style wide format, with its type: integers, floating-point numbers, characters,
/// and text (wide, or narrow as UTF-8). It refers to texts and does not copy them: use it within one call
/// only.
class UMLAUF_API FormatArg {
 public:
  using Value =
      std::variant<std::int64_t, std::uint64_t, double, wchar_t, std::wstring_view, std::string_view>;

  // Arguments convert implicitly, as in a printf call.
  template <FormatNumber T>
  FormatArg(T value) : value_(Widest(value)) {}  // NOLINT(google-explicit-constructor)
  FormatArg(const wchar_t* text) : value_(std::wstring_view(text != nullptr ? text : L"(null)")) {}  // NOLINT
  FormatArg(const std::wstring& text) : value_(std::wstring_view(text)) {}                           // NOLINT
  FormatArg(const CString& text);                                                                    // NOLINT
  FormatArg(const char* utf8) : value_(std::string_view(utf8 != nullptr ? utf8 : "(null)")) {}       // NOLINT

  const Value& value() const { return value_; }

 private:
  template <class T>
  static constexpr auto Widest(T value) {
    if constexpr (std::is_enum_v<T>) {
      return Widest(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::is_same_v<T, wchar_t> || std::is_same_v<T, char>) {
      return static_cast<wchar_t>(value);
    } else if constexpr (std::is_floating_point_v<T>) {
      return static_cast<double>(value);
    } else if constexpr (std::is_signed_v<T>) {
      return static_cast<std::int64_t>(value);
    } else {
      return static_cast<std::uint64_t>(value);
    }
  }

  Value value_;
};
