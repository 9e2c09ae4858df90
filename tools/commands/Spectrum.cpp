#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/LibraryNotes.h"
#include "tools/commands/Commands.h"
#include "tools/input/RecordingInput.h"
#include "tools/input/SignalFile.h"
#include "tools/options/Outputs.h"
#include "tools/output/Console.h"
#include "tools/output/Progress.h"
#include "tools/output/SpectrumReport.h"
#include "tools/pictures/ArrayPicture.h"
#include "tools/pictures/Plot.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/FrequencyWeighting.h"
#include "umlauf/spectrum/OctaveBands.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrogramBuilder.h"
#include "umlauf/spectrum/SpectrumAverage.h"
#include "umlauf/spectrum/SpectrumLevels.h"

namespace umlauf::tool {
namespace {

const Choices<WindowShape> windows = {
    {"rectangle", WindowShape::Rectangle}, {"hann", WindowShape::Hann},
    {"hamming", WindowShape::Hamming},     {"blackman", WindowShape::Blackman},
    {"flattop", WindowShape::FlatTop},     {"kaiser", WindowShape::Kaiser}};
const Choices<FrequencyWeighting::Kind> weightings = {{"z", FrequencyWeighting::Kind::Z},
                                                      {"a", FrequencyWeighting::Kind::A},
                                                      {"c", FrequencyWeighting::Kind::C}};

struct SpectrumOptions {
  RecordingOptions recording;
  std::optional<std::size_t> length;
  std::optional<double> resolution;  ///< [Hz]
  double overlap = 50;               ///< [%]
  WindowShape window = WindowShape::Hann;
  double kaiserBeta = 8.6;
  Detrending detrending = Detrending::Mean;
  bool density = false, effective = false, json = false;
  unsigned octaves = 0;  ///< bands to the octave; 0 = none
  FrequencyWeighting::Kind weighting = FrequencyWeighting::Kind::Z;
  std::optional<double> reference, upTo;
  std::size_t curves = 1440;
  std::string csv, curve, plot, spectrogram, signal;

  SpectrumScaling scaling() const {
    return density     ? SpectrumScaling::Density
           : effective ? SpectrumScaling::Effective
                       : SpectrumScaling::Amplitude;
  }
  bool wantsSpectrogram() const { return !spectrogram.empty() || !signal.empty(); }
};

constexpr std::size_t blockFrames = std::size_t{1} << 16;
constexpr std::size_t greatestLength = std::size_t{1} << 24;
constexpr std::size_t greatestArray = std::size_t{1} << 26;  // values
constexpr double deepest = 100;  // dB that a spectrogram shows below its greatest level

template <class Value>
std::string NameOf(const Choices<Value>& choices, Value value) {
  for (const auto& [name, each] : choices) {
    if (each == value) return name;
  }
  return "";
}

SpectrumSettings SettingsFor(const SpectrumOptions& options, const CBlockSource& source) {
  SpectrumSettings settings;
  settings.window = options.window;
  settings.kaiserBeta = options.kaiserBeta;
  settings.detrending = options.detrending;
  if (options.length) {
    settings.length = *options.length;
  } else if (options.resolution) {
    const double wanted = std::ceil(source.SampleRate() / *options.resolution);
    if (!(wanted >= 2 && wanted <= static_cast<double>(greatestLength))) {
      FailUsage("--resolution {:g} makes segments of {:g} samples; these have 2 to {}", *options.resolution,
                wanted, greatestLength);
    }
    settings.length = CRealTransform::FastSize(static_cast<std::size_t>(wanted));
  } else if (source.Frames()) {
    // A short recording is one segment.
    settings.length =
        static_cast<std::size_t>(std::clamp<std::uint64_t>(*source.Frames(), 2, settings.length));
  }
  const double step = static_cast<double>(settings.length) * (1 - options.overlap / 100);
  settings.step = std::max<std::size_t>(1, static_cast<std::size_t>(std::lround(step)));
  return settings;
}

CSpectrogramBuilder MakeBuilder(const SpectrumOptions& options, const SpectrumSettings& settings,
                                const CBlockSource& source) {
  const std::size_t most = std::max<std::size_t>(2, greatestArray / (settings.length / 2 + 1));
  return CSpectrogramBuilder(settings, source.SampleRate(), options.scaling(), std::min(options.curves, most),
                             source.StartTime());
}

/// Cuts a spectrum behind a frequency, between two of its lines.
void KeepUpTo(CSigCurve& spectrum, double frequency, const SpectrumReport& report) {
  const double step = report.sampleRate / static_cast<double>(report.settings.length);
  const auto lines = numeric::trunc_sat<std::uint64_t>(frequency / step * (1 + 1e-9)) + 1;
  if (lines >= spectrum.DLen()) return;
  auto* extended = dynamic_cast<CSigCurveExt*>(&spectrum);
  const bool empty = extended != nullptr && !extended->IsValid();
  spectrum.SetXMinMax(0, static_cast<float>(step * static_cast<double>(lines)));
  spectrum.Resize(lines);
  if (empty) extended->Invalidate();
}

/// One pass over the recording.
void Analyse(CBlockSource& source, const SpectrumOptions& options, CSpectrumAverage& average,
             CSpectrogramBuilder& builder, SpectrumReport& report) {
  if (!average.IsValid() || !builder.IsValid()) {
    Fail("there is no memory for segments of {} samples; take a smaller --length", report.settings.length);
  }
  std::vector<float> buffer;
  Progress progress("spectra", source.Frames().value_or(0));
  for (SampleBlock block = Read(source, blockFrames); block.count > 0; block = Read(source, blockFrames)) {
    const float* samples = Contiguous(block, 1, buffer);
    average.Process(samples, block.count);
    if (options.wantsSpectrogram() && !builder.Process(samples, block.count)) {
      Fail("there is no memory for the spectrogram; take a smaller --curves");
    }
    report.frames += block.count;
    progress.Advance(block.count);
  }
  report.segments = average.Segments();
  report.leftOut = average.LeftOut();
  if (report.segments + report.leftOut == 0) {
    Fail("the recording has {} samples, fewer than a segment of {}; take a smaller --length", report.frames,
         report.settings.length);
  }
  if (report.segments == 0) Fail("no segment of the recording is free of samples that are no finite numbers");
}

void TakeBands(const CSigCurve& density, const SpectrumOptions& options, SpectrumReport& report) {
  if (!OctaveBands::FromDensity(density, options.octaves, report.bands))
    Fail("there is no memory for the bands");
  if (report.bands.NPaare() == 0)
    Fail("no band is as wide as a line of the spectrum; take a greater --length");
  if (options.reference) {
    OctaveBands::ToLevels(report.bands, *options.reference);
  } else {
    report.bands.WurzelZiehen();
  }
}

void TakeResults(const CSpectrumAverage& average, const SpectrumOptions& options, const CMeasuringUnit& unit,
                 SpectrumReport& report) {
  CSigCurve density;
  if (!average.Spectrum(options.scaling(), report.spectrum, unit) ||
      !average.Spectrum(SpectrumScaling::Density, density, unit)) {
    Fail("there is no memory for the spectrum");
  }
  FrequencyWeighting::Apply(options.weighting, density, SpectrumScaling::Density);
  FrequencyWeighting::Apply(options.weighting, report.spectrum, options.scaling());
  report.effective = SpectrumLevels::EffectiveValue(density);
  if (options.upTo) KeepUpTo(density, *options.upTo, report);
  if (options.octaves > 0) TakeBands(density, options, report);
  if (options.reference) SpectrumLevels::Apply(report.spectrum, options.scaling(), *options.reference);
  if (options.upTo) KeepUpTo(report.spectrum, *options.upTo, report);
  report.spectrum.SetName(CString::FromUtf8(options.recording.path.filename().string()));
  report.spectrum.SetFileCompression(false);
}

void WriteSignal(const CSignal& signal, const std::string& path) {
  OutputFile out(path);
  WriteSignalFile(signal, out);
  out.Commit();
}

void WriteSpectrogram(CSpectrogramBuilder& builder, const SpectrumOptions& options,
                      const CMeasuringUnit& unit, const SpectrumReport& report) {
  CSigCurveArray array;
  if (!builder.Finish(array, unit)) Fail("there is no memory for the spectrogram; take a smaller --curves");
  for (const auto& curve : array) FrequencyWeighting::Apply(options.weighting, *curve, options.scaling());
  if (options.reference) SpectrumLevels::Apply(array, options.scaling(), *options.reference);
  for (const auto& curve : array) {
    if (options.upTo) KeepUpTo(*curve, *options.upTo, report);
  }
  array.SetName(CString::FromUtf8(options.recording.path.filename().string()));
  if (!options.signal.empty()) WriteSignal(array, options.signal);
  if (options.spectrogram.empty()) return;
  const double reference = options.reference.value_or(SpectrumLevels::StandardReference(unit));
  if (!options.reference) SpectrumLevels::Apply(array, options.scaling(), reference);
  PlotMap map = ArrayPicture(array, {.arrayAxisRight = true, .deepest = deepest});
  SpectrumReport label = report;
  label.bandsPerOctave = 0;
  label.reference = reference;
  map.levelLabel = label.ValueLabel();
  OutputFile out(options.spectrogram);
  DrawPlot(map, out);
  out.Commit();
}

void Publish(const SpectrumReport& report, const SpectrumOptions& options) {
  if (!options.csv.empty()) {
    OutputFile out(options.csv);
    report.WriteCsv(out);
    out.Commit();
  }
  if (!options.curve.empty()) WriteSignal(report.spectrum, options.curve);
  if (!options.plot.empty()) {
    OutputFile out(options.plot);
    DrawPlot(report.Picture(), out);
    out.Commit();
  }
  PrintWarnings(report.warnings);
  if (report.leftOut > 0) {
    PrintNote("{} of {} segments hold samples that are no finite numbers and do not count", report.leftOut,
              report.segments + report.leftOut);
  }
  if (options.json) {
    WriteOut(report.Json());
  } else if (options.csv != "-") {
    WriteOut(report.Table());
  }
}

void RunSpectrum(SpectrumOptions options) {
  CheckOutputs({{"--csv", options.csv, OutputKind::table},
                {"--curve", options.curve, OutputKind::signal},
                {"--signal", options.signal, OutputKind::signal},
                {"--plot", options.plot, OutputKind::picture},
                {"--spectrogram", options.spectrogram, OutputKind::picture}},
               options.json, {options.recording.path});
  options.recording.rewindable = false;
  const std::unique_ptr<CRecordingSource> source = OpenRecording(options.recording);
  SpectrumReport report;
  report.recording = options.recording.path.string();
  report.channel = source->ChannelName(0).ToUtf8();
  report.channelNumber = source->ChannelNumber(0);
  report.channels = source->RecordingChannels();
  report.sampleRate = source->SampleRate();
  report.settings = SettingsFor(options, *source);
  report.window = NameOf(windows, options.window);
  report.weighting = NameOf(weightings, options.weighting);
  report.scaling = options.scaling();
  report.unit = source->Unit().ToUtf8();
  report.reference = options.reference;
  report.bandsPerOctave = options.octaves;
  const CSpectrumWindow window(options.window, report.settings.length, options.kaiserBeta);
  report.noiseBandwidth =
      window.NoiseBandwidth() * report.sampleRate / static_cast<double>(report.settings.length);

  CSpectrumAverage average(report.settings, report.sampleRate);
  CSpectrogramBuilder builder = MakeBuilder(options, report.settings, *source);
  Analyse(*source, options, average, builder, report);
  report.warnings = source->Warnings();
  const LibraryNotes notes;
  const CMeasuringUnit unit(source->Unit());
  TakeResults(average, options, unit, report);
  if (options.wantsSpectrogram()) WriteSpectrogram(builder, options, unit, report);
  Publish(report, options);
}

void DeclareSegments(CLI::App& command, SpectrumOptions& options) {
  const std::string group = "Segments";
  CLI::Option* length = command.add_option("--length", options.length, "samples in a segment (4096)");
  length->transform(WholeNumber(2, greatestLength).description(""))->type_name("SAMPLES")->group(group);
  command
      .add_option("--resolution", options.resolution, "distance of two lines at most, in place of --length")
      ->check(AboveZero().description(""))
      ->type_name("HZ")
      ->excludes(length)
      ->group(group);
  command.add_option("--overlap", options.overlap, "of successive segments (50)")
      ->check(Between(0, 99).description(""))
      ->type_name("PERCENT")
      ->group(group);
  command
      .add_option("--window", options.window, "rectangle, hann, hamming, blackman, flattop or kaiser (hann)")
      ->transform(OneOf(windows))
      ->type_name("WINDOW")
      ->group(group);
  command.add_option("--kaiser-beta", options.kaiserBeta, "of the Kaiser window (8.6)")
      ->check(Between(0, 700).description(""))
      ->group(group);
  const Choices<Detrending> trends = {
      {"none", Detrending::None}, {"mean", Detrending::Mean}, {"line", Detrending::Line}};
  command.add_option("--detrend", options.detrending, "taken off each segment: none, mean or line (mean)")
      ->transform(OneOf(trends))
      ->type_name("TREND")
      ->group(group);
}

void DeclareValues(CLI::App& command, SpectrumOptions& options) {
  const std::string group = "Values";
  CLI::Option* density = command.add_flag("--psd", options.density, "power spectral density, not amplitudes");
  density->group(group);
  command.add_flag("--effective", options.effective, "effective values, not amplitudes")
      ->excludes(density)
      ->group(group);
  command
      .add_option("--octaves", options.octaves, "effective values of bands, so many to the octave: 1, 3 ...")
      ->transform(WholeNumber(1, 48).description(""))
      ->type_name("N")
      ->group(group);
  command.add_option("--weighting", options.weighting, "of sound: a, c or z (z, none)")
      ->transform(OneOf(weightings))
      ->type_name("WEIGHTING")
      ->group(group);
  command.add_option("--reference", options.reference, "levels in dB over this value (sound in Pa: 2e-5)")
      ->check(AboveZero().description(""))
      ->group(group);
  command.add_option("--up-to", options.upTo, "only frequencies up to this one")
      ->check(AboveZero().description(""))
      ->type_name("HZ")
      ->group(group);
}

void DeclareOutputs(CLI::App& command, SpectrumOptions& o) {
  DeclareOutput(command, "--csv", o.csv, OutputKind::table, "frequencies and values; - is standard output");
  DeclareOutput(command, "--curve", o.curve, OutputKind::signal, "spectrum as signal file");
  DeclareOutput(command, "--plot", o.plot, OutputKind::picture, "picture of the spectrum");
  DeclareOutput(command, "--spectrogram", o.spectrogram, OutputKind::picture,
                "picture over time and frequency, in dB");
  DeclareOutput(command, "--signal", o.signal, OutputKind::signal,
                "spectrogram as signal file: a curve array over time");
  command.add_option("--curves", o.curves, "curves of a spectrogram at most (1440)")
      ->transform(WholeNumber(2, 1 << 20).description(""))
      ->group("Output");
  DeclareJson(command, o.json);
}

}  // namespace

void AddSpectrumCommand(CLI::App& app) {
  auto options = std::make_shared<SpectrumOptions>();
  CLI::App* command = app.add_subcommand("spectrum", "Tells what frequencies a recording holds");
  DeclareRecording(*command, options->recording);
  DeclareScaling(*command, options->recording);
  DeclareSegments(*command, *options);
  DeclareValues(*command, *options);
  DeclareOutputs(*command, *options);
  command->callback([options] { RunSpectrum(*options); });
}

}  // namespace umlauf::tool
