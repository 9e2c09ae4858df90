#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/timemachine/TimeCapsule.h"

namespace KxTimeMachine {

/// Keeps several free-running counters on the time base of one of them, the master.
///
/// Capsules are not owned; each must live while it is in the list. Times are counts of the master's counter.
/// One thread uses a machine at a time; there are no locks.
class UMLAUF_API CTimeMachine {
 public:
  struct CCapsuleItem {
    CTimeCapsule* capsule = nullptr;
    bool master = false;
  };
  using iterator = std::vector<CCapsuleItem>::iterator;

  /// `resolution`: for the caller's conversion to seconds, e.g. seconds per count.
  explicit CTimeMachine(float resolution) : resolution_(resolution) {}

  CTimeMachine(const CTimeMachine&) = default;
  CTimeMachine& operator=(const CTimeMachine&) = default;
  /// Leaves the other machine as `clear` does.
  CTimeMachine(CTimeMachine&& other) noexcept;
  CTimeMachine& operator=(CTimeMachine&& other) noexcept;

  /// Appends an item (also a copy of one of the list) and returns its index; -1, and nothing changed, without
  /// memory. A master takes the mark from the
  /// one before.
  std::int64_t add(const CCapsuleItem& item);
  /// Removes an item (later ones move down) and returns the position after it; the end for an index outside
  /// the list. The master index stays as it is: add a master again when it was removed or moved.
  iterator erase(std::int64_t index);
  /// Null for an index outside the list. Valid until the list changes.
  CCapsuleItem* get(std::int64_t index);
  const CCapsuleItem* get(std::int64_t index) const;
  iterator begin() { return items_.begin(); }
  iterator end() { return items_.end(); }
  std::size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  void clear();
  float resolution() const { return resolution_; }
  /// True when the next `capsule_set` has something to align.
  bool adjust_pending() const { return adjustPending_; }

  /// The master's time at its last reading; -1 when there is no master.
  std::int64_t get_time() const;
  /// Reads every capsule: first those with a source, then those that share another one's readings.
  void poll();
  /// Aligns all other capsules to the master, with the calling thread at time-critical priority while the
  /// counters are read (where the process may have it; see umlauf::os::TimeCriticalPriority). Nothing when no
  /// alignment is pending. Returns false when ten passes did not settle: the offsets are unchanged and the
  /// next call tries again. The priority is restored in every case, also when a callback throws.
  bool capsule_set();
  /// Resets the counts and adjustments of all capsules; the next `capsule_set` aligns anew.
  void reset_adj();

 private:
  CTimeCapsule* Master() const;

  umlauf::QuietCopy<std::vector<CCapsuleItem>> items_;
  std::int64_t masterIndex_ = -1;
  bool adjustPending_ = true;
  float resolution_;
};

}  // namespace KxTimeMachine
