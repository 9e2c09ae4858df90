#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tools/EncoderFormat.h"
#include "tools/Error.h"
#include "tools/LibraryNotes.h"
#include "tools/PulseFinder.h"
#include "tools/WordSource.h"
#include "tools/commands/Commands.h"
#include "tools/output/SpeedOutputs.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

struct EncoderOptions : SpeedResultOptions {
  unsigned mode = 0;
  bool lowWord = false;
  unsigned divider = 1;
  unsigned minPulse = 0;
};

void CheckEncoderOptions(const EncoderOptions& o) {
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

/// How the detector's pulse lists are to be understood.
PulseForm FormOf(const EncoderOptions& o) {
  const EncoderFormat format(o.mode);
  PulseForm form;
  form.edgesPerPulse = o.divider;
  form.edgesPerRev = o.pulsesPerRev * format.countsPerPulse();
  form.kind = format.mode == EncoderFormat::Mode::tisStandard ? PulseForm::Kind::edgeWords
                                                              : PulseForm::Kind::edgeToEdge;
  return form;
}

/// Merges pulses shorter than a minimum with the next one. The detector's own minimum counts the samples of
/// one block only, so that its pulses would depend on the blocks.
class ShortPulses {
 public:
  ShortPulses(unsigned minimum, double edgesPerRev, PulseSink sink)
      : minimum_(minimum), edgesPerRev_(edgesPerRev), sink_(std::move(sink)) {}

  void Take(Pulse pulse) {
    if (short_) {
      pulse.begin = short_->begin;
      pulse.samples += short_->samples;
      pulse.pitches += short_->pitches;
      pulse.first = short_->first;
      pulse.revolutionTime = pulse.length() / pulse.pitches * edgesPerRev_;
    }
    short_ = pulse;
    // Edges forward and backward can cancel each other.
    if (pulse.samples < minimum_ || pulse.pitches == 0) return;
    short_.reset();
    sink_(pulse);
  }

 private:
  unsigned minimum_;
  double edgesPerRev_;
  PulseSink sink_;
  std::optional<Pulse> short_;
};

void RunEncoder(const EncoderOptions& options) {
  CheckEncoderOptions(options);
  WordSource source(options.recording);
  const double rate = source.sampleRate();
  if (rate != std::floor(rate) || rate > 1e9) {
    FailUsage("{} {}: the rate of an encoder stream is a whole number, 1e9 at most; give it",
              options.recording.rateOption, rate);
  }
  const EncoderFormat format(options.mode);
  CDzPulsTisDetector detector(format.mode);
  detector.SetPulsteiler(options.divider);
  detector.Restart(numeric::trunc_sat<unsigned>(rate), numeric::trunc_sat<unsigned>(options.pulsesPerRev),
                   options.lowWord, format.mode);
  detector.SetMinPulsSamples(0);
  // A word holds one edge. What looks like a pulse without samples is one that a block border cuts.
  detector.SetAllowZeroLenPulses(true);

  const PulseForm form = FormOf(options);
  SpeedOutputs outputs(options, form.edgesPerRev, rate, 0, source.frames());
  ShortPulses pulses(options.minPulse, form.edgesPerRev,
                     [&outputs](const Pulse& pulse) { outputs.Take(pulse); });
  const LibraryNotes notes;
  const std::uint64_t samples = AssemblePulses(
      form, source.frames(),
      [&](CDzPulsListe& list) -> std::uint64_t {
        const std::span<const ULONG> words = source.Read(options.block);
        if (words.empty()) return 0;
        const std::size_t frames = words.size() / source.channels();
        detector.PulseSuchen(words.data() + source.channel(), frames, source.channels(), list);
        if (!notes.empty())
          Fail("cannot decode {}: {}; check --rate and --mode", options.recording.path.string(),
               notes.text());
        return frames;
      },
      [&pulses](const Pulse& pulse) { pulses.Take(pulse); });
  outputs.Finish();
  if (samples == 0) Fail("no pulses found in {}: it holds no words", options.recording.path.string());
  if (outputs.counts().speed().count == 0) {
    Fail("no pulses found in {} (edges: {}); check --mode, --low-word and --channel",
         options.recording.path.string(), outputs.counts().pulses());
  }
  SpeedReport report;
  report.channel = source.channelName();
  report.duration = static_cast<double>(samples) / rate;
  report.encoder = SpeedReport::Encoder{options.mode,
                                        format.counts()   ? "whole"
                                        : options.lowWord ? "low"
                                                          : "high",
                                        detector.NumFehlerbits()};
  outputs.Publish(std::move(report));
}

}  // namespace

void AddEncoderCommand(CLI::App& app) {
  auto options = std::make_shared<EncoderOptions>();
  CLI::App* command = app.add_subcommand("encoder", "Speed of rotation from an encoder stream");
  DeclareRecording(*command, options->recording);
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
  command->callback([options] { RunEncoder(*options); });
}

}  // namespace umlauf::tool
