#include "tools/input/SignalFile.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "tools/Error.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/recording/SignalFile.h"

namespace umlauf::tool {
namespace {

CString Wide(const FilePath& path) { return CString::FromUtf8(path.string()); }

}  // namespace

void WriteSignalFile(const CSignal& signal, OutputFile& out) {
  CMemFile bytes;
  CSignalFile file;
  if (!file.Write(signal, bytes)) Fail("cannot write {}: {}", out.target().string(), file.Failure().ToUtf8());
  out.Write({reinterpret_cast<const char*>(bytes.Bytes().data()), bytes.Bytes().size()});
}

std::unique_ptr<CSignal> ReadSignalFile(const FilePath& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) {
    Fail("cannot read {}: it is a folder; name a signal file", path.string());
  }
  CFile bytes(Wide(path), CFile::modeRead);
  if (!bytes.IsOpen()) Fail("cannot read {}: {}; check the name", path.string(), std::strerror(errno));
  CSignalFile file;
  std::unique_ptr<CSignal> signal = file.Read(bytes);
  if (!signal) Fail("cannot read {}: {}", path.string(), file.Failure().ToUtf8());
  return signal;
}

bool IsSignalFile(const FilePath& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) && CSignalFile::IsOne(Wide(path));
}

std::unique_ptr<CSigPairs> ReadPairs(const FilePath& path) {
  std::unique_ptr<CSignal> signal = ReadSignalFile(path);
  if (auto* pairs = dynamic_cast<CSigPairs*>(signal.get())) {
    static_cast<void>(signal.release());
    return std::unique_ptr<CSigPairs>(pairs);
  }
  if (!signal->IsSigCurveAny()) Fail("cannot use {}: it holds no curve and no point pairs", path.string());
  const auto& curve = dynamic_cast<const CSigCurve&>(*signal);
  auto pairs = std::make_unique<CSigPairs>(curve);
  if (curve.DLen() > 0 && !pairs->Gueltig()) {
    Fail("cannot use {}: there is no memory for {} points, or none of its samples is valid", path.string(),
         curve.DLen());
  }
  return pairs;
}

}  // namespace umlauf::tool
