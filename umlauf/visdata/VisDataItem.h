#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/framework/CObject.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/units/MeasuringUnit.h"
#include "umlauf/visdata/VisDataTypes.h"

/// Common base of the data that a presentation draws: names, data type, display modes, colour, units, the
/// value range of each axis, a scale factor and a block of raw data. The concrete classes say what the raw
/// data are and fill the ranges (`CalcRange`).
///
/// Owns name and raw data. Sizes of raw data count floats. Failed allocations are reported by the false
/// results of the raw-data operations only; without memory a name stays as it was. Nothing throws. One object
/// is used by one thread at a time.
class UMLAUF_API CVisDataItem : public CObject, public VisDataTypes {
  UMLAUF_DECLARE_DYNCREATE(CVisDataItem)

 public:
  /// Minimum and maximum.
  using Range = std::pair<float, float>;
  CVisDataItem() : CVisDataItem(Datatype{}) {}
  /// A copy of everything; without raw data when there is no memory for them.
  CVisDataItem(const CVisDataItem& other);
  /// Copies everything but the data type.
  CVisDataItem& operator=(const CVisDataItem& other);
  ~CVisDataItem() override = default;

  // Names; null counts as empty, and a text may lie in the item's own name
  const wchar_t* Name() const { return name_ != nullptr ? name_.get() : L""; }
  /// Characters that fit without allocating, with the closing 0; 51 at first, never shrinks.
  std::uint64_t NameCapacity() const { return nameCapacity_; }
  void SetName(const wchar_t* name);
  void AppendToName(const wchar_t* text);
  /// Empties name and extended name.
  void ClearNames();
  const CString& ExtName() const { return extName_; }
  void SetExtName(const CString& name);

  // Type
  int DataType() const { return dataType_; }
  /// Name of a data type code, "(unknown)" for others than the codes above.
  static wchar_t* DataTypeName(int dataType);
  bool DtIsPolygon() const { return dataType_ == DtPolygon; }
  bool DtSameAs(const CVisDataItem& other) const { return dataType_ == other.dataType_; }

  // Display
  std::uint32_t DisplayModes() const { return displayModes_; }
  void AddDisplayMode(Displaymode mode) { displayModes_ |= mode; }
  /// True when any bit of `mode` is set.
  bool HasDisplayMode(Displaymode mode) const { return (displayModes_ & mode) != 0; }
  /// Short names of a set of modes, in one buffer of the thread that its next call overwrites. Intended: only
  /// "Bg" has no "|" in front, so the others begin with it.
  static wchar_t* DisplayModeName(int modes);
  int ColourCode() const { return colourCode_; }
  void SetColourCode(int code) { colourCode_ = code; }
  FileCompress FileCompressionMode() const { return fileCompression_; }
  void SetFileCompressionMode(FileCompress mode) { fileCompression_ = mode; }
  SVisDataId& Id() { return id_; }
  const SVisDataId& Id() const { return id_; }

  // Scale, units, ranges
  float ScaleFactor() const { return scaleFactor_; }
  /// 1 / scale factor, 1 for the scale factor 0.
  float InverseScaleFactor() const { return inverseScaleFactor_; }
  void SetScaleFactor(float factor);
  CMeasuringUnit& XUnit() { return xUnit_; }
  CMeasuringUnit& YUnit() { return yUnit_; }
  CMeasuringUnit& ZUnit() { return zUnit_; }
  const CMeasuringUnit& XUnit() const { return xUnit_; }
  const CMeasuringUnit& YUnit() const { return yUnit_; }
  const CMeasuringUnit& ZUnit() const { return zUnit_; }
  void ClearUnits();
  /// (0, 1) until `CalcRange` finds something else.
  const Range& XRange() const { return xRange_; }
  const Range& YRange() const { return yRange_; }
  const Range& ZRange() const { return zRange_; }
  /// Fills the ranges of the given axes from the data; those that the class does not have stay. Without
  /// elements a range is (0, 1), that of an equidistant axis its ends.
  virtual void CalcRange(Dataaxis) {}
  /// Minimum and maximum of n floats as QVL::VectorMinMax finds them; n = 0 leaves the range alone.
  static void CalcVecRange(const float* values, std::uint64_t n, Range& range);

  // Raw data: a 128-byte aligned block
  float* RawData() { return raw_.get(); }
  const float* RawData() const { return raw_.get(); }
  /// Floats in the block.
  std::uint64_t RawCapacity() const { return rawCapacity_; }
  /// Makes room for n floats and zeroes all the room there is; n = 0 changes nothing. False, with no raw
  /// data, when there is no memory.
  bool AllocRawData(std::uint64_t n);
  /// Makes room for n floats by doubling (64 at least) and keeps what is there; new floats are zero. False
  /// when there is no memory. Intended: the capacity is then 0 while the old block stays, until the next
  /// allocation.
  bool ExpandRawData(std::uint64_t n);
  /// `AllocRawData(n)`, then a copy of n floats, which may lie in the item's own block. False, with no raw
  /// data, when there is no memory; false, and nothing changed, for null.
  bool CopyRawData(const float* source, std::uint64_t n);
  /// The whole block of another item; nothing when it has none.
  bool CopyRawData(const CVisDataItem& other);
  void FreeRawData();

  // Whole item
  /// Copies all but data type and raw data.
  void CopyInfos(const CVisDataItem& other);
  /// Back to the state of a new item, but data type, file-compression mode, the room for the name and the
  /// raw data block stay.
  virtual void Reset();

 protected:
  explicit CVisDataItem(Datatype dataType);
  /// Floats of n elements; saturates.
  static std::uint64_t FloatsFor(std::uint64_t n, std::uint64_t floatsPerElement);
  /// Expands the block and copies n words of 32 bits, which may lie in the block itself, behind the first
  /// `used` ones. False for null, and as `ExpandRawData` when there is no memory.
  bool AppendRawData(std::uint64_t used, const void* source, std::uint64_t n);

  void SetXRange(const Range& range) { xRange_ = range; }
  void SetYRange(const Range& range) { yRange_ = range; }
  void SetZRange(const Range& range) { zRange_ = range; }

 private:
  std::unique_ptr<wchar_t[]> name_;
  std::uint64_t nameCapacity_ = 0;
  CString extName_;
  SVisDataId id_;
  std::int32_t dataType_;
  std::uint32_t displayModes_ = 0;
  std::int32_t colourCode_ = 0;
  FileCompress fileCompression_ = CompressNone;
  CMeasuringUnit xUnit_;
  CMeasuringUnit yUnit_;
  CMeasuringUnit zUnit_;
  Range xRange_{0.0f, 1.0f};
  Range yRange_{0.0f, 1.0f};
  Range zRange_{0.0f, 1.0f};
  float scaleFactor_ = 1.0f;
  float inverseScaleFactor_ = 1.0f;
  umlauf::AlignedBlock<float> raw_;
  std::uint64_t rawCapacity_ = 0;
};
