#pragma once

#include <cstddef>
#include <iterator>
#include <type_traits>

/// Random-access iterator over every second float of a point-pair buffer. T is float or const float.
template <class T>
class CValueIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = std::remove_const_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  CValueIterator() = default;
  explicit CValueIterator(T* value) : value_(value) {}

  reference operator*() const { return *value_; }
  pointer operator->() const { return value_; }
  reference operator[](difference_type n) const { return value_[2 * n]; }
  CValueIterator& operator+=(difference_type n) {
    value_ += 2 * n;
    return *this;
  }
  CValueIterator& operator-=(difference_type n) { return *this += -n; }
  CValueIterator& operator++() { return *this += 1; }
  CValueIterator& operator--() { return *this -= 1; }
  CValueIterator operator++(int) {
    const CValueIterator before = *this;
    ++*this;
    return before;
  }
  CValueIterator operator--(int) {
    const CValueIterator before = *this;
    --*this;
    return before;
  }
  friend CValueIterator operator+(CValueIterator i, difference_type n) { return i += n; }
  friend CValueIterator operator+(difference_type n, CValueIterator i) { return i += n; }
  friend CValueIterator operator-(CValueIterator i, difference_type n) { return i -= n; }
  friend difference_type operator-(CValueIterator a, CValueIterator b) { return (a.value_ - b.value_) / 2; }
  friend auto operator<=>(CValueIterator, CValueIterator) = default;

 private:
  T* value_ = nullptr;
};
