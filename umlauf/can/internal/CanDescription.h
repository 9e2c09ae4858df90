#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <unordered_map>
#include <vector>

#include "umlauf/can/CanMessage.h"
#include "umlauf/platform/framework/CString.h"

namespace umlauf::can {

/// Where the bits of a signal lie. Bit 8 b + k is bit k (0 = least significant) of data byte b. From its
/// least significant bit on, a signal goes to higher bits of a byte, then to the next byte (little-endian)
/// or to the byte before (big-endian).
struct BitField {
  std::uint64_t offset = 0;  ///< of the least significant bit
  std::uint64_t length = 1;
  bool bigEndian = false;

  /// Whether it has 1 to 64 bits and lies within the data of a message block.
  bool IsValid() const;
  /// Bytes of data that must be there; at most 64 for valid fields.
  unsigned BytesNeeded() const;
  /// The bits as a number; the field must be valid.
  std::uint64_t Extract(const std::uint8_t* data) const;

  bool operator==(const BitField&) const = default;
};

/// The offset of the least significant bit of a big-endian field that is given by its most significant bit.
std::uint64_t BigEndianLeastSignificantBit(std::uint64_t mostSignificantBit, std::uint64_t length);
/// The same offset counted from bit 7 of the first byte downwards, or back again.
constexpr std::uint64_t CountedFromTop(std::uint64_t bit) { return bit ^ 7; }

/// A name for a range of coded numbers, both ends included.
struct Label {
  std::int64_t first = 0;
  std::int64_t last = 0;
  CString name;

  bool operator==(const Label&) const = default;
};

/// A signal within a message: value = coded number * slope + intercept.
struct SignalDescription {
  enum class Type { unsignedInteger, signedInteger, singlePrecision, doublePrecision };
  static constexpr std::size_t unconditional = std::numeric_limits<std::size_t>::max();

  CString name;
  CString unit;
  BitField bits;
  Type type = Type::unsignedInteger;
  double slope = 1.0;
  double intercept = 0.0;
  double min = -std::numeric_limits<double>::infinity();
  double max = std::numeric_limits<double>::infinity();
  std::size_t multiplexor = unconditional;  ///< index of the signal that tells whether this one is there
  std::uint64_t multiplexCount = 0;         ///< that signal's coded number when it is
  std::vector<Label> labels;

  double Value(const std::uint8_t* data) const;
  /// Name of the value; null when it has none.
  const CString* ValueLabel(const std::uint8_t* data) const;

  bool operator==(const SignalDescription&) const = default;
};

struct MessageDescription {
  CString name;
  CString bus;
  std::uint32_t identifier = 0;
  bool extended = false;
  unsigned length = 0;  ///< [bytes] as described; 0 = whatever its signals need
  std::vector<SignalDescription> signals;

  /// Bytes of data needed to decode a signal and to tell whether it is there.
  unsigned BytesNeeded(const SignalDescription& signal) const;
  /// Whether the multiplexor, if any, selects the signal.
  bool IsPresent(const SignalDescription& signal, const std::uint8_t* data) const;
  /// Whether both say the same of their data, on whatever bus.
  bool SaysTheSame(const MessageDescription& other) const {
    return name == other.name && signals == other.signals;
  }
};

/// Messages by identifier.
class Description {
 public:
  static constexpr std::size_t unknown = std::numeric_limits<std::size_t>::max();

  /// Null when it was added; else the message that is there with this identifier and format.
  const MessageDescription* Add(MessageDescription message);
  /// The message that a recorded identifier word means: with bit 31 set an extended one, else a standard one
  /// or, if there is none, an extended one; `unknown` for others.
  std::size_t Find(std::uint32_t word) const;
  const std::vector<MessageDescription>& messages() const { return messages_; }

 private:
  static constexpr std::uint32_t extendedFlag = 0x80000000;

  std::vector<MessageDescription> messages_;
  std::unordered_map<std::uint32_t, std::size_t> indices_;  // by identifier, flagged when extended
};

}  // namespace umlauf::can
