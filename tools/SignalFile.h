#pragma once

#include <filesystem>
#include <memory>

#include "tools/OutputFile.h"
#include "umlauf/signal/Signal.h"

/// Signal files: one signal of the classic model with what its own record does not tell, its kind and the
/// version of the record. Little-endian, suffix .usig:
///
/// | offset | size | content |
/// |--------|------|------------------------------------------------------------------------------------------|
/// | 0      | 8    | magic 55 4D 4C 41 55 46 0D 0A ("UMLAUF", CR, LF: a transfer as text damages it visibly)
/// | | 8      | 4    | version of this container, uint32: 1 | | 12     | 4    | signal type tag, int32: 102
/// curve, 1021 extended curve, 109 point pairs                  | | 16     | 4    | version of the record,
/// uint32, as given to WriteToFile and ReadFromFile (1 or 2)         | | 20     | 4    | reserved, 0 | | 24
/// | 8    | length L of the record in bytes, uint64                                                  | | 32
/// | L    | the record: what the signal's WriteToFile writes; the file ends behind it                |
namespace umlauf::tool {

/// Writes a signal in the current record version; does not commit the file.
void WriteSignalFile(const CSignal& signal, OutputFile& out);

/// Reads a signal file. Throws ToolError when it is none, is damaged (a length that is not that of the file,
/// a record that is cut or too long), or holds a kind of signal that is not known here.
std::unique_ptr<CSignal> ReadSignalFile(const std::filesystem::path& path);

}  // namespace umlauf::tool
