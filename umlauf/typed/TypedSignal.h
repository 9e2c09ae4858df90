#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/basis/StridedIterator.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/typed/SignalBase.h"

/// A multichannel signal: base record (measuring result, description) and a block of samples of one type,
/// which the object owns. T is one of std::int16_t, std::int32_t, ULONG and float; the library holds all
/// four.
///
/// One object is used by one thread at a time; const operations by several. Nothing throws: where there is no
/// memory, operations return false and blocks stay as they were (a copy is without samples).
///
/// The description can be changed at any time; `reshape_array` makes the block fit it. In between, and with
/// records from foreign data, block and description may contradict each other: no operation reads or writes
/// outside the blocks then, samples without a place are left out.
template <class T>
class UMLAUF_TEMPLATE_API CTypedSignal : public CSignalBase {
  static_assert(std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t> ||
                std::is_same_v<T, ULONG> || std::is_same_v<T, float>);

 public:
  using value_type = T;
  using iterator = CStridedIterator<T>;
  using const_iterator = CStridedIterator<const T>;

  /// Without channels and samples.
  CTypedSignal() = default;
  /// Zeroed samples, as many as the description asks for.
  explicit CTypedSignal(const CDescriptionInterface& description);
  CTypedSignal(const CTypedSignal& other) = default;
  /// Leaves the other signal without samples, but with its record.
  CTypedSignal(CTypedSignal&& other) noexcept;
  /// A copy, result and arrangement included, of which only the channels of the mask are left, in their
  /// order.
  CTypedSignal(const CTypedSignal& other, unsigned mask);
  /// Without memory the object stays unchanged.
  CTypedSignal& operator=(const CTypedSignal& other);
  CTypedSignal& operator=(CTypedSignal&& other) noexcept;

  /// Flat form: the 2640 bytes of the base record, then the block as CAlignedMem writes it (64-bit count,
  /// samples).
  std::uint64_t length() const override;
  std::int64_t read(const void* src) override;
  std::int64_t write(void* dst) const override;
  std::int64_t read(const void* src, std::uint64_t available) override;

  /// First sample of the block; null when there is none.
  virtual T* data();
  virtual const T* data() const;
  /// Bytes of one sample.
  virtual std::size_t element_size() const;
  /// Samples in the block. What the description asks for is `Description().elements()`.
  virtual std::uint64_t elements() const;

  /// Copies `Description().elements()` samples from p into the block, which gets that size. False without
  /// memory, and for a null p when there are samples to copy.
  bool assign_buffer(const T* p);
  /// Makes the block as large as the description asks for. Samples stay when it is so already, else they are
  /// all zero. False without memory.
  bool reshape_array();
  /// `reshape_description(src.Description(), mask)`, then `reshape_array()`; src may be the signal itself.
  bool reshape(const CTypedSignal& src, unsigned mask);

  /// Walks along x dimension `dim` (at most `XCount()`) of a channel, all other indices 0, to the end of the
  /// block: `end` lies one block size behind `begin`, rounded down to whole steps. Without a valid
  /// arrangement both are null. Intended: so the end of blocked channels above 0 lies behind the block's.
  /// Such a range can be walked and compared; what lies in the block is `points()` steps for dimension 0.
  iterator begin(unsigned dim, unsigned channel);
  iterator end(unsigned dim, unsigned channel);
  const_iterator begin(unsigned dim, unsigned channel) const;
  const_iterator end(unsigned dim, unsigned channel) const;
  /// All samples in the order of the block.
  iterator begin() { return {block_.data(), 0, 1}; }
  iterator end() { return {block_.data(), block_.size(), 1}; }
  const_iterator begin() const { return {block_.data(), 0, 1}; }
  const_iterator end() const { return {block_.data(), block_.size(), 1}; }

  /// Copies one y channel (channel < `YCount()`) to the start of dst's block, as much of it as fits. With
  /// reshapeDst, dst gets the description of this channel and a block of its size before. False without a
  /// valid arrangement, and without memory.
  bool demux(unsigned channel, CTypedSignal& dst, bool reshapeDst) const;

  /// Copies the y channels of the mask into dst, whose block is taken to be arranged like this one, whatever
  /// its own coding says. With reshapeDst, dst gets the description reduced to the mask and a block of its
  /// size before. A mask of 0 and a dst without y channels: nothing more. `kAllChannels` between equal
  /// numbers of channels copies the whole block. Otherwise, by the coding of this signal:
  ///
  /// - blocked: the selected channels one after the other, from channel dstFirst of dst on;
  /// - interleaved: channel i becomes channel dstFirst + i of dst; beyond the last one it lies in the frames
  ///   that follow, where later channels overwrite earlier ones.
  ///
  /// Intended: so the first packs the channels, the second keeps the gaps. Samples behind dst's block are
  /// left out. False without a valid arrangement, and without memory.
  bool transmux(unsigned mask, CTypedSignal& dst, unsigned dstFirst, bool reshapeDst) const;

 protected:
  /// Samples that both the description and the block have.
  std::uint64_t Usable() const;
  CAlignedMem<T>& Block() { return block_; }

 private:
  template <class Iterator, class Sample>
  Iterator At(Sample* block, unsigned dim, unsigned channel, bool atEnd) const;
  bool Demux(unsigned channel, CTypedSignal& dst) const;
  bool Transmux(unsigned mask, CTypedSignal& dst, unsigned dstFirst) const;
  void TransmuxBlocked(unsigned mask, CTypedSignal& dst, unsigned dstFirst) const;
  void TransmuxInterleaved(unsigned mask, CTypedSignal& dst, unsigned dstFirst) const;
  void CopyPacked(const CTypedSignal& src, unsigned mask);

  CAlignedMem<T> block_;
};

extern template class UMLAUF_API CTypedSignal<std::int16_t>;
extern template class UMLAUF_API CTypedSignal<std::int32_t>;
extern template class UMLAUF_API CTypedSignal<ULONG>;
extern template class UMLAUF_API CTypedSignal<float>;
