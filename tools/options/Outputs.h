#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

namespace umlauf::tool {

/// What an output file is, by its content. Only tables may go to standard output, as "-".
enum class OutputKind { table, signal, picture, pictureOrSignal };

/// An option that names an output file, and what it named; empty = none.
struct OutputChoice {
  const char* option;
  std::string name;
  OutputKind kind;
};

/// Declares it in the group of the outputs.
void DeclareOutput(CLI::App& command, const char* option, std::string& target, OutputKind kind,
                   const char* text);
/// Declares --json.
void DeclareJson(CLI::App& command, bool& target);

/// Refuses pictures and signals of other names, a table on standard output beside JSON, two outputs of one
/// name, and outputs that would overwrite an input.
void CheckOutputs(const std::vector<OutputChoice>& outputs, bool json,
                  const std::vector<std::filesystem::path>& inputs);

}  // namespace umlauf::tool
