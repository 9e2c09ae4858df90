#include "umlauf/can/internal/KcdReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace umlauf::can {
namespace {

using Type = SignalDescription::Type;

constexpr std::uint64_t kStandardMax = 0x7FF;
constexpr std::uint64_t kExtendedMax = 0x1FFFFFFF;
/// Of a signal that has none: no place in any message.
constexpr std::uint64_t kNoOffset = std::numeric_limits<std::uint64_t>::max();

/// Notes about one document with the lines they are about, limited so that a bad one does not flood the log.
class Notes {
 public:
  /// The text of the document; empty when lines cannot be told.
  explicit Notes(std::string_view text) : text_(text) {}

  template <class... Args>
  void Tell(std::ptrdiff_t offset, const wchar_t* format, const Args&... args) {
    CString note;
    note.Format(format, args...);
    if (told_ < kMost) PrWin::Output(PrWin::note, L"CAN description%s: %s\n", Line(offset), note);
    if (told_ == kMost) PrWin::Output(PrWin::note, L"CAN description: further notes are left out\n");
    ++told_;
  }
  /// ", line 7" for a place in the text; empty where that is unknown.
  CString Line(std::ptrdiff_t offset) const {
    if (offset < 0 || static_cast<std::size_t>(offset) > text_.size()) return {};
    CString line;
    line.Format(L", line %d", 1 + std::count(text_.begin(), text_.begin() + offset, '\n'));
    return text_.empty() ? CString() : line;
  }

 private:
  static constexpr std::uint64_t kMost = 20;
  std::string_view text_;
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

bool EqualFolded(std::string_view text, std::string_view lower) {
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
  });
}

/// An attribute that cannot be used; empty when all can.
using BadAttribute = pugi::xml_attribute;

/// Where the bits of a signal lie, in whatever way its offset counts.
BadAttribute ReadBits(const pugi::xml_node& node, KcdBigEndianOffset meaning, BitField& bits) {
  const pugi::xml_attribute offset = node.attribute("offset"), length = node.attribute("length");
  pugi::xml_attribute order = node.attribute("endianess");  // the format's own spelling
  if (order.empty()) order = node.attribute("endianness");
  const auto first = WholeNumber(offset, std::nullopt), count = WholeNumber(length, 1);
  const std::string_view endianness = order.empty() ? "little" : Trimmed(order);
  if (!first && !offset.empty()) return offset;
  if (!count) return length;
  bits = {first.value_or(kNoOffset), *count, EqualFolded(endianness, "big")};
  if (!bits.bigEndian && !EqualFolded(endianness, "little")) return order;
  if (bits.bigEndian && bits.offset != kNoOffset && meaning != KcdBigEndianOffset::leastSignificantBit) {
    const bool fromTop = meaning == KcdBigEndianOffset::mostSignificantFromTop;
    bits.offset = BigEndianLeastSignificantBit(fromTop ? CountedFromTop(bits.offset) : bits.offset, *count);
  }
  return {};
}

/// How a signal's bits become its value.
BadAttribute ReadCoding(const pugi::xml_node& value, SignalDescription& signal) {
  const auto type = ValueType(value.attribute("type"));
  const auto slope = Number(value.attribute("slope"), 1.0);
  const auto intercept = Number(value.attribute("intercept"), 0.0);
  const bool fits = (type != Type::singlePrecision || signal.bits.length == 32) &&
                    (type != Type::doublePrecision || signal.bits.length == 64);
  if (!type || !fits) return value.attribute("type");
  if (!slope) return value.attribute("slope");
  if (!intercept) return value.attribute("intercept");
  signal.type = *type;
  signal.slope = *slope;
  signal.intercept = *intercept;
  signal.min = Number(value.attribute("min"), signal.min).value_or(signal.min);
  signal.max = Number(value.attribute("max"), signal.max).value_or(signal.max);
  signal.unit = CString::FromUtf8(value.attribute("unit").value());
  return {};
}

/// A number of a label, which counts as the signal's coded number does.
std::optional<std::int64_t> LabelNumber(const pugi::xml_attribute& attribute) {
  if (const auto number = WholeNumber(attribute, std::nullopt)) return static_cast<std::int64_t>(*number);
  return Parsed<std::int64_t>(Trimmed(attribute));
}

class Reader {
 public:
  Reader(Description& description, const KcdOptions& options, Notes& notes)
      : description_(description), options_(options), notes_(notes) {}

  /// False when it is unclear which messages are meant.
  bool ReadNetwork(const pugi::xml_node& network) {
    CString buses;
    bool found = false;
    for (const pugi::xml_node& bus : network.children()) {
      if (LocalName(bus) != "Bus") continue;
      const CString name = CString::FromUtf8(bus.attribute("name").value());
      buses = buses + (buses.IsEmpty() ? L"" : L", ") + name;
      if (!options_.bus.IsEmpty() && options_.bus != name) continue;
      found = true;
      for (const pugi::xml_node& message : bus.children()) {
        if (LocalName(message) == "Message") ReadMessage(message, name);
      }
    }
    if (!options_.bus.IsEmpty() && !found) {
      notes_.Tell(-1, L"it has no bus %s; its buses are %s", options_.bus, buses);
      return false;
    }
    if (!collision_.IsEmpty()) {
      notes_.Tell(-1, L"%s; choose one of its buses %s", collision_, buses);
      return false;
    }
    if (description_.messages().empty()) notes_.Tell(network.offset_debug(), L"it holds no message");
    return true;
  }

 private:
  void ReadMessage(const pugi::xml_node& node, const CString& bus) {
    MessageDescription message;
    message.name = CString::FromUtf8(node.attribute("name").value());
    message.bus = bus;
    message.extended = Trimmed(node.attribute("format")) == "extended";
    const auto identifier = WholeNumber(node.attribute("id"), std::nullopt);
    if (!identifier || *identifier > (message.extended ? kExtendedMax : kStandardMax)) {
      notes_.Tell(node.offset_debug(), L"message %s left out, identifier \"%s\" is not valid", message.name,
                  node.attribute("id").value());
      return;
    }
    message.identifier = static_cast<std::uint32_t>(*identifier);
    const auto length = WholeNumber(node.attribute("length"), 0);  // "auto", too, sets no limit
    message.length =
        static_cast<unsigned>(std::min<std::uint64_t>(length.value_or(0), sizeof(CanMessageBlock_s::data)));
    for (const pugi::xml_node& child : node.children()) {
      if (LocalName(child) == "Signal") ReadSignal(child, message);
      if (LocalName(child) == "Multiplex") ReadMultiplex(child, message);
    }
    Add(node, std::move(message));
  }

  void Add(const pugi::xml_node& node, MessageDescription message) {
    const MessageDescription copy = message;
    const MessageDescription* const other = description_.Add(std::move(message));
    if (other == nullptr) return;
    if (other->bus == copy.bus) {
      notes_.Tell(node.offset_debug(), L"message %s left out, another one has its identifier 0x%X", copy.name,
                  copy.identifier);
    } else if (!other->SaysTheSame(copy) && collision_.IsEmpty()) {
      collision_.Format(L"message %s of bus %s and message %s of bus %s have the same identifier 0x%X",
                        other->name, other->bus, copy.name, copy.bus, copy.identifier);
    }
  }

  bool ReadSignal(const pugi::xml_node& node, MessageDescription& message,
                  std::size_t multiplexor = SignalDescription::unconditional, std::uint64_t count = 0) {
    SignalDescription signal;
    signal.name = CString::FromUtf8(node.attribute("name").value());
    signal.multiplexor = multiplexor;
    signal.multiplexCount = count;
    BadAttribute bad = ReadBits(node, options_.offset, signal.bits);
    if (bad.empty()) bad = ReadCoding(Child(node, "Value"), signal);
    if (!bad.empty()) {
      notes_.Tell(node.offset_debug(), L"signal %s of message %s left out, its %s \"%s\" is not valid",
                  signal.name, message.name, bad.name(), bad.value());
      return false;
    }
    if (!signal.bits.IsValid()) {
      notes_.Tell(node.offset_debug(),
                  L"signal %s of message %s left out, its place (offset \"%s\", length %d) is "
                  L"outside any message",
                  signal.name, message.name, node.attribute("offset").value(), signal.bits.length);
      return false;
    }
    if (message.length > 0 && signal.bits.BytesNeeded() > message.length) {
      notes_.Tell(node.offset_debug(),
                  L"signal %s leaves the %d bytes of message %s; is the meaning of offsets the "
                  L"right one?",
                  signal.name, message.length, message.name);
    }
    ReadLabels(Child(node, "LabelSet"), signal);
    message.signals.push_back(std::move(signal));
    return true;
  }

  void ReadLabels(const pugi::xml_node& set, SignalDescription& signal) {
    for (const pugi::xml_node& node : set.children()) {
      const bool group = LocalName(node) == "LabelGroup";
      if (!group && LocalName(node) != "Label") continue;
      const auto first = LabelNumber(node.attribute(group ? "from" : "value"));
      const auto last = group ? LabelNumber(node.attribute("to")) : first;
      if (first && last) {
        signal.labels.push_back({*first, *last, CString::FromUtf8(node.attribute("name").value())});
      } else {
        notes_.Tell(node.offset_debug(), L"label \"%s\" of signal %s left out, its value is no whole number",
                    node.attribute("name").value(), signal.name);
      }
    }
  }

  void ReadMultiplex(const pugi::xml_node& node, MessageDescription& message) {
    const std::size_t multiplexor = message.signals.size();
    if (!ReadSignal(node, message)) return;
    for (const pugi::xml_node& group : node.children()) {
      if (LocalName(group) != "MuxGroup") continue;
      const auto count = WholeNumber(group.attribute("count"), std::nullopt);
      if (!count) {
        notes_.Tell(group.offset_debug(), L"a group of signals of message %s left out, it has no count",
                    message.name);
        continue;
      }
      for (const pugi::xml_node& signal : group.children()) {
        if (LocalName(signal) == "Signal") ReadSignal(signal, message, multiplexor, *count);
      }
    }
  }

  Description& description_;
  const KcdOptions& options_;
  Notes& notes_;
  CString collision_;  // of messages on different buses
};

bool ReadDocument(std::string_view text, bool utf8, const KcdOptions& options, Description& description) {
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(
      text.data(), text.size(), pugi::parse_default, utf8 ? pugi::encoding_utf8 : pugi::encoding_auto);
  // Places are those in UTF-8: of a document in wider characters no line can be told.
  Notes notes(utf8 || text.find('\0') == std::string_view::npos ? text : std::string_view());
  if (!result) {
    notes.Tell(result.offset, L"it is no XML: %s", result.description());
    return false;
  }
  const pugi::xml_node network = document.document_element();
  if (LocalName(network) != "NetworkDefinition") {
    notes.Tell(-1, L"it is not a network definition but \"%s\"", network.name());
    return false;
  }
  return Reader(description, options, notes).ReadNetwork(network);
}

}  // namespace

bool ReadKcd(const void* bytes, std::size_t size, const KcdOptions& options, Description& description) {
  description = Description();
  bool read = false;
  const bool hadMemory = HadMemory([&] {
    const bool wide = options.encoding == KcdEncoding::wide;
    const std::string text =
        wide ? CString(static_cast<const wchar_t*>(bytes), size / sizeof(wchar_t)).ToUtf8() : std::string();
    const std::string_view given(static_cast<const char*>(bytes), wide ? 0 : size);
    read = ReadDocument(wide ? text : given, wide, options, description);
  });
  if (!hadMemory) PrWin::Output(PrWin::note, L"CAN description: out of memory\n");
  if (!hadMemory || !read) description = Description();
  return hadMemory && read;
}

}  // namespace umlauf::can
