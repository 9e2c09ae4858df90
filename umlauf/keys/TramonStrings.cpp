#include "umlauf/keys/TramonStrings.h"

#include <array>

#include "umlauf/keys/ElementNames.h"
#include "umlauf/platform/memory/Immortal.h"
#include "umlauf/resources/LibraryTexts.h"

namespace TramonStrings {
namespace {

constexpr int kPropertyBits = 32;
constexpr wchar_t kNoSymbol = L'\u30A6';
constexpr std::wstring_view kSymbols =
    L"LRB"
    L"W!+-"
    L"CEAX"
    L"abcdefghijklmnopqrst"
    L"Z";
static_assert(kSymbols.size() == kPropertyBits);

/// One table: its title, and the names from index 0 on.
template <std::size_t N>
struct Table {
  CString title;
  std::array<CString, N> names;

  void Load(TextId titleId, TextId first) {
    title = umlauf::LibraryText(titleId);
    umlauf::LibraryTexts(first, names);
  }
  const CString& Name(int index) const {
    static const CString none;
    if (index < 0) return title;
    return static_cast<std::size_t>(index) < N ? names[static_cast<std::size_t>(index)] : none;
  }
};

struct Names {
  Table<4> results;
  Table<11> kinds;
  Table<kPropertyBits> properties;

  Names() { Load(); }
  void Load() {
    results.Load(TextId::resultTitle, TextId::resultFirst);
    kinds.Load(TextId::testKindTitle, TextId::testKindFirst);
    properties.Load(TextId::testPropertyTitle, TextId::testPropertyFirst);
  }
};

Names& TheNames() {
  static umlauf::Immortal<Names> names;
  return names.object;
}

}  // namespace

const CString& ResultName(int result) {
  return result == 4 ? MessArtName(0) : TheNames().results.Name(result);
}

const CString& MessArtName(int kind) { return TheNames().kinds.Name(kind); }

const CString& TestPropBitName(int bit) { return TheNames().properties.Name(bit); }

wchar_t TestPropBitChar(int bit) {
  return bit >= 0 && bit < kPropertyBits ? kSymbols[static_cast<std::size_t>(bit)] : kNoSymbol;
}

CString TestPropsSymbolForm(ULONG bits) {
  CString symbols;
  for (int bit = 0; bit < kPropertyBits; ++bit) {
    if ((bits >> bit & 1u) != 0) symbols += TestPropBitChar(bit);
  }
  return symbols;
}

void ReloadElementNames() {
  Clavis::ReloadElementNames();
  TheNames().Load();
}

}  // namespace TramonStrings
