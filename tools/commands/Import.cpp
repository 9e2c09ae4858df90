#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/LibraryNotes.h"
#include "tools/commands/Commands.h"
#include "tools/input/SignalFile.h"
#include "tools/options/Lists.h"
#include "tools/output/Console.h"
#include "tools/output/OutputFile.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf_io/CsvReader.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

enum class Kind { automatic, curve, pairs, array };

struct ImportOptions {
  std::string input, output;
  std::string x = "1", y = "2";
  std::optional<std::string> name, xUnit, yUnit, arrayUnit;
  Kind kind = Kind::automatic;
};

/// A column of the table: "speed [rpm]" in its header is a name with a unit.
struct Column {
  std::size_t index = 0;
  std::string name, unit;
  std::vector<double> values;  ///< as written: single precision would move the ends of an axis
};

/// "speed" of "speed [rpm]".
std::string WithoutUnit(const std::string& cell) {
  return cell.ends_with(']') ? std::string(io::Trimmed(std::string_view(cell).substr(0, cell.rfind('['))))
                             : cell;
}

Column FindColumn(const CCsvReader& reader, const std::string& wanted, const ImportOptions& options) {
  Column column;
  const std::vector<std::string>& header = reader.Header();
  auto named = std::find(header.begin(), header.end(), wanted);
  if (named == header.end()) {
    named = std::find_if(header.begin(), header.end(),
                         [&](const std::string& cell) { return WithoutUnit(cell) == wanted; });
  }
  const auto number = io::ParseCount(wanted);
  if (named != header.end()) {
    column.index = static_cast<std::size_t>(named - header.begin());
  } else if (number && *number >= 1 && *number <= reader.Columns()) {
    column.index = *number - 1;
  } else {
    Fail("{} has no column {}; give --x and --column from 1 to {}{}", options.input, wanted, reader.Columns(),
         header.empty() ? "" : ", or a name from its header");
  }
  if (column.index >= header.size()) return column;
  column.name = WithoutUnit(header[column.index]);
  column.unit = reader.Unit(column.index);
  return column;
}

/// Rows whose two cells are both empty belong to longer signals beside this one.
void ReadValues(CCsvReader& reader, Column& x, Column& y, const std::string& path) {
  while (reader.NextRow()) {
    if (reader.Text(x.index).empty() && reader.Text(y.index).empty()) continue;
    const auto xValue = reader.Number(x.index), yValue = reader.Number(y.index);
    if (!xValue || !yValue) break;
    x.values.push_back(*xValue);
    y.values.push_back(*yValue);
  }
  if (reader.Failure()) Fail("{}", reader.Failure().text.ToUtf8());
  if (x.values.empty()) Fail("cannot import {}: it holds no rows of numbers", path);
}

/// Whether the points lie at even distances, as far as single precision tells.
bool IsEven(const std::vector<double>& x) {
  if (x.size() < 2) return false;
  const double first = x.front(), last = x.back();
  const double step = (last - first) / static_cast<double>(x.size() - 1);
  const double tolerance = 0x1p-22 * std::max(std::fabs(first), std::fabs(last)) + 1e-6 * std::fabs(step);
  if (!(step > tolerance)) return false;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (!(std::fabs(x[i] - first - step * static_cast<double>(i)) <= tolerance)) return false;
  }
  return true;
}

std::unique_ptr<CSignal> MakeCurve(const Column& x, const Column& y) {
  const std::size_t n = y.values.size();
  auto curve = std::make_unique<CSigCurve>(n);
  if (curve->DLen() != n) Fail("there is no memory for {} samples", n);
  std::transform(y.values.begin(), y.values.end(), curve->FData(),
                 [](double value) { return static_cast<float>(value); });
  const double first = x.values.front();
  const double step = n > 1 ? (x.values.back() - first) / static_cast<double>(n - 1) : 1;
  curve->SetXMinMax(static_cast<float>(first), static_cast<float>(first + step * static_cast<double>(n)));
  curve->SetFileCompression(false);
  return curve;
}

std::unique_ptr<CSignal> MakePairs(const Column& x, const Column& y) {
  auto pairs = std::make_unique<CSigPairs>();
  for (std::size_t i = 0; i < x.values.size(); ++i) {
    if (!pairs->NeuesPaar(static_cast<float>(x.values[i]), static_cast<float>(y.values[i])))
      Fail("there is no memory for {} points", x.values.size());
  }
  return pairs;
}

/// A curve of an array: its column, and its position in the header ("noise at 0.5 s [Pa]").
struct ArrayColumn {
  Column column;
  float position = 0;
  std::string unit = {};
};

std::vector<ArrayColumn> FindArrayColumns(const CCsvReader& reader, std::size_t x,
                                          const ImportOptions& options) {
  std::vector<ArrayColumn> columns;
  for (std::size_t i = 0; i < reader.Columns(); ++i) {
    if (i == x) continue;
    ArrayColumn each{FindColumn(reader, fmt::format("{}", i + 1), options)};
    std::string& name = each.column.name;
    const std::size_t at = name.rfind(" at ");
    const std::string place = at == std::string::npos ? "" : name.substr(at + 4);
    const std::size_t blank = std::min(place.find(' '), place.size());
    const auto position = io::ParseNumber(place.substr(0, blank));
    if (!position) {
      Fail("column {} of {} tells no position; name it as \"noise at 0.5 s [Pa]\"", i + 1, options.input);
    }
    each.position = static_cast<float>(*position);
    if (blank < place.size()) each.unit = place.substr(blank + 1);
    name.resize(at);
    columns.push_back(std::move(each));
  }
  if (columns.empty()) Fail("{} has one column; a curve array has some beside its x", options.input);
  return columns;
}

/// Empty cells lie outside a curve's span.
void ReadArrayValues(CCsvReader& reader, Column& x, std::vector<ArrayColumn>& columns,
                     const std::string& path) {
  constexpr double none = std::numeric_limits<double>::quiet_NaN();
  while (reader.NextRow()) {
    const auto place = reader.Number(x.index);
    if (!place) break;
    x.values.push_back(*place);
    for (ArrayColumn& each : columns) {
      const bool empty = reader.Text(each.column.index).empty();
      each.column.values.push_back(empty ? none : reader.Number(each.column.index).value_or(none));
    }
  }
  if (reader.Failure()) Fail("{}", reader.Failure().text.ToUtf8());
  if (!IsEven(x.values)) Fail("the x values of {} are not evenly spaced; curves need that", path);
}

std::unique_ptr<CSignal> ReadArray(CCsvReader& reader, Column& x, Column& y, std::string& arrayUnit,
                                   const ImportOptions& options) {
  std::vector<ArrayColumn> columns = FindArrayColumns(reader, x.index, options);
  ReadArrayValues(reader, x, columns, options.input);
  y.name = columns.front().column.name;
  y.unit = columns.front().column.unit;
  arrayUnit = columns.front().unit;
  auto array = std::make_unique<CSigCurveArray>();
  for (const ArrayColumn& each : columns) {
    const auto curve = MakeCurve(x, each.column);
    auto extended = std::make_unique<CSigCurveExt>();
    *extended = dynamic_cast<const CSigCurve&>(*curve);
    extended->Date(each.position);
    const auto isThere = [](double value) { return !std::isnan(value); };
    const auto& values = each.column.values;
    const auto first = std::find_if(values.begin(), values.end(), isThere);
    const auto last = std::find_if(values.rbegin(), values.rend(), isThere);
    first == values.end() ? extended->Invalidate()
                          : extended->SetVIMinMax(first - values.begin(), last.base() - values.begin() - 1);
    if (array->Insert(std::move(extended)) == CSigCurveArray::None) {
      Fail("there is no memory for {} curves, or one of them has no position", columns.size());
    }
  }
  return array;
}

/// Sets the units, the program's before those of the table; tells which are not known.
void SetUnits(CSignal& signal, const Column& x, const Column& y, const std::string& arrayUnit,
              const ImportOptions& options) {
  const LibraryNotes notes;
  const CString xUnit = CString::FromUtf8(options.xUnit.value_or(x.unit));
  const CString yUnit = CString::FromUtf8(options.yUnit.value_or(y.unit));
  signal.SetXUnit(xUnit);
  signal.SetYUnit(yUnit);
  if (auto* array = dynamic_cast<CSigCurveArray*>(&signal)) {
    array->SetArrayUnit(CMeasuringUnit(CString::FromUtf8(options.arrayUnit.value_or(arrayUnit))));
    for (const auto& curve : *array) {
      curve->SetXUnit(array->XUnit());
      curve->SetYUnit(array->YUnit());
    }
  }
  if (!notes.empty()) PrintNote("{}; the signal has no such unit, give --x-unit or --y-unit", notes.text());
}

/// What is made of a column, or of all for a curve array; `taken` are the files that were.
void ImportColumn(const ImportOptions& options, std::vector<std::string>& taken) {
  CCsvReader reader;
  if (!reader.Open(options.input)) Fail("{}", reader.Failure().text.ToUtf8());
  Column x = FindColumn(reader, options.x, options), y;
  std::string arrayUnit;
  std::unique_ptr<CSignal> signal;
  if (options.kind == Kind::array) {
    signal = ReadArray(reader, x, y, arrayUnit, options);
  } else {
    y = FindColumn(reader, options.y, options);
    ReadValues(reader, x, y, options.input);
    const bool even = IsEven(x.values);
    if (options.kind == Kind::curve && !even) {
      Fail("the x values of {} are not evenly spaced; leave out --as curve to get points", options.input);
    }
    signal = options.kind == Kind::pairs || !even ? MakePairs(x, y) : MakeCurve(x, y);
  }
  const std::string name = options.name.value_or(y.name), column = std::to_string(y.index + 1);
  const std::string output =
      Replaced(Replaced(options.output, "{column}", column), "{name}", name.empty() ? column : name);
  CheckOutputPath("-o", output, options.input);
  if (std::find(taken.begin(), taken.end(), output) != taken.end()) {
    FailUsage("-o {} would be written twice; put {{column}} into it", output);
  }
  taken.push_back(output);
  signal->SetName(CString::FromUtf8(name));
  SetUnits(*signal, x, y, arrayUnit, options);
  OutputFile out(output);
  WriteSignalFile(*signal, out);
  out.Commit();
}

void RunImport(ImportOptions options) {
  if (options.output == "-") FailUsage("-o writes a binary file; name one");
  if (options.arrayUnit && options.kind != Kind::array) FailUsage("--array-unit is for --as array");
  const std::vector<std::string> columns = Listed(options.y), xs = Listed(options.x);
  if (xs.size() != 1 && xs.size() != columns.size()) {
    FailUsage("--x {} and --column {} do not go together; give one x, or one for each", options.x, options.y);
  }
  if (columns.size() > 1 && options.input == "-") {
    FailUsage("standard input is read once; give one --column, or a file");
  }
  const bool named = options.output.find("{column}") != std::string::npos ||
                     options.output.find("{name}") != std::string::npos;
  if (columns.size() > 1 && !named) FailUsage("each signal is a file; put {{column}} or {{name}} into -o");
  std::vector<std::string> taken;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    options.y = columns[i];
    options.x = xs.size() > 1 ? xs[i] : xs.front();
    ImportColumn(options, taken);
  }
}

}  // namespace

void AddImportCommand(CLI::App& app) {
  auto options = std::make_shared<ImportOptions>();
  CLI::App* command = app.add_subcommand("import", "Makes signal files of columns of a table");
  command->add_option("table", options->input, "CSV file; - is standard input")->required();
  command
      ->add_option("-o,--output", options->output, "signal file to write; {column} and {name} are replaced")
      ->required()
      ->type_name("FILE");
  command->add_option("--column", options->y,
                      "values: number from 1, or name in the header; several with commas (2)");
  command->add_option("--x", options->x, "where they lie, likewise; one for all, or one for each (1)");
  command->add_option("--name", options->name, "name of the signal (that of the column)");
  command->add_option("--x-unit", options->xUnit, "unit of x (that in the header: \"time [s]\")");
  command->add_option("--y-unit", options->yUnit, "unit of the values, likewise");
  command->add_option("--array-unit", options->arrayUnit,
                      "unit of the positions of an array's curves, likewise");
  command
      ->add_option("--as", options->kind,
                   "curve, pairs or array, of all columns (a curve where x is evenly spaced)")
      ->transform(
          OneOf(Choices<Kind>{{"curve", Kind::curve}, {"pairs", Kind::pairs}, {"array", Kind::array}}))
      ->type_name("KIND");
  command->callback([options] { RunImport(*options); });
}

}  // namespace umlauf::tool
