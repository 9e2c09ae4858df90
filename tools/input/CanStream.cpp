#include "tools/input/CanStream.h"

#include <algorithm>
#include <vector>

#include "tools/output/Progress.h"
#include "umlauf/can/CanMessageFinder.h"

namespace umlauf::tool {
namespace {

constexpr std::size_t blockFrames = std::size_t{1} << 17;
/// A message that begins this far before the end of a block lies in it as a whole, with the word that one in
/// two channels may take from the frame behind it.
constexpr std::size_t longest = CanSamples1C(64) + 1;
/// The finder wants so many frames to look at, however short a message is.
constexpr std::size_t leastFrames = 4;

class Search {
 public:
  Search(const WordSource& source, int channel2, const CanSink& sink)
      : stride_(source.channels()),
        channel1_(static_cast<int>(source.channel())),
        channel2_(channel2),
        sink_(sink) {}

  /// Hands on the messages of a block that end within its first `end` frames; `position` is that of the
  /// block. Returns the frame behind the last of them.
  std::size_t Run(std::span<const ULONG> words, std::size_t end, std::uint64_t position) {
    std::size_t behind = 0;
    finder_.StartSearchBlock(words.data(), static_cast<unsigned>(words.size() / stride_), channel1_,
                             channel2_, stride_);
    while (finder_.FindNextMessage()) {
      const std::size_t at = finder_.SamplePos();
      if (at + finder_.MessageSamples() > end) break;
      behind = at + finder_.MessageSamples();
      sink_(position + at, finder_.Message());
    }
    return behind;
  }

 private:
  unsigned stride_;
  int channel1_, channel2_;
  const CanSink& sink_;
  CCanMessageFinder finder_;
};

}  // namespace

void FindCanMessages(WordSource& source, int channel2, const CanSink& sink) {
  Search search(source, channel2, sink);
  const std::size_t stride = source.channels();
  Progress progress("messages", source.frames());
  std::vector<ULONG> tail;
  std::uint64_t position = 0;  // of the block
  for (std::size_t kept = 0;;) {
    const std::span<const ULONG> words = source.Read(blockFrames, kept);
    if (words.empty()) break;
    const std::size_t total = words.size() / stride;
    progress.Advance(total - kept);
    // All that begins before the tail has been found; what begins in it may be cut by the block's end.
    const std::size_t next =
        std::max(search.Run(words, total, position), total - std::min(total, longest - 1));
    kept = total - next;
    position += next;
    tail.assign(words.end() - static_cast<std::ptrdiff_t>(kept * stride), words.end());
  }
  const std::size_t frames = tail.size() / stride;
  tail.resize(tail.size() + leastFrames * stride);
  search.Run(tail, frames, position);
}

}  // namespace umlauf::tool
