#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/typed/MarshalingYard.h"
#include "umlauf/typed/SideRecord.h"

/// An event while a recorded signal is played back. As initialised here it is the initial state.
struct SWavPlaybackEventPOD {
  enum event_type : std::uint32_t {
    eventNone = 0,
    eventStart = 1,
    eventStop = 2,
    eventPause = 3,
    eventResume = 4,
    eventSpeed = 5,  ///< the speed factor changed
    eventEnd = 6     ///< the end of the recording was reached
  };

  std::uint32_t type = eventNone;
  float speedFactor = 0.0f;
};
static_assert(sizeof(SWavPlaybackEventPOD) == 8 && offsetof(SWavPlaybackEventPOD, type) == 0 &&
              offsetof(SWavPlaybackEventPOD, speedFactor) == 4);

/// Marks an event of a playback beside the signal. A plain value; the flat form is the 8 bytes of the record.
class UMLAUF_API CWavPlaybackEventInfo : public CSideRecord<SWavPlaybackEventPOD> {
 public:
  using CSideRecord::CSideRecord;
  using CSideRecord::operator=;

  /// A value of `SWavPlaybackEventPOD::event_type`.
  std::uint32_t EventType() const { return pod().type; }
  void EventType(std::uint32_t type) { pod().type = type; }
  /// Playback speed: 1 = as recorded, 0 = not known.
  float SpeedFactor() const { return pod().speedFactor; }
  void SpeedFactor(float factor) { pod().speedFactor = factor; }
};

template <>
struct MarshalingYard::ID<CWavPlaybackEventInfo> : MarshalingYard::Tag<'W', 'p', 'l', 'E'> {};
