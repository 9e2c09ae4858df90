#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <type_traits>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/record/FlatRecord.h"

namespace Clavis {

/// Element kinds. The first six are the fields of a key, in the order in which they lie in the record and in
/// which keys are compared; the last two exist as names only.
enum qOrder : unsigned {
  qMode = 0,  ///< test step
  qInstrument = 1,
  qChannel = 2,
  qLocation = 3,
  qInstrParam = 4,
  qSensor = 5,
  qType = 6,
  qBench = 7
};

inline constexpr int fieldCount = 6;
inline constexpr int kindCount = 8;
/// Value of a field that is not set.
inline constexpr int notSet = -1;

}  // namespace Clavis

/// Key record: which test step, instrument, channel, location, instrument parameter and sensor a measured
/// quantity belongs to. A plain record without initial value; `Clavis::SClavisClear` and the classes below
/// give it one. Keys are ordered field by field as signed integers, the first difference deciding.
struct SClavis {
  using Fields = int[Clavis::fieldCount];

  /// Field i, 0 <= i < 6.
  int& operator[](int i) { return field[i]; }
  int operator[](int i) const { return field[i]; }
  /// Field of one of the first six kinds.
  int& operator[](Clavis::qOrder kind) { return field[kind]; }
  int operator[](Clavis::qOrder kind) const { return field[kind]; }
  int& Mode() { return field[Clavis::qMode]; }
  int Mode() const { return field[Clavis::qMode]; }
  int& Instrument() { return field[Clavis::qInstrument]; }
  int Instrument() const { return field[Clavis::qInstrument]; }
  int& Location() { return field[Clavis::qLocation]; }
  int Location() const { return field[Clavis::qLocation]; }
  int& InstrParam() { return field[Clavis::qInstrParam]; }
  int InstrParam() const { return field[Clavis::qInstrParam]; }
  int& Sensor() { return field[Clavis::qSensor]; }
  int Sensor() const { return field[Clavis::qSensor]; }
  /// The six fields as an array.
  Fields& Field() { return field; }
  const Fields& Field() const { return field; }

  Fields field;
};

static_assert(sizeof(SClavis) == 24 && alignof(SClavis) == 4 && offsetof(SClavis, field) == 0);
static_assert(std::is_trivial_v<SClavis> && std::is_standard_layout_v<SClavis>);

UMLAUF_API std::strong_ordering operator<=>(const SClavis& a, const SClavis& b);
inline bool operator==(const SClavis& a, const SClavis& b) { return (a <=> b) == 0; }

namespace Clavis {

/// Resets a key record: all six fields not set.
UMLAUF_API void SClavisClear(SClavis& key);

/// Writes the six fields as decimal integers separated by one space ("1 2 3 -1 -1 7"), without regard to the
/// stream's locale and number format. A width of the stream (`setw`) is that of the whole key.
UMLAUF_API std::ostream& operator<<(std::ostream& out, const SClavis& key);
UMLAUF_API std::wostream& operator<<(std::wostream& out, const SClavis& key);
/// Reads six decimal integers separated by white space. When one of them is missing or does not fit 32 bits
/// the stream fails and the key keeps its value.
UMLAUF_API std::istream& operator>>(std::istream& in, SClavis& key);
UMLAUF_API std::wistream& operator>>(std::wistream& in, SClavis& key);

}  // namespace Clavis

// So that `out << key` finds them from everywhere.
using Clavis::operator<<;
using Clavis::operator>>;

class CClavisPODOwnerInterface;
class CResourceSea;

/// A key as a value: a key record with an initial state, all six fields not set.
class UMLAUF_API CClavis : public SClavis {
 public:
  CClavis() : CClavis(-1, -1, -1, -1, -1, -1) {}
  CClavis(int mode, int instrument, int channel, int location, int instrParam, int sensor)
      : SClavis{{mode, instrument, channel, location, instrParam, sensor}} {}
  CClavis(const SClavis& key) : SClavis(key) {}  // NOLINT(google-explicit-constructor): it is that key
  CClavis(const CClavisPODOwnerInterface& key);  // NOLINT(google-explicit-constructor)

  SClavis& Base() { return *this; }
  const SClavis& Base() const { return *this; }

  /// Combines another key into this one: fields that are not set here are taken from the other key.
  CClavis& operator+=(const SClavis& other);

  /// Takes the key from an entry of the application's settings database (CSeaBase::ApplicationSea): field i
  /// is value i. Fields that the entry does not hold keep their values; false when it holds none.
  bool ReadSea(const CString& path);
  /// Stores the six fields as values 0-5 of the entry; false, and nothing was written, on failure.
  bool WriteSea(const CString& path) const;
  /// Takes field `index` from value `index` of an entry; false, and the field keeps its value, when that
  /// value is not there or there is no such field.
  bool SeaLookup(int index, const CString& path, const CResourceSea& sea);
};

/// The logic of a key that lies in a larger record (see CPODHolder). Its initial state is all fields not set.
class UMLAUF_API CClavisPODOwnerInterface : public CPODHolder<SClavis> {
 public:
  using CPODHolder::CPODHolder;
  using CPODHolder::operator=;

  void _construct(bool keep) override;

  SClavis& Base() { return pod(); }
  const SClavis& Base() const { return pod(); }
  operator const SClavis&() const { return pod(); }  // NOLINT(google-explicit-constructor)

  int& operator[](int i) { return pod()[i]; }
  int operator[](int i) const { return pod()[i]; }
  int& operator[](Clavis::qOrder kind) { return pod()[kind]; }
  int operator[](Clavis::qOrder kind) const { return pod()[kind]; }
  int& Mode() { return pod().Mode(); }
  int Mode() const { return pod().Mode(); }
  int& Instrument() { return pod().Instrument(); }
  int Instrument() const { return pod().Instrument(); }
  int& Location() { return pod().Location(); }
  int Location() const { return pod().Location(); }
  int& InstrParam() { return pod().InstrParam(); }
  int InstrParam() const { return pod().InstrParam(); }
  int& Sensor() { return pod().Sensor(); }
  int Sensor() const { return pod().Sensor(); }
  SClavis::Fields& Field() { return pod().Field(); }
  const SClavis::Fields& Field() const { return pod().Field(); }
};

/// A key record of its own behind the same logic, for streams of flat records.
class UMLAUF_API CClavisPODOwner : public CRecordOwner<CClavisPODOwnerInterface, SClavis> {
 public:
  CClavisPODOwner() { _construct(false); }
  using CRecordOwner::CRecordOwner;
  using CRecordOwner::operator=;
};
