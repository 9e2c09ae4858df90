#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/record/FlatRecord.h"
#include "umlauf/units/MeasuringUnit.h"

/// What every channel has: an application signal id and a unit. As initialised here it is in its initial
/// state, like all records of this file.
struct SChannelDescriptionPOD {
  /// -1 = none. Of a channel with sub-channels the ids of both: low and high 16 bits.
  std::int32_t appSigId = -1;
  SMeasuringUnitPOD unit;
};
static_assert(sizeof(SChannelDescriptionPOD) == 20 && offsetof(SChannelDescriptionPOD, appSigId) == 0 &&
              offsetof(SChannelDescriptionPOD, unit) == 4);

/// An x dimension: an axis along which samples are indexed. Index i lies at x0 + i * delta.
struct SXChannelDescriptionPOD {
  std::uint32_t length = 0;    ///< total length [samples]
  std::uint32_t beginIdx = 0;  ///< first index in use
  std::uint32_t endIdx = 0;    ///< one past the last index in use
  float x0 = 0.0f;             ///< x value at index 0 [unit of the axis]
  float delta = 1.0f;          ///< step between two indices [unit of the axis]
  SChannelDescriptionPOD channel;
};
static_assert(sizeof(SXChannelDescriptionPOD) == 40 && offsetof(SXChannelDescriptionPOD, length) == 0 &&
              offsetof(SXChannelDescriptionPOD, beginIdx) == 4 &&
              offsetof(SXChannelDescriptionPOD, endIdx) == 8 && offsetof(SXChannelDescriptionPOD, x0) == 12 &&
              offsetof(SXChannelDescriptionPOD, delta) == 16 &&
              offsetof(SXChannelDescriptionPOD, channel) == 20);

/// A y channel: a measured quantity and how its samples are coded.
struct SYChannelDescriptionPOD {
  std::uint8_t coordinate = 0;  ///< not 0: the channel holds coordinates rather than measured values
  std::uint8_t padding[3] = {};
  std::uint32_t channelCoding = 0;  ///< CYChannelDescriptionInterface::EChannelCoding
  std::uint32_t codingFlags = 0;    ///< CYChannelDescriptionInterface::ECodingFlags
  float gauge = 1.0f;               ///< factor from stored to physical values
  SChannelDescriptionPOD channel;
};
static_assert(sizeof(SYChannelDescriptionPOD) == 36 && offsetof(SYChannelDescriptionPOD, coordinate) == 0 &&
              offsetof(SYChannelDescriptionPOD, channelCoding) == 4 &&
              offsetof(SYChannelDescriptionPOD, codingFlags) == 8 &&
              offsetof(SYChannelDescriptionPOD, gauge) == 12 &&
              offsetof(SYChannelDescriptionPOD, channel) == 16);

/// Id and unit of a channel, over a record that lies elsewhere and must outlive the object. Like all classes
/// of this file: a value for one thread at a time, makes no check of the record, nothing throws; assignment
/// copies the record's bytes and never points elsewhere.
class UMLAUF_API CChannelDescriptionInterface : public CPODHolder<SChannelDescriptionPOD> {
 public:
  explicit CChannelDescriptionInterface(SChannelDescriptionPOD& record)
      : CPODHolder(record), unit_(record.unit) {}
  CChannelDescriptionInterface(CChannelDescriptionInterface&&) noexcept = default;
  CChannelDescriptionInterface& operator=(const CChannelDescriptionInterface& other) {
    return *this = other.pod();
  }
  CChannelDescriptionInterface& operator=(const SChannelDescriptionPOD& record) {
    CPODHolder::operator=(record);
    return *this;
  }
  void _construct(bool keep) override;

  /// Application signal id; -1 = none.
  int AppSigId() const { return pod().appSigId; }
  void AppSigId(int id) { pod().appSigId = id; }
  CMeasuringUnitInterface& Unit() { return unit_; }
  const CMeasuringUnitInterface& Unit() const { return unit_; }

 private:
  CMeasuringUnitInterface unit_;
};

/// An x dimension: range of indices in use and their x values. Values are formed in single precision.
class UMLAUF_API CXChannelDescriptionInterface : public CChannelDescriptionInterface,
                                                 public CPODHolder<SXChannelDescriptionPOD> {
 public:
  explicit CXChannelDescriptionInterface(SXChannelDescriptionPOD& record)
      : CChannelDescriptionInterface(record.channel), CPODHolder<SXChannelDescriptionPOD>(record) {}
  CXChannelDescriptionInterface(CXChannelDescriptionInterface&&) noexcept = default;
  CXChannelDescriptionInterface& operator=(const CXChannelDescriptionInterface& other) {
    return *this = other.pod();
  }
  CXChannelDescriptionInterface& operator=(const SXChannelDescriptionPOD& record) {
    CPODHolder<SXChannelDescriptionPOD>::operator=(record);
    return *this;
  }
  using CPODHolder<SXChannelDescriptionPOD>::pod;
  void _construct(bool keep) override;

  std::uint32_t BeginIdx() const { return pod().beginIdx; }
  void BeginIdx(std::uint32_t index) { pod().beginIdx = index; }
  std::uint32_t EndIdx() const { return pod().endIdx; }
  void EndIdx(std::uint32_t index) { pod().endIdx = index; }
  float Delta() const { return pod().delta; }
  void Delta(float delta) { pod().delta = delta; }

  /// Samples in use: EndIdx - BeginIdx; 0 when the end lies before the beginning.
  std::uint32_t Len() const { return EndIdx() > BeginIdx() ? EndIdx() - BeginIdx() : 0; }
  /// Total length n, all of it in use.
  void Len(std::uint32_t n);
  /// x value of the first sample in use.
  float Start() const { return static_cast<float>(BeginIdx()) * Delta() + pod().x0; }
  /// Moves the axis so that the first sample in use lies at `start`.
  void Start(float start) { pod().x0 = start - static_cast<float>(BeginIdx()) * Delta(); }
  /// Samples in use times the step.
  float XLen() const { return static_cast<float>(Len()) * Delta(); }
  /// Index, with fraction, at which x lies; infinite or NaN when the step is 0.
  float Idx(float x) const { return (x - pod().x0) / Delta(); }
};

/// A y channel: coding, gauge and ids.
class UMLAUF_API CYChannelDescriptionInterface : public CChannelDescriptionInterface,
                                                 public CPODHolder<SYChannelDescriptionPOD> {
 public:
  enum EChannelCoding : std::uint32_t {
    codingInt = 1,      ///< 32-bit signed
    codingFloat = 2,    ///< 32-bit float
    codingTis24 = 3,    ///< 24-bit encoder data stream (TIS)
    codingUInt = 4,     ///< 32-bit unsigned
    codingInt16 = 5,    ///< 16-bit signed
    codingInt16x2 = 6,  ///< two 16-bit integers in 32 bits
    codingRaw = 8,      ///< raw data
    codingRIE = 12      ///< encoder data stream of the second kind (quadrature)
  };
  enum ECodingFlags : std::uint32_t {
    flagSubChans = 1u << 0,    ///< two sub-channels; AppSigId holds two 16-bit ids
    flagCanbusData = 1u << 3,  ///< CAN-bus data
    flagFourfold = 1u << 5,    ///< encoder streams: four counts per line
    flagHighRes = 1u << 6      ///< encoder streams: high time resolution
  };
  /// Format of an encoder data stream, see CDzPulsTisDetector.
  enum ETisMode : int {
    tisNone = 0,  ///< no encoder stream
    tisStandard = 1,
    tisQuadratureFourfold = 2,
    tisQuadrature = 3,
    tisHighRes = 4,
    tisQuadratureFourfoldHighRes = 5,
    tisQuadratureHighRes = 6
  };

  explicit CYChannelDescriptionInterface(SYChannelDescriptionPOD& record)
      : CChannelDescriptionInterface(record.channel), CPODHolder<SYChannelDescriptionPOD>(record) {}
  CYChannelDescriptionInterface(CYChannelDescriptionInterface&&) noexcept = default;
  CYChannelDescriptionInterface& operator=(const CYChannelDescriptionInterface& other) {
    return *this = other.pod();
  }
  CYChannelDescriptionInterface& operator=(const SYChannelDescriptionPOD& record) {
    CPODHolder<SYChannelDescriptionPOD>::operator=(record);
    return *this;
  }
  using CPODHolder<SYChannelDescriptionPOD>::pod;
  void _construct(bool keep) override;

  bool Coordinate() const { return pod().coordinate != 0; }
  void Coordinate(bool on) { pod().coordinate = on; }
  /// Factor from stored to physical values.
  float Gauge() const { return pod().gauge; }
  void Gauge(float factor) { pod().gauge = factor; }
  std::uint32_t ChannelCoding() const { return pod().channelCoding; }
  void ChannelCoding(std::uint32_t coding) { pod().channelCoding = coding; }
  std::uint32_t CodingFlags() const { return pod().codingFlags; }
  void CodingFlags(std::uint32_t flags) { pod().codingFlags = flags; }
  /// Sets or clears the flag with a bit number; 32 and above do nothing.
  void SetCodingFlag(unsigned bit, bool on);
  /// Whether all bits of the mask are set in the flags.
  bool HasCoding(std::uint32_t mask) const { return (CodingFlags() & mask) == mask; }
  bool HasSubChans() const { return HasCoding(flagSubChans); }
  bool IsCanbusData() const { return HasCoding(flagCanbusData); }

  bool IsIntChannel() const { return ChannelCoding() == codingInt; }
  bool IsFloatChannel() const { return ChannelCoding() == codingFloat; }
  bool IsTis24Channel() const { return ChannelCoding() == codingTis24; }
  bool IsUIntChannel() const { return ChannelCoding() == codingUInt; }
  bool IsInt16Channel() const { return ChannelCoding() == codingInt16; }
  bool IsInt16x2Channel() const { return ChannelCoding() == codingInt16x2; }
  bool IsRawChannel() const { return ChannelCoding() == codingRaw; }

  /// Format of the encoder stream that a coding and its flags stand for; `tisNone` for every other coding.
  ETisMode TisMode() const { return TisMode(ChannelCoding(), CodingFlags()); }
  static ETisMode TisMode(std::uint32_t coding, std::uint32_t flags);

  /// Id of the channel in the low word, 0 ... 65534; -1 = none.
  int AppSigIdLwChan() const;
  /// Replaces the low half of AppSigId by the low 16 bits of the id.
  void AppSigIdLwChan(int id);
  /// Id of the channel in the high word, -32768 ... 32767; -1 = none.
  int AppSigIdHwChan() const;
  /// Replaces the high half of AppSigId by the low 16 bits of the id.
  void AppSigIdHwChan(int id);

  /// Makes it a channel of float samples of measured values, without flags.
  void SetFloatChannel(int id);
  /// Makes it an encoder data stream with two channels of 16 bits each.
  void SetTisChannels(int lwId, int hwId, bool highRes);
  /// Makes it an encoder data stream of the second kind.
  void SetRIEChannel(int id, bool highRes, bool fourfold);

 private:
  void set_tis_channel(bool highRes);
};

/// A channel description that owns its record; likewise the two below. The flat form is the record.
class UMLAUF_API CChannelDescription
    : public CRecordOwner<CChannelDescriptionInterface, SChannelDescriptionPOD> {
 public:
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};

class UMLAUF_API CXChannelDescription
    : public CRecordOwner<CXChannelDescriptionInterface, SXChannelDescriptionPOD> {
 public:
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};

class UMLAUF_API CYChannelDescription
    : public CRecordOwner<CYChannelDescriptionInterface, SYChannelDescriptionPOD> {
 public:
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};
