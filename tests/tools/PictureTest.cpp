#include "Tool.h"
#include "support/Test.h"
#include "tools/plot/gnuplot/MapPlot.h"

using namespace umlauf::tool;

namespace {

using PictureTool = Tool;

/// Two columns of CSV.
std::string Table(int rows, double (*value)(int)) {
  std::string text = "time,v\n";
  for (int i = 0; i < rows; ++i) text += std::to_string(i * 0.01) + "," + std::to_string(value(i)) + "\n";
  return text;
}

int Count(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST_F(PictureTool, SinglePulsesAreMarkedAndCounted) {
  // Edges of 60 per revolution at 10 kHz: a first one alone, then 600 rpm.
  std::vector<float> samples(10000, 0);
  const auto pulse = [&](std::size_t at) { samples[at] = samples[at + 1] = samples[at + 2] = 1; };
  for (const std::size_t at : {100u, 104u, 2000u}) pulse(at);
  for (std::size_t at = 3000; at < 9990; at += 16) pulse(at);
  WriteRaw("run.f32", samples);
  Good("speed run.f32 --raw f32 --rate 10000 --upper 0.6 --lower 0.4 --pulses-per-rev 60 --plot run.svg");
  const std::string svg = Text("run.svg");
  EXPECT_THAT(svg, HasAll({"; 1 value above the scale: 2500<", ">speed in rpm<", ">time in s<", ">600<"}));
  EXPECT_EQ(svg.find(">1500<"), std::string::npos);
}

TEST_F(PictureTool, AnySignalIsVisible) {
  Write("zero.csv", Table(200, [](int) { return 0.0; }));
  Write("holes.csv", Table(200, [](int i) { return i % 50 == 49 ? std::nan("") : i % 7 / 7.0; }));
  Write("offset.csv", Table(200, [](int i) { return 101325 + 0.6 * std::sin(i / 9.0); }));
  Good("plot zero.csv -o zero.svg");
  Good("plot holes.csv -o holes.svg");
  Good("plot offset.csv -o offset.svg --from 0.5 --to 1.51");
  const std::string zero = Text("zero.svg"), offset = Text("offset.svg");
  EXPECT_THAT(zero, HasAll({">0<", ">1.0<", ">-1.0<"}));
  EXPECT_THAT(offset, HasAll({">101324.6<", ">101325.0<", ">0.5<", ">1.5<"}));
  EXPECT_EQ(offset.find(">2.0<"), std::string::npos);
  // Each part of a broken line begins with a move of the pen.
  const std::string holes = Text("holes.svg");
  const std::size_t line = holes.find("rgb( 31,  95, 168)");
  ASSERT_NE(line, std::string::npos);
  EXPECT_EQ(Count(holes.substr(line, holes.find("/>", line) - line), "M"), 4);
  Bad("plot zero.csv --from 7 -o new.svg", 1, "no samples from");
  Bad("plot zero.csv --from 2 --to 1 -o new.svg", 2, "exchange");
}

TEST_F(PictureTool, PictureThatDoesNotFitOntoTheDiskKeepsTheGoodOne) {
  Write("sine.csv", Table(2000, [](int i) { return std::sin(i * i / 999.0); }));
  for (const char* name : {"keep.png", "keep.svg"}) {
    Good(std::string("plot sine.csv -o ") + name);
    const std::string good = Text(name);
    // A limit on the size of files cuts the picture as a full disk does.
    const Result result =
        Shell(std::string("trap '' XFSZ; ulimit -f 16; " + Program() + " plot sine.csv -o ") + name);
    EXPECT_EQ(result.code, 1) << name;
    EXPECT_THAT(result.err, HasSubstr("not whole"));
    EXPECT_EQ(Text(name), good) << name;
  }
  EXPECT_EQ(Files(), (std::set<std::string>{"keep.png", "keep.svg", "sine.csv"}));
}

TEST_F(PictureTool, MapsAreDrawnWithTheirAxesAndLines) {
  PlotMap map;
  map.title = "Orders of 'gearbox'";
  map.xLabel = "speed in rpm";
  map.yLabel = "order";
  map.levelLabel = "level in dB";
  for (int i = 0; i < 300; ++i) map.x.push_back(600 + 10 * i);
  for (int i = 0; i < 200; ++i) map.y.push_back(0.1 * i);
  for (int i = 0; i < 300 * 200; ++i) map.levels.push_back(static_cast<float>(-(i % 97)));
  map.range = {-60, 0};
  PlotSeries line;
  line.title = "order 7.5";
  line.points = {{600, 7.5}, {3590, 7.5}};
  map.lines.push_back(line);
  for (const auto look : {PlotMap::Look::colours, PlotMap::Look::waterfall}) {
    map.look = look;
    const bool colours = look == PlotMap::Look::colours;
    for (const char* name : {"map.svg", "map.png"}) {
      const bool svg = std::string(name) == "map.svg";
      Write("map.gp", MapPlotScript(map, svg, Path(name).string()));
      const Result result = Shell("gnuplot <map.gp");
      EXPECT_ALL(result.code == 0, result.err == "");
      EXPECT_GT(Text(name).size(), 20000u) << name;
    }
    const std::string svg = Text("map.svg");
    EXPECT_THAT(svg,
                HasAll({">Orders of 'gearbox'<", ">speed in rpm<", ">order<", ">level in dB<", ">≤ -60<"}));
    EXPECT_EQ(svg.find(">order 7.5<") != std::string::npos, colours);
    EXPECT_EQ(Count(svg, "data:image/png"), colours ? 1 : 0);
  }
}

}  // namespace
