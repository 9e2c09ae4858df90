#include "umlauf/can/CanMessageFinder.h"

#include <algorithm>
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
}

/// The word of a channel at the sample reached.
const ULONG* CCanMessageFinder::Current(int channel) const {
  return data_ + static_cast<std::size_t>(channel) + std::size_t{total_ - remaining_} * stride_;
}

bool CCanMessageFinder::FindNextMessage() {
  const unsigned floor = TwoChannels() ? kFloor2C : kFloor1C;
  if (remaining_ >= floor) {
    const unsigned tested = remaining_ - floor + 1;
    const unsigned skipped = SamplesToHeader(tested);
    remaining_ -= skipped;
    if (skipped < tested) {
      messageSamples_ = SamplesOfMessage();
      if (messageSamples_ <= remaining_) {
        CopyMessage();
        samplePos_ = total_ - remaining_;
        remaining_ -= messageSamples_;
        return true;
      }
      messageSamples_ = 0;
    }
  }
  remaining_ = 0;
  return false;
}

/// Samples in front of the first header among the next `samples`; `samples` when there is none.
unsigned CCanMessageFinder::SamplesToHeader(unsigned samples) const {
  if (TwoChannels()) return SamplesToHeader2C(samples);
  const ULONG* words = Current(channel1_);
  for (std::size_t i = 0; i < samples; ++i) {
    i += QVL::FindMasked(words + i * stride_, samples - i, stride_, kCanHeaderMask, kCanHeaderSync);
    if (i < samples && IsCanHeader(Load(words + i * stride_))) return static_cast<unsigned>(i);
  }
  return samples;
}

/// One pass over the memory of both channels; what looks like a header in other channels is passed over.
unsigned CCanMessageFinder::SamplesToHeader2C(unsigned samples) const {
  const std::size_t second = static_cast<std::size_t>(std::abs(channel2_ - channel1_));
  const ULONG* words = Current(std::min(channel1_, channel2_));
  const std::size_t count = std::size_t{samples - 1} * stride_ + second + 1;
  for (std::size_t i = 0; i < count; ++i) {
    i += QVL::FindMasked(words + i, count - i, 1, kCanHeaderMask, kCanHeaderSync);
    const std::size_t channel = i % stride_;
    const bool searched = channel == 0 || channel == second;
    if (i < count && searched && IsCanHeader(Load(words + i))) return static_cast<unsigned>(i / stride_);
  }
  return samples;
}

/// Samples of the message that begins at the sample reached.
unsigned CCanMessageFinder::SamplesOfMessage() const {
  const std::uint32_t first = Load(Current(channel1_));
  if (!TwoChannels()) return CanSamples1C(CanDataLength(first));
  return CanSamples2C(CanDataLength(IsCanHeader(first) ? first : Load(Current(channel2_))));
}

void CCanMessageFinder::CopyMessage() {
  const ULONG* ch1 = Current(channel1_);
  if (!TwoChannels()) {
    IsValidMessageData1C(ch1);
    return;
  }
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
  std::uint32_t copied[kCanMessageWords] = {};
  for (unsigned i = 0; i < samples; ++i) copied[i] = Load(words + std::size_t{i} * stride_);
  std::memcpy(&message_, copied, sizeof message_);
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
  std::uint32_t copied[kCanMessageWords] = {};
  for (unsigned i = 0; i < samples; ++i) copied[2 * i] = Load(even + std::size_t{i} * stride_);
  for (unsigned i = 0; i < oddSamples; ++i) copied[2 * i + 1] = Load(odd + std::size_t{i} * stride_);
  std::memcpy(&message_, copied, sizeof message_);
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
