#include <memory>
#include <string>

#include "tools/SignalFile.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "umlauf/signal/SigCurveExt.h"

namespace umlauf::tool {
namespace {

std::string_view TypeName(LONG tag) {
  switch (tag) {
    case SigIdCurve:
      return "equidistant curve";
    case SigIdCurveExt:
      return "equidistant curve with a valid span";
    case SigIdPairs:
      return "point pairs";
    default:
      return "signal";
  }
}

std::string UnitText(const CMeasuringUnit& unit) { return unit.prefixunit(false).ToUtf8(); }

void Row(std::string_view name, std::string_view value) { Print("{:<12}{}\n", name, value); }

void CurveRows(const CSigCurve& curve) {
  Row("step", fmt::format("{:.6g}", curve.XDelta()));
  Row("compression", curve.FileCompression() ? "8 bits a sample" : "none");
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&curve)) {
    Row("valid", extended->IsValid() ? fmt::format("{:.7g} ... {:.7g} (samples {} ... {})", extended->VMin(),
                                                   extended->VMax(), extended->IMin(), extended->IMax())
                                     : "none");
    Row("date", fmt::format("{:.7g}", extended->Date()));
  }
}

void PairsRows(const CSigPairs& pairs) {
  Row("order", pairs.IstSortiert() ? "ascending" : pairs.IstInversSortiert() ? "descending" : "unsorted");
  Row("least step", fmt::format("{:.6g}", pairs.MinStepSize()));
  Row("parameter", fmt::format("{:.7g}", pairs.Parameter()));
  Row("number", fmt::format("{}", pairs.Nummer()));
}

void RunInfo(const std::string& path) {
  const std::unique_ptr<CSignal> signal = ReadSignalFile(path);
  float xLow = 0, xHigh = 0, yLow = 0, yHigh = 0;
  signal->GetXRange(xLow, xHigh);
  signal->GetYRange(yLow, yHigh);
  Row("file", path);
  Row("type", fmt::format("{} ({})", TypeName(signal->SigId()), signal->SigId()));
  Row("name", CString(signal->Name()).ToUtf8());
  Row("x unit", UnitText(signal->XUnit()));
  Row("y unit", UnitText(signal->YUnit()));
  Row("x range", fmt::format("{:.7g} ... {:.7g}", xLow, xHigh));
  Row("samples", fmt::format("{}", signal->DLen()));
  Row("y range", signal->DLen() > 0 ? fmt::format("{:.7g} ... {:.7g}", yLow, yHigh) : "none");
  if (const auto* curve = dynamic_cast<const CSigCurve*>(signal.get())) CurveRows(*curve);
  if (const auto* pairs = dynamic_cast<const CSigPairs*>(signal.get())) PairsRows(*pairs);
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("info", "Tells what is in a signal file");
  command->add_option("file", *path, "signal file, as speed --curve and --pairs write it")->required();
  command->callback([path] { RunInfo(*path); });
}

}  // namespace umlauf::tool
