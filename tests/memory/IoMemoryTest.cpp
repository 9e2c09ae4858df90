#include <filesystem>
#include <fstream>

#include "FailingAllocation.h"
#include "support/Test.h"
#include "umlauf_io/CsvReader.h"
#include "umlauf_io/EdgeListSource.h"
#include "umlauf_io/OutputFile.h"
#include "umlauf_io/RecordingSource.h"
#include "umlauf_io/RecordingWriter.h"
#include "umlauf_io/WordSource.h"

namespace {

const std::vector<float>& Frames() {
  static const std::vector<float> frames = [] {
    std::vector<float> made(3000);
    for (std::size_t i = 0; i < made.size(); ++i) made[i] = static_cast<float>(i % 100) / 100;
    return made;
  }();
  return frames;
}

// With memory for everything it is written.
bool Save(const std::filesystem::path& path) {
  static const RecordingShape shape{.rate = 8000, .channels = 3, .frames = 1000, .names = {"x", "y", "z"}};
  COutputFile out;
  CRecordingWriter writer;
  const bool whole = out.Open(path) && writer.Open(out, shape) && writer.Write(Frames().data(), 1000) &&
                     writer.Close() && out.Commit();
  EXPECT_TRUE(whole || !std::filesystem::exists(path));
  return whole;
}

class IoWithoutMemory : public testing::Test {
 protected:
  static const std::filesystem::path& Path(const char* name) {
    static std::map<std::string, std::filesystem::path> paths;
    auto& path = paths[name];
    if (path.empty())
      path = std::filesystem::path(testing::TempDir()) / ("umlauf-without-memory-" + std::string(name));
    return path;
  }
};

TEST_F(IoWithoutMemory, RecordingsAreWrittenWholeOrNotAtAll) {
  for (const char* name : {"a.wav", "a.flac", "a.csv", "a.f32"}) {
    const auto& path = Path(name);
    EveryAllocationFails([&] {
      std::filesystem::remove(path);
      Save(path);
    });
  }
}

TEST_F(IoWithoutMemory, RecordingsAreReadToTheEndOrFail) {
  for (const char* name : {"b.wav", "b.flac", "b.csv", "b.f32"}) {
    const auto& path = Path(name);
    ASSERT_TRUE(Save(path));
    RecordingFormat format;
    if (path.extension() == ".f32") {
      format.raw = RawSamples::f32;
      format.rate = 8000;
      format.rawChannels = 3;
    }
    EveryAllocationFails([&] {
      RecordingFailure failure;
      const auto source = OpenRecording(path, format, failure);
      if (source == nullptr) return;
      std::size_t frames = 0;
      while (const std::size_t n = source->Read(300).count) frames += n;
      if (!source->HasFailed() && frames != 1000) ADD_FAILURE() << name << " " << frames;
      source->ChannelName(1);
      source->FormatName();
      source->Rewind();
    });
  }
}

TEST_F(IoWithoutMemory, ListsAndWordsAreReadToTheEndOrFail) {
  const auto& list = Path("edges.csv");
  const auto& words = Path("words.u32");
  {
    std::ofstream edges(list);
    for (int i = 0; i < 500; ++i) edges << i << '\n';
    std::ofstream(words, std::ios::binary) << std::string(4 * 3 * 1000, 'x');
  }
  EveryAllocationFails([&] {
    CEdgeListSource source;
    std::size_t edges = 0;
    if (source.Open(list, CEdgeListSource::KindOf(list).value_or(EdgeListKind::edges))) {
      while (const std::size_t n = source.Read(64).size()) edges += n;
    }
    EXPECT_TRUE(edges == 500 || source.HasFailed()) << edges;
  });
  EveryAllocationFails([&] {
    RecordingFormat format;
    format.rate = 8000;
    format.rawChannels = 3;
    RecordingFailure failure;
    const auto source = OpenWords(words, format, failure);
    EXPECT_EQ(source == nullptr, static_cast<bool>(failure));
    std::size_t read = 0;
    while (const std::size_t n = source ? source->Read(300).size() : 0) read += n;
    EXPECT_TRUE(!source || read == 3000 || source->HasFailed()) << read;
  });
}

}  // namespace
