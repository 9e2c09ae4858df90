#include "umlauf/pairs/internal/PointOrder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace umlauf::pairs {

namespace {

/// Counts entries per index. A binary tree whose nodes hold how many entries went to the left: the way down
/// to an index depends on nothing that was counted, so that processors walk several at a time.
class CountsBelow {
 public:
  /// For n >= 1 indices; `left` has as many elements, rounded up to a power of two.
  CountsBelow(std::uint32_t* left, std::size_t n) : left_(left), leaves_(std::bit_ceil(n)) {
    std::fill_n(left, leaves_, 0u);
  }
  /// Enters an index and returns how many lower ones were entered before.
  std::uint32_t Enter(std::size_t index) {
    std::uint32_t below = 0;
    for (std::size_t node = index + leaves_; node > 1; node >>= 1) {
      const auto isRight = static_cast<std::uint32_t>(node & 1);
      std::uint32_t& left = left_[node >> 1];
      below += left & (0u - isRight);
      left += 1u - isRight;
    }
    return below;
  }

 private:
  std::uint32_t* left_;
  std::size_t leaves_;
};

/// Places that are still open, of which the k-th can be taken: in O(log n) by a binary indexed tree; as a
/// list of four bits each in one integer where they are few.
class OpenPlaces {
 public:
  /// `tree` has n + 1 elements.
  OpenPlaces(std::uint32_t* tree, std::size_t n) : tree_(tree), n_(n) {
    if (n_ <= kFew) return;
    for (std::size_t i = 1; i <= n; ++i) tree_[i] = static_cast<std::uint32_t>(i & (~i + 1));
  }
  std::size_t Take(std::size_t k) { return n_ <= kFew ? TakeOfFew(k) : TakeOfMany(k); }

 private:
  static constexpr std::size_t kFew = 16;

  std::size_t TakeOfFew(std::size_t k) {
    const std::uint64_t before = (std::uint64_t{1} << (4 * k)) - 1;
    const std::size_t place = list_ >> (4 * k) & 0xFu;
    list_ = (list_ & before) | (list_ >> 4 & ~before);
    return place;
  }
  std::size_t TakeOfMany(std::size_t k) {
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

  std::uint32_t* tree_;
  std::size_t n_;
  std::uint64_t list_ = 0xFEDCBA9876543210;
};

/// The order in which the exchange sort leaves points of equal x. Each point that is inserted in front of a
/// run of equal x rotates the run left by one place; a point of the run itself goes to its end. What is
/// needed of the past is therefore how many smaller points came before each point of the run.
class TieOrder {
 public:
  bool Prepare(const CAlignedMem<OrderKey>& keys) {
    const std::size_t n = keys.size();
    if (!smaller_.alloc(n) || !tree_.alloc(std::bit_ceil(n) + 1)) return false;
    std::uint32_t run = 0;
    for (std::size_t i = 0; i < n; ++i) {
      if (i != 0 && !SameX(keys[i - 1], keys[i])) ++run;
      smaller_[IndexOf(keys[i])] = run;
    }
    CountsBelow inserted(tree_.data(), run + 1);  // points by the number of their run
    for (std::uint32_t& each : smaller_) each = inserted.Enter(each);
    return true;
  }

  /// Re-orders the keys of one run, which begins at index `start` of all sorted keys: undoes rotations and
  /// insertions from the last to the first, each time fixing the place of the point that came last.
  void Arrange(OrderKey* run, std::size_t length, std::size_t start, OrderKey* scratch) {
    std::copy_n(run, length, scratch);
    OpenPlaces open(tree_.data(), length);
    auto smaller = static_cast<std::uint32_t>(start);  // in the end all smaller points are there
    std::uint32_t head = 0;                            // place of the run's first point among the open places
    for (auto left = static_cast<std::uint32_t>(length); left != 0; --left) {
      const OrderKey last = scratch[left - 1];
      const std::uint32_t before = smaller_[IndexOf(last)];
      const std::uint32_t rotated = (smaller - before) % left;
      head += head < rotated ? left - rotated : 0 - rotated;
      const std::uint32_t place = head == 0 ? left - 1 : head - 1;
      run[open.Take(place)] = last;
      if (place < head) --head;
      smaller = before;
    }
  }

 private:
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

/// Sorts keys that are in the order of their indices by their x, digit by digit from the lowest on. The
/// digits are short where the keys are few, so that counting does not take longer than sorting.
template <unsigned kDigitBits>
void SortByDigits(OrderKey* keys, OrderKey* scratch, std::size_t n) {
  constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;
  constexpr unsigned kPasses = (32 + kDigitBits - 1) / kDigitBits;
  const auto digit = [](OrderKey key, unsigned pass) {
    return static_cast<std::size_t>(key >> (32 + pass * kDigitBits)) % kDigits;
  };
  std::array<std::array<std::uint32_t, kDigits>, kPasses> places{};  // first counts, then where the next goes
  for (std::size_t i = 0; i < n; ++i) {
    for (unsigned pass = 0; pass < kPasses; ++pass) ++places[pass][digit(keys[i], pass)];
  }
  OrderKey *from = keys, *to = scratch;
  for (unsigned pass = 0; pass < kPasses; ++pass) {
    std::array<std::uint32_t, kDigits>& place = places[pass];
    if (place[digit(from[0], pass)] == n) continue;  // all have the same
    std::exclusive_scan(place.begin(), place.end(), place.begin(), std::uint32_t{0});
    for (std::size_t i = 0; i < n; ++i) to[place[digit(from[i], pass)]++] = from[i];
    std::swap(from, to);
  }
  if (from != keys) std::copy_n(from, n, keys);
}

void SortKeys(CAlignedMem<OrderKey>& keys) {
  constexpr std::size_t few = 64, many = 16384;
  const std::size_t n = keys.size();
  CAlignedMem<OrderKey> scratch;
  if (n < few || !scratch.alloc(n)) return std::sort(keys.begin(), keys.end());
  n < many ? SortByDigits<8>(keys.data(), scratch.data(), n)
           : SortByDigits<11>(keys.data(), scratch.data(), n);
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
  if (!std::is_sorted(keys.begin(), keys.end())) SortKeys(keys);
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
