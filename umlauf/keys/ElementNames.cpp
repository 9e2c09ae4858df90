#include "umlauf/keys/ElementNames.h"

#include <array>

#include "umlauf/platform/memory/Immortal.h"
#include "umlauf/resources/LibraryTexts.h"

namespace Clavis {
namespace {

struct Names {
  std::array<CString, kindCount> singular;
  std::array<CString, kindCount> plural;
  CString all;

  Names() { Load(); }
  void Load() {
    umlauf::LibraryTexts(TextId::elementFirst, singular);
    umlauf::LibraryTexts(TextId::elementPluralFirst, plural);
    all = umlauf::LibraryText(TextId::all);
  }
};

Names& TheNames() {
  static umlauf::Immortal<Names> names;
  return names.object;
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
