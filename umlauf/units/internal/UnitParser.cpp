#include "umlauf/units/internal/UnitParser.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <string>

#include "umlauf/platform/basis/CArithExpression.h"
#include "umlauf/units/internal/SiPrefixes.h"
#include "umlauf/units/internal/UnitStrings.h"

namespace umlauf::units {
namespace {

constexpr std::wstring_view kLineEnds = L"\n\r\u2028\u2029";

/// Takes "dB(" and ")" off a text that has both and something other than line ends between them.
bool TakeDecibel(std::wstring_view& text) {
  constexpr std::wstring_view opening = L"dB(";
  if (text.size() < opening.size() + 2 || !text.starts_with(opening) || !text.ends_with(L')')) return false;
  const std::wstring_view inner = text.substr(opening.size(), text.size() - opening.size() - 1);
  if (inner.find_first_of(kLineEnds) != std::wstring_view::npos) return false;
  text = inner;
  return true;
}

bool TakeLogarithm(std::wstring_view& text) {
  constexpr std::wstring_view opening = L"10^ ";
  if (!text.starts_with(opening)) return false;
  text.remove_prefix(opening.size());
  return true;
}

/// Exponent of a prefix letter ("u" stands for "µ"); 0 for any other.
constexpr int PrefixExponent(wchar_t letter) {
  if (letter == L'u') letter = L'µ';
  for (const SiPrefix& prefix : kSiPrefixes) {
    if (prefix.letter == letter) return prefix.exponent;
  }
  return 0;
}

constexpr bool IsOperator(wchar_t c) {
  switch (c) {
    case L'+':
    case L'-':
    case L'*':
    case L'/':
    case L'^':
    case L'(':
    case L')':
      return true;
    default:
      return false;
  }
}

/// Takes a prefix letter off a name and returns the exponent that the unit gets.
/// Intended: it is the square of the prefix's exponent ("k" gives 9, and so does "m").
std::int16_t TakePrefix(std::wstring_view& name) {
  if (name.size() < 2 || IsOperator(name[1])) return 0;
  const int exponent = PrefixExponent(name[0]);
  if (exponent != 0) name.remove_prefix(1);
  return static_cast<std::int16_t>(exponent * exponent);
}

constexpr bool EndsName(wchar_t c) {
  return IsOperator(c) || c == L'²' || c == L'³' || c == L' ' || (c >= L'\t' && c <= L'\r');
}

/// True for a text that as an expression is one name or number and nothing else.
bool IsSingleName(std::wstring_view text) {
  return !text.empty() && std::none_of(text.begin(), text.end(), EndsName);
}

std::wstring WithCarets(std::wstring_view text) {
  std::wstring out;
  out.reserve(text.size() + 2);
  for (const wchar_t c : text) {
    if (c == L'²' || c == L'³') out += L'^';
    out += c == L'²' ? L'2' : c == L'³' ? L'3' : c;
  }
  return out;
}

/// `out` has room for the text.
std::wstring_view WithSuperscripts(std::wstring_view text, wchar_t* out) {
  std::size_t n = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t next = i + 1 < text.size() ? text[i + 1] : L'\0';
    const bool superscript = text[i] == L'^' && (next == L'2' || next == L'3');
    out[n++] = !superscript ? text[i] : next == L'2' ? L'²' : L'³';
    i += superscript ? 1 : 0;
  }
  return {out, n};
}

/// Takes a power with an integer operand off the root of the tree. False when it is out of range.
bool TakePower(const CExpression& tree, CExpression::Node& root, std::int16_t& power) {
  using Limits = std::numeric_limits<std::int16_t>;
  std::int32_t value = 0;
  if (tree.KindOf(root) != CExpression::Kind::power || !tree.Integer(tree.Right(root), value)) return true;
  if (value < Limits::min() || value > Limits::max()) return false;
  power = static_cast<std::int16_t>(value);
  root = tree.Left(root);
  return true;
}

std::uint32_t Lookup(std::wstring_view name, std::optional<bool> registering) {
  return UnitStrings::Instance().Lookup(name, registering, registering ? std::optional(false) : std::nullopt);
}

/// A product of names and their whole powers, or a whole power of one in parentheses, without blanks: what
/// units usually look like. Such a text is just what its tree would write, so that it needs none.
class PlainExpression {
 public:
  static constexpr std::size_t kRoom = 64;  // characters

  /// False for all other texts, and for long ones.
  bool Read(std::wstring_view text) {
    if (!ReadWithCarets(text)) return false;
    const bool enclosed = Take(L'(');
    const std::size_t start = at_;
    int factors = 0, exponent = 1;
    bool raised = false;
    do {
      if (!ReadOperand()) return false;
      nameEnd_ = at_;
      raised = Take(L'^');
      if (raised && !ReadExponent(exponent)) return false;
      ++factors;
    } while (Take(L'*') || Take(L'/'));
    if (enclosed) {
      nameEnd_ = at_;
      if (!Take(L')') || !Take(L'^') || !ReadExponent(exponent)) return false;
    } else if (factors > 1) {
      nameEnd_ = at_;
      exponent = 1;
    } else if (!raised) {
      return false;
    }
    power_ = static_cast<std::int16_t>(exponent);
    name_ = std::wstring_view(text_.data() + start, nameEnd_ - start);
    return at_ == length_;
  }

  std::int16_t power() const { return power_; }
  /// Without the power that was taken off.
  std::wstring_view name() const { return name_; }

 private:
  bool Put(wchar_t c) {
    if (length_ == text_.size()) return false;
    text_[length_++] = c;
    return true;
  }

  bool ReadWithCarets(std::wstring_view text) {
    for (const wchar_t c : text) {
      const bool raised = c == L'²' || c == L'³';
      if (raised && !Put(L'^')) return false;
      if (!Put(raised ? c == L'²' ? L'2' : L'3' : c)) return false;
    }
    return true;
  }

  bool Take(wchar_t c) {
    if (at_ == length_ || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  bool ReadOperand() {
    const std::size_t start = at_;
    while (at_ < length_ && !EndsName(text_[at_])) ++at_;
    return at_ > start;
  }

  bool ReadExponent(int& exponent) {
    constexpr std::size_t mostDigits = 4;
    const bool negative = Take(L'-');
    const std::size_t start = at_;
    exponent = 0;
    while (at_ < length_ && text_[at_] >= L'0' && text_[at_] <= L'9' && at_ - start < mostDigits) {
      exponent = exponent * 10 + static_cast<int>(text_[at_++] - L'0');
    }
    if (negative) exponent = -exponent;
    return at_ > start && (at_ == length_ || (text_[at_] != L'^' && IsOperator(text_[at_])));
  }

  std::array<wchar_t, kRoom> text_;
  std::size_t length_ = 0, at_ = 0, nameEnd_ = 0;
  std::wstring_view name_;
  std::int16_t power_ = 1;
};

bool ParseExpression(std::wstring_view text, SMeasuringUnitPOD& unit, CString& reason,
                     std::optional<bool> registering) {
  PlainExpression plain;
  if (plain.Read(text)) {
    unit.power = plain.power();
    std::wstring_view name = plain.name();
    unit.exponent = TakePrefix(name);
    std::array<wchar_t, PlainExpression::kRoom> superscripted;
    unit.unit = Lookup(WithSuperscripts(name, superscripted.data()), registering);
    return true;
  }
  const CArithExpression expression(WithCarets(text));
  if (!expression.valid()) {
    reason = expression.reason();
    return false;
  }
  const CExpression& tree = expression.tree();
  CExpression::Node root = tree.Root();
  if (!TakePower(tree, root, unit.power)) {
    reason = L"the power is outside the range from -32768 to 32767";
    return false;
  }
  const CString rest = tree.Infix(root);
  if (rest.IsEmpty()) throw std::bad_alloc();  // every tree has a text
  std::wstring_view prefixed = rest.view();
  unit.exponent = TakePrefix(prefixed);
  std::wstring superscripted(prefixed.size(), L'\0');
  unit.unit = Lookup(WithSuperscripts(prefixed, superscripted.data()), registering);
  return true;
}

}  // namespace

bool ParseUnit(std::wstring_view text, SMeasuringUnitPOD& unit, CString& reason,
               std::optional<bool> registering) {
  unit = SMeasuringUnitPOD();
  // As expressions these would begin with the prefixes "k" and "m".
  if (text == L"km/h" || text == L"mph") {
    unit.unit = text == L"mph" ? CommonUnits::mile_per_hour : CommonUnits::kilometre_per_hour;
    return true;
  }
  if (TakeDecibel(text)) unit.flags |= CommonUnits::flag_db;
  if (TakeLogarithm(text)) unit.flags |= CommonUnits::flag_log;
  if (text != L"-" && !IsSingleName(text)) return ParseExpression(text, unit, reason, registering);
  unit.exponent = TakePrefix(text);
  unit.unit = Lookup(text, registering);
  return true;
}

}  // namespace umlauf::units
