#include "umlauf/platform/ui/UserInterface.h"

#include <atomic>
#include <new>

#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/ui/ComboBoxControl.h"

namespace {

CUserInterface& Default() {
  static CUserInterface userInterface;
  return userInterface;
}

std::atomic<CUserInterface*> g_current{nullptr};

}  // namespace

void CUserInterface::ShowMessage(const CString& text, Icon) { PrWin::Output(PrWin::note, L"%s\n", text); }

bool CUserInterface::AskForFile(const OpenFileDialog&, CString&) { return false; }

std::unique_ptr<CComboBoxControl> CUserInterface::CreateComboBoxControl() {
  return std::unique_ptr<CComboBoxControl>(new (std::nothrow) CWindowlessComboBox);
}

CUserInterface& CUserInterface::Get() {
  CUserInterface* current = g_current.load();
  return current != nullptr ? *current : Default();
}

void CUserInterface::Set(CUserInterface* userInterface) { g_current.store(userInterface); }

void ErrorMessageBox(const CString& text) {
  CUserInterface::Get().ShowMessage(text, CUserInterface::Icon::error);
}
