#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/SignalFile.h"
#include "tools/output/OutputFile.h"
#include "tools/output/UnitText.h"
#include "umlauf/signal/CurveSpan.h"
#include "umlauf/signal/SigCurveArray.h"

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

std::string NameOf(const CSignal& signal, const std::string& path) {
  const std::string name = CString(signal.Name()).ToUtf8();
  return name.empty() ? FilePath(path).stem().string() : name;
}

Columns TakeColumns(const CSignal& signal, const std::string& path) {
  Columns columns;
  columns.xHeader = HeaderCell("x", signal.XUnit());
  columns.yHeader = HeaderCell(NameOf(signal, path), signal.YUnit());
  if (const auto* curve = dynamic_cast<const CSigCurve*>(&signal)) {
    const CurveSpan span = SpanOf(*curve);
    for (std::uint64_t i = 0; i < span.length; ++i) {
      columns.x.push_back(static_cast<float>(span.X(static_cast<double>(i))));
      columns.y.push_back(span.samples[i]);
    }
  } else if (const auto* pairs = dynamic_cast<const CSigPairs*>(&signal)) {
    for (std::size_t i = 0; i < pairs->NPaare(); ++i) {
      columns.x.push_back(pairs->Punkt(i));
      columns.y.push_back(pairs->Wert(i));
    }
  }
  if (columns.x.empty()) Fail("cannot export {}: it holds no samples", path);
  return columns;
}

/// A column for each curve, over the x axis of all; its header tells the curve's position: "noise at 0.5 s
/// [Pa]". Cells outside a curve's span are empty.
void ExportArray(CSigCurveArray& array, const std::string& path, const ExportOptions& options) {
  if (options.inputs.size() > 1) Fail("{} holds a curve array; export it by itself", path);
  if (array.IsEmpty()) Fail("cannot export {}: it holds no curves", path);
  if (!array.HasCommonAxis() && !array.MakeCommonAxis()) Fail("there is no memory to export {}", path);
  const std::string name = NameOf(array, path);
  const std::string unit =
      array.ArrayUnit().empty() ? "" : " " + array.ArrayUnit().prefixunit(false).ToUtf8();
  std::vector<CurveSpan> spans;
  OutputFile out(options.output);
  out.Print("{}", HeaderCell("x", array.XUnit()));
  for (const auto& curve : array) {
    out.Print(",{}", HeaderCell(fmt::format("{} at {}{}", name, curve->Date(), unit), array.YUnit()));
    spans.push_back(SpanOf(*curve));
  }
  out.Print("\n");
  const CSigCurve& first = array[0];
  const double left = static_cast<double>(first.XMin());
  const double step = (static_cast<double>(first.XMax()) - left) / static_cast<double>(first.DLen());
  for (std::int64_t i = 0; i < static_cast<std::int64_t>(first.DLen()); ++i) {
    out.Print("{}", static_cast<float>(left + step * static_cast<double>(i)));
    for (const CurveSpan& span : spans) {
      const bool there = i >= span.first && i - span.first < static_cast<std::int64_t>(span.length);
      there ? out.Print(",{}", span.samples[i - span.first]) : out.Print(",");
    }
    out.Print("\n");
  }
  out.Commit();
}

void RunExport(const ExportOptions& options) {
  std::vector<Columns> signals;
  for (const std::string& input : options.inputs) {
    CheckOutputPath("-o", options.output, input);
    const std::unique_ptr<CSignal> signal = ReadSignalFile(input);
    if (auto* array = dynamic_cast<CSigCurveArray*>(signal.get())) return ExportArray(*array, input, options);
    signals.push_back(TakeColumns(*signal, input));
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
