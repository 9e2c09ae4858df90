#include "umlauf/platform/os/os.h"

namespace umlauf::os {

// Large pages need a privilege here that users do not have.
void WantLargePages(void*, std::size_t) {}

}  // namespace umlauf::os
