#include <functional>

#include "support/Test.h"
#include "tools/Tool.h"

namespace {

using RecordingTool = Tool;

std::string Table(const std::vector<float>& samples, const std::string& header, const std::string& separator,
                  const std::string& junk, int decimals) {
  std::ostringstream text;
  text.precision(9);
  text << header;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    char time[40];
    std::snprintf(time, sizeof time, "%.*f", decimals, 2.5 + static_cast<double>(i) / 8000);
    text << time << separator << junk << samples[i] << "\r\n";
  }
  return text.str();
}

TEST_F(RecordingTool, EveryFormatGivesTheSamePulses) {
  Good("simulate run.wav --profile 0:600,0.5:900 --rate 8000 --noise 0");
  const std::vector<float> samples = WavSamples("run.wav");
  ASSERT_EQ(samples.size(), 4000u);
  const std::string options = " --pulses-per-rev 60 --gap auto --csv -";
  const auto truth = Rows(Good("speed run.wav" + options));
  ASSERT_GT(truth.size(), 300u);

  // 6 decimals cannot tell 125 µs exactly from the step before, but well enough.
  Write("comma.csv", Table(samples, "", ",", "", 6));
  Write("header.csv", Table(samples, "\xEF\xBB\xBF# made\n\nt;\"other\";\"tacho signal\"\n", ";", "7;", 7));
  Write("tab.txt", Table(samples, "time\ta\tb\n", "\t", "x\t", 7));
  Write("blank.dat", Table(samples, "", "   ", "", 5));
  const auto convert = [&](auto type, double factor, std::size_t channels, std::size_t channel) {
    std::vector<decltype(type)> raw(samples.size() * channels, decltype(type){1});
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const double offset = std::is_unsigned_v<decltype(type)> ? 2 * factor : 0;
      raw[i * channels + channel] =
          static_cast<decltype(type)>(std::round(samples[i] * factor * 1e6) / 1e6 + offset);
    }
    return raw;
  };
  WriteRaw("one.f32", samples);
  WriteRaw("two.f32", convert(float{}, 1, 2, 1));
  WriteRaw("three.i16", convert(std::int16_t{}, 30000, 3, 2));
  WriteRaw("one.i32", convert(std::int32_t{}, 1e6, 1, 0));
  WriteRaw("one.u32", convert(std::uint32_t{}, 1e6, 1, 0));

  const Cases<const char*, double> cases = {
      {"comma.csv", 2.5},
      {"header.csv --column 'tacho signal'", 2.5},
      {"header.csv --column 3", 2.5},
      {"tab.txt --column b", 2.5},
      {"blank.dat", 2.5},
      {"blank.dat --rate 8000", 0},
      {"one.f32 --raw f32 --rate 8000", 0},
      {"two.f32 --raw f32 --rate 8000 --channels 2 --channel 2", 0},
      {"three.i16 --raw i16 --rate 8000 --channels 3 --channel 3", 0},
      {"one.i32 --raw i32 --rate 8000", 0},
      {"one.u32 --raw u32 --rate 8000", 0},
  };
  for (const auto& [recording, start] : cases) {
    const auto rows = Rows(Good(std::string("speed ") + recording + options));
    ASSERT_EQ(rows.size(), truth.size()) << recording;
    for (std::size_t i = 1; i < rows.size(); ++i) {
      ASSERT_NEAR(rows[i].time - start, truth[i].time, 1e-6) << recording;
      ASSERT_NEAR(rows[i].rpm, truth[i].rpm, 2e-3 * truth[i].rpm) << recording;
    }
  }
}

TEST_F(RecordingTool, BadTablesAreToldByTheirLine) {
  const Cases<const char*, const char*> cases = {
      {"0,1\n0.10,2\n0.30,3\n", "not equidistant"},
      {"0,1\n0.1,2\n0.2,3\n0.2,4\n", "not equidistant"},
      {"0.00,1\n0.00,2\n0.01,3\n0.01,4\n", "not equidistant"},
      {"0,1\n", "at least two rows"},
      {"t,x\n", "at least two rows"},
      {"\n\n", "no rows"},
      {"0\n2\n1\n", "must rise"},
      {"t,x\n0,1\n1,zwei\n", "line 3"},
      {"t,x\n0,1\n1\n", "line 3"},
      {"0.0;1,5\n1.0;2,5\n", "decimal point"},
      {"0,0;1.5\n1,0;2.5\n", "decimal comma"},
  };
  for (const auto& [content, message] : cases) {
    Write("bad.csv", content);
    const Result result = Run("speed bad.csv");
    EXPECT_EQ(result.code, 1) << content;
    EXPECT_THAT(result.err, HasSubstr(message));
  }
}

TEST_F(RecordingTool, SimulationIsTheSameForTheSameSeed) {
  const std::string run = "--profile 0:0,0.1:600,0.3:600 --seed ";
  Good("simulate a.wav " + run + "7");
  Good("simulate b.wav " + run + "7 --truth b2.csv");
  Good("simulate c.w64 " + run + "8");
  EXPECT_ALL(Text("a.wav") == Text("b.wav"), Text("a.csv") == Text("b2.csv"),
             Files() == (std::set<std::string>{"a.wav", "a.csv", "b.wav", "b2.csv", "c.w64", "c.csv"}));
  EXPECT_TRUE(Text("a.csv").starts_with("time_s,rpm\n0,0\n0.01,60\n")) << Text("a.csv");
  EXPECT_TRUE(Text("a.csv").ends_with("\n0.3,600\n"));
  // 0.1 s to 600 rpm and 0.2 s of it are 2.5 turns.
  const std::string options = " --upper 0.1 --lower -0.1 --pulses-per-rev 60 --json";
  EXPECT_NEAR(Number(Doubtful("speed a.wav" + options), "pulses"), 2 * 58 + 30, 1);
  EXPECT_NE(Doubtful("speed c.w64" + options), Doubtful("speed a.wav" + options));
}

TEST_F(RecordingTool, PartsPipesAndScalesGiveThePulsesOfTheWhole) {
  Good("simulate run.wav --profile 0:600,1:900 --rate 8000 --noise 0");
  WriteRaw("run.f32", WavSamples("run.wav"));
  const std::string wheel = " --pulses-per-rev 60 --gap auto --upper 0.3 --lower -0.3 --csv - ";
  const std::string raw = " --raw f32 --rate 8000 ", whole = Good("speed run.wav" + wheel);
  const auto rows = Rows(whole);
  ASSERT_GT(rows.size(), 600u);
  EXPECT_EQ(Shell("cat run.f32 | " + Program() + " speed -" + raw + wheel).out, whole);
  EXPECT_EQ(Shell("cat run.wav | " + Program() + " speed -" + wheel).out, whole);
  // Upside down and elsewhere: the same edges, within the rounding of the samples.
  const auto turned =
      Rows(Good("speed run.wav --scale -2 --offset 5 --edges falling --upper 5.6 --lower 4.4 "
                "--csv - --pulses-per-rev 60 --gap auto"));
  ASSERT_EQ(turned.size() + 1, rows.size());  // the recording does not begin above: its first edge is none
  for (std::size_t i = 0; i < turned.size(); ++i) EXPECT_NEAR(turned[i].time, rows[i + 1].time, 1e-6);
  // From the middle on: the same edges at the same times.
  const auto part = Rows(Good("speed run.wav --from 0.5 --to 0.9" + wheel));
  ASSERT_GT(part.size(), 200u);
  for (const Row& row : part) {
    EXPECT_ALL(row.time >= 0.5, row.time <= 0.9);
    const auto same = std::find_if(
        rows.begin(), rows.end(), [&row](const Row& each) { return std::fabs(each.time - row.time) < 1e-7; });
    EXPECT_NE(same, rows.end()) << row.time;
  }
}

TEST_F(RecordingTool, InfoAndWarningsTellWhatIsThere) {
  Good("simulate run.wav --profile 0:1200,1:1200 --teeth 10 --missing 0 --noise 0");
  const std::string info = Good("info run.wav --scale 3 --unit V");
  EXPECT_THAT(info, HasAll({"32 bit float", "channels    1\n", "50000 samples, 1 s\n", "-3 ... 3 V",
                            "swings      "}));
  EXPECT_NEAR(std::stod(info.substr(info.find("swings") + 12)), 200, 1) << info;
  Write("cut.wav", Text("run.wav").substr(0, 100'001));
  const Result cut = Run("speed cut.wav --json");
  EXPECT_EQ(cut.code, 0);
  EXPECT_THAT(cut.err, HasSubstr("cut.wav holds"));
  EXPECT_THAT(cut.out, HasSubstr("\"short-file\""));
  Write("odd.f32", Text("cut.wav"));
  const Result odd =
      Run("downsample odd.f32 out.csv --raw f32 --input-rate 8000 --ratio 1 --method mean --scale 10 --gain "
          "1e38");
  EXPECT_THAT(odd.err, HasSubstr("1 byte that"));
  EXPECT_THAT(odd.err, HasSubstr("samples are infinite"));
  EXPECT_EQ(Good("downsample run.wav out.wav --rate 44100").find("note"), std::string::npos);
}

}  // namespace
