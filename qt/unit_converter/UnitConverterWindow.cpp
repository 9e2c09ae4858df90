#include "unit_converter/UnitConverterWindow.h"

#include <QDoubleValidator>
#include <QGridLayout>
#include <QPushButton>
#include <cmath>

#include "umlauf_qt/QtComboBoxControl.h"
#include "umlauf_qt/QtText.h"

namespace {

QString NumberText(double value) { return QLocale::c().toString(value, 'g', 6); }

QString UnitText(const CMeasuringUnit& unit) { return ToQString(unit.prefixstring()); }

}  // namespace

UnitConverterWindow::UnitConverterWindow()
    : value_(new QLineEdit), result_(new QLineEdit), note_(new QLabel) {
  setWindowTitle(tr("Unit converter"));
  value_->setObjectName("value");
  auto* validator = new QDoubleValidator(value_);
  validator->setLocale(QLocale::c());
  value_->setValidator(validator);
  result_->setObjectName("result");
  result_->setReadOnly(true);
  note_->setObjectName("note");
  auto* swap = new QPushButton(tr("&Swap"));
  swap->setObjectName("swap");

  auto* layout = new QGridLayout(this);
  layout->setContentsMargins(16, 16, 16, 16);
  layout->setSpacing(10);
  AddSide(*layout, 0, tr("&Value"), value_, from_);
  AddSide(*layout, 1, tr("&Result"), result_, to_);
  layout->addWidget(note_, 2, 1, 1, 2);
  layout->addWidget(swap, 2, 3);
  layout->setColumnStretch(1, 1);
  layout->setRowStretch(3, 1);
  StyleTexts();

  from_.Select(CMeasuringUnit(CMeasuringUnit::rpm));
  to_.Select(CMeasuringUnit(CMeasuringUnit::hertz));
  value_->setText("1500");
  connect(value_, &QLineEdit::textChanged, this, &UnitConverterWindow::Update);
  connect(swap, &QPushButton::clicked, this, &UnitConverterWindow::Swap);
  for (CComboBox* box : {static_cast<CComboBox*>(&from_.prefix), static_cast<CComboBox*>(&from_.unit),
                         static_cast<CComboBox*>(&to_.prefix), static_cast<CComboBox*>(&to_.unit)}) {
    connect(CQtComboBoxControl::WidgetOf(*box), &QComboBox::currentIndexChanged, this,
            &UnitConverterWindow::Update);
  }
  Update();
}

void UnitConverterWindow::AddSide(QGridLayout& layout, int row, const QString& label, QWidget* value,
                                  Side& side) {
  auto* text = new QLabel(label);
  text->setBuddy(value);
  side.prefix.Prepare(0);
  side.unit.Prepare(CMeasuringUnit());
  QComboBox* prefix = CQtComboBoxControl::WidgetOf(side.prefix);
  QComboBox* unit = CQtComboBoxControl::WidgetOf(side.unit);
  prefix->setObjectName(value->objectName() + "Prefix");
  unit->setObjectName(value->objectName() + "Unit");
  layout.addWidget(text, row, 0);
  layout.addWidget(value, row, 1);
  layout.addWidget(prefix, row, 2);
  layout.addWidget(unit, row, 3);
}

void UnitConverterWindow::StyleTexts() {
  for (QLineEdit* field : {value_, result_}) {
    QFont font = field->font();
    font.setPointSizeF(font.pointSizeF() * 1.3);
    font.setBold(field == result_);
    field->setFont(font);
    field->setAlignment(Qt::AlignRight);
    field->setMinimumWidth(180);
  }
  QPalette muted = note_->palette();
  muted.setColor(QPalette::WindowText, muted.color(QPalette::PlaceholderText));
  note_->setPalette(muted);
}

CMeasuringUnit UnitConverterWindow::Side::Retrieve() {
  CMeasuringUnit chosen = unit.Retrieve();
  prefix.RetrieveExponent(chosen);
  return chosen;
}

void UnitConverterWindow::Side::Select(const CMeasuringUnit& selected) {
  unit.SetSelection(selected);
  prefix.SetSelection(selected);
}

void UnitConverterWindow::Swap() {
  const CMeasuringUnit from = from_.Retrieve();
  from_.Select(to_.Retrieve());
  to_.Select(from);
}

void UnitConverterWindow::Update() {
  const CMeasuringUnit from = from_.Retrieve();
  const CMeasuringUnit to = to_.Retrieve();
  const float factor = from.scale_to(to);
  const bool convertible = std::isfinite(factor) && factor != 0.0f;
  bool isNumber = false;
  const double value = QLocale::c().toDouble(value_->text(), &isNumber);
  result_->setText(convertible && isNumber ? NumberText(value * double{factor}) : QString());
  note_->setText(convertible
                     ? tr("1 %1 = %2 %3").arg(UnitText(from), NumberText(double{factor}), UnitText(to))
                     : tr("%1 and %2 have no unit in common.").arg(UnitText(from), UnitText(to)));
}
