#include "umlauf/signal/Signal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/memory/WithoutMemory.h"

using umlauf::HadMemory;

UMLAUF_IMPLEMENT_DYNAMIC(CSignal, CSigRaw)

namespace {

constexpr std::size_t kNameField = 40;          // bytes of the name in the file record, terminator included
constexpr std::size_t kInitialNameRoom = 40;    // characters
constexpr std::size_t kConversionBuffer = 500;  // characters or bytes, terminator included

// Both keep the first value when the comparison is unordered.
void Lower(float& value, float other) { value = other < value ? other : value; }
void Raise(float& value, float other) { value = other > value ? other : value; }

CMeasuringUnit ParseUnit(const CString& text) {
  CMeasuringUnit unit;
  unit.set(text);
  return unit;
}

/// First bytes of a UTF-8 text, at most `room`, without a torn last character.
std::string_view CutUtf8(std::string_view text, std::size_t room) {
  if (text.size() <= room) return text;
  while (room > 0 && (static_cast<unsigned char>(text[room]) & 0xC0u) == 0x80) --room;
  return text.substr(0, room);
}

}  // namespace

CSignal::CSignal() : CSignal(0) {}

CSignal::CSignal(std::uint64_t n) : CSigRaw(n) {
  HadMemory([this] { name_.reserve(kInitialNameRoom); });
}

CSignal::CSignal(const CSignal& other, bool) : CSignal(other, HeaderOnly()) { CSigRaw::operator=(other); }

CSignal::CSignal(const CSignal& other, HeaderOnly)
    : infoId_(other.infoId_), color_(other.color_), extName_(other.extName_), timestamp_(other.timestamp_) {
  SetDataWord(other.DataWord());
  HadMemory([&] {
    name_ = other.name_;
    name_.reserve(kInitialNameRoom);
  });
}

CSignal::~CSignal() { DropExtData(); }

CSignal& CSignal::operator=(const CSignal& other) {
  if (this == &other) return *this;
  CSigRaw::operator=(other);
  SetName(other.Name());
  xUnit_.copy(other.xUnit_);
  yUnit_.copy(other.yUnit_);
  infoId_ = other.infoId_;
  InitHeader(other, true);
  return *this;
}

bool CSignal::Resize(std::uint64_t n) {
  if (!CSigRaw::Resize(n)) return false;
  xLen_ = n;
  return true;
}

void CSignal::Free() {
  CSigRaw::Free();
  xLen_ = 0;
}

void CSignal::Append(const CSignal& other) {
  const std::uint64_t before = DLen();
  const std::uint64_t added = other.DLen();
  // Also when nothing is added: derived classes do more in their Resize.
  Resize(before + added);
  // After a failed resize there is no room for the new samples; after a good one `other` may be this very
  // signal.
  if (added == 0 || DLen() < before + added) return;
  std::memmove(Samples() + before, other.Samples(), static_cast<std::size_t>(added) * sizeof(float));
}

void CSignal::SetName(const wchar_t* name) {
  HadMemory([&] { name_.assign(name != nullptr ? name : L""); });
}

void CSignal::AppendToName(const wchar_t* text) {
  if (text == nullptr) return;
  HadMemory([&] { name_.append(text); });
}

const char* CSignal::NameA() const {
  if (name_.empty()) return "";
  thread_local std::array<char, kConversionBuffer> buffer;
  const std::string utf8 =
      umlauf::WithMemory(std::string(), [this] { return umlauf::codepages::WideToUtf8(name_); });
  const std::string_view whole = CutUtf8(utf8, buffer.size() - 1);
  buffer.fill('\0');
  std::copy(whole.begin(), whole.end(), buffer.begin());
  return buffer.data();
}

void CSignal::SetNameA(const char* utf8) {
  const CString wide(utf8);
  SetName(static_cast<std::size_t>(wide.GetLength()) < kConversionBuffer ? wide.GetString() : L"");
}

void CSignal::SetXUnit(const CString& text) { xUnit_.copy(ParseUnit(text)); }
void CSignal::SetYUnit(const CString& text) { yUnit_.copy(ParseUnit(text)); }

void CSignal::SetXUnit(const CMeasuringUnit& unit) {
  if (&unit != &xUnit_) xUnit_.copy(unit);
}
void CSignal::SetYUnit(const CMeasuringUnit& unit) {
  if (&unit != &yUnit_) yUnit_.copy(unit);
}

void CSignal::AttachExtData(CObject* object) {
  extData_ = object;
  ownsExtData_ = true;
}

void CSignal::DropExtData() {
  if (ownsExtData_) delete static_cast<CObject*>(extData_);
  extData_ = nullptr;
  ownsExtData_ = false;
}

bool CSignal::CopyInfo(const CSignal& source) {
  if (&source == this) return false;
  SetName(source.Name());
  InitHeader(source, false);
  return true;
}

void CSignal::ClearNames() {
  name_.clear();
  ClearUnits();
}

void CSignal::ClearUnits() {
  xUnit_.clear();
  yUnit_.clear();
}

void CSignal::InitHeader() { ClearNames(); }

void CSignal::InitHeader(const CSignal& source, bool) {
  extName_ = source.extName_;
  timestamp_ = source.timestamp_;
  DropExtData();
}

void CSignal::WriteUnit(CFile& file, const CMeasuringUnit& unit) {
  CMeasuringUnit written(unit);
  if (!written.is_log() && !written.is_db()) written.logref(0.0f);
  written.WriteToFile(file);
}

bool CSignal::WriteToFile(CFile& file, unsigned version) const {
  if (version == 0) return true;
  std::array<char, kNameField> field{};
  const std::string_view name = NameA();
  if (name.empty() && !name_.empty()) return false;  // there was no memory to convert it
  std::copy_n(name.begin(), std::min(name.size(), kNameField - 1), field.begin());
  file.Write(field.data(), field.size());
  WriteUnit(file, xUnit_);
  WriteUnit(file, yUnit_);
  return true;
}

bool CSignal::ReadFromFile(CFile& file, unsigned version) {
  if (version != 1 && version != 2) return false;
  std::array<char, kNameField + 1> field{};
  if (file.Read(field.data(), kNameField) != kNameField) return false;
  SetNameA(field.data());
  CMeasuringUnit unit;
  unit.set(0, 0, 1, 1.0f, 0);
  if (!unit.ReadFromFile(file)) return false;
  xUnit_.copy(unit);
  if (!unit.ReadFromFile(file)) return false;
  yUnit_.copy(unit);
  return true;
}

void CSignal::ExpandRange(Range& acc, const Range& other) {
  Lower(acc.first.first, other.first.first);
  Lower(acc.first.second, other.first.second);
  Raise(acc.second.first, other.second.first);
  Raise(acc.second.second, other.second.second);
}

void CSignal::ShrinkRange(Range& acc, const Range& other) {
  Raise(acc.first.first, other.first.first);
  Raise(acc.first.second, other.first.second);
  Lower(acc.second.first, other.second.first);
  Lower(acc.second.second, other.second.second);
}
