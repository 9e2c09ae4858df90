#include <memory>
#include <string>

#include "tools/Commands.h"
#include "tools/Error.h"
#include "tools/Plot.h"
#include "tools/SignalFile.h"
#include "umlauf/signal/SigCurve.h"

namespace umlauf::tool {
namespace {

struct PlotOptions {
  std::string input, output;
};

std::string AxisLabel(const char* quantity, const CMeasuringUnit& unit) {
  return unit.empty() ? quantity : unit.prefixunit(false).ToUtf8();
}

void RunPlot(const PlotOptions& options) {
  CheckPlotName("-o", options.output);
  CheckOutputPath("-o", options.output, options.input);
  const std::unique_ptr<CSignal> signal = ReadSignalFile(options.input);
  PlotTrace trace;
  if (const auto* curve = dynamic_cast<const CSigCurve*>(signal.get())) {
    const double step = static_cast<double>(curve->XDelta()), left = static_cast<double>(curve->XMin());
    for (std::size_t i = 0; i < curve->DLen(); ++i) {
      trace.Add(left + step * static_cast<double>(i), static_cast<double>(curve->FData()[i]));
    }
  }
  if (trace.empty()) Fail("cannot draw {}: it holds no samples", options.input);
  const std::string name = CString(signal->Name()).ToUtf8();
  const Plot plot{
      name.empty() ? std::filesystem::path(options.input).filename().string() : name,
      AxisLabel("x", signal->XUnit()),
      {{AxisLabel("y", signal->YUnit()), {{"", PlotSeries::Look::line, "#1f5fa8", trace.Points()}}}}};
  OutputFile out(options.output);
  DrawPlot(plot, out);
  out.Commit();
}

}  // namespace

void AddPlotCommand(CLI::App& app) {
  auto options = std::make_shared<PlotOptions>();
  CLI::App* command = app.add_subcommand("plot", "Draws a signal file");
  command->add_option("file", options->input, "signal file, as speed --curve writes it")->required();
  command->add_option("-o,--output", options->output, "picture")->required()->type_name("FILE.svg|.png");
  command->callback([options] { RunPlot(*options); });
}

}  // namespace umlauf::tool
