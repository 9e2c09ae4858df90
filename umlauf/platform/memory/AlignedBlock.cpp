#include "umlauf/platform/memory/AlignedBlock.h"

#include <limits>
#include <new>

#include "umlauf/platform/os/os.h"

namespace umlauf {

void* AlignedAlloc(std::size_t bytes) noexcept {
  // The run-time library rounds up to the alignment, which must not overflow.
  constexpr auto most =
      static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) - kSampleAlignment;
  if (bytes > most) return nullptr;
  void* const block = ::operator new (bytes, std::align_val_t{kSampleAlignment}, std::nothrow);
  if (block != nullptr && bytes >= 2 * os::kLargePage) os::WantLargePages(block, bytes);
  return block;
}

void AlignedFree(void* block) noexcept { ::operator delete (block, std::align_val_t{kSampleAlignment}); }

}  // namespace umlauf
