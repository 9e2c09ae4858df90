#include "umlauf_qt/QtUserInterface.h"

#include <QApplication>
#include <QMessageBox>
#include <QThread>
#include <utility>

#include "umlauf_qt/QtComboBoxControl.h"
#include "umlauf_qt/QtText.h"

namespace {

bool HasApplication() { return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr; }

/// Runs a function in the thread of the user interface and returns when it is done.
template <class Function>
void InUserInterfaceThread(Function function) {
  const bool here = QThread::currentThread() == qApp->thread();
  QMetaObject::invokeMethod(qApp, std::move(function),
                            here ? Qt::DirectConnection : Qt::BlockingQueuedConnection);
}

QMessageBox::Icon ToQt(CUserInterface::Icon icon) {
  switch (icon) {
    case CUserInterface::Icon::error:
      return QMessageBox::Critical;
    case CUserInterface::Icon::warning:
      return QMessageBox::Warning;
    default:
      return QMessageBox::Information;
  }
}

}  // namespace

void CQtUserInterface::ShowMessage(const CString& text, Icon icon) {
  if (!HasApplication()) return CUserInterface::ShowMessage(text, icon);
  InUserInterfaceThread([&] {
    QMessageBox box(ToQt(icon), QApplication::applicationDisplayName(), ToQString(text), QMessageBox::Ok,
                    window_);
    box.setTextFormat(Qt::PlainText);
    box.exec();
  });
}

std::unique_ptr<CComboBoxControl> CQtUserInterface::CreateComboBoxControl() {
  if (!HasApplication()) return CUserInterface::CreateComboBoxControl();
  return std::make_unique<CQtComboBoxControl>();
}
