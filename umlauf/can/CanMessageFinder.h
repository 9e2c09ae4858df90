#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/can/CanMessage.h"
#include "umlauf/platform/framework/Types.h"

/// Finds CAN messages in blocks of 32-bit samples, in one channel or split over two channels of interleaved
/// sample frames. Give it a block, then ask for message after message:
///
///     finder.StartSearchBlock(words, samples, 0, -1, 1);
///     while (finder.FindNextMessage()) Use(finder.SamplePos(), finder.Message());
///
/// Messages are searched for within one block: one that the end of the block cuts is not reported, and
/// nothing is carried to the next block. The block is borrowed until the next `StartSearchBlock`. One object
/// is used by one thread at a time. Nothing allocates or fails.
class UMLAUF_API CCanMessageFinder {
 public:
  /// Sets the block: `nSamples` frames of `stride` words each; the words of a channel are
  /// data[channel + i * stride] for i < nSamples, and must be readable. Channels count from 0. Two channels
  /// are searched when channel2 >= 0, channel2 != channel1 and channel2 < stride; otherwise channel1 alone.
  /// The block counts as empty without data, when channel1 < 0, and, with two channels, when channel1 >=
  /// stride.
  void StartSearchBlock(const ULONG* data, unsigned nSamples, int channel1, int channel2, unsigned stride);

  /// Finds the next message, copies it and goes on behind it. False when the block holds no more:
  ///
  /// - fewer than 4 samples (with two channels 2) remain, tested or not,
  /// - or the message found is longer than what remains; then the search of this block is over.
  ///
  /// `Message` and `SamplePos` stay as they were then. With two channels a header may stand in either one;
  /// where both have one, the first channel's counts.
  bool FindNextMessage();

  /// The last message found; the reset state before the first one.
  const CanMessageBlock_s& Message() const { return message_; }
  void ResetMessageBlock() { ::ResetMessageBlock(message_); }
  /// Sample of the block at which the last message found begins.
  unsigned SamplePos() const { return samplePos_; }
  /// Samples (per channel) that the last message took; 0 before the first one of the block, and when the
  /// search ended at a message that the block cuts.
  unsigned MessageSamples() const { return messageSamples_; }

  /// Tests for a message at a word and copies it to `Message`: samples used, 0 when it is none. The stride is
  /// that of the last `StartSearchBlock` (1 before). The whole message must be readable.
  unsigned IsValidMessageData1C(const ULONG* words);
  /// The same for two channels: samples used per channel. The channel with the header gives the even words of
  /// the message, the other one the odd words.
  /// Intended: when the header is in the second channel, the odd words are not the first channel's but those
  /// that directly follow it in memory, `ch1`[1], `ch1`[1 + stride] ...
  unsigned IsValidMessageData2C(const ULONG* ch1, const ULONG* ch2);

  /// Curve for an editor's view of a channel, made from the block last set: the data length L in bytes during
  /// each message, 0 between messages. `out` [n contiguous samples], 0 behind the end of the block. Channels
  /// and stride as in `StartSearchBlock`, with channel1 < stride; the search in progress goes on undisturbed.
  void GenerateWavEditorCurve(float* out, unsigned n, int channel1, int channel2, unsigned stride) const;

 private:
  bool TwoChannels() const { return channel2_ >= 0; }
  const ULONG* Current(int channel) const;
  bool FindNext1C();
  bool FindNext2C();
  std::size_t NextMark(std::size_t from, std::size_t end);
  bool Search(std::size_t from, std::size_t end);
  void ClearData();
  void SetWord(unsigned i, const ULONG* word);
  void CopyWords(const ULONG* words, unsigned samples);
  void CopyMessage2C();
  void CopyPairs(const ULONG* even, const ULONG* odd, unsigned samples, unsigned oddSamples);

  CanMessageBlock_s message_;
  const ULONG* data_ = nullptr;
  unsigned total_ = 0;
  unsigned remaining_ = 0;
  int channel1_ = 0;
  int channel2_ = -1;  // -1: one channel
  unsigned stride_ = 1;
  unsigned samplePos_ = 0;
  unsigned messageSamples_ = 0;

  // Words are looked at many at a time. They count from the first one of the channels that are searched, in
  // steps of `wordStep_`.
  static constexpr std::size_t kSearchedWords = 512;
  const ULONG* words_ = nullptr;
  unsigned wordStep_ = 1;
  std::size_t secondWord_ = 0;  // of two channels: words from the one in front to the other
  std::size_t searchedBegin_ = 0, searchedEnd_ = 0;
  std::size_t marks_ = 0, nextMark_ = 0;  // how many of these words look like a header, and which is next
  static constexpr unsigned kBarren = 4;
  unsigned barren_ = kBarren;  // how many stretches without a mark came one after the other
  std::array<std::uint32_t, kSearchedWords + 16> mark_;
};
