#include "umlauf/visdata/VisDataItem.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <functional>
#include <limits>
#include <new>

#include "umlauf/platform/vekta/QVL.h"

UMLAUF_IMPLEMENT_DYNCREATE(CVisDataItem, CObject)

namespace {

constexpr std::uint64_t kFirstNameCapacity = 51;
constexpr std::uint64_t kFirstRawCapacity = 64;

std::size_t Length(const wchar_t* text) { return text != nullptr ? std::wcslen(text) : 0; }

void ZeroFloats(float* values, std::uint64_t n) {
  if (n != 0) std::memset(values, 0, umlauf::BytesFor(n, sizeof(float)));
}

}  // namespace

CVisDataItem::CVisDataItem(Datatype dataType) : dataType_(dataType) {
  name_.reset(new (std::nothrow) wchar_t[kFirstNameCapacity]());
  if (name_ != nullptr) nameCapacity_ = kFirstNameCapacity;
}

CVisDataItem::CVisDataItem(const CVisDataItem& other) : CVisDataItem(static_cast<Datatype>(other.dataType_)) {
  CopyInfos(other);
  CopyRawData(other);
}

CVisDataItem& CVisDataItem::operator=(const CVisDataItem& other) {
  if (this == &other) return *this;
  CopyInfos(other);
  if (other.rawCapacity_ == 0) FreeRawData();
  CopyRawData(other);
  return *this;
}

void CVisDataItem::SetName(const wchar_t* name) {
  const std::size_t length = Length(name);
  std::unique_ptr<wchar_t[]> larger;
  if (length + 1 > nameCapacity_) {
    larger.reset(new (std::nothrow) wchar_t[length + 1]);
    if (larger == nullptr) return;
    nameCapacity_ = length + 1;
  }
  // The old array goes last: the text may lie in it.
  wchar_t* target = larger != nullptr ? larger.get() : name_.get();
  if (length != 0) std::wmemmove(target, name, length);
  target[length] = L'\0';
  if (larger != nullptr) name_ = std::move(larger);
}

void CVisDataItem::AppendToName(const wchar_t* text) {
  const std::size_t old = Length(Name());
  const std::size_t added = Length(text);
  std::unique_ptr<wchar_t[]> larger;
  if (old + added + 1 > nameCapacity_) {
    larger.reset(new (std::nothrow) wchar_t[old + added + 1]);
    if (larger == nullptr) return;
    std::wmemcpy(larger.get(), Name(), old);
    nameCapacity_ = old + added + 1;
  }
  wchar_t* target = larger != nullptr ? larger.get() : name_.get();
  if (added != 0) std::wmemmove(target + old, text, added);
  target[old + added] = L'\0';
  if (larger != nullptr) name_ = std::move(larger);
}

void CVisDataItem::ClearNames() {
  SetName(nullptr);
  extName_.Empty();
}

void CVisDataItem::SetExtName(const CString& name) { extName_ = name; }

wchar_t* CVisDataItem::DataTypeName(int dataType) {
  static wchar_t names[][16] = {L"(unknown)", L"Vector", L"IntVector", L"Polygon", L"Vector-Array", L"Grid"};
  return names[dataType >= DtVector && dataType <= DtGrid ? dataType : 0];
}

wchar_t* CVisDataItem::DisplayModeName(int modes) {
  thread_local wchar_t text[100];
  static constexpr std::pair<int, const wchar_t*> names[] = {
      {DmBackground, L"Bg"},   {DmForeground, L"|Fg"}, {DmThreshold, L"|Th"},
      {DmHighlighted, L"|Hg"}, {DmSidebands, L"|Sb"},  {DmStairs, L"|St"},
  };
  text[0] = L'\0';
  for (const auto& [mode, name] : names) {
    if ((modes & mode) != 0) std::wcscat(text, name);
  }
  return text;
}

void CVisDataItem::SetScaleFactor(float factor) {
  scaleFactor_ = factor;
  inverseScaleFactor_ = factor == 0.0f ? 1.0f : 1.0f / factor;
}

void CVisDataItem::ClearUnits() {
  xUnit_.clear();
  yUnit_.clear();
  zUnit_.clear();
}

void CVisDataItem::CalcVecRange(const float* values, std::uint64_t n, Range& range) {
  QVL::VectorMinMax(values, static_cast<std::size_t>(n), 1, range.first, range.second);
}

bool CVisDataItem::AllocRawData(std::uint64_t n) {
  if (n == 0) return true;
  if (n > rawCapacity_) {
    FreeRawData();
    raw_ = umlauf::MakeAlignedBlock<float>(n);
    if (raw_ == nullptr) return false;
    rawCapacity_ = n;
  }
  ZeroFloats(raw_.get(), rawCapacity_);
  return true;
}

bool CVisDataItem::ExpandRawData(std::uint64_t n) {
  if (n <= rawCapacity_) return true;
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t capacity = rawCapacity_ == 0 ? kFirstRawCapacity : rawCapacity_;
  while (capacity < n) capacity = capacity > most / 2 ? most : 2 * capacity;
  auto larger = umlauf::MakeAlignedBlock<float>(capacity);
  if (larger == nullptr) {
    rawCapacity_ = 0;
    return false;
  }
  if (rawCapacity_ != 0) std::memcpy(larger.get(), raw_.get(), umlauf::BytesFor(rawCapacity_, sizeof(float)));
  ZeroFloats(larger.get() + rawCapacity_, capacity - rawCapacity_);
  raw_ = std::move(larger);
  rawCapacity_ = capacity;
  return true;
}

bool CVisDataItem::CopyRawData(const float* source, std::uint64_t n) {
  if (n == 0) return true;
  if (source == nullptr) return false;
  const std::size_t bytes = umlauf::BytesFor(n, sizeof(float));
  if (n <= rawCapacity_) {
    std::memmove(raw_.get(), source, bytes);
    ZeroFloats(raw_.get() + n, rawCapacity_ - n);
    return true;
  }
  auto larger = umlauf::MakeAlignedBlock<float>(n);
  if (larger == nullptr) {
    FreeRawData();
    return false;
  }
  // The old block goes last: the source may lie in it.
  std::memcpy(larger.get(), source, bytes);
  raw_ = std::move(larger);
  rawCapacity_ = n;
  return true;
}

bool CVisDataItem::CopyRawData(const CVisDataItem& other) {
  return CopyRawData(other.raw_.get(), other.rawCapacity_);
}

std::uint64_t CVisDataItem::FloatsFor(std::uint64_t n, std::uint64_t floatsPerElement) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return floatsPerElement != 0 && n > most / floatsPerElement ? most : n * floatsPerElement;
}

bool CVisDataItem::AppendRawData(std::uint64_t used, const void* source, std::uint64_t n) {
  if (n == 0 || source == nullptr) return n == 0;
  const auto* words = static_cast<const float*>(source);
  const std::less<> before;
  const bool own = raw_ != nullptr && !before(words, raw_.get()) && before(words, raw_.get() + rawCapacity_);
  const std::ptrdiff_t offset = own ? words - raw_.get() : 0;
  const std::uint64_t wanted = n > std::numeric_limits<std::uint64_t>::max() - used
                                   ? std::numeric_limits<std::uint64_t>::max()
                                   : used + n;
  if (!ExpandRawData(wanted)) return false;
  std::memmove(raw_.get() + used, own ? raw_.get() + offset : words, umlauf::BytesFor(n, sizeof(float)));
  return true;
}

void CVisDataItem::FreeRawData() {
  raw_.reset();
  rawCapacity_ = 0;
}

void CVisDataItem::CopyInfos(const CVisDataItem& other) {
  if (this == &other) return;
  SetName(other.Name());
  SetExtName(other.extName_);
  id_ = other.id_;
  displayModes_ = other.displayModes_;
  colourCode_ = other.colourCode_;
  fileCompression_ = other.fileCompression_;
  xUnit_ = other.xUnit_;
  yUnit_ = other.yUnit_;
  zUnit_ = other.zUnit_;
  xRange_ = other.xRange_;
  yRange_ = other.yRange_;
  zRange_ = other.zRange_;
  scaleFactor_ = other.scaleFactor_;
  inverseScaleFactor_ = other.inverseScaleFactor_;
}

void CVisDataItem::Reset() {
  ClearNames();
  ClearUnits();
  xRange_ = yRange_ = zRange_ = Range(0.0f, 1.0f);
  displayModes_ = 0;
  colourCode_ = 0;
  id_ = SVisDataId();
  SetScaleFactor(1.0f);
}
