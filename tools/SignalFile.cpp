#include "tools/SignalFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurveExt.h"

namespace umlauf::tool {
namespace {

constexpr std::array<char, 8> magic = {'U', 'M', 'L', 'A', 'U', 'F', '\r', '\n'};
constexpr std::uint32_t containerVersion = 1;

struct Header {
  std::array<char, 8> magicBytes;
  std::uint32_t container;
  LONG tag;
  std::uint32_t record;
  std::uint32_t reserved;
  std::uint64_t length;
};
static_assert(sizeof(Header) == 32 && offsetof(Header, tag) == 12 && offsetof(Header, length) == 24);

std::unique_ptr<CSignal> EmptySignal(LONG tag) {
  switch (tag) {
    case SigIdCurve:
      return std::make_unique<CSigCurve>();
    case SigIdCurveExt:
      return std::make_unique<CSigCurveExt>();
    case SigIdPairs:
      return std::make_unique<CSigPairs>();
    default:
      return nullptr;
  }
}

/// What the record of a signal comes to.
std::size_t RecordSize(const CSignal& signal, unsigned version) {
  CMemFile file;
  return signal.WriteToFile(file, version) ? file.Bytes().size() : 0;
}

std::vector<std::byte> ReadWhole(const std::filesystem::path& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) Fail("cannot read {}: {}; check the name", path.string(), std::strerror(errno));
  std::vector<std::byte> bytes;
  std::array<std::byte, 65536> block{};
  while (const std::size_t n = std::fread(block.data(), 1, block.size(), file.get())) {
    // Nothing but the header is taken into memory of a file that is no signal file.
    if (bytes.empty() && (n < sizeof(Header) || std::memcmp(block.data(), magic.data(), magic.size()) != 0))
      break;
    bytes.insert(bytes.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n));
  }
  if (std::ferror(file.get()) != 0) Fail("cannot read {}: {}", path.string(), std::strerror(errno));
  if (bytes.empty()) {
    Fail("cannot read {}: it is no signal file; give one that --curve or --pairs wrote", path.string());
  }
  return bytes;
}

}  // namespace

void WriteSignalFile(const CSignal& signal, OutputFile& out) {
  const unsigned version = CSignal::CurrentFileVersion();
  CMemFile record;
  if (!signal.WriteToFile(record, version) || record.Failed()) {
    Fail("cannot write {}: there is no memory for it", out.target().string());
  }
  const Header header{magic, containerVersion, signal.SigId(), version, 0, record.Bytes().size()};
  out.Write({reinterpret_cast<const char*>(&header), sizeof header});
  out.Write({reinterpret_cast<const char*>(record.Bytes().data()), record.Bytes().size()});
}

std::unique_ptr<CSignal> ReadSignalFile(const std::filesystem::path& path) {
  const std::vector<std::byte> bytes = ReadWhole(path);
  Header header{};
  std::memcpy(&header, bytes.data(), sizeof header);
  if (header.container != containerVersion) {
    Fail("cannot read {}: its container version {} is not known; update this program", path.string(),
         header.container);
  }
  std::unique_ptr<CSignal> signal = EmptySignal(header.tag);
  if (!signal) {
    Fail("cannot read {}: signals of type {} are not known; update this program", path.string(), header.tag);
  }
  CMemFile record(std::span<const std::byte>(bytes).subspan(sizeof header));
  // The record's readers are lenient about missing bytes; that it writes back to the same size tells whether
  // all of it was there.
  const bool whole = header.length == record.GetLength() && signal->ReadFromFile(record, header.record) &&
                     record.Remaining() == 0 && RecordSize(*signal, header.record) == header.length;
  if (!whole) Fail("cannot read {}: it is damaged or incomplete; write it again", path.string());
  return signal;
}

bool IsSignalFile(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  std::array<char, magic.size()> start{};
  return file && std::fread(start.data(), 1, start.size(), file.get()) == start.size() && start == magic;
}

std::unique_ptr<CSigPairs> ReadPairs(const std::filesystem::path& path) {
  std::unique_ptr<CSignal> signal = ReadSignalFile(path);
  if (auto* pairs = dynamic_cast<CSigPairs*>(signal.get())) {
    static_cast<void>(signal.release());
    return std::unique_ptr<CSigPairs>(pairs);
  }
  const auto& curve = dynamic_cast<const CSigCurve&>(*signal);
  auto pairs = std::make_unique<CSigPairs>(curve);
  if (curve.DLen() > 0 && !pairs->Gueltig()) {
    Fail("cannot use {}: there is no memory for {} points, or none of its samples is valid", path.string(),
         curve.DLen());
  }
  return pairs;
}

}  // namespace umlauf::tool
