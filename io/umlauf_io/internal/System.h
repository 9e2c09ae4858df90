#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>

/// What files over stdio need of the operating system. Everything behind this header lives in a folder of its
/// own (posix/, windows/).
namespace umlauf::io {

/// The path as the system's functions take it, however long it is.
std::filesystem::path LongPath(const std::filesystem::path& path);
/// Whether something that is no file and no folder has this name: a device, a pipe.
bool IsDevice(const std::filesystem::path& path);
/// A file for bytes: "rb", "wb", "wb+", or "wbx" for one that must not be there yet. Others may meanwhile
/// read, rename and remove it. Null on failure, with the reason in errno.
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode);
/// An empty file for writing and reading that goes when it is closed. Null on failure, with the reason in
/// errno.
std::FILE* TemporaryFile();

/// Puts a file in the place of another one in the same folder, which may be open for others to read: who
/// opens it gets the old or the new one. 0, or the reason in terms of errno.
int MoveInto(const std::filesystem::path& from, const std::filesystem::path& to);

/// As std::fseek and std::ftell, with positions of 64 bits.
bool SeekIn(std::FILE* file, std::int64_t offset, int whence);
std::int64_t PositionIn(std::FILE* file);
/// Length in bytes of what stands at its start and can be read twice; nothing for a pipe or terminal.
std::optional<std::uint64_t> LengthFromStart(std::FILE* file);
/// Standard input and output as bytes.
void MakeBinary(std::FILE* file);

}  // namespace umlauf::io
