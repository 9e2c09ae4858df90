// Recordings as tables and as raw samples: however they are cut into blocks, and read again, the samples are
// the same.

#include <cmath>
#include <cstring>
#include <vector>

#include "fuzz/support/Fuzz.h"
#include "umlauf_io/RecordingSource.h"

namespace umlauf::fuzz {
namespace {

/// A recording that has been read: all its samples, and how that ended.
struct Whole {
  std::vector<float> samples;
  CString failure;
};

Whole ReadAll(CRecordingSource& source, std::size_t block, std::size_t most) {
  Whole whole;
  for (;;) {
    const SampleBlock read = source.Read(block);
    Require(read.count <= block, "a block has at most the frames that were asked for");
    if (read.count == 0) break;
    for (std::size_t i = 0; i < read.count; ++i) {
      const float* const frame = read.samples + i * read.stride;
      whole.samples.insert(whole.samples.end(), frame, frame + source.Channels());
    }
    Require(whole.samples.size() <= most, "there are no more samples than the file has bytes");
  }
  whole.failure = source.Failure();
  return whole;
}

bool SameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

RecordingFormat Format(Input& input) {
  RecordingFormat format;
  const std::uint8_t bits = input.Byte();
  if ((bits & 1) != 0) format.raw = static_cast<RawSamples>(bits >> 1 & 3);
  if ((bits & 9) != 0) format.rate = 1000;
  format.rawChannels = input.Pick({1, 1, 2, 3, 17, 100});
  format.firstChannelOnly = (bits & 16) != 0;
  if ((bits & 32) != 0) format.channels = {input.Byte(), input.Byte()};
  if ((bits & 64) != 0) format.columns = {"2", "speed"};
  if ((bits & 128) != 0) format.from = input.Byte() / 100.0, format.to = input.Byte() / 50.0;
  return format;
}

}  // namespace

// The format, the length of the blocks, then the file.
void FuzzOne(Input input) {
  static const TemporaryFile file;
  const RecordingFormat format = Format(input);
  const std::size_t block = 1 + input.Byte();
  file.Fill(input.Rest());
  RecordingFailure failure;
  const auto source = OpenRecording(file.path(), format, failure);
  Require((source == nullptr) == static_cast<bool>(failure), "a failure has a reason, and nothing else has");
  if (source == nullptr) return;
  // What the library for sound files takes for one is its matter.
  if (!format.raw && source->FormatName() != CString(L"text table")) return;
  Require(source->Channels() > 0 && source->SampleRate() > 0, "a recording has channels and a sample rate");
  const std::size_t most = 2 * input.size() + 2;
  const Whole first = ReadAll(*source, block, most);
  if (!source->Rewind()) return;
  const Whole second = ReadAll(*source, 4096, most);
  Require(first.failure == second.failure, "the blocks do not decide how reading ends");
  if (first.failure.IsEmpty())
    Require(SameBits(first.samples, second.samples), "samples do not depend on blocks");
}

}  // namespace umlauf::fuzz
