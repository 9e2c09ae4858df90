#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <memory>
#include <thread>
#include <vector>

#include "support/ComboBoxConversation.h"
#include "umlauf/units/UnitPickers.h"
#include "umlauf_qt/QtComboBoxControl.h"
#include "umlauf_qt/QtText.h"
#include "umlauf_qt/QtUserInterface.h"
#include "unit_converter/UnitConverterWindow.h"

namespace {

using U = CMeasuringUnit;

/// The Qt user interface is in use while a test runs.
class Qt6 : public testing::Test {
 protected:
  Qt6() { CUserInterface::Set(&userInterface_); }
  ~Qt6() override { CUserInterface::Set(nullptr); }

 private:
  CQtUserInterface userInterface_;
};

void Press(QWidget& widget, int key) {
  QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
  QApplication::sendEvent(&widget, &press);
}

/// Does something with the modal dialog that comes up next.
template <class Dialog, class Use>
void WithNextDialog(Use use) {
  auto* timer = new QTimer(qApp);
  QObject::connect(timer, &QTimer::timeout, timer, [timer, use] {
    auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) return;
    timer->stop();
    timer->deleteLater();
    use(*dialog);
  });
  timer->start(1);
}

TEST_F(Qt6, ControlAnswersAsTheWindowlessOne) {
  QComboBox widget;
  CQtComboBoxControl over(&widget);
  ExpectStandardAnswers(over);
}

TEST_F(Qt6, RemovingTheChosenItemAnnouncesNoNeighbour) {
  QComboBox widget;
  CQtComboBoxControl control(&widget);
  widget.addItems({"a", "b", "c"});
  widget.setCurrentIndex(1);
  std::vector<int> announced;
  QObject::connect(&widget, &QComboBox::currentIndexChanged, [&](int index) { announced.push_back(index); });
  EXPECT_EQ(control.SendMessageW(CB_DELETESTRING, 1, 0), 2);
  EXPECT_EQ(announced, std::vector<int>{-1});
}

TEST_F(Qt6, WhatIsChosenInTheWidgetIsWhatThePickersRetrieve) {
  CMeasuringUnitComboBox units;
  units.Prepare(U(U::rpm, 3));
  QComboBox* widget = CQtComboBoxControl::WidgetOf(units);
  ASSERT_NE(widget, nullptr);
  EXPECT_EQ(widget->currentText(), "rpm");
  for (int i = 0; i < widget->count(); ++i) {
    widget->setCurrentIndex(i);
    EXPECT_EQ(FromQString(widget->currentText()), U::UnitString(units.Retrieve().unit())) << i;
  }
  widget->setCurrentIndex(-1);
  EXPECT_EQ(units.Retrieve(), U());

  CSiPrefixComboBox prefixes;
  prefixes.Prepare(0);
  int choices = 0;
  prefixes.Control().on_notify = [&choices](unsigned code) { choices += code == CBN_SELCHANGE ? 1 : 100; };
  widget = CQtComboBoxControl::WidgetOf(prefixes);
  Press(*widget, Qt::Key_Down);
  EXPECT_EQ(widget->currentText(), "k");
  EXPECT_EQ(prefixes.Retrieve(), 3);
  EXPECT_EQ(choices, 1);
  EXPECT_TRUE(prefixes.SetSelection(-6));
  EXPECT_EQ(widget->currentText(), QString::fromUtf8("µ"));
  EXPECT_EQ(choices, 1);  // told of what the user does only
}

TEST_F(Qt6, WidgetAndPickerMayGoInAnyOrder) {
  auto picker = std::make_unique<CSiPrefixComboBox>();
  picker->Prepare(3);
  QPointer<QComboBox> widget = CQtComboBoxControl::WidgetOf(*picker);
  picker.reset();
  EXPECT_EQ(widget, nullptr);  // nobody else had it

  picker = std::make_unique<CSiPrefixComboBox>();
  picker->Prepare(3);
  widget = CQtComboBoxControl::WidgetOf(*picker);
  auto window = std::make_unique<QWidget>();
  widget->setParent(window.get());
  picker.reset();
  ASSERT_NE(widget, nullptr);
  Press(*widget, Qt::Key_Down);
  EXPECT_EQ(widget->currentText(), "M");

  picker = std::make_unique<CSiPrefixComboBox>();
  picker->Attach(std::make_unique<CQtComboBoxControl>(widget.data()));
  EXPECT_EQ(picker->Retrieve(), 6);
  window.reset();
  EXPECT_EQ(picker->Retrieve(), 0);
  picker->Prepare(3);
  EXPECT_EQ(picker->SendMessageW(CB_GETCOUNT), 0);
  EXPECT_EQ(CQtComboBoxControl::WidgetOf(*picker), nullptr);
}

TEST_F(Qt6, MessageOfAnotherThreadIsShownAndWaitedFor) {
  int shown = 0;
  const auto readIt = [&shown](QMessageBox& box) {
    EXPECT_EQ(box.text(), QString::fromUtf8("<b>10 µV"));
    EXPECT_EQ(box.icon(), QMessageBox::Critical);
    ++shown;
    box.accept();
  };
  bool done = false;
  std::thread worker([&] {
    QMetaObject::invokeMethod(
        qApp, [&] { WithNextDialog<QMessageBox>(readIt); }, Qt::QueuedConnection);
    ErrorMessageBox(L"<b>10 µV");
    EXPECT_EQ(shown, 1);
    QMetaObject::invokeMethod(
        qApp, [&done] { done = true; }, Qt::QueuedConnection);
  });
  while (!done) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
  worker.join();
}

TEST_F(Qt6, FileDialogShowsWhatIsAskedForAndReturnsTheFile) {
  QTemporaryDir folder;
  const QString file = folder.filePath(QString::fromUtf8("Größen.xml"));
  ASSERT_TRUE(QFile(file).open(QIODevice::WriteOnly));
  OpenFileDialog dialog;
  dialog.title = L"Load";
  dialog.folder = FromQString(folder.path());
  dialog.fileName = L"*.xml";
  dialog.defaultExtension = L"*.xml";
  dialog.filter = L"All (*.*)|*.*|Messages (*.xml)|*.xml;*.dbc||";
  CString path;
  WithNextDialog<QFileDialog>([&folder, &file](QFileDialog& box) {
    EXPECT_EQ(box.windowTitle(), "Load");
    EXPECT_EQ(box.directory(), QDir(folder.path()));
    EXPECT_EQ(box.nameFilters(), QStringList({"All (*)", "Messages (*.xml *.dbc)"}));
    EXPECT_EQ(box.selectedNameFilter(), "Messages (*.xml *.dbc)");
    EXPECT_EQ(box.fileMode(), QFileDialog::ExistingFile);
    box.selectFile(file);
    static_cast<QDialog&>(box).accept();
  });
  EXPECT_TRUE(CUserInterface::Get().AskForFile(dialog, path));
  EXPECT_EQ(path, FromQString(QDir::toNativeSeparators(file)));
}

TEST_F(Qt6, UnitConverterFollowsEveryChoice) {
  UnitConverterWindow window;
  const auto text = [&window](const char* name) { return window.findChild<QLineEdit*>(name)->text(); };
  const auto choose = [&window](const char* name, const char* item) {
    auto* box = window.findChild<QComboBox*>(name);
    box->setCurrentIndex(box->findText(QString::fromUtf8(item)));
  };
  EXPECT_EQ(text("result"), "25");
  choose("resultPrefix", "m");
  window.findChild<QLineEdit*>("value")->setText("60");
  window.findChild<QPushButton*>("swap")->click();
  EXPECT_EQ(text("result"), "3.6");
  choose("valueUnit", "V");
  EXPECT_EQ(text("result"), "");
  EXPECT_EQ(window.findChild<QLabel*>("note")->text(), "mV and rpm have no unit in common.");
  choose("resultUnit", "V");
  choose("valuePrefix", "µ");
  EXPECT_EQ(text("result"), "6e-05");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
