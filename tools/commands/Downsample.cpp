#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/RecordingInput.h"
#include "tools/output/Console.h"
#include "tools/output/OutputFile.h"
#include "tools/output/Progress.h"
#include "tools/output/RecordingOutput.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rate/DownsamplingStream.h"

namespace umlauf::tool {
namespace {

using Reduction = CDownsamplingStream::Reduction;

struct DownsampleOptions {
  RecordingOptions recording;
  std::string output;
  std::optional<double> ratio, rate;
  Reduction method = Reduction::Filter;
  double gain = 1;
};

constexpr std::size_t blockSamples = std::size_t{1} << 16;  ///< of all channels

double Ratio(const DownsampleOptions& options, double sampleRate) {
  if (!options.ratio && !options.rate) FailUsage("to what rate? give --ratio R or --rate HZ");
  const double ratio = options.ratio ? *options.ratio : sampleRate / *options.rate;
  if (options.method == Reduction::Filter && ratio > CDownsamplingStream::MaxFilterRatio) {
    FailUsage("the filter lowers rates by factors up to {:g}, not {:g}; take --method steep or mean",
              CDownsamplingStream::MaxFilterRatio, ratio);
  }
  if (!(ratio >= 1)) {
    FailUsage("--rate {:g} is above the {:g} samples/s of the recording; rates are only lowered",
              *options.rate, sampleRate);
  }
  return ratio;
}

/// What a conversion wrote.
struct Written {
  std::uint64_t frames = 0;
  std::uint64_t infinite = 0;  ///< samples
};

Written Convert(CBlockSource& source, CDownsamplingStream& stream, RecordingOutput& writer) {
  const unsigned channels = source.Channels();
  const std::size_t frames = std::max<std::size_t>(1, blockSamples / channels);
  std::vector<float> in, out(std::max(stream.MaxOutput(frames), stream.MaxFlush()) * channels);
  Written written;
  const auto write = [&](std::uint64_t n) {
    writer.Write(out.data(), n);
    written.frames += n;
    for (std::uint64_t i = 0; i < n * channels; ++i) written.infinite += std::isinf(out[i]) ? 1 : 0;
  };
  Progress progress("downsampling", source.Frames().value_or(0));
  for (SampleBlock block = Read(source, frames); block.count > 0; block = Read(source, frames)) {
    write(stream.Process(out.data(), Contiguous(block, channels, in), block.count));
    progress.Advance(block.count);
  }
  write(stream.Flush(out.data()));
  return written;
}

/// [samples/s] that are written.
double OutputRate(const DownsampleOptions& options, double sampleRate, double ratio) {
  double rate = options.rate.value_or(sampleRate / ratio);
  // 48000 / (48000 / 44100) is a trace beside 44100.
  if (std::fabs(rate - std::round(rate)) < 1e-9 * rate) rate = std::round(rate);
  // Minima and maxima are two frames for each.
  return options.method == Reduction::MinMax ? 2 * rate : rate;
}

void RunDownsample(DownsampleOptions options) {
  CheckRecordingName("output", options.output);
  CheckOutputPath("output", options.output, options.recording.path);
  options.recording.rewindable = false;
  const std::unique_ptr<CRecordingSource> source = OpenRecording(options.recording);
  const double ratio = Ratio(options, source->SampleRate());
  const unsigned channels = source->Channels();
  CDownsamplingStream stream(ratio, options.method, channels, static_cast<float>(options.gain));
  if (!stream.IsValid()) Fail("there is no memory to convert at a ratio of {:g}; take a smaller one", ratio);
  const double rate = OutputRate(options, source->SampleRate(), ratio);
  std::optional<std::uint64_t> frames;
  if (source->Frames()) {
    frames = numeric::trunc_sat<std::uint64_t>(static_cast<double>(*source->Frames()) / source->SampleRate() *
                                               rate);
  }
  OutputFile out(options.output);
  RecordingOutput writer(
      out, {.rate = rate, .channels = channels, .frames = frames, .startTime = source->StartTime()});
  const Written written = Convert(*source, stream, writer);
  writer.Close();
  out.Commit();
  PrintWarnings(source->Warnings());
  Print("{:g} samples/s to {:.9g} samples/s, {} channel{}\n", source->SampleRate(), rate, channels,
        channels > 1 ? "s" : "");
  if (const double told = CRecordingWriter::ToldRate(options.output, rate); told != rate) {
    Print("note: the file tells {:.0f} samples/s, as it can only tell whole ones\n", told);
  }
  if (written.infinite > 0) {
    PrintNote("{} of {} samples are infinite; {}", written.infinite, written.frames * channels,
              std::fabs(options.gain) > 1 ? "a smaller --gain keeps them finite"
                                          : "look at the recording with umlauf info");
  }
}

}  // namespace

void AddDownsampleCommand(CLI::App& app) {
  auto options = std::make_shared<DownsampleOptions>();
  options->recording.allChannels = true;
  options->recording.rateOption = "--input-rate";
  CLI::App* command = app.add_subcommand("downsample", "Converts a recording to a lower sample rate");
  DeclareRecording(*command, options->recording);
  DeclareScaling(*command, options->recording);
  command
      ->add_option("output", options->output,
                   "recording to write: .wav, .w64 (float), .flac, .csv or .f32 (raw)")
      ->required();
  CLI::Option* ratio = command->add_option("--ratio", options->ratio, "samples read for each one written");
  ratio->check(Between(1.0, 1e12).description(""));
  command->add_option("--rate", options->rate, "samples per second to be written")
      ->check(AboveZero().description(""))
      ->excludes(ratio);
  const Choices<Reduction> methods = {{"filter", Reduction::Filter},    {"linear", Reduction::Linear},
                                      {"mean", Reduction::Mean},        {"max", Reduction::Max},
                                      {"minmax", Reduction::MinMax},    {"sum", Reduction::Sum},
                                      {"steep", Reduction::SteepFilter}};
  command
      ->add_option(
          "--method", options->method,
          "filter (low-pass, short), linear, mean, max, minmax (both, in turn), sum or steep (low-pass "
          "that keeps 0.9 of the band) (filter)")
      ->transform(OneOf(methods))
      ->type_name("METHOD");
  command->add_option("--gain", options->gain, "factor for all samples (1)")
      ->check(Between(-3.4e38, 3.4e38).description(""));
  command->callback([options] { RunDownsample(*options); });
}

}  // namespace umlauf::tool
