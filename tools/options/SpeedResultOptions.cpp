#include "tools/options/SpeedResultOptions.h"

#include <utility>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

void DeclareWheel(CLI::App& command, SpeedResultOptions& o) {
  const std::string group = "Wheel";
  CLI::Validator number([](std::string& text) { return text == "auto" ? std::string() : AboveZero()(text); },
                        "");
  command
      .add_option_function<std::string>(
          "--pulses-per-rev",
          [&o](const std::string& text) {
            o.countTeeth = text == "auto";
            if (!o.countTeeth) o.pulsesPerRev = io::ParseNumber(text).value_or(0);
          },
          "pulses of a revolution: the edges that count, so twice the teeth with --edges both; with --gap "
          "those of a wheel without the gap; auto with --gap auto: counted from gap to gap (1)")
      ->check(number)
      ->type_name("N|auto")
      ->group(group);
  command
      .add_option("--gap", o.gap,
                  "the wheel has a gap of this length in teeth (3 when two are missing), or auto")
      ->type_name("REL|auto")
      ->group(group);
  command.add_option("--block", o.block, "samples per block (65536)")
      ->transform(WholeNumber(1, 1 << 26))
      ->type_name("SAMPLES")
      ->group(group);
}

void DeclareOutputs(CLI::App& command, SpeedResultOptions& o) {
  DeclareOutput(command, "--csv", o.csv, OutputKind::table, "one line per pulse; - is standard output");
  DeclareOutput(command, "--curve", o.curve, OutputKind::signal, "speed over time as signal file");
  DeclareOutput(command, "--pairs", o.pairs, OutputKind::signal,
                "speed of each pulse as signal file of points");
  const std::string group = "Output";
  command.add_option("--curve-step", o.curveStep, "step of that curve (0.01)")
      ->check(AboveZero().description(""))
      ->type_name("SECONDS")
      ->group(group);
  DeclareOutput(command, "--plot", o.plot, OutputKind::picture, "speed over time as picture");
  command.add_option("--truth", o.truth, "compare with a known speed: CSV of seconds and rpm")
      ->type_name("FILE")
      ->group(group);
  command.add_option("--tolerance", o.tolerance, "fail when a pulse deviates more from --truth, in percent")
      ->check(AboveZero().description(""))
      ->type_name("PERCENT")
      ->group(group);
  DeclareJson(command, o.json);
}

}  // namespace

void DeclareSpeedResults(CLI::App& command, SpeedResultOptions& options) {
  DeclareWheel(command, options);
  DeclareOutputs(command, options);
  command.get_option("--tolerance")->needs(command.get_option("--truth"));
  command.get_option("--curve-step")->needs(command.get_option("--curve"));
}

std::optional<double> SpeedResultOptions::gapLength() const {
  if (gap == "auto") return std::nullopt;
  const auto length = io::ParseNumber(gap);
  if (!length || !(*length > 1 && *length < 1000)) {
    FailUsage("--gap {}: give the length of the gap in teeth (more than 1), or auto", gap);
  }
  return length;
}

std::vector<OutputChoice> OutputsOf(const SpeedResultOptions& o) {
  return {{"--csv", o.csv, OutputKind::table},
          {"--curve", o.curve, OutputKind::signal},
          {"--pairs", o.pairs, OutputKind::signal},
          {"--plot", o.plot, OutputKind::picture}};
}

void CheckSpeedResults(const SpeedResultOptions& o) {
  if (o.countTeeth && o.gap != "auto") {
    FailUsage("--pulses-per-rev auto counts the teeth from gap to gap; give --gap auto with it");
  }
  if (!o.gap.empty() && !o.countTeeth) {
    const auto length = o.gapLength();
    if (o.pulsesPerRev < 4 || (length && *length >= o.pulsesPerRev)) {
      FailUsage(
          "--gap needs the pulses of the wheel without its gap, more than the gap is long; give "
          "--pulses-per-rev");
    }
  }
  std::vector<std::filesystem::path> inputs = {o.recording.path};
  if (!o.truth.empty()) inputs.emplace_back(o.truth);
  CheckOutputs(OutputsOf(o), o.json, inputs);
}

}  // namespace umlauf::tool
