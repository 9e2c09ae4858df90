#include "umlauf/rotation/PulseJudge.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/internal/Regularity.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

using umlauf::rotation::Regularity;

constexpr std::uint64_t fewPulses = 5;
constexpr double evenShare = 0.7;      ///< a gap takes two pulses of a revolution
constexpr double oneOf = 20000;        ///< in long recordings one pulse in so many may be odd
constexpr double clippedShare = 0.01;  ///< so many samples at the ends of the range do not come by chance
constexpr double sameCount = 0.001;    ///< and those at the ends of a stretch
constexpr double cutSwings = 1.5;
constexpr double sudden = 10;     ///< pitches without a pulse at either end of a recording
constexpr double gradual = 1.15;  ///< a wheel that comes to rest and starts: from pulse to pulse

/// Edges from an end of the recording on.
using EndEdges = std::array<double, 5>;

/// Pulses that are missing between the end of the recording and the edge next to it, as far as one can tell.
double MissingAt(double end, const EndEdges& edges) {
  EndEdges pitches{};
  for (std::size_t i = 1; i < edges.size(); ++i) pitches[i] = std::abs(edges[i] - edges[i - 1]);
  const double rest = std::abs(end - edges[0]);
  const double longest = *std::max_element(pitches.begin(), pitches.end());
  return rest > sudden * longest && pitches[1] < gradual * pitches[2] ? std::floor(rest / pitches[1]) : 0;
}

/// What is known of the pulses so far.
struct Findings {
  std::vector<RotationWarning> warnings;
  std::vector<PulseLevels::SwingCount> counts;
  std::vector<double> found;  ///< pulses in each of these
  double clipped = 0;
  double divider = 1;
  bool bothEdges = false, comparable = true;
  std::size_t stretch = 0;
  double stretchBegin = 0, stretchEnd = 0;
  Regularity regularity;
  EndEdges first{}, last{};  ///< the last ones in the order of time
  std::size_t edges = 0;     ///< that both know
  double lastEdge = -1;
  double rate = 1;  ///< [samples/s]

  /// Ends of pulses.
  void Watch(std::span<const double> ends) {
    for (std::size_t i = 0; i < ends.size() && edges < first.size(); ++i) first[edges++] = ends[i];
    for (const double end : ends.last(std::min(ends.size(), last.size()))) {
      std::rotate(last.begin(), last.begin() + 1, last.end());
      last.back() = end;
    }
  }
  void Count(double edge, double pitches) {
    if (edge >= stretchEnd) NextStretch(edge);
    if (edge >= stretchBegin) found[stretch] += pitches;
  }
  void NextStretch(double edge) {
    while (stretch < counts.size() && edge >= static_cast<double>(counts[stretch].end)) ++stretch;
    const bool none = stretch == counts.size();
    stretchBegin =
        none ? std::numeric_limits<double>::infinity() : static_cast<double>(counts[stretch].begin);
    stretchEnd = none ? std::numeric_limits<double>::infinity() : static_cast<double>(counts[stretch].end);
  }

  double Allowed() const { return std::floor(static_cast<double>(regularity.Pulses()) / oneOf); }
  template <class Places>
  void Warn(const char* code, const wchar_t* text, double number, const Places& places) {
    RotationWarning& warning = warnings.emplace_back();
    warning.code = code;
    warning.text.Format(text, number);
    for (const auto& each : places) warning.places.push_back({each.from / rate, each.to / rate});
  }
  void JudgePulses();
  void JudgeCounts();
  void JudgeEnds(double samples);
  /// Stretches [samples] with another number of pulses than of swings.
  std::vector<RotationWarning::Place> DifferentCounts() const {
    std::vector<RotationWarning::Place> places;
    for (std::size_t i = 0; comparable && i < counts.size(); ++i) {
      const double off = std::abs(found[i] - counts[i].swings);
      if (off <= cutSwings + divider - 1 + sameCount * counts[i].swings) continue;
      places.push_back({static_cast<double>(counts[i].begin), static_cast<double>(counts[i].end)});
    }
    return places;
  }
};

/// Each pulse beside its neighbours.
void Findings::JudgePulses() {
  const std::vector<Regularity::Place> nowhere;
  const double extra = regularity.Extra(), lost = regularity.Lost();
  if (regularity.Pulses() + 1 < fewPulses) {
    Warn("few-pulses", L"only a few pulses were found; check channel and levels", 0, nowhere);
  } else if (regularity.EvenShare() < evenShare) {
    Warn("irregular",
         L"the pulses do not follow each other regularly; look at the recording and give both levels", 0,
         nowhere);
  } else if (extra > Allowed()) {
    Warn(
        "extra-pulses",
        L"pulses that are far too short (%g), as from noise or spikes: look at the recording, set the levels "
        L"farther apart",
        extra, regularity.ExtraPlaces());
  } else if (lost > Allowed() && clipped > clippedShare) {
    Warn("clipped",
         L"pulses seem to be missing (%g), and samples lie at the ends of the range: the signal is clipped; "
         L"record it with a wider range",
         lost, regularity.LostPlaces());
  } else if (lost > Allowed()) {
    Warn("lost-pulses",
         L"pulses seem to be missing (%g): tell the gap of the wheel if it has one, or set the levels closer "
         L"together or within the swing",
         lost, regularity.LostPlaces());
  }
}

/// Their number beside that of the swings.
void Findings::JudgeCounts() {
  const auto different = DifferentCounts();
  if (different.empty()) return;
  Warn("count-differs",
       L"the signal swings more or less often than it passes the levels; look at the recording, set the "
       L"levels within its swings, or leave them out",
       0, different);
}

/// The time before the first and behind the last one of so many samples.
void Findings::JudgeEnds(double samples) {
  if (samples <= 0 || edges < first.size()) return;
  EndEdges behind = last;
  std::reverse(behind.begin(), behind.end());
  const double before = MissingAt(0, first), after = MissingAt(samples, behind);
  if (before + after <= Allowed()) return;
  std::vector<RotationWarning::Place> places;
  if (before > 0) places.push_back({0, first[0]});
  if (after > 0) places.push_back({behind[0], samples});
  Warn("lost-pulses",
       L"pulses seem to be missing (%g) where the recording begins or ends, since the shaft turns "
       L"right beside that: look there, or set the levels closer together or within the swing",
       before + after, places);
}

}  // namespace

struct CPulseJudge::State : Findings {};

CPulseJudge::CPulseJudge(const PulseLevels& levels, const CDzPulsDetektor& detector) {
  umlauf::HadMemory([&] {
    auto state = std::make_unique<State>();
    state->warnings = levels.warnings;
    state->counts = levels.counts;
    state->found.resize(levels.counts.size());
    state->clipped = levels.clipped;
    state->divider = std::max(1u, detector.PulsTeiler());
    state->bothEdges = detector.BeideFlankenSuchen();
    state->comparable = detector.PulsFilterTotzeit() == 0;
    state_ = std::move(state);
  });
}

CPulseJudge::~CPulseJudge() = default;

void CPulseJudge::Take(const CPulseTrain& pulses, std::size_t from) {
  if (state_ == nullptr || from >= pulses.size()) return;
  State& s = *state_;
  const auto edges = pulses.Edges().subspan(from);
  const auto flags = pulses.Flags().subspan(from);
  const auto pitches = pulses.Pitches().subspan(from);
  s.rate = pulses.SampleRate();
  umlauf::HadMemory([&] {
    if (s.bothEdges) return TakeRising(pulses, from);
    s.Watch(edges.subspan(1));
    // Most of a long recording lies between the stretches.
    const bool within = edges.back() >= s.stretchBegin;
    for (std::size_t i = 0; within && i < flags.size(); ++i) s.Count(edges[i + 1], pitches[i]);
    std::array<double, 256> lengths;
    for (std::size_t i = 0; i < flags.size();) {
      std::size_t n = 0;
      for (const std::size_t end = std::min(flags.size(), i + lengths.size()); i < end; ++i) {
        const double length = edges[i + 1] - edges[i];
        lengths[n] = pitches[i] == 1 ? length : length / pitches[i];
        n += (flags[i] & CPulseTrain::first) == 0 && lengths[n] > 0 ? 1 : 0;
      }
      // Those that are left out lie at the begin of a recording; places need not be more exact.
      s.regularity.Take(lengths.data(), n, &edges[i - n + 1]);
    }
  });
}

/// From rising edge to rising edge: the duty does not matter.
void CPulseJudge::TakeRising(const CPulseTrain& pulses, std::size_t from) {
  State& s = *state_;
  for (std::size_t i = from; i < pulses.size(); ++i) {
    if ((pulses.Flags()[i] & CPulseTrain::rising) == 0) continue;
    const double edge = pulses.Edges()[i + 1];
    s.Count(edge, 1);
    if (s.lastEdge >= 0 && edge > s.lastEdge) s.regularity.Take(edge - s.lastEdge, edge);
    s.lastEdge = edge;
  }
}

std::vector<RotationWarning> CPulseJudge::Finish(std::uint64_t samples) {
  std::vector<RotationWarning> warnings;
  umlauf::HadMemory([&] {
    if (state_ == nullptr) return;
    state_->regularity.Finish();
    if (state_->warnings.empty()) state_->JudgePulses();
    if (state_->warnings.empty()) state_->JudgeCounts();
    if (state_->warnings.empty()) state_->JudgeEnds(static_cast<double>(samples));
    warnings = std::move(state_->warnings);
  });
  return warnings;
}
