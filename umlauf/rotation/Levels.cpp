#include "umlauf/rotation/Levels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rotation/internal/Blocks.h"
#include "umlauf/rotation/internal/LevelSearch.h"
#include "umlauf/rotation/internal/RangeParts.h"

namespace {

using umlauf::rotation::RangeParts;
using umlauf::rotation::Share;
using umlauf::rotation::Stretch;
using umlauf::rotation::Stretches;
using umlauf::rotation::Swings;

/// Levels that lie within all swings with some room, the distance between them included.
bool Serve(const Swings& swings, float upper, float lower) {
  const float room = 0.1f * (swings.lowestHigh - swings.highestLow);
  return upper < swings.lowestHigh - room && lower > swings.highestLow + room &&
         upper - lower >= swings.scale.smallest;
}

/// Levels in the middle between all highs and all lows, half the way from the noise to these apart.
void TakeMiddle(const Swings& swings, PulseLevels& levels) {
  const float middle = swings.highestLow + (swings.lowestHigh - swings.highestLow) / 2;
  const float half = (swings.lowestHigh - swings.highestLow + swings.scale.smallest) / 4;
  levels.upper = middle + half;
  levels.lower = middle - half;
}

/// The second level beside a given one: as far away as the noise needs, within the swings if that is
/// possible.
float Beside(float given, float direction, float smallest, float bound) {
  const float wanted = given + direction * smallest;
  return (bound - wanted) * direction > 0 || (bound - given) * direction <= 0 ? wanted : (given + bound) / 2;
}

/// Share of the samples that are equal to the smallest or greatest one: 0 for a logic level.
double ClippedShare(const Stretches& stretches) {
  float min = std::numeric_limits<float>::infinity(), max = -min;
  for (const Stretch& each : stretches) {
    float low = 0, high = 0;
    QVL::VectorMinMax(each.samples.data(), each.samples.size(), 1, low, high);
    min = std::min(min, low);
    max = std::max(max, high);
  }
  std::size_t ends = 0, all = 0;
  for (const Stretch& each : stretches) {
    all += each.samples.size();
    for (const float x : each.samples) ends += static_cast<std::size_t>((x <= min) | (x >= max));
  }
  const double share = all > 0 ? static_cast<double>(ends) / static_cast<double>(all) : 0;
  return share < 0.98 ? share : 0;
}

}  // namespace

void PulseLevels::Follow(const SwingScale& swings) {
  scale = swings;
  otherwise.reset();
  upper = SwingScale::upper;
  lower = SwingScale::lower;
}

CLevelFinder::CLevelFinder(const CDzPulsDetektor& detector) : detector_(detector) {}

CLevelFinder::~CLevelFinder() = default;

void CLevelFinder::Given(std::optional<float> upper, std::optional<float> lower) {
  upper_ = upper;
  lower_ = lower;
}

bool CLevelFinder::Rewound(CBlockSource& source) {
  failure_.Take(source.HasFailed(), source.Failure());
  if (!failure_.IsEmpty()) return false;
  if (source.Rewind()) return true;
  failure_.Take(source.HasFailed(), source.Failure());
  if (failure_.IsEmpty()) failure_ = L"the recording can be read only once; give both levels";
  return false;
}

bool CLevelFinder::Find(CBlockSource& source, unsigned channel) {
  levels_ = PulseLevels();
  statistics_ = CRecordingStatistics();
  failure_ = umlauf::rotation::CheckSource(source, channel);
  if (!failure_.IsEmpty()) return false;
  levels_.automaticUpper = !upper_;
  levels_.automaticLower = !lower_;
  levels_.upper = upper_.value_or(0);
  levels_.lower = lower_.value_or(0);
  const bool given = upper_ && lower_;
  if (given && *lower_ > *upper_) {
    failure_.Format(L"the lower level %g lies above the upper one %g; give them the other way round",
                    static_cast<double>(*lower_), static_cast<double>(*upper_));
    return false;
  }
  if (!Rewound(source)) {
    // With both levels a stream is as good; it is judged by its pulses alone.
    if (given && !source.HasFailed()) failure_.Empty();
    return failure_.IsEmpty();
  }
  if (!umlauf::HadMemory([&] { Look(source, channel); })) failure_ = L"there is no memory to look for levels";
  return failure_.IsEmpty() && Rewound(source);
}

void CLevelFinder::Look(CBlockSource& source, unsigned channel) {
  const bool given = upper_ && lower_;
  // Where both levels are given, swings only tell whether to believe in them: that is not to take longer than
  // to find the pulses.
  const std::uint64_t frames = source.Frames().value_or(0);
  const std::uint64_t keep =
      given ? std::clamp<std::uint64_t>(frames / 32, Share::most / 4, Share::most) : Share::most;
  Share share(Share::Interval(frames, keep));
  if ((given || part_) && !share.IsAll()) {
    if (LookAtPart(source, channel, share)) {
      seen_ = Seen::part;
      const Swings swings = TakeShare(share);
      if (given || swings.AreRegular()) return TakeLevels(swings);
    }
    // Without regular swings the levels come from the range of all samples.
    if (!Rewound(source)) return;
  }
  Share whole;
  LookAtAll(source, channel, whole);
  seen_ = whole.IsAll() ? Seen::all : Seen::stretches;
  TakeLevels(TakeShare(whole));
}

/// The share of a long recording alone; false where it cannot seek.
bool CLevelFinder::LookAtPart(CBlockSource& source, unsigned channel, Share& share) {
  const std::uint64_t distance = Share::stretch * share.Interval();
  for (std::uint64_t begin = 0; begin < *source.Frames(); begin += distance) {
    if (!source.Seek(begin)) return false;
    std::uint64_t at = begin;
    while (at < begin + Share::stretch) {
      const SampleBlock block = source.Read(static_cast<std::size_t>(begin + Share::stretch - at));
      if (block.count == 0) break;
      statistics_.Add(block.samples + channel, block.count, block.stride);
      share.TakeAt(at, block.samples + channel, block.count, block.stride);
      at += block.count;
    }
  }
  return true;
}

/// All of the recording; where both levels are given, as much of its begin as a share holds.
void CLevelFinder::LookAtAll(CBlockSource& source, unsigned channel, Share& share) {
  const bool given = upper_ && lower_;
  statistics_ = CRecordingStatistics();
  ranges_ = given ? nullptr : std::make_unique<RangeParts>();
  std::uint64_t frames = 0;
  for (SampleBlock block = source.Read(blockSize_); block.count > 0; block = source.Read(blockSize_)) {
    const float* samples = block.samples + channel;
    share.Take(samples, block.count, block.stride);
    frames += block.count;
    if (given && frames >= Share::most) break;
    if (given) continue;
    statistics_.Add(samples, block.count, block.stride);
    ranges_->Take(samples, block.count, block.stride);
  }
}

Swings CLevelFinder::TakeShare(Share& share) {
  const Stretches stretches = share.Finish();
  Swings swings = umlauf::rotation::FindSwings(stretches);
  levels_.counts.clear();
  for (std::size_t i = 0; i < swings.counts.size() && swings.AreRegular(); ++i) {
    levels_.counts.push_back(
        {stretches[i].begin, stretches[i].begin + stretches[i].samples.size(), swings.counts[i]});
  }
  levels_.clipped = ClippedShare(stretches);
  return swings;
}

void CLevelFinder::TakeLevels(const Swings& swings) {
  if (upper_ && lower_) {
    if (swings.scale.preparation == SwingScale::Preparation::unwrapped) {
      levels_.warnings.push_back(
          {"wrapped",
           L"the samples jump over their whole range, as of a converter that went round; leave "
           L"the levels to the program"});
    }
    return;
  }
  // What it returns tells nothing about the recording (it is false for a clean sine): the swings do.
  detector_.AutoSchrankenSetzen(statistics_.Min(), statistics_.Max(), static_cast<float>(statistics_.Mean()),
                                static_cast<float>(statistics_.Deviation()));
  if (upper_ || lower_) {
    TakeOther(swings);
  } else if (swings.AreRegular()) {
    Take(swings);
  } else {
    levels_.upper = std::max(detector_.ObereSchranke(), detector_.UntereSchranke());
    levels_.lower = std::min(detector_.ObereSchranke(), detector_.UntereSchranke());
    levels_.certain = false;
    levels_.warnings.push_back({"levels-uncertain",
                                L"no regular pulses stand out: their number depends on the levels; look at "
                                L"the recording and give both levels"});
  }
}

void CLevelFinder::Take(const Swings& swings) {
  CString text;
  if (const double hum = std::max(swings.hum, swings.humLeftOut); hum > 0) {
    text.Format(
        L"%.0f small swings of one length look like hum while the shaft stands and were %s; look at the "
        L"recording, and give both levels if that is wrong",
        hum, swings.hum > 0 ? L"counted as teeth" : L"left out");
    levels_.warnings.push_back({"levels-uncertain", text});
  } else if (swings.rivals > 0) {
    text.Format(
        L"%.0f swings of the signal were taken for teeth, but %.0f %s ones are as regular; look at the "
        L"recording, and if those are the teeth give both levels",
        swings.count, swings.rivals, swings.rivals > swings.count ? L"smaller" : L"greater");
    levels_.warnings.push_back({"levels-uncertain", text});
  }
  if (swings.fading) {
    text.Format(
        L"the swings shrink into the noise, as while a shaft comes to rest: those below %g are left out; "
        L"look "
        L"at the slow parts of the recording, and give both levels if these matter",
        static_cast<double>(swings.scale.smallest));
    levels_.warnings.push_back({"levels-uncertain", text});
  }
  const bool plain = swings.scale.preparation == SwingScale::Preparation::none;
  if (plain && swings.HaveCommonLevels() && !swings.Wander()) {
    levels_.upper = detector_.ObereSchranke();
    levels_.lower = detector_.UntereSchranke();
    if (!Serve(swings, levels_.upper, levels_.lower)) TakeMiddle(swings, levels_);
    if (seen_ == Seen::part) levels_.otherwise = swings.scale;
    if (seen_ != Seen::stretches || ranges_->Pass(levels_.upper, levels_.lower, swings.scale.smallest))
      return;
  }
  levels_.Follow(swings.scale);
}

void CLevelFinder::TakeOther(const Swings& swings) {
  const float smallest =
      swings.AreRegular() ? swings.scale.smallest : (statistics_.Max() - statistics_.Min()) / 10;
  if (upper_) {
    levels_.lower = Beside(*upper_, -1, smallest, swings.highestLow);
  } else {
    levels_.upper = Beside(*lower_, 1, smallest, swings.lowestHigh);
  }
}
