#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QWidget>

#include "umlauf/units/UnitPickers.h"

class QGridLayout;

/// Converts a value from one measuring unit to another while it is typed and the units are chosen. The
/// pickers' widgets come from the user interface in use, which must be a CQtUserInterface.
class UnitConverterWindow : public QWidget {
 public:
  UnitConverterWindow();

 private:
  /// Both pickers of one side of the conversion.
  struct Side {
    CSiPrefixComboBox prefix;
    CMeasuringUnitComboBox unit;

    CMeasuringUnit Retrieve();
    void Select(const CMeasuringUnit& selected);
  };

  void AddSide(QGridLayout& layout, int row, const QString& label, QWidget* value, Side& side);
  void StyleTexts();
  void Swap();
  void Update();

  Side from_;
  Side to_;
  QLineEdit* value_;
  QLineEdit* result_;
  QLabel* note_;
};
