// Arithmetic expressions: what is read can be written and read again as the same tree.

#include <string>

#include "fuzz/support/Fuzz.h"
#include "umlauf/platform/basis/CArithExpression.h"

namespace umlauf::fuzz {
namespace {

using Node = CExpression::Node;

bool SameTree(const CExpression& a, Node i, const CExpression& b, Node k) {
  using Kind = CExpression::Kind;
  const Kind kind = a.KindOf(i);
  if (kind != b.KindOf(k) || a.Text(i) != b.Text(k)) return false;
  if (kind == Kind::name || kind == Kind::number) return true;
  return SameTree(a, a.Right(i), b, b.Right(k)) &&
         (kind == Kind::negate || SameTree(a, a.Left(i), b, b.Left(k)));
}

}  // namespace

void FuzzOne(Input input) {
  const CArithExpression first(CString::FromUtf8(input.Text()).view());
  Require(first.valid() == first.reason().IsEmpty(), "what is no expression has a reason");
  if (!first.valid()) return;
  const CExpression& tree = first.tree();
  const CArithExpression second(tree.Infix().view());
  Require(second.valid(), "the text of a tree is an expression");
  Require(SameTree(tree, tree.Root(), second.tree(), second.tree().Root()),
          "the text of a tree gives that tree");
  Require(second.tree().Infix() == tree.Infix(), "the text of a tree is its own text");
  std::int32_t value = 0;
  if (tree.Integer(tree.Root(), value))
    Require(value >= -1000000000 && value <= 1000000000, "integers are limited");
}

}  // namespace umlauf::fuzz
