#include "umlauf/pairs/internal/PointOrder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace umlauf::pairs {

namespace {

/// Counts per index with prefix sums in O(log n) (a binary indexed tree).
class Counts {
 public:
  explicit Counts(std::uint32_t* tree) : tree_(tree) {}
  void ClearTo0(std::size_t n) {
    n_ = n;
    std::fill_n(tree_, n + 1, 0u);
  }
  void SetTo1(std::size_t n) {
    n_ = n;
    for (std::size_t i = 1; i <= n; ++i) tree_[i] = static_cast<std::uint32_t>(i & (~i + 1));
  }
  void Increment(std::size_t i) {
    for (++i; i <= n_; i += i & (~i + 1)) ++tree_[i];
  }
  /// Sum of the counts below index i.
  std::uint32_t Below(std::size_t i) const {
    std::uint32_t sum = 0;
    for (; i != 0; i &= i - 1) sum += tree_[i];
    return sum;
  }
  /// Index of the count that holds unit number k (from 0), which is taken away.
  std::size_t Take(std::size_t k) {
    std::size_t i = 0;
    for (std::size_t step = std::bit_floor(n_); step != 0; step >>= 1) {
      if (i + step > n_) continue;
      if (tree_[i + step] <= k) {
        i += step;
        k -= tree_[i];
      } else {
        --tree_[i + step];
      }
    }
    return i;
  }

 private:
  std::uint32_t* tree_;
  std::size_t n_ = 0;
};

/// The order in which the exchange sort leaves points of equal x. Each point that is inserted in front of a
/// run of equal x rotates the run left by one place; a point of the run itself goes to its end. What is
/// needed of the past is therefore how many smaller points came before each point of the run.
class TieOrder {
 public:
  bool Prepare(const CAlignedMem<OrderKey>& keys) {
    const std::size_t n = keys.size();
    if (!start_.alloc(n) || !smaller_.alloc(n) || !tree_.alloc(n + 1)) return false;
    for (std::size_t i = 0, start = 0; i < n; ++i) {
      if (i != 0 && !SameX(keys[i - 1], keys[i])) start = i;
      start_[IndexOf(keys[i])] = static_cast<std::uint32_t>(start);
    }
    Counts inserted(tree_.data());
    inserted.ClearTo0(n);
    for (std::size_t i = 0; i < n; ++i) {
      smaller_[i] = inserted.Below(start_[i]);
      inserted.Increment(start_[i]);
    }
    return true;
  }

  /// Re-orders the keys of one run, which begins at index `start` of all sorted keys: undoes rotations and
  /// insertions from the last to the first, each time fixing the place of the point that came last.
  void Arrange(OrderKey* run, std::size_t length, std::size_t start, OrderKey* scratch) {
    std::copy_n(run, length, scratch);
    Counts open(tree_.data());
    open.SetTo1(length);
    std::size_t smaller = start;  // in the end all smaller points are there
    std::size_t head = 0;         // place of the run's first point among the open places
    for (std::size_t left = length; left != 0; --left) {
      const OrderKey last = scratch[left - 1];
      const std::size_t rotated = (smaller - smaller_[IndexOf(last)]) % left;
      head = (head + left - rotated) % left;
      const std::size_t place = (head + left - 1) % left;
      run[open.Take(place)] = last;
      if (place < head) --head;
      smaller = smaller_[IndexOf(last)];
    }
  }

 private:
  CAlignedMem<std::uint32_t> start_;    // by index of the point: where its run begins
  CAlignedMem<std::uint32_t> smaller_;  // by index of the point: smaller points before it
  CAlignedMem<std::uint32_t> tree_;
};

bool OrderTies(CAlignedMem<OrderKey>& keys) {
  const OrderKey* const end = keys.end();
  if (std::adjacent_find(keys.begin(), keys.end(), SameX) == keys.end()) return true;
  TieOrder ties;
  CAlignedMem<OrderKey> scratch;
  if (!ties.Prepare(keys) || !scratch.alloc(keys.size())) return false;
  for (OrderKey* run = keys.begin(); run != end;) {
    OrderKey* const next =
        std::find_if_not(run + 1, keys.end(), [run](OrderKey k) { return SameX(*run, k); });
    if (next - run > 1) {
      ties.Arrange(run, static_cast<std::size_t>(next - run), static_cast<std::size_t>(run - keys.begin()),
                   scratch.data());
    }
    run = next;
  }
  return true;
}

bool HasNumber(const SPunkt& point) { return !std::isnan(point.x); }

bool SortQuickly(SPunkt* points, std::size_t n) {
  CAlignedMem<OrderKey> keys;
  if (!SortedKeys(points, n, HasNumber, keys)) return false;
  // The ranks of the points whose x is a number; the others never move and no number passes them.
  CAlignedMem<SPunkt> before;
  if (!before.alloc(keys.size())) return false;
  std::copy_if(points, points + n, before.begin(), HasNumber);
  if (before.size() != n && !SortedKeys(before.data(), before.size(), HasNumber, keys)) return false;
  if (!OrderTies(keys)) return false;
  const OrderKey* key = keys.begin();
  for (SPunkt* p = points; p != points + n; ++p) {
    if (HasNumber(*p)) *p = before[IndexOf(*key++)];
  }
  return true;
}

}  // namespace

bool SortedKeys(const SPunkt* points, std::size_t n, bool (*use)(const SPunkt&),
                CAlignedMem<OrderKey>& keys) {
  if (n > std::numeric_limits<std::uint32_t>::max()) return false;
  if (!keys.alloc(static_cast<std::size_t>(std::count_if(points, points + n, use)))) return false;
  OrderKey* out = keys.begin();
  for (std::size_t i = 0; i < n; ++i) {
    if (use(points[i])) *out++ = KeyOf(points[i].x, i);
  }
  if (!std::is_sorted(keys.begin(), keys.end())) std::sort(keys.begin(), keys.end());
  return true;
}

void SortAsExchanging(SPunkt* points, std::size_t n) {
  if (SortQuickly(points, n)) return;
  for (std::size_t i = 1; i < n; ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (points[j].x > points[i].x) std::swap(points[j], points[i]);
    }
  }
}

}  // namespace umlauf::pairs
