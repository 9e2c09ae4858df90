#include "umlauf/can/CanMessageDecoder.h"

#include <algorithm>
#include <bit>
#include <clocale>
#include <new>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/ui/UserInterface.h"
#include "umlauf/resources/LibraryTexts.h"

namespace {

constexpr auto kDemoFactor = std::bit_cast<float>(0x3EA0EA0Fu);
constexpr wchar_t kXmlFiles[] = L"*.xml";

void TellNoMemory() { PrWin::Output(PrWin::note, L"CAN decoder: out of memory\n"); }

/// Runs what may allocate; false, with a note, when there was no memory.
template <class Action>
bool Allocates(Action action) {
  if (umlauf::HadMemory(action)) return true;
  TellNoMemory();
  return false;
}

}  // namespace

unsigned CCanMessageDecoderBase::DecodeCanMessage(const CanMessageBlock_s& message) {
  ClearResults();
  KeepMessageLen(message);
  return 0;
}

void CCanMessageDecoderBase::RegisterWindowsCallback(HWND, unsigned, unsigned) {}
bool CCanMessageDecoderBase::SetDecoderXmlFile(const wchar_t*) { return false; }
bool CCanMessageDecoderBase::SetDecoderXmlText(const wchar_t*) { return false; }

void CCanMessageDecoderBase::AppSignalBekanntmachen(int id, const CString& name) {
  Allocates([&] {
    const auto [entry, isNew] = places_.try_emplace(id, NumAppSignals());
    if (!isNew) {
      appSignals_[entry->second].name = name;
      return;
    }
    if (umlauf::HadMemory([&] { appSignals_.push_back({id, name, false}); })) return;
    places_.erase(entry);
    TellNoMemory();
  });
}

void CCanMessageDecoderBase::AppSignalListeNeustart() {
  appSignals_.clear();
  places_.clear();
}

const CString& CCanMessageDecoderBase::AppSignal(unsigned index) const {
  static const CString none;
  return index < appSignals_.size() ? appSignals_[index].name : none;
}

int CCanMessageDecoderBase::AppSignalId(unsigned index) const {
  return index < appSignals_.size() ? appSignals_[index].id : -1;
}

void CCanMessageDecoderBase::AppSigIdSammeln(int id) {
  const auto found = places_.find(id);
  if (found != places_.end()) MarkSeen(found->second);
}

bool CCanMessageDecoderBase::AppSigIdGesehen(int id) const {
  const auto found = places_.find(id);
  return found != places_.end() && appSignals_[found->second].seen;
}

void CCanMessageDecoderBase::MarkSeen(unsigned index) {
  if (index < appSignals_.size()) appSignals_[index].seen = true;
}

void CCanMessageDecoderBase::ClearSeen() {
  for (ApplicationSignal& signal : appSignals_) signal.seen = false;
}

void CCanMessageDecoderBase::KeepMessageLen(const CanMessageBlock_s& message) {
  maxMessageLen_ = std::max(maxMessageLen_, CanDataLength(message.header));
}

bool CCanMessageDecoderBase::ResizeResults(unsigned count) {
  const bool done = Allocates([&] { results_.assign(count, Result()); });
  numResults_ = done ? count : 0;
  return done;
}

void CCanMessageDecoderBase::AddResult(int id, double value) {
  if (numResults_ < results_.size()) results_[numResults_++] = {id, value};
}

bool CCanMessageDecoderBase::AskForDecoderXmlFile(CString& path) {
  OpenFileDialog dialog;
  dialog.title = umlauf::LibraryText(TextId::decoderFileTitle);
  dialog.folder = L".";
  dialog.fileName = dialog.defaultExtension = kXmlFiles;
  dialog.filter = umlauf::LibraryText(TextId::decoderFileFilter);
  CString chosen;
  const bool confirmed = CUserInterface::Get().AskForFile(dialog, chosen);
  std::setlocale(LC_NUMERIC, "C");
  if (confirmed) path = chosen;
  return confirmed;
}

std::unique_ptr<CCanMessageDecoderBase> CCanMessageDecoderDemo::Create() const {
  return std::unique_ptr<CCanMessageDecoderBase>(new (std::nothrow) CCanMessageDecoderDemo);
}

void CCanMessageDecoderDemo::StartDecoderSession() {
  ResetMaxMsgLen();
  ClearSeen();
  factors_.clear();
  const unsigned count = NumAppSignals();
  if (!ResizeResults(count) || !Allocates([&] { factors_.assign(count, kDemoFactor); })) return;
  for (unsigned i = 0; i < count; ++i) SetResult(i, AppSignalId(i), 0.0);
}
