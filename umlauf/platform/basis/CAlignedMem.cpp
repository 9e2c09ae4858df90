#include "umlauf/platform/basis/CAlignedMem.h"

#include <new>

namespace umlauf {

void* AlignedAlloc(std::size_t bytes) noexcept {
  return ::operator new (bytes, std::align_val_t{kSampleAlignment}, std::nothrow);
}

void AlignedFree(void* block) noexcept { ::operator delete (block, std::align_val_t{kSampleAlignment}); }

}  // namespace umlauf
