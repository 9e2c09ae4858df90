#include "umlauf/typed/SignalBase.h"

#include <cstring>

namespace {

template <class Slot>
void CopySlots(Slot* to, const Slot* from, unsigned n) {
  std::memmove(static_cast<void*>(to), from, n * sizeof(Slot));
}

}  // namespace

void CSignalBaseInterface::_construct(bool keep) {
  CMeasuringResultAggregateInterface::_construct(keep);
  description_._construct(keep);
  if (!keep) pod().reserved = 0;
}

CSignalBase::CSignalBase(const CSignalBase& other, unsigned mask) : CSignalBase(other) {
  reshape_description(Description(), mask);
}

void CSignalBase::reshape_description(const CDescriptionInterface& src, unsigned mask) {
  if (mask == kAllChannels) {
    Description() = src;
    return;
  }
  SDescriptionPOD& own = pod().description;
  const SDescriptionPOD& from = src.pod();
  const unsigned channels = src.YCount();
  own.xCount = src.XCount();
  CopySlots(own.x, from.x, src.XCount());
  own.yCount = 0;
  for (unsigned i = 0; i < channels; ++i) {  // never before slot i, so that src may be the own description
    if ((mask >> i & 1u) != 0) CopySlots(&own.y[own.yCount++], &from.y[i], 1);
  }
}
