#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/memory/WithoutMemory.h"

/// The tree of an arithmetic expression, as CArithExpression makes it. A tree holds its own copy of the
/// text and copies independently. Its nodes are named by numbers that are valid for this tree and its
/// copies. Immutable once made, so that threads may share it.
class UMLAUF_API CExpression {
 public:
  enum class Kind : std::uint8_t { name, number, negate, add, subtract, multiply, divide, power };
  using Node = std::uint16_t;

  /// True for a tree without nodes; all other functions need a node.
  bool empty() const { return entries_.empty(); }
  Node Root() const { return root_; }
  Kind KindOf(Node node) const { return entries_[node].kind; }
  /// Text of a name or number as it was written; empty for operators. Lives as long as the tree.
  std::wstring_view Text(Node node) const;
  /// Left operand of an operator with two operands.
  Node Left(Node node) const { return entries_[node].left; }
  /// Right operand of an operator with two operands, and the operand of `negate`.
  Node Right(Node node) const { return entries_[node].right; }

  /// True when the node is a number without decimal point or the negation of one; gives its value, limited
  /// to ±10^9.
  bool Integer(Node node, std::int32_t& value) const;

  /// The text of the tree below a node, without blanks and with only those parentheses without which it
  /// would be another tree: "((a))/(b/c)" becomes "a/(b/c)".
  CString Infix(Node node) const;
  CString Infix() const { return empty() ? CString() : Infix(Root()); }

 private:
  friend class CArithExpression;
  struct Entry {
    Kind kind;
    Node left;
    Node right;
    std::size_t offset;  // of the text of a name or number
    std::size_t length;
  };

  void Write(Node node, int strength, std::wstring& out) const;

  umlauf::QuietCopy<std::wstring> text_;
  umlauf::QuietCopy<std::vector<Entry>> entries_;
  Node root_ = 0;
};
