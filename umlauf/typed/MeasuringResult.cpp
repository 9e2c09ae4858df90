#include "umlauf/typed/MeasuringResult.h"

#include <typeinfo>

std::atomic<ULONG> CMeasuringResultBaseInterface::m_id{1};

void CMeasuringResultBaseInterface::_construct(bool keep) {
  key_._construct(keep);
  setPoint_._construct(keep);
  if (keep) return;
  pod() = SMeasuringResultBasePOD();
  pod().id = m_id.fetch_add(1, std::memory_order_relaxed);
}

bool CMeasuringResultBaseInterface::_description_eq(const CMeasuringResultBaseInterface& other) const {
  return typeid(*this) == typeid(other);
}

void CMeasuringResultScalarInterface::_construct(bool keep) {
  CMeasuringResultBaseInterface::_construct(keep);
  unit_._construct(keep);
  if (keep) return;
  pod().value = 0.0f;
  pod().padding = 0;
}

bool CMeasuringResultScalarInterface::_description_eq(const CMeasuringResultBaseInterface& other) const {
  if (!CMeasuringResultBaseInterface::_description_eq(other)) return false;
  return unit_ == dynamic_cast<const CMeasuringResultScalarInterface&>(other).unit_;
}
