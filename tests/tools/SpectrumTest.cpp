#include <cmath>
#include <numbers>

#include <fmt/format.h>

#include "Tool.h"

namespace {

/// Frames of two channels at 1000 samples/s: 2 · sine of 125 Hz + 5, and 0.5 · sine of 50 Hz.
std::vector<float> TwoSines(std::size_t frames) {
  std::vector<float> samples;
  for (std::size_t i = 0; i < frames; ++i) {
    const double turn = 2 * std::numbers::pi * static_cast<double>(i) / 1000;
    samples.push_back(static_cast<float>(5 + 2 * std::sin(125 * turn)));
    samples.push_back(static_cast<float>(0.5 * std::sin(50 * turn)));
  }
  return samples;
}

/// Number in a row of `info` or `spectrum`.
double After(const std::string& text, const std::string& name) {
  const std::size_t at = text.find(name);
  EXPECT_NE(at, std::string::npos) << name << " is not in\n" << text;
  return at == std::string::npos ? 0 : std::strtod(text.c_str() + at + name.size(), nullptr);
}

class Spectrum : public Tool {
 protected:
  Spectrum() { WriteRaw("two.f32", TwoSines(8000)); }
  static constexpr const char* raw = "--raw f32 --rate 1000 --channels 2 ";

  /// Peak amplitude of a channel between two times [s], by the program.
  double Amplitude(const std::string& recording, double from, double to) const {
    const std::string json =
        Good(fmt::format("spectrum {} --from {} --to {} --window flattop --json", recording, from, to));
    return Number(json.substr(json.find("peaks")), "value");
  }
};

TEST_F(Spectrum, TellsFrequencyAndAmplitudeOfEveryKindOfRecording) {
  Good("downsample two.f32 two.wav --raw f32 --input-rate 1000 --channels 2 --ratio 1 --method linear");
  Good("downsample two.f32 two.csv --raw f32 --input-rate 1000 --channels 2 --ratio 1 --method linear");
  const struct {
    std::string recording;
    double frequency, amplitude;
  } cases[] = {{std::string("two.f32 ") + raw, 125, 2},
               {std::string("two.f32 --channel 2 ") + raw, 50, 0.5},
               {"two.wav --scale 10 --offset 7", 125, 20},
               {"two.wav --channel 2 --from 1 --to 5", 50, 0.5},
               {"two.csv --column 3", 50, 0.5},
               {std::string("- --channel 2 ") + raw + "< two.f32", 50, 0.5}};
  for (const auto& c : cases) {
    const std::string json = Good("spectrum " + c.recording + " --length 1000 --json");
    EXPECT_NEAR(Number(json, "frequency_hz"), c.frequency, 0.01) << c.recording;
    EXPECT_NEAR(Number(json.substr(json.find("peaks")), "value"), c.amplitude, 1e-3 * c.amplitude)
        << c.recording;
    EXPECT_NEAR(Number(json, "effective"), c.amplitude / std::sqrt(2.0), 1e-3 * c.amplitude) << c.recording;
    EXPECT_EQ(Number(json, "segments"), c.recording.find("--to") != std::string::npos ? 7 : 15)
        << c.recording;
  }
}

TEST_F(Spectrum, ValuesAreThoseThatWereAskedFor) {
  const std::string recording = std::string("spectrum two.f32 --unit Pa --csv - ") + raw;
  const struct {
    const char *options, *header;
    double frequency, value;
  } cases[] = {{"", "amplitude", 125, 2},
               {"--effective", "effective", 125, std::sqrt(2.0)},
               {"--psd", "density", 125, 2 / 1.5},
               {"--reference 2e-5", "level_db", 125, 100},
               {"--psd --reference 2e-5", "level_db", 125, 10 * std::log10(2 / 1.5 / 4e-10)},
               {"--weighting a", "amplitude", 125, 2 * std::pow(10, -16.2 / 20)},
               {"--resolution 5 --overlap 0", "amplitude", 125, 2},
               {"--octaves 3", "effective", 125, std::sqrt(2.0)},
               {"--octaves 1 --reference 1", "level_db", 125, 20 * std::log10(std::sqrt(2.0))}};
  for (const auto& c : cases) {
    const std::string csv = Good(
        recording + (std::string_view(c.options).starts_with("--res") ? "" : "--length 1000 ") + c.options);
    EXPECT_TRUE(csv.starts_with(std::string("frequency_hz,") + c.header + "\n")) << c.options;
    const std::string row = fmt::format("\n{:g},", c.frequency);
    EXPECT_NEAR(After(csv, row), c.value, 0.006 * std::abs(c.value)) << c.options << csv.substr(0, 200);
  }
  const std::string part = Good(recording + "--length 1000 --up-to 200");
  EXPECT_NE(part.find("\n200,"), std::string::npos);
  EXPECT_EQ(part.find("\n201,"), std::string::npos);
}

TEST_F(Spectrum, SpectrogramsAreCurveArraysThatOtherSubcommandsKnow) {
  const std::string made =
      std::string("spectrum two.f32 --unit V --length 100 --up-to 300 --signal map.usig ") + raw;
  Good(made + "--spectrogram map.png --curve one.usig --plot one.svg");
  EXPECT_TRUE(Text("map.png").starts_with("\x89PNG"));
  std::string info = Good("info map.usig");
  for (const char* row :
       {"curve array (103)", "x unit      Hz", "y unit      V", "array unit  s", "curves      159",
        "array axis  0.05 ... 7.95", "samples     31 in each curve", "step 10"}) {
    EXPECT_NE(info.find(row), std::string::npos) << row << " is not in\n" << info;
  }
  EXPECT_NE(Good("info one.usig").find("equidistant curve"), std::string::npos);
  Good("plot map.usig -o fall.svg --waterfall --from 100 --to 200");
  Good("plot map.usig -o turned.png --turn --db amplitude --levels -80,0");
  EXPECT_NE(Text("fall.svg").find("</svg>"), std::string::npos);
  // A table and back again, to the digit.
  Good("export map.usig -o map.csv");
  EXPECT_NE(Text("map.csv").find("\"two.f32 at 0.05 s [V]\""), std::string::npos);
  Good("import map.csv -o back.usig --as array");
  Good("export back.usig -o again.csv");
  EXPECT_EQ(Text("again.csv"), Text("map.csv"));
  // Few curves hold the same power.
  Good(made + "--curves 20 --effective");
  info = Good("info map.usig");
  EXPECT_EQ(After(info, "curves      "), 20);
  EXPECT_NEAR(After(info, "y range     "), 0, 1e-3);
  Bad("plot map.usig one.usig -o new.png", 1, "curve array");
  Bad("plot one.usig -o new.png --waterfall", 2, "curve arrays");
  Bad("export one.usig map.usig -o new.csv", 1, "curve array");
  Bad("pairs sort map.usig -o new.usig", 1, "no curve and no point pairs");
  Bad("import two.csv -o new.usig --as array", 1, "two.csv");
}

TEST_F(Spectrum, SamplesThatAreNoNumbersAreTold) {
  std::vector<float> samples = TwoSines(4000);
  samples[2000] = NAN;
  WriteRaw("nan.f32", samples);
  Result result = Run(std::string("spectrum nan.f32 --json --length 1000 ") + raw);
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.err.find("2 of 7 segments"), std::string::npos) << result.err;
  EXPECT_EQ(Number(result.out, "segments_left_out"), 2);
  EXPECT_NEAR(Number(result.out.substr(result.out.find("peaks")), "value"), 2, 1e-3);
  result = Run(std::string("filter nan.f32 out.f32 --low-pass 200 ") + raw);
  EXPECT_NE(result.err.find("1 of 8000 samples"), std::string::npos) << result.err;
  EXPECT_EQ(Text("out.f32").size(), samples.size() * sizeof(float));
}

TEST_F(Spectrum, FiltersPassWhatTheyShouldInEveryChannel) {
  const auto gain = [](double ratio, unsigned order) {
    return 1 / std::sqrt(1 + std::pow(ratio, 2.0 * order));
  };
  const auto warped = [](double f) { return std::tan(std::numbers::pi * f / 1000); };
  const struct {
    const char* options;
    double first, second;  ///< gains at 125 and 50 Hz
  } cases[] = {
      {"--low-pass 125", std::sqrt(0.5), gain(warped(50) / warped(125), 4)},
      {"--low-pass 60 --order 1", gain(warped(125) / warped(60), 1), gain(warped(50) / warped(60), 1)},
      {"--low-pass 125 --zero-phase", 0.5, std::pow(gain(warped(50) / warped(125), 4), 2)},
      {"--high-pass 50", gain(warped(50) / warped(125), 4), std::sqrt(0.5)},
      {"--band-pass 50,200 --order 2", 1.0, std::sqrt(0.5)},
      {"--band-stop 100,150 --zero-phase", 0, 1}};
  for (const auto& c : cases) {
    Good(std::string("filter two.f32 out.wav ") + c.options + " " + raw);
    EXPECT_EQ(WavSamples("out.wav").size(), 16000u) << c.options;
    EXPECT_NEAR(Amplitude("out.wav", 2, 6) / 2, c.first, 0.02) << c.options;
    EXPECT_NEAR(Amplitude("out.wav --channel 2", 2, 6) / 0.5, c.second, 0.02) << c.options;
  }
  // Settled from the start: an offset does not ring. Nothing is shifted without phase.
  const std::vector<float> before = TwoSines(8000);
  Good(std::string("filter two.f32 out.wav --low-pass 400 --order 2 --zero-phase ") + raw);
  std::vector<float> after = WavSamples("out.wav");
  for (std::size_t i = 0; i < 16000; i += 2) ASSERT_NEAR(after[i], before[i], 0.05) << i;
  Good(std::string("filter two.f32 out.wav --low-pass 10 ") + raw);
  after = WavSamples("out.wav");
  for (std::size_t i = 0; i < 16000; i += 2) ASSERT_NEAR(after[i], 5, 0.2) << i;
}

TEST_F(Spectrum, WrongOptionsAreTold) {
  const std::string recording = std::string("two.f32 ") + raw;
  const struct {
    std::string arguments;
    int code;
    const char* message;
  } cases[] = {{"spectrum " + recording + "--length 10000", 1, "--length"},
               {"spectrum " + recording + "--length 100 --resolution 1", 2, "excludes"},
               {"spectrum " + recording + "--resolution 1e-9", 2, "--resolution"},
               {"spectrum " + recording + "--psd --effective", 2, "excludes"},
               {"spectrum " + recording + "--plot a.svg --spectrogram a.svg", 2, "same file"},
               {"spectrum " + recording + "--plot a.pdf", 2, ".svg or .png"},
               {"spectrum " + recording + "--signal -", 2, "binary"},
               {"spectrum " + recording + "--csv two.f32", 2, "two.f32"},
               {"spectrum " + recording + "--octaves 48 --length 8", 1, "--length"},
               {"filter " + recording + "new.wav", 2, "--low-pass"},
               {"filter " + recording + "new.wav --low-pass 500", 2, "500"},
               {"filter " + recording + "new.wav --band-pass 60,50", 2, "lower one first"},
               {"filter " + recording + "new.wav --low-pass 5 --high-pass 9", 2, "excludes"},
               {"filter " + recording + "new.wav --low-pass 1e-6 --zero-phase", 1, "fades too slowly"},
               {"filter " + recording + "new.mp3 --low-pass 5", 2, "new.mp3"}};
  for (const auto& c : cases) Bad(c.arguments, c.code, c.message);
}

}  // namespace
