#include <cmath>
#include <nlohmann/json.hpp>

#include "tools/Tool.h"

namespace {

class OrdersTool : public Tool {
 protected:
  void Simulate(const std::string& options = "") const {
    Good("simulate run.wav --rate 25600 --profile 0:900,6:4500 --orders 1:1:30,2.5:0.4,9:0.1 " + options);
  }
  nlohmann::json Orders(const std::string& arguments) const {
    return nlohmann::json::parse(Good("orders " + arguments + " --pulses-per-rev 60 --json"), nullptr, false);
  }
  static void ExpectAmplitudes(const nlohmann::json& track, double amplitude, double share) {
    ASSERT_GT(track["amplitude"].size(), 20u);
    for (const double each : track["amplitude"]) EXPECT_NEAR(each, amplitude, share * amplitude);
  }
};

TEST_F(OrdersTool, FollowsTheSimulatedOrders) {
  Simulate();
  const nlohmann::json json = Orders("run.wav --gap auto --max-order 20 --tracks 1,2.5,9");
  ASSERT_EQ(json["tracks"].size(), 3u);
  const double amplitudes[] = {1, 0.4, 0.1};
  for (std::size_t i = 0; i < 3; ++i) ExpectAmplitudes(json["tracks"][i], amplitudes[i], 0.005);
  const nlohmann::json& first = json["tracks"][0];
  EXPECT_EQ(first["order"], 1);
  for (std::size_t i = 0; i < first["rpm"].size(); ++i) {
    EXPECT_NEAR(first["rpm"][i], 900 + 600 * first["time_s"][i].get<double>(), 10);
    // The origin is the first edge that was found, within two teeth of the start.
    EXPECT_NEAR(first["phase_deg"][i], 30 + 6, 6.5);
  }
  const nlohmann::json rms = Orders("run.wav --gap 3 --max-order 20 --tracks 1 --scale rms --over speed");
  ExpectAmplitudes(rms["tracks"][0], std::sqrt(0.5), 0.005);
}

TEST_F(OrdersTool, TachoAndVibrationMayBeApart) {
  Simulate();
  // The vibration begins a second later in its own file, at half the rate.
  Good("simulate tacho.wav --rate 25600 --profile 0:900,6:4500");
  Good("downsample run.wav half.wav --channel 2 --rate 12800 --from 1");
  const nlohmann::json json =
      Orders("half.wav --tacho-file tacho.wav --offset=-1 --gap auto --max-order 20 --tracks 2.5");
  ExpectAmplitudes(json["tracks"][0], 0.4, 0.01);
  const double begin = json["tracks"][0]["time_s"][0], rpm = json["tracks"][0]["rpm"][0];
  EXPECT_NEAR(rpm, 900 + 600 * (begin + 1), 10);
  // A shaft that the tacho's drives: order 2.5 of the one is 5 of the other.
  const nlohmann::json geared =
      Orders("run.wav --gap auto --gear 20/40 --max-order 40 --tracks 5 --bandwidth 0.5");
  ExpectAmplitudes(geared["tracks"][0], 0.4, 0.01);
}

TEST_F(OrdersTool, FollowsWithAVoldKalmanFilterAndTellsTheOverallLevel) {
  Simulate();
  // Orders that segments of this bandwidth could not tell apart, and one of them alone.
  Good("simulate near.wav --rate 25600 --profile 0:900,6:4500 --orders 4:1,4.2:0.5");
  for (const auto& [file, amplitude] : {std::pair("near.wav", 0.5), std::pair("run.wav", 0.0)}) {
    const nlohmann::json json = Orders(
        std::string(file) + " --gap auto --max-order 20 --tracks 4,4.2 --bandwidth 0.1 --method vold-kalman");
    EXPECT_EQ(json["method"], "vold-kalman");
    const nlohmann::json& track = json["tracks"][1]["amplitude"];
    ASSERT_GT(track.size(), 20u);
    // Half a segment and more from the ends, where the filter has samples on both sides.
    for (std::size_t i = 4; i + 4 < track.size(); ++i) EXPECT_NEAR(track[i], amplitude, 0.005) << i;
  }
  const double all = std::sqrt((1 + 0.16 + 0.01) / 2);
  const nlohmann::json json = Orders("run.wav --gap auto --max-order 20 --overall --unit m/s²");
  EXPECT_EQ(json["reference"], 1e-6);
  const nlohmann::json& overall = json["overall"][0];
  ASSERT_GT(overall["rms"].size(), 20u);
  for (std::size_t i = 0; i < overall["rms"].size(); ++i) {
    EXPECT_NEAR(overall["rms"][i], all, 0.003);
    EXPECT_NEAR(overall["level_db"][i], 20 * std::log10(all / 1e-6), 0.04);
    EXPECT_NEAR(overall["rpm"][i], 900 + 600 * overall["time_s"][i].get<double>(), 10);
  }
  Good(
      "orders run.wav --pulses-per-rev 60 --gap auto --max-order 20 --overall --tracks 1 --csv t.csv --plot "
      "t.svg");
  EXPECT_NE(Text("t.csv").find("\n1,,"), std::string::npos);
  EXPECT_NE(Text("t.svg").find("all orders, rms"), std::string::npos);
}

TEST_F(OrdersTool, FindsTheSpeedWithoutATacho) {
  Good(
      "simulate run.wav --rate 25600 --profile 0:900,10:4500 --orders 1:0.5,2:0.7,4.5:0.4 --vibration-noise "
      "0.3");
  const std::string comb = "orders run.wav --channel 2 --max-order 10 --comb 1,2,4.5 ";
  const nlohmann::json json =
      nlohmann::json::parse(Good(comb + "--start-rpm 700,1200 --tracks 2 --json --speed s.svg"));
  EXPECT_TRUE(json["warnings"].empty());
  const nlohmann::json& speed = json["speed"];
  ASSERT_GT(speed["rpm"].size(), 50u);
  for (std::size_t i = 0; i < speed["rpm"].size(); ++i) {
    const double known = 900 + 360 * speed["time_s"][i].get<double>();
    EXPECT_NEAR(speed["rpm"][i].get<double>() / known, 1, 0.01) << i;
  }
  // The angle is not as exact as that of a tacho; the amplitude still is.
  for (const double each : json["tracks"][0]["amplitude"]) EXPECT_NEAR(each, 0.7, 0.07);
  EXPECT_NE(Text("s.svg").find("confidence"), std::string::npos);

  // A part of the recording keeps its times.
  const nlohmann::json part = nlohmann::json::parse(Good(comb + "--from 3 --tracks 2 --json"));
  for (std::size_t i = 0; i < part["speed"]["rpm"].size(); ++i) {
    const double time = part["speed"]["time_s"][i], known = 900 + 360 * time;
    EXPECT_GT(time, 3);
    EXPECT_NEAR(part["speed"]["rpm"][i].get<double>() / known, 1, 0.01) << i;
  }
  for (const double each : part["tracks"][0]["amplitude"]) EXPECT_NEAR(each, 0.7, 0.07);

  // Nothing to follow, or too little to tell one speed from another.
  Good("simulate still.wav --rate 25600 --profile 0:900,10:4500 --orders 1:0.001 --vibration-noise 0.3");
  Bad("orders still.wav --channel 2 --max-order 10 --comb 1,2,4.5", 1, "no speed to be believed");
  const Result wide = Run("orders run.wav --channel 2 --max-order 10 --comb 1");
  EXPECT_THAT(wide.err, HasSubstr("another speed")) << wide.out;
  Bad(comb + "--tacho 1", 2, "--tacho");
  // Orders that are not there, but fit those that are at another speed.
  EXPECT_THAT(Run("orders run.wav --channel 2 --max-order 10 --comb 3,5,7").err,
              HasSubstr("order 5 of the comb"));
  Bad(comb + "--rpm 300,300000", 1, "take a lower --rpm");
  Bad(comb + "--start-rpm 1200,700", 2, "must be the lower one");
}

TEST_F(OrdersTool, WritesPicturesTablesAndSignals) {
  Simulate("--gear-mesh 15:0.2 --resonance 400:0.1 --bearing 3.58:0.1 --vibration-noise 0.01");
  const std::string text = Good(
      "orders run.wav --pulses-per-rev 60 --gap auto --pitch-errors --max-order 20 --tracks 1,2.5 --unit "
      "m/s² "
      "--map map.svg --frequency-map f.png --spectrum s.svg --plot tracks.svg --average a.usig --csv t.csv "
      "--signal map.usig");
  EXPECT_NE(text.find("order 2.5"), std::string::npos) << text;
  EXPECT_NE(text.find("residual"), std::string::npos) << text;
  EXPECT_NE(Text("map.svg").find("level in dB re 1e-06 m/s²"), std::string::npos);
  EXPECT_NE(Text("tracks.svg").find("order 2.5"), std::string::npos);
  EXPECT_TRUE(Text("t.csv").starts_with("channel,order,time_s,revolution,rpm,amplitude,phase_deg\n1,1,"));
  EXPECT_NE(Good("info a.usig").find("rev"), std::string::npos);
  EXPECT_EQ(Files().count("map.usig") + Files().count("f.png") + Files().count("s.svg"), 3u);
  // The shaft of the simulation turns evenly: what is left is the wheel's jitter.
  const nlohmann::json torsion = Orders("run.wav --gap auto --torsional --max-order 20 --tracks 3");
  for (const double each : torsion["tracks"][0]["amplitude"]) EXPECT_LT(each, 5);
}

TEST_F(OrdersTool, RefusesWhatCannotBe) {
  Simulate();
  Bad("orders run.wav --plot x.svg", 2, "name their orders with --tracks");
  Bad("orders run.wav --map x.bmp", 2, "a picture is .svg or .png");
  Bad("orders run.wav --map x.svg --spectrum x.svg", 2, "name the same file");
  Bad("orders run.wav --gear 3/0", 2, "is no ratio");
  Bad("orders run.wav --channel 3 --pulses-per-rev 60 --gap auto", 1, "run.wav has no channel 3");
  Bad("orders run.wav --pulses-per-rev 60 --gap auto --max-order 20 --tracks 30", 1, "orders to follow");
  Bad("orders run.wav --pulses-per-rev 60 --gap auto --resolution 0.001", 1, "not turn long enough");
  Bad("orders run.wav --pulses-per-rev 60 --gap auto --torsional", 1, "half the pulses");
  Bad("simulate x.wav --orders 1", 2, "no list of numbers");
  Bad("simulate x.wav --resonance 100:0 --orders 1:1", 2, "damping above 0");
}

}  // namespace
