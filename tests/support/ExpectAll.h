#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

// EXPECT_ALL(a == b, c < d, !e): each condition is an expectation of its own, evaluated from left to right. A
// failure names the conditions that do not hold, and the two sides of a comparison:
//
//     does not hold: list.size() == 2u (3 and 2)
namespace expect_all {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-compare"  // a plain number on one side, as in EXPECT_EQ
#pragma GCC diagnostic ignored "-Wconversion"

struct Checked {
  bool holds;
  std::string sides;
};

/// The left side of a condition.
template <class Left>
struct Side {
  const Left& left;

  // NOLINTNEXTLINE(google-explicit-constructor): a condition without a comparison
  operator Checked() const requires std::is_constructible_v<bool, const Left&> {
    return {static_cast<bool>(left), {}};
  }
  template <class Right>
  static Checked Compared(bool holds, const Left& left, const Right& right) {
    if (holds) return {true, {}};
    return {false, " (" + testing::PrintToString(left) + " and " + testing::PrintToString(right) + ")"};
  }
#define EXPECT_ALL_OPERATOR(op)                   \
  template <class Right>                          \
  Checked operator op(const Right& right) const { \
    return Compared(left op right, left, right);  \
  }
  EXPECT_ALL_OPERATOR(==)
  EXPECT_ALL_OPERATOR(!=)
  EXPECT_ALL_OPERATOR(<)
  EXPECT_ALL_OPERATOR(<=)
  EXPECT_ALL_OPERATOR(>)
  EXPECT_ALL_OPERATOR(>=)
#undef EXPECT_ALL_OPERATOR
};

#pragma GCC diagnostic pop

struct Start {
  template <class Left>
  Side<Left> operator<<(const Left& left) const {
    return {left};
  }
};

class Conditions {
 public:
  Conditions& Add(const char* text, const Checked& checked) {
    if (!checked.holds) failed_.append("does not hold: ").append(text).append(checked.sides).append("\n");
    return *this;
  }
  const std::string& failed() const { return failed_; }

 private:
  std::string failed_;
};

}  // namespace expect_all

#define EXPECT_ALL_PARENS ()
#define EXPECT_ALL_ONE(condition) .Add(#condition, ::expect_all::Start() << condition)
#define EXPECT_ALL_EACH(first, ...) \
  EXPECT_ALL_ONE(first) __VA_OPT__(EXPECT_ALL_MORE EXPECT_ALL_PARENS(__VA_ARGS__))
#define EXPECT_ALL_MORE() EXPECT_ALL_EACH
#define EXPECT_ALL_SCAN1(...) __VA_ARGS__
#define EXPECT_ALL_SCAN2(...) EXPECT_ALL_SCAN1(EXPECT_ALL_SCAN1(EXPECT_ALL_SCAN1(__VA_ARGS__)))
#define EXPECT_ALL_SCAN3(...) EXPECT_ALL_SCAN2(EXPECT_ALL_SCAN2(EXPECT_ALL_SCAN2(__VA_ARGS__)))
#define EXPECT_ALL_SCAN(...) EXPECT_ALL_SCAN3(EXPECT_ALL_SCAN3(EXPECT_ALL_SCAN3(__VA_ARGS__)))
#define EXPECT_ALL(...)                                                                          \
  switch (0)                                                                                     \
  case 0:                                                                                        \
  default:                                                                                       \
    if (const auto failed =                                                                      \
            (::expect_all::Conditions() EXPECT_ALL_SCAN(EXPECT_ALL_EACH(__VA_ARGS__))).failed(); \
        failed.empty())                                                                          \
      ;                                                                                          \
    else                                                                                         \
      ADD_FAILURE() << failed
