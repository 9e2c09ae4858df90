#include "umlauf/platform/basis/LargeMemory.h"

#include "umlauf/platform/os/os.h"

namespace umlauf {

void* AllocateLarge(std::size_t bytes) {
  if (bytes < os::kLargePage) return ::operator new(bytes);
  void* const block = ::operator new (bytes, std::align_val_t{os::kLargePage});
  os::WantLargePages(block, bytes);
  return block;
}

void FreeLarge(void* block, std::size_t bytes) noexcept {
  if (bytes < os::kLargePage) {
    ::operator delete(block);
  } else {
    ::operator delete (block, std::align_val_t{os::kLargePage});
  }
}

}  // namespace umlauf
