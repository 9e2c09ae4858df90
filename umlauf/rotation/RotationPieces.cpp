#include "umlauf/rotation/RotationPieces.h"

#include <algorithm>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/recording/BlockSource.h"
#include "umlauf/rotation/GapCorrection.h"
#include "umlauf/rotation/PulseAssembler.h"
#include "umlauf/rotation/PulseJudge.h"
#include "umlauf/rotation/internal/RangeParts.h"
#include "umlauf/rotation/internal/RoomAhead.h"

namespace {

using umlauf::rotation::RangeParts;

static_assert(RotationPiece::part == RangeParts::part);

constexpr std::size_t blockSize = 65536;
constexpr std::size_t pulsesAtATime = 65536;
constexpr std::uint64_t settled =
    64;  ///< [samples] after which the low pass of logic signals has forgotten its begin
constexpr std::uint64_t fewestInCommon = 2;
constexpr const wchar_t* unordered =
    L"the pieces do not follow each other from begin to end of the recording";

void AddRanges(std::uint64_t at, const float* samples, std::size_t n, std::size_t stride, bool begins,
               std::vector<RotationPiece::Range>& ranges) {
  while (n > 0) {
    const std::uint64_t inPart = at % RotationPiece::part;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(n, RotationPiece::part - inPart));
    RotationPiece::Range range{samples[0], samples[0]};
    QVL::VectorMinMax(samples, count, stride, range.low, range.high);
    if (inPart == 0 || begins) {
      ranges.push_back(range);
    } else {
      ranges.back().low = std::min(ranges.back().low, range.low);
      ranges.back().high = std::max(ranges.back().high, range.high);
    }
    begins = false;
    samples += count * stride;
    at += count;
    n -= count;
  }
}

}  // namespace

CRotationPieces::CRotationPieces(const CRotationStream::Settings& settings, std::uint64_t overlap)
    : settings_(settings), overlap_(overlap), detector_(settings.detector) {
  detector_.QuellenPulseProUmdr(static_cast<float>(settings.pulsesPerRevolution));
  detector_.StatistikAktivieren(false);
}

bool CRotationPieces::Fail(const wchar_t* why) {
  failure_ = why;
  return false;
}

bool CRotationPieces::FindLevels(CBlockSource& recording, unsigned channel) {
  settings_.sampleRate = recording.SampleRate();
  failure_ = CRotationStream(settings_).Failure();
  if (!failure_.IsEmpty()) return false;
  CLevelFinder finder(settings_.detector);
  finder.Given(settings_.upper, settings_.lower);
  finder.Part(true);
  if (!finder.Find(recording, channel)) {
    failure_ = finder.Failure();
    return false;
  }
  channel_ = channel;
  if (!umlauf::HadMemory([&] { levels_ = finder.Levels(); }))
    return Fail(L"there is no memory for the levels");
  detector_.SchrankenSetzen(levels_.upper, levels_.lower);
  frames_ = recording.Frames().value_or(0);
  splits_ = frames_ > 0 && recording.Seek(0) && !levels_.scale && detector_.PulsTeiler() <= 1;
  return true;
}

bool CRotationPieces::Search(CBlockSource& recording, std::uint64_t begin, std::uint64_t end,
                             RotationPiece& piece) {
  piece.begin = piece.end = piece.from = 0;
  piece.pulses.Clear();
  piece.ranges.clear();
  if (!splits_) return Fail(L"the pulses of this recording have to be found in one go");
  piece.end = std::min(end, frames_);
  piece.begin = std::min(begin, piece.end);
  piece.from = piece.begin - std::min(piece.begin, overlap_);
  if (!recording.Seek(piece.from)) return Fail(L"the recording cannot be read from the begin of a piece on");
  CDzPulsDetektor detector(detector_);
  CPulseAssembler assembler(PulseForm::Of(detector));
  CDzPulsListe list;
  CPulseTrain found;
  const auto offset = static_cast<double>(piece.from);
  std::size_t forecast = umlauf::rotation::leastForecast;
  for (std::uint64_t at = piece.from; at < piece.end;) {
    const SampleBlock block =
        recording.Read(static_cast<std::size_t>(std::min<std::uint64_t>(blockSize, piece.end - at)));
    if (block.count == 0) break;
    const float* samples = block.samples + channel_;
    detector.PulseSuchen(samples, block.count, list, static_cast<unsigned>(block.stride));
    found.Clear();
    assembler.Take(list, found);
    for (std::size_t i = 0; i < found.size(); ++i) {
      CPulseTrain::Pulse pulse = found[i];
      pulse.begin += offset;
      pulse.end += offset;
      piece.pulses.Append(pulse);
    }
    const auto before = static_cast<std::size_t>(
        at < piece.begin ? std::min<std::uint64_t>(piece.begin - at, block.count) : 0);
    const bool enough = umlauf::HadMemory([&] {
      AddRanges(at + before, samples + before * block.stride, block.count - before, block.stride,
                piece.ranges.empty(), piece.ranges);
    });
    if (!enough || !found.Complete() || !piece.pulses.Complete())
      return Fail(L"there is no memory for the pulses of a piece");
    at += block.count;
    if (at == piece.end) return true;
    if (piece.pulses.size() < forecast) continue;
    forecast = 2 * piece.pulses.size();
    umlauf::rotation::MakeRoom(
        piece.pulses, static_cast<double>(piece.end - piece.from) / static_cast<double>(at - piece.from));
  }
  failure_.Take(recording.HasFailed(), recording.Failure());
  if (failure_.IsEmpty()) failure_ = L"the recording is shorter than it says";
  return piece.begin == piece.end;
}

bool CRotationPieces::Join(CBlockSource& recording, std::span<const RotationPiece* const> pieces) {
  std::size_t pulses = 0;
  for (const RotationPiece* each : pieces) pulses += each != nullptr ? each->pulses.size() : 0;
  if (!Begin(recording, pulses)) return false;
  for (const RotationPiece* each : pieces) {
    if (each == nullptr) return Fail(unordered);
    if (!Add(recording, *each)) return false;
  }
  return End(recording);
}

bool CRotationPieces::Begin(CBlockSource& recording, std::size_t pulses) {
  failure_.Empty();
  raw_ = CPulseTrain(recording.SampleRate(), recording.StartTime());
  raw_.Reserve(pulses);  // a train that grows is copied
  ranges_.clear();
  joined_ = end_ = lastBegin_ = endBefore_ = 0;
  lastFirst_ = 0;
  searchedAgain_ = 0;
  return splits_;
}

bool CRotationPieces::Add(CBlockSource& recording, const RotationPiece& piece) {
  if (!splits_ || !failure_.IsEmpty()) return false;
  if (piece.begin != joined_ || piece.end < joined_ || piece.from > joined_) return Fail(unordered);
  joined_ = piece.end;
  bool joins = false;
  const bool enough = umlauf::HadMemory([&] {
    TakeRanges(piece);
    joins = Append(recording, piece);
  });
  if (!enough || !raw_.Complete()) return Fail(L"there is no memory for all pulses of the recording");
  return joins;
}

bool CRotationPieces::End(CBlockSource& recording) {
  if (!splits_ || !failure_.IsEmpty()) return false;
  if (joined_ != frames_) return Fail(unordered);
  return LevelsServe() && Finish(recording.SampleRate(), recording.StartTime());
}

bool CRotationPieces::Append(CBlockSource& recording, const RotationPiece& piece) {
  std::size_t behind = 0;
  if (piece.begin == 0 || Joins(piece, behind)) {
    Take(piece, behind);
    return true;
  }
  ++searchedAgain_;
  RotationPiece both;
  if (!Search(recording, lastBegin_, piece.end, both)) return false;
  ForgetLastPiece();
  if (!raw_.Complete()) return false;
  // It joined before, from the same sample on.
  if (both.begin > 0 && !Joins(both, behind)) return Fail(L"the recording changed while it was read");
  Take(both, behind);
  return true;
}

/// Whether the last pulses so far are found in a piece, too; `behind` counts its pulses up to the last one of
/// these.
bool CRotationPieces::Joins(const RotationPiece& next, std::size_t& behind) const {
  // A spike filter believes what comes behind its run-in, and then knows no more than the last pulse.
  const bool filter = detector_.StoerpulsFilter();
  const std::uint64_t need = fewestInCommon + (filter ? detector_.PulsFilterRunin() : 0);
  if (raw_.size() < need || end_ < next.from + settled) return false;
  const auto samples = next.pulses.Samples();
  const auto flags = next.pulses.Flags();
  std::uint64_t end = next.from;
  std::size_t i = 0;
  while (i < samples.size() && end < end_) end += samples[i++];
  if (end != end_ || i < need + 1) return false;
  behind = i;
  std::uint64_t mine = end_;
  std::size_t k = raw_.size();
  for (std::uint64_t n = 0; n < need; ++n) {
    --i;
    --k;
    const bool held = (flags[i] & CPulseTrain::held) != 0;
    if (end != mine || end < next.from + settled || flags[i] != raw_.Flags()[k] || (filter && held))
      return false;
    end -= samples[i];
    mine -= raw_.Samples()[k];
  }
  return true;
}

void CRotationPieces::Take(const RotationPiece& piece, std::size_t behind) {
  lastBegin_ = piece.begin;
  lastFirst_ = raw_.size();
  endBefore_ = end_;
  const auto samples = piece.pulses.Samples();
  for (std::size_t i = behind; i < samples.size(); ++i) end_ += samples[i];
  raw_.Append(piece.pulses, behind, samples.size() - behind);
}

void CRotationPieces::ForgetLastPiece() {
  CPulseTrain before(raw_.SampleRate(), raw_.StartTime());
  before.Append(raw_, 0, lastFirst_);
  raw_ = std::move(before);
  end_ = endBefore_;
}

void CRotationPieces::TakeRanges(const RotationPiece& piece) {
  std::size_t i = 0;
  if (piece.begin % RotationPiece::part != 0 && !ranges_.empty() && !piece.ranges.empty()) {
    ranges_.back().low = std::min(ranges_.back().low, piece.ranges[0].low);
    ranges_.back().high = std::max(ranges_.back().high, piece.ranges[0].high);
    i = 1;
  }
  for (; i < piece.ranges.size(); ++i) ranges_.push_back(piece.ranges[i]);
}

bool CRotationPieces::LevelsServe() const {
  if (!levels_.otherwise) return true;
  RangeParts parts;
  for (const RotationPiece::Range& each : ranges_) parts.TakePart({each.low, each.high});
  return parts.Pass(levels_.upper, levels_.lower, levels_.otherwise->smallest);
}

bool CRotationPieces::Finish(double sampleRate, double startTime) {
  CPulseJudge judge(levels_, detector_);
  judge.Take(raw_);
  levels_.warnings = judge.Finish(frames_);
  samples_ = frames_;
  wheel_ = PulseWheel{settings_.pulsesPerRevolution, {}};
  if (!settings_.gap && !settings_.gapLength) {
    pulses_ = std::move(raw_);
  } else {
    pulses_ = CPulseTrain(sampleRate, startTime);
    pulses_.Reserve(raw_.size());
    CGapCorrection gap(settings_.gapLength, settings_.pulsesPerRevolution);
    CPulseTrain some(sampleRate, startTime);
    for (std::size_t i = 0; i < raw_.size(); i += pulsesAtATime) {
      some.Clear();
      some.Append(raw_, i, std::min(pulsesAtATime, raw_.size() - i));
      gap.Take(some, pulses_);
    }
    if (!gap.Finish(pulses_)) return Fail(L"there is no memory for all pulses of the recording");
    if (!umlauf::HadMemory([&] { wheel_ = gap.Wheel(); }))
      return Fail(L"there is no memory for the gaps of the wheel");
  }
  raw_ = CPulseTrain();
  if (!pulses_.Complete()) return Fail(L"there is no memory for all pulses of the recording");
  return true;
}
