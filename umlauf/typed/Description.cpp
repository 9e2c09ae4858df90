#include "umlauf/typed/Description.h"

#include <algorithm>
#include <cstring>

#include "umlauf/platform/vekta/numeric.h"

namespace {

unsigned Used(std::uint32_t count) { return std::min<unsigned>(count, SDescriptionPOD::slotCount); }

template <class Slot>
void Move(Slot* slots, unsigned to, unsigned from, unsigned n) {
  std::memmove(static_cast<void*>(slots + to), slots + from, n * sizeof(Slot));
}

template <class Slot>
void Insert(Slot* slots, std::uint32_t& count, unsigned pos, unsigned n) {
  const unsigned used = Used(count);
  pos = std::min(pos, used);
  n = std::min(n, SDescriptionPOD::slotCount - used);
  if (n == 0) return;
  Move(slots, pos + n, pos, used - pos);
  count = used + n;
}

template <class Slot>
void Remove(Slot* slots, std::uint32_t& count, unsigned pos, unsigned n) {
  const unsigned used = Used(count);
  pos = std::min(pos, used);
  n = std::min(n, used - pos);
  Move(slots, pos, pos + n, used - pos - n);
  count = used - n;
}

bool HasId(const CYChannelDescriptionInterface& channel, int id) {
  if (channel.AppSigId() == id) return true;
  return channel.HasSubChans() && (channel.AppSigIdHwChan() == id || channel.AppSigIdLwChan() == id);
}

bool SameAxis(const CXChannelDescriptionInterface& a, const CXChannelDescriptionInterface& b) {
  return a.pod().length == b.pod().length && a.pod().x0 == b.pod().x0 && a.Delta() == b.Delta() &&
         a.Unit() == b.Unit();
}

}  // namespace

template <std::size_t... i>
CDescriptionInterface::CDescriptionInterface(SDescriptionPOD& record, std::index_sequence<i...>)
    : CPODHolder(record),
      x_{CXChannelDescriptionInterface(record.x[i])...},
      y_{CYChannelDescriptionInterface(record.y[i])...} {}

CDescriptionInterface::CDescriptionInterface(SDescriptionPOD& record)
    : CDescriptionInterface(record, Slots()) {}

void CDescriptionInterface::_construct(bool keep) {
  for (auto& dimension : x_) dimension._construct(keep);
  for (auto& channel : y_) channel._construct(keep);
  if (keep) return;
  pod().signalCoding = signalCodingInterleaved;
  pod().xCount = 0;
  pod().yCount = 0;
}

unsigned CDescriptionInterface::XCount() const { return Used(pod().xCount); }
unsigned CDescriptionInterface::YCount() const { return Used(pod().yCount); }

void CDescriptionInterface::XInsert(unsigned pos, unsigned n) { Insert(pod().x, pod().xCount, pos, n); }
void CDescriptionInterface::YInsert(unsigned pos, unsigned n) { Insert(pod().y, pod().yCount, pos, n); }
void CDescriptionInterface::XRemove(unsigned pos, unsigned n) { Remove(pod().x, pod().xCount, pos, n); }
void CDescriptionInterface::YRemove(unsigned pos, unsigned n) { Remove(pod().y, pod().yCount, pos, n); }

std::uint64_t CDescriptionInterface::points(unsigned d) const {
  std::uint64_t product = 1;
  for (unsigned i = 0; i < std::min(d, XCount()); ++i) product = numeric::mul_sat(product, x_[i].Len());
  return product;
}

std::uint64_t CDescriptionInterface::elements() const {
  if (SignalCoding() != signalCodingInterleaved && SignalCoding() != signalCodingBlocked) return 0;
  return numeric::mul_sat(YCount(), points());
}

std::uint64_t CDescriptionInterface::stride(unsigned d) const {
  switch (SignalCoding()) {
    case signalCodingInterleaved:
      return numeric::mul_sat(YCount(), points(d));
    case signalCodingBlocked:
      return points(d);
    default:
      return 0;
  }
}

int CDescriptionInterface::FindAppSigId(int id, int from) const {
  if (id == -1) return -1;
  for (unsigned i = static_cast<unsigned>(std::max(from, 0)); i < YCount(); ++i) {
    if (HasId(y_[i], id)) return static_cast<int>(i);
  }
  return -1;
}

bool CDescriptionInterface::operator==(const CDescriptionInterface& other) const {
  if (SignalCoding() != other.SignalCoding()) return false;
  if (XCount() != other.XCount() || YCount() != other.YCount()) return false;
  return std::equal(x_.begin(), x_.begin() + XCount(), other.x_.begin(), SameAxis) &&
         std::equal(y_.begin(), y_.begin() + YCount(), other.y_.begin(),
                    [](const auto& a, const auto& b) { return a.Unit() == b.Unit(); });
}
