#include "umlauf/platform/basis/CArithExpression.h"

#include <algorithm>

#include "umlauf/platform/memory/WithoutMemory.h"

namespace {

using Kind = CExpression::Kind;
using Node = CExpression::Node;

constexpr std::wstring_view kBlanks = L" \t\n\v\f\r";
constexpr std::wstring_view kSymbols = L"+-*/^()";
constexpr std::wstring_view kOperandEnds = L"+-*/^() \t\n\v\f\r";

bool Contains(std::wstring_view set, wchar_t c) { return set.find(c) != std::wstring_view::npos; }

bool IsNumber(std::wstring_view text) {
  const auto points = std::count(text.begin(), text.end(), L'.');
  const auto digits =
      std::count_if(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
  return points <= 1 && digits >= 1 && static_cast<std::size_t>(points + digits) == text.size();
}

}  // namespace

/// Recursive descent, one function for each rule of the grammar. After an error the input is at its end, so
/// that every rule returns; what it returns then is not used.
class CArithExpression::Parser {
 public:
  Parser(CExpression& tree, CString& reason) : tree_(tree), text_(tree.text_), reason_(reason) {
    tree_.entries_.reserve(std::min(text_.size(), kMaxTokens));
  }

  bool Run() {
    Next();
    if (type_ == kEnd) Fail(L"the expression is empty");
    tree_.root_ = Sum();
    if (type_ == L')') Fail(L"no opening parenthesis for \")\"");
    if (type_ != kEnd) Fail(L"an operator is missing before " + Quoted());
    return !failed_;
  }

 private:
  // Type of the token at hand: its character for operators and parentheses, else one of these.
  static constexpr wchar_t kEnd = L'\0';
  static constexpr wchar_t kOperand = L'a';

  void Next() {
    at_ = failed_ ? text_.size() : std::min(text_.find_first_not_of(kBlanks, at_ + length_), text_.size());
    length_ = 0;
    type_ = kEnd;
    if (at_ == text_.size()) return;
    if (++tokens_ > kMaxTokens) return Fail(L"more than 256 names, numbers and operators");
    const bool symbol = Contains(kSymbols, text_[at_]);
    type_ = symbol ? text_[at_] : kOperand;
    length_ = 1;
    if (!symbol) length_ = std::min(text_.find_first_of(kOperandEnds, at_), text_.size()) - at_;
  }

  bool Take(wchar_t type) {
    if (type_ != type) return false;
    Next();
    return true;
  }

  Node Sum() {
    Node left = Product();
    for (;;) {
      if (Take(L'+')) {
        left = Operator(Kind::add, left, Product());
      } else if (Take(L'-')) {
        left = Operator(Kind::subtract, left, Product());
      } else {
        return left;
      }
    }
  }

  Node Product() {
    Node left = Sign();
    for (;;) {
      if (Take(L'*')) {
        left = Operator(Kind::multiply, left, Sign());
      } else if (Take(L'/')) {
        left = Operator(Kind::divide, left, Sign());
      } else {
        return left;
      }
    }
  }

  Node Sign() {
    if (Take(L'+')) return Sign();
    if (Take(L'-')) return Operator(Kind::negate, 0, Sign());
    const Node base = Operand();
    return Take(L'^') ? Operator(Kind::power, base, Sign()) : base;
  }

  Node Operand() {
    if (Take(L'(')) {
      const Node inner = Sum();
      if (!Take(L')')) Fail(L"a closing parenthesis is missing");
      return inner;
    }
    if (type_ != kOperand) {
      Fail(L"an operand is missing " + (type_ == kEnd ? CString(L"at the end") : L"before " + Quoted()));
      return 0;
    }
    const std::wstring_view text = text_.substr(at_, length_);
    const Node node = Append({IsNumber(text) ? Kind::number : Kind::name, 0, 0, at_, length_});
    Next();
    return node;
  }

  Node Operator(Kind kind, Node left, Node right) { return Append({kind, left, right, 0, 0}); }

  Node Append(const CExpression::Entry& entry) {
    tree_.entries_.push_back(entry);
    return static_cast<Node>(tree_.entries_.size() - 1);
  }

  CString Quoted() const { return L"\"" + CString(text_.substr(at_, length_)) + L"\""; }

  /// Keeps the first reason; what follows an error is its consequence.
  void Fail(const CString& reason) {
    if (!failed_) reason_ = reason;
    failed_ = true;
    Next();
  }

  CExpression& tree_;
  const std::wstring_view text_;
  CString& reason_;
  bool failed_ = false;
  std::size_t tokens_ = 0;
  wchar_t type_ = kEnd;
  std::size_t at_ = 0;
  std::size_t length_ = 0;
};

CArithExpression::CArithExpression(std::wstring_view text) {
  const bool read = umlauf::WithMemory(false, [&] {
    tree_.text_.assign(text);
    return Parser(tree_, reason_).Run();
  });
  if (!read) tree_ = CExpression();
}
