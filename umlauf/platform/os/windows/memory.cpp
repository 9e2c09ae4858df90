#include "umlauf/platform/os/LargeMemory.h"

namespace umlauf::os {

// Large pages need a privilege here that users do not have.
void* AllocateLarge(std::size_t bytes) { return ::operator new(bytes); }

void FreeLarge(void* block, std::size_t) noexcept { ::operator delete(block); }

}  // namespace umlauf::os
