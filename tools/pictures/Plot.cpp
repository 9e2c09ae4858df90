#include "tools/pictures/Plot.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>

#include "tools/Error.h"
#include "tools/System.h"
#include "tools/plot/Raster.h"
#include "tools/plot/gnuplot/LinePlot.h"
#include "tools/plot/gnuplot/MapPlot.h"

namespace umlauf::tool {
namespace {

bool IsSvg(const OutputFile& out) { return out.target().extension() == ".svg"; }

/// The signature, then chunks (length, name, content, check sum) up to the one named IEND, and nothing
/// behind.
bool IsWholePng(std::ifstream& file, std::uint64_t size) {
  constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";
  std::array<char, 8> head{};
  if (!file.read(head.data(), head.size()) || std::string_view(head.data(), head.size()) != signature)
    return false;
  std::uint64_t at = head.size();
  while (file.seekg(static_cast<std::streamoff>(at)) && file.read(head.data(), head.size())) {
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < 4; ++i) length = length << 8 | static_cast<unsigned char>(head[i]);
    at += 12 + length;
    if (std::memcmp(&head[4], "IEND", 4) == 0) return at == size;
  }
  return false;
}

bool IsWholeSvg(std::ifstream& file, std::uint64_t size) {
  std::string tail(std::min<std::uint64_t>(size, 64), '\0');
  file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
  if (!file.read(tail.data(), static_cast<std::streamsize>(tail.size()))) return false;
  const std::size_t last = tail.find_last_not_of(" \r\n");
  return last != std::string::npos && std::string_view(tail).substr(0, last + 1).ends_with("</svg>");
}

/// Whether a file is a PNG picture with all its chunks or an SVG picture with its end, by the ending of its
/// name. Whoever wrote it may not have noticed that the disk was full.
bool IsWholePicture(const std::filesystem::path& path) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  if (error || !file) return false;
  return path.extension() == ".svg" ? IsWholeSvg(file, size) : IsWholePng(file, size);
}

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

void CheckPlotName(const std::string& option, const FilePath& target) {
  const auto ending = target.extension();
  if (ending != ".svg" && ending != ".png") {
    FailUsage("{} {}: a picture is .svg or .png; choose a name that ends so", option, target.string());
  }
}

std::string CaptionOf(const RecordingWarnings& warnings) {
  std::string text;
  for (const RecordingWarning& each : warnings) text += (text.empty() ? "" : "; ") + each.text.ToUtf8();
  return text;
}

void MarkDoubts(const RecordingWarnings& warnings, Plot& plot) {
  plot.caption = CaptionOf(warnings);
  for (const RecordingWarning& each : warnings) {
    for (const auto& [from, to] : each.places) plot.marked.push_back({from, to});
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
