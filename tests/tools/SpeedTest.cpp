#include <algorithm>
#include <cmath>

#include "tools/Tool.h"

namespace {

class SpeedTool : public Tool {
 protected:
  /// Recording of a logic level, 10 kHz, with a rising edge at the end of each interval [samples].
  void WriteEdges(const std::string& name, const std::vector<unsigned>& intervals) const {
    std::vector<float> samples;
    for (const unsigned each : intervals) {
      samples.insert(samples.end(), samples.empty() ? 0 : each / 2, 1.0f);
      samples.insert(samples.end(), samples.empty() ? each : each - each / 2, 0.0f);
    }
    samples.push_back(1.0f);
    WriteRaw(name, samples);
  }
};

TEST_F(SpeedTool, FindsTheSimulatedSpeed) {
  const struct {
    const char* simulate;
    const char* speed;
    double pulses;   // edges of the truth
    double percent;  // greatest deviation of a pulse
    double mean;     // rpm
  } cases[] = {
      // 0.5 s of 3000 rpm = 25 revolutions; 60-2 teeth leave 58 edges in each.
      {"--profile 0:3000,0.5:3000", "--pulses-per-rev 60 --gap auto", 25 * 58, 1.5, 3000},
      {"--profile 0:3000,0.5:3000", "--pulses-per-rev 60 --gap 3", 25 * 58, 1.5, 3000},
      {"--profile 0:3000,0.5:3000 --missing 0", "--pulses-per-rev 60", 25 * 60, 1.5, 3000},
      {"--profile 0:3000,0.5:3000 --missing 0", "--pulses-per-rev 120 --edges both", 25 * 120, 12, 3000},
      {"--profile 0:3000,0.5:3000 --missing 0", "--pulses-per-rev 60 --edges falling", 25 * 60, 1.5, 3000},
      {"--profile 0:3000,0.5:3000 --missing 0", "--pulses-per-rev 60 --divider 6", 25 * 10, 0.3, 3000},
      {"--profile 0:3000,0.5:3000 --missing 0", "--pulses-per-rev 60 --min-pulse 40", 25 * 60 / 3, 0.7, 3000},
      {"--profile 0:3000,0.5:3000 --shape ttl --missing 0 --noise 0", "--pulses-per-rev 60 --ttl", 25 * 60, 8,
       3000},
      // Ten teeth a second at the start, three thousand at the end.
      {"--profile 0:10,2:3000 --amplitude-growth 0", "--pulses-per-rev 60 --gap auto", 50 * 58 + 10, 1.5,
       1505},
      {"--profile 0:3000,1:600 --teeth 36 --missing 1", "--pulses-per-rev 36 --gap auto", 30 * 35, 1.5, 1800},
      {"--profile 0:600,4:1500 --teeth 4 --missing 1 --noise 0.03 --amplitude-growth 1",
       "--pulses-per-rev 4 --gap auto", 70 * 3, 4, 1050},
      {"--profile 0:1200,1:1200 --teeth 1 --missing 0 --jitter 0", "", 20, 0.5, 1200},
  };
  for (const auto& c : cases) {
    Good(std::string("simulate run.wav ") + c.simulate);
    const std::string json = Good(std::string("speed run.wav --json --truth run.csv ") + c.speed);
    const std::string about = std::string(c.simulate) + " / " + c.speed + "\n" + json;
    EXPECT_NEAR(Number(json, "pulses"), c.pulses, 1) << about;
    EXPECT_LT(Number(json, "max_deviation_percent"), c.percent) << about;
    EXPECT_LT(Number(json, "mean_deviation_percent"), c.percent / 2) << about;
    EXPECT_NEAR(Number(json, "mean"), c.mean, 0.006 * c.mean) << about;
  }
}

TEST_F(SpeedTool, AutomaticThresholdsFindEveryTooth) {
  // 200 teeth of 20 samples, and what sensors make of them.
  const struct {
    const char* what;
    float (*sample)(unsigned i, float sine);
  } cases[] = {
      {"offset", [](unsigned, float x) { return 10000 + x; }},
      {"spike", [](unsigned i, float x) { return i == 1230 ? 100 : x; }},
      {"infinite", [](unsigned i, float x) { return i % 400 == 10 ? INFINITY : x; }},
      {"not a number", [](unsigned i, float x) { return i % 400 == 10 ? NAN : x; }},
      {"one tooth in 40 much higher", [](unsigned i, float x) { return i / 20 % 40 == 9 ? 4 * x : x; }},
      {"one half-wave in 40 much higher", [](unsigned i, float x) { return i / 10 % 80 == 18 ? 5 * x : x; }},
      {"wheel out of centre",
       [](unsigned i, float x) { return x * (1 + 0.7f * std::sin(0.01f * static_cast<float>(i))); }},
      {"amplitude that goes with speed",
       [](unsigned i, float x) { return x * (0.03f + static_cast<float>(i) / 4000.0f); }},
  };
  for (const auto& c : cases) {
    std::vector<float> samples;
    for (unsigned i = 0; i < 4000; ++i) {
      samples.push_back(c.sample(i, -std::cos(0.31415927f * static_cast<float>(i))));
    }
    WriteRaw("teeth.f32", samples);
    const std::string json = Good("speed teeth.f32 --raw f32 --rate 10000 --json");
    EXPECT_NEAR(Number(json, "pulses"), 200, 1) << c.what << json;
  }
}

TEST_F(SpeedTool, BlocksLeaveNoTrace) {
  Good("simulate run.wav --profile 0:60,1:2400,1.2:2400");
  const std::string common = "speed run.wav --pulses-per-rev 60 --csv - --gap auto --upper 0.3 --lower -0.3 ";
  for (const char* options : {"", "--min-pulse 40", "--spike-filter 0.05,3,2", "--edges falling --ttl"}) {
    const auto whole = Rows(Doubtful(common + options + " --block 1000000"));
    ASSERT_GT(whole.size(), 500u) << options;
    for (const char* block : {"1", "17", "4096"}) {
      const auto rows = Rows(Doubtful(common + options + " --block " + block));
      ASSERT_EQ(rows.size(), whole.size()) << options << block;
      for (std::size_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(rows[i].samples, whole[i].samples) << options << block;
        ASSERT_EQ(rows[i].flags, whole[i].flags) << options << block << " at " << rows[i].time;
        ASSERT_NEAR(rows[i].time, whole[i].time, 1e-8) << options << block;
        if (i == 0) continue;
        ASSERT_NEAR(rows[i].rpm, whole[i].rpm, 1e-5 * whole[i].rpm) << options << block;
      }
    }
  }
}

TEST_F(SpeedTool, CsvTellsEveryPulse) {
  WriteEdges("edges.f32", {50, 100, 200, 100, 100});
  const std::string json =
      Doubtful("speed edges.f32 --raw f32 --rate 10000 --upper 0.6 --lower 0.4 --json --csv p.csv");
  const auto rows = Rows(Text("p.csv"));
  ASSERT_EQ(rows.size(), 5u);
  EXPECT_EQ(rows[0].flags, "rising first");
  EXPECT_TRUE(std::isnan(rows[0].rpm));
  // The level passes 0.6 on its way from sample 49 to 50.
  const double times[] = {49.6, 149.6, 349.6, 449.6, 549.6}, lengths[] = {0, 100, 200, 100, 100};
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_NEAR(rows[i].time, times[i] / 10000, 1e-8);
    if (i == 0) continue;
    EXPECT_NEAR(rows[i].rpm, 60 * 10000 / lengths[i], 1e-3);
    EXPECT_NEAR(rows[i].revolutionTime, lengths[i] / 10000, 1e-8);
    EXPECT_EQ(rows[i].samples, lengths[i]);
  }
  EXPECT_NEAR(Number(json, "min"), 3000, 0.01);
  EXPECT_NEAR(Number(json, "max"), 6000, 0.01);
  EXPECT_NEAR(Number(json, "mean"), 60 * 10000 * 4 / 500.0, 0.01);
  EXPECT_EQ(Number(json, "duration_s"), 0.0551);
}

TEST_F(SpeedTool, JsonKeysAndSettingsTakeTheRunAgain) {
  Good("simulate run.wav --profile 0:600,1:900");
  const std::string json =
      Good("speed run.wav --json --min-pulse 3 --spike-filter 0.5,4,2 --pulses-per-rev 60");
  for (const char* key : {"recording", "thresholds", "settings", "rpm", "revolutions"}) {
    EXPECT_NE(json.find("\n  \"" + std::string(key) + "\": "), std::string::npos) << key << json;
  }
  EXPECT_EQ(json.front(), '{');
  EXPECT_NEAR(Number(json, "upper"), 0.6, 0.2);
  EXPECT_NEAR(Number(json, "lower"), -0.6, 0.2);
  const std::size_t from = json.find("\"settings\": \"") + 13;
  const std::string settings = json.substr(from, json.find('"', from) - from);
  EXPECT_TRUE(settings.ends_with("|1|3|0|0|1|0.500000|4|2|0]")) << settings;
  const std::string again = Good("speed run.wav --json --pulses-per-rev 60 --settings '" + settings + "'");
  EXPECT_EQ(Number(again, "pulses"), Number(json, "pulses"));
  EXPECT_NEAR(Number(again, "mean"), Number(json, "mean"), 1e-3);
}

/// Three channels in one call give what each gives alone; one that is no tacho does not stop the others.
TEST_F(SpeedTool, SeveralChannelsAndRecordingsAreFoundTogether) {
  Good("simulate a.wav --profile 0:600,1:3000 --seed 1");
  Good("simulate b.wav --profile 0:2000,1:1000 --teeth 36 --missing 0 --seed 2");
  const std::vector<float> a = WavSamples("a.wav"), b = WavSamples("b.wav");
  std::vector<float> frames;
  for (std::size_t i = 0; i < a.size(); ++i) frames.insert(frames.end(), {a[i], 0.0f, b[i]});
  WriteRaw("three.f32", frames);
  const std::string raw = "speed three.f32 --raw f32 --rate 50000 --channels 3 --pulses-per-rev 60 ";
  const Result together = Run(raw + "--json --channel all --csv {name}-{channel}.csv");
  EXPECT_EQ(together.code, 1);
  EXPECT_NE(together.err.find("channel 2: no pulses found"), std::string::npos) << together.err;
  EXPECT_NE(together.out.find("\"error\": \"no pulses found"), std::string::npos) << together.out;
  for (const char* channel : {"1", "3"}) {
    Doubtful(raw + "--channel " + channel + " --csv alone.csv");
    EXPECT_EQ(Text(std::string("three-") + channel + ".csv"), Text("alone.csv"));
  }
  const Result files = Run("speed a.wav b.wav --pulses-per-rev 60 --gap auto --csv {name}.out");
  EXPECT_EQ(files.code, 0) << files.err;
  EXPECT_EQ(std::count(files.out.begin(), files.out.end(), '\n'), 3) << files.out;
  EXPECT_FALSE(Text("a.out").empty() || Text("b.out").empty());
  Bad("speed a.wav b.wav --csv out.csv", 2, "put {name} or {channel} into it");
  Bad("speed three.f32 --raw f32 --rate 50000 --channels 3 --channel 1,x", 2, "with commas between them");
}

TEST_F(SpeedTool, TeethAreCountedFromGapToGap) {
  Good("simulate run.wav --teeth 36 --missing 2,1 --profile 0:1200,1:1800");
  const std::string known = Good("speed run.wav --pulses-per-rev 36 --gap auto --json");
  const std::string counted = Good("speed run.wav --pulses-per-rev auto --gap auto --json");
  EXPECT_EQ(Number(counted, "pitches"), 36) << counted;
  for (const char* key : {"mean", "gap_corrected", "last"}) {
    EXPECT_NEAR(Number(counted, key), Number(known, key), 1e-6 * Number(known, key)) << key;
  }
  Good("simulate full.wav --missing 0");
  Bad("speed full.wav --pulses-per-rev auto --gap auto", 1, "give --pulses-per-rev N");
  Bad("speed run.wav --pulses-per-rev auto", 2, "give --gap auto");
}

/// The edges of a recording as lists give its speed, gap and all.
TEST_F(SpeedTool, ListsOfEdgesGiveTheSpeedOfTheirRecording) {
  Good("simulate run.wav --shape ttl --noise 0 --profile 0:600,2:3000");
  const std::string samples = Good("speed run.wav --pulses-per-rev 60 --gap auto --json --csv run.pulses");
  std::string edges = "# counter card\n", levels = "time;Level [V]\n0;0\n";
  for (const Row& row : Rows(Text("run.pulses"))) {
    edges += std::to_string(row.time) + "\n";
    levels += std::to_string(row.time) + ";5\n" + std::to_string(row.time + 5e-5) + ";0\n";
  }
  Write("edges.csv", edges);
  Write("levels.csv", levels);
  for (const std::string name : {"edges.csv", "levels.csv", "edges.csv --list edges"}) {
    const std::string json = Good("speed " + name + " --pulses-per-rev 60 --gap auto --json");
    EXPECT_EQ(Number(json, "pulses"), Number(samples, "pulses") - 1) << json;
    EXPECT_EQ(Number(json, "gap_corrected"), Number(samples, "gap_corrected")) << json;
    EXPECT_NEAR(Number(json, "mean"), Number(samples, "mean"), 1e-3 * Number(samples, "mean")) << json;
  }
  EXPECT_NE(Good("info levels.csv").find("list of level changes"), std::string::npos);
  Good("plot edges.csv -o edges.svg");
  Bad("speed edges.csv --upper 1", 2, "--upper is for samples");
  Write("back.csv", "1\n2\n1.5\n3\n");
  Bad("speed back.csv", 1, "line 3: the times of edges must rise");
}

}  // namespace
