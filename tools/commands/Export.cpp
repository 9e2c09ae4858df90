#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/SignalFile.h"
#include "tools/commands/Commands.h"
#include "tools/output/OutputFile.h"
#include "tools/output/UnitText.h"

namespace umlauf::tool {
namespace {

struct ExportOptions {
  std::vector<std::string> inputs;
  std::string output;
};

/// A signal as two columns of a table.
struct Columns {
  std::string xHeader, yHeader;
  std::vector<float> x, y;
};

/// A cell of the header: quoted, without what would part columns or rows.
std::string HeaderCell(std::string name, const CMeasuringUnit& unit) {
  const auto parts = [](char each) {
    return static_cast<unsigned char>(each) < ' ' || each == '"' || each == ',' || each == ';';
  };
  std::replace_if(name.begin(), name.end(), parts, ' ');
  if (unit.empty()) return fmt::format("\"{}\"", name);
  return fmt::format("\"{} [{}]\"", name, UnitText(unit));
}

Columns ReadColumns(const std::string& path) {
  const std::unique_ptr<CSignal> signal = ReadSignalFile(path);
  Columns columns;
  std::string name = CString(signal->Name()).ToUtf8();
  if (name.empty()) name = std::filesystem::path(path).stem().string();
  columns.xHeader = HeaderCell("x", signal->XUnit());
  columns.yHeader = HeaderCell(name, signal->YUnit());
  if (const auto* curve = dynamic_cast<const CSigCurve*>(signal.get())) {
    const SSampleRun valid = curve->ValidSamples();
    const double left = static_cast<double>(curve->XMin());
    const double step = (static_cast<double>(curve->XMax()) - left) /
                        static_cast<double>(std::max<std::size_t>(curve->DLen(), 1));
    for (std::int64_t i = valid.first; i < valid.first + valid.count; ++i) {
      columns.x.push_back(static_cast<float>(left + step * static_cast<double>(i)));
      columns.y.push_back(curve->FData()[i]);
    }
  } else if (const auto* pairs = dynamic_cast<const CSigPairs*>(signal.get())) {
    for (std::size_t i = 0; i < pairs->NPaare(); ++i) {
      columns.x.push_back(pairs->Punkt(i));
      columns.y.push_back(pairs->Wert(i));
    }
  }
  if (columns.x.empty()) Fail("cannot export {}: it holds no samples", path);
  return columns;
}

void RunExport(const ExportOptions& options) {
  std::vector<Columns> signals;
  for (const std::string& input : options.inputs) {
    CheckOutputPath("-o", options.output, input);
    signals.push_back(ReadColumns(input));
  }
  const Columns& first = signals.front();
  const bool oneAxis = std::all_of(signals.begin(), signals.end(), [&first](const Columns& each) {
    return each.x == first.x && each.xHeader == first.xHeader;
  });
  std::size_t rows = 0;
  OutputFile out(options.output);
  for (std::size_t k = 0; k < signals.size(); ++k) {
    if (k == 0 || !oneAxis) out.Print("{}{}", k > 0 ? "," : "", signals[k].xHeader);
    out.Print(",{}", signals[k].yHeader);
    rows = std::max(rows, signals[k].x.size());
  }
  out.Print("\n");
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t k = 0; k < signals.size(); ++k) {
      const Columns& each = signals[k];
      const bool there = i < each.x.size(), axis = k == 0 || !oneAxis;
      if (axis && k > 0) out.Print(",");
      if (axis && there) out.Print("{}", each.x[i]);
      out.Print(",");
      if (there) out.Print("{}", each.y[i]);
    }
    out.Print("\n");
  }
  out.Commit();
}

}  // namespace

void AddExportCommand(CLI::App& app) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* command = app.add_subcommand("export", "Writes signal files as a table of text");
  command->add_option("files", options->inputs, "signal files")->required();
  command->add_option("-o,--output", options->output, "CSV file; - is standard output")
      ->required()
      ->type_name("FILE.csv");
  command->callback([options] { RunExport(*options); });
}

}  // namespace umlauf::tool
