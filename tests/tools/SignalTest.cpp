#include "support/Test.h"
#include "tools/Tool.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/recording/SignalFile.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

using Points = std::vector<std::pair<float, float>>;

class SignalTool : public Tool {
 protected:
  void WriteSignal(const std::string& name, const CSignal& signal) const {
    CMemFile bytes;
    ASSERT_TRUE(CSignalFile().Write(signal, bytes));
    Write(name, {reinterpret_cast<const char*>(bytes.Bytes().data()), bytes.Bytes().size()});
  }
  void WritePairs(const std::string& name, const Points& points, const wchar_t* xUnit, const wchar_t* yUnit,
                  std::int16_t xExponent = 0) const {
    CSigPairs pairs;
    for (const auto& point : points) pairs.NeuesPaar(point.first, point.second);
    CMeasuringUnit x{CString(xUnit)};
    x.exponent(xExponent);
    pairs.SetXUnit(x);
    pairs.SetYUnit(CString(yUnit));
    WriteSignal(name, pairs);
  }
  std::unique_ptr<CSigPairs> ReadPairs(const std::string& name) const {
    const std::string text = Text(name);
    CMemFile bytes(std::as_bytes(std::span(text)));
    std::unique_ptr<CSignal> signal = CSignalFile().Read(bytes);
    EXPECT_NE(signal, nullptr) << name;
    return std::unique_ptr<CSigPairs>(dynamic_cast<CSigPairs*>(signal.release()));
  }
};

TEST_F(SignalTool, PairsAreCombinedAndEdited) {
  WritePairs("a", {{0, 1}, {1, 2}, {2, 3}}, L"s", L"rpm");
  WritePairs("b", {{2, 30}, {0, 10}}, L"s", L"rpm");  // out of order
  WritePairs("later", {{1, 20}, {3, 40}}, L"s", L"rpm");
  WritePairs("turns", {{0, 1}, {2, 1}}, L"s", L"Hz");
  WritePairs("thousands", {{0, 10}, {0.002f, 10}}, L"s", L"rpm", 3);
  CSigCurve curve(4);
  std::fill_n(curve.FData(), 4, 5.0f);
  curve.SetXMinMax(0, 4);
  WriteSignal("curve", curve);
  const Cases<const char*, Points, const char*> cases = {
      {"add a b", {{0, 11}, {1, 22}, {2, 33}}, "rpm"},
      {"subtract a b", {{0, -9}, {1, -18}, {2, -27}}, "rpm"},
      {"multiply a b", {{0, 10}, {1, 40}, {2, 90}}, "-"},
      {"divide b a", {{0, 10}, {1, 10}, {2, 10}}, "-"},
      {"union a later", {{0, 1}, {1, 2}, {2, 3}, {3, 40}}, "rpm"},
      {"intersect a later", {{1, 2}, {2, 3}}, "rpm"},
      {"min a b", {{0, 1}, {1, 2}, {2, 3}}, "rpm"},
      {"max a later", {{0, 1}, {1, 20}, {2, 30}}, "rpm"},
      {"add a turns", {{0, 61}, {1, 62}, {2, 63}}, "rpm"},
      {"add a thousands", {{0, 11}, {1, 12}, {2, 13}}, "rpm"},
      {"add a curve", {{0, 6}, {1, 7}, {2, 8}}, "rpm"},
      {"add curve curve", {{0, 10}, {1, 10}, {2, 10}, {3, 10}}, "-"},
      {"sort b", {{0, 10}, {2, 30}}, "rpm"},
      {"smooth a --width 1.5", {{0, 1.5}, {1, 2}, {2, 2.5}}, "rpm"},
      {"thin a --divisor 0.5", {{0, 1}, {2, 3}}, "rpm"},
      {"cut a --from 0.5", {{0, 1}, {1, 2}, {2, 3}}, "rpm"},
      {"cut a --from 1.5", {{1, 2}, {2, 3}}, "rpm"},
      {"subsample curve --factor 2", {{0, 5}, {2, 5}, {3, 5}}, "-"},
  };
  for (const auto& [arguments, points, unit] : cases) {
    Good(std::string("pairs ") + arguments + " -o out");
    const std::unique_ptr<CSigPairs> read = ReadPairs("out");
    ASSERT_NE(read, nullptr) << arguments;
    const CSigPairs& out = *read;
    ASSERT_EQ(out.NPaare(), points.size()) << arguments;
    for (std::size_t i = 0; i < out.NPaare(); ++i) {
      EXPECT_FLOAT_EQ(out.Punkt(i), points[i].first) << arguments << " " << i;
      EXPECT_FLOAT_EQ(out.Wert(i), points[i].second) << arguments << " " << i;
    }
    EXPECT_EQ(out.YUnit().prefixunit(false).ToUtf8(), unit) << arguments;
  }
}

TEST_F(SignalTool, EverySignalTypeIsToldAndDrawn) {
  CSigCurveExt extended(10);
  extended.SetXMinMax(0, 10);
  extended.SetVIMinMax(2, 5);
  extended.Date() = 7.5f;
  extended.SetYUnit(CString(L"Nm"));
  WriteSignal("extended", extended);
  WritePairs("pairs", {{3, 1}, {1, 2}, {0, 4}}, L"s", L"rpm");
  WritePairs("volts", {{0, 1}, {5, 2}}, L"s", L"V");
  WritePairs("empty", {}, L"s", L"rpm");
  const Cases<const char*, const char*> cases = {
      {"extended", "extended"},          {"extended", "(1021)"},         {"extended", "(samples 2 ... 5)"},
      {"extended", "date        7.5\n"}, {"pairs", "point pairs (109)"}, {"pairs", "order       descending"},
      {"pairs", "least step  1\n"},      {"pairs", "samples     3\n"},
  };
  for (const auto& [file, line] : cases) {
    const std::string info = Good(std::string("info ") + file);
    EXPECT_THAT(info, HasSubstr(line));
  }
  Good("simulate run.wav --profile 0:600,0.2:600 --amplitude 7");
  Good("plot pairs run.wav -o over.svg");
  for (const char* label : {">speed in rpm<", ">pairs<", ">run.wav (right)<"})
    EXPECT_THAT(Text("over.svg"), HasSubstr(label));
  Bad("plot pairs volts run.wav -o new.svg", 1, "two y units");
  Bad("plot pairs extended -o new.svg", 1, "one x unit");
  Bad("plot empty -o new.svg", 1, "no samples");
  Bad("plot over.svg -o over.svg", 2, "overwrite");
  Bad("pairs add pairs volts -o new", 1, "different things");
  Bad("pairs union empty pairs -o new", 1, "no points");
  Bad("pairs cut pairs -o new", 2, "--from");
  Bad("pairs cut pairs --from 3 -o new", 1, "no point");
  Bad("pairs smooth pairs -o new", 2, "--width");
  Bad("pairs sort run.wav -o new", 1, "no signal file");
}

TEST_F(SignalTool, TablesMakeTheSameSignalsAgain) {
  CSigCurve curve(5);
  for (int i = 0; i < 5; ++i) curve.FData()[i] = 0.1f * static_cast<float>(i * i);
  curve.SetXMinMax(0.3f, 0.8f);
  curve.SetName(L"torque, \"left\"");
  curve.SetXUnit(CString(L"s"));
  curve.SetYUnit(CString(L"Nm"));
  curve.SetFileCompression(false);
  WriteSignal("curve", curve);
  WritePairs("pairs", {{0.25f, 1e-7f}, {3, 2}, {4, -5}}, L"s", L"rpm");
  EXPECT_TRUE(Good("export curve pairs -o -")
                  .starts_with("\"x [s]\",\"torque   left  [Nm]\",\"x [s]\",\"pairs "
                               "[rpm]\"\n0.3,0,0.25,1e-07\n0.4,0.1,3,2\n"));
  Good("export curve pairs -o both.csv");
  Good("import both.csv -o points --x 3 --column 4");
  const std::unique_ptr<CSigPairs> read = ReadPairs("points");
  ASSERT_NE(read, nullptr);
  const CSigPairs& points = *read;
  ASSERT_EQ(points.NPaare(), 3u);
  EXPECT_ALL(points.Punkt(0) == 0.25f, points.Wert(0) == 1e-7f,
             points.YUnit().prefixunit(false).ToUtf8() == "rpm");
  Good("import both.csv -o again --name 'torque, \"left\"'");
  EXPECT_EQ(Text("again"), Text("curve"));
  Good("export curve again -o shared.csv");
  EXPECT_TRUE(
      Text("shared.csv").starts_with("\"x [s]\",\"torque   left  [Nm]\",\"torque   left  [Nm]\"\n0.3,0,0\n"));
  Bad("import both.csv -o new --x 3 --column 4 --as curve", 1, "evenly");
}

TEST_F(SignalTool, SeveralColumnsMakeSeveralSignals) {
  Write("two.csv", "t [s],a [V],u [s],b\n0,1,0,5\n1,2,3,6\n2,4,4,7\n");
  Good("import two.csv -o '{name}.usig' --column 2,4 --x 1,3");
  EXPECT_NE(Good("info a.usig").find("equidistant curve"), std::string::npos);
  EXPECT_NE(Good("info b.usig").find("point pairs"), std::string::npos);
  Good("import two.csv -o 'c{column}.usig' --column a,b");
  EXPECT_EQ(Good("export c2.usig -o -"), Good("export a.usig -o -"));
  Bad("import two.csv -o c.usig --column 2,4", 2, "put {column} or {name} into -o");
  Bad("import two.csv -o '{name}.usig' --column 2,4 --x 1,2,3", 2, "one for each");
}

TEST_F(SignalTool, SettingsAreKeptInTheDatabase) {
  const std::string file = " --file s.db ";
  Bad("settings list" + file, 1, "no settings");
  Good("settings set" + file + "plot/colours 1 -2 3");
  Good("settings set" + file + "plot/colours 9 --index 4");
  Good("settings set" + file + "speed 2147483647");
  EXPECT_EQ(Good("settings list" + file), "plot/colours  0=1 1=-2 2=3 4=9\nspeed  0=2147483647\n");
  EXPECT_EQ(Good("settings list" + file + "sp"), "speed  0=2147483647\n");
  EXPECT_EQ(Good("settings get" + file + "plot/colours --index 1"), "-2\n");
  EXPECT_EQ(Good("settings get" + file + "plot/colours --json"), "{\"0\":1,\"1\":-2,\"2\":3,\"4\":9}\n");
  Bad("settings get" + file + "plot/colours --index 3", 1, "no value 3");
  Bad("settings set" + file + "speed 2147483648", 2, "2147483648");
  Bad("settings set" + file + "speed", 2, "values");
  Bad("settings set" + file + "speed 1 2 --index 2147483647", 2, "beyond the last index");
  Write("empty.db", "");
  EXPECT_EQ(Good("settings list --file empty.db"), "");
  Good("settings set a 010 -08 --index 03 --file Prüfstand.db");
  EXPECT_EQ(Good("settings list --file Prüfstand.db"), "a  3=10 4=-8\n");
  EXPECT_TRUE(Files().contains("Prüfstand.db"));
  Bad("settings set" + file + "a 0x10", 2, "0x10 is no whole number from -2147483648 to 2147483647");
  Bad("settings list --file ''", 2, "the name is empty");
  Good("settings remove" + file + "plot/colours");
  Bad("settings get" + file + "plot/colours", 1, "no entry");
  Write("bad.db", "this is no database, but some text that is long enough to be looked at as one");
  Bad("settings list --file bad.db", 1, "damaged");
  Bad("settings set --file nowhere/s.db speed 1", 1, "nowhere");
}

TEST_F(SignalTool, NamesOfFilesMayBeAnyBytes) {
  const std::string file = " --file \"$(printf '\\377.db')\"";
  Good("settings set a 1" + file);
  EXPECT_EQ(Good("settings list" + file), "a  0=1\n");
  EXPECT_TRUE(Files().contains("\xFF.db"));
  Bad("settings set \"$(printf '\\377')\" 1" + file, 2, "no UTF-8");
}

}  // namespace
