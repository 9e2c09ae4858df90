#include "umlauf/can/CanMessageDecoderXml.h"

#include <algorithm>
#include <cwchar>
#include <new>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "umlauf/can/internal/CanDescription.h"
#include "umlauf/can/internal/KcdReader.h"
#include "umlauf/platform/framework/CFile.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/tramsea/PrWin.h"

using umlauf::can::Description;
using umlauf::can::KcdBigEndianOffset;
using umlauf::can::KcdEncoding;
using umlauf::can::KcdOptions;
using umlauf::can::MessageDescription;
using umlauf::can::SignalDescription;

namespace {

constexpr std::uint64_t kLongestFile = 64u << 20;

/// A described signal that an application signal asks for.
struct Wanted {
  std::size_t signal;    // in the message
  unsigned bytesNeeded;  // of data
  unsigned appSignal;    // in the list of application signals
  int id;                // of the application signal
};

struct BoundMessage {
  std::vector<Wanted> wanted;
  bool noted = false;  // that signals lie outside the data
};

/// Places in the list of application signals, by name.
using Names = std::unordered_map<std::wstring_view, std::vector<unsigned>>;

KcdBigEndianOffset Meaning(CCanMessageDecoderXml::BigEndianOffset offset) {
  using Choice = CCanMessageDecoderXml::BigEndianOffset;
  return offset == Choice::leastSignificantBit  ? KcdBigEndianOffset::leastSignificantBit
         : offset == Choice::mostSignificantBit ? KcdBigEndianOffset::mostSignificantBit
                                                : KcdBigEndianOffset::mostSignificantFromTop;
}

void NoteNoMemory() { PrWin::Output(PrWin::note, L"CAN description: out of memory\n"); }

void NoteOutside(const MessageDescription& message, const SignalDescription& signal, unsigned bytes) {
  PrWin::Output(PrWin::note,
                L"CAN message %s (0x%X): signal %s lies outside the %d bytes of data recorded; such signals "
                L"are skipped\n",
                message.name, message.identifier, signal.name, bytes);
}

}  // namespace

struct CCanMessageDecoderXml::State {
  Description description;
  std::vector<std::pair<std::size_t, std::size_t>> signals;  // all of them: message, place in the message
  std::vector<BoundMessage> bound;                           // one per message of the description
  std::vector<const CString*> labels;                        // of the results, null without
};

CCanMessageDecoderXml::CCanMessageDecoderXml() : state_(new (std::nothrow) State) {}
CCanMessageDecoderXml::~CCanMessageDecoderXml() = default;

std::unique_ptr<CCanMessageDecoderBase> CCanMessageDecoderXml::Create() const {
  return std::unique_ptr<CCanMessageDecoderBase>(new (std::nothrow) CCanMessageDecoderXml);
}

bool CCanMessageDecoderXml::SetDecoderXmlText(const wchar_t* text) {
  ClearDescription();
  const wchar_t* document = text != nullptr ? text : L"";
  return Read(document, std::wcslen(document) * sizeof(wchar_t), true);
}

bool CCanMessageDecoderXml::SetDecoderXmlFile(const wchar_t* path) {
  ClearDescription();
  CFile file(path != nullptr ? path : L"", CFile::modeRead);
  const std::uint64_t length = file.GetLength();
  if (!file.IsOpen() || length > kLongestFile) {
    PrWin::Output(PrWin::note, L"CAN description: cannot read \"%s\"\n", path);
    return false;
  }
  const std::unique_ptr<char[]> bytes(new (std::nothrow) char[length]);
  if (bytes == nullptr) {
    NoteNoMemory();
    return false;
  }
  return Read(bytes.get(), file.Read(bytes.get(), length), false);
}

void CCanMessageDecoderXml::ClearDescription() {
  ClearResults();
  if (state_ != nullptr) *state_ = State();
}

/// Reads a description in place of an empty one.
bool CCanMessageDecoderXml::Read(const void* bytes, std::size_t size, bool wide) {
  if (state_ == nullptr) return false;
  bool read = false;
  const bool hadMemory = umlauf::HadMemory([&] {
    const KcdOptions options{wide ? KcdEncoding::wide : KcdEncoding::declared, Meaning(bigEndianOffset_),
                             bus_};
    read = ReadKcd(bytes, size, options, state_->description);
    if (!read) return;

    const std::vector<MessageDescription>& messages = state_->description.messages();
    for (std::size_t m = 0; m < messages.size(); ++m) {
      for (std::size_t s = 0; s < messages[m].signals.size(); ++s) state_->signals.emplace_back(m, s);
    }
    Bind(false);
  });
  if (hadMemory) return read;
  NoteNoMemory();
  ClearDescription();
  return false;
}

void CCanMessageDecoderXml::StartDecoderSession() {
  ResetMaxMsgLen();
  ClearSeen();
  ClearResults();
  unknownMessages_ = 0;
  if (state_ == nullptr) return;
  if (umlauf::HadMemory([this] { Bind(true); })) return;
  NoteNoMemory();
  state_->bound.clear();
}

/// Looks up which described signals the application signals ask for.
void CCanMessageDecoderXml::Bind(bool noteMissing) {
  Names byName;
  for (unsigned i = 0; i < NumAppSignals(); ++i) byName[AppSignal(i).view()].push_back(i);
  const std::vector<MessageDescription>& messages = state_->description.messages();
  std::vector<BoundMessage> bound(messages.size());
  std::vector<bool> described(NumAppSignals());
  std::size_t most = 0;
  for (const auto& [m, s] : state_->signals) {
    const MessageDescription& message = messages[m];
    const SignalDescription& signal = message.signals[s];
    const CString fullName = message.name + L"." + signal.name;
    for (const CString* name : {&signal.name, &fullName}) {
      const auto named = byName.find(name->view());
      if (named == byName.end()) continue;
      for (const unsigned i : named->second) {
        bound[m].wanted.push_back({s, message.BytesNeeded(signal), i, AppSignalId(i)});
        described[i] = true;
      }
    }
    most = std::max(most, bound[m].wanted.size());
  }
  for (unsigned i = 0; noteMissing && i < NumAppSignals(); ++i) {
    if (!described[i]) PrWin::Output(PrWin::note, L"CAN description: no signal \"%s\"\n", AppSignal(i));
  }
  state_->labels.assign(most, nullptr);
  if (!ResizeResults(static_cast<unsigned>(most))) bound.clear();
  ClearResults();
  state_->bound = std::move(bound);
}

unsigned CCanMessageDecoderXml::DecodeCanMessage(const CanMessageBlock_s& block) {
  ClearResults();
  KeepMessageLen(block);
  const std::size_t index = state_ != nullptr ? state_->description.Find(block.second) : Description::unknown;
  if (index == Description::unknown) {
    NoteUnknown(block.second);
    return 0;
  }
  if (index >= state_->bound.size()) return 0;
  const MessageDescription& message = state_->description.messages()[index];
  BoundMessage& bound = state_->bound[index];
  const unsigned length = std::min<unsigned>(CanDataLength(block.header), sizeof block.data);
  const unsigned recorded = length / recordedGroup_ * recordedGroup_;
  for (const Wanted& wanted : bound.wanted) {
    const SignalDescription& signal = message.signals[wanted.signal];
    if (wanted.bytesNeeded > recorded) {
      if (!bound.noted) NoteOutside(message, signal, recorded);
      bound.noted = true;
    } else if (message.IsPresent(signal, block.data)) {
      state_->labels[NumResults()] = signal.ValueLabel(block.data);
      AddResult(wanted.id, signal.Value(block.data));
      if (AppSignalId(wanted.appSignal) == wanted.id) MarkSeen(wanted.appSignal);
    }
  }
  return NumResults();
}

void CCanMessageDecoderXml::NoteUnknown(std::uint32_t identifier) {
  if (unknownMessages_++ > 0) return;
  PrWin::Output(PrWin::note,
                L"CAN description: no message has the identifier 0x%X; messages that are not described are "
                L"only counted\n",
                identifier);
}

const CString& CCanMessageDecoderXml::ResultLabel(unsigned index) const {
  static const CString none;
  const bool known = index < NumResults() && state_->labels[index] != nullptr;
  return known ? *state_->labels[index] : none;
}

unsigned CCanMessageDecoderXml::NumSignals() const {
  return state_ != nullptr ? static_cast<unsigned>(state_->signals.size()) : 0;
}

CanSignalInfo_s CCanMessageDecoderXml::Signal(unsigned index) const {
  if (index >= NumSignals()) return {};
  const auto [m, s] = state_->signals[index];
  const MessageDescription& message = state_->description.messages()[m];
  const SignalDescription& signal = message.signals[s];
  return {message.name,           signal.name,      signal.unit,
          message.identifier,     message.extended, signal.bits.bigEndian,
          !signal.labels.empty(), signal.min,       signal.max};
}
