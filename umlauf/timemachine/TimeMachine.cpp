#include "umlauf/timemachine/TimeMachine.h"

#include <limits>

#include "umlauf/platform/os/os.h"
#include "umlauf/timemachine/internal/WrappingCount.h"

namespace KxTimeMachine {
namespace {

constexpr int kSettlingPasses = 10;

/// Counts that the master may advance during one pass that still counts as settled.
std::int64_t SettlingThreshold(int shift) {
  if (shift < 1) return 2;
  return shift > 61 ? std::numeric_limits<std::int64_t>::max() : std::int64_t{2} << shift;
}

}  // namespace

CTimeMachine::CTimeMachine(CTimeMachine&& other) noexcept : resolution_(other.resolution_) {
  *this = std::move(other);
}

CTimeMachine& CTimeMachine::operator=(CTimeMachine&& other) noexcept {
  if (this == &other) return *this;
  items_ = std::move(other.items_);
  masterIndex_ = other.masterIndex_;
  adjustPending_ = other.adjustPending_;
  resolution_ = other.resolution_;
  other.clear();
  return *this;
}

std::int64_t CTimeMachine::add(const CCapsuleItem& item) {
  const CCapsuleItem added = item;  // it may be one of the list
  const auto index = static_cast<std::int64_t>(items_.size());
  if (!umlauf::HadMemory([&] { items_.push_back(added); })) return -1;
  if (added.master) {
    // After `erase` the master index may be that of the new item.
    if (masterIndex_ != index && get(masterIndex_) != nullptr) get(masterIndex_)->master = false;
    masterIndex_ = index;
  }
  adjustPending_ = true;
  return index;
}

CTimeMachine::iterator CTimeMachine::erase(std::int64_t index) {
  if (get(index) == nullptr) return items_.end();
  adjustPending_ = true;
  return items_.erase(items_.begin() + index);
}

CTimeMachine::CCapsuleItem* CTimeMachine::get(std::int64_t index) {
  return index >= 0 && index < static_cast<std::int64_t>(items_.size())
             ? &items_[static_cast<std::size_t>(index)]
             : nullptr;
}

const CTimeMachine::CCapsuleItem* CTimeMachine::get(std::int64_t index) const {
  return const_cast<CTimeMachine*>(this)->get(index);
}

void CTimeMachine::clear() {
  items_.clear();
  masterIndex_ = -1;
  adjustPending_ = true;
}

CTimeCapsule* CTimeMachine::Master() const {
  const CCapsuleItem* item = get(masterIndex_);
  return item != nullptr ? item->capsule : nullptr;
}

std::int64_t CTimeMachine::get_time() const {
  const CTimeCapsule* master = Master();
  return master != nullptr ? master->Time() : -1;
}

void CTimeMachine::poll() {
  for (const CCapsuleItem& item : items_) {
    if (item.capsule != nullptr && item.capsule->source) item.capsule->Update();
  }
  for (const CCapsuleItem& item : items_) {
    if (item.capsule != nullptr && !item.capsule->source) item.capsule->Update();
  }
}

bool CTimeMachine::capsule_set() {
  CTimeCapsule* master = Master();
  if (!adjustPending_ || master == nullptr) return !adjustPending_;

  std::int64_t first = 0;
  std::int64_t beforeLastPoll = 0;
  {
    const umlauf::os::TimeCriticalPriority timeCritical;
    const std::int64_t threshold = SettlingThreshold(master->shift);
    master->Update();
    first = master->Time();
    for (int pass = 0; pass < kSettlingPasses; ++pass) {
      beforeLastPoll = master->Time();
      poll();
      master->Update();
      adjustPending_ = WrappingDifference(master->Time(), beforeLastPoll) > threshold;
      if (!adjustPending_) break;
    }
  }
  if (adjustPending_) return false;

  for (const CCapsuleItem& item : items_) {
    if (item.master || item.capsule == nullptr) continue;
    CTimeCapsule& capsule = *item.capsule;
    const std::int64_t reference = capsule.source ? beforeLastPoll : first;
    const std::int64_t unaligned =
        WrappingSum(WrappingSum(capsule.extended_count, capsule.base_offset), capsule.adjustment);
    capsule.Align(WrappingSum(WrappingDifference(reference, unaligned), master->zero_point));
  }
  return true;
}

void CTimeMachine::reset_adj() {
  for (const CCapsuleItem& item : items_) {
    if (item.capsule != nullptr) item.capsule->ResetAdjustment();
  }
  adjustPending_ = true;
}

}  // namespace KxTimeMachine
