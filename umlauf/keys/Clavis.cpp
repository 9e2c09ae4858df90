#include "umlauf/keys/Clavis.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <istream>
#include <optional>
#include <ostream>
#include <string_view>

#include "umlauf/platform/tramsea/CResourceSea.h"
#include "umlauf/platform/tramsea/CSeaBase.h"

std::strong_ordering operator<=>(const SClavis& a, const SClavis& b) {
  return std::lexicographical_compare_three_way(std::begin(a.field), std::end(a.field), std::begin(b.field),
                                                std::end(b.field));
}

CClavis::CClavis(const CClavisPODOwnerInterface& key) : SClavis(key.pod()) {}

CClavis& CClavis::operator+=(const SClavis& other) {
  for (int i = 0; i < Clavis::fieldCount; ++i) {
    if (field[i] == Clavis::notSet) field[i] = other.field[i];
  }
  return *this;
}

bool CClavis::ReadSea(const CString& path) {
  // One look-up for all fields: another process that writes the entry meanwhile cannot mix two keys.
  std::array<std::optional<int>, Clavis::fieldCount> values;
  if (!CSeaBase::ApplicationSea().LookupInts(path, 0, values)) return false;
  for (std::size_t i = 0; i < values.size(); ++i) field[i] = values[i].value_or(field[i]);
  return true;
}

bool CClavis::WriteSea(const CString& path) const {
  return CSeaBase::ApplicationSea().LookupSetInts(path, 0, field);
}

bool CClavis::SeaLookup(int index, const CString& path, const CResourceSea& sea) {
  return index >= 0 && index < Clavis::fieldCount && sea.LookupGetInt(path, index, field[index]);
}

void CClavisPODOwnerInterface::_construct(bool keep) {
  if (!keep) Clavis::SClavisClear(pod());
}

namespace Clavis {
namespace {

/// Longest decimal 32-bit integer: sign and ten digits.
constexpr std::size_t kMaxDigits = 11;

template <class Char>
std::basic_ostream<Char>& Write(std::basic_ostream<Char>& out, const SClavis& key) {
  std::array<char, fieldCount*(kMaxDigits + 1)> text;
  char* end = text.data();
  for (const int value : key.field) {
    if (end != text.data()) *end++ = ' ';
    end = std::to_chars(end, text.data() + text.size(), value).ptr;
  }
  std::array<Char, text.size()> wide{};
  const Char* const wideEnd = std::copy(text.data(), end, wide.data());
  return out << std::basic_string_view<Char>(wide.data(), static_cast<std::size_t>(wideEnd - wide.data()));
}

/// The next integer of the stream; false, and the stream fails, when there is none that fits.
template <class Char>
bool ReadInteger(std::basic_istream<Char>& in, int& value) {
  using Traits = typename std::basic_istream<Char>::traits_type;
  const typename std::basic_istream<Char>::sentry skipWhiteSpace(in);
  if (!skipWhiteSpace) return false;
  const auto nextIs = [&in](char c) { return Traits::eq_int_type(in.peek(), Traits::to_int_type(Char(c))); };
  const bool negative = nextIs('-');
  if (negative || nextIs('+')) in.get();

  constexpr std::int64_t limit = std::int64_t{1} << 31;
  std::int64_t magnitude = 0;
  bool any = false;
  for (auto next = in.peek(); next >= Char('0') && next <= Char('9'); next = in.peek()) {
    in.get();
    any = true;
    if (magnitude <= limit) magnitude = magnitude * 10 + static_cast<std::int64_t>(next - Char('0'));
  }
  if (!any || magnitude > limit || (magnitude == limit && !negative)) {
    in.setstate(std::ios_base::failbit);
    return false;
  }
  value = static_cast<int>(negative ? -magnitude : magnitude);
  return true;
}

template <class Char>
std::basic_istream<Char>& Read(std::basic_istream<Char>& in, SClavis& key) {
  SClavis read;
  for (int& value : read.field) {
    if (!ReadInteger(in, value)) return in;
  }
  key = read;
  return in;
}

}  // namespace

void SClavisClear(SClavis& key) { std::fill(std::begin(key.field), std::end(key.field), notSet); }

std::ostream& operator<<(std::ostream& out, const SClavis& key) { return Write(out, key); }
std::wostream& operator<<(std::wostream& out, const SClavis& key) { return Write(out, key); }
std::istream& operator>>(std::istream& in, SClavis& key) { return Read(in, key); }
std::wistream& operator>>(std::wistream& in, SClavis& key) { return Read(in, key); }

}  // namespace Clavis
