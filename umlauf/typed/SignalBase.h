#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/record/FlatRecord.h"
#include "umlauf/typed/Description.h"
#include "umlauf/typed/MeasuringResult.h"

/// Base record of a typed signal: what was measured, and how its samples are arranged.
struct SSignalBasePOD {
  SMeasuringResultBasePOD result;
  SDescriptionPOD description;
  std::uint32_t reserved = 0;  ///< travels with the record; nothing reads it
};
static_assert(sizeof(SSignalBasePOD) == 2640 && offsetof(SSignalBasePOD, result) == 0 &&
              offsetof(SSignalBasePOD, description) == 192 && offsetof(SSignalBasePOD, reserved) == 2636);

/// Mask of channels that selects all of a signal and its arrangement with them.
inline constexpr unsigned kAllChannels = 0xFFFFFFFFu;

/// The measuring result and the description of a signal, over a record that lies elsewhere and must outlive
/// the object. A value for one thread at a time; nothing throws or allocates.
class UMLAUF_API CSignalBaseInterface : public CMeasuringResultAggregateInterface,
                                        public CPODHolder<SSignalBasePOD> {
 public:
  explicit CSignalBaseInterface(SSignalBasePOD& record)
      : CMeasuringResultAggregateInterface(record.result),
        CPODHolder<SSignalBasePOD>(record),
        description_(record.description) {}
  CSignalBaseInterface(CSignalBaseInterface&&) noexcept = default;
  CSignalBaseInterface& operator=(const CSignalBaseInterface& other) { return *this = other.pod(); }
  CSignalBaseInterface& operator=(const SSignalBasePOD& record) {
    CPODHolder<SSignalBasePOD>::operator=(record);
    return *this;
  }
  using CPODHolder<SSignalBasePOD>::pod;
  /// Initialises the measuring result, which takes the next id, then the description.
  void _construct(bool keep) override;

  CDescriptionInterface& Description() { return description_; }
  const CDescriptionInterface& Description() const { return description_; }

 private:
  CDescriptionInterface description_;
};

/// A signal without samples that owns its base record. New ones take the next result id, copies and those
/// made from a record keep the id. The flat form is the 2640 bytes of the record.
class UMLAUF_API CSignalBase : public CRecordOwner<CSignalBaseInterface, SSignalBasePOD> {
 public:
  CSignalBase() { _construct(false); }
  using CRecordOwner::CRecordOwner;
  explicit CSignalBase(const CDescriptionInterface& description) : CSignalBase() {
    Description() = description;
  }
  /// A copy, arrangement included, of which only the channels of the mask are left.
  CSignalBase(const CSignalBase& other, unsigned mask);
  using CRecordOwner::operator=;

  /// Takes over the x dimensions of src and those of its y channels whose bit is set in the mask, packed into
  /// the slots from 0 on. src may be the own description. `kAllChannels` copies the whole record instead.
  /// Intended: only `kAllChannels` copies the signal coding; otherwise the own one stays.
  void reshape_description(const CDescriptionInterface& src, unsigned mask);
};
