#include "umlauf_io/RecordingWriter.h"

#include <gmock/gmock.h>

#include <cmath>

#include "io/TestFolder.h"

namespace {

class RecordingWriter : public TestFolder {
 protected:
  /// Writes in two parts; the failure's text, empty for none.
  std::string Save(const std::string& name, const std::vector<float>& frames, const RecordingShape& shape) {
    COutputFile out;
    CRecordingWriter writer;
    const std::size_t count = frames.size() / std::max(1u, shape.channels), half = count / 2;
    const bool good = out.Open(Path(name)) && writer.Open(out, shape) && writer.Write(frames.data(), half) &&
                      writer.Write(frames.data() + half * shape.channels, count - half) && writer.Close();
    EXPECT_EQ(good, !writer.Failure());
    EXPECT_TRUE(!good || out.Commit());
    return writer.Failure().text.ToUtf8();
  }
};

TEST_F(RecordingWriter, WhatIsWrittenIsReadBack) {
  std::vector<float> frames;
  for (int i = 0; i < 3000; ++i) frames.push_back(std::sin(0.37f * static_cast<float>(i * i)));
  const struct {
    const char* name;
    float tolerance;
    double start;
  } cases[] = {{"a.wav", 0, 0}, {"a.w64", 0, 0}, {"a.flac", 2e-7f, 0}, {"a.csv", 0, 1.5}, {"a.f32", 0, 0}};
  for (const auto& c : cases) {
    ASSERT_EQ(
        Save(c.name, frames,
             {.rate = 8000, .channels = 3, .frames = 1000, .startTime = 1.5, .names = {"x", "y\"", "z"}}),
        "");
    RecordingFormat format;
    if (std::string(c.name) == "a.f32") {
      format.raw = RawSamples::f32;
      format.rate = 8000;
      format.rawChannels = 3;
    }
    const auto source = Open(c.name, format);
    EXPECT_EQ(source->SampleRate(), 8000) << c.name;
    EXPECT_EQ(source->Channels(), 3u) << c.name;
    EXPECT_EQ(source->Frames(), 1000u) << c.name;
    EXPECT_EQ(source->StartTime(), c.start) << c.name;
    for (const std::size_t block : {7u, 100000u}) {
      EXPECT_THAT(Rest(*source, block), testing::Pointwise(testing::FloatNear(c.tolerance), frames))
          << c.name;
      EXPECT_TRUE(source->Rewind()) << c.name;
    }
    EXPECT_TRUE(source->Warnings().empty()) << c.name;
  }
  EXPECT_EQ(Open("a.csv")->ChannelName(0).ToUtf8(), "column \"x\"");
}

TEST_F(RecordingWriter, WhatAFormatCannotHoldIsRefused) {
  const struct {
    const char* name;
    std::vector<float> frames;
    RecordingShape shape;
    const char* message;
  } cases[] = {
      {"a.mp3", {0}, {.rate = 8000}, ".wav, .w64, .flac"},
      {"a.flac", {0, 0.5f, -1.5f}, {.rate = 8000}, "-1.5"},
      {"a.wav", {0}, {.rate = 0.3}, "keep at least 1"},
      {"a.wav", {0}, {.rate = 8000, .frames = 2'000'000'000}, ".w64"},
      {"a.f32", {0}, {.rate = NAN}, "sample rate"},
      {"a.csv", {0}, {.rate = 1, .channels = 0}, "one channel"},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(Save(c.name, c.frames, c.shape), testing::HasSubstr(c.message)) << c.name;
  }
  EXPECT_TRUE(Files().empty());
}

}  // namespace
