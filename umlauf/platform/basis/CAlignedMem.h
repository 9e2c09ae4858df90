#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "umlauf/platform/memory/AlignedBlock.h"

/// An aligned block of n elements of T (short, int, unsigned 32-bit, float or any other plain type), owned by
/// the object. Failed allocations are reported by false and leave the block as it was. One object is used by
/// one thread at a time.
///
/// Flat form: the 64-bit element count, then the elements as they lie in memory, without padding.
template <class T>
class CAlignedMem {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  CAlignedMem() = default;
  /// n zeroed elements; empty when there is no memory.
  explicit CAlignedMem(std::uint64_t n) { alloc(n); }
  CAlignedMem(const CAlignedMem& other) { assign(other.size(), other.data()); }
  CAlignedMem(CAlignedMem&& other) noexcept
      : data_(std::move(other.data_)), size_(std::exchange(other.size_, 0)) {}
  CAlignedMem& operator=(const CAlignedMem& other) {
    if (this != &other) assign(other.size(), other.data());
    return *this;
  }
  CAlignedMem& operator=(CAlignedMem&& other) noexcept {
    data_ = std::move(other.data_);
    size_ = std::exchange(other.size_, 0);
    return *this;
  }

  std::uint64_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* data() { return data_.get(); }
  const T* data() const { return data_.get(); }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  T* begin() { return data(); }
  T* end() { return data() + size_; }
  const T* begin() const { return data(); }
  const T* end() const { return data() + size_; }

  /// n zeroed elements in place of what was there; 0 releases the block.
  bool alloc(std::uint64_t n) {
    if (!replace(n)) return false;
    if (n != 0) std::memset(static_cast<void*>(data()), 0, static_cast<std::size_t>(n) * sizeof(T));
    return true;
  }
  /// A copy of n elements at p in place of what was there; p may lie inside the block itself.
  bool assign(std::uint64_t n, const T* p) {
    CAlignedMem fresh;
    if (!fresh.replaceBy(n, p)) return false;
    *this = std::move(fresh);
    return true;
  }

  /// Bytes that `write` produces.
  std::uint64_t flat_len() const { return sizeof(std::uint64_t) + size_ * sizeof(T); }
  /// Writes the flat form to dst, which has room for `flat_len()` bytes; returns the bytes written.
  std::int64_t write(void* dst) const {
    auto* bytes = static_cast<std::byte*>(dst);
    std::memcpy(bytes, &size_, sizeof size_);
    if (size_ != 0) std::memcpy(bytes + sizeof size_, data(), static_cast<std::size_t>(size_) * sizeof(T));
    return static_cast<std::int64_t>(flat_len());
  }
  /// Restores from a flat form that is known to be whole; returns the bytes consumed, -1 when there is no
  /// memory.
  std::int64_t read(const void* src) { return read(src, std::numeric_limits<std::uint64_t>::max()); }
  /// As above, from a source of which only `available` bytes may be read; -1 when they do not suffice. The
  /// block is unchanged on failure.
  std::int64_t read(const void* src, std::uint64_t available) {
    std::uint64_t n = 0;
    if (available < sizeof n) return -1;
    std::memcpy(&n, src, sizeof n);
    if (n > (available - sizeof n) / sizeof(T)) return -1;
    if (!replaceBy(n, static_cast<const std::byte*>(src) + sizeof n)) return -1;
    return static_cast<std::int64_t>(flat_len());
  }

 private:
  bool replace(std::uint64_t n) {
    if (n == 0) {
      data_.reset();
    } else {
      umlauf::AlignedBlock<T> block = umlauf::MakeAlignedBlock<T>(n);
      if (block == nullptr) return false;
      data_ = std::move(block);
    }
    size_ = n;
    return true;
  }
  bool replaceBy(std::uint64_t n, const void* bytes) {
    if (!replace(n)) return false;
    if (n != 0) std::memcpy(static_cast<void*>(data()), bytes, static_cast<std::size_t>(n) * sizeof(T));
    return true;
  }

  umlauf::AlignedBlock<T> data_;
  std::uint64_t size_ = 0;
};
