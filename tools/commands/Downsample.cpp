#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/Error.h"
#include "tools/commands/Commands.h"
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
  if (!(ratio >= 1)) {
    FailUsage("--rate {:g} is above the {:g} samples/s of the recording; rates are only lowered",
              *options.rate, sampleRate);
  }
  return ratio;
}

void Convert(CBlockSource& source, CDownsamplingStream& stream, RecordingOutput& writer) {
  const unsigned width = source.Channels();
  const std::size_t frames = std::max<std::size_t>(1, blockSamples / source.Channels());
  std::vector<float> in, out(std::max(stream.MaxOutput(frames), stream.MaxFlush()) * width);
  Progress progress("downsampling", source.Frames().value_or(0));
  for (SampleBlock block = Read(source, frames); block.count > 0; block = Read(source, frames)) {
    writer.Write(out.data(), stream.Process(out.data(), Contiguous(block, width, in), block.count));
    progress.Advance(block.count);
  }
  writer.Write(out.data(), stream.Flush(out.data()));
}

void RunDownsample(const DownsampleOptions& options) {
  CheckRecordingName("output", options.output);
  CheckOutputPath("output", options.output, options.recording.path);
  const std::unique_ptr<CRecordingSource> source = OpenRecording(options.recording);
  const double ratio = Ratio(options, source->SampleRate());
  CDownsamplingStream stream(ratio, options.method, source->Channels(), static_cast<float>(options.gain));
  if (!stream.IsValid()) Fail("there is no memory to convert at a ratio of {:g}; take a smaller one", ratio);
  // Minima and maxima are two frames for each.
  const double rate = source->SampleRate() / ratio * (options.method == Reduction::MinMax ? 2 : 1);
  const auto frames = numeric::trunc_sat<std::uint64_t>(static_cast<double>(source->Frames().value_or(0)) /
                                                        source->SampleRate() * rate);
  OutputFile out(options.output);
  RecordingOutput writer(out, {.rate = rate, .channels = source->Channels(), .frames = frames});
  Convert(*source, stream, writer);
  writer.Close();
  out.Commit();
  Print("{:g} samples/s to {:.9g} samples/s, {} channel{}\n", source->SampleRate(), rate, source->Channels(),
        source->Channels() > 1 ? "s" : "");
  if (rate != std::round(rate)) {
    Print("note: the file tells {:.0f} samples/s, as it can only tell whole ones\n", std::round(rate));
  }
}

}  // namespace

void AddDownsampleCommand(CLI::App& app) {
  auto options = std::make_shared<DownsampleOptions>();
  options->recording.allChannels = true;
  options->recording.rateOption = "--input-rate";
  CLI::App* command = app.add_subcommand("downsample", "Converts a recording to a lower sample rate");
  DeclareRecording(*command, options->recording);
  command->add_option("output", options->output, "recording to write: .wav, .w64 (float) or .flac")
      ->required();
  CLI::Option* ratio = command->add_option("--ratio", options->ratio, "samples read for each one written");
  ratio->check(Between(1.0, 1e12).description(""));
  command->add_option("--rate", options->rate, "samples per second to be written")
      ->check(AboveZero().description(""))
      ->excludes(ratio);
  const Choices<Reduction> methods = {{"filter", Reduction::Filter}, {"linear", Reduction::Linear},
                                      {"mean", Reduction::Mean},     {"max", Reduction::Max},
                                      {"minmax", Reduction::MinMax}, {"sum", Reduction::Sum}};
  command
      ->add_option("--method", options->method,
                   "filter (low-pass), linear, mean, max, minmax (both, in turn) or sum (filter)")
      ->transform(OneOf(methods))
      ->type_name("METHOD");
  command->add_option("--gain", options->gain, "factor for all samples (1)")->check(Finite().description(""));
  command->callback([options] { RunDownsample(*options); });
}

}  // namespace umlauf::tool
