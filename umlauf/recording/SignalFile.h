#pragma once

#include <memory>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CFile.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/signal/Signal.h"

/// Reads and writes signal files (suffix .usig): one signal of the classic model with what its own record
/// does not tell, its kind and the version of the record. docs/file-formats.md has the bytes.
///
/// Curves (plain and extended), curve arrays and point pairs are known. Nothing throws: what cannot be done
/// gives false or nothing, and `Failure` says why. A file that is cut, too long or of another kind is
/// refused, and no more memory is asked for than the file has bytes. One object is used by one thread at a
/// time.
class UMLAUF_API CSignalFile {
 public:
  /// How the samples of a curve are stored: as they are, or in 8 bits each (a quarter of the size, 1/255 of
  /// their range in steps). What the curve itself says about its compression does not count.
  enum class Samples { exact, quantised };

  /// Writes a signal at the position of a file that is open for writing.
  bool Write(const CSignal& signal, CFile& file, Samples samples = Samples::exact);
  /// As above into a file of this name, in place of what it held. A failure leaves a file that `Read`
  /// refuses.
  bool Write(const CSignal& signal, const CString& path, Samples samples = Samples::exact);

  /// The signal from the position of a file to its end; null when there is none. A pipe, which does not tell
  /// its length, is gathered in memory first.
  std::unique_ptr<CSignal> Read(CFile& file);
  std::unique_ptr<CSignal> Read(const CString& path);

  /// Why the last call failed, to follow "cannot read ...: "; empty after one that did not.
  const CString& Failure() const { return failure_.Text(); }

  /// Whether a file begins as a signal file; false when it cannot be read.
  static bool IsOne(const CString& path);

 private:
  std::unique_ptr<CSignal> Fail(const wchar_t* why);
  std::unique_ptr<CSignal> ReadAny(CFile& file);
  std::unique_ptr<CSignal> ReadSized(CFile& file);

  FailureText failure_;
};
