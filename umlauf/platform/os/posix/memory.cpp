#include <sys/mman.h>

#include "umlauf/platform/os/os.h"

namespace umlauf::os {

void WantLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  ::madvise(block, bytes, MADV_HUGEPAGE);
#endif
}

}  // namespace umlauf::os
