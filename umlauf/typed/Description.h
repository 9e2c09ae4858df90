#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/record/FlatRecord.h"
#include "umlauf/typed/ChannelDescription.h"

/// Arrangement of the samples of a signal with several y channels. Any other value is no arrangement: such a
/// signal has no elements.
enum ESignalCoding : std::uint32_t {
  signalCodingNone = 0,
  signalCodingInterleaved = 1,  ///< the y channels alternate sample by sample
  signalCodingBlocked = 2       ///< each y channel's samples lie in one block
};

/// How the samples of a signal are arranged and what they mean. As initialised here it is the initial state.
struct SDescriptionPOD {
  static constexpr unsigned slotCount = 32;

  std::uint32_t signalCoding = signalCodingInterleaved;
  std::uint32_t xCount = 0;  ///< x dimensions in use
  std::uint32_t yCount = 0;  ///< y channels in use
  SXChannelDescriptionPOD x[slotCount];
  SYChannelDescriptionPOD y[slotCount];
};
static_assert(sizeof(SDescriptionPOD) == 2444 && offsetof(SDescriptionPOD, signalCoding) == 0 &&
              offsetof(SDescriptionPOD, xCount) == 4 && offsetof(SDescriptionPOD, yCount) == 8 &&
              offsetof(SDescriptionPOD, x) == 12 && offsetof(SDescriptionPOD, y) == 1292);

/// Up to 32 x dimensions (axes) and up to 32 y channels (measured quantities) of a signal, over a record that
/// lies elsewhere and must outlive the object. Dimension 0 runs fastest; with interleaved coding the y
/// channels run faster still. A value for one thread at a time; nothing throws or allocates.
///
/// The record may come from anywhere: counts above 32 count as 32, an index range that ends before it begins
/// is empty, and element counts beyond 64 bits saturate at the greatest number.
class UMLAUF_API CDescriptionInterface : public CPODHolder<SDescriptionPOD> {
 public:
  explicit CDescriptionInterface(SDescriptionPOD& record);
  CDescriptionInterface(CDescriptionInterface&&) noexcept = default;
  CDescriptionInterface& operator=(const CDescriptionInterface& other) { return *this = other.pod(); }
  CDescriptionInterface& operator=(const SDescriptionPOD& record) {
    CPODHolder::operator=(record);
    return *this;
  }
  void _construct(bool keep) override;

  std::uint32_t SignalCoding() const { return pod().signalCoding; }
  void SignalCoding(std::uint32_t coding) { pod().signalCoding = coding; }

  /// x dimensions and y channels in use, 0 ... 32. XInsert, XRemove, YInsert, YRemove change them.
  unsigned XCount() const;
  unsigned YCount() const;
  /// Slot i < 32, in use or not.
  CXChannelDescriptionInterface& X(unsigned i) { return x_[i]; }
  const CXChannelDescriptionInterface& X(unsigned i) const { return x_[i]; }
  CYChannelDescriptionInterface& Y(unsigned i) { return y_[i]; }
  const CYChannelDescriptionInterface& Y(unsigned i) const { return y_[i]; }

  /// Opens n slots at pos <= count: the slots from there on move up. The opened slots keep the bytes they
  /// held; the caller fills them. At most as many as are free are opened; pos beyond the count is the count.
  void XInsert(unsigned pos, unsigned n);
  void YInsert(unsigned pos, unsigned n);
  /// Removes n slots at pos: those behind move down. The freed slots are not cleared. At most the slots in
  /// use from pos on are removed.
  void XRemove(unsigned pos, unsigned n);
  void YRemove(unsigned pos, unsigned n);

  /// Samples that the description asks for: y channels times the used lengths of all x dimensions in use. 0
  /// without a valid arrangement.
  std::uint64_t elements() const;
  /// Distance, in samples, of neighbouring indices of dimension d; for d = `XCount()` (and above) that past
  /// the last dimension. 0 without a valid arrangement.
  std::uint64_t stride(unsigned d) const;
  /// Product of the used lengths of the dimensions 0 ... d - 1 (at most those in use), whatever the coding:
  /// with d = `XCount()` the samples of one channel.
  std::uint64_t points(unsigned d = SDescriptionPOD::slotCount) const;

  /// First y channel at or after `from` (negative = 0) with an application signal id, be it its own or one of
  /// its two sub-channels'; -1 when there is none, and for id -1.
  int FindAppSigId(int id, int from = 0) const;

  /// Whether signals can be shown on the same axes: equal coding and counts, x dimensions in use of equal
  /// total length, origin, step (NaN equals nothing) and unit, y channels in use of equal units. Intended:
  /// used ranges, ids, channel codings, flags and gauges are not compared.
  bool operator==(const CDescriptionInterface& other) const;
  bool operator!=(const CDescriptionInterface& other) const { return !(*this == other); }

 private:
  using Slots = std::make_index_sequence<SDescriptionPOD::slotCount>;
  template <std::size_t... i>
  CDescriptionInterface(SDescriptionPOD& record, std::index_sequence<i...>);

  std::array<CXChannelDescriptionInterface, SDescriptionPOD::slotCount> x_;
  std::array<CYChannelDescriptionInterface, SDescriptionPOD::slotCount> y_;
};

/// A description that owns its record. The flat form is the 2444 bytes of the record.
class UMLAUF_API CDescription : public CRecordOwner<CDescriptionInterface, SDescriptionPOD> {
 public:
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};
