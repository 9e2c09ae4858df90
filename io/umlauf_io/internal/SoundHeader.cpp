#include "umlauf_io/internal/SoundHeader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace umlauf::io {
namespace {

constexpr std::uint64_t open = 0x7FFFF000;  ///< lengths from here on are what programs write that do not know
constexpr int mostChunks = 1000;

template <class T>
T At(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// RIFF: four letters and a 32-bit length, chunks padded to two bytes. RF64 has the lengths of 64 bits in a
/// chunk of its own.
std::optional<std::uint64_t> PromisedInRiff(ByteStream& stream) {
  std::array<char, 24> chunk{};
  std::optional<std::uint64_t> longLength;
  std::uint64_t at = 12;
  for (int i = 0; i < mostChunks && stream.Seek(at) && stream.Read(chunk.data(), 8) == 8; ++i) {
    const std::string_view name(chunk.data(), 4);
    const std::uint64_t length = At<std::uint32_t>(chunk.data() + 4);
    if (name == "ds64" && stream.Read(chunk.data(), 24) == 24)
      longLength = At<std::uint64_t>(chunk.data() + 8);
    if (name == "data") {
      if (length == 0xFFFFFFFF) return longLength;
      return length < open || longLength ? std::optional(length) : std::nullopt;
    }
    at += 8 + length + length % 2;
  }
  return std::nullopt;
}

/// W64: sixteen bytes that begin with the four letters and a 64-bit length that counts them, too; chunks
/// padded to eight bytes.
std::optional<std::uint64_t> PromisedInW64(ByteStream& stream) {
  std::array<char, 24> chunk{};
  std::uint64_t at = 40;
  for (int i = 0; i < mostChunks && stream.Seek(at) && stream.Read(chunk.data(), 24) == 24; ++i) {
    const auto length = At<std::uint64_t>(chunk.data() + 16);
    if (length < 24 || length > INT64_MAX / 2) return std::nullopt;
    if (std::string_view(chunk.data(), 4) == "data") return length - 24;
    at += (length + 7) / 8 * 8;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> PromisedBytes(ByteStream& stream) {
  const std::string_view start = stream.start();
  if (start.size() < 12) return std::nullopt;
  const std::string_view magic = start.substr(0, 4);
  if ((magic == "RIFF" || magic == "RF64") && start.substr(8, 4) == "WAVE") return PromisedInRiff(stream);
  if (magic == "riff") return PromisedInW64(stream);
  return std::nullopt;
}

std::uint64_t BytesBehind(const ByteStream& stream) {
  const std::uint64_t length = stream.length().value_or(0);
  return length - std::min(length, stream.position());
}

}  // namespace umlauf::io
