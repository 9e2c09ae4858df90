#include "umlauf/encoder/QuadratureDecoder.h"

#include <algorithm>
#include <array>

#include "umlauf/encoder/EncoderWord.h"
#include "umlauf/encoder/internal/WordScan.h"
#include "umlauf/platform/memory/WithoutMemory.h"

unsigned CQuadratureDecoder::Subsamples(unsigned sampleRate, bool highRes) {
  const unsigned standard = sampleRate <= 50000 ? 512 : sampleRate <= 100000 ? 256 : 128;
  return highRes ? standard * 4 : standard;
}

template <class ScaleTime>
bool CQuadratureDecoder::Decode(const ULONG* words, unsigned count, unsigned stride, ScaleTime scaleTime) {
  events_.clear();
  if (words == nullptr || stride == 0 || count == 0) return true;
  if (!umlauf::HadMemory([&] { events_.reserve(count); })) return false;
  if (!started_) last_ = static_cast<std::uint16_t>(words[0] >> 16);
  started_ = true;

  ULONG last = static_cast<ULONG>(last_) << 16;
  auto position = static_cast<std::uint32_t>(position_);
  const std::uint64_t subsamples = subsamples_;
  umlauf::encoder::WordMarks marks;
  std::array<ULONG, umlauf::encoder::kScanned> marked;
  for (std::size_t done = 0; done < count; done += umlauf::encoder::kScanned) {
    const std::size_t n = std::min(umlauf::encoder::kScanned, count - done);
    const ULONG* const some = words + done * stride;
    umlauf::encoder::MarkChanges(some, n, stride, last, EncoderWord::counterMask, marks);
    umlauf::encoder::CopyMarked(some, stride, marks, marked.data());
    const std::size_t before = events_.size();
    events_.resize(before + marks.count);  // within what was reserved
    Event* const events = events_.data() + before;
    for (std::size_t k = 0; k < marks.count; ++k) {
      const std::size_t at = marks.place[k];
      const ULONG word = marked[k];
      position += static_cast<std::uint32_t>(static_cast<std::int16_t>((word >> 16) - (last >> 16)));
      const std::uint64_t time = (word >> EncoderWord::timeShift) & EncoderWord::timeMask;
      events[k] = {(done + at) * subsamples + scaleTime(time), static_cast<std::int32_t>(position)};
      last = word;
    }
  }
  last_ = static_cast<std::uint16_t>(last >> 16);
  position_ = static_cast<std::int32_t>(position);
  return true;
}

bool CQuadratureDecoder::highres(const ULONG* words, unsigned count, unsigned stride) {
  return Decode(words, count, stride, [](std::uint64_t time) { return time; });
}

bool CQuadratureDecoder::standard(const ULONG* words, unsigned count, unsigned stride) {
  const std::uint64_t subsamples = subsamples_;
  return Decode(words, count, stride,
                [=](std::uint64_t time) { return time * subsamples / EncoderWord::timeRange; });
}

void CQuadratureDecoder::clear() {
  position_ = 0;
  started_ = false;
  last_ = 0;
}
