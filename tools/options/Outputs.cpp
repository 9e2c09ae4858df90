#include "tools/options/Outputs.h"

#include "tools/Error.h"
#include "tools/output/OutputFile.h"
#include "tools/pictures/Plot.h"

namespace umlauf::tool {
namespace {

const char* TypeName(OutputKind kind) {
  switch (kind) {
    case OutputKind::picture:
      return "FILE.svg|.png";
    case OutputKind::pictureOrSignal:
      return "FILE.svg|.png|.usig";
    default:
      return "FILE";
  }
}

bool IsPicture(const OutputChoice& output) {
  return output.kind == OutputKind::picture ||
         (output.kind == OutputKind::pictureOrSignal && !output.name.ends_with(".usig"));
}

}  // namespace

void DeclareOutput(CLI::App& command, const char* option, std::string& target, OutputKind kind,
                   const char* text) {
  command.add_option(option, target, text)->type_name(TypeName(kind))->group("Output");
}

void DeclareJson(CLI::App& command, bool& target) {
  command.add_flag("--json", target, "results as one JSON object on standard output")->group("Output");
}

void CheckOutputs(const std::vector<OutputChoice>& outputs, bool json,
                  const std::vector<std::filesystem::path>& inputs) {
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const auto& [option, name, kind] = outputs[i];
    if (name.empty()) continue;
    if (IsPicture(outputs[i])) CheckPlotName(option, name);
    if (name == "-" && kind != OutputKind::table) FailUsage("{} writes a binary file; name one", option);
    if (name == "-" && json) {
      FailUsage("{} - and --json both write to standard output; name a file for {}", option, option);
    }
    for (const auto& input : inputs) CheckOutputPath(option, name, input);
    for (std::size_t k = 0; k < i; ++k) {
      if (outputs[k].name == name) FailUsage("{} and {} name the same file", outputs[k].option, option);
    }
  }
}

}  // namespace umlauf::tool
