#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/typed/MarshalingYard.h"
#include "umlauf/typed/SideRecord.h"

/// How a signal was resampled. As initialised here it is the initial state.
struct SResampInfoPOD {
  /// Bits; none of them is resampling at a fixed rate.
  enum resamp_type : std::uint32_t {
    resampFx = 0,
    resampSync = 1u << 0,              ///< synchronous
    resampAngular = 1u << 1,           ///< by angle
    resampZeroDegreeAligned = 1u << 2  ///< starts at zero degrees
  };

  std::uint32_t type = resampFx;
  std::uint32_t padding4 = 0;
  double ratio = 0.0;
  float revPerBlock = 0.0f;
  float advanceSamples = 0.0f;
  std::int32_t refRotLocId = -1;
  std::uint32_t padding28 = 0;
  double refRotRatio = 0.0;
  std::int32_t refSpeedId = -1;
  std::int32_t channel = -1;
  std::int32_t location = -1;
  std::uint32_t padding52 = 0;
};
static_assert(sizeof(SResampInfoPOD) == 56 && offsetof(SResampInfoPOD, type) == 0 &&
              offsetof(SResampInfoPOD, ratio) == 8 && offsetof(SResampInfoPOD, revPerBlock) == 16 &&
              offsetof(SResampInfoPOD, advanceSamples) == 20 && offsetof(SResampInfoPOD, refRotLocId) == 24 &&
              offsetof(SResampInfoPOD, refRotRatio) == 32 && offsetof(SResampInfoPOD, refSpeedId) == 40 &&
              offsetof(SResampInfoPOD, channel) == 44 && offsetof(SResampInfoPOD, location) == 48 &&
              offsetof(SResampInfoPOD, padding52) == 52);

/// Resample information that travels beside a signal: by time, angle or order, against which reference speed
/// and rotation. A plain value; the flat form is the 56 bytes of the record. Ids and numbers are -1 when
/// unknown.
class UMLAUF_API CResampInfo : public CSideRecord<SResampInfoPOD> {
 public:
  using CSideRecord::CSideRecord;
  using CSideRecord::operator=;

  /// Bits of `SResampInfoPOD::resamp_type`.
  std::uint32_t ResampType() const { return pod().type; }
  void ResampType(std::uint32_t bits) { pod().type = bits; }
  bool IsSyncResamp() const { return (ResampType() & SResampInfoPOD::resampSync) != 0; }
  bool IsAngularResamp() const { return (ResampType() & SResampInfoPOD::resampAngular) != 0; }
  bool IsZeroDegreeAligned() const { return (ResampType() & SResampInfoPOD::resampZeroDegreeAligned) != 0; }
  bool IsFxResamp() const { return ResampType() == SResampInfoPOD::resampFx; }

  /// Resampling ratio.
  double Ratio() const { return pod().ratio; }
  void Ratio(double ratio) { pod().ratio = ratio; }
  /// Revolutions per block.
  float RevPerBlock() const { return pod().revPerBlock; }
  void RevPerBlock(float revolutions) { pod().revPerBlock = revolutions; }
  /// Advance [samples].
  float AdvanceSamples() const { return pod().advanceSamples; }
  void AdvanceSamples(float samples) { pod().advanceSamples = samples; }
  /// Location id of the reference rotation, and the ratio to it.
  int RefRotLocId() const { return pod().refRotLocId; }
  void RefRotLocId(int id) { pod().refRotLocId = id; }
  double RefRotRatio() const { return pod().refRotRatio; }
  void RefRotRatio(double ratio) { pod().refRotRatio = ratio; }
  /// Application signal id of the reference speed.
  int RefSpeedId() const { return pod().refSpeedId; }
  void RefSpeedId(int id) { pod().refSpeedId = id; }
  int Channel() const { return pod().channel; }
  void Channel(int channel) { pod().channel = channel; }
  int Location() const { return pod().location; }
  void Location(int location) { pod().location = location; }
};

template <>
struct MarshalingYard::ID<CResampInfo> : MarshalingYard::Tag<'R', 's', 'a', 'I'> {};
