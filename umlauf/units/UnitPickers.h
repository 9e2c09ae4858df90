#pragma once

#include <cstdint>
#include <map>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/ui/CComboBox.h"
#include "umlauf/units/MeasuringUnit.h"

/// Drop-down list of the common units. The control behind it holds the items, with the unit indices as
/// their data; the picker itself remembers the choice that was set or read last. One object is used by one
/// thread at a time, the one of the user interface.
class UMLAUF_API CMeasuringUnitComboBox : public CComboBox {
  UMLAUF_DECLARE_DYNCREATE(CMeasuringUnitComboBox)
  UMLAUF_DECLARE_MESSAGE_MAP()

 public:
  CMeasuringUnitComboBox() = default;

  /// Fills the list with the names of the common units, in place of what it held, and selects a unit.
  void Prepare(CMeasuringUnit const& unit);
  /// Makes a unit the current choice and selects the last item that stands for its index. False when there is
  /// none, for example for the index of an uncommon unit; the selection then stays.
  bool SetSelection(CMeasuringUnit const& unit);
  /// The unit of the selected item, without prefix, power 1; the cleared unit when nothing is selected. It
  /// becomes the current choice.
  CMeasuringUnit const& Retrieve();
  /// The current choice; the cleared unit at first.
  CMeasuringUnit const& Choice() const { return choice_; }

  /// Index and name of the common units, in place of what the map held.
  static void FillIdNameMap(std::map<int, CString>& map);

 private:
  CMeasuringUnit choice_;
};

/// Drop-down list of the decimal prefixes from "f" (10^-15) to "T" (10^12); "(1)" is no prefix. The exponents
/// are the items' data. Otherwise as CMeasuringUnitComboBox.
class UMLAUF_API CSiPrefixComboBox : public CComboBox {
  UMLAUF_DECLARE_DYNCREATE(CSiPrefixComboBox)
  UMLAUF_DECLARE_MESSAGE_MAP()

 public:
  CSiPrefixComboBox() = default;

  /// Fills the list with the prefixes, in place of what it held, and selects that of an exponent (of a unit's
  /// exponent).
  void Prepare(std::int16_t exponent);
  void Prepare(CMeasuringUnit const& unit) { Prepare(unit.exponent()); }
  /// Makes an exponent the current choice and selects the last item that stands for it. False when there is
  /// none, for example for 1; the selection then stays.
  bool SetSelection(std::int16_t exponent);
  bool SetSelection(CMeasuringUnit const& unit) { return SetSelection(unit.exponent()); }
  /// The exponent of the selected item, 0 when nothing is selected. It becomes the current choice.
  std::int16_t Retrieve();
  /// As `Retrieve`, and gives the exponent to a unit, whose other fields stay.
  void RetrieveExponent(CMeasuringUnit& unit) { unit.exponent(Retrieve()); }
  /// The current choice; 0 at first.
  std::int16_t Choice() const { return choice_; }

  /// Exponent and text of the prefixes, in place of what the map held.
  static void FillIdNameMap(std::map<int, CString>& map);

 private:
  std::int16_t choice_ = 0;
};
