#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tools/EncoderFormat.h"
#include "tools/Error.h"
#include "tools/LibraryNotes.h"
#include "tools/commands/Commands.h"
#include "tools/input/WordSource.h"
#include "tools/output/Progress.h"
#include "tools/speed/EdgeWarnings.h"
#include "tools/speed/SpeedOutputs.h"
#include "umlauf/encoder/EncoderWord.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rotation/EncoderPulseFinder.h"

namespace umlauf::tool {
namespace {

struct EncoderOptions : SpeedResultOptions {
  unsigned mode = 0;
  bool lowWord = false;
  unsigned divider = 1;
  unsigned minPulse = 0;
};

void CheckEncoderOptions(const EncoderOptions& o) {
  if (o.countTeeth) FailUsage("--pulses-per-rev auto is for umlauf speed; give those of the encoder");
  CheckSpeedResults(o);
  const EncoderFormat format(o.mode);
  if (o.pulsesPerRev != std::floor(o.pulsesPerRev) || o.pulsesPerRev > 1e6) {
    FailUsage("--pulses-per-rev {}: an encoder has a whole number of pulses, a million at most; give it",
              o.pulsesPerRev);
  }
  if (o.divider > 1 && format.mode != EncoderFormat::Mode::tisStandard) {
    FailUsage("--divider works on single edges, those of --mode 1; leave it out");
  }
  if (o.lowWord && format.counts())
    FailUsage("--low-word is for modes 1 and 4; mode {} takes whole words", o.mode);
  if (!o.gap.empty() && (format.counts() || o.divider > 1)) {
    FailUsage("--gap works on every tooth once, in modes 1 and 4; leave out --divider");
  }
}

/// The inputs of mode 1 have clocks for some sample rates only.
void CheckClock(const EncoderFormat& format, double rate, const EncoderOptions& options) {
  if (format.mode != EncoderFormat::Mode::tisStandard) return;
  if (EncoderWord::ClockFor(numeric::trunc_sat<unsigned>(rate)) != nullptr) return;
  std::string rates;
  for (const EncoderWord::Clock& each : EncoderWord::clocks) {
    rates += fmt::format("{}{}", rates.empty() ? "" : ", ", each.sampleRate);
  }
  Fail(
      "cannot decode {}: streams of mode 1 have no clock for {:g} samples/s; check {} (one of {}) and --mode",
      options.recording.path.string(), rate, options.recording.rateOption, rates);
}

void RunEncoder(EncoderOptions options) {
  CheckEncoderOptions(options);
  options.recording.rewindable = false;
  WordSource source(options.recording);
  const double rate = source.sampleRate();
  if (rate != std::floor(rate) || rate > 1e9) {
    FailUsage("{} {}: the rate of an encoder stream is a whole number, 1e9 at most; give it",
              options.recording.rateOption, rate);
  }
  const EncoderFormat format(options.mode);
  CheckClock(format, rate, options);
  CEncoderPulseFinder::Format stream;
  stream.mode = format.mode;
  stream.lowWord = options.lowWord;
  stream.divider = options.divider;
  stream.minSamples = options.minPulse;
  CEncoderPulseFinder finder(stream, numeric::trunc_sat<unsigned>(rate),
                             numeric::trunc_sat<unsigned>(options.pulsesPerRev));
  SpeedOutputs outputs(options, finder.EdgesPerRevolution(), rate, source.startTime(), source.frames());
  CPulseTrain pulses = outputs.NewTrain();
  CDzPulsDetektor edges;
  edges.PulsTeilerSetzen(options.divider);
  CPulseJudge judge(PulseLevels(), edges);
  Progress progress("pulses", source.frames());
  const LibraryNotes notes;
  std::uint64_t samples = 0;
  for (std::span<const ULONG> words = source.Read(options.block); !words.empty();
       words = source.Read(options.block)) {
    const std::size_t frames = words.size() / source.channels();
    finder.Take(words.data() + source.channel(), frames, source.channels(), pulses);
    if (!notes.empty()) {
      Fail("cannot decode {}: {}; check --rate and --mode", options.recording.path.string(), notes.text());
    }
    if (!format.counts()) judge.Take(pulses);
    outputs.Take(pulses);
    samples += frames;
    progress.Advance(frames);
  }
  outputs.Finish();
  if (samples == 0) Fail("no pulses found in {}: it holds no words", options.recording.path.string());
  if (outputs.counts().Speed().count == 0) {
    Fail("no pulses found in {} (edges: {}); check --mode, --low-word and --channel",
         options.recording.path.string(), outputs.counts().Pulses());
  }
  SpeedReport report;
  report.warnings = source.warnings();
  // What a counter counts may go backward and is no pulse by itself.
  for (const RecordingWarning& each :
       format.counts() ? RecordingWarnings() : WarningsOfEdges(judge, source.startTime()))
    report.warnings.push_back(each);
  PrintWarnings(report.warnings);
  report.channel = source.channelName();
  report.channelNumber = source.channel() + 1;
  report.channels = source.channels();
  report.duration = static_cast<double>(samples) / rate;
  report.encoder = SpeedReport::Encoder{options.mode,
                                        format.counts()   ? "whole"
                                        : options.lowWord ? "low"
                                                          : "high",
                                        finder.ErrorBits()};
  outputs.Publish(std::move(report));
}

}  // namespace

void AddEncoderCommand(CLI::App& app) {
  auto options = std::make_shared<EncoderOptions>();
  CLI::App* command = app.add_subcommand("encoder", "Speed of rotation from an encoder stream");
  DeclareWords(*command, options->recording);
  const std::string group = "Detector";
  command
      ->add_option("--mode", options->mode,
                   "format of the words: 1 edges, 4 edges in high resolution, 3 and 6 quadrature in standard "
                   "and high resolution, 2 and 5 the same fourfold")
      ->required()
      ->transform(WholeNumber(1, 6))
      ->group(group);
  command
      ->add_flag("--low-word", options->lowWord, "modes 1 and 4: the edges are in the low half of the words")
      ->group(group);
  command->add_option("--divider", options->divider, "mode 1: only every n-th edge ends a pulse (1)")
      ->transform(WholeNumber(1, 1000000))
      ->group(group);
  command
      ->add_option("--min-pulse", options->minPulse,
                   "shorter pulses are merged with the next one, in samples (0)")
      ->transform(WholeNumber(0, 0xFFFFFFFF))
      ->type_name("SAMPLES")
      ->group(group);
  DeclareSpeedResults(*command, *options);
  command->get_option("--pulses-per-rev")
      ->description(
          "edges (modes 1 and 4) or lines of a revolution; with --gap those of a wheel without it (1)")
      ->type_name("N");
  command->callback([options] { RunEncoder(*options); });
}

}  // namespace umlauf::tool
