#include "tools/output/Plot.h"

#include <algorithm>
#include <string_view>

#include "tools/Error.h"
#include "tools/System.h"
#include "tools/output/PictureCheck.h"
#include "tools/plot/LinePlot.h"
#include "tools/plot/MapPlot.h"
#include "tools/plot/Raster.h"

namespace umlauf::tool {
namespace {

bool IsSvg(const OutputFile& out) { return out.target().extension() == ".svg"; }

void RunGnuplot(std::string_view script, const OutputFile& out) {
  ProgramPipe gnuplot({"gnuplot"});
  if (!gnuplot.Started()) Fail("cannot draw {}: gnuplot is not installed; install it", out.target().string());
  gnuplot.Write(script);
  if (const int code = gnuplot.Finish(); code != 0) {
    std::string reason = gnuplot.Messages();
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    Fail("cannot draw {}: gnuplot ended with code {}: {}", out.target().string(), code,
         reason.substr(0, 300));
  }
  // gnuplot says nothing when its output is cut.
  if (std::filesystem::is_regular_file(out.temporary()) && !IsWholePicture(out.temporary())) {
    Fail("cannot write {}: the picture is not whole; make room on the disk", out.target().string());
  }
}

}  // namespace

void CheckPlotName(const std::string& option, const std::filesystem::path& target) {
  const auto ending = target.extension();
  if (ending != ".svg" && ending != ".png") {
    FailUsage("{} {}: a picture is .svg or .png; choose a name that ends so", option, target.string());
  }
}

void DrawPlot(const Plot& plot, OutputFile& out) {
  RunGnuplot(LinePlotScript(plot, IsSvg(out), out.temporary().string()), out);
}

void DrawPlot(const PlotMap& map, OutputFile& out) {
  if (!IsValid(map)) Fail("cannot draw {}: there are no levels", out.target().string());
  RunGnuplot(MapPlotScript(map, IsSvg(out), out.temporary().string()), out);
}

}  // namespace umlauf::tool
