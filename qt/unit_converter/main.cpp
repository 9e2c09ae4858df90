// The unit converter: both unit pickers of the library as Qt widgets.
//   unit_converter                       shows the window
//   unit_converter --screenshot FILE     draws it into an image file and ends
#include <QApplication>
#include <QCommandLineParser>

#include "umlauf_qt/QtUserInterface.h"
#include "unit_converter/UnitConverterWindow.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationDisplayName("Unit converter");
  QCommandLineParser parser;
  parser.setApplicationDescription("Converts values between measuring units.");
  parser.addHelpOption();
  const QCommandLineOption screenshot("screenshot", "Draw the window into an image file and end.", "file");
  parser.addOption(screenshot);
  parser.process(application);

  CQtUserInterface userInterface;
  CUserInterface::Set(&userInterface);
  int result = 0;
  {
    UnitConverterWindow window;
    window.show();
    if (parser.isSet(screenshot)) {
      result = window.grab().save(parser.value(screenshot)) ? 0 : 1;
    } else {
      result = QApplication::exec();
    }
  }
  CUserInterface::Set(nullptr);
  return result;
}
