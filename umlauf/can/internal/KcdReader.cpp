#include "umlauf/can/internal/KcdReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>
#include <optional>
#include <pugixml.hpp>
#include <string_view>
#include <system_error>
#include <utility>

#include "umlauf/platform/tramsea/PrWin.h"

namespace umlauf::can {
namespace {

using Type = SignalDescription::Type;

constexpr std::uint64_t kStandardMax = 0x7FF;
constexpr std::uint64_t kExtendedMax = 0x1FFFFFFF;

/// Notes about one document, limited so that a bad one does not flood the log.
class Notes {
 public:
  template <class... Args>
  void Tell(const wchar_t* format, const Args&... args) {
    if (told_ < kMost) PrWin::Output(PrWin::note, format, args...);
    if (told_ == kMost) PrWin::Output(PrWin::note, L"CAN description: further notes are left out\n");
    ++told_;
  }

 private:
  static constexpr std::uint64_t kMost = 20;
  std::uint64_t told_ = 0;
};

/// Name of an element without its namespace prefix.
std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  const std::size_t colon = name.rfind(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node Child(const pugi::xml_node& parent, std::string_view name) {
  for (const pugi::xml_node& child : parent.children()) {
    if (LocalName(child) == name) return child;
  }
  return {};
}

std::string_view Trimmed(const pugi::xml_attribute& attribute) {
  constexpr char blank[] = " \t\r\n";
  std::string_view text = attribute.value();
  text.remove_prefix(std::min(text.find_first_not_of(blank), text.size()));
  return text.substr(0, text.find_last_not_of(blank) + 1);
}

template <class T, class... Base>
std::optional<T> Parsed(std::string_view text, Base... base) {
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base...);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// A whole number, decimal or hexadecimal with 0x. `absent` when there is no such attribute.
std::optional<std::uint64_t> WholeNumber(const pugi::xml_attribute& attribute,
                                         std::optional<std::uint64_t> absent) {
  if (attribute.empty()) return absent;
  const std::string_view text = Trimmed(attribute);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  return hexadecimal ? Parsed<std::uint64_t>(text.substr(2), 16) : Parsed<std::uint64_t>(text, 10);
}

/// A finite number, whatever the locale.
std::optional<double> Number(const pugi::xml_attribute& attribute, double absent) {
  if (attribute.empty()) return absent;
  std::string_view text = Trimmed(attribute);
  if (text.starts_with('+')) text.remove_prefix(1);
  const std::optional<double> number = Parsed<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<Type> ValueType(const pugi::xml_attribute& attribute) {
  const std::string_view text = attribute.empty() ? "unsigned" : Trimmed(attribute);
  if (text == "unsigned") return Type::unsignedInteger;
  if (text == "signed") return Type::signedInteger;
  if (text == "single") return Type::singlePrecision;
  if (text == "double") return Type::doublePrecision;
  return std::nullopt;
}

/// Where the bits of a signal lie; none when that is unclear or outside any message.
std::optional<BitField> ReadBits(const pugi::xml_node& node, bool offsetIsMostSignificant) {
  const auto offset = WholeNumber(node.attribute("offset"), std::nullopt);
  const auto length = WholeNumber(node.attribute("length"), 1);
  const pugi::xml_attribute order = node.attribute("endianess");  // the format's own spelling
  const std::string_view endianness = order.empty() ? "little" : Trimmed(order);
  if (!offset || !length || (endianness != "little" && endianness != "big")) return std::nullopt;
  BitField bits{*offset, *length, endianness == "big"};
  if (bits.bigEndian && offsetIsMostSignificant) {
    bits.offset = BigEndianLeastSignificantBit(*offset, *length);
  }
  return bits.IsValid() ? std::optional(bits) : std::nullopt;
}

/// How a signal's bits become its value; false when that is unclear.
bool ReadCoding(const pugi::xml_node& value, SignalDescription& signal) {
  const auto type = ValueType(value.attribute("type"));
  const auto slope = Number(value.attribute("slope"), 1.0);
  const auto intercept = Number(value.attribute("intercept"), 0.0);
  if (!type || !slope || !intercept) return false;
  if (*type == Type::singlePrecision && signal.bits.length != 32) return false;
  if (*type == Type::doublePrecision && signal.bits.length != 64) return false;
  signal.type = *type;
  signal.slope = *slope;
  signal.intercept = *intercept;
  signal.min = Number(value.attribute("min"), signal.min).value_or(signal.min);
  signal.max = Number(value.attribute("max"), signal.max).value_or(signal.max);
  signal.unit = CString::FromUtf8(value.attribute("unit").value());
  return true;
}

class Reader {
 public:
  Reader(Description& description, bool offsetIsMostSignificant)
      : description_(description), offsetIsMostSignificant_(offsetIsMostSignificant) {}

  void ReadNetwork(const pugi::xml_node& network) {
    for (const pugi::xml_node& bus : network.children()) {
      if (LocalName(bus) != "Bus") continue;
      for (const pugi::xml_node& message : bus.children()) {
        if (LocalName(message) == "Message") ReadMessage(message);
      }
    }
    if (description_.messages().empty()) notes_.Tell(L"CAN description: it holds no message\n");
  }

 private:
  void ReadMessage(const pugi::xml_node& node) {
    MessageDescription message;
    message.name = CString::FromUtf8(node.attribute("name").value());
    message.extended = Trimmed(node.attribute("format")) == "extended";
    const auto identifier = WholeNumber(node.attribute("id"), std::nullopt);
    if (!identifier || *identifier > (message.extended ? kExtendedMax : kStandardMax)) {
      notes_.Tell(L"CAN description: message %s left out, identifier \"%s\" is not valid\n", message.name,
                  node.attribute("id").value());
      return;
    }
    message.identifier = static_cast<std::uint32_t>(*identifier);
    for (const pugi::xml_node& child : node.children()) {
      if (LocalName(child) == "Signal") ReadSignal(child, message);
      if (LocalName(child) == "Multiplex") ReadMultiplex(child, message);
    }
    const CString name = message.name;
    if (!description_.Add(std::move(message))) {
      notes_.Tell(L"CAN description: message %s left out, another one has its identifier 0x%X\n", name,
                  *identifier);
    }
  }

  bool ReadSignal(const pugi::xml_node& node, MessageDescription& message,
                  std::size_t multiplexor = SignalDescription::unconditional, std::uint64_t count = 0) {
    SignalDescription signal;
    signal.name = CString::FromUtf8(node.attribute("name").value());
    signal.multiplexor = multiplexor;
    signal.multiplexCount = count;
    const auto bits = ReadBits(node, offsetIsMostSignificant_);
    if (bits) signal.bits = *bits;
    if (!bits || !ReadCoding(Child(node, "Value"), signal)) {
      notes_.Tell(L"CAN description: signal %s of message %s left out, its %s is not valid\n", signal.name,
                  message.name, bits ? L"value" : L"place");
      return false;
    }
    message.signals.push_back(std::move(signal));
    return true;
  }

  void ReadMultiplex(const pugi::xml_node& node, MessageDescription& message) {
    const std::size_t multiplexor = message.signals.size();
    if (!ReadSignal(node, message)) return;
    for (const pugi::xml_node& group : node.children()) {
      if (LocalName(group) != "MuxGroup") continue;
      const auto count = WholeNumber(group.attribute("count"), std::nullopt);
      if (!count) {
        notes_.Tell(L"CAN description: a group of signals of message %s left out, it has no count\n",
                    message.name);
        continue;
      }
      for (const pugi::xml_node& signal : group.children()) {
        if (LocalName(signal) == "Signal") ReadSignal(signal, message, multiplexor, *count);
      }
    }
  }

  Description& description_;
  const bool offsetIsMostSignificant_;
  Notes notes_;
};

bool ReadDocument(const void* bytes, std::size_t size, KcdEncoding encoding, bool offsetIsMostSignificant,
                  Description& description) {
  pugi::xml_document document;
  const pugi::xml_parse_result result =
      document.load_buffer(bytes, size, pugi::parse_default,
                           encoding == KcdEncoding::wide ? pugi::encoding_wchar : pugi::encoding_auto);
  if (!result) {
    PrWin::Output(PrWin::note, L"CAN description: no XML, at character %d: %s\n", result.offset,
                  result.description());
    return false;
  }
  const pugi::xml_node network = document.document_element();
  if (LocalName(network) != "NetworkDefinition") {
    PrWin::Output(PrWin::note, L"CAN description: it is not a network definition but \"%s\"\n",
                  network.name());
    return false;
  }
  Reader(description, offsetIsMostSignificant).ReadNetwork(network);
  return true;
}

}  // namespace

bool ReadKcd(const void* bytes, std::size_t size, KcdEncoding encoding, bool bigEndianOffsetIsMostSignificant,
             Description& description) {
  description = Description();
  try {
    if (ReadDocument(bytes, size, encoding, bigEndianOffsetIsMostSignificant, description)) return true;
  } catch (const std::bad_alloc&) {
    PrWin::Output(PrWin::note, L"CAN description: out of memory\n");
  }
  description = Description();
  return false;
}

}  // namespace umlauf::can
