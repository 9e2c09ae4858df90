#include "umlauf/platform/basis/CExpression.h"

#include <algorithm>

#include "umlauf/platform/memory/WithoutMemory.h"

namespace {

using Kind = CExpression::Kind;

/// How an operator is written, how strongly it binds, and how strongly an operand has to bind to need no
/// parentheses there. Left-associative operators want more from their right side, the power from its left.
struct Notation {
  wchar_t symbol;
  int strength;
  int left;
  int right;
};

constexpr Notation NotationOf(Kind kind) {
  switch (kind) {
    case Kind::add:
      return {L'+', 1, 1, 2};
    case Kind::subtract:
      return {L'-', 1, 1, 2};
    case Kind::multiply:
      return {L'*', 2, 2, 3};
    case Kind::divide:
      return {L'/', 2, 2, 3};
    case Kind::negate:
      return {L'-', 3, 0, 3};
    case Kind::power:
      return {L'^', 4, 5, 3};
    default:
      return {L'\0', 5, 0, 0};
  }
}

}  // namespace

std::wstring_view CExpression::Text(Node node) const {
  const Entry& entry = entries_[node];
  // Less than all of it only in a copy for which there was no memory.
  return entry.offset < text_.size() ? std::wstring_view(text_).substr(entry.offset, entry.length)
                                     : std::wstring_view();
}

bool CExpression::Integer(Node node, std::int32_t& value) const {
  const bool negative = KindOf(node) == Kind::negate;
  if (negative) node = Right(node);
  const std::wstring_view digits = Text(node);
  if (KindOf(node) != Kind::number || digits.find(L'.') != std::wstring_view::npos) return false;
  std::int64_t sum = 0;
  for (const wchar_t digit : digits) sum = std::min<std::int64_t>(sum * 10 + (digit - L'0'), 1'000'000'000);
  value = static_cast<std::int32_t>(negative ? -sum : sum);
  return true;
}

CString CExpression::Infix(Node node) const {
  return umlauf::WithMemory(std::wstring(), [&] {
    std::wstring out;
    out.reserve(text_.size());
    Write(node, 0, out);
    return out;
  });
}

void CExpression::Write(Node node, int strength, std::wstring& out) const {
  const Kind kind = KindOf(node);
  if (kind == Kind::name || kind == Kind::number) {
    out += Text(node);
    return;
  }
  const Notation notation = NotationOf(kind);
  const bool enclosed = notation.strength < strength;
  if (enclosed) out += L'(';
  if (kind != Kind::negate) Write(Left(node), notation.left, out);
  out += notation.symbol;
  Write(Right(node), notation.right, out);
  if (enclosed) out += L')';
}
