#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "umlauf/Export.h"
#include "umlauf/platform/memory/UnfilledVector.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/record/FlatRecord.h"

/// What all lists of a reference variable (speed pulses, stepwise variables) have in common: whose signal it
/// is, how fast it was sampled, its average and its last value.
///
/// One list is used by one thread at a time.
class UMLAUF_API CFueGroeListeBasis : public CSerializable {
 public:
  CFueGroeListeBasis() = default;
  CFueGroeListeBasis(const CFueGroeListeBasis&) = default;
  CFueGroeListeBasis& operator=(const CFueGroeListeBasis&) = default;
  ~CFueGroeListeBasis() override;

  /// Average over the list; of a pulse list: revolutions per second.
  float Average() const { return average_; }
  void SetAverage(float average) { average_ = average; }
  /// Value of the entry that was added last.
  float LastValue() const { return lastValue_; }
  /// Presets the last value, as if an entry with it had been added.
  void InitLastValue(float value) { lastValue_ = value; }
  /// Number of the signal in messages.
  std::int32_t SignalId() const { return signalId_; }
  void SetSignalId(std::int32_t id) { signalId_ = id; }
  /// [samples/s]
  float SampleRate() const { return sampleRate_; }
  void SetSampleRate(float rate) { sampleRate_ = rate; }

 protected:
  /// Flat header: int32 signal id, float sample rate, float average, float last value, uint64 entry count.
  static constexpr std::uint64_t kHeaderBytes = 24;
  void WriteHeader(void* dst, std::uint64_t count) const;
  void ReadHeader(const void* src);
  static std::uint64_t HeaderCount(const void* src);

 private:
  float average_ = 0.0f;
  float lastValue_ = 0.0f;
  std::int32_t signalId_ = 0;
  float sampleRate_ = 0.0f;
};

/// A growable list of entries in order of time, owned by value. Entry is a plain record, made from samples
/// and value, with `NrSamples`, `Value`, `StartSample`, their setters and `Covers`; its bytes are its flat
/// form.
///
/// Allocation failure never throws: `resize` and `read` report it and change nothing; `AddEntry` then returns
/// a spare entry that belongs to the list and leaves the list as it is, so that what the caller sets on the
/// entry is lost with it; a copy has no entries then. `Complete` tells that entries are missing.
template <class Entry>
class UMLAUF_TEMPLATE_API CFueGroeListe : public CFueGroeListeBasis {
  static_assert(std::is_trivially_copyable_v<Entry>);

 public:
  using Entries = umlauf::UnfilledVector<Entry>;
  using iterator = typename Entries::iterator;
  using const_iterator = typename Entries::const_iterator;

  CFueGroeListe() = default;
  CFueGroeListe(const CFueGroeListe& other) : CFueGroeListeBasis(other) { CopyEntries(other); }
  CFueGroeListe(CFueGroeListe&&) noexcept = default;
  CFueGroeListe& operator=(const CFueGroeListe& other) {
    CFueGroeListeBasis::operator=(other);
    if (this != &other) CopyEntries(other);
    return *this;
  }
  CFueGroeListe& operator=(CFueGroeListe&&) noexcept = default;

  /// Removes the entries; average and last value become 0.
  virtual void Reset() {
    Clear();
    SetAverage(0.0f);
    InitLastValue(0.0f);
  }
  /// False when there was no memory for all entries, until the list is emptied; some are then missing.
  bool Complete() const { return complete_; }
  virtual bool empty() const { return entries_.empty(); }
  virtual std::uint64_t size() const { return entries_.size(); }
  /// Shortens the list or appends entries in their initial state. False when there is no memory for them.
  virtual bool resize(std::uint64_t n) {
    if (n > std::numeric_limits<std::size_t>::max()) return false;
    return umlauf::HadMemory([&] { entries_.resize(static_cast<std::size_t>(n), Entry()); });
  }
  /// Appends an entry of so many samples, which becomes the list's last value.
  virtual Entry& AddEntry(std::uint64_t samples, float value) { return Append(samples, value); }
  /// Index of the first entry that covers a sample of the block; the last index when none does (-1 for an
  /// empty list).
  virtual std::int64_t Sample2Idx(std::uint64_t sample) const {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (entries_[i].Covers(sample)) return static_cast<std::int64_t>(i);
    }
    return static_cast<std::int64_t>(entries_.size()) - 1;
  }

  /// Entry i; i must be less than `size()`.
  virtual Entry& operator[](std::uint64_t i) { return entries_[static_cast<std::size_t>(i)]; }
  virtual const Entry& operator[](std::uint64_t i) const { return entries_[static_cast<std::size_t>(i)]; }
  iterator begin() { return entries_.begin(); }
  iterator end() { return entries_.end(); }
  const_iterator begin() const { return entries_.begin(); }
  const_iterator end() const { return entries_.end(); }
  const Entry* data() const { return entries_.data(); }

  std::uint64_t length() const override { return kHeaderBytes + size() * sizeof(Entry); }
  std::int64_t write(void* dst) const override {
    WriteHeader(dst, entries_.size());
    auto* bytes = static_cast<std::byte*>(dst) + kHeaderBytes;
    if (!entries_.empty()) std::memcpy(bytes, entries_.data(), entries_.size() * sizeof(Entry));
    return static_cast<std::int64_t>(kHeaderBytes + entries_.size() * sizeof(Entry));
  }
  std::int64_t read(const void* src) override { return read(src, kUnlimited); }
  std::int64_t read(const void* src, std::uint64_t available) override {
    if (available < kHeaderBytes) return -1;
    const std::uint64_t count = HeaderCount(src);
    if (count > (available - kHeaderBytes) / sizeof(Entry) || !resize(count)) return -1;
    const auto* bytes = static_cast<const std::byte*>(src) + kHeaderBytes;
    ReadHeader(src);
    if (count != 0) std::memcpy(static_cast<void*>(entries_.data()), bytes, entries_.size() * sizeof(Entry));
    return static_cast<std::int64_t>(kHeaderBytes + entries_.size() * sizeof(Entry));
  }

 protected:
  /// Bytes that an unchecked source may hold.
  static constexpr std::uint64_t kUnlimited = std::numeric_limits<std::int64_t>::max();

  Entry& Append(std::uint64_t samples, float value) {
    const bool appended = umlauf::HadMemory([&] { entries_.emplace_back(samples, value); });
    if (!appended) {
      complete_ = false;
      return spare_ = Entry(samples, value);
    }
    InitLastValue(value);
    return entries_.back();
  }

  void Clear() {
    entries_.clear();
    complete_ = true;
  }

  Entries entries_;

 private:
  void CopyEntries(const CFueGroeListe& other) {
    complete_ = other.complete_;
    if (umlauf::HadMemory([&] { entries_ = other.entries_; })) return;
    entries_.clear();
    complete_ = false;
  }

  bool complete_ = true;
  Entry spare_;
};
