#pragma once

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/framework/Types.h"

/// Names of test results, test kinds and test property bits as shown to people, in the language in use
/// (CLibMgr). They are loaded from the string table at the first use. The texts returned are the same objects
/// for the life of the process; `ReloadElementNames` changes what they hold. Every function takes any number:
/// below 0 gives the title of the table, beyond its end an empty text.
namespace TramonStrings {

/// 0 not OK, 1 OK, 2 not evaluated, 3 system error.
/// Intended: 4 gives the name of test kind 0, "Not set".
UMLAUF_API const CString& ResultName(int result);

/// 0 not set, 1 series, 2 reference, 3 special, 4 test, 5 averaged measurement, 6 recoded, 7 wave playback,
/// 8 archive re-evaluation, 9 extension data, 10 evaluation.
UMLAUF_API const CString& MessArtName(int kind);

/// Name of property bit 0-31; bits 11-30 have none.
UMLAUF_API const CString& TestPropBitName(int bit);

/// Symbol of property bit 0-31, the same in every language; U+30A6 for every other number:
///
/// | bit | symbol | property         | bit | symbol | property              |
/// |-----|--------|------------------|-----|--------|-----------------------|
/// | 0   | L      | legacy bit       | 7   | C      | recoded               |
/// | 1   | R      | repair           | 8   | E      | external entry        |
/// | 2   | B      | returned (back)  | 9   | A      | archive re-evaluation |
/// | 3   | W      | wave playback    | 10  | X      | extension data        |
/// | 4   | !      | OK with warnings | 11- | a to t | no name, bit 11 is a, |
/// | 5   | +      | external OK      | -30 |        | bit 30 is t           |
/// | 6   | -      | external n.OK    | 31  | Z      | Zel42 measurement     |
UMLAUF_API wchar_t TestPropBitChar(int bit);

/// The symbols of the bits that are set, by ascending bit, without separator: "RW!" for 0x1A.
UMLAUF_API CString TestPropsSymbolForm(ULONG bits);

/// Loads these names and those of the element kinds again after a change of language. Not synchronised with
/// those who read them meanwhile.
UMLAUF_API void ReloadElementNames();

}  // namespace TramonStrings
