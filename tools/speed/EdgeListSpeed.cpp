#include "tools/speed/EdgeListSpeed.h"

#include "tools/Error.h"
#include "tools/output/Console.h"
#include "tools/speed/EdgeWarnings.h"
#include "tools/speed/SpeedOutputs.h"
#include "umlauf/rotation/EdgePulses.h"
#include "umlauf/rotation/PulseJudge.h"

namespace umlauf::tool {
namespace {

/// Refuses options that only samples have a use for.
void CheckEdgeOptions(const SpeedOptions& o) {
  const RecordingOptions plain;
  const std::pair<bool, const char*> useless[] = {{o.upper.has_value(), "--upper"},
                                                  {o.lower.has_value(), "--lower"},
                                                  {o.minPulse > 0, "--min-pulse"},
                                                  {!o.spikeFilter.empty(), "--spike-filter"},
                                                  {o.ttl, "--ttl"},
                                                  {!o.settings.empty(), "--settings"},
                                                  {!o.channels.empty(), "--channel"},
                                                  {!o.columns.empty(), "--column"},
                                                  {o.recording.raw.has_value(), "--raw"},
                                                  {o.recording.rate.has_value(), "--rate"},
                                                  {o.recording.scale != plain.scale, "--scale"},
                                                  {o.recording.offset != plain.offset, "--offset"}};
  for (const auto& [given, option] : useless) {
    if (given) FailUsage("{} is for samples; {} is a list of edges", option, o.recording.path.string());
  }
}

CEdgePulses::Settings SettingsOf(const SpeedOptions& o, EdgeListKind kind) {
  CEdgePulses::Settings settings;
  // Edges of one kind count, whatever kind they are.
  settings.rising = kind == EdgeListKind::edges || o.edges != "falling";
  settings.falling = o.edges != "rising";
  settings.divider = o.divider;
  settings.pulsesPerRevolution = o.countTeeth ? 1 : o.pulsesPerRev;
  return settings;
}

}  // namespace

std::optional<EdgeListKind> ListKind(const SpeedOptions& options) {
  if (options.list == "edges") return EdgeListKind::edges;
  if (options.list == "levels") return EdgeListKind::levels;
  if (options.recording.raw || options.recording.rate) return std::nullopt;
  return CEdgeListSource::KindOf(options.recording.path);
}

void RunEdgeList(const SpeedOptions& given, EdgeListKind kind, bool alone, SpeedResults& results) {
  const SpeedOptions options = OptionsFor(given, given.recording.path, "1");
  const std::string path = options.recording.path.string();
  CheckEdgeOptions(options);
  CheckSection(options.recording);
  CEdgeListSource source;
  const auto check = [&source] {
    if (source.HasFailed()) Fail("{}", source.Failure().ToUtf8());
  };
  if (!source.Open(options.recording.path, kind, options.recording.from, options.recording.to)) check();
  std::span<const RecordedEdge> edges = source.Read(options.block);
  check();
  if (edges.empty()) Fail("no pulses found in {}: it holds no edges", path);
  const double begin = edges.front().time;
  CEdgePulses maker(SettingsOf(options, kind));
  SpeedOutputs outputs(options, options.countTeeth ? 1 : options.pulsesPerRev, CEdgePulses::sampleRate, begin,
                       0);
  CDzPulsDetektor counting;
  counting.PulsTeilerSetzen(options.divider);
  counting.BeideFlankenSuchen(kind == EdgeListKind::levels && options.edges == "both");
  CPulseJudge judge(PulseLevels(), counting);
  CPulseTrain pulses = outputs.NewTrain();
  for (; !edges.empty(); edges = source.Read(options.block)) {
    pulses.Clear();
    maker.Take(edges, pulses);
    judge.Take(pulses);
    outputs.Take(pulses);
  }
  check();
  outputs.Finish();
  if (outputs.counts().Speed().count == 0) {
    Fail("no pulses found in {} (edges: {}); check --edges, --divider and the list", path, maker.Edges());
  }
  SpeedReport report;
  report.list = kind == EdgeListKind::edges ? "edges" : "levels";
  report.channel = kind == EdgeListKind::edges ? "list of edges" : "list of level changes";
  report.channels = 1;
  report.duration = maker.Last() - maker.First();
  report.warnings = WarningsOfEdges(judge, begin);
  for (const RecordingWarning& each : report.warnings)
    PrintNote("{}{}", alone ? "" : path + ": ", each.text.ToUtf8());
  outputs.Write(report);
  alone ? outputs.Print(report) : results.Add(report);
  outputs.CheckTolerance();
}

}  // namespace umlauf::tool
