#pragma once

#include <CLI/CLI.hpp>

namespace umlauf::tool {

// Each declares one subcommand with its options. Its work starts from CLI11's callback and ends in ToolError
// when it fails.
void AddSpeedCommand(CLI::App& app);
void AddCanCommand(CLI::App& app);
void AddDownsampleCommand(CLI::App& app);
void AddEncoderCommand(CLI::App& app);
void AddInfoCommand(CLI::App& app);
void AddPlotCommand(CLI::App& app);
void AddSettingsCommand(CLI::App& app);
void AddPairsCommand(CLI::App& app);
void AddUnitCommand(CLI::App& app);
void AddSimulateCommand(CLI::App& app);

struct RecordingOptions;
/// Declares the options that tell how a recording is to be read; the second form the recording, too.
void DeclareRecordingFormat(CLI::App& command, RecordingOptions& recording);
void DeclareRecording(CLI::App& command, RecordingOptions& recording);

/// Accepts numbers that are finite and above 0.
CLI::Validator AboveZero();
/// Accepts finite numbers.
CLI::Validator Finite();
/// Accepts numbers from low to high, both included.
CLI::Validator Between(double low, double high);

}  // namespace umlauf::tool
