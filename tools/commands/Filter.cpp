#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/RecordingInput.h"
#include "tools/output/Console.h"
#include "tools/output/Progress.h"
#include "tools/output/RecordingOutput.h"
#include "umlauf/filters/Butterworth.h"
#include "umlauf/filters/SosFilter.h"
#include "umlauf/filters/ZeroPhaseStream.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::tool {
namespace {

struct FilterOptions {
  RecordingOptions recording;
  std::string output;
  std::optional<double> low, high;  ///< edges [Hz]; one of the four is given
  std::vector<double> band, stop;
  unsigned order = 4;
  bool zeroPhase = false;
};

constexpr std::size_t blockSamples = std::size_t{1} << 16;  ///< of all channels

SosSections Design(const FilterOptions& o, double rate) {
  if (!o.low && !o.high && o.band.empty() && o.stop.empty()) {
    FailUsage("what is to pass? give one of --low-pass, --high-pass, --band-pass and --band-stop");
  }
  const SosSections sections = o.low             ? Butterworth::LowPass(o.order, *o.low, rate)
                               : o.high          ? Butterworth::HighPass(o.order, *o.high, rate)
                               : !o.band.empty() ? Butterworth::BandPass(o.order, o.band[0], o.band[1], rate)
                                                 : Butterworth::BandStop(o.order, o.stop[0], o.stop[1], rate);
  if (sections.Count() == 0) {
    FailUsage("edges lie between 0 and {:g} Hz, half the sample rate, the lower one first", rate / 2);
  }
  return sections;
}

/// One channel through the filter, forward alone or without phase. A sample that is no finite number would
/// stay in the filter for ever: the one before takes its place.
class ChannelFilter {
 public:
  ChannelFilter(const SosSections& sections, bool zeroPhase) : filter_(sections) {
    if (!zeroPhase) return;
    stream_.emplace(sections);
    if (!stream_->IsValid()) {
      Fail(
          "this filter fades too slowly to be run backward; lower the sample rate first (umlauf downsample)");
    }
  }

  std::size_t MaxOutput(std::size_t n) const {
    return static_cast<std::size_t>(stream_ ? std::max(stream_->MaxOutput(n), stream_->MaxFlush()) : n);
  }
  std::uint64_t replaced() const { return replaced_; }

  /// The samples may be changed. Returns the number of those that were written.
  std::uint64_t Process(float* out, float* in, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
      if (std::isfinite(in[i])) {
        before_ = in[i];
      } else {
        in[i] = before_;
        ++replaced_;
      }
    }
    if (stream_) return stream_->Process(out, in, n);
    // The filter begins as if the first sample had been there for ever: nothing rings at the start.
    if (!begun_ && n > 0) filter_.Settle(static_cast<double>(in[0]));
    begun_ = begun_ || n > 0;
    filter_.Process(out, in, n);
    return n;
  }
  std::uint64_t Flush(float* out) { return stream_ ? stream_->Flush(out) : 0; }

 private:
  CSosFilter filter_;
  std::optional<CZeroPhaseStream> stream_;
  bool begun_ = false;
  float before_ = 0;
  std::uint64_t replaced_ = 0;
};

/// All channels of a recording, each through a filter of its own, in step.
class RecordingFilter {
 public:
  RecordingFilter(const SosSections& sections, bool zeroPhase, unsigned channels, RecordingOutput& writer)
      : frames_(std::max<std::size_t>(1, blockSamples / channels)), writer_(writer) {
    for (unsigned c = 0; c < channels; ++c) filters_.emplace_back(sections, zeroPhase);
    const std::size_t most = filters_[0].MaxOutput(frames_);
    in_.resize(frames_ * channels);
    out_.resize(most * channels);
    mixed_.resize(most * channels);
    for (unsigned c = 0; c < channels; ++c) {
      inputs_.push_back(in_.data() + c * frames_);
      outputs_.push_back(out_.data() + c * most);
    }
  }

  std::size_t frames() const { return frames_; }
  std::uint64_t replaced() const {
    std::uint64_t sum = 0;
    for (const ChannelFilter& each : filters_) sum += each.replaced();
    return sum;
  }

  /// Up to frames() interleaved frames.
  void Process(const float* samples, std::size_t n) {
    QVL::Deinterleave(inputs_.data(), samples, filters_.size(), n);
    std::uint64_t written = 0;
    for (std::size_t c = 0; c < filters_.size(); ++c)
      written = filters_[c].Process(outputs_[c], inputs_[c], n);
    Write(written);
  }
  void Finish() {
    std::uint64_t written = 0;
    for (std::size_t c = 0; c < filters_.size(); ++c) written = filters_[c].Flush(outputs_[c]);
    Write(written);
  }

 private:
  void Write(std::uint64_t n) {
    QVL::Interleave(mixed_.data(), outputs_.data(), filters_.size(), static_cast<std::size_t>(n));
    writer_.Write(mixed_.data(), n);
  }

  std::size_t frames_;
  RecordingOutput& writer_;
  std::vector<ChannelFilter> filters_;
  std::vector<float> in_, out_, mixed_;
  std::vector<float*> inputs_, outputs_;
};

void RunFilter(FilterOptions options) {
  CheckRecordingName("output", options.output);
  CheckOutputPath("output", options.output, options.recording.path);
  options.recording.rewindable = false;
  const std::unique_ptr<CRecordingSource> source = OpenRecording(options.recording);
  const SosSections sections = Design(options, source->SampleRate());
  const unsigned channels = source->Channels();
  OutputFile out(options.output);
  RecordingOutput writer(out, {.rate = source->SampleRate(),
                               .channels = channels,
                               .frames = source->Frames(),
                               .startTime = source->StartTime()});
  RecordingFilter filter(sections, options.zeroPhase, channels, writer);
  std::vector<float> buffer;
  std::uint64_t frames = 0;
  {
    Progress progress("filtering", source->Frames().value_or(0));
    for (SampleBlock block = Read(*source, filter.frames()); block.count > 0;
         block = Read(*source, filter.frames())) {
      filter.Process(Contiguous(block, channels, buffer), block.count);
      progress.Advance(block.count);
      frames += block.count;
    }
  }
  filter.Finish();
  writer.Close();
  out.Commit();
  PrintWarnings(source->Warnings());
  if (filter.replaced() > 0) {
    PrintNote("{} of {} samples are no finite numbers; the one before took their place", filter.replaced(),
              frames * channels);
  }
  Print("{} samples at {:g} samples/s, {} channel{}\n", frames, source->SampleRate(), channels,
        channels > 1 ? "s" : "");
}

void DeclareKinds(CLI::App& command, FilterOptions& options) {
  const std::vector<CLI::Option*> kinds = {
      command.add_option("--low-pass", options.low, "passes what lies below this edge")->type_name("HZ"),
      command.add_option("--high-pass", options.high, "passes what lies above this edge")->type_name("HZ"),
      command.add_option("--band-pass", options.band, "passes what lies between these edges")
          ->delimiter(',')
          ->expected(2)
          ->type_name("LOW,HIGH"),
      command.add_option("--band-stop", options.stop, "takes out what lies between these edges")
          ->delimiter(',')
          ->expected(2)
          ->type_name("LOW,HIGH")};
  for (CLI::Option* kind : kinds) {
    kind->check(AboveZero().description(""));
    for (CLI::Option* other : kinds) {
      if (other != kind) kind->excludes(other);
    }
  }
}

}  // namespace

void AddFilterCommand(CLI::App& app) {
  auto options = std::make_shared<FilterOptions>();
  options->recording.allChannels = true;
  CLI::App* command =
      app.add_subcommand("filter", "Passes or takes out a range of frequencies (Butterworth)");
  DeclareRecording(*command, options->recording);
  DeclareScaling(*command, options->recording);
  command
      ->add_option("output", options->output,
                   "recording to write: .wav, .w64 (float), .flac, .csv or .f32 (raw)")
      ->required();
  DeclareKinds(*command, *options);
  command->add_option("--order", options->order, "order, 1 to 16 (4)")
      ->transform(WholeNumber(1, Butterworth::kMaxOrder).description(""));
  command->add_flag("--zero-phase", options->zeroPhase,
                    "forward and backward: nothing is shifted in time, the gain counts twice");
  command->callback([options] { RunFilter(*options); });
}

}  // namespace umlauf::tool
