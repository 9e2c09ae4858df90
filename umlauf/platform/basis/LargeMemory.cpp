#include "umlauf/platform/basis/LargeMemory.h"

#include "umlauf/platform/os/os.h"

namespace umlauf {
namespace {

/// A large page is cleared as a whole, so that a block of few of them can lose by what its end leaves unused.
constexpr std::size_t kLarge = 2 * os::kLargePage;

}  // namespace

void* AllocateLarge(std::size_t bytes) {
  if (bytes < kLarge) return ::operator new(bytes);
  void* const block = ::operator new (bytes, std::align_val_t{os::kLargePage});
  os::WantLargePages(block, bytes);
  return block;
}

void FreeLarge(void* block, std::size_t bytes) noexcept {
  if (bytes < kLarge) {
    ::operator delete(block);
  } else {
    ::operator delete (block, std::align_val_t{os::kLargePage});
  }
}

}  // namespace umlauf
