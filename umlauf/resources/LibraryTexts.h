#pragma once

#include <span>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CLibMgr.h"
#include "umlauf/platform/framework/CString.h"

/// The texts of this library by their ids in the string tables (`resources/*.txt`). Names that end with
/// "First" are those of a run; the texts of a run follow each other, and its title, where it has one, stands
/// before it.
enum class TextId : unsigned {
  elementFirst = 1,         ///< kinds of key elements, singular
  elementPluralFirst = 11,  ///< the same, plural
  rpm = 20,
  revolution = 21,
  order = 22,
  all = 23,
  xRange = 30,
  yRange = 31,
  zRange = 32,
  valueRanges = 33,
  scaleFactor = 34,
  decoderFileTitle = 101,
  decoderFileFilter = 102,
  resultTitle = 199,
  resultFirst = 200,  ///< 4 results of a test
  testKindTitle = 299,
  testKindFirst = 300,  ///< 11 kinds of tests
  testPropertyTitle = 399,
  testPropertyFirst = 400  ///< the 32 properties by their bits; not all have a text
};

namespace umlauf {

/// The string tables of this library in its 13 languages; English is the fallback. Lasts as long as the
/// program.
UMLAUF_API const CResourceModule& LibraryResources();

/// Text of this library in the language in use (see CLibMgr); empty when it is not there.
UMLAUF_API CString LibraryText(TextId id);
/// Fills `texts` with the run that begins at `first`; what is not there becomes empty.
UMLAUF_API void LibraryTexts(TextId first, std::span<CString> texts);

}  // namespace umlauf
