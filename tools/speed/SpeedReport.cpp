#include "tools/speed/SpeedReport.h"

#include <fmt/format.h>

#include <vector>

#include "tools/output/Console.h"
#include "tools/output/Json.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

/// As in "33 teeth of 36, gaps of 3, 2 pitches at 0, 13".
std::string WheelText(const PulseWheel& wheel) {
  std::vector<double> lengths, places;
  for (const auto& each : wheel.gaps) {
    lengths.push_back(each.length);
    places.push_back(each.place);
  }
  const std::string teeth = fmt::format("{:.4g} teeth of {:.4g}", wheel.Teeth(), wheel.pitches);
  if (lengths.empty()) return teeth;
  if (lengths.size() == 1) return teeth + fmt::format(", gap of {:.3g} pitches", lengths[0]);
  return teeth +
         fmt::format(", gaps of {:.3g} pitches at {:.4g}", fmt::join(lengths, ", "), fmt::join(places, ", "));
}

/// The shortest decimal number for a single-precision one: 3.7 for 3.7f, not the digits of its double.
double Decimal(float value) { return io::ParseNumber(fmt::format("{}", value)).value_or(0); }

const char* PreparationName(SwingScale::Preparation preparation) {
  switch (preparation) {
    case SwingScale::Preparation::median:
      return "median";
    case SwingScale::Preparation::unwrapped:
      return "unwrapped";
    case SwingScale::Preparation::jumps:
      return "jumps";
    case SwingScale::Preparation::none:
      break;
  }
  return "none";
}

}  // namespace

std::string SpeedReport::Json() const {
  const SpeedSummary& speed = counts->Speed();
  nlohmann::ordered_json json;
  json["recording"] = recording;
  if (thresholds) {
    json["thresholds"] = {{"upper", Decimal(thresholds->upper)}, {"lower", Decimal(thresholds->lower)}};
    json["settings"] = thresholds->settings;
  }
  if (encoder) {
    json["mode"] = encoder->mode;
    json["word"] = encoder->word;
    json["error_bits"] = encoder->errorBits;
  }
  json["pulses"] = counts->Pulses();
  json["gap_corrected"] = counts->CorrectedGaps();
  json["rpm"] = {{"min", speed.min}, {"mean", speed.Mean(sampleRate)}, {"max", speed.max}};
  json["duration_s"] = duration;
  json["channel"] = nullptr;
  if (channelNumber > 0) json["channel"] = channelNumber;
  json["channels"] = channels;
  json["sample_rate_hz"] = nullptr;
  if (list.empty()) json["sample_rate_hz"] = sampleRate;
  if (!list.empty()) json["list"] = list;
  if (thresholds) {
    json["thresholds_automatic"] = {{"upper", thresholds->automaticUpper},
                                    {"lower", thresholds->automaticLower}};
    json["swing_scale"] = nullptr;
    if (thresholds->scale) {
      json["swing_scale"] = {{"smallest_swing", Decimal(thresholds->scale->smallest)},
                             {"preparation", PreparationName(thresholds->scale->preparation)}};
    }
    json["spike_held"] = counts->Held();
  }
  if (gap != nullptr) {
    json["gap"] = {{"count", gap->Gaps()}, {"relative_length", nullptr}};
    if (gap->Gaps() > 0) json["gap"]["relative_length"] = gap->RelativeLength();
    const PulseWheel& wheel = gap->Wheel();
    json["wheel"] = {{"pitches", wheel.pitches}, {"teeth", wheel.Teeth()}};
    json["wheel"]["gaps"] = nlohmann::json::array();
    for (const auto& each : wheel.gaps) {
      json["wheel"]["gaps"].push_back({{"place", each.place}, {"length", each.length}});
    }
  }
  const SpeedSummary& turns = revolutions->Speed();
  json["revolutions"] = {{"count", turns.count}};
  json["revolutions"]["rpm"] = nullptr;
  if (turns.count > 0) {
    json["revolutions"]["rpm"] = {{"min", turns.min},
                                  {"mean", turns.Mean(sampleRate)},
                                  {"max", turns.max},
                                  {"first", turns.first},
                                  {"last", turns.last}};
  }
  if (truth != nullptr) {
    json["truth"] = {{"pulses", truth->Count()},
                     {"max_deviation_rpm", truth->MaxRpm()},
                     {"max_deviation_percent", truth->MaxPercent()},
                     {"mean_deviation_rpm", truth->MeanRpm()},
                     {"mean_deviation_percent", truth->MeanPercent()}};
  }
  json["warnings"] = WarningsJson(warnings);
  return JsonText(json);
}

std::string SpeedReport::Table() const {
  const SpeedSummary& speed = counts->Speed();
  const SpeedSummary& turns = revolutions->Speed();
  std::string text;
  const auto row = [&text](std::string_view name, std::string_view value) { text += RowText(name, value); };
  row("recording", recording);
  row("", list.empty() ? fmt::format("{}, {:g} samples/s, {:.3f} s", channel, sampleRate, duration)
                       : fmt::format("{}, {:.3f} s", channel, duration));
  if (thresholds) {
    row("thresholds", fmt::format("upper {:g}{}, lower {:g}{}", thresholds->upper,
                                  thresholds->automaticUpper ? " (automatic)" : "", thresholds->lower,
                                  thresholds->automaticLower ? " (automatic)" : ""));
    if (thresholds->scale)
      row("", fmt::format("on the scale of each swing, 0 to 1; smaller ones than {:.3g} are noise",
                          thresholds->scale->smallest));
    row("settings", thresholds->settings);
  }
  if (encoder) {
    row("stream",
        fmt::format("mode {}, {} words, {} error bits", encoder->mode, encoder->word, encoder->errorBits));
  }
  std::string pulses = fmt::format("{}", counts->Pulses());
  if (gap != nullptr && gap->Gaps() == 0) pulses += ", no gap found";
  if (gap != nullptr && gap->Gaps() > 0) {
    pulses += fmt::format(", {} {} of {:.3g} teeth corrected", counts->CorrectedGaps(),
                          counts->CorrectedGaps() == 1 ? "gap" : "gaps", gap->RelativeLength());
  }
  if (gap != nullptr && gap->Gaps() > 0) row("wheel", WheelText(gap->Wheel()));
  if (counts->Held() > 0) pulses += fmt::format(", {} held by the spike filter", counts->Held());
  row("pulses", pulses);
  row("speed", fmt::format("mean {:.2f} rpm, single pulses {:.2f} ... {:.2f} rpm", speed.Mean(sampleRate),
                           speed.min, speed.max));
  if (turns.count > 0) {
    row("revolutions", fmt::format("{}: mean {:.2f} rpm, {:.2f} ... {:.2f} rpm, last {:.2f} rpm", turns.count,
                                   turns.Mean(sampleRate), turns.min, turns.max, turns.last));
  }
  if (truth != nullptr) {
    row("deviation", fmt::format("mean {:.3f} rpm ({:.4f} %), greatest {:.3f} rpm, {:.4f} % over {} pulses",
                                 truth->MeanRpm(), truth->MeanPercent(), truth->MaxRpm(), truth->MaxPercent(),
                                 truth->Count()));
  }
  return text;
}

std::vector<std::string> SpeedReport::RowHeader() {
  return {"recording", "channel",     "pulses",   "mean rpm", "least",
          "greatest",  "revolutions", "last rpm", "doubts"};
}

std::vector<std::string> SpeedReport::Row() const {
  const SpeedSummary& speed = counts->Speed();
  const SpeedSummary& turns = revolutions->Speed();
  std::string doubts;
  for (const RecordingWarning& each : warnings) doubts += (doubts.empty() ? "" : ", ") + each.code;
  return {recording,
          fmt::format("{}", channelNumber),
          fmt::format("{}", counts->Pulses()),
          fmt::format("{:.2f}", speed.Mean(sampleRate)),
          fmt::format("{:.2f}", speed.min),
          fmt::format("{:.2f}", speed.max),
          fmt::format("{}", turns.count),
          turns.count > 0 ? fmt::format("{:.2f}", turns.last) : "",
          doubts};
}

}  // namespace umlauf::tool
