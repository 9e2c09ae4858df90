#include "tools/options/SpeedResultOptions.h"

#include <utility>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/output/OutputFile.h"
#include "tools/output/Plot.h"
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

void DeclareOutput(CLI::App& command, SpeedResultOptions& o) {
  const std::string group = "Output";
  command.add_option("--csv", o.csv, "one line per pulse; - is standard output")
      ->type_name("FILE")
      ->group(group);
  command.add_option("--curve", o.curve, "speed over time as signal file")->type_name("FILE")->group(group);
  command.add_option("--pairs", o.pairs, "speed of each pulse as signal file of points")
      ->type_name("FILE")
      ->group(group);
  command.add_option("--curve-step", o.curveStep, "step of that curve (0.01)")
      ->check(AboveZero().description(""))
      ->type_name("SECONDS")
      ->group(group);
  command.add_option("--plot", o.plot, "speed over time as picture")
      ->type_name("FILE.svg|.png")
      ->group(group);
  command.add_option("--truth", o.truth, "compare with a known speed: CSV of seconds and rpm")
      ->type_name("FILE")
      ->group(group);
  command.add_option("--tolerance", o.tolerance, "fail when a pulse deviates more from --truth, in percent")
      ->check(AboveZero().description(""))
      ->type_name("PERCENT")
      ->group(group);
  command.add_flag("--json", o.json, "results as one JSON object on standard output")->group(group);
}

}  // namespace

void DeclareSpeedResults(CLI::App& command, SpeedResultOptions& options) {
  DeclareWheel(command, options);
  DeclareOutput(command, options);
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

OutputNames NamesOfOutputs(const SpeedResultOptions& o) {
  OutputNames names;
  for (const auto& [option, name] : {std::pair("--csv", &o.csv), std::pair("--curve", &o.curve),
                                     std::pair("--pairs", &o.pairs), std::pair("--plot", &o.plot)}) {
    if (!name->empty()) names.emplace_back(option, *name);
  }
  return names;
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
  if (!o.plot.empty()) CheckPlotName("--plot", o.plot);
  if (o.csv == "-" && o.json)
    FailUsage("--csv - and --json both write to standard output; name a file for --csv");
  if (o.curve == "-") FailUsage("--curve writes a binary file; name one");
  if (o.pairs == "-") FailUsage("--pairs writes a binary file; name one");
  const OutputNames outputs = NamesOfOutputs(o);
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const auto& [option, name] = outputs[i];
    CheckOutputPath(option, name, o.recording.path);
    if (!o.truth.empty()) CheckOutputPath(option, name, o.truth);
    for (std::size_t k = 0; k < i; ++k) {
      if (outputs[k].second == name) FailUsage("{} and {} name the same file", outputs[k].first, option);
    }
  }
}

}  // namespace umlauf::tool
