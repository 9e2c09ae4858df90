#pragma once

#include <filesystem>
#include <memory>

#include "tools/output/OutputFile.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/Signal.h"

// Signal files: one signal of the classic model with what its own record does not tell, its kind and the
// version of the record. Little-endian, suffix .usig: magic "UMLAUF" CR LF, container version, signal type
// tag, record version, 0 (four 32-bit integers), length of the record (64 bits), and the record.
namespace umlauf::tool {

/// Writes a signal in the current record version; does not commit the file.
void WriteSignalFile(const CSignal& signal, OutputFile& out);

/// Reads a signal file. Throws ToolError when it is none, is damaged (a length that is not that of the file,
/// a record that is cut or too long), or holds a kind of signal that is not known here.
std::unique_ptr<CSignal> ReadSignalFile(const std::filesystem::path& path);

/// Whether a file begins as a signal file; false when it cannot be read.
bool IsSignalFile(const std::filesystem::path& path);

/// Reads a signal file of any kind as point pairs: the samples of a curve (of an extended one those of its
/// valid span) become points. Throws as `ReadSignalFile`.
std::unique_ptr<CSigPairs> ReadPairs(const std::filesystem::path& path);

}  // namespace umlauf::tool
