#include "umlauf/rotation/PulseJudge.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/internal/Regularity.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

constexpr std::uint64_t fewPulses = 5;
constexpr double evenShare = 0.7;      ///< a gap takes two pulses of a revolution
constexpr double oneOf = 20000;        ///< in long recordings one pulse in so many may be odd
constexpr double clippedShare = 0.01;  ///< so many samples at the ends of the range do not come by chance
constexpr double sameCount = 0.001;    ///< and those at the ends of a stretch
constexpr double cutSwings = 1.5;

}  // namespace

struct CPulseJudge::State {
  std::vector<RotationWarning> warnings;
  std::vector<PulseLevels::SwingCount> counts;
  std::vector<double> found;  ///< pulses in each of these
  double clipped = 0;
  double divider = 1;
  bool bothEdges = false, comparable = true;
  std::size_t stretch = 0;
  double stretchBegin = 0, stretchEnd = 0;
  umlauf::rotation::Regularity regularity;
  double lastEdge = -1;
  double rate = 1;  ///< [samples/s]

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

std::vector<RotationWarning> CPulseJudge::Finish() {
  std::vector<RotationWarning> warnings;
  umlauf::HadMemory([&] {
    if (state_ == nullptr) return;
    State& s = *state_;
    s.regularity.Finish();
    warnings = s.warnings;
    const auto add = [&warnings](const char* code, const wchar_t* text, double number = 0) {
      RotationWarning& warning = warnings.emplace_back();
      warning.code = code;
      warning.text.Format(text, number);
    };
    const double pulses = static_cast<double>(s.regularity.Pulses());
    const double allowed = std::floor(pulses / oneOf);
    const double extra = s.regularity.Extra(), lost = s.regularity.Lost();
    if (!warnings.empty()) return;
    const auto at = [&](const auto& places) {
      for (const auto& each : places)
        warnings.back().places.push_back({each.from / s.rate, each.to / s.rate});
    };
    if (s.regularity.Pulses() + 1 < fewPulses) {
      add("few-pulses", L"only a few pulses were found; check channel and levels");
    } else if (s.regularity.EvenShare() < evenShare) {
      add("irregular",
          L"the pulses do not follow each other regularly; look at the recording and give both levels");
    } else if (extra > allowed) {
      add("extra-pulses",
          L"pulses that are far too short (%g), as from noise or spikes: look at the recording, set the "
          L"levels "
          L"farther apart",
          extra);
      at(s.regularity.ExtraPlaces());
    } else if (lost > allowed && s.clipped > clippedShare) {
      add("clipped",
          L"pulses seem to be missing (%g), and samples lie at the ends of the range: the signal is clipped; "
          L"record it with a wider range",
          lost);
      at(s.regularity.LostPlaces());
    } else if (lost > allowed) {
      add("lost-pulses",
          L"pulses seem to be missing (%g): tell the gap of the wheel if it has one, or set the levels "
          L"closer "
          L"together or within the swing",
          lost);
      at(s.regularity.LostPlaces());
    }
    const auto different = warnings.empty() ? s.DifferentCounts() : std::vector<RotationWarning::Place>();
    if (different.empty()) return;
    add("count-differs",
        L"the signal swings more or less often than it passes the levels; look at the recording, set the "
        L"levels within its swings, or leave them out");
    at(different);
  });
  return warnings;
}
