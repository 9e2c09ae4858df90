#pragma once

// Files over stdio, which gives the buffering that small reads and writes of records need and is the same on
// every system but for the functions below.

#include <cstdint>
#include <cstdio>
#include <memory>

#include "umlauf/platform/os/os.h"

namespace umlauf::os {

struct CloseStdio {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using StdioPointer = std::unique_ptr<std::FILE, CloseStdio>;

/// What stdio calls the way to open a file that is there or is not.
const char* StdioMode(const OpenMode& mode, bool exists);
std::unique_ptr<File> MakeStdioFile(StdioPointer file);

// Of each system: positions of 64 bits.
bool SeekStdio(std::FILE* file, std::uint64_t position);
std::uint64_t StdioPosition(std::FILE* file);
/// Without what is still in the buffer.
std::uint64_t StdioLength(std::FILE* file);

}  // namespace umlauf::os
