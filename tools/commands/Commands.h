#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace umlauf::tool {

/// Declares all subcommands; the table of them is in Commands.cpp.
void AddCommands(CLI::App& app);
/// The name among the subcommands of `app` that is most like a word; empty without subcommands.
std::string NearestSubcommand(const CLI::App& app, const std::string& word);

// Each declares one subcommand with its options. Its work starts from CLI11's callback and ends in ToolError
// when it fails.
void AddSpeedCommand(CLI::App& app);
void AddCanCommand(CLI::App& app);
void AddDownsampleCommand(CLI::App& app);
void AddEncoderCommand(CLI::App& app);
void AddExportCommand(CLI::App& app);
void AddFilterCommand(CLI::App& app);
void AddImportCommand(CLI::App& app);
void AddInfoCommand(CLI::App& app);
void AddOrdersCommand(CLI::App& app);
void AddPlotCommand(CLI::App& app);
void AddSettingsCommand(CLI::App& app);
void AddSpectrumCommand(CLI::App& app);
void AddPairsCommand(CLI::App& app);
void AddUnitCommand(CLI::App& app);
void AddSimulateCommand(CLI::App& app);

struct RecordingOptions;
/// Declares the options that choose a channel.
void DeclareChannel(CLI::App& command, RecordingOptions& recording);
/// Declares those that tell how a recording is to be read.
void DeclareRecordingFormat(CLI::App& command, RecordingOptions& recording);
/// Those that choose a part of it, and those that say what its samples mean.
void DeclareSection(CLI::App& command, RecordingOptions& recording);
void DeclareScaling(CLI::App& command, RecordingOptions& recording);
/// The recording itself with its format and the part of it.
void DeclareRecording(CLI::App& command, RecordingOptions& recording);
/// The same for a stream of digital words.
void DeclareWords(CLI::App& command, RecordingOptions& recording);

/// Accepts numbers that are finite and above 0.
CLI::Validator AboveZero();
/// Accepts finite numbers.
CLI::Validator Finite();
/// Accepts numbers from low to high, both included.
CLI::Validator Between(double low, double high);
/// Accepts whole decimal numbers from low to high, both included. For `transform`: zeros in front are taken
/// away, since the parser would read what follows as octal.
CLI::Validator WholeNumber(std::int64_t low, std::int64_t high);

/// Names of the values of an option.
template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;
/// Accepts one of the names, and replaces it by its number. For `transform`.
CLI::Validator OneOf(Choices<int> choices);
template <class Enumeration>
CLI::Validator OneOf(const Choices<Enumeration>& choices) {
  Choices<int> numbers;
  for (const auto& [name, value] : choices) numbers.emplace_back(name, static_cast<int>(value));
  return OneOf(std::move(numbers));
}
/// Accepts one of the names.
CLI::Validator OneOf(std::initializer_list<std::string> names);

}  // namespace umlauf::tool
