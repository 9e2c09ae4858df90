#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/record/FlatRecord.h"

/// Set point of a measurement: a table of values, each with the id of its quantity. As initialised here it is
/// the initial state, an empty set point.
struct SSetPointPOD {
  static constexpr int slotCount = 16;

  float value[slotCount] = {};
  /// A negative id marks a free slot.
  std::int32_t id[slotCount] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
};
static_assert(sizeof(SSetPointPOD) == 128 && offsetof(SSetPointPOD, value) == 0 &&
              offsetof(SSetPointPOD, id) == 64);

/// The set point under which something was measured (speed, torque, temperature ...), over a record that lies
/// elsewhere and must outlive the object. Slots are 0 <= i < 16, without check. A value for one thread at a
/// time; nothing throws or allocates.
class UMLAUF_API CSetPointInterface : public CPODHolder<SSetPointPOD> {
 public:
  explicit CSetPointInterface(SSetPointPOD& record) : CPODHolder(record) {}
  CSetPointInterface(CSetPointInterface&&) noexcept = default;
  CSetPointInterface& operator=(const CSetPointInterface& other) { return *this = other.pod(); }
  CSetPointInterface& operator=(const SSetPointPOD& record) {
    CPODHolder::operator=(record);
    return *this;
  }
  void _construct(bool keep) override;

  /// Value of slot i.
  float operator[](int i) const { return pod().value[i]; }
  float& operator[](int i) { return pod().value[i]; }
  /// Gives slot i an id; its value stays.
  void def(int i, int id) { pod().id[i] = id; }
  int idx2id(int i) const { return pod().id[i]; }
  bool is_def(int i) const { return pod().id[i] >= 0; }

  /// Frees all slots; the values stay.
  void clear();
  /// Sets all 16 values; the ids stay.
  void fill(float value);
  /// Whether all slots are free.
  bool empty() const { return size() == 0; }
  /// Slots that are not free.
  int size() const;
  /// Lowest free slot; -1 when all are in use.
  int first_free() const;
  /// Lowest slot with an id; -1 when there is none, and for id -1.
  int id2idx(int id) const;
};

/// A set point that owns its record. The flat form is the 128 bytes of the record.
class UMLAUF_API CSetPoint : public CRecordOwner<CSetPointInterface, SSetPointPOD> {
 public:
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};
