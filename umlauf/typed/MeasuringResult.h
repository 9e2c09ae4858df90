#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/keys/Clavis.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/record/FlatRecord.h"
#include "umlauf/typed/SetPoint.h"
#include "umlauf/units/MeasuringUnit.h"

/// Header of every measuring result. As initialised here it is the initial state but for the id, which
/// `_construct` draws. The fields at 160 ... 191 travel with the result; nothing in this library reads them.
struct SMeasuringResultBasePOD {
  SClavis key = CClavis();
  SSetPointPOD setPoint;
  std::uint32_t id = 0;
  std::uint32_t padding = 0;
  std::uint64_t header160 = 0;
  std::uint64_t header168 = 22;
  std::uint32_t header176 = 1;
  std::int32_t header180 = -1;
  std::uint64_t header184 = 0;
};
static_assert(sizeof(SMeasuringResultBasePOD) == 192 && offsetof(SMeasuringResultBasePOD, key) == 0 &&
              offsetof(SMeasuringResultBasePOD, setPoint) == 24 &&
              offsetof(SMeasuringResultBasePOD, id) == 152 &&
              offsetof(SMeasuringResultBasePOD, header160) == 160 &&
              offsetof(SMeasuringResultBasePOD, header168) == 168 &&
              offsetof(SMeasuringResultBasePOD, header176) == 176 &&
              offsetof(SMeasuringResultBasePOD, header180) == 180 &&
              offsetof(SMeasuringResultBasePOD, header184) == 184);

/// A single value with its unit.
struct SMeasuringResultScalarPOD {
  SMeasuringResultBasePOD result;
  float value = 0.0f;  ///< [unit]
  SMeasuringUnitPOD unit;
  std::uint32_t padding = 0;
};
static_assert(sizeof(SMeasuringResultScalarPOD) == 216 && offsetof(SMeasuringResultScalarPOD, result) == 0 &&
              offsetof(SMeasuringResultScalarPOD, value) == 192 &&
              offsetof(SMeasuringResultScalarPOD, unit) == 196 &&
              offsetof(SMeasuringResultScalarPOD, padding) == 212);

/// What every measuring result carries, over a record that lies elsewhere and must outlive the object: which
/// quantity was measured (key), under which set point, and an id that is unique within the process.
///
/// One object is used by one thread at a time; ids may be drawn by all threads. Nothing throws or allocates.
class UMLAUF_API CMeasuringResultBaseInterface : public CPODHolder<SMeasuringResultBasePOD> {
 public:
  explicit CMeasuringResultBaseInterface(SMeasuringResultBasePOD& record)
      : CPODHolder(record), key_(record.key), setPoint_(record.setPoint) {}
  CMeasuringResultBaseInterface(CMeasuringResultBaseInterface&&) noexcept = default;
  /// Copies the record, its id included.
  CMeasuringResultBaseInterface& operator=(const CMeasuringResultBaseInterface& other) {
    return *this = other.pod();
  }
  CMeasuringResultBaseInterface& operator=(const SMeasuringResultBasePOD& record) {
    CPODHolder::operator=(record);
    return *this;
  }
  /// Initialises the key, then the set point, then with keep false the header, which takes the next id.
  void _construct(bool keep) override;

  CClavisPODOwnerInterface& Key() { return key_; }
  const CClavisPODOwnerInterface& Key() const { return key_; }
  CSetPointInterface& SetPoint() { return setPoint_; }
  const CSetPointInterface& SetPoint() const { return setPoint_; }
  ULONG id() const { return pod().id; }
  void set_id(ULONG id) { pod().id = id; }

  /// Whether both describe the same kind of quantity: objects of the same dynamic class.
  virtual bool _description_eq(const CMeasuringResultBaseInterface& other) const;

  /// The id that the next result takes; starts at 1 in every process and wraps at 32 bits.
  static std::atomic<ULONG> m_id;

 private:
  CClavisPODOwnerInterface key_;
  CSetPointInterface setPoint_;
};

/// A result that is one value.
class UMLAUF_API CMeasuringResultScalarInterface : public CMeasuringResultBaseInterface,
                                                   public CPODHolder<SMeasuringResultScalarPOD> {
 public:
  explicit CMeasuringResultScalarInterface(SMeasuringResultScalarPOD& record)
      : CMeasuringResultBaseInterface(record.result),
        CPODHolder<SMeasuringResultScalarPOD>(record),
        unit_(record.unit) {}
  CMeasuringResultScalarInterface(CMeasuringResultScalarInterface&&) noexcept = default;
  CMeasuringResultScalarInterface& operator=(const CMeasuringResultScalarInterface& other) {
    return *this = other.pod();
  }
  CMeasuringResultScalarInterface& operator=(const SMeasuringResultScalarPOD& record) {
    CPODHolder<SMeasuringResultScalarPOD>::operator=(record);
    return *this;
  }
  using CPODHolder<SMeasuringResultScalarPOD>::pod;
  /// With keep false the value becomes 0, too.
  void _construct(bool keep) override;

  float Value() const { return pod().value; }
  void Value(float value) { pod().value = value; }
  CMeasuringUnitInterface& Unit() { return unit_; }
  const CMeasuringUnitInterface& Unit() const { return unit_; }

  /// Of the same dynamic class and of equal units.
  bool _description_eq(const CMeasuringResultBaseInterface& other) const override;

 private:
  CMeasuringUnitInterface unit_;
};

/// A result that consists of many values; its derived class tells how they are arranged.
class UMLAUF_API CMeasuringResultAggregateInterface : public CMeasuringResultBaseInterface {
 public:
  using CMeasuringResultBaseInterface::CMeasuringResultBaseInterface;
  using CMeasuringResultBaseInterface::operator=;
};

/// A result header that owns its record; likewise the scalar below. New ones take the next id, copies and
/// those made from a record keep the id. The flat form is the record.
class UMLAUF_API CMeasuringResultBase
    : public CRecordOwner<CMeasuringResultBaseInterface, SMeasuringResultBasePOD> {
 public:
  CMeasuringResultBase() { _construct(false); }
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};

class UMLAUF_API CMeasuringResultScalar
    : public CRecordOwner<CMeasuringResultScalarInterface, SMeasuringResultScalarPOD> {
 public:
  CMeasuringResultScalar() { _construct(false); }
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};
