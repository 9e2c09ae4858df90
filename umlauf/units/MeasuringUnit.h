#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/record/FlatRecord.h"
#include "umlauf/units/CommonUnits.h"

class CFile;

/// A unit as it lies in flat streams: unit^power with a decimal prefix, plain, in dB or as a logarithm. As
/// initialised here it is the cleared unit.
struct SMeasuringUnitPOD {
  std::uint32_t unit = 0;     ///< registry index of the name; the common units come first
  std::int16_t exponent = 0;  ///< decimal exponent of the prefix: 3 for "k"; values count 10^exponent units
  std::int16_t power = 1;     ///< 1 plain, 2 squared, -1 inverse
  float logref = 1.0f;        ///< reference value of a logarithmic presentation
  unitFlags flags = 0;
};
static_assert(sizeof(SMeasuringUnitPOD) == 16 && offsetof(SMeasuringUnitPOD, exponent) == 4 &&
              offsetof(SMeasuringUnitPOD, power) == 6 && offsetof(SMeasuringUnitPOD, logref) == 8 &&
              offsetof(SMeasuringUnitPOD, flags) == 12);

/// The physical unit of a signal axis, over a record that lies elsewhere: parsing, text, comparison,
/// conversion and file record. Does not own the record, which must outlive it; makes no check of the
/// record, so that any 16 bytes are a unit (an index without a name reads as "-").
///
/// Units are values for one thread at a time. The registry of unit names behind them is one for the process
/// and may be used by all threads. Nothing throws: without memory, texts are empty and operations that
/// return bool fail.
class UMLAUF_API CMeasuringUnitInterface : public CPODHolder<SMeasuringUnitPOD>, public CommonUnits {
 public:
  /// Lays the unit over a record, whose values stay.
  explicit CMeasuringUnitInterface(SMeasuringUnitPOD& record) : CPODHolder(record) {}
  CMeasuringUnitInterface(CMeasuringUnitInterface&&) noexcept = default;
  /// Copies the 16 bytes of the record; the holder goes on referring to its own.
  CMeasuringUnitInterface& operator=(const CMeasuringUnitInterface& other);
  CMeasuringUnitInterface& operator=(const SMeasuringUnitPOD& record);
  void copy(const CMeasuringUnitInterface& other) { *this = other; }
  void copy(const SMeasuringUnitPOD& record) { *this = record; }
  void set(const SMeasuringUnitPOD& record) { *this = record; }
  void set(std::uint32_t unit, std::int16_t exponent, std::int16_t power, float logref, unitFlags flags);

  /// With keep false as `clear`.
  void _construct(bool keep) override;
  /// Unit 0, exponent 0, power 1, logref 1.0, flags 0.
  void clear();
  /// True when the unit index is 0, whatever the other fields.
  bool empty() const { return unit() == none; }
  bool operator!() const { return empty(); }

  std::uint32_t unit() const { return pod().unit; }
  void unit(std::uint32_t index) { pod().unit = index; }
  std::int16_t exponent() const { return pod().exponent; }
  void exponent(std::int16_t exponent) { pod().exponent = exponent; }
  void clearExponent() { pod().exponent = 0; }
  std::int16_t power() const { return pod().power; }
  void set_power(std::int16_t power) { pod().power = power; }
  /// Power 0, not 1: `prefixunit` is empty then.
  void clearPower() { pod().power = 0; }
  float logref() const { return pod().logref; }
  void logref(float reference) { pod().logref = reference; }
  unitFlags flags() const { return pod().flags; }
  bool is_db() const { return (flags() & flag_db) != 0; }
  bool is_log() const { return (flags() & flag_log) != 0; }
  void set_db(bool on);
  void set_log(bool on);

  /// Reads a unit from text, for example "m/s²", "(m/s)²", "V^-1", "kHz", "dB(Pa)" or "10^ V":
  ///
  /// - "km/h" and "mph" as they stand; then "dB(...)" around the rest sets `flag_db`, and "10^ " before it
  ///   sets `flag_log`.
  /// - What is left is an expression (CArithExpression; "²" and "³" are "^2" and "^3"). A power operator at
  ///   its root with an integer operand is the unit's power; the rest, without needless parentheses, is the
  ///   name.
  /// - A name of two characters or more that begins with one of "f p n u µ m k M G T", not followed by an
  ///   operator or parenthesis, loses this prefix letter.
  ///   Intended: the exponent becomes the square of the prefix's ("kHz" and "mHz" both have exponent 9);
  ///   use `exponent(short)` to give a unit its prefix.
  /// - The name is looked up among the registered names, then the alternative ones ("Rpm", "UpM", "n" ...).
  ///   An unknown name, and a lone "-", is unit 0; the result is true all the same.
  ///
  /// False, with the cleared unit, for no text (null or empty), and with a message in the log for a text
  /// that is no expression or has a power outside 16 bits.
  ///
  /// What `prefixstring` gives for a common unit with exponent 0, any power, is read back as the same unit,
  /// except "pu" (prefix "p"), "km/h" and "mph" with a power other than 1 (prefixes "k" and "m"), and "-",
  /// whose power is not printed. Within "dB(...)" and behind "10^ ", "km/h" and "mph" are excepted, too.
  bool set(const wchar_t* text);
  /// As `set(const wchar_t*)` for text in code page 1252. Text of more than 255 bytes is refused: false,
  /// and the unit is cleared.
  bool setA(const char* text);

  /// Name with prefix and power, for example "kV²", "(m/s)^4", "V^(-1)". An exponent that is no multiple of
  /// 3 has the rest as a number in front ("1e+01km" for exponent 4 on "m"); one beyond the prefixes f to T
  /// is a number as a whole ("1e+36m").
  CString prefixstring() const;
  /// The text for people: `prefixstring`, within "dB(...)" for dB units, and for logarithmic ones "10^ ..."
  /// when `longForm`, else "log(...)". dB wins over logarithmic. Empty when the power is 0.
  CString prefixunit(bool longForm) const;
  /// `prefixunit` in code page 1252, cut to 255 bytes, in one buffer of the thread: its next call, for
  /// any unit, overwrites it.
  const char* prefixunitA(bool longForm) const;
  /// The name alone, without prefix or power.
  CString baseunit() const { return UnitString(unit()); }
  /// Whether dB units are shown as "dB(...)" or just as "dB". One for the process; true at first. Plain:
  /// set it before threads share it.
  static bool m_showUnitWithDb;

  /// Letter of a prefix group (exponent / 3): "f" for -5 ... "T" for 4; "-" for 0 and outside.
  static wchar_t prefix(int group);
  /// Prefix group and rest of the exponent: exponent = 3 · group + rest, rest 0, 1 or 2.
  std::pair<int, int> prefixidx() const;

  /// Moves the exponent to the multiple of 3 that gives the value x, which is in this unit, one to three
  /// digits before the point. Returns the decimal shift: x · 10^shift is the value in the new unit. 0,
  /// infinities and NaN change nothing and return 0.
  int engineering(float x);
  /// Moves to the SI unit of the family and returns the factor for values. The factor is 0 for units that
  /// have none ("-" and all above the common ones), and may leave the range of float for extreme exponents.
  /// Intended: the exponent becomes 1, not 0, although the factor is that to the unit without prefix.
  float normalize();
  /// Factor by which values in this unit are multiplied to be in `other`; 0 when the powers or the SI units
  /// differ. Units without an SI unit ("-" and all above the common ones) count as one family without a
  /// factor: they give 1 among equals with equal exponents, else NaN, infinity or 0.
  float scale_to(const CMeasuringUnitInterface& other) const;
  /// Whether values can be shown on one axis: same SI unit, power, logref and flags.
  bool matches(const CMeasuringUnitInterface& other) const;
  /// Moves to the unit of the reciprocal: the new value is the returned factor / value. "rpm" becomes "s"
  /// with factor 60; units without an inverse unit get the opposite power and exponent, factor 1.
  /// Logarithmic units stay, factor 1. Opposite numbers saturate at 16 bits.
  float invert();
  /// Raises the unit to the n-th power: power and exponent times n, saturated at 16 bits.
  void power(std::int16_t n);
  /// The n-th root; the exponent is cut toward 0. False, and nothing changes, when the power is not
  /// divisible by n, or n or the power is 0 (n = 1 always succeeds).
  bool root(std::int16_t n);

  /// All five fields equal.
  bool operator==(const CMeasuringUnitInterface& other) const;
  /// `prefixunit(false)` equals the text, case-sensitively.
  bool operator==(const CString& text) const;
  /// The same unit index, whatever the other fields.
  bool operator==(commonUnits common) const { return unit() == common; }

  /// Writes the unit's record (version 2: version, length and bytes of the name in code page 1252, then the
  /// 16 bytes of the flat record, little-endian). A name is cut to 255 bytes; characters outside the code
  /// page become "?". False when writing failed.
  bool WriteToFile(CFile& file) const;
  /// Reads a record of versions 0 to 12. The name of an uncommon unit is registered, whatever
  /// `registerUncommonUnits` says. False when there is no version byte or another version (the unit stays
  /// as it was), and when the file ends within the record (the unit is cleared).
  bool ReadFromFile(CFile& file);

  /// Registered name with an index; that of index 0, "-", when there is none.
  static CString UnitString(std::uint32_t index);
  /// Columns of the table of common units (SCommonUnit); 0 for an uncommon unit.
  static std::uint32_t inverse(std::uint32_t index);
  static float inv_fac(std::uint32_t index);
  static std::uint32_t standard(std::uint32_t index);
  static float std_fac(std::uint32_t index);

  /// Whether `set` registers unknown names as new units (as long as there are fewer than 65536) or rejects
  /// them as unit 0. For the process; off at first. Any thread may ask and set it.
  static bool registerUncommonUnits();
  static void registerUncommonUnits(bool on);
  /// Whether a registration is told in the log. As above, but on at first.
  static bool warnOnRegistration();
  static void warnOnRegistration(bool on);

 private:
  bool ReadBody(CFile& file, unsigned version);
};

/// A measuring unit that owns its record; see CMeasuringUnitInterface for what it does. The flat form is
/// the 16 bytes of the record.
class UMLAUF_API CMeasuringUnit : public CRecordOwner<CMeasuringUnitInterface, SMeasuringUnitPOD> {
 public:
  /// The cleared unit.
  CMeasuringUnit() = default;
  using CRecordOwner::CRecordOwner;
  CMeasuringUnit(const CMeasuringUnitInterface& other)  // NOLINT(google-explicit-constructor)
      : CRecordOwner(other) {}
  /// Reads the text as `set` does; the cleared unit when that fails.
  explicit CMeasuringUnit(const CString& text) { CMeasuringUnitInterface::set(text); }
  explicit CMeasuringUnit(commonUnits unit, std::int16_t exponent = 0, std::int16_t power = 1,
                          float logref = 1.0f, unitFlags flags = 0)
      : CRecordOwner(SMeasuringUnitPOD{unit, exponent, power, logref, flags}) {}
  using CRecordOwner::operator=;
};
