#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CFile.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/signal/SigRaw.h"
#include "umlauf/units/MeasuringUnit.h"

/// Mix-in of two words for viewers; no operation of the library reads them.
struct CViewable {
  std::uint64_t viewWords[2] = {0, 0};
};

/// Header of every one-dimensional signal and the interface that all signals share: names, x and y units,
/// colour, ids, timestamp, an optional attached object, and the first section of the signal's file record.
///
/// Abstract; the concrete classes are CSigCurve, CSigCurveExt and CSigPairs. The signal owns its samples
/// unless a buffer was borrowed (`SetBuffer`). One object is used by one thread at a time.
class UMLAUF_API CSignal : public CSigRaw, public CViewable {
  UMLAUF_DECLARE_DYNAMIC(CSignal)

 public:
  /// Lower corner (x, y) and upper corner (x, y).
  using Range = std::pair<std::pair<float, float>, std::pair<float, float>>;

  CSignal();
  /// n zeroed samples.
  explicit CSignal(std::uint64_t n);
  /// Copies samples, info id, colour, timestamp and both names. `deep` asks for a separate copy of the
  /// extended name's characters, which a CString always is. Intended: the units stay at their default and the
  /// external data is not copied, unlike in assignment.
  CSignal(const CSignal& other, bool deep);
  CSignal(const CSignal& other) : CSignal(other, true) {}
  ~CSignal() override;
  /// Copies samples, data word, name, units, info id, extended name and timestamp; external data is dropped.
  /// Intended: colour, sub-type and x length are not copied.
  CSignal& operator=(const CSignal& other);

  // Storage; `Malloc`, `SetBuffer` and `Nullsetzen` are those of CSigRaw and leave the x length alone.
  /// As CSigRaw::Resize; the x length follows.
  bool Resize(std::uint64_t n) override;
  void Free();
  /// Appends the samples of another signal (also of this one).
  virtual void Append(const CSignal& other) = 0;

  // Names and units
  /// Never null. Valid until the name changes.
  const wchar_t* Name() const { return name_.c_str(); }
  void SetName(const wchar_t* name);
  void AppendToName(const wchar_t* text);
  /// The name as UTF-8 in a buffer of 500 bytes that all signals of a thread share: valid until its next
  /// call; a longer name is cut at a whole character.
  const char* NameA() const;
  /// Sets the name from UTF-8. A text of 500 or more characters is not converted: the name becomes empty.
  void SetNameA(const char* utf8);
  const CString& ExtName() const { return extName_; }
  void SetExtName(const CString& name) { extName_ = name; }
  /// From UTF-8.
  void SetExtName(const char* utf8) { extName_ = CString(utf8); }
  const CMeasuringUnit& XUnit() const { return xUnit_; }
  const CMeasuringUnit& YUnit() const { return yUnit_; }
  /// From a unit text such as "m/s²"; see CMeasuringUnitInterface::set. An unknown unit becomes "-".
  void SetXUnit(const CString& text);
  void SetYUnit(const CString& text);
  void SetXUnit(const CMeasuringUnit& unit);
  void SetYUnit(const CMeasuringUnit& unit);

  // Free fields
  /// Number of samples that count on the x axis.
  std::uint64_t XLen() const { return xLen_; }
  unsigned SigType() const { return sigType_; }
  void SigType(unsigned type) { sigType_ = type; }
  unsigned InfoID() const { return infoId_; }
  void InfoID(unsigned id) { infoId_ = id; }
  int Color() const { return color_; }
  void SetColor(int color) { color_ = color; }
  std::int64_t Timestamp() const { return timestamp_; }
  void SetTimestamp(std::int64_t timestamp) { timestamp_ = timestamp; }

  /// An object that travels with the signal. When attached (owned), it is deleted with the signal and by
  /// `CopyInfo`, assignment to the signal and header copies. Setting another one does not delete the one
  /// before.
  void* ExtData() { return extData_; }
  const void* ExtData() const { return extData_; }
  /// Sets the pointer and leaves the ownership as it is.
  void SetExtData(void* data) { extData_ = data; }
  /// Sets the pointer and hands over the ownership.
  void AttachExtData(CObject* object);
  /// Takes or gives back the ownership of the pointer, which must then be that of a CObject.
  void AttachExtData(bool owned) { ownsExtData_ = owned; }

  /// Takes over name, extended name and timestamp; external data is dropped. False for the signal itself.
  bool CopyInfo(const CSignal& source);

  // File record
  /// Writes the header section and the sections of the derived class; of curves the samples in 8 bits, unless
  /// `CSigCurve::SetFileCompression(false)` was called. Version 1 and 2 are written; version 0
  /// leaves the header section out. Errors of the file are the file's to report (CFile::Failed).
  virtual bool WriteToFile(CFile& file, unsigned version) const;
  /// Reads what `WriteToFile` wrote with the same version (1 or 2). False for other versions, a short name
  /// field or unit record; fields read before the failure keep their new values.
  virtual bool ReadFromFile(CFile& file, unsigned version);
  /// Version to write with: 2.
  static unsigned CurrentFileVersion() { return 2; }

  // What every signal offers
  virtual CSignal& Abs() = 0;
  /// Ceiling (upper) or floor at a y value.
  virtual CSignal& Clip(float value, bool upper) = 0;
  virtual CSignal& Add(float value) = 0;
  virtual CSignal& Scale(float factor) = 0;
  /// Cuts off what lies left (right) of an x position.
  virtual CSignal& CutLeft(float x) = 0;
  virtual CSignal& CutRight(float x) = 0;
  virtual CSignal& CutLR(float left, float right) = 0;
  /// Distance from a point to the signal; the index of the nearest sample goes to `index` when given.
  virtual float PointDistance(float x, float y, std::size_t* index) const = 0;
  virtual bool IsInRange(float x) const = 0;
  virtual float GetValue(float x) const = 0;
  /// Ranges; the outputs stay as they are when there are no samples.
  virtual void GetXRange(float& lo, float& hi) const = 0;
  virtual void GetYRange(float& lo, float& hi) const = 0;
  virtual void GetYRangeX(float& lo, float& hi, float x1, float x2) const = 0;
  virtual void GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const = 0;
  /// Points of the smallest and of the greatest y.
  virtual Range YRange() const = 0;

  /// Widens `acc` to hold `other`: lower corner by minimum, upper corner by maximum; NaN in `other` changes
  /// nothing.
  static void ExpandRange(Range& acc, const Range& other);
  /// Narrows `acc` to what it shares with `other`: lower corner by maximum, upper corner by minimum.
  static void ShrinkRange(Range& acc, const Range& other);

 protected:
  /// Asks for a copy without the samples.
  struct HeaderOnly {};
  CSignal(const CSignal& other, HeaderOnly);
  void SetXLen(std::uint64_t n) { xLen_ = n; }
  /// Empties the name and clears both units.
  void ClearNames();
  void ClearUnits();
  virtual void InitHeader();
  /// Takes extended name and timestamp from a source and drops external data.
  void InitHeader(const CSignal& source, bool deep);

 private:
  void DropExtData();
  static void WriteUnit(CFile& file, const CMeasuringUnit& unit);

  void* extData_ = nullptr;
  bool ownsExtData_ = false;
  std::uint64_t xLen_ = 0;
  CMeasuringUnit xUnit_;
  CMeasuringUnit yUnit_;
  unsigned sigType_ = 0;
  unsigned infoId_ = 0;
  int color_ = 0;
  std::wstring name_;
  CString extName_;
  std::int64_t timestamp_ = 0;
};
