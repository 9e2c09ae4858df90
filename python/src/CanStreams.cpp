#include <nanobind/stl/map.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "python/src/Arrays.h"
#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "python/src/Text.h"
#include "umlauf/can/CanMessageDecoderXml.h"
#include "umlauf/can/CanMessageFinder.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

constexpr std::uint32_t extendedBit = 0x80000000;
constexpr std::size_t longestData = sizeof(CanMessageBlock_s::data);

struct Messages {
  std::vector<double> times;
  std::vector<CanMessageBlock_s> blocks;
  unsigned channels = 1;

  template <class T, class Value>
  NumPyArray<T> Column(Value value) const {
    std::vector<T> column(blocks.size());
    for (std::size_t i = 0; i < column.size(); ++i) column[i] = static_cast<T>(value(blocks[i]));
    return ToNumPy(std::move(column));
  }
};

/// The finder wants some frames behind the last message, which a recording need not have.
constexpr std::size_t tailFrames = CanSamples1C(64) + 1;

void Search(std::span<const ULONG> words, unsigned stride, int first, int second, double rate,
            double startTime, Messages& messages) {
  CCanMessageFinder finder;
  const auto search = [&](std::span<const ULONG> block, std::size_t position, std::size_t end) {
    finder.StartSearchBlock(block.data(), static_cast<unsigned>(block.size() / stride), first, second,
                            stride);
    std::size_t behind = 0;
    while (finder.FindNextMessage()) {
      const std::size_t at = finder.SamplePos();
      if (at + finder.MessageSamples() > end) break;
      behind = at + finder.MessageSamples();
      messages.times.push_back(startTime + static_cast<double>(position + at) / rate);
      messages.blocks.push_back(finder.Message());
    }
    return behind;
  };
  const std::size_t frames = words.size() / stride;
  const std::size_t behind = search(words, 0, frames);
  const std::size_t next = std::max(behind, frames - std::min(frames, tailFrames));
  std::vector<ULONG> tail(words.begin() + static_cast<std::ptrdiff_t>(next * stride), words.end());
  tail.resize(tail.size() + 4 * stride);
  search(tail, next, frames - next);
}

std::unique_ptr<Messages> Find(const Words& words, double rate, double startTime, unsigned channels,
                               unsigned channel, int second) {
  const WordArray array = words.Get();
  if (!(rate > 0) || channels == 0 || channel >= channels || second >= static_cast<int>(channels)) {
    RefuseValue("the rate must be above 0, and the channels must be those of the stream");
  }
  if (array.shape(0) / channels > 0xFFFFFFFF) RefuseValue("the stream is too long for one search; cut it");
  nb::gil_scoped_release free;
  Forward<ULONG> forward(array);
  auto messages = std::make_unique<Messages>();
  messages->channels = second >= 0 ? 2 : 1;
  Search(forward.Contiguous(), channels, static_cast<int>(channel), second, rate, startTime, *messages);
  return messages;
}

/// The values of a signal over time.
struct Signal {
  CString message, name, unit;
  std::uint32_t identifier = 0;
  std::vector<double> times, values;
  std::map<double, CString> labels;
};

using Offset = CCanMessageDecoderXml::BigEndianOffset;

Offset OffsetOf(const std::string& name) {
  const std::pair<const char*, Offset> known[] = {{"top", Offset::mostSignificantFromTop},
                                                  {"msb", Offset::mostSignificantBit},
                                                  {"lsb", Offset::leastSignificantBit}};
  for (const auto& [text, offset] : known) {
    if (name == text) return offset;
  }
  RefuseValue("offsets \"" + name + "\" are not known; take top, msb or lsb");
}

std::vector<Signal> Described(CCanMessageDecoderXml& decoder) {
  std::vector<Signal> signals;
  std::set<CString> taken;
  for (unsigned i = 0; i < decoder.NumSignals(); ++i) {
    const CanSignalInfo_s info = decoder.Signal(i);
    // The decoder knows signals by name: one that comes again, as in several groups, stands for them all.
    const CString name = info.message + L"." + info.signal;
    if (!taken.insert(name).second) continue;
    decoder.AppSignalBekanntmachen(static_cast<int>(signals.size()), name);
    signals.push_back({info.message, info.signal, info.unit, info.identifier, {}, {}, {}});
  }
  return signals;
}

std::vector<Signal> Decode(const Messages& messages, const FileName& file, const CString& bus,
                           const std::string& offsets) {
  const CString name = CString::FromPath(file.path.native());
  CCanMessageDecoderXml decoder;
  decoder.SetRecordedChannels(messages.channels);
  decoder.SetBigEndianOffset(OffsetOf(offsets));
  decoder.SetBus(bus);
  nb::gil_scoped_release free;
  if (!decoder.SetDecoderXmlFile(name)) {
    throw Error(name +
                L" cannot be used as a message description in KCD; the log says why, and where buses differ "
                L"choose one");
  }
  std::vector<Signal> signals = Described(decoder);
  decoder.StartDecoderSession();
  for (std::size_t k = 0; k < messages.blocks.size(); ++k) {
    const unsigned n = decoder.DecodeCanMessage(messages.blocks[k]);
    for (unsigned i = 0; i < n; ++i) {
      Signal& signal = signals[static_cast<std::size_t>(decoder.ResultId(i))];
      signal.times.push_back(messages.times[k]);
      signal.values.push_back(decoder.ResultValue(i));
      const CString& label = decoder.ResultLabel(i);
      if (!label.IsEmpty()) signal.labels.try_emplace(signal.values.back(), label);
    }
  }
  return signals;
}

void BindSignal(nb::module_& module) {
  nb::class_<Signal>(module, "CanSignal", "The values of a signal over time.")
      .def_ro("message", &Signal::message)
      .def_ro("name", &Signal::name)
      .def_ro("unit", &Signal::unit)
      .def_ro("identifier", &Signal::identifier)
      .def_ro("labels", &Signal::labels, "Names of values, those that came.")
      .def_prop_ro(
          "time",
          [](nb::handle_t<Signal> s) {
            return View(std::span<const double>(nb::cast<const Signal&>(s).times), s);
          },
          nb::rv_policy::automatic, "[n] s")
      .def_prop_ro(
          "values",
          [](nb::handle_t<Signal> s) {
            return View(std::span<const double>(nb::cast<const Signal&>(s).values), s);
          },
          nb::rv_policy::automatic, "[n] in `unit`")
      .def("__len__", [](const Signal& s) { return s.values.size(); });
}

NumPyArray<const std::uint8_t, nb::ndim<2>> Data(nb::handle_t<Messages> self) {
  const auto& blocks = nb::cast<const Messages&>(self).blocks;
  const std::uint8_t* first = blocks.empty() ? nullptr : blocks[0].data;
  return NumPyArray<const std::uint8_t, nb::ndim<2>>(
      first, {blocks.size(), longestData}, self, {static_cast<std::int64_t>(sizeof(CanMessageBlock_s)), 1});
}

}  // namespace

void BindCan(nb::module_& module) {
  BindSignal(module);
  const auto policy = nb::rv_policy::automatic;
  nb::class_<Messages>(module, "CanMessages", "Messages of a recorded CAN stream, in columns.")
      .def_prop_ro(
          "time",
          [](nb::handle_t<Messages> m) {
            return View(std::span<const double>(nb::cast<const Messages&>(m).times), m);
          },
          policy, "[n] s")
      .def_prop_ro(
          "identifier",
          [](const Messages& m) {
            return m.Column<std::uint32_t>([](const auto& b) { return b.second & ~extendedBit; });
          },
          policy, "[n] uint32")
      .def_prop_ro(
          "extended",
          [](const Messages& m) {
            return m.Column<std::uint8_t>([](const auto& b) { return b.second / extendedBit; });
          },
          policy, "[n] 1 for identifiers of 29 bits")
      .def_prop_ro(
          "length",
          [](const Messages& m) {
            return m.Column<std::uint8_t>([](const auto& b) { return CanDataLength(b.header); });
          },
          policy, "[n] bytes of data on the bus")
      .def_prop_ro("data", Data, policy, "[n, 64] bytes; those that were not recorded are 0")
      .def("__len__", [](const Messages& m) { return m.blocks.size(); })
      .def("decode_kcd", Decode, "path"_a, nb::kw_only(), "bus"_a, "offsets"_a);
  module.def("find_can_messages", Find, "words"_a, nb::kw_only(), "rate"_a, "start_time"_a, "channels"_a,
             "channel"_a, "second"_a);
}

}  // namespace umlauf::python
