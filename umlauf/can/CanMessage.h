#pragma once

#include <cstddef>
#include <cstdint>

/// One CAN message as recorded: 32-bit words, little-endian. Bits of the header: 31-24 sync 0xAA, 23-16 data
/// length L in bytes (valid 1 ... 64), 15-8 free, 7-0 sync 0x55. As initialised here it is the reset state.
struct CanMessageBlock_s {
  std::uint32_t header = 0xAA00FF55;
  std::uint32_t second = 0;    ///< the message's identifier
  std::uint8_t data[64] = {};  ///< bytes in their order on the bus; those that were not recorded are 0
};
static_assert(sizeof(CanMessageBlock_s) == 72 && offsetof(CanMessageBlock_s, second) == 4 &&
              offsetof(CanMessageBlock_s, data) == 8);

/// Words of a whole message block.
inline constexpr unsigned kCanMessageWords = sizeof(CanMessageBlock_s) / sizeof(std::uint32_t);

/// What all headers have in common.
inline constexpr std::uint32_t kCanHeaderMask = 0xFF0000FF;
inline constexpr std::uint32_t kCanHeaderSync = 0xAA000055;

inline void ResetMessageBlock(CanMessageBlock_s& block) { block = CanMessageBlock_s(); }

/// The length byte L of a header, 0 ... 255.
constexpr unsigned CanDataLength(std::uint32_t header) { return header >> 16 & 0xFF; }

/// Whether a word begins a message.
constexpr bool IsCanHeader(std::uint32_t word) {
  return (word & kCanHeaderMask) == kCanHeaderSync && CanDataLength(word) >= 1 && CanDataLength(word) <= 64;
}

/// Samples that a message of L data bytes takes in a stream over one channel (header, second word, data).
/// Intended: a length that is no multiple of 4 is not rounded up, its last bytes are not recorded.
constexpr unsigned CanSamples1C(unsigned length) { return (length >> 2) + 2; }
/// Samples per channel of a stream over two channels; here whole groups of 8 bytes are recorded.
constexpr unsigned CanSamples2C(unsigned length) { return (length >> 3) + 1; }
