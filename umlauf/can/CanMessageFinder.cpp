#include "umlauf/can/CanMessageFinder.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "umlauf/platform/vekta/QVL.h"

namespace {

constexpr unsigned kFloor1C = 4;  // fewer samples than this are not tested
constexpr unsigned kFloor2C = 2;

/// Sample blocks may be float memory that holds words bit for bit, hence no plain access.
std::uint32_t Load(const ULONG* word) {
  std::uint32_t value;
  std::memcpy(&value, word, sizeof value);
  return value;
}

}  // namespace

void CCanMessageFinder::StartSearchBlock(const ULONG* data, unsigned nSamples, int channel1, int channel2,
                                         unsigned stride) {
  const auto isOfFrame = [stride](int channel) {
    return channel >= 0 && static_cast<unsigned>(channel) < stride;
  };
  data_ = data;
  stride_ = stride;
  channel1_ = channel1;
  channel2_ = channel2 != channel1 && isOfFrame(channel2) ? channel2 : -1;
  const bool usable = data != nullptr && (TwoChannels() ? isOfFrame(channel1) : channel1 >= 0);
  total_ = remaining_ = usable ? nSamples : 0;
  messageSamples_ = 0;
  words_ = total_ != 0 ? data + (TwoChannels() ? std::min(channel1_, channel2_) : channel1_) : nullptr;
  wordStep_ = TwoChannels() ? 1 : stride;
  secondWord_ = TwoChannels() ? static_cast<std::size_t>(std::abs(channel2_ - channel1_)) : 0;
  searchedBegin_ = searchedEnd_ = 0;
  marks_ = nextMark_ = 0;
  barren_ = kBarren;
}

/// The word of a channel at the sample reached.
const ULONG* CCanMessageFinder::Current(int channel) const {
  return data_ + static_cast<std::size_t>(channel) + std::size_t{total_ - remaining_} * stride_;
}

/// The first word from `from` on, before `end`, that looks like a header; `end` when none does.
inline std::size_t CCanMessageFinder::NextMark(std::size_t from, std::size_t end) {
  do {
    while (nextMark_ < marks_) {
      const std::size_t at = searchedBegin_ + mark_[nextMark_++];
      if (at >= from) return std::min(at, end);
    }
  } while (Search(std::max(from, searchedEnd_), end));
  return end;
}

/// Goes on with the words from `from` on; false when none is left before `end`. Where there were marks not
/// long before, the next words are taken all at once; else a search goes further ahead.
bool CCanMessageFinder::Search(std::size_t from, std::size_t end) {
  barren_ = marks_ == 0 ? barren_ + 1 : 0;
  if (from < end && barren_ > kBarren) {
    from += QVL::FindMasked(words_ + from * wordStep_, end - from, wordStep_, kCanHeaderMask, kCanHeaderSync);
  }
  if (from >= end) return false;
  const std::size_t count = std::min(end - from, kSearchedWords);
  searchedBegin_ = from;
  searchedEnd_ = from + count;
  marks_ = QVL::FindAllMasked(words_ + from * wordStep_, count, wordStep_, kCanHeaderMask, kCanHeaderSync,
                              mark_.data());
  nextMark_ = 0;
  return true;
}

/// Sets word i of the message, whose bytes lie as in the stream.
inline void CCanMessageFinder::SetWord(unsigned i, const ULONG* word) {
  std::memcpy(reinterpret_cast<std::byte*>(&message_) + i * sizeof *word, word, sizeof *word);
}

/// Clears what a message need not have: all but the header.
inline void CCanMessageFinder::ClearData() {
  message_.second = 0;
  std::memset(message_.data, 0, sizeof message_.data);
}

inline void CCanMessageFinder::CopyWords(const ULONG* words, unsigned samples) {
  ClearData();
  for (unsigned i = 0; i < samples; ++i) SetWord(i, words + std::size_t{i} * stride_);
}

bool CCanMessageFinder::FindNextMessage() {
  if (TwoChannels() ? FindNext2C() : FindNext1C()) return true;
  remaining_ = 0;
  return false;
}

inline bool CCanMessageFinder::FindNext1C() {
  if (remaining_ < kFloor1C) return false;
  const std::size_t end = total_ - (kFloor1C - 1);
  for (std::size_t i = total_ - remaining_; (i = NextMark(i, end)) < end; ++i) {
    const ULONG* const words = words_ + i * stride_;
    const std::uint32_t header = Load(words);
    if (!IsCanHeader(header)) continue;
    const unsigned samples = CanSamples1C(CanDataLength(header)), sample = static_cast<unsigned>(i);
    if (samples > total_ - sample) {
      messageSamples_ = 0;
      return false;
    }
    CopyWords(words, samples);
    samplePos_ = sample;
    messageSamples_ = samples;
    remaining_ = total_ - sample - samples;
    return true;
  }
  return false;
}

/// One pass goes over the memory of both channels; what looks like a header in other channels is passed over.
bool CCanMessageFinder::FindNext2C() {
  if (remaining_ < kFloor2C) return false;
  const std::size_t tested = total_ - (kFloor2C - 1), end = (tested - 1) * stride_ + secondWord_ + 1;
  for (std::size_t i = std::size_t{total_ - remaining_} * stride_; (i = NextMark(i, end)) < end; ++i) {
    const std::size_t channel = i % stride_;
    if ((channel != 0 && channel != secondWord_) || !IsCanHeader(Load(words_ + i))) continue;
    remaining_ = total_ - static_cast<unsigned>(i / stride_);
    const std::uint32_t first = Load(Current(channel1_));
    messageSamples_ = CanSamples2C(CanDataLength(IsCanHeader(first) ? first : Load(Current(channel2_))));
    if (messageSamples_ > remaining_) {
      messageSamples_ = 0;
      return false;
    }
    CopyMessage2C();
    samplePos_ = total_ - remaining_;
    remaining_ -= messageSamples_;
    return true;
  }
  return false;
}

void CCanMessageFinder::CopyMessage2C() {
  const ULONG* ch1 = Current(channel1_);
  const ULONG* ch2 = Current(channel2_);
  if (IsCanHeader(Load(ch1))) return CopyPairs(ch1, ch2, messageSamples_, messageSamples_);
  // What would lie behind the block's last word counts as 0.
  const std::size_t words = std::size_t{total_} * stride_;
  const std::size_t odd = static_cast<std::size_t>(ch1 - data_) + 1;
  const std::size_t readable = odd < words ? (words - odd - 1) / stride_ + 1 : 0;
  CopyPairs(ch2, ch1 + 1, messageSamples_,
            static_cast<unsigned>(std::min<std::size_t>(readable, messageSamples_)));
}

unsigned CCanMessageFinder::IsValidMessageData1C(const ULONG* words) {
  const std::uint32_t header = Load(words);
  if (!IsCanHeader(header)) return 0;
  const unsigned samples = CanSamples1C(CanDataLength(header));
  CopyWords(words, samples);
  return samples;
}

unsigned CCanMessageFinder::IsValidMessageData2C(const ULONG* ch1, const ULONG* ch2) {
  const bool inFirst = IsCanHeader(Load(ch1));
  const std::uint32_t header = Load(inFirst ? ch1 : ch2);
  if (!IsCanHeader(header)) return 0;
  const unsigned samples = CanSamples2C(CanDataLength(header));
  inFirst ? CopyPairs(ch1, ch2, samples, samples) : CopyPairs(ch2, ch1 + 1, samples, samples);
  return samples;
}

/// Fills the message from two columns of words; of the odd ones only the first `oddSamples` are readable.
void CCanMessageFinder::CopyPairs(const ULONG* even, const ULONG* odd, unsigned samples,
                                  unsigned oddSamples) {
  ClearData();
  for (unsigned i = 0; i < samples; ++i) SetWord(2 * i, even + std::size_t{i} * stride_);
  for (unsigned i = 0; i < oddSamples; ++i) SetWord(2 * i + 1, odd + std::size_t{i} * stride_);
}

void CCanMessageFinder::GenerateWavEditorCurve(float* out, unsigned n, int channel1, int channel2,
                                               unsigned stride) const {
  QVL::FillFloat(out, n, 0.0f);
  const std::size_t words = std::size_t{total_} * stride_;
  const std::size_t samples = stride == 0 ? 0 : words / stride;
  if (channel1 < 0 || static_cast<unsigned>(channel1) >= stride) return;
  CCanMessageFinder search;
  search.StartSearchBlock(data_, static_cast<unsigned>(std::min<std::size_t>(n, samples)), channel1, channel2,
                          stride);
  while (search.FindNextMessage()) {
    const auto length = static_cast<float>(CanDataLength(search.Message().header));
    QVL::FillFloat(out + search.SamplePos(), search.MessageSamples(), length);
  }
}
