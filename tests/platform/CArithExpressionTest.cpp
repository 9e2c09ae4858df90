#include "umlauf/platform/basis/CArithExpression.h"

#include "support/Test.h"

namespace {

using Kind = CExpression::Kind;

/// The tree with parentheses around every operator, independent of how strongly they bind.
std::wstring Enclosed(const CExpression& tree, CExpression::Node node) {
  const Kind kind = tree.KindOf(node);
  if (kind == Kind::name || kind == Kind::number) return std::wstring(tree.Text(node));
  const wchar_t symbol = L"an-+-*/^"[static_cast<int>(kind)];
  const std::wstring left = kind == Kind::negate ? L"" : Enclosed(tree, tree.Left(node));
  return L"(" + left + symbol + Enclosed(tree, tree.Right(node)) + L")";
}

TEST(CArithExpression, BindsOperatorsAndWritesNeededParenthesesOnly) {
  const Cases<const wchar_t*, const wchar_t*, const wchar_t*> cases = {
      {L"°C", L"°C", L"°C"},
      {L" ( ( % ) ) ", L"%", L"%"},
      {L"a/b/c", L"((a/b)/c)", L"a/b/c"},
      {L"(a-b)-(c-1.5)", L"((a-b)-(c-1.5))", L"a-b-(c-1.5)"},
      {L"a^b^c", L"(a^(b^c))", L"a^b^c"},
      {L"-a^2", L"(-(a^2))", L"-a^2"},
      {L"(-a)^(+2)", L"((-a)^2)", L"(-a)^2"},
      {L"V^(-1)*s", L"((V^(-1))*s)", L"V^-1*s"}};
  for (const auto& [text, tree, infix] : cases) {
    const CArithExpression expression(text);
    ASSERT_TRUE(expression.valid()) << expression.reason().ToUtf8();
    EXPECT_EQ(Enclosed(expression.tree(), expression.tree().Root()), tree);
    EXPECT_EQ(expression.tree().Infix(), infix);
  }
}

std::wstring RandomText(std::mt19937& random, int depth) {
  const unsigned pick = random() % 8;
  if (depth == 0 || pick == 7) return std::wstring(1, static_cast<wchar_t>(L'a' + random() % 5));
  if (pick == 6) return L"(-" + RandomText(random, depth - 1) + L")";
  return L"(" + RandomText(random, depth - 1) + L"+-*/^^"[pick] + RandomText(random, depth - 1) + L")";
}

TEST(CArithExpression, InfixReadsBackAsTheSameTree) {
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    const std::wstring text = RandomText(random, 4);
    const CArithExpression first(text);
    ASSERT_TRUE(first.valid());
    ASSERT_EQ(Enclosed(first.tree(), first.tree().Root()), text);
    const CArithExpression second(first.tree().Infix().view());
    ASSERT_TRUE(second.valid());
    ASSERT_EQ(Enclosed(second.tree(), second.tree().Root()), text);
  }
}

TEST(CArithExpression, IsBoundedInTokensAndNotInText) {
  for (const std::wstring& text : {std::wstring(100000, L'('), std::wstring(256, L'-') + L'a'}) {
    const CArithExpression expression(text);
    EXPECT_ALL(!expression.valid(), expression.tree().empty(),
               expression.reason() == L"more than 256 names, numbers and operators");
  }
  EXPECT_TRUE(CArithExpression(std::wstring(255, L'-') + std::wstring(100000, L'a')).valid());
}

}  // namespace
