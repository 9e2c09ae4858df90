#pragma once

#include "umlauf/platform/basis/CLibMgr.h"

namespace umlauf::resources {

/// The string tables as they are embedded. Lasts as long as the program.
const CResourceModule& EmbeddedTables();

}  // namespace umlauf::resources
