#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/ProgressSource.h"
#include "tools/options/OrdersOptions.h"
#include "tools/output/Console.h"
#include "tools/output/OrdersOutputs.h"
#include "umlauf/orders/PitchErrors.h"
#include "umlauf/orders/ShaftTrains.h"
#include "umlauf/rotation/Rotation.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

/// The channels of a file by their numbers, or the columns of a table by numbers or names.
std::unique_ptr<CRecordingSource> OpenChannels(RecordingOptions options, const std::string& path,
                                               const std::vector<std::string>& channels) {
  options.path = path;
  RecordingFormat format = FormatOf(options);
  format.firstChannelOnly = false;
  bool numbers = true;
  for (const std::string& each : channels) {
    const auto number = io::ParseCount(each);
    numbers = numbers && number && *number > 0;
    if (numbers) format.channels.push_back(*number);
  }
  RecordingFailure failure;
  std::unique_ptr<CRecordingSource> source;
  if (numbers) source = ::OpenRecording(options.path, format, failure);
  if (!source && (!numbers || failure.kind == RecordingFailure::Kind::wrongOption)) {
    format.channels.clear();
    format.columns = channels;
    source = ::OpenRecording(options.path, format, failure);
  }
  if (!source) FailWith(failure, options);
  return source;
}

/// The frequency map ends where the highest order does at the highest speed.
void LimitFrequencies(OrdersOptions& options, double fastest) {
  if (!options.analysis.frequencies || !(fastest > 0)) return;
  options.analysis.frequencies->maxFrequency =
      options.analysis.map.maxOrder * std::abs(options.ratio()) * fastest / 60;
}

/// The pulses of the tacho on the time axis of the vibration.
CPulseTrain FindPulses(OrdersOptions& options, CRecordingSource& file, double startTime,
                       RecordingWarnings& warnings) {
  CRotation rotation;
  if (options.gap.empty() || options.gap == "auto") {
    rotation.Wheel(options.pulsesPerRev,
                   options.gap.empty() ? CRotation::Gap::none : CRotation::Gap::automatic);
  } else {
    rotation.Wheel(options.pulsesPerRev, io::ParseNumber(options.gap).value_or(0));
  }
  ProgressSource source(file);
  if (!rotation.Analyse(source, 0)) {
    Fail("{}: {}", file.ChannelName(0).ToUtf8(), rotation.Failure().ToUtf8());
  }
  Add(rotation.Warnings(), file.StartTime(), warnings);
  if (rotation.RevolutionSpeed().count > 0) LimitFrequencies(options, rotation.RevolutionSpeed().max);
  CPulseTrain pulses(file.SampleRate(), startTime);
  pulses.Append(rotation.Pulses());
  if (options.pitchErrors) {
    const CPitchErrors errors(pulses, options.pulsesPerRev);
    if (!errors.IsValid())
      Fail("--pitch-errors needs a whole number of pulses and three revolutions; leave it out");
    pulses = errors.Corrected(pulses);
  }
  return pulses;
}

/// The shaft by the orders of its vibration, channel `first` of the source. One pulse of a revolution.
CPulseTrain FollowComb(OrdersOptions& options, CRecordingSource& file, OrdersOutputs::About& about) {
  CCombSpeed comb(options.comb, file.SampleRate());
  if (options.comb.orders.size() > CCombSpeed::mostOrders)
    FailUsage("--comb takes up to {} orders", CCombSpeed::mostOrders);
  if (!comb.IsValid()) {
    Fail("the orders of --comb up to {:g} rpm do not lie below half of {:g} samples/s; take a lower --rpm",
         options.comb.highest, file.SampleRate());
  }
  ProgressSource source(file);
  source.Purpose("speed");
  for (SampleBlock block = source.Read(16384); block.count > 0; block = source.Read(16384)) {
    comb.Take(block.samples, block.count, block.stride);
  }
  source.Check();
  OrdersOutputs::CombResult& result = about.comb.emplace(OrdersOutputs::CombResult{});
  if (!comb.Find(result.rpm, result.confidence, &result.trust)) {
    Fail("there is no speed to follow: the recording is too short, or --start-rpm lies outside --rpm");
  }
  if (!result.trust.Believable()) {
    Fail(
        "the orders of --comb stand out for {:.0f} % of the time only, so there is no speed to be believed; "
        "look at --spectrogram of umlauf spectrum, name other orders or a wider --rpm",
        100 * (1 - result.trust.lostShare));
  }
  result.startTime = file.StartTime();
  Add(result.trust.Warnings(options.comb.orders), file.StartTime(), about.warnings);
  LimitFrequencies(options, static_cast<double>(*std::max_element(result.rpm.FData(),
                                                                  result.rpm.FData() + result.rpm.DLen())));
  CPulseTrain pulses(file.SampleRate(), file.StartTime());
  pulses.Append(ShaftTrains::FromSpeed(result.rpm, file.SampleRate()));
  for (CSigCurve* each : {&result.rpm, &result.confidence}) {
    each->SetXMinMax(static_cast<float>(static_cast<double>(each->XMin()) + file.StartTime()),
                     static_cast<float>(static_cast<double>(each->XMax()) + file.StartTime()));
  }
  return pulses;
}

/// The vibration: the channels that were asked for, else the one behind the tacho.
std::vector<std::string> VibrationChannels(const OrdersOptions& options) {
  if (!options.channels.empty() || options.torsional) return options.channels;
  if (!options.tachoFile.empty() || !options.hasTacho()) return {"1"};
  const auto number = io::ParseCount(options.tacho);
  if (!number) FailUsage("--tacho {} is a name: name the vibration, too, with --channel", options.tacho);
  return {std::to_string(*number + 1)};
}

void Describe(const OrdersOptions& options, const CRecordingSource& source, unsigned first,
              OrdersOutputs::About& about) {
  if (options.torsional) {
    about.channels = {"speed of the shaft"};
    about.unit = CMeasuringUnit(CMeasuringUnit::rpm);
    return;
  }
  const CString unit = source.Unit(first);
  bool ofAll = true;
  for (unsigned c = first; c < source.Channels(); ++c) {
    about.channels.push_back(source.ChannelName(c).ToUtf8());
    ofAll = ofAll && source.Unit(c) == unit;
  }
  if (ofAll && !unit.IsEmpty()) about.unit = CMeasuringUnit(unit);
}

void RunOrders(OrdersOptions options) {
  CheckOrdersOptions(options);
  const std::string path = options.recording.path.string();
  const bool apart = !options.tachoFile.empty(), beside = options.hasTacho() && !apart;
  const std::vector<std::string> vibration = VibrationChannels(options);
  // Without a second file: one source that is read twice.
  std::vector<std::string> together;
  if (options.hasTacho()) together.push_back(options.tacho);
  if (!apart) together.insert(together.end(), vibration.begin(), vibration.end());
  OrdersOutputs outputs(options);
  const auto tacho = OpenChannels(options.recording, apart ? options.tachoFile : path, together);
  const auto other = apart && !options.torsional ? OpenChannels(options.recording, path, vibration) : nullptr;
  CRecordingSource& source = other ? *other : *tacho;

  OrdersOutputs::About about;
  const double start = options.offset ? source.StartTime() + *options.offset : tacho->StartTime();
  CPulseTrain pulses = options.hasTacho() ? FindPulses(options, *tacho, start, about.warnings)
                                          : FollowComb(options, source, about);
  const double pulsesPerRev = options.hasTacho() ? options.pulsesPerRev : 1;
  if (!options.gear.empty()) pulses = ShaftTrains::Geared(pulses, options.ratio());
  if (!pulses.Complete()) Fail("there is no memory for the pulses");
  COrderAnalysis analysis(options.analysis);
  bool done = false;
  if (options.torsional) {
    done = analysis.AnalyseTorsion(pulses, pulsesPerRev);
  } else {
    ProgressSource reading(source);
    reading.Purpose("orders");
    if (!apart) Rewind(reading);
    done = analysis.Analyse(reading, pulses, pulsesPerRev, beside ? 1 : 0);
    reading.Check();
  }
  if (!done) Fail("{}", analysis.Failure().ToUtf8());
  Describe(options, source, beside ? 1 : 0, about);
  const RecordingWarnings& read = tacho->Warnings();
  about.warnings.insert(about.warnings.begin(), read.begin(), read.end());
  PrintWarnings(about.warnings);
  outputs.Publish(analysis, about);
}

}  // namespace

void AddOrdersCommand(CLI::App& app) {
  auto options = std::make_shared<OrdersOptions>();
  CLI::App* command = app.add_subcommand(
      "orders", "Orders of a vibration: maps, spectra and tracks over the speed of a shaft");
  DeclareOrdersOptions(*command, *options);
  command->callback([options] { RunOrders(*options); });
}

}  // namespace umlauf::tool
