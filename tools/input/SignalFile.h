#pragma once

#include <memory>

#include "tools/FilePath.h"
#include "tools/output/OutputFile.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/Signal.h"

// Signal files (CSignalFile) with the errors and output files of this program.
namespace umlauf::tool {

/// Writes a signal; does not commit the file.
void WriteSignalFile(const CSignal& signal, OutputFile& out);

/// Reads a signal file. Throws ToolError when it is none, is damaged, or holds a kind of signal that is not
/// known.
std::unique_ptr<CSignal> ReadSignalFile(const FilePath& path);

/// Whether a file begins as a signal file; false when it cannot be read.
bool IsSignalFile(const FilePath& path);

/// Reads a signal file of any kind as point pairs: the samples of a curve (of an extended one those of its
/// valid span) become points. Throws as `ReadSignalFile`.
std::unique_ptr<CSigPairs> ReadPairs(const FilePath& path);

}  // namespace umlauf::tool
