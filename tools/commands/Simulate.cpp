#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/SoundFileWriter.h"
#include "tools/commands/Commands.h"
#include "tools/output/NumberText.h"
#include "tools/output/OutputFile.h"
#include "tools/output/Progress.h"
#include "tools/simulate/EncoderSimulator.h"
#include "tools/simulate/WheelSimulator.h"

namespace umlauf::tool {
namespace {

struct SimulateOptions {
  std::string output, truth;
  std::string profile;
  std::optional<double> from, to, duration;
  WheelSettings wheel;
  std::optional<unsigned> missing;
  std::optional<unsigned> encoder;  ///< mode of an encoder stream in place of a sampled signal
  bool lowWord = false;
};

constexpr double truthStep = 0.01;  ///< [s]
constexpr double longestRun = 1e6;  ///< [s]

SpeedProfile ParseProfile(const SimulateOptions& options) {
  std::vector<SpeedProfile::Point> points;
  if (options.profile.empty()) {
    points = {{0, options.from.value_or(600)}, {options.duration.value_or(10), options.to.value_or(3000)}};
  }
  std::string_view rest = options.profile;
  while (!rest.empty()) {
    const std::string_view part = rest.substr(0, rest.find(','));
    const std::size_t colon = std::min(part.find(':'), part.size());
    const auto time = ParseNumber(part.substr(0, colon));
    const auto rpm = colon < part.size() ? ParseNumber(part.substr(colon + 1)) : std::nullopt;
    const bool good = time && rpm && std::isfinite(*time) && std::isfinite(*rpm) && *rpm >= 0 &&
                      (points.empty() ? *time == 0 : *time > points.back().time);
    if (!good)
      FailUsage(
          "--profile: \"{}\" is no SECONDS:RPM with times that rise from 0; give for example 0:600,5:3000",
          part);
    points.push_back({*time, *rpm});
    rest.remove_prefix(std::min(rest.size(), part.size() + 1));
  }
  if (points.size() < 2) FailUsage("--profile needs at least two points; give for example 0:600,5:3000");
  if (points.back().time > longestRun) FailUsage("a run is at most {} s long; make it shorter", longestRun);
  SpeedProfile profile(std::move(points));
  if (!(profile.greatest() > 0)) FailUsage("the wheel never turns; give a speed above 0");
  return profile;
}

/// Fills and writes block after block.
template <class Sample, class Simulator, class Writer>
void WriteBlocks(Simulator& simulator, const Writer& write) {
  Progress progress("simulating", simulator.frames());
  std::vector<Sample> block(65536);
  for (std::uint64_t left = simulator.frames(); left > 0;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size()));
    simulator.Next({block.data(), n});
    write(block.data(), n);
    left -= n;
    progress.Advance(n);
  }
}

void WriteRecording(const SimulateOptions& options, const SpeedProfile& profile, OutputFile& out) {
  if (options.encoder) {
    EncoderSimulator simulator(profile, options.wheel, EncoderFormat(*options.encoder), options.lowWord);
    WriteBlocks<ULONG>(simulator, [&out](const ULONG* words, std::size_t n) {
      out.Write({reinterpret_cast<const char*>(words), n * sizeof *words});
    });
    return;
  }
  WheelSimulator simulator(profile, options.wheel);
  SoundFileWriter writer(out, options.wheel.rate, 1, simulator.frames());
  WriteBlocks<float>(simulator, [&writer](const float* samples, std::size_t n) { writer.Write(samples, n); });
  writer.Close();
}

void WriteTruth(const SpeedProfile& profile, OutputFile& out) {
  out.Print("time_s,rpm\n");
  std::size_t point = 0;
  const auto& points = profile.points();
  for (std::uint64_t i = 0; point < points.size(); ++i) {
    const double time = static_cast<double>(i) * truthStep;
    for (; point < points.size() && points[point].time <= time; ++point) {
      out.Print("{},{}\n", points[point].time, points[point].rpm);
    }
    if (point < points.size() && point > 0 && points[point - 1].time < time)
      out.Print("{},{}\n", time, profile.Rpm(time));
  }
}

void CheckWheel(SimulateOptions& options, const SpeedProfile& profile) {
  WheelSettings& wheel = options.wheel;
  const EncoderFormat format(options.encoder.value_or(1));
  if (format.counts() && options.missing.value_or(0) > 0) {
    FailUsage("--missing is for wheels; an encoder of mode {} counts without gaps", *options.encoder);
  }
  if (options.missing || format.counts()) wheel.missing = options.missing.value_or(0);
  if (options.lowWord && (!options.encoder || format.counts()))
    FailUsage("--low-word is for --encoder 1 and 4");
  if (wheel.rate != std::floor(wheel.rate)) FailUsage("--rate {} is no whole number; give one", wheel.rate);
  if (wheel.missing >= wheel.teeth)
    FailUsage("--missing {} leaves no tooth of {}; give fewer", wheel.missing, wheel.teeth);
  const double toothRate = profile.greatest() / 60 * wheel.teeth;
  // High resolution tells up to 14 edges in a sample, counters count any number of them.
  const double mostInSample = format.counts()                                  ? 1000
                              : format.mode == EncoderFormat::Mode::tisHighRes ? 10
                                                                               : 0.5;
  if (toothRate > wheel.rate * mostInSample) {
    FailUsage("--rate {:g} is too slow for {:g} teeth a second; give at least {:g}", wheel.rate, toothRate,
              std::ceil(2 * toothRate / mostInSample));
  }
}

void RunSimulate(SimulateOptions options) {
  const SpeedProfile profile = ParseProfile(options);
  CheckWheel(options, profile);
  if (options.truth.empty()) {
    options.truth = std::filesystem::path(options.output).replace_extension(".csv").string();
  }
  if (options.truth == options.output)
    FailUsage("the recording and the true speed would be one file; give --truth FILE");
  if (options.output == "-") FailUsage("the recording is a binary file; name one");
  if (!options.encoder) CheckSoundName("output", options.output);
  if (options.encoder && std::filesystem::path(options.output).extension() != ".u32") {
    FailUsage("output {}: an encoder stream is raw words; choose a name that ends in .u32", options.output);
  }
  OutputFile recording(options.output), truth(options.truth);
  WriteRecording(options, profile, recording);
  WriteTruth(profile, truth);
  recording.Commit();
  truth.Commit();
}

}  // namespace

void AddSimulateCommand(CLI::App& app) {
  auto options = std::make_shared<SimulateOptions>();
  WheelSettings& wheel = options->wheel;
  CLI::App* command =
      app.add_subcommand("simulate", "Writes the recording of a test-bench run that is known");
  command
      ->add_option("output", options->output,
                   "recording to write: .wav, .w64 (float), .flac; .u32 with --encoder")
      ->required();
  command->add_option("--truth", options->truth, "true speed as CSV (the output's name with .csv)")
      ->type_name("FILE");

  CLI::Option* profile =
      command->add_option("--profile", options->profile, "speed over time: SECONDS:RPM,SECONDS:RPM,...");
  profile->type_name("TEXT");
  const auto number = [&](const char* name, auto& target, const char* text, const CLI::Validator& check) {
    return command->add_option(name, target, text)->check(check);
  };
  const CLI::Validator above = AboveZero().description(""), zeroOrMore = Between(0.0, 1e9).description("");
  number("--from", options->from, "speed at the start, in rpm (600)", zeroOrMore)->excludes(profile);
  number("--to", options->to, "speed at the end, in rpm (3000)", zeroOrMore)->excludes(profile);
  number("--duration", options->duration, "length in seconds (10)", above)->excludes(profile);
  command->add_option("--teeth", wheel.teeth, "teeth of the wheel, with the missing ones (60)")
      ->transform(WholeNumber(1, 100000));
  command->add_option("--missing", options->missing, "of them missing, side by side (2)")
      ->transform(WholeNumber(0, 100000));
  number("--rate", wheel.rate, "samples per second (50000)", Between(1.0, 1e9).description(""));
  number("--amplitude", wheel.amplitude, "of the sine at the greatest speed, level of TTL (1)", above);
  number("--amplitude-growth", wheel.growth, "the sine's amplitude goes with speed to this power (0.2)",
         zeroOrMore);
  number("--noise", wheel.noise, "standard deviation as part of the amplitude (0.005)", zeroOrMore);
  number("--jitter", wheel.jitter, "standard deviation of an edge's place, in teeth (0.001)", zeroOrMore);
  const Choices<WheelSettings::Shape> shapes = {{"sine", WheelSettings::Shape::sine},
                                                {"ttl", WheelSettings::Shape::ttl}};
  command->add_option("--shape", wheel.shape, "pulse shape: sine or ttl (sine)")
      ->transform(OneOf(shapes))
      ->type_name("SHAPE");
  CLI::Option* encoder = command->add_option("--encoder", options->encoder,
                                             "write an encoder stream of this mode (see umlauf encoder)");
  encoder->transform(WholeNumber(1, 6))->type_name("MODE");
  command->add_flag("--low-word", options->lowWord, "with --encoder: edges in the low half of the words");
  command->add_option("--seed", wheel.seed, "of noise and jitter (1)")
      ->transform(WholeNumber(0, std::numeric_limits<std::int64_t>::max()));
  command->callback([options] { RunSimulate(*options); });
}

}  // namespace umlauf::tool
