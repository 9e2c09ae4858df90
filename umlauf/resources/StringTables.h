#pragma once

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CLibMgr.h"

namespace umlauf {

/// The string tables of this library in its 13 languages; English is the fallback. Lasts as long as the
/// program.
UMLAUF_API const CResourceModule& LibraryResources();

}  // namespace umlauf
