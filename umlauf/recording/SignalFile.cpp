#include "umlauf/recording/SignalFile.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

using Magic = std::array<char, 8>;
constexpr Magic kMagic = {'U', 'M', 'L', 'A', 'U', 'F', '\r', '\n'};
constexpr std::uint32_t kContainerVersion = 1;
constexpr wchar_t kNoMemory[] = L"there is no memory for it";

struct Header {
  Magic magic;
  std::uint32_t container;
  LONG tag;
  std::uint32_t record;
  std::uint32_t reserved;
  std::uint64_t length;
};
static_assert(sizeof(Header) == 32 && offsetof(Header, tag) == 12 && offsetof(Header, length) == 24);

template <class Signal>
std::unique_ptr<CSignal> New() {
  return std::make_unique<Signal>();
}

/// The kinds of signals that a file can hold.
struct Kind {
  LONG tag;
  std::unique_ptr<CSignal> (*create)();
};
constexpr Kind kKinds[] = {
    {SigIdCurve, New<CSigCurve>},
    {SigIdCurveExt, New<CSigCurveExt>},
    {SigIdCurveArray, New<CSigCurveArray>},
    {SigIdPairs, New<CSigPairs>},
};

const Kind* KindOf(LONG tag) {
  for (const Kind& kind : kKinds) {
    if (kind.tag == tag) return &kind;
  }
  return nullptr;
}

/// Takes bytes and keeps their number.
class CountedBytes : public CFile {
 public:
  bool IsOpen() const override { return true; }
  void Write(const void*, std::size_t count) override { count_ += count; }
  std::uint64_t GetPosition() const override { return count_; }
  std::uint64_t GetLength() const override { return count_; }

 private:
  std::uint64_t count_ = 0;
};

/// Bytes of the record of a signal; 0 when it cannot be written.
std::uint64_t RecordSize(const CSignal& signal, unsigned version) {
  CountedBytes bytes;
  return signal.WriteToFile(bytes, version) ? bytes.GetLength() : 0;
}

/// The curve with another compression: itself, or a copy that is kept in `copy`. Null without memory.
template <class Curve>
const CSignal* OfCurve(const Curve& curve, bool quantised, std::unique_ptr<CSignal>& copy) {
  if (curve.FileCompression() == quantised) return &curve;
  auto other = std::make_unique<Curve>();
  *other = curve;  // unlike the copy constructor, this takes the units along
  if (other->DLen() != curve.DLen()) return nullptr;
  other->SetFileCompression(quantised);
  copy = std::move(other);
  return copy.get();
}

const CSignal* Compressed(const CSignal& signal, bool quantised, std::unique_ptr<CSignal>& copy) {
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&signal)) {
    return OfCurve(*extended, quantised, copy);
  }
  if (const auto* curve = dynamic_cast<const CSigCurve*>(&signal)) return OfCurve(*curve, quantised, copy);
  return &signal;
}

}  // namespace

std::unique_ptr<CSignal> CSignalFile::Fail(const wchar_t* why) {
  failure_ = why;
  return nullptr;
}

bool CSignalFile::Write(const CSignal& signal, CFile& file, Samples samples) {
  failure_.Empty();
  if (KindOf(signal.SigId()) == nullptr) {
    failure_.Format(L"signals of type %d are not known", signal.SigId());
    return false;
  }
  std::unique_ptr<CSignal> copy;
  const unsigned version = CSignal::CurrentFileVersion();
  bool written = false;
  const bool hadMemory = umlauf::HadMemory([&] {
    const CSignal* stored = Compressed(signal, samples == Samples::quantised, copy);
    const std::uint64_t size = stored != nullptr ? RecordSize(*stored, version) : 0;
    if (size == 0) throw std::bad_alloc();  // every record has a length
    const Header header{kMagic, kContainerVersion, signal.SigId(), version, 0, size};
    file.Write(&header, sizeof header);
    written = stored->WriteToFile(file, version) && !file.Failed();
  });
  if (!hadMemory) {
    Fail(kNoMemory);
  } else if (!written) {
    Fail(L"there is no room for it, or the file is not open for writing");
  }
  return hadMemory && written;
}

bool CSignalFile::Write(const CSignal& signal, const CString& path, Samples samples) {
  CFile file(path, CFile::modeWrite | CFile::modeCreate);
  if (!file.IsOpen()) {
    Fail(L"the file cannot be created");
    return false;
  }
  if (!Write(signal, file, samples)) return false;
  file.Close();
  if (file.Failed()) Fail(L"there is no room for it");
  return !file.Failed();
}

std::unique_ptr<CSignal> CSignalFile::Read(CFile& file) {
  failure_.Empty();
  std::unique_ptr<CSignal> signal;
  if (!umlauf::HadMemory([&] { signal = ReadAny(file); })) return Fail(kNoMemory);
  return signal;
}

std::unique_ptr<CSignal> CSignalFile::ReadAny(CFile& file) {
  if (file.GetLength() != 0 || !file.IsOpen()) return ReadSized(file);
  CMemFile gathered;
  std::array<std::byte, 65536> block;
  while (const std::size_t n = file.Read(block.data(), block.size())) {
    gathered.Write(block.data(), n);
    // No more is taken of what is no signal file.
    const std::span<const std::byte> start = gathered.Bytes();
    if (start.size() >= kMagic.size() && std::memcmp(start.data(), kMagic.data(), kMagic.size()) != 0) break;
    if (gathered.Failed()) return Fail(kNoMemory);
  }
  gathered.Seek(0, CFile::begin);
  return ReadSized(gathered);
}

std::unique_ptr<CSignal> CSignalFile::ReadSized(CFile& file) {
  Header header{};
  if (file.Read(&header, sizeof header) != sizeof header || header.magic != kMagic) {
    return Fail(L"it is no signal file; check the name");
  }
  if (header.container != kContainerVersion) {
    failure_.Format(L"its container version %u is not known; update this program", header.container);
    return nullptr;
  }
  const Kind* kind = KindOf(header.tag);
  if (kind == nullptr) {
    failure_.Format(L"signals of type %d are not known; update this program", header.tag);
    return nullptr;
  }
  std::unique_ptr<CSignal> signal = kind->create();
  // The record's readers are lenient about missing bytes; that it writes back to the same size tells whether
  // all of it was there.
  const bool whole = header.length == file.Remaining() && signal->ReadFromFile(file, header.record) &&
                     file.Remaining() == 0 && RecordSize(*signal, header.record) == header.length;
  return whole ? std::move(signal) : Fail(L"it is damaged or incomplete; write it again");
}

std::unique_ptr<CSignal> CSignalFile::Read(const CString& path) {
  CFile file(path, CFile::modeRead);
  return file.IsOpen() ? Read(file) : Fail(L"it cannot be opened; check the name");
}

bool CSignalFile::IsOne(const CString& path) {
  CFile file(path, CFile::modeRead);
  Magic start{};
  return file.Read(start.data(), start.size()) == start.size() && start == kMagic;
}
