#include "umlauf/keys/ElementNames.h"

#include <array>

#include "umlauf/keys/internal/StringTable.h"

namespace Clavis {
namespace {

// Ids of the texts: kind 0 in the singular and in the plural, and the name for all elements.
constexpr unsigned kFirstSingular = 1;
constexpr unsigned kFirstPlural = 11;
constexpr unsigned kAll = 23;

struct Names {
  std::array<CString, kindCount> singular;
  std::array<CString, kindCount> plural;
  CString all;

  Names() { Load(); }
  void Load() {
    umlauf::LoadTexts(kFirstSingular, singular);
    umlauf::LoadTexts(kFirstPlural, plural);
    umlauf::LoadTexts(kAll, {&all, 1});
  }
};

Names& TheNames() {
  static Names names;
  return names;
}

}  // namespace

const CString& ElementName(qOrder kind, unsigned count) {
  static const CString unknown(L"?");
  if (kind >= kindCount) return unknown;
  const Names& names = TheNames();
  return count < 2 ? names.singular[kind] : names.plural[kind];
}

const CString& ModeName() { return ElementName(qMode, 1); }
const CString& InstrumentName() { return ElementName(qInstrument, 1); }
const CString& ChannelName() { return ElementName(qChannel, 1); }
const CString& LocationName() { return ElementName(qLocation, 1); }
const CString& ParameterName() { return ElementName(qInstrParam, 1); }
const CString& SensorName() { return ElementName(qSensor, 1); }
const CString& TypeName() { return ElementName(qType, 1); }
const CString& TypeNamePlural() { return ElementName(qType, 2); }
const CString& BenchName() { return ElementName(qBench, 1); }
const CString& BenchNamePlural() { return ElementName(qBench, 2); }
const CString& AllName() { return TheNames().all; }

void ReloadElementNames() { TheNames().Load(); }

}  // namespace Clavis
