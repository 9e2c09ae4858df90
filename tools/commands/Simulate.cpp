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
#include "tools/simulate/WheelSimulator.h"

namespace umlauf::tool {
namespace {

constexpr double truthStep = 0.01;  ///< [s]

/// Fills and writes block after block.
template <class Sample, class Simulator, class Writer>
void WriteBlocks(Simulator& simulator, const Writer& write) {
  Progress progress("simulating", simulator.frames());
  std::vector<Sample> block(65536);
  for (std::uint64_t left = simulator.frames(); left > 0;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size()));
    simulator.Next({block.data(), n});
    write(block.data(), n);
    left -= n;
    progress.Advance(n);
  }
}

void WriteRecording(const SimulateOptions& options, const SpeedProfile& profile, OutputFile& out) {
  if (options.encoder) {
    EncoderSimulator simulator(profile, options.wheel, EncoderFormat(*options.encoder), options.lowWord);
    WriteBlocks<ULONG>(simulator, [&out](const ULONG* words, std::size_t n) {
      out.Write({reinterpret_cast<const char*>(words), n * sizeof *words});
    });
    return;
  }
  WheelSimulator simulator(profile, options.wheel);
  RecordingOutput writer(out, {.rate = options.wheel.rate, .channels = 1, .frames = simulator.frames()});
  WriteBlocks<float>(simulator, [&writer](const float* samples, std::size_t n) { writer.Write(samples, n); });
  writer.Close();
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
  if (options.truth.empty()) {
    options.truth = std::filesystem::path(options.output).replace_extension(".csv").string();
  }
  if (options.truth == options.output)
    FailUsage("the recording and the true speed would be one file; give --truth FILE");
  if (options.output == "-") FailUsage("the recording is a binary file; name one");
  if (!options.encoder) CheckRecordingName("output", options.output);
  if (options.encoder && std::filesystem::path(options.output).extension() != ".u32") {
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
