#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/typed/MarshalingYard.h"
#include "umlauf/typed/SideRecord.h"

/// A change of state of a trigger. As initialised here it is the initial state.
struct STriggerInfoPOD {
  enum state : std::uint32_t {
    stateUndef = 0,
    stateStart = 1,
    stateEnter = 2,
    stateLeave = 3,
    stateInval = 4,
    stateStop = 5
  };

  std::uint32_t current = stateUndef;
  std::int32_t triggerId = -1;    ///< which trigger; -1 = not known
  std::uint64_t sampleIndex = 0;  ///< sample from which the state holds, counted from the start of the signal
};
static_assert(sizeof(STriggerInfoPOD) == 16 && offsetof(STriggerInfoPOD, current) == 0 &&
              offsetof(STriggerInfoPOD, triggerId) == 4 && offsetof(STriggerInfoPOD, sampleIndex) == 8);

/// Trigger information beside a signal. A plain value; the flat form is the 16 bytes of the record.
class UMLAUF_API CTriggerInfo : public CSideRecord<STriggerInfoPOD> {
 public:
  using CSideRecord::CSideRecord;
  using CSideRecord::operator=;

  /// A value of `STriggerInfoPOD::state`.
  std::uint32_t State() const { return pod().current; }
  void State(std::uint32_t state) { pod().current = state; }
  int TriggerId() const { return pod().triggerId; }
  void TriggerId(int id) { pod().triggerId = id; }
  std::uint64_t SampleIndex() const { return pod().sampleIndex; }
  void SampleIndex(std::uint64_t index) { pod().sampleIndex = index; }

  /// Display name of a state: "undef", "start", "enter", "leave", "inval", "stop"; "?" for any other number.
  static const wchar_t* StateName(std::uint32_t state);
};

template <>
struct MarshalingYard::ID<CTriggerInfo> : MarshalingYard::Tag<'T', 'r', 'g', 'I'> {};
