#include "umlauf/typed/TypedSignal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/typed/internal/Lanes.h"

namespace {

constexpr unsigned kSlots = SDescriptionPOD::slotCount;

bool Selected(unsigned mask, unsigned channel) { return (mask >> channel & 1u) != 0; }

/// Copies n samples from position `from` to position `to`, as far as both lie in their blocks.
template <class T>
void CopyBlock(CAlignedMem<T>& dst, std::uint64_t to, const CAlignedMem<T>& src, std::uint64_t from,
               std::uint64_t n) {
  if (to >= dst.size() || from >= src.size()) return;
  n = std::min({n, dst.size() - to, src.size() - from});
  std::memcpy(dst.data() + to, src.data() + from, static_cast<std::size_t>(n) * sizeof(T));
}

}  // namespace

template <class T>
CTypedSignal<T>::CTypedSignal(const CDescriptionInterface& description) : CSignalBase(description) {
  reshape_array();
}

template <class T>
CTypedSignal<T>::CTypedSignal(CTypedSignal&& other) noexcept
    : CSignalBase(other), block_(std::move(other.block_)) {}

template <class T>
CTypedSignal<T>::CTypedSignal(const CTypedSignal& other, unsigned mask) : CSignalBase(other, mask) {
  if (mask == kAllChannels) {
    block_ = other.block_;
  } else if (reshape_array()) {
    CopyPacked(other, mask);
  }
}

template <class T>
CTypedSignal<T>& CTypedSignal<T>::operator=(const CTypedSignal& other) {
  if (this != &other && block_.assign(other.block_.size(), other.block_.data())) {
    CSignalBase::operator=(other);
  }
  return *this;
}

template <class T>
CTypedSignal<T>& CTypedSignal<T>::operator=(CTypedSignal&& other) noexcept {
  if (this != &other) {
    CSignalBase::operator=(other);
    block_ = std::move(other.block_);
  }
  return *this;
}

template <class T>
std::uint64_t CTypedSignal<T>::length() const {
  return CSignalBase::length() + block_.flat_len();
}

template <class T>
std::int64_t CTypedSignal<T>::write(void* dst) const {
  const std::int64_t base = CSignalBase::write(dst);
  if (base < 0) return base;
  const std::int64_t samples = block_.write(static_cast<std::byte*>(dst) + base);
  return samples < 0 ? samples : base + samples;
}

template <class T>
std::int64_t CTypedSignal<T>::read(const void* src) {
  return CTypedSignal::read(src, std::numeric_limits<std::uint64_t>::max());
}

template <class T>
std::int64_t CTypedSignal<T>::read(const void* src, std::uint64_t available) {
  constexpr std::uint64_t base = sizeof(SSignalBasePOD);
  if (available < base) return -1;
  // The block first: it is what can fail, and then the record has to stay.
  const std::int64_t samples = block_.read(static_cast<const std::byte*>(src) + base, available - base);
  if (samples < 0) return samples;
  return CSignalBase::read(src) + samples;
}

template <class T>
T* CTypedSignal<T>::data() {
  return block_.data();
}
template <class T>
const T* CTypedSignal<T>::data() const {
  return block_.data();
}
template <class T>
std::size_t CTypedSignal<T>::element_size() const {
  return sizeof(T);
}
template <class T>
std::uint64_t CTypedSignal<T>::elements() const {
  return block_.size();
}
template <class T>
std::uint64_t CTypedSignal<T>::Usable() const {
  return std::min(block_.size(), Description().elements());
}

template <class T>
bool CTypedSignal<T>::assign_buffer(const T* p) {
  const std::uint64_t n = Description().elements();
  return (p != nullptr || n == 0) && block_.assign(n, p);
}

template <class T>
bool CTypedSignal<T>::reshape_array() {
  const std::uint64_t n = Description().elements();
  return n == block_.size() || block_.alloc(n);
}

template <class T>
bool CTypedSignal<T>::reshape(const CTypedSignal& src, unsigned mask) {
  reshape_description(src.Description(), mask);
  return reshape_array();
}

template <class T>
template <class Iterator, class Sample>
Iterator CTypedSignal<T>::At(Sample* block, unsigned dim, unsigned channel, bool atEnd) const {
  constexpr std::uint64_t kLongest = std::numeric_limits<std::int64_t>::max();
  const CDescriptionInterface& description = Description();
  const bool interleaved = description.SignalCoding() == signalCodingInterleaved;
  const bool blocked = description.SignalCoding() == signalCodingBlocked;
  const std::uint64_t step = interleaved ? description.YCount() : 1;
  const std::uint64_t stride = std::min(numeric::mul_sat(step, description.points(dim)), kLongest);
  if (!interleaved && !blocked) return {nullptr, 0, stride};
  std::uint64_t position = interleaved ? channel : numeric::mul_sat(channel, description.points());
  if (atEnd && stride != 0) position += block_.size() / stride * stride;
  return {block, position, stride};
}

template <class T>
auto CTypedSignal<T>::begin(unsigned dim, unsigned channel) -> iterator {
  return At<iterator>(block_.data(), dim, channel, false);
}
template <class T>
auto CTypedSignal<T>::end(unsigned dim, unsigned channel) -> iterator {
  return At<iterator>(block_.data(), dim, channel, true);
}
template <class T>
auto CTypedSignal<T>::begin(unsigned dim, unsigned channel) const -> const_iterator {
  return At<const_iterator>(block_.data(), dim, channel, false);
}
template <class T>
auto CTypedSignal<T>::end(unsigned dim, unsigned channel) const -> const_iterator {
  return At<const_iterator>(block_.data(), dim, channel, true);
}

template <class T>
bool CTypedSignal<T>::demux(unsigned channel, CTypedSignal& dst, bool reshapeDst) const {
  if (&dst == this) {
    const CTypedSignal copy(*this);
    return copy.elements() == elements() && copy.demux(channel, dst, reshapeDst);
  }
  if (reshapeDst && !dst.reshape(*this, channel < kSlots ? 1u << channel : 0)) return false;
  return Demux(channel, dst);
}

template <class T>
bool CTypedSignal<T>::Demux(unsigned channel, CTypedSignal& dst) const {
  const CDescriptionInterface& description = Description();
  const std::uint64_t channels = description.YCount(), points = description.points();
  switch (description.SignalCoding()) {
    case signalCodingInterleaved:
      if (channels == 0 || channel >= block_.size()) return true;
      QVL::Interleave(
          dst.block_.data(), 1, block_.data() + channel, channels,
          std::min({Usable() / channels, lanes::Fits(block_.size(), channel, channels), dst.block_.size()}));
      return true;
    case signalCodingBlocked:
      CopyBlock(dst.block_, 0, block_, numeric::mul_sat(channel, points), points);
      return true;
    default:
      return false;
  }
}

template <class T>
bool CTypedSignal<T>::transmux(unsigned mask, CTypedSignal& dst, unsigned dstFirst, bool reshapeDst) const {
  if (&dst == this) {
    const CTypedSignal copy(*this);
    return copy.elements() == elements() && copy.transmux(mask, dst, dstFirst, reshapeDst);
  }
  if (reshapeDst && !dst.reshape(*this, mask)) return false;
  return Transmux(mask, dst, dstFirst);
}

template <class T>
bool CTypedSignal<T>::Transmux(unsigned mask, CTypedSignal& dst, unsigned dstFirst) const {
  if (mask == 0 || dst.Description().YCount() == 0) return true;
  if (mask == kAllChannels && Description().YCount() == dst.Description().YCount()) {
    CopyBlock(dst.block_, 0, block_, 0, block_.size());
    return true;
  }
  switch (Description().SignalCoding()) {
    case signalCodingBlocked:
      TransmuxBlocked(mask, dst, dstFirst);
      return true;
    case signalCodingInterleaved:
      TransmuxInterleaved(mask, dst, dstFirst);
      return true;
    default:
      return false;
  }
}

template <class T>
void CTypedSignal<T>::TransmuxBlocked(unsigned mask, CTypedSignal& dst, unsigned dstFirst) const {
  const std::uint64_t points = Description().stride(Description().XCount());
  std::uint64_t to = numeric::mul_sat(points, dstFirst);
  for (unsigned i = 0; i < Description().YCount(); ++i) {
    if (!Selected(mask, i)) continue;
    CopyBlock(dst.block_, to, block_, numeric::mul_sat(points, i), points);
    to = numeric::add_sat(to, points);
  }
}

template <class T>
void CTypedSignal<T>::TransmuxInterleaved(unsigned mask, CTypedSignal& dst, unsigned dstFirst) const {
  const unsigned channels = Description().YCount(), dstChannels = dst.Description().YCount();
  const std::uint64_t frames = channels == 0 ? 0 : Usable() / channels;
  if (frames == 0) return;
  std::array<lanes::Lane<T>, kSlots> lane;
  std::size_t n = 0;
  for (unsigned i = 0; i < channels; ++i) {
    if (!Selected(mask, i)) continue;
    const std::uint64_t to = std::uint64_t{dstFirst} + i;
    const std::uint64_t fits = lanes::Fits(dst.block_.size(), to, dstChannels);
    if (fits == 0) continue;
    lane[n++] = {dst.block_.data() + to, dstChannels, block_.data() + i, channels, std::min(frames, fits)};
  }
  const unsigned copied = mask & (kAllChannels >> (kSlots - channels));
  if (n < 2 || std::uint64_t{dstFirst} + std::bit_width(copied) > dstChannels) {
    // One channel is a plain strided copy. Channels beyond dst's frames share places with others, where the
    // last one stays: one after the other.
    for (const lanes::Lane<T>& one : std::span(lane.data(), n)) {
      QVL::Interleave(one.out, one.outStride, one.in, one.inStride, one.n);
    }
    return;
  }
  if (n == static_cast<std::size_t>(std::popcount(copied))) {
    lanes::CopyTogether(std::span(lane.data(), n), dst.block_.data() + dstFirst, block_.data(), copied);
  }
  lanes::Copy<T>({lane.data(), n}, (channels + dstChannels) * sizeof(T));
}

template <class T>
void CTypedSignal<T>::CopyPacked(const CTypedSignal& src, unsigned mask) {
  const unsigned channels = src.Description().YCount(), own = Description().YCount();
  const bool blocked = Description().SignalCoding() == signalCodingBlocked;
  if (own == 0 || block_.empty() || src.block_.empty()) return;
  const std::uint64_t frames = src.Usable() / channels, points = Description().points();
  std::array<lanes::Lane<T>, kSlots> lane;
  std::size_t n = 0;
  for (unsigned i = 0; i < channels; ++i) {
    if (!Selected(mask, i)) continue;
    if (blocked) {
      CopyBlock(block_, n * points, src.block_, numeric::mul_sat(i, points), points);
    } else {
      lane[n] = {block_.data() + n, own, src.block_.data() + i, channels, frames};
    }
    ++n;
  }
  if (!blocked) lanes::Copy<T>({lane.data(), n}, (channels + own) * sizeof(T));
}

template class CTypedSignal<std::int16_t>;
template class CTypedSignal<std::int32_t>;
template class CTypedSignal<ULONG>;
template class CTypedSignal<float>;
