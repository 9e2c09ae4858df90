#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/options/SimulateOptions.h"
#include "tools/output/OutputFile.h"
#include "tools/output/Progress.h"
#include "tools/output/RecordingOutput.h"
#include "tools/simulate/EncoderSimulator.h"
#include "tools/simulate/VibrationSimulator.h"
#include "tools/simulate/WheelSimulator.h"

namespace umlauf::tool {
namespace {

constexpr double truthStep = 0.01;  ///< [s]

/// Fills and writes block after block, `channels` samples in each frame.
template <class Sample, class Fill, class Writer>
void WriteBlocks(std::uint64_t frames, unsigned channels, const Fill& fill, const Writer& write) {
  Progress progress("simulating", frames);
  constexpr std::size_t most = 65536;
  std::vector<Sample> block(most * channels);
  for (std::uint64_t left = frames; left > 0;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(left, most));
    fill(block.data(), n);
    write(block.data(), n);
    left -= n;
    progress.Advance(n);
  }
}

/// The tacho, and beside it the vibration.
void WriteSamples(const SimulateOptions& options, const SpeedProfile& profile, OutputFile& out) {
  WheelSimulator wheel(profile, options.wheel);
  VibrationSimulator vibration(profile, options.vibration, options.wheel.rate, options.wheel.seed);
  const unsigned channels = options.vibration.Any() ? 2 : 1;
  RecordingOutput writer(out, {.rate = options.wheel.rate, .channels = channels, .frames = wheel.frames()});
  std::vector<float> tacho;
  const auto fill = [&](float* frames, std::size_t n) {
    if (channels == 1) return wheel.Next({frames, n});
    tacho.resize(n);
    wheel.Next(tacho);
    for (std::size_t i = 0; i < n; ++i) frames[2 * i] = tacho[i];
    vibration.Next(frames + 1, n, 2);
  };
  WriteBlocks<float>(wheel.frames(), channels, fill,
                     [&writer](const float* frames, std::size_t n) { writer.Write(frames, n); });
  writer.Close();
}

void WriteRecording(const SimulateOptions& options, const SpeedProfile& profile, OutputFile& out) {
  if (options.encoder) {
    EncoderSimulator simulator(profile, options.wheel, EncoderFormat(*options.encoder), options.lowWord);
    WriteBlocks<ULONG>(
        simulator.frames(), 1,
        [&simulator](ULONG* words, std::size_t n) {
          simulator.Next({words, n});
        },
        [&out](const ULONG* words, std::size_t n) {
          out.Write({reinterpret_cast<const char*>(words), n * sizeof *words});
        });
    return;
  }
  WriteSamples(options, profile, out);
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

void RunSimulate(SimulateOptions options) {
  const SpeedProfile profile = ParseProfile(options);
  CheckWheel(options, profile);
  CheckVibration(options);
  if (options.truth.empty()) {
    options.truth = FilePath(options.output).replace_extension(".csv").string();
  }
  if (options.truth == options.output)
    FailUsage("the recording and the true speed would be one file; give --truth FILE");
  if (options.output == "-") FailUsage("the recording is a binary file; name one");
  if (!options.encoder) CheckRecordingName("output", options.output);
  if (options.encoder && FilePath(options.output).extension() != ".u32") {
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
  CLI::App* command =
      app.add_subcommand("simulate", "Writes the recording of a test-bench run that is known");
  DeclareSimulateOptions(*command, *options);
  command->callback([options] { RunSimulate(*options); });
}

}  // namespace umlauf::tool
