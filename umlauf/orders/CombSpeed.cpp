#include "umlauf/orders/CombSpeed.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>

#include "umlauf/orders/internal/CombCourse.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrogramStream.h"

namespace {

using umlauf::orders::CombCourse;
using umlauf::orders::CombGrid;
using umlauf::orders::CombPoint;
using umlauf::orders::CombRival;
using Points = std::vector<CombPoint>;

constexpr std::size_t kNeighbours = 24;  ///< bins on either side whose median a line is compared with
constexpr double kStandsOut = 6;         ///< [dB]
constexpr double kHighest = 30;          ///< [dB] that no line counts more than: one must not be the comb

}  // namespace

struct UMLAUF_NO_EXPORT CCombSpeed::Engine {
  Engine(const CombSpeedSettings& s, const SpectrumSettings& segments, double samplesPerSecond)
      : settings(s),
        step(segments.step),
        rate(samplesPerSecond),
        bin(rate / static_cast<double>(segments.length)),
        spectra(segments, rate, SpectrumScaling::Power),
        block(std::min<std::size_t>(step, 1024)),
        grid{0, s.lowest, 0, 0, s.startLow, s.startHigh} {
    // A quarter of a bin of the highest line.
    grid.step = bin / 4 * 60 / *std::max_element(s.orders.begin(), s.orders.end());
    grid.speeds = numeric::trunc_sat<std::size_t>((s.highest - s.lowest) / grid.step) + 1;
    const double reach = std::ceil(s.steepest * static_cast<double>(step) / rate / grid.step);
    // A move is told in 16 bits.
    if (grid.speeds >= 1000000 || reach > 30000 || !spectra.IsValid()) return;
    grid.reach = numeric::trunc_sat<std::size_t>(reach);
    scores.resize(grid.speeds);
    lines.resize(grid.speeds);
    if (row.alloc(spectra.Bins()) && levels.alloc(spectra.Bins()) && samples.alloc(block))
      course.emplace(grid);
  }

  /// Levels over the median of the neighbourhood [dB].
  void Whiten() {
    const std::size_t bins = spectra.Bins();
    // Samples that are no finite numbers tell nothing.
    for (std::size_t k = 0; k < bins; ++k)
      levels[k] = 10 * std::log10(row[k] > 1e-30f && row[k] < 1e30f ? row[k] : 1e-30f);
    for (std::size_t k = 0; k < bins; k += kNeighbours / 2) {
      const std::size_t from = k > kNeighbours ? k - kNeighbours : 0, to = std::min(bins, k + kNeighbours);
      neighbours.assign(levels.data() + from, levels.data() + to);
      std::nth_element(neighbours.begin(), neighbours.begin() + static_cast<long>(neighbours.size() / 2),
                       neighbours.end());
      const float median = neighbours[neighbours.size() / 2];
      for (std::size_t j = k; j < std::min(bins, k + kNeighbours / 2); ++j) row[j] = levels[j] - median;
    }
  }

  /// Level of a line, from the parabola through the three bins around it.
  double Line(double frequency) const {
    const double at = frequency / bin, near = std::round(at), d = at - near;
    const auto k = numeric::trunc_sat<std::size_t>(near);
    if (k < 1 || k + 1 >= spectra.Bins()) return 0;
    const auto a = static_cast<double>(row[k - 1]), b = static_cast<double>(row[k]),
               c = static_cast<double>(row[k + 1]);
    return b + d * (c - a) / 2 + d * d * (a - 2 * b + c) / 2;
  }

  void Row() {
    Whiten();
    for (std::size_t i = 0; i < grid.speeds; ++i) {
      const double turns = grid.Rpm(static_cast<double>(i)) / 60;
      double sum = 0;
      std::uint16_t outstanding = 0;
      for (std::size_t k = 0; k < settings.orders.size(); ++k) {
        const double level = Line(settings.orders[k] * turns);
        if (level > 0) sum += level / (1 + level / kHighest);
        if (level >= kStandsOut) outstanding = static_cast<std::uint16_t>(outstanding | 1u << k);
      }
      scores[i] = static_cast<float>(sum / static_cast<double>(settings.orders.size()));
      lines[i] = outstanding;
    }
    course->Take(scores.data(), lines.data());
  }

  /// The part of the lines that stand out.
  double Share(const CombPoint& point) const {
    return std::popcount(point.lines) / static_cast<double>(settings.orders.size());
  }
  void FindLost(const Points& points, Trust& trust) const;
  void Judge(const Points& points, const CombRival& rival, Trust& trust) const;

  CombSpeedSettings settings;
  std::size_t step;
  double rate, bin;
  CSpectrogramStream spectra;
  std::size_t block;
  CombGrid grid;
  CAlignedMem<float> row, levels, samples;
  std::vector<float> neighbours, scores;
  std::vector<std::uint16_t> lines;
  std::optional<CombCourse> course;
  bool complete = true;
};

void CCombSpeed::Engine::Judge(const Points& points, const CombRival& rival, Trust& trust) const {
  trust = {};
  FindLost(points, trust);
  const auto segments = static_cast<double>(points.size());
  double score = 0;
  for (const CombPoint& each : points) score += static_cast<double>(each.score);
  for (std::size_t k = 0; k < settings.orders.size(); ++k) {
    const auto there = std::count_if(points.begin(), points.end(),
                                     [k](const CombPoint& each) { return (each.lines >> k & 1) != 0; });
    trust.present.push_back(static_cast<double>(there) / segments);
  }
  if (!rival.Front().Any()) return;
  trust.rival = rival.Front().Score() / score;
  trust.rivalStart = grid.Rpm(static_cast<double>(rival.Front().Origin()));
}

/// By the mean of the segments within a quarter of a second: one alone has few lines.
void CCombSpeed::Engine::FindLost(const Points& points, Trust& trust) const {
  const auto reach = numeric::trunc_sat<std::size_t>(0.25 * rate / static_cast<double>(step));
  std::size_t begin = 0, lost = 0;
  for (std::size_t r = 0; r <= points.size(); ++r) {
    bool out = false;
    if (r < points.size()) {
      const std::size_t from = r > reach ? r - reach : 0, to = std::min(points.size(), r + reach + 1);
      double sum = 0;
      for (std::size_t k = from; k < to; ++k) sum += Share(points[k]);
      out = sum < 0.499 * static_cast<double>(to - from);
    }
    lost += out ? 1 : 0;
    if (out) continue;
    if (r >= begin + std::max<std::size_t>(1, 2 * reach))
      trust.lost.push_back({spectra.RowTime(begin), spectra.RowTime(r - 1)});
    begin = r + 1;
  }
  trust.lostShare = static_cast<double>(lost) / static_cast<double>(points.size());
}

CCombSpeed::CCombSpeed(const CombSpeedSettings& s, double rate) {
  const double length = rate / s.resolution;
  bool good = length >= 64 && length <= static_cast<double>(CRealTransform::kMaxSize) / 2 && s.lowest > 0 &&
              s.highest > s.lowest && s.steepest > 0 && s.overlap >= 0 && s.overlap <= 0.95 &&
              s.startLow <= s.startHigh && !s.orders.empty() && s.orders.size() <= mostOrders;
  for (const double order : s.orders) good = good && order > 0 && order * s.highest / 60 < rate / 2;
  if (!good) return;
  SpectrumSettings segments;
  segments.length = CRealTransform::FastSize(numeric::trunc_sat<std::size_t>(std::ceil(length)));
  segments.step = numeric::trunc_sat<std::size_t>(
      std::max(1.0, std::round(static_cast<double>(segments.length) * (1 - s.overlap))));
  umlauf::HadMemory([&] { engine_ = std::make_unique<Engine>(s, segments, rate); });
  if (engine_ != nullptr && !engine_->course) engine_.reset();
}

CCombSpeed::~CCombSpeed() = default;
CCombSpeed::CCombSpeed(CCombSpeed&&) noexcept = default;
CCombSpeed& CCombSpeed::operator=(CCombSpeed&&) noexcept = default;

void CCombSpeed::Take(const float* samples, std::size_t n, std::size_t stride) {
  if (!IsValid()) return;
  Engine& e = *engine_;
  for (std::size_t at = 0; at < n && e.complete; at += e.block) {
    const std::size_t some = std::min(e.block, n - at);
    for (std::size_t i = 0; i < some; ++i) e.samples[i] = samples[(at + i) * stride];
    if (e.spectra.Process(e.row.data(), e.samples.data(), some) == 0) continue;
    e.complete = umlauf::HadMemory([&] { e.Row(); });
  }
}

bool CCombSpeed::Find(CSigCurve& rpm, CSigCurve& confidence, Trust* trust) const {
  Points points;
  const auto follow = [&] {
    if (!engine_->complete) return false;
    CombRival rival(engine_->grid);
    points = engine_->course->Find(trust != nullptr ? &rival : nullptr);
    if (trust != nullptr && !points.empty()) engine_->Judge(points, rival, *trust);
    return !points.empty();
  };
  const bool found = IsValid() && umlauf::WithMemory(false, follow) && rpm.Resize(points.size()) &&
                     confidence.Resize(points.size());
  if (!found) {
    rpm.Free();
    confidence.Free();
    return false;
  }
  const Engine& e = *engine_;
  for (std::size_t r = 0; r < points.size(); ++r) {
    rpm.FData()[r] = static_cast<float>(e.grid.Rpm(static_cast<double>(points[r].speed)));
    confidence.FData()[r] = static_cast<float>(e.Share(points[r]));
  }
  const double begin = e.spectra.RowTime(0), length = static_cast<double>(e.step) / e.rate;
  for (CSigCurve* each : {&rpm, &confidence}) {
    each->SetXMinMax(static_cast<float>(begin),
                     static_cast<float>(begin + length * static_cast<double>(points.size())));
    each->SetXUnit(CMeasuringUnit(CMeasuringUnit::second));
    each->SetFileCompression(false);
  }
  rpm.SetName(L"speed");
  rpm.SetYUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  confidence.SetName(L"confidence");
  confidence.SetYUnit(CMeasuringUnit());
  return true;
}

std::vector<RotationWarning> CCombSpeed::Trust::Warnings(const std::vector<double>& orders) const {
  constexpr double alike = 0.8, seldom = 0.3;
  std::vector<RotationWarning> warnings;
  const auto add = [&warnings](const char* code, const wchar_t* text, double a = 0, double b = 0) {
    RotationWarning& warning = warnings.emplace_back();
    warning.code = code;
    warning.text.Format(text, a, b);
  };
  umlauf::HadMemory([&] {
    if (!lost.empty()) {
      add("track-lost",
          L"the orders of the comb do not stand out from %.1f s on, for %.0f %% of the time in all: the "
          L"speed there, and "
          L"what follows from it, is doubtful",
          lost.front().from, 100 * lostShare);
      warnings.back().places = lost;
    }
    for (std::size_t k = 0; k < std::min(present.size(), orders.size()); ++k) {
      if (present[k] >= seldom) continue;
      add("order-missing",
          L"order %g of the comb stands out for %.0f %% of the time only: if the vibration does not have it, "
          L"the speed "
          L"may be a wrong one",
          orders[k], 100 * present[k]);
    }
    if (rival > alike) {
      add("speed-ambiguous",
          L"another speed, %.0f rpm at the start, fits the orders of the comb nearly as well; give a range "
          L"for the "
          L"start, or more orders",
          rivalStart);
    }
  });
  return warnings;
}
