#include <sys/mman.h>

#include <cstdint>

#include "umlauf/platform/os/os.h"

namespace umlauf::os {

void WantLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
  const std::uintptr_t end = (start + bytes) / kLargePage * kLargePage;
  if (first < end) ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#endif
}

}  // namespace umlauf::os
