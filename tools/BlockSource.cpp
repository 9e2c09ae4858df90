#include "tools/BlockSource.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/Error.h"

namespace umlauf::tool {
namespace {

/// Text has no NUL; every binary recording has one near its start.
bool LooksLikeText(const std::filesystem::path& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) Fail("cannot read {}: {}", path.string(), std::strerror(errno));
  std::array<char, 4096> start{};
  const std::size_t n = std::fread(start.data(), 1, start.size(), file);
  std::fclose(file);
  return n > 0 && std::find(start.begin(), start.begin() + n, '\0') == start.begin() + n;
}

}  // namespace

const float* Contiguous(const SampleBlock& block, unsigned width, std::vector<float>& buffer) {
  if (block.stride == width) return block.samples;
  buffer.resize(block.count * width);
  for (std::size_t i = 0; i < block.count; ++i) {
    std::copy_n(block.samples + i * block.stride, width, buffer.data() + i * width);
  }
  return buffer.data();
}

unsigned ChannelIndex(const RecordingOptions& options, unsigned channels) {
  const unsigned channel = options.channel.value_or(1);
  if (channel < 1 || channel > channels) {
    Fail("{} has no channel {}; give --channel 1{}", options.path.string(), channel,
         channels > 1 ? fmt::format(" to {}", channels) : "");
  }
  return channel - 1;
}

void CheckRecordingExists(const std::filesystem::path& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) {
    Fail("cannot read {}: there is no such file; check the name", path.string());
  }
  if (std::filesystem::is_directory(status)) {
    Fail("cannot read {}: it is a folder; name a recording", path.string());
  }
}

std::unique_ptr<BlockSource> OpenRecording(const RecordingOptions& options) {
  CheckRecordingExists(options.path);
  if (options.raw) {
    if (options.column) FailUsage("--column is for CSV files; use --channel with --raw");
    if (!options.rate) FailUsage("--raw needs the sample rate; give {} HZ", options.rateOption);
    return OpenRawFile(options);
  }
  if (options.channels) FailUsage("--channels describes raw samples; give --raw FORMAT with it");
  if (LooksLikeText(options.path)) {
    if (options.channel) FailUsage("--channel is for sound files and --raw; use --column for CSV files");
    return OpenCsvFile(options);
  }
  if (options.column) FailUsage("--column is for CSV files; use --channel for {}", options.path.string());
  if (options.rate) {
    FailUsage("{} is for --raw and CSV files; {} tells its own", options.rateOption, options.path.string());
  }
  return OpenSoundFile(options);
}

}  // namespace umlauf::tool
