#include <cmath>
#include <memory>
#include <utility>

#include "tools/Error.h"
#include "tools/ProgressSource.h"
#include "tools/commands/Commands.h"
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

/// The pulses of the tacho on the time axis of the vibration. `frequencies` ends where the highest order
/// does.
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
  for (const RotationWarning& each : rotation.Warnings()) {
    warnings.push_back({std::string(each.code), each.text});
  }
  if (options.analysis.frequencies && rotation.RevolutionSpeed().count > 0) {
    const double fastest = std::abs(options.ratio()) * rotation.RevolutionSpeed().max / 60;
    options.analysis.frequencies->maxFrequency = options.analysis.map.maxOrder * fastest;
  }
  CPulseTrain pulses(file.SampleRate(), startTime);
  pulses.Append(rotation.Pulses());
  if (options.pitchErrors) {
    const CPitchErrors errors(pulses, options.pulsesPerRev);
    if (!errors.IsValid())
      Fail("--pitch-errors needs a whole number of pulses and three revolutions; leave it out");
    pulses = errors.Corrected(pulses);
  }
  if (!options.gear.empty()) pulses = ShaftTrains::Geared(pulses, options.ratio());
  if (!pulses.Complete()) Fail("there is no memory for the pulses");
  return pulses;
}

/// The vibration: the channels that were asked for, else the one behind the tacho.
std::vector<std::string> VibrationChannels(const OrdersOptions& options) {
  if (!options.channels.empty() || options.torsional) return options.channels;
  if (!options.tachoFile.empty()) return {"1"};
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
  for (unsigned c = first; c < source.Channels(); ++c)
    about.channels.push_back(source.ChannelName(c).ToUtf8());
  if (!options.recording.unit.empty()) about.unit = CMeasuringUnit(CString::FromUtf8(options.recording.unit));
}

void RunOrders(OrdersOptions options) {
  CheckOrdersOptions(options);
  const std::string path = options.recording.path.string();
  const bool apart = !options.tachoFile.empty();
  const std::vector<std::string> vibration = VibrationChannels(options);
  // Beside the tacho: one source that is read twice.
  std::vector<std::string> together = {options.tacho};
  if (!apart) together.insert(together.end(), vibration.begin(), vibration.end());
  OrdersOutputs outputs(options);
  const auto tacho = OpenChannels(options.recording, apart ? options.tachoFile : path, together);
  const auto other = apart && !options.torsional ? OpenChannels(options.recording, path, vibration) : nullptr;
  CRecordingSource& source = other ? *other : *tacho;

  OrdersOutputs::About about;
  const double start = options.offset ? source.StartTime() + *options.offset : tacho->StartTime();
  const CPulseTrain pulses = FindPulses(options, *tacho, start, about.warnings);
  COrderAnalysis analysis(options.analysis);
  bool done = false;
  if (options.torsional) {
    done = analysis.AnalyseTorsion(pulses, options.pulsesPerRev);
  } else {
    ProgressSource reading(source);
    reading.Purpose("orders");
    if (!apart) Rewind(reading);
    done = analysis.Analyse(reading, pulses, options.pulsesPerRev, apart ? 0 : 1);
    reading.Check();
  }
  if (!done) Fail("{}", analysis.Failure().ToUtf8());
  Describe(options, source, apart ? 0 : 1, about);
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
