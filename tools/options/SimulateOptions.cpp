#include "tools/options/SimulateOptions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string_view>

#include "tools/EncoderFormat.h"
#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

constexpr double longestRun = 1e6;  ///< [s]

/// Calls with each part between commas.
void ForEachPart(std::string_view text, const std::function<void(std::string_view)>& take) {
  for (std::size_t comma = 0; comma != std::string_view::npos; text.remove_prefix(comma + 1)) {
    comma = text.find(',');
    take(text.substr(0, comma));
    if (comma == std::string_view::npos) return;
  }
}

/// COUNT[@TOOTH] of each gap, teeth counted from 1.
void ParseGaps(const std::string& text, WheelSettings& wheel) {
  std::vector<unsigned> missing;
  std::vector<std::optional<unsigned>> first;
  ForEachPart(text, [&](std::string_view part) {
    const std::size_t at = std::min(part.find('@'), part.size());
    const auto count = io::ParseCount(part.substr(0, at));
    const auto tooth = at < part.size() ? io::ParseCount(part.substr(at + 1)) : std::nullopt;
    if (!count || (at < part.size() && (!tooth || *tooth < 1)))
      FailUsage("--missing {} is no COUNT[@TOOTH],...; give for example 2 or 2@15,1@36", text);
    missing.push_back(*count);
    first.push_back(tooth);
  });
  wheel.SpreadGaps(missing);
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i]) wheel.gaps[i].first = *first[i] - 1;
    if (missing[i] > wheel.teeth - std::min(wheel.teeth, wheel.gaps[i].first))
      FailUsage("--missing {}: a wheel of {} teeth has not so many there; give fewer, or 0", text,
                wheel.teeth);
  }
  const std::vector<bool> present = wheel.Present();
  if (std::find(present.begin(), present.end(), true) == present.end())
    FailUsage("--missing {} leaves no tooth of {}; give fewer", text, wheel.teeth);
}

using Number = std::function<CLI::Option*(const char*, double&, const char*, double)>;

void DeclareSensor(CLI::App& command, SimulateOptions& options, const Number& number) {
  WheelSettings& wheel = options.wheel;
  number("--amplitude", wheel.amplitude, "of the sine at the greatest speed, height of TTL and pulses (1)",
         1e9)
      ->check(AboveZero().description(""));
  number("--amplitude-growth", wheel.growth,
         "amplitude of sine and pulses goes with speed to this power (0.2)", 100);
  number("--noise", wheel.noise, "standard deviation as part of the amplitude (0.005)", 1e9);
  number("--jitter", wheel.jitter, "standard deviation of an edge's place, in teeth (0.001)", 1e9);
  const Choices<WheelSettings::Shape> shapes = {{"sine", WheelSettings::Shape::sine},
                                                {"ttl", WheelSettings::Shape::ttl},
                                                {"pulse", WheelSettings::Shape::pulse}};
  command.add_option("--shape", wheel.shape, "of a tooth: sine, ttl or pulse (sine)")
      ->transform(OneOf(shapes))
      ->type_name("SHAPE")
      ->group("Sensor");
  number("--duty", wheel.duty, "part of a tooth that TTL is high or a pulse wide (0.5)", 0.99)
      ->check(Between(0.0001, 0.99).description(""));
  number("--behind-gap", wheel.behindGap, "height of the tooth behind a gap, in other teeth (1)", 100);
  number("--eccentricity", wheel.eccentricity, "the level goes so far up and down in each revolution (0)",
         1e9);
  command.add_flag("--inverted", wheel.inverted, "turn the signal upside down")->group("Sensor");
}

void DeclareDisturbances(CLI::App& command, SimulateOptions& options, const Number& number) {
  Disturbances::Settings& d = options.wheel.disturbances;
  const std::string group = "Disturbances (sizes as parts of the amplitude)";
  const auto add = [&](const char* name, double& target, const char* text, double most) {
    return number(name, target, text, most)->group(group);
  };
  command.add_option("--level", d.level, "the signal rides on (0)")
      ->check(Finite().description(""))
      ->group(group);
  add("--drift", d.drift, "the level swings so far up and down (0)", 1e9);
  add("--drift-period", d.driftPeriod, "of that, in seconds (10)", 1e9)->check(AboveZero().description(""));
  add("--steps", d.stepRate, "jumps of the level per second, at random (0)", 1e6);
  add("--step-size", d.stepSize, "to anywhere within ± this (1)", 1e9);
  add("--spikes", d.spikeRate, "single wild samples per second, at random (0)", 1e6);
  add("--spike-size", d.spikeSize, "of those, up or down (5)", 1e9);
  add("--dropouts", d.dropoutRate, "losses of the signal per second, at random (0)", 1e6);
  add("--dropout-length", d.dropoutLength, "of those, in seconds (0.001)", 1e6);
  command.add_option("--clip", options.clip, "range of the converter: samples are cut off there")
      ->delimiter(',')
      ->expected(2)
      ->check(Finite().description(""))
      ->type_name("LOW,HIGH")
      ->group(group);
  add("--wrap", d.wrap, "range of a converter that goes round: what leaves at one end enters at the other",
      1e9);
}

void DeclareVibration(CLI::App& command, SimulateOptions& options) {
  const std::string group = "Vibration (a second channel)";
  const auto text = [&](const char* name, std::string& target, const char* what, const char* form) {
    command.add_option(name, target, what)->type_name(form)->group(group);
  };
  text("--orders", options.orders, "multiples of the speed", "ORDER:PEAK[:DEGREES],...");
  text("--gear-mesh", options.gearMesh, "teeth that mesh, modulated by this part once in a revolution (0.3)",
       "TEETH:PEAK[:PART]");
  text("--resonance", options.resonance, "that all orders come through", "HZ:DAMPING");
  text("--bearing", options.bearing,
       "dent of a ring: impacts in a revolution, that ring at a frequency (3000)", "ORDER:PEAK[:HZ]");
  command.add_option("--vibration-noise", options.vibration.noise, "standard deviation (0)")
      ->check(Between(0.0, 1e9).description(""))
      ->group(group);
}

/// Two or three numbers between colons, the first one above 0; the third one stays where it is not given.
void ParseNumbers(const char* option, std::string_view text, double& first, double& second, double& third) {
  std::vector<double> numbers;
  for (std::string_view rest = text; numbers.size() < 3;) {
    const std::size_t colon = std::min(rest.find(':'), rest.size());
    const auto number = io::ParseNumber(rest.substr(0, colon));
    if (!number || !std::isfinite(*number)) break;
    numbers.push_back(*number);
    if (colon == rest.size()) {
      if (numbers.size() < 2 || !(numbers[0] > 0)) break;
      first = numbers[0];
      second = numbers[1];
      if (numbers.size() > 2) third = numbers[2];
      return;
    }
    rest.remove_prefix(colon + 1);
  }
  FailUsage("{}: \"{}\" is no list of numbers between colons; see the help", option, text);
}

}  // namespace

void CheckVibration(SimulateOptions& options) {
  VibrationSettings& vibration = options.vibration;
  if (!options.orders.empty()) {
    ForEachPart(options.orders, [&](std::string_view part) {
      VibrationSettings::Order& order = vibration.orders.emplace_back();
      ParseNumbers("--orders", part, order.order, order.amplitude, order.degrees);
    });
  }
  if (!options.gearMesh.empty()) {
    auto& mesh = vibration.gearMesh.emplace(VibrationSettings::GearMesh{});
    ParseNumbers("--gear-mesh", options.gearMesh, mesh.teeth, mesh.amplitude, mesh.modulation);
  }
  if (!options.resonance.empty()) {
    auto& resonance = vibration.resonance.emplace(VibrationSettings::Resonance{});
    double none = 0;
    ParseNumbers("--resonance", options.resonance, resonance.frequency, resonance.damping, none);
    if (!(resonance.damping > 0)) FailUsage("--resonance needs a damping above 0, part of the critical one");
  }
  if (!options.bearing.empty()) {
    auto& fault = vibration.bearing.emplace(VibrationSettings::BearingFault{});
    ParseNumbers("--bearing", options.bearing, fault.order, fault.amplitude, fault.frequency);
  }
  if (vibration.Any() && options.encoder)
    FailUsage("a vibration has no place in an encoder stream; leave out --encoder");
}

SpeedProfile ParseProfile(const SimulateOptions& options) {
  std::vector<SpeedProfile::Point> points;
  if (options.profile.empty()) {
    points = {{0, options.from.value_or(600)}, {options.duration.value_or(10), options.to.value_or(3000)}};
  } else {
    ForEachPart(options.profile, [&points](std::string_view part) {
      const std::size_t colon = std::min(part.find(':'), part.size());
      const auto time = io::ParseNumber(part.substr(0, colon));
      const auto rpm = colon < part.size() ? io::ParseNumber(part.substr(colon + 1)) : std::nullopt;
      const bool good = time && rpm && std::isfinite(*time) && std::isfinite(*rpm) && *rpm >= 0 &&
                        (points.empty() ? *time == 0 : *time > points.back().time);
      if (!good)
        FailUsage(
            "--profile: \"{}\" is no SECONDS:RPM with times that rise from 0; give for example 0:600,5:3000",
            part);
      points.push_back({*time, *rpm});
    });
  }
  if (points.size() < 2) FailUsage("--profile needs at least two points; give for example 0:600,5:3000");
  if (points.back().time > longestRun) FailUsage("a run is at most {} s long; make it shorter", longestRun);
  SpeedProfile profile(std::move(points));
  if (!(profile.greatest() > 0)) FailUsage("the wheel never turns; give a speed above 0");
  return profile;
}

void CheckWheel(SimulateOptions& options, const SpeedProfile& profile) {
  WheelSettings& wheel = options.wheel;
  const EncoderFormat format(options.encoder.value_or(1));
  if (format.counts() && options.missing.value_or("0") != "0") {
    FailUsage("--missing is for wheels; an encoder of mode {} counts without gaps", *options.encoder);
  }
  ParseGaps(options.missing.value_or(format.counts() ? "0" : "2"), wheel);
  if (options.lowWord && (!options.encoder || format.counts()))
    FailUsage("--low-word is for --encoder 1 and 4");
  if (wheel.rate != std::floor(wheel.rate)) FailUsage("--rate {} is no whole number; give one", wheel.rate);
  if (!options.clip.empty()) {
    if (!(options.clip[0] < options.clip[1]))
      FailUsage("--clip {},{}: the first must be the lower one", options.clip[0], options.clip[1]);
    wheel.disturbances.lowest = options.clip[0];
    wheel.disturbances.highest = options.clip[1];
  }
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

void DeclareSimulateOptions(CLI::App& command, SimulateOptions& options) {
  command
      .add_option("output", options.output,
                  "recording to write: .wav, .w64 (float), .flac; .u32 with --encoder")
      ->required();
  command.add_option("--truth", options.truth, "true speed as CSV (the output's name with .csv)")
      ->type_name("FILE");
  CLI::Option* profile =
      command.add_option("--profile", options.profile, "speed over time: SECONDS:RPM,SECONDS:RPM,...");
  profile->type_name("TEXT");
  const CLI::Validator above = AboveZero().description(""), zeroOrMore = Between(0.0, 1e9).description("");
  const auto speed = [&](const char* name, auto& target, const char* text, const CLI::Validator& check) {
    command.add_option(name, target, text)->check(check)->excludes(profile);
  };
  speed("--from", options.from, "speed at the start, in rpm (600)", zeroOrMore);
  speed("--to", options.to, "speed at the end, in rpm (3000)", zeroOrMore);
  speed("--duration", options.duration, "length in seconds (10)", above);
  WheelSettings& wheel = options.wheel;
  command.add_option("--teeth", wheel.teeth, "teeth of the wheel, with the missing ones (60)")
      ->transform(WholeNumber(1, 100000));
  command
      .add_option("--missing", options.missing, "of them missing side by side, for each gap of the wheel (2)")
      ->type_name("COUNT[@TOOTH],...");
  command.add_option("--rate", wheel.rate, "samples per second (50000)")
      ->check(Between(1.0, 1e9).description(""));
  const Number number = [&command](const char* name, double& target, const char* text, double most) {
    return command.add_option(name, target, text)->check(Between(0.0, most).description(""))->group("Sensor");
  };
  DeclareSensor(command, options, number);
  DeclareDisturbances(command, options, number);
  DeclareVibration(command, options);
  command
      .add_option("--encoder", options.encoder, "write an encoder stream of this mode (see umlauf encoder)")
      ->transform(WholeNumber(1, 6))
      ->type_name("MODE");
  command.add_flag("--low-word", options.lowWord, "with --encoder: edges in the low half of the words");
  command.add_option("--seed", wheel.seed, "of all that is random (1)")
      ->transform(WholeNumber(0, std::numeric_limits<std::int64_t>::max()));
}

}  // namespace umlauf::tool
