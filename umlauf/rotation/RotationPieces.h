#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/RotationStream.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf/rotation/Wheel.h"
#include "umlauf/tacho/DzPulsDetektor.h"

class CBlockSource;

/// What was found in a piece of a recording. Plain data, to be sent elsewhere.
struct UMLAUF_API RotationPiece {
  struct Range {
    float low, high;
  };
  static constexpr std::uint64_t part = 4096;  ///< [samples] of each range

  std::uint64_t begin = 0, end = 0;  ///< [samples] that it answers for
  std::uint64_t from = 0;            ///< [samples] where the search began: 0, or before `begin`
  CPulseTrain pulses;                ///< gaps not corrected; positions of the recording
  std::vector<Range> ranges;         ///< of its samples, parted at multiples of `part` in the recording
};

/// The rotation of a long recording whose pieces are searched for pulses on several threads or machines, and
/// then joined: what CRotation finds in one go.
///
///     CRotationPieces rotation(settings);                   // for each piece, wherever it is
///     RotationPiece piece;
///     rotation.FindLevels(recording) && rotation.Search(recording, begin, end, piece);
///
///     CRotationPieces rotation(settings);                   // for all of them
///     rotation.FindLevels(recording) && rotation.Join(recording, pieces);
///
/// Levels are looked for each time, in the same share of the recording, so that they need not be handed on. A
/// piece is searched from some way before its begin; it joins the one before where both found the same
/// pulses, from which on the detector had the same state in both. Where they did not, as in a standstill,
/// both pieces are searched again as one. So samples and flags of all pulses are those of one go; edges and
/// speeds differ by the single precision of the detector alone: 1e-6 of a speed, and what adds up of it in
/// the edges.
///
/// Nothing throws. One object serves one channel of one recording and one thread at a time.
class UMLAUF_API CRotationPieces {
 public:
  /// Pieces are searched from `overlap` samples before their begin on. Of the settings, those for streams
  /// alone do not count.
  explicit CRotationPieces(const CRotationStream::Settings& settings, std::uint64_t overlap = 1u << 20);
  CRotationPieces(CRotationPieces&&) noexcept = default;
  CRotationPieces& operator=(CRotationPieces&&) noexcept = default;

  /// Finds the levels, in a part of the recording. Comes before all else; false with a reason in `Failure`.
  bool FindLevels(CBlockSource& recording, unsigned channel = 0);
  /// Whether pieces may be searched by themselves: the recording can seek, two levels serve for all swings,
  /// and no divider counts edges from its begin on.
  bool Splits() const { return splits_; }

  /// Finds the pulses of the samples from `begin` up to `end`, or to the end of the recording; `piece` keeps
  /// its memory. False with a reason in `Failure`.
  bool Search(CBlockSource& recording, std::uint64_t begin, std::uint64_t end, RotationPiece& piece);

  /// Joins pieces in their order, each of which begins where the one before ends, the first one at 0 and the
  /// last one at the end of the recording. False with a reason in `Failure`, which is empty where two levels
  /// did not serve after all: the recording has to be analysed in one go.
  bool Join(CBlockSource& recording, std::span<const RotationPiece* const> pieces);
  /// The same one after the other, so that no piece has to be kept: `Begin`, with the number of pulses in all
  /// of them if it is known, `Add` each, `End`.
  bool Begin(CBlockSource& recording, std::size_t pulses = 0);
  bool Add(CBlockSource& recording, const RotationPiece& piece);
  bool End(CBlockSource& recording);

  const CString& Failure() const { return failure_.Text(); }

  // Results of `Join`, as of CRotation
  const CPulseTrain& Pulses() const { return pulses_; }
  std::uint64_t Samples() const { return samples_; }
  const PulseLevels& Levels() const { return levels_; }
  const PulseWheel& Wheel() const { return wheel_; }
  /// Seams where pieces had to be searched again.
  unsigned SearchedAgain() const { return searchedAgain_; }

 private:
  bool Fail(const wchar_t* why);
  bool Append(CBlockSource& recording, const RotationPiece& piece);
  bool Joins(const RotationPiece& next, std::size_t& behind) const;
  void Take(const RotationPiece& piece, std::size_t behind);
  void ForgetLastPiece();
  void TakeRanges(const RotationPiece& piece);
  bool LevelsServe() const;
  bool Finish(double sampleRate, double startTime);

  CRotationStream::Settings settings_;
  std::uint64_t overlap_;
  unsigned channel_ = 0;
  bool splits_ = false;
  FailureText failure_;
  PulseLevels levels_;
  std::uint64_t frames_ = 0;

  CDzPulsDetektor detector_;

  CPulseTrain raw_;                           ///< of the pieces so far
  std::uint64_t end_ = 0;                     ///< [samples] at which the last one of its pulses was closed
  std::vector<RotationPiece::Range> ranges_;  ///< of all of the recording
  std::uint64_t joined_ = 0;                  ///< [samples] up to which pieces came
  std::uint64_t lastBegin_ = 0;               ///< [samples] of the last piece
  std::size_t lastFirst_ = 0;                 ///< its first pulse
  std::uint64_t endBefore_ = 0;               ///< [samples] at which the pulse before that was closed
  unsigned searchedAgain_ = 0;

  CPulseTrain pulses_;
  std::uint64_t samples_ = 0;
  PulseWheel wheel_;
};
