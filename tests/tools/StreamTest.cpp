#include "support/Test.h"
#include "tools/Tool.h"

namespace {

using StreamTool = Tool;
using Words = std::vector<std::uint32_t>;

/// A CAN message as recorded in one channel; data bytes count up from the identifier.
Words Message(std::uint32_t id, unsigned length) {
  Words words = {0xAA000055u | length << 16, id};
  for (unsigned i = 0; i < length / 4; ++i) words.push_back(0x03020100u + (id + 4 * i) * 0x01010101u);
  return words;
}

std::string Hex(std::uint32_t id, unsigned length) {
  std::string text;
  for (unsigned i = 0; i < length / 4 * 4; ++i) {
    char byte[3];
    std::snprintf(byte, sizeof byte, "%02X", (id + i) & 0xFF);
    text += byte;
  }
  return text;
}

TEST_F(StreamTool, CanMessagesAreFoundAcrossBlocksAndAtTheEnd) {
  std::mt19937 engine(5);
  const auto random = [&engine](unsigned below) { return static_cast<unsigned>(engine() % below); };
  Words words, other;
  std::string rows = "time_s,id,extended,length,data\n";
  const auto add = [&](std::uint32_t id, unsigned length) {
    char row[60];
    std::snprintf(row, sizeof row, "%.12g,%u,0,%u,", static_cast<double>(words.size()) / 1000, id, length);
    rows += row + Hex(id, length) + "\n";
    std::ranges::copy(Message(id, length), std::back_inserter(words));
  };
  // Dense enough that every border of blocks cuts one: the length of a block is not the test's business.
  while (words.size() < 400'000) {
    const std::uint32_t id = random(0x70);
    add(id, random(3) == 0 ? 1 + random(64) : 64);
    words.resize(words.size() + random(2));
  }
  add(5, 2);
  WriteRaw("one.u32", words);
  const std::string raw = " --raw u32 --rate 1000 ";
  const std::string found = Good("can one.u32" + raw + "--csv -");
  const auto differ = std::mismatch(rows.begin(), rows.end(), found.begin(), found.end()).second;
  EXPECT_TRUE(rows == found) << found.substr(static_cast<std::size_t>(differ - found.begin()), 200);

  // The second of two channels, and a last message that the file cuts.
  words.push_back(0xAA040055);
  words.push_back(9);
  for (const std::uint32_t word : words) other.insert(other.end(), {0x12345678, word});
  WriteRaw("two.u32", other);
  EXPECT_EQ(Good("can two.u32 --channels 2 --channel 2" + raw + "--csv -"), found);
  const std::string json = Good("can two.u32 --channels 2 --channel 2 --json" + raw);
  EXPECT_ALL(
      Number(json, "messages") == static_cast<double>(std::count(found.begin(), found.end(), '\n') - 1),
      Number(json, "channel") == 2, Number(json, "channels") == 2);
}

TEST_F(StreamTool, CanSignalsAreDecoded) {
  Words words;
  for (const std::uint32_t id : {0x10u, 0x20u, 0x80000010u, 0x10u}) {
    std::ranges::copy(Message(id, 8), std::back_inserter(words));
    words.resize(words.size() + 6);
  }
  WriteRaw("can.u32", words);
  Write("net.kcd",
        "<NetworkDefinition><Document/><Bus name='b'><Message id='0x10' name='Gear'>"
        "<Signal name='Ratio' offset='8' length='8'><Value slope='0.5' intercept='1' unit='a,b'/></Signal>"
        "<Multiplex name='Even' offset='0'><MuxGroup count='0'><Signal name='Raw' offset='0' length='16'/>"
        "</MuxGroup><MuxGroup count='1'><Signal name='Raw' offset='0' length='8'/></MuxGroup></Multiplex>"
        "</Message></Bus></NetworkDefinition>");
  const std::string can = "can can.u32 --raw u32 --rate 10 --kcd net.kcd ";
  EXPECT_ALL(
      Good(can + "--signal Ratio --csv -") ==
          "time_s,message,signal,value,unit,name\n0,Gear,Ratio,9.5,\"a,b\",\n3,Gear,Ratio,9.5,\"a,b\",\n",
      Good(can + "--signal Gear.Raw --csv -") ==
          "time_s,message,signal,value,unit,name\n0,Gear,Raw,4368,,\n3,Gear,Raw,4368,,\n");
  const std::string json = Good(can + "--json --plot both.svg");
  EXPECT_ALL(Number(json, "messages") == 4, Number(json, "undescribed_messages") == 2,
             Number(json, "mean") == 9.5);
  EXPECT_THAT(json, HasSubstr("\"extended\": true"));
  EXPECT_THAT(Text("both.svg"), HasSubstr(">Ratio in a,b<"));
  Bad(can + "--signal Wheel --csv new.csv", 1, "no signal Wheel");
}

TEST_F(StreamTool, CanDescriptionsOfConvertersBusesAndNames) {
  Words words = Message(0x10, 8);  // bytes 0x10, 0x11, ...
  words.resize(8);
  WriteRaw("can.u32", words);
  const auto bus = [](const std::string& name, const std::string& offset) {
    return "<Bus name='" + name + "'><Message id='0x10' name='Gear'><Signal name='S' offset='" + offset +
           "' length='16' endianess='big'><LabelSet><Label name='Reverse' value='4370'/></LabelSet></Signal>"
           "</Message></Bus>";
  };
  Write("one.kcd", "<NetworkDefinition>" + bus("front", "8") + "</NetworkDefinition>");
  Write("two.kcd", "<NetworkDefinition>" + bus("front", "8") + bus("rear", "16") + "</NetworkDefinition>");
  const std::string can = "can can.u32 --raw u32 --rate 10 --kcd ";
  EXPECT_THAT(Good(can + "one.kcd --csv -"), HasSubstr("0,Gear,S,4370,,Reverse\n"));
  EXPECT_THAT(Good(can + "one.kcd --kcd-offsets lsb --csv -"), HasSubstr("0,Gear,S,4113,,\n"));
  EXPECT_THAT(Good(can + "two.kcd --bus rear --csv -"), HasSubstr("0,Gear,S,4627,,\n"));
  const std::string json = Good(can + "one.kcd --json");
  EXPECT_THAT(json, HasSubstr("\"kcd_offsets\": \"top\""));
  EXPECT_THAT(json, HasSubstr("\"name\": \"Reverse\""));
  Bad(can + "two.kcd", 1, "choose one of its buses front, rear with --bus");
  Bad(can + "two.kcd --bus middle", 1, "it has no bus middle; its buses are front, rear");
  Write("bad.kcd", "<NetworkDefinition>\n" + bus("front", "x") + "</NetworkDefinition>");
  Bad(can + "bad.kcd", 1, "line 2: signal S of message Gear left out, its offset \"x\"");
}

TEST_F(StreamTool, EncoderFindsTheSimulatedSpeed) {
  const Cases<const char*, const char*, double> cases = {
      // 0.5 s of 1200 rpm on average are 10 revolutions; the last edge may lie behind the end.
      {"--encoder 1", "--mode 1 --pulses-per-rev 60 --gap auto", 580},
      {"--encoder 1 --low-word --missing 0", "--mode 1 --low-word --pulses-per-rev 60", 600},
      {"--encoder 1 --missing 0", "--mode 1 --divider 4 --pulses-per-rev 60", 150},
      {"--encoder 1 --missing 0", "--mode 1 --min-pulse 100 --pulses-per-rev 60", 205},
      {"--encoder 2", "--mode 2 --pulses-per-rev 60", 2400},
      {"--encoder 3", "--mode 3 --pulses-per-rev 60", 600},
      {"--encoder 4 --rate 100000", "--mode 4 --pulses-per-rev 60 --gap 3", 580},
      {"--encoder 5", "--mode 5 --pulses-per-rev 60", 2400},
      {"--encoder 6 --rate 192000", "--mode 6 --pulses-per-rev 60", 600},
  };
  for (const auto& [simulate, encoder, pulses] : cases) {
    Good(std::string("simulate run.u32 --profile 0:600,0.5:1800 --jitter 0 ") + simulate);
    const std::string simulated = simulate;
    const std::size_t at = simulated.find("--rate");
    const std::string rate = at == std::string::npos ? " --rate 50000 " : " " + simulated.substr(at) + " ";
    const std::string run = "encoder run.u32 --raw u32" + rate + encoder;
    const std::string json = Good(run + " --truth run.csv --json");
    EXPECT_NEAR(Number(json, "pulses"), pulses, 2) << encoder << json;
    EXPECT_LT(Number(json, "max_deviation_percent"), 0.5) << encoder << json;
    EXPECT_NEAR(Number(json, "mean"), 1200, 12) << encoder << json;
    EXPECT_EQ(Number(json, "error_bits"), 0) << json;
    const auto whole = Rows(Good(run + " --csv -")), split = Rows(Good(run + " --csv - --block 97"));
    ASSERT_EQ(whole.size(), split.size()) << encoder;
    for (std::size_t i = 1; i < whole.size(); ++i) {
      ASSERT_NEAR(whole[i].time, split[i].time, 2e-6) << encoder;
      ASSERT_NEAR(whole[i].rpm, split[i].rpm, 1e-3 * whole[i].rpm) << encoder;
    }
  }
}

TEST_F(StreamTool, EncoderErrorsAndDirectionAreTold) {
  Words edges(50), counter;
  edges[10] = 0x00A00000;
  edges[20] = 0x80E00000;  // error bit
  edges[40] = 0x40A00000;
  WriteRaw("edges.u32", edges);
  const std::string rate = " --raw u32 --rate 50000 ";
  EXPECT_EQ(Number(Doubtful("encoder edges.u32 --mode 1 --json" + rate), "error_bits"), 1);
  EXPECT_EQ(Rows(Doubtful("encoder edges.u32 --mode 1 --csv -" + rate)).at(0).flags, "rising first");
  // A counter that runs down, over its wrap-around: backward.
  for (int i = 0; i < 400; ++i) counter.push_back(static_cast<std::uint32_t>(8 - i / 10) << 16);
  WriteRaw("counter.u32", counter);
  const std::string json = Good("encoder counter.u32 --mode 3 --pulses-per-rev 10 --json" + rate);
  EXPECT_NEAR(Number(json, "mean"), -60.0 * 50000 / 100, 1);
  EXPECT_EQ(Number(json.substr(json.find("\"revolutions\"")), "count"), 3);
}

TEST_F(StreamTool, DownsamplingKeepsAllChannels) {
  std::vector<float> ramp;
  for (int i = 0; i < 1000; ++i) ramp.insert(ramp.end(), {static_cast<float>(i), static_cast<float>(-2 * i)});
  WriteRaw("ramp.f32", ramp);
  const std::string run = "downsample ramp.f32 out.wav --raw f32 --input-rate 8000 --channels 2 ";
  // The length is that of all channels; the samples are those from the third frame on.
  const Cases<const char*, std::size_t, std::vector<float>, float> cases = {
      {"--rate 2000 --method mean", 500, {9.5, -19, 13.5, -27}, 1e-4f},
      {"--ratio 4 --method mean --gain 2", 500, {19, -38, 27, -54}, 1e-4f},
      {"--ratio 4 --method sum --channel 2", 250, {-76, -108}, 1e-3f},
      {"--ratio 4 --method max", 500, {11, -16, 15, -24}, 0},
      {"--ratio 4 --method minmax", 1000, {4, -14, 7, -8}, 0},
      {"--ratio 2.5 --method linear --channel 1", 400, {5, 7.5, 10}, 1e-4f},
      {"--ratio 10", 200, {20, -40, 30, -60}, 3},
      {"--ratio 10 --method steep", 200, {20, -40, 30, -60}, 5},
  };
  for (const auto& [options, length, third, tolerance] : cases) {
    Good(run + options);
    const std::vector<float> samples = WavSamples("out.wav");
    ASSERT_EQ(samples.size(), length) << options;
    const std::size_t channels = std::string(options).find("--channel ") == std::string::npos ? 2 : 1;
    for (std::size_t i = 0; i < third.size(); ++i)
      EXPECT_NEAR(samples[2 * channels + i], third[i], tolerance) << options << " " << i;
  }
  Write("table.csv", "t,a,b\n0,1,5\n0.1,2,6\n0.2,3,7\n0.3,4,8\n");
  Good("downsample table.csv out.flac --ratio 2 --method mean --gain 0.1");
  Good("downsample out.flac out.wav --ratio 1 --method mean");
  const std::vector<float> means = WavSamples("out.wav"), expected = {0.15f, 0.55f, 0.35f, 0.75f};
  ASSERT_EQ(means.size(), expected.size());
  for (std::size_t i = 0; i < means.size(); ++i) EXPECT_NEAR(means[i], expected[i], 1e-6) << i;
}

}  // namespace
