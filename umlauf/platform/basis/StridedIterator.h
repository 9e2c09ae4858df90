#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

/// Walks through a block in steps of `stride` elements. Random access; iterators of the same block and stride
/// can be compared, subtracted and moved anywhere, also outside the block, and may be read where they lie
/// inside it. Valid as long as the block.
template <class T>
class CStridedIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = std::remove_const_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  CStridedIterator() = default;
  /// At element `position` of the block.
  CStridedIterator(T* block, std::uint64_t position, std::uint64_t stride)
      : block_(block), position_(position), stride_(stride) {}
  /// A const_iterator from an iterator.
  operator CStridedIterator<const T>() const { return {block_, position_, stride_}; }

  T& operator*() const { return block_[position_]; }
  T* operator->() const { return &block_[position_]; }
  T& operator[](difference_type n) const { return *(*this + n); }

  CStridedIterator& operator+=(difference_type n) {
    position_ += static_cast<std::uint64_t>(n) * stride_;
    return *this;
  }
  CStridedIterator& operator-=(difference_type n) {
    position_ -= static_cast<std::uint64_t>(n) * stride_;
    return *this;
  }
  CStridedIterator& operator++() { return *this += 1; }
  CStridedIterator& operator--() { return *this -= 1; }
  CStridedIterator operator++(int) {
    const CStridedIterator before = *this;
    *this += 1;
    return before;
  }
  CStridedIterator operator--(int) {
    const CStridedIterator before = *this;
    *this -= 1;
    return before;
  }
  friend CStridedIterator operator+(CStridedIterator it, difference_type n) { return it += n; }
  friend CStridedIterator operator+(difference_type n, CStridedIterator it) { return it += n; }
  friend CStridedIterator operator-(CStridedIterator it, difference_type n) { return it -= n; }
  /// Steps between two iterators; 0 when the stride is 0.
  friend difference_type operator-(const CStridedIterator& a, const CStridedIterator& b) {
    if (a.stride_ == 0) return 0;
    return a.Distance(b) / static_cast<difference_type>(a.stride_);
  }

  friend bool operator==(const CStridedIterator& a, const CStridedIterator& b) {
    return a.block_ == b.block_ && a.position_ == b.position_;
  }
  friend std::strong_ordering operator<=>(const CStridedIterator& a, const CStridedIterator& b) {
    return a.block_ == b.block_ ? a.Distance(b) <=> 0 : std::compare_three_way()(a.block_, b.block_);
  }

  /// First element of the block; null for an iterator of a signal without arrangement.
  T* block() const { return block_; }
  /// Element of the block at which the iterator lies.
  std::uint64_t position() const { return position_; }
  std::uint64_t stride() const { return stride_; }

 private:
  difference_type Distance(const CStridedIterator& other) const {
    return static_cast<difference_type>(position_ - other.position_);
  }

  // Positions wrap instead of overflowing, so that steps far outside are defined.
  T* block_ = nullptr;
  std::uint64_t position_ = 0;
  std::uint64_t stride_ = 1;
};
