#include <filesystem>
#include <mutex>
#include <utility>

#include <nanobind/stl/filesystem.h>
#include <nanobind/stl/unique_ptr.h>

#include "python/src/Signals.h"
#include "umlauf/recording/SignalFile.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

/// Signals must not be read or written on two threads at once.
std::mutex& FileLock() {
  static std::mutex lock;
  return lock;
}

CString PathText(const std::filesystem::path& path) { return CString::FromPath(path.native()); }

[[noreturn]] void FailAt(const char* verb, const std::filesystem::path& path, const CString& why) {
  throw Error(CString::FromUtf8(std::string("cannot ") + verb + " ") + PathText(path) + L": " + why);
}

nb::object ReadSignal(const std::filesystem::path& path) {
  std::unique_ptr<CSignal> signal;
  CSignalFile file;
  {
    nb::gil_scoped_release free;
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
      Raise({RecordingFailure::Kind::notThere, CString(L"there is no file ") + PathText(path)});
    }
    const std::lock_guard lock(FileLock());
    signal = file.Read(PathText(path));
  }
  if (signal == nullptr) FailAt("read", path, file.Failure());
  if (auto* curve = dynamic_cast<CSigCurve*>(signal.get())) return nb::cast(AsCurve(curve));
  if (auto* pairs = dynamic_cast<CSigPairs*>(signal.get())) {
    signal.release();
    return nb::cast(std::unique_ptr<CSigPairs>(pairs));
  }
  auto* array = dynamic_cast<CSigCurveArray*>(signal.get());
  if (array == nullptr) FailAt("read", path, L"it holds another kind of signal");
  signal.release();
  return nb::cast(std::unique_ptr<CSigCurveArray>(array));
}

/// A curve that is valid as a whole is written as a plain one.
std::unique_ptr<CSignal> Plain(const CSigCurveExt& curve) {
  const bool whole = curve.VMin() == curve.XMin() && curve.VMax() == curve.XMax();
  if (curve.Date() != 0 || !whole) return CopyOf(curve);
  return CopyOf<CSigCurve>(curve);
}

std::unique_ptr<CSignal> WithSamples(const CSigCurveArray& array, bool quantised) {
  auto copy = CopyOf(array);
  NeedMemory(copy->Count() == array.Count());
  for (std::size_t i = 0; i < copy->Count(); ++i) (*copy)[i].SetFileCompression(quantised);
  return copy;
}

std::unique_ptr<CSignal> CopyOfSignal(const nb::object& signal, bool quantised) {
  if (nb::isinstance<CSigCurveExt>(signal)) return Plain(nb::cast<const CSigCurveExt&>(signal));
  if (nb::isinstance<CSigPairs>(signal)) return CopyOf(nb::cast<const CSigPairs&>(signal));
  if (nb::isinstance<CSigCurveArray>(signal))
    return WithSamples(nb::cast<const CSigCurveArray&>(signal), quantised);
  throw nb::type_error("only Curve, Pairs and CurveArray can be written to a signal file");
}

void WriteSignal(const nb::object& signal, const std::filesystem::path& path, bool quantised) {
  const std::unique_ptr<CSignal> copy = CopyOfSignal(signal, quantised);
  CSignalFile file;
  bool good = false;
  {
    nb::gil_scoped_release free;
    const std::lock_guard lock(FileLock());
    good = file.Write(*copy, PathText(path),
                      quantised ? CSignalFile::Samples::quantised : CSignalFile::Samples::exact);
  }
  if (!good) FailSystem(CString(L"cannot write ") + PathText(path) + L": " + file.Failure());
}

}  // namespace

void BindSignalFiles(nb::module_& module) {
  module.def("read_signal", ReadSignal, "path"_a,
             nb::sig("def read_signal(path: str | os.PathLike[str]) -> Curve | Pairs | CurveArray"),
             "The signal in a signal file (.usig).");
  module.def("write_signal", WriteSignal, "signal"_a, "path"_a, nb::kw_only(), "quantised"_a = false,
             nb::sig("def write_signal(signal: Curve | Pairs | CurveArray, path: str | os.PathLike[str], *, "
                     "quantised: bool = False) -> None"),
             "Writes a signal file; quantised: curves with 8 bits a sample, 1/255 of their range in "
             "steps. Of the name, 39 letters are kept; those outside code page 1252 become \"?\".");
}

}  // namespace umlauf::python
