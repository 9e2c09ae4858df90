#include "umlauf/typed/SetPoint.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kFree = -1;

bool IsFree(int id) { return id < 0; }

template <class Test>
int FirstSlot(const SSetPointPOD& record, Test test) {
  const auto slot = std::find_if(std::begin(record.id), std::end(record.id), test);
  return slot == std::end(record.id) ? -1 : static_cast<int>(slot - std::begin(record.id));
}

}  // namespace

void CSetPointInterface::_construct(bool keep) {
  if (!keep) pod() = SSetPointPOD();
}

void CSetPointInterface::clear() { std::fill(std::begin(pod().id), std::end(pod().id), kFree); }

void CSetPointInterface::fill(float value) {
  std::fill(std::begin(pod().value), std::end(pod().value), value);
}

int CSetPointInterface::size() const {
  const auto free = std::count_if(std::begin(pod().id), std::end(pod().id), IsFree);
  return SSetPointPOD::slotCount - static_cast<int>(free);
}

int CSetPointInterface::first_free() const { return FirstSlot(pod(), IsFree); }

int CSetPointInterface::id2idx(int id) const {
  return id == -1 ? -1 : FirstSlot(pod(), [id](int slotId) { return slotId == id; });
}
