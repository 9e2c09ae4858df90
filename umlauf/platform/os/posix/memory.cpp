#include <sys/mman.h>

#include "umlauf/platform/os/LargeMemory.h"

namespace umlauf::os {
namespace {

constexpr std::size_t kLargePage = std::size_t{1} << 21;

}  // namespace

void* AllocateLarge(std::size_t bytes) {
  if (bytes < kLargePage) return ::operator new(bytes);
  void* const block = ::operator new (bytes, std::align_val_t{kLargePage});
#ifdef MADV_HUGEPAGE
  ::madvise(block, bytes, MADV_HUGEPAGE);  // a wish; without it the pages are small
#endif
  return block;
}

void FreeLarge(void* block, std::size_t bytes) noexcept {
  bytes < kLargePage ? ::operator delete(block) : ::operator delete (block, std::align_val_t{kLargePage});
}

}  // namespace umlauf::os
