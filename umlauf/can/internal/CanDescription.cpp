#include "umlauf/can/internal/CanDescription.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace umlauf::can {
namespace {

constexpr std::uint64_t kDataBits = 8 * sizeof(CanMessageBlock_s::data);

std::int64_t SignExtended(std::uint64_t bits, std::uint64_t length) {
  const std::uint64_t unused = 64 - length;
  return static_cast<std::int64_t>(bits << unused) >> unused;
}

}  // namespace

bool BitField::IsValid() const {
  if (length < 1 || length > 64 || offset >= kDataBits) return false;
  return bigEndian ? CountedFromTop(offset) + 1 >= length : offset + length <= kDataBits;
}

unsigned BitField::BytesNeeded() const {
  return static_cast<unsigned>((bigEndian ? offset : offset + length - 1) / 8 + 1);
}

std::uint64_t BitField::Extract(const std::uint8_t* data) const {
  std::uint64_t value = 0, shift = offset % 8;
  const std::uint8_t* byte = data + offset / 8;
  for (std::uint64_t done = 0; done < length;) {
    const std::uint64_t taken = std::min(8 - shift, length - done);
    const std::uint64_t part = (*byte >> shift) & ((1u << taken) - 1);
    value |= part << done;
    done += taken;
    shift = 0;
    if (done < length) byte += bigEndian ? -1 : 1;
  }
  return value;
}

std::uint64_t BigEndianLeastSignificantBit(std::uint64_t mostSignificantBit, std::uint64_t length) {
  return CountedFromTop(CountedFromTop(mostSignificantBit) + length - 1);
}

double SignalDescription::Value(const std::uint8_t* data) const {
  const std::uint64_t coded = bits.Extract(data);
  double number = 0.0;
  switch (type) {
    case Type::unsignedInteger:
      number = static_cast<double>(coded);
      break;
    case Type::signedInteger:
      number = static_cast<double>(SignExtended(coded, bits.length));
      break;
    case Type::singlePrecision:
      number = static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(coded)));
      break;
    case Type::doublePrecision:
      number = std::bit_cast<double>(coded);
      break;
  }
  return number * slope + intercept;
}

const CString* SignalDescription::ValueLabel(const std::uint8_t* data) const {
  if (labels.empty()) return nullptr;
  const std::uint64_t coded = bits.Extract(data);
  const std::int64_t number =
      type == Type::signedInteger ? SignExtended(coded, bits.length) : static_cast<std::int64_t>(coded);
  for (const Label& label : labels) {
    if (number >= label.first && number <= label.last) return &label.name;
  }
  return nullptr;
}

unsigned MessageDescription::BytesNeeded(const SignalDescription& signal) const {
  const unsigned own = signal.bits.BytesNeeded();
  if (signal.multiplexor == SignalDescription::unconditional) return own;
  return std::max(own, signals[signal.multiplexor].bits.BytesNeeded());
}

bool MessageDescription::IsPresent(const SignalDescription& signal, const std::uint8_t* data) const {
  return signal.multiplexor == SignalDescription::unconditional ||
         signals[signal.multiplexor].bits.Extract(data) == signal.multiplexCount;
}

const MessageDescription* Description::Add(MessageDescription message) {
  const std::uint32_t key = message.identifier | (message.extended ? extendedFlag : 0);
  const auto [there, added] = indices_.emplace(key, messages_.size());
  if (!added) return &messages_[there->second];
  messages_.push_back(std::move(message));
  return nullptr;
}

std::size_t Description::Find(std::uint32_t word) const {
  auto found = indices_.find(word);
  if (found == indices_.end()) found = indices_.find(word | extendedFlag);
  return found != indices_.end() ? found->second : unknown;
}

}  // namespace umlauf::can
