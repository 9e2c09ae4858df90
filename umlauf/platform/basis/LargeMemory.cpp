#include "umlauf/platform/basis/LargeMemory.h"

#include <algorithm>
#include <array>
#include <bit>
#include <mutex>
#include <utility>

#include "umlauf/platform/os/os.h"

namespace umlauf {
namespace {

/// A large page is cleared as a whole, so that a block of few of them can lose by what its end leaves unused.
constexpr std::size_t kLarge = 2 * os::kLargePage;

constexpr std::size_t leastSpare = std::size_t{1} << 16, mostSpare = std::size_t{1} << 23;
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t allSpare = 0;  // each use of a block that was freed is to be seen
#else
constexpr std::size_t allSpare = std::size_t{1} << 24;
#endif

/// Blocks of about the same size have the same, so that one can take the place of another one: four sizes in
/// an octave.
std::size_t Rounded(std::size_t bytes) {
  if (bytes < leastSpare || bytes > mostSpare) return bytes;
  const std::size_t step = std::bit_floor(bytes) / 4;
  return (bytes + step - 1) / step * step;
}

void* New(std::size_t bytes) {
  if (bytes < kLarge) return ::operator new(bytes);
  void* const block = ::operator new (bytes, std::align_val_t{os::kLargePage});
  os::WantLargePages(block, bytes);
  return block;
}

void Delete(void* block, std::size_t bytes) noexcept {
  if (bytes < kLarge) {
    ::operator delete(block);
  } else {
    ::operator delete (block, std::align_val_t{os::kLargePage});
  }
}

/// Blocks that were freed, for the next ones of their size. Who meets another thread in here goes without:
/// waiting would cost more, and for ever in a process that was forked meanwhile.
class Spare {
 public:
  void* Take(std::size_t bytes) {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return nullptr;
    for (std::size_t i = count_; i-- > 0;) {
      if (blocks_[i].second == bytes) return Remove(i);
    }
    return nullptr;
  }
  bool Give(void* block, std::size_t bytes) {
    if (bytes > allSpare) return false;
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return false;
    while (count_ == blocks_.size() || kept_ + bytes > allSpare) {
      const std::size_t oldest = blocks_[0].second;
      Delete(Remove(0), oldest);
    }
    blocks_[count_++] = {block, bytes};
    kept_ += bytes;
    return true;
  }

 private:
  void* Remove(std::size_t i) {
    void* const block = blocks_[i].first;
    kept_ -= blocks_[i].second;
    std::move(blocks_.begin() + i + 1, blocks_.begin() + count_, blocks_.begin() + i);
    --count_;
    return block;
  }

  std::mutex mutex_;
  std::array<std::pair<void*, std::size_t>, 64> blocks_{};  ///< the oldest first
  std::size_t count_ = 0, kept_ = 0;
};

Spare& Spares() {
  // Never destroyed: others may be freed after it would have been.
  static union Kept {
    Kept() : spare() {}
    ~Kept() {}
    Spare spare;
  } kept;
  return kept.spare;
}

}  // namespace

void* AllocateLarge(std::size_t bytes) {
  bytes = Rounded(bytes);
  if (bytes >= leastSpare && bytes <= mostSpare) {
    if (void* const block = Spares().Take(bytes)) return block;
  }
  return New(bytes);
}

void FreeLarge(void* block, std::size_t bytes) noexcept {
  bytes = Rounded(bytes);
  if (bytes >= leastSpare && bytes <= mostSpare && Spares().Give(block, bytes)) return;
  Delete(block, bytes);
}

}  // namespace umlauf
