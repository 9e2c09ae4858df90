// Keys as text, and filters and sets made of them.

#include <sstream>
#include <string>

#include "fuzz/support/Fuzz.h"
#include "umlauf/keys/ClavisFilter.h"
#include "umlauf/keys/ClavisSet.h"
#include "umlauf/keys/MaskedClavis.h"

namespace umlauf::fuzz {
namespace {

void Combine(const CClavis& a, const CClavis& b, std::uint8_t bits) {
  CClavisFilter filter(bits % 4 - 1, (bits & 4) != 0);
  Require(filter.FilterMatch(a) || !(filter.Mode() != -1 && a.Mode() == filter.Mode()),
          "an empty list passes a key of its test step");
  filter.append(a, (bits & 8) != 0);
  filter.append(b, (bits & 16) != 0);
  filter.FilterMatch(b);
  CClavisSet one, both;
  one.insert(a.Field(), true);
  both = one;
  both.insert(b.Field(), true);
  Require(CClavisSet::CheckForCompleteness(both, one) && (both && a.Field()),
          "a set holds what was inserted");
  one &= both;
  Require(CClavisSet::CheckForCompleteness(both, one), "the common part lies in both sets");
  const CMaskedClavis x(a, bits % 64), y(b, bits % 64);
  Require((x < y) + (y < x) + (x == y) == 1, "masked keys have one order");
}

template <class Char>
void ReadKeys(const std::basic_string<Char>& text, std::uint8_t bits) {
  std::basic_istringstream<Char> in(text);
  CClavis key, before;
  for (; in >> key; before = key) {
    std::basic_ostringstream<Char> out;
    out << key;
    std::basic_istringstream<Char> again(out.str());
    CClavis back;
    Require(static_cast<bool>(again >> back) && back == key, "a written key is the one that comes back");
    Combine(key, before, bits);
  }
  Require(key == before, "text that is no key leaves the key");
}

}  // namespace

// A byte for masks and modes, then the text.
void FuzzOne(Input input) {
  const std::uint8_t bits = input.Byte();
  ReadKeys(std::string(input.Text()), bits);
  ReadKeys(std::wstring(CString::FromUtf8(input.Text()).view()), bits);
}

}  // namespace umlauf::fuzz
