#pragma once

#include <cstdint>
#include <optional>

#include "umlauf_io/internal/ByteStream.h"

namespace umlauf::io {

/// Bytes of samples that the header of a WAV, RF64 or W64 file promises; nothing for other formats, and where
/// the header leaves the length open, as one written into a pipe does. Moves the position of the stream.
std::optional<std::uint64_t> PromisedBytes(ByteStream& stream);

/// Bytes that the file holds from the start of those samples on. Only after `PromisedBytes` found some.
std::uint64_t BytesBehind(const ByteStream& stream);

}  // namespace umlauf::io
