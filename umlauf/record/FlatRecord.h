#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "umlauf/Export.h"

/// What can be flattened: written to and restored from a run of bytes without header, version or length
/// prefix. A negative result means failure; a composite passes the negative result of a part on and stops.
class UMLAUF_API CSerializable {
 public:
  virtual ~CSerializable();
  /// Bytes that `write` produces for the current state.
  virtual std::uint64_t length() const = 0;
  /// Restores the state from the bytes at src, all of which must be readable; returns the bytes consumed.
  virtual std::int64_t read(const void* src) = 0;
  /// Writes the state to dst, which has room for `length()` bytes; returns the bytes written.
  virtual std::int64_t write(void* dst) const = 0;
  /// As `read(src)`, from a source of which only `available` bytes may be read; negative when they do not
  /// suffice, and then nothing has changed. Anything that reads foreign data calls this form. A class that
  /// does not override it cannot tell in advance what it would read, and always refuses.
  virtual std::int64_t read(const void* src, std::uint64_t available);

 protected:
  CSerializable() = default;
  CSerializable(const CSerializable&) = default;
  CSerializable& operator=(const CSerializable&) = default;
};

template <class T>
class CPODOwner;

/// The logic side of a record: refers to a record T that lies elsewhere (in its owner, in a larger record, in
/// a buffer) and does not own it. The record must outlive the holder. A holder that was moved from refers to
/// nothing and may only be destroyed.
template <class T>
class UMLAUF_TEMPLATE_API CPODHolder {
 public:
  explicit CPODHolder(T& record) : record_(&record) {}
  CPODHolder(CPODHolder&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  virtual ~CPODHolder() = default;
  /// Resets the record to the kind's initial state (all bytes zero here); with keep true its own fields stay,
  /// only nested records are reached.
  virtual void _construct(bool keep) {
    if (!keep) std::memset(static_cast<void*>(record_), 0, sizeof(T));
  }

  /// Assignment copies the bytes into the record referred to; a holder never points elsewhere afterwards.
  CPODHolder& operator=(const T& record) {
    if (&record != record_) std::memmove(static_cast<void*>(record_), &record, sizeof(T));
    return *this;
  }
  CPODHolder& operator=(const CPODHolder& other) { return *this = *other.record_; }

  T& pod() { return *record_; }
  const T& pod() const { return *record_; }

 protected:
  CPODHolder(const CPODHolder&) = default;

 private:
  T* record_;
};

/// Owns one record T by value, without logic; CRecordOwner below is an owner with it.
///
/// The flat form is the record's bytes as they lie in memory. Reading takes them as they stand, without
/// validation.
template <class T>
class UMLAUF_TEMPLATE_API CPODOwner : public CSerializable {
  static_assert(std::is_trivially_copyable_v<T> && std::is_standard_layout_v<T>);

 public:
  /// All bytes zero.
  CPODOwner() { std::memset(static_cast<void*>(&record_), 0, sizeof(T)); }
  explicit CPODOwner(const T& record) { assign(record); }
  CPODOwner(const CPODOwner& other) : CSerializable(other) { assign(other.record_); }
  explicit CPODOwner(const CPODHolder<T>& holder) { assign(holder.pod()); }
  CPODOwner& operator=(const T& record) { return assign(record); }
  CPODOwner& operator=(const CPODOwner& other) { return assign(other.record_); }
  CPODOwner& operator=(const CPODHolder<T>& holder) { return assign(holder.pod()); }

  std::uint64_t length() const override { return sizeof(T); }
  std::int64_t read(const void* src) override {
    std::memcpy(static_cast<void*>(&record_), src, sizeof(T));
    return sizeof(T);
  }
  std::int64_t write(void* dst) const override {
    std::memcpy(dst, &record_, sizeof(T));
    return sizeof(T);
  }
  std::int64_t read(const void* src, std::uint64_t available) override {
    return available < sizeof(T) ? -1 : CPODOwner::read(src);
  }

  T& pod() { return record_; }
  const T& pod() const { return record_; }

 private:
  // Copies all bytes, padding included, so that equal records flatten to equal bytes.
  CPODOwner& assign(const T& record) {
    std::memmove(static_cast<void*>(&record_), &record, sizeof(T));
    return *this;
  }

  T record_;
};

/// Owns one record T together with the logic that works on it, a CPODHolder<T> or a class derived from it. An
/// owning class derives from it and takes over its constructors and assignments, which copy the record:
///
///     class CThing : public CRecordOwner<CThingInterface, SThingPOD> {
///      public:
///       using CRecordOwner::CRecordOwner;
///       using CRecordOwner::operator=;
///     };
template <class Logic, class T>
class UMLAUF_TEMPLATE_API CRecordOwner : public CPODOwner<T>, public Logic {
 public:
  /// The record as its fields are initialised.
  CRecordOwner() : CRecordOwner(T()) {}
  explicit CRecordOwner(const T& record) : CPODOwner<T>(record), Logic(CPODOwner<T>::pod()) {}
  explicit CRecordOwner(const Logic& other) : CRecordOwner(other.pod()) {}
  CRecordOwner(const CRecordOwner& other) : CRecordOwner(other.pod()) {}
  CRecordOwner& operator=(const T& record) {
    CPODOwner<T>::operator=(record);
    return *this;
  }
  CRecordOwner& operator=(const Logic& other) { return *this = other.pod(); }
  CRecordOwner& operator=(const CRecordOwner& other) { return *this = other.pod(); }
  using CPODOwner<T>::pod;
};
