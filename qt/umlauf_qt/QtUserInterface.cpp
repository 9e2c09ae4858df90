#include "umlauf_qt/QtUserInterface.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QRegularExpression>
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

/// From "text|*.xml;*.dbc|text|*.*||" to "text (*.xml *.dbc)", "text (*)". What the texts say of the patterns
/// in parentheses goes.
QStringList NameFilters(const QString& filter) {
  static const QRegularExpression parentheses(R"(\s*\([^()]*\)\s*$)");
  QStringList filters;
  const QStringList fields = filter.split('|');
  for (qsizetype i = 0; i + 1 < fields.size() && !fields[i].isEmpty(); i += 2) {
    QString patterns = fields[i + 1];
    patterns.replace("*.*", "*").replace(';', ' ');
    filters << QString(fields[i]).remove(parentheses) + " (" + patterns + ")";
  }
  return filters;
}

bool IsPattern(const QString& name) { return name.contains('*') || name.contains('?'); }

void SetUp(QFileDialog& box, const OpenFileDialog& dialog) {
  box.setWindowTitle(ToQString(dialog.title));
  box.setDirectory(ToQString(dialog.folder));
  box.setAcceptMode(QFileDialog::AcceptOpen);
  box.setFileMode(dialog.fileMustExist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
  box.setDefaultSuffix(ToQString(dialog.defaultExtension).remove("*."));
  const QStringList filters = NameFilters(ToQString(dialog.filter));
  if (!filters.isEmpty()) box.setNameFilters(filters);
  const QString name = ToQString(dialog.fileName);
  if (!IsPattern(name)) return box.selectFile(name);
  const QStringList shown = filters.filter(name);
  if (!shown.isEmpty()) box.selectNameFilter(shown.front());
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

bool CQtUserInterface::AskForFile(const OpenFileDialog& dialog, CString& path) {
  if (!HasApplication()) return CUserInterface::AskForFile(dialog, path);
  bool chosen = false;
  InUserInterfaceThread([&] {
    QFileDialog box(window_);
    SetUp(box, dialog);
    chosen = box.exec() == QDialog::Accepted && !box.selectedFiles().isEmpty();
    if (chosen) path = FromQString(QDir::toNativeSeparators(box.selectedFiles().front()));
  });
  return chosen;
}

std::unique_ptr<CComboBoxControl> CQtUserInterface::CreateComboBoxControl() {
  if (!HasApplication()) return CUserInterface::CreateComboBoxControl();
  return std::make_unique<CQtComboBoxControl>();
}
