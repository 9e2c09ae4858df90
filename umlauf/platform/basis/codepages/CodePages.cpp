#include "umlauf/platform/basis/codepages/CodePages.h"

#include <algorithm>
#include <array>

namespace umlauf::codepages {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
/// Where the bytes of names lie that are no characters: surrogates, which no text holds alone.
constexpr char32_t kLoneByte = 0xDC00;

// Characters of 0x80 to 0x9F in code page 1252; 0 marks the bytes that have none.
constexpr std::array<char16_t, 32> kCp1252 = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                              0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                              0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                              0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

bool IsScalarValue(char32_t c) { return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF); }

/// Decodes the sequence at `at` and moves behind it; a malformed one gives U+FFFD and moves behind its valid
/// start.
char32_t DecodeUtf8(std::string_view text, std::size_t& at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at++);
  if (lead < 0x80) return lead;
  const unsigned tail = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4) return kReplacement;
  char32_t c = lead & (0x3Fu >> tail);
  for (unsigned i = 0; i < tail; ++i) {
    if (at >= text.size() || (byte(at) & 0xC0u) != 0x80) return kReplacement;
    c = (c << 6) | (byte(at++) & 0x3Fu);
  }
  constexpr std::array<char32_t, 4> kSmallest = {0, 0x80, 0x800, 0x10000};
  return c < kSmallest[tail] || !IsScalarValue(c) ? kReplacement : c;
}

void EncodeUtf8(char32_t c, std::string& out) {
  if (!IsScalarValue(c)) c = kReplacement;
  const auto put = [&out](char32_t value) { out += static_cast<char>(static_cast<unsigned char>(value)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

/// Whether wide text is UTF-16, where a character beyond 0xFFFF is a pair of surrogates.
constexpr bool kPairs = sizeof(wchar_t) == 2;

void AppendWide(char32_t c, std::wstring& wide) {
  if (kPairs && c > 0xFFFF) {
    wide += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
    c = 0xDC00 + ((c - 0x10000) & 0x3FF);
  }
  wide += static_cast<wchar_t>(c);
}

/// Takes the character at `at`, a pair as a whole, and moves behind it; a surrogate without its other half
/// comes as it is.
char32_t TakeWide(std::wstring_view wide, std::size_t& at) {
  const auto c = static_cast<char32_t>(wide[at++]);
  if (!kPairs || c < 0xD800 || c > 0xDBFF || at == wide.size()) return c;
  const auto low = static_cast<char32_t>(wide[at]);
  if (low < 0xDC00 || low > 0xDFFF) return c;
  ++at;
  return 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
}

char ToCp1252(char32_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(static_cast<unsigned char>(c));
  const auto found = std::find(kCp1252.begin(), kCp1252.end(), static_cast<char16_t>(c));
  if (c <= 0xFFFF && found != kCp1252.end()) return static_cast<char>(0x80 + (found - kCp1252.begin()));
  const bool isFreeControl = c >= 0x80 && c < 0xA0 && kCp1252[c - 0x80] == 0;
  return isFreeControl ? static_cast<char>(static_cast<unsigned char>(c)) : '?';
}

}  // namespace

std::wstring Utf8ToWide(std::string_view utf8) {
  std::wstring wide;
  wide.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) AppendWide(DecodeUtf8(utf8, at), wide);
  return wide;
}

std::string WideToUtf8(std::wstring_view wide) {
  std::string utf8;
  utf8.reserve(wide.size());
  for (std::size_t at = 0; at < wide.size();) EncodeUtf8(TakeWide(wide, at), utf8);
  return utf8;
}

std::wstring NameToWide(std::string_view name) {
  std::wstring wide;
  wide.reserve(name.size());
  for (std::size_t at = 0; at < name.size();) {
    const std::size_t first = at;
    const char32_t c = DecodeUtf8(name, at);
    if (c != kReplacement || name.substr(first, at - first) == "\xEF\xBF\xBD") {
      AppendWide(c, wide);
      continue;
    }
    for (const char byte : name.substr(first, at - first)) {
      wide += static_cast<wchar_t>(kLoneByte + static_cast<unsigned char>(byte));
    }
  }
  return wide;
}

std::string WideToName(std::wstring_view wide) {
  std::string name;
  name.reserve(wide.size());
  for (std::size_t at = 0; at < wide.size();) {
    const char32_t c = TakeWide(wide, at);
    if (c >= kLoneByte + 0x80 && c <= kLoneByte + 0xFF) {
      name += static_cast<char>(static_cast<unsigned char>(c - kLoneByte));
    } else {
      EncodeUtf8(c, name);
    }
  }
  return name;
}

std::wstring Cp1252ToWide(std::string_view ansi) {
  std::wstring wide(ansi.size(), L'\0');
  std::transform(ansi.begin(), ansi.end(), wide.begin(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    const bool mapped = byte >= 0x80 && byte < 0xA0 && kCp1252[byte - 0x80u] != 0;
    return static_cast<wchar_t>(mapped ? kCp1252[byte - 0x80u] : byte);
  });
  return wide;
}

std::string WideToCp1252(std::wstring_view wide) {
  std::string ansi;
  ansi.reserve(wide.size());
  for (std::size_t at = 0; at < wide.size();) ansi += ToCp1252(TakeWide(wide, at));
  return ansi;
}

}  // namespace umlauf::codepages
