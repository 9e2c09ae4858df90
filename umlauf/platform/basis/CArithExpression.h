#pragma once

#include <cstddef>
#include <string_view>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CExpression.h"
#include "umlauf/platform/framework/CString.h"

/// Reads an arithmetic expression of names, numbers, + - * / ^ and parentheses into a tree:
///
///     sum     = product { ("+" | "-") product }      left to right: "a-b-c" is "(a-b)-c"
///     product = sign { ("*" | "/") sign }            left to right: "a/b/c" is "(a/b)/c"
///     sign    = ("-" | "+") sign | power             "-a^2" is "-(a^2)"; a plus sign is dropped
///     power   = operand [ "^" sign ]                 right to left: "a^b^c" is "a^(b^c)"; "a^-1" is fine
///     operand = name | number | "(" sum ")"
///
/// A name is any run of characters other than operators, parentheses and blanks (space, tab, line ends), so
/// "°C", "%" and "10V" are names. A run of digits with at most one decimal point is a number. Blanks
/// separate and have no other meaning.
class UMLAUF_API CArithExpression {
 public:
  /// Names, numbers, operators and parentheses that one expression may have. The bound keeps the depth of
  /// any tree, and with it the stack that reading and writing need, small.
  static constexpr std::size_t kMaxTokens = 256;

  explicit CArithExpression(std::wstring_view text);

  bool valid() const { return !tree_.empty(); }
  /// Empty when the text is no expression.
  const CExpression& tree() const { return tree_; }
  /// What is wrong, for people; empty for a valid expression (and when there was no memory).
  const CString& reason() const { return reason_; }

 private:
  class Parser;

  CExpression tree_;
  CString reason_;
};
