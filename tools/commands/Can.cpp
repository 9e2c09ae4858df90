#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/CanSignals.h"
#include "tools/input/CanStream.h"
#include "tools/options/Outputs.h"
#include "tools/output/Console.h"
#include "tools/output/Json.h"
#include "tools/output/OutputFile.h"
#include "tools/pictures/Plot.h"

namespace umlauf::tool {
namespace {

struct CanOptions {
  RecordingOptions recording;
  std::optional<unsigned> channel2;  ///< from 1
  CanSignals::Description description;
  std::string csv, plot;
  bool json = false;
};

constexpr std::uint32_t extendedBit = 0x80000000;

using Offset = CCanMessageDecoderXml::BigEndianOffset;

const Choices<Offset>& Offsets() {
  static const Choices<Offset> offsets = {{"top", Offset::mostSignificantFromTop},
                                          {"msb", Offset::mostSignificantBit},
                                          {"lsb", Offset::leastSignificantBit}};
  return offsets;
}

std::string OffsetName(Offset offset) {
  for (const auto& [name, value] : Offsets()) {
    if (value == offset) return name;
  }
  return {};
}

/// The messages of one identifier.
struct Identifier {
  std::uint64_t count = 0;
  unsigned shortest = 64, longest = 0;  ///< [bytes]
  double first = 0, last = 0;           ///< [s]
  PlotTrace times;

  double interval() const { return count > 1 ? (last - first) / static_cast<double>(count - 1) : 0; }
};

using Identifiers = std::map<std::uint32_t, Identifier>;

/// Bytes of data that the stream holds: whole words only.
unsigned RecordedBytes(unsigned length, bool twoChannels) {
  return twoChannels ? length / 8 * 8 : length / 4 * 4;
}

void WriteMessage(OutputFile& csv, double time, const CanMessageBlock_s& message, bool twoChannels) {
  const unsigned length = CanDataLength(message.header);
  csv.Print("{},{},{},{},", time, message.second & ~extendedBit, message.second / extendedBit, length);
  for (unsigned i = 0; i < RecordedBytes(length, twoChannels); ++i) csv.Print("{:02X}", message.data[i]);
  csv.Print("\n");
}

void Add(Identifiers& identifiers, double time, const CanMessageBlock_s& message) {
  Identifier& each = identifiers[message.second];
  const unsigned length = CanDataLength(message.header);
  if (each.count++ == 0) each.first = time;
  each.last = time;
  each.shortest = std::min(each.shortest, length);
  each.longest = std::max(each.longest, length);
  each.times.Add(time, message.second & ~extendedBit);
}

struct CanReport {
  std::string recording, channel;
  unsigned channelNumber = 0, channels = 0;
  double sampleRate = 0, duration = 0;
  const Identifiers* identifiers = nullptr;
  const CanSignals* signals = nullptr;  ///< null without a description
  std::string offsets;                  ///< how those of big-endian signals were read
  RecordingWarnings warnings;

  std::uint64_t messages() const {
    std::uint64_t sum = 0;
    for (const auto& [id, each] : *identifiers) sum += each.count;
    return sum;
  }
};

void PrintJson(const CanReport& report) {
  nlohmann::ordered_json json;
  json["recording"] = report.recording;
  json["channel"] = report.channelNumber;
  json["channels"] = report.channels;
  json["sample_rate_hz"] = report.sampleRate;
  json["duration_s"] = report.duration;
  json["messages"] = report.messages();
  json["warnings"] = WarningsJson(report.warnings);
  json["identifiers"] = nlohmann::ordered_json::array();
  for (const auto& [id, each] : *report.identifiers) {
    json["identifiers"].push_back({{"id", id & ~extendedBit},
                                   {"extended", (id & extendedBit) != 0},
                                   {"count", each.count},
                                   {"length", {{"min", each.shortest}, {"max", each.longest}}},
                                   {"first_s", each.first},
                                   {"last_s", each.last},
                                   {"mean_interval_s", each.interval()}});
  }
  if (report.signals != nullptr) {
    json["undescribed_messages"] = report.signals->unknownMessages();
    json["kcd_offsets"] = nullptr;
    if (report.signals->anyBigEndian()) json["kcd_offsets"] = report.offsets;
    json["notes"] = report.signals->notes();
    json["signals"] = nlohmann::ordered_json::array();
    for (const CanSignals::Signal& each : report.signals->all()) {
      nlohmann::ordered_json entry = {{"message", each.message}, {"signal", each.name}, {"unit", each.unit},
                                      {"id", each.identifier},   {"count", each.count}, {"value", nullptr}};
      if (each.count > 0) entry["value"] = {{"min", each.min}, {"mean", each.mean()}, {"max", each.max}};
      if (each.labelled) {
        entry["values"] = nlohmann::ordered_json::array();
        for (const auto& [value, named] : each.named) {
          entry["values"].push_back({{"value", value}, {"name", named.name}, {"count", named.count}});
        }
      }
      json["signals"].push_back(std::move(entry));
    }
  }
  WriteOut(JsonText(json));
}

void PrintTable(const CanReport& report) {
  Row("recording", report.recording);
  Row("", fmt::format("{}, {:g} samples/s, {:.3f} s", report.channel, report.sampleRate, report.duration));
  Row("messages", fmt::format("{} of {} identifiers", report.messages(), report.identifiers->size()));
  if (report.signals == nullptr) {
    Print("\n{:>10} {:>10} {:>8} {:>8} {:>12}\n", "id", "hex", "count", "bytes", "interval/ms");
    for (const auto& [id, each] : *report.identifiers) {
      const std::string bytes = each.shortest == each.longest
                                    ? fmt::format("{}", each.longest)
                                    : fmt::format("{}-{}", each.shortest, each.longest);
      Print("{:>10} {:>10} {:>8} {:>8} {:>12.3f}\n", id & ~extendedBit,
            fmt::format("{:0{}X}", id & ~extendedBit, (id & extendedBit) != 0 ? 8 : 3), each.count, bytes,
            1000 * each.interval());
    }
    return;
  }
  Row("undescribed", fmt::format("{} messages", report.signals->unknownMessages()));
  if (report.signals->anyBigEndian()) {
    Row("offsets", fmt::format("of big-endian signals are read as {} (see --kcd-offsets)", report.offsets));
  }
  if (!report.signals->notes().empty()) Row("notes", report.signals->notes());
  Print("\n{:<40} {:>8} {:>12} {:>12} {:>12} unit\n", "signal", "count", "min", "mean", "max");
  for (const CanSignals::Signal& each : report.signals->all()) {
    Print("{:<40} {:>8}", each.message + "." + each.name, each.count);
    if (each.count > 0)
      Print(" {:>12.6g} {:>12.6g} {:>12.6g} {}", each.min, each.mean(), each.max, OnOneLine(each.unit));
    Print("\n");
  }
}

Plot MessagePlot(const std::string& title, const Identifiers& identifiers) {
  PlotSeries series;
  series.look = PlotSeries::Look::points;
  for (const auto& [id, each] : identifiers) {
    const std::vector<PlotPoint> points = each.times.Points();
    series.points.insert(series.points.end(), points.begin(), points.end());
  }
  return {title, "time in s", {{"identifier", {std::move(series)}}}};
}

void CheckCanOptions(const CanOptions& options) {
  std::vector<std::filesystem::path> inputs = {options.recording.path};
  if (!options.description.kcd.empty()) inputs.emplace_back(options.description.kcd);
  CheckOutputs({{"--csv", options.csv, OutputKind::table}, {"--plot", options.plot, OutputKind::picture}},
               options.json, inputs);
}

int SecondChannel(const CanOptions& options, const WordSource& source) {
  if (!options.channel2) return -1;
  if (*options.channel2 > source.channels() || *options.channel2 - 1 == source.channel()) {
    Fail("--channel2 {} is no second channel of {}; it has {}, and the first one is {}", *options.channel2,
         options.recording.path.string(), source.channels(), source.channel() + 1);
  }
  return static_cast<int>(*options.channel2) - 1;
}

void RunCan(const CanOptions& options) {
  CheckCanOptions(options);
  WordSource source(options.recording);
  const int channel2 = SecondChannel(options, source);
  std::optional<CanSignals> signals;
  if (!options.description.kcd.empty()) signals.emplace(options.description, channel2 >= 0 ? 2 : 1);
  std::optional<OutputFile> csv, plot;
  if (!options.csv.empty()) csv.emplace(options.csv);
  if (!options.plot.empty()) plot.emplace(options.plot);
  if (csv)
    csv->Print("{}\n", signals ? "time_s,message,signal,value,unit,name" : "time_s,id,extended,length,data");

  Identifiers identifiers;
  const double rate = source.sampleRate();
  FindCanMessages(source, channel2, [&](std::uint64_t position, const CanMessageBlock_s& message) {
    const double time = source.startTime() + static_cast<double>(position) / rate;
    Add(identifiers, time, message);
    if (signals) {
      signals->Take(time, message, csv ? &*csv : nullptr);
    } else if (csv) {
      WriteMessage(*csv, time, message, channel2 >= 0);
    }
  });
  const std::string path = options.recording.path.string();
  if (identifiers.empty()) {
    Fail("no messages found in {}: {}", path,
         source.frames() == 0 ? "it holds no samples"
                              : "no word is a message's header (AA, length, any, 55); check --channel, "
                                "--channels and --channel2");
  }
  const CanReport report{path,
                         source.channelName(),
                         source.channel() + 1,
                         source.channels(),
                         rate,
                         static_cast<double>(source.frames()) / rate,
                         &identifiers,
                         signals ? &*signals : nullptr,
                         OffsetName(options.description.offsets),
                         source.warnings()};
  PrintWarnings(source.warnings());
  if (plot) {
    const std::string name = options.recording.path.filename().string();
    DrawPlot(
        signals ? signals->Picture("Signals in " + name) : MessagePlot("Messages in " + name, identifiers),
        *plot);
  }
  if (csv) csv->Commit();
  if (plot) plot->Commit();
  if (options.json) {
    PrintJson(report);
  } else if (options.csv != "-") {
    PrintTable(report);
  }
}

}  // namespace

void AddCanCommand(CLI::App& app) {
  auto options = std::make_shared<CanOptions>();
  CLI::App* command = app.add_subcommand("can", "CAN messages and their signals from a digital stream");
  DeclareWords(*command, options->recording);
  command
      ->add_option("--channel2", options->channel2,
                   "second channel of messages that are split over two, from 1")
      ->transform(WholeNumber(1, 65535))
      ->group("Recording");
  CLI::Option* kcd = command
                         ->add_option("--kcd", options->description.kcd,
                                      "description of the messages: decodes their signals")
                         ->type_name("FILE");
  command
      ->add_option("--signal", options->description.signals,
                   "only this signal, SIGNAL or MESSAGE.SIGNAL; may be repeated")
      ->needs(kcd)
      ->type_name("NAME")
      ->expected(1, std::numeric_limits<int>::max());
  command
      ->add_option("--bus", options->description.bus,
                   "only the messages of this bus of the description (all that do not contradict)")
      ->needs(kcd)
      ->type_name("NAME");
  command
      ->add_option("--kcd-offsets", options->description.offsets,
                   "what offsets of big-endian signals are: top (most significant bit, counted from bit 7 of "
                   "byte 0 downwards, as converters write it), msb (most significant bit) or lsb (least "
                   "significant bit) (top)")
      ->needs(kcd)
      ->transform(OneOf(Offsets()))
      ->type_name("MEANING");
  DeclareOutput(*command, "--csv", options->csv, OutputKind::table,
                "one line per message or value; - is standard output");
  DeclareOutput(*command, "--plot", options->plot, OutputKind::picture,
                "signals, or messages by identifier, over time as picture");
  DeclareJson(*command, options->json);
  command->callback([options] { RunCan(*options); });
}

}  // namespace umlauf::tool
