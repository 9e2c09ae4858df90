#include "umlauf_io/RecordingSource.h"

#include <gmock/gmock.h>
#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <span>
#include <thread>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include "io/TestFolder.h"
#include "umlauf_io/RecordingWriter.h"
#include "umlauf_io/WordSource.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pointwise;

class RecordingSource : public TestFolder {
 protected:
  RecordingSource() {
    for (int i = 0; i < 1000; ++i) ramp_.push_back(static_cast<float>(i));
  }
  void Save(const std::string& name, unsigned channels) const {
    COutputFile out;
    CRecordingWriter writer;
    ASSERT_TRUE(out.Open(Path(name)));
    ASSERT_TRUE(writer.Open(out, {.rate = 100, .channels = channels}));
    EXPECT_TRUE(writer.Write(ramp_.data(), ramp_.size() / channels));
    EXPECT_TRUE(writer.Close());
    EXPECT_TRUE(out.Commit());
  }
  RecordingFormat Raw(unsigned channels) const {
    RecordingFormat format;
    format.raw = RawSamples::f32;
    format.rate = 100;
    format.rawChannels = channels;
    return format;
  }
  std::vector<float> ramp_;
};

TEST_F(RecordingSource, SeeksInPartsOfAnyFormat) {
  for (const char* name : {"r.wav", "r.w64", "r.f32"}) {
    Save(name, 2);
    RecordingFormat format = std::string(name) == "r.f32" ? Raw(2) : RecordingFormat();
    format.from = 0.5;
    auto source = Open(name, format);
    // 450 frames lie from there to the end.
    for (const std::uint64_t frame : {100u, 3u, 3u, 449u, 450u, 1000u, 0u}) {
      ASSERT_TRUE(source->Seek(frame)) << name;
      const SampleBlock block = source->Read(1000);
      ASSERT_EQ(block.count, 450 - std::min<std::uint64_t>(frame, 450)) << name << frame;
      const float first = block.count > 0 ? block.samples[0] : 0;
      EXPECT_EQ(first, block.count > 0 ? ramp_[2 * (frame + 50)] : 0) << name << frame;
    }
    ASSERT_TRUE(source->Rewind());
    EXPECT_EQ(source->Read(1).samples[0], ramp_[100]) << name;
  }
  Save("r.csv", 2);
  EXPECT_FALSE(Open("r.csv", RecordingFormat())->Seek(10));
}

/// A WAV file of whole numbers, written by hand.
std::string IntegerWav(unsigned bits, unsigned channels, const std::vector<std::int64_t>& samples) {
  const auto number = [](std::uint64_t value, unsigned bytes) {
    std::string text;
    for (unsigned i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
  };
  const unsigned frame = channels * bits / 8;
  const std::size_t size = samples.size() * bits / 8;
  std::string wav = "RIFF" + number(36 + size, 4) + "WAVEfmt " + number(16, 4) + number(1, 2) +
                    number(channels, 2) + number(100, 4) + number(100 * frame, 4) + number(frame, 2) +
                    number(bits, 2) + "data" + number(size, 4);
  for (const std::int64_t sample : samples) wav += number(static_cast<std::uint64_t>(sample), bits / 8);
  return wav;
}

TEST_F(RecordingSource, WholeNumbersOfSoundFilesArePartsOfFullScale) {
  std::mt19937_64 random(1);
  for (const unsigned bits : {16u, 24u, 32u}) {
    const std::int64_t full = std::int64_t{1} << (bits - 1);
    std::vector<std::int64_t> samples = {-full, full - 1, 0, -1, 1};
    while (samples.size() < 60001) samples.push_back(static_cast<std::int64_t>(random() % (2 * full)) - full);
    std::vector<float> expected;
    for (const std::int64_t each : samples)
      expected.push_back(static_cast<float>(each) / static_cast<float>(full));
    for (const unsigned channels : {1u, 3u}) {
      Write("r.wav", IntegerWav(bits, channels, samples));
      const auto source = Open("r.wav");
      const std::size_t frames = samples.size() / channels;
      for (const std::size_t start : {std::size_t{0}, frames - 10000, frames - 5}) {
        ASSERT_TRUE(source->Seek(start));
        for (std::size_t at = start; at < frames;) {
          const SampleBlock block = source->Read(9999);
          ASSERT_GT(block.count, 0u) << bits << " bits, frame " << at;
          for (std::size_t i = 0; i < block.count * channels; ++i) {
            ASSERT_EQ(block.samples[i], expected[at * channels + i]) << bits << " bits, " << at << " + " << i;
          }
          at += block.count;
        }
        EXPECT_EQ(source->Read(1).count, 0u);
      }
    }
  }
}

TEST_F(RecordingSource, ChannelsSectionsAndScales) {
  for (const char* name : {"r.wav", "r.flac", "r.csv", "r.f32"}) {
    if (std::string(name) == "r.flac") {
      for (float& each : ramp_) each /= 1024;
    }
    Save(name, 4);
    RecordingFormat format = std::string(name) == "r.f32" ? Raw(4) : RecordingFormat();
    const bool table = std::string(name) == "r.csv";
    const auto choose = [&](std::vector<unsigned> channels) {
      format.columns.clear();
      if (table) {
        for (const unsigned each : channels) format.columns.push_back(std::to_string(each + 1));
      } else {
        format.channels = std::move(channels);
      }
    };
    const float unit = ramp_[1];
    choose({4, 1});
    format.from = 0.2;
    format.to = 0.23;
    format.scale = 2 / static_cast<double>(unit);
    format.offset = 1;
    auto source = Open(name, format);
    EXPECT_EQ(source->Frames(), 3u) << name;
    EXPECT_NEAR(source->StartTime(), 0.2, 1e-12) << name;
    EXPECT_EQ(source->ChannelNumber(0), table ? 5u : 4u) << name;
    EXPECT_EQ(source->RecordingChannels(), 4u) << name;
    for (int turn = 0; turn < 2; ++turn) {
      EXPECT_THAT(Rest(*source, 2), ElementsAre(167, 161, 175, 169, 183, 177)) << name;
      EXPECT_TRUE(source->Rewind()) << name;
    }
    format.scale = 1;
    format.offset = 0;
    choose({2, 3});
    const auto near = [&](std::vector<float> numbers) {
      for (float& each : numbers) each *= unit;
      return Pointwise(testing::FloatNear(1e-3f * unit), numbers);
    };
    EXPECT_THAT(Rest(*Open(name, format)), near({81, 82, 85, 86, 89, 90})) << name;
    choose({});
    format.firstChannelOnly = true;
    format.to.reset();
    format.from = 2.48;
    EXPECT_THAT(Rest(*Open(name, format)), near({992, 996})) << name;
    format.from = 7;
    source = Open(name, format);
    EXPECT_EQ(source->Frames(), 0u) << name;
    EXPECT_EQ(source->Read(10).count, 0u) << name;
  }
}

TEST_F(RecordingSource, TablesAsPeopleExportThem) {
  const struct {
    const char *text, *column;
    double rate;
    const char* unit = "";
  } cases[] = {
      {"t;u\n0,0;1,5\n0,5;-2,5\n1,0;3\n", "column \"u\"", 2},
      {"t [ms]\tu\n0\t1,5\n0,5\t-2,5\n1\t3\n", "column \"u\"", 2000},
      {"time_us,u\n0,1.5\n500,-2.5\n1000,3\n", "column \"u\"", 2000},
      {"Time,U\nms,V\n0,1.5\n0.5,-2.5\n1,3\n", "column \"U\"", 2000, "V"},
      {"t;M [Nm]\n0;1.5\n1;-2.5\n2;3\n", "column \"M [Nm]\"", 1, "Nm"},
      {"Device;X100\nDate;2024-05-01\nno 7\n\nZeit/s;U\n0;1.5\n0.5;-2.5\n1;3\n", "column \"U\"", 2},
      {"Device X100\nrecorded on a bench\n0 1.5\n0.5 -2.5\n1 3\n", "column 2", 2},
  };
  for (const auto& c : cases) {
    Write("t.csv", c.text);
    const auto source = Open("t.csv");
    EXPECT_EQ(source->SampleRate(), c.rate) << c.text;
    EXPECT_EQ(source->ChannelName(0).ToUtf8(), c.column) << c.text;
    EXPECT_EQ(source->Unit().ToUtf8(), c.unit) << c.text;
    EXPECT_THAT(Rest(*source), ElementsAre(1.5f, -2.5f, 3.0f)) << c.text;
    ASSERT_TRUE(source->Rewind());
    EXPECT_THAT(Rest(*source), ElementsAre(1.5f, -2.5f, 3.0f)) << c.text;
  }
  RecordingFormat format;
  format.scale = 2;  // no longer in Nm
  Write("t.csv", "t,M [Nm]\n0,1\n1,2\n");
  EXPECT_EQ(Open("t.csv", format)->Unit().ToUtf8(), "");
  format.scale = 1;
  Write("t.csv", "u\n1.5\n-2.5\n");
  format.rate = 10;
  EXPECT_THAT(Rest(*Open("t.csv", format)), ElementsAre(1.5f, -2.5f));
}

#ifndef _WIN32  // whose pipes have no names in folders
TEST_F(RecordingSource, PipesAreReadAsTheyComeOrTwice) {
  Save("r.wav", 2);
  Save("r.csv", 2);
  Save("r.f32", 2);
  std::filesystem::path pipe = Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const auto through = [&](const std::string& name, const RecordingFormat& format, auto use) {
    std::thread writer([&, bytes = Bytes(name)] { std::ofstream(pipe, std::ios::binary) << bytes; });
    use(*Open("pipe", format));
    writer.join();
  };
  for (const char* name : {"r.wav", "r.csv", "r.f32"}) {
    through(name, std::string(name) == "r.f32" ? Raw(2) : RecordingFormat(), [&](CRecordingSource& source) {
      EXPECT_EQ(source.Frames(), 500u) << name;
      EXPECT_THAT(Rest(source), Pointwise(testing::FloatEq(), ramp_)) << name;
      EXPECT_TRUE(source.Rewind()) << name;
      EXPECT_EQ(Rest(source).size(), 1000u) << name;
    });
  }
  RecordingFormat live = Raw(3);
  live.rewindable = false;
  live.from = 0.5;
  through("r.f32", live, [&](CRecordingSource& source) {
    EXPECT_FALSE(source.Frames().has_value());
    const std::vector<float> rest = Rest(source, 10);
    ASSERT_EQ(rest.size(), 999u - 150);
    EXPECT_EQ(rest.front(), 150);
    EXPECT_FALSE(source.Rewind());
    EXPECT_THAT(Codes(source), ElementsAre("odd-bytes"));
  });
}
#endif

TEST_F(RecordingSource, WhatIsMissingAtTheEndIsTold) {
  ramp_.resize(40000);
  for (std::size_t i = 0; i < ramp_.size(); ++i) ramp_[i] = static_cast<float>(i * i % 101) / 101;
  for (const char* name : {"r.wav", "r.w64", "r.flac"}) {
    Save(name, 2);
    const std::string bytes = Bytes(name);
    Write("cut", bytes.substr(0, bytes.size() * 3 / 4));
    const auto source = Open("cut");
    const std::size_t read = Rest(*source).size();
    EXPECT_LT(read, 31000u) << name;
    EXPECT_GT(read, 20000u) << name;
    EXPECT_THAT(Codes(*source), ElementsAre("short-file")) << name;
    EXPECT_TRUE(Codes(*Open(name)).empty()) << name;
  }
  // A length that was left open, as a program writes it into a pipe.
  std::string open = Bytes("r.wav");
  open.replace(open.find("data") + 4, 4, "\xFF\xFF\xFF\xFF");
  Write("open.wav", open);
  EXPECT_TRUE(Codes(*Open("open.wav")).empty());
  Write("odd", std::string(4 * 5 * 3 + 7, 'x'));
  EXPECT_THAT(Codes(*Open("odd", Raw(5))), ElementsAre("odd-bytes"));
  EXPECT_EQ(Open("odd", Raw(5))->Frames(), 3u);
}

TEST_F(RecordingSource, EveryCutOfAFileIsSurvived) {
  Save("r.wav", 2);
  Save("r.csv", 2);
  for (const char* name : {"r.wav", "r.csv"}) {
    const std::string bytes = Bytes(name).substr(0, 300);
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      Write("cut", bytes.substr(0, n));
      RecordingFailure failure;
      const auto source = OpenRecording(Path("cut"), {}, failure);
      ASSERT_EQ(source == nullptr, static_cast<bool>(failure)) << name << n;
      if (!source) continue;
      while (source->Read(16).count > 0) {
      }
    }
  }
}

TEST_F(RecordingSource, FailuresSayWhatIsWrong) {
  Save("r.wav", 2);
  Save("r.csv", 2);
  Write("empty", "");
  Write("noise", std::string("\1\0\2\3", 4));
  Write("wide.txt", std::string("\xFF\xFEt\0,\0x\0\n\0", 10));
  Write("sound.mp3", std::string("ID3\3\0\0\0\0\0\0", 10));
  Write("frame.mp3", std::string("\xFF\xFB\x90\0", 4) + std::string(400, '\0'));
  Write("word.csv", "t,x\n0,1\n1,zwei\n");
  using Kind = RecordingFailure::Kind;
  RecordingFormat third, column, rated, backward, rateless;
  third.channels = {3};
  column.columns = {"nine"};
  rated.rate = 5;
  backward.from = 2;
  backward.to = 1;
  rateless.raw = RawSamples::i16;
  const struct {
    const char* name;
    RecordingFormat format;
    Kind kind;
    const char* message;
  } cases[] = {
      {"none.wav", {}, Kind::notThere, "no such file"},
      {"", {}, Kind::notThere, "folder"},
      {"empty", {}, Kind::badContent, "is empty"},
      {"noise", {}, Kind::unknownFormat, "known format"},
      {"wide.txt", {}, Kind::unknownFormat, "UTF-16"},
      {"sound.mp3", {}, Kind::unknownFormat, "MPEG"},
      {"frame.mp3", {}, Kind::unknownFormat, "MPEG"},
      {"r.wav", third, Kind::noSuchChannel, "channel 1 to 2"},
      {"r.csv", column, Kind::noSuchChannel, "column 2 to 3"},
      {"r.csv", third, Kind::wrongOption, "columns instead"},
      {"r.wav", column, Kind::wrongOption, "channels instead"},
      {"r.wav", rated, Kind::wrongOption, "its own sample rate"},
      {"r.wav", backward, Kind::wrongOption, "nothing"},
      {"noise", rateless, Kind::wrongOption, "sample rate"},
  };
  for (const auto& c : cases) {
    RecordingFailure failure;
    EXPECT_EQ(OpenRecording(Path(c.name), c.format, failure), nullptr) << c.name;
    EXPECT_EQ(failure.kind, c.kind) << c.name << failure.text.ToUtf8();
    EXPECT_THAT(failure.text.ToUtf8(), HasSubstr(c.message));
  }
  const auto source = Open("word.csv");
  EXPECT_EQ(source->Read(10).count, 0u);
  EXPECT_THAT(source->Failure().ToUtf8(), HasSubstr("line 3"));
  EXPECT_EQ(source->Read(10).count, 0u);
}

TEST_F(RecordingSource, WordsKeepEveryBitAndTheFramesBefore) {
  std::vector<std::uint32_t> words(603);
  std::iota(words.begin(), words.end(), 0xFFFFFF00u);
  Write("w.u32", {reinterpret_cast<const char*>(words.data()), words.size() * 4});
  RecordingFormat format;
  format.rate = 10;
  format.rawChannels = 2;
  format.from = 10;
  RecordingFailure failure;
  const auto source = OpenWords(Path("w.u32"), format, failure);
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->Frames(), 201u);
  EXPECT_EQ(source->StartTime(), 10);
  ASSERT_EQ(source->Warnings().size(), 1u);
  std::size_t at = 200;
  std::size_t kept = 0;
  for (auto read = source->Read(7, 3); !read.empty(); read = source->Read(7, 3)) {
    ASSERT_TRUE(std::equal(read.begin(), read.end(), words.begin() + static_cast<std::ptrdiff_t>(at - kept)));
    at += read.size() - kept;
    kept = 6;
  }
  EXPECT_EQ(at, 602u);
}

}  // namespace
