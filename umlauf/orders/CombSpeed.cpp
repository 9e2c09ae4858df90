#include "umlauf/orders/CombSpeed.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrogramStream.h"

namespace {

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
        block(std::min<std::size_t>(step, 1024)) {
    const double top = *std::max_element(s.orders.begin(), s.orders.end());
    // A quarter of a bin of the highest line.
    grid = bin / 4 * 60 / top;
    speeds = numeric::trunc_sat<std::size_t>((s.highest - s.lowest) / grid) + 1;
    valid =
        spectra.IsValid() && row.alloc(spectra.Bins()) && levels.alloc(spectra.Bins()) && speeds < 1000000;
  }

  double Rpm(double i) const { return settings.lowest + grid * i; }

  /// Levels over the median of the neighbourhood [dB].
  void Whiten() {
    const std::size_t bins = spectra.Bins();
    for (std::size_t k = 0; k < bins; ++k) levels[k] = 10 * std::log10(std::max(row[k], 1e-30f));
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
    for (std::size_t i = 0; i < speeds; ++i) {
      double sum = 0, outstanding = 0;
      for (const double order : settings.orders) {
        const double level = Line(order * Rpm(static_cast<double>(i)) / 60);
        if (level > 0) sum += level / (1 + level / kHighest);
        outstanding += level >= kStandsOut ? 1 : 0;
      }
      const auto lines = static_cast<double>(settings.orders.size());
      scores.push_back(static_cast<float>(sum / lines));
      shares.push_back(numeric::trunc_sat<std::uint8_t>(255 * outstanding / lines));
    }
  }

  bool Follow(std::vector<std::uint32_t>& path) const;

  CombSpeedSettings settings;
  std::size_t step;
  double rate, bin;
  CSpectrogramStream spectra;
  std::size_t block;
  double grid = 0;  ///< [rpm]
  std::size_t speeds = 0;
  CAlignedMem<float> row, levels;
  std::vector<float> neighbours;
  std::vector<float> scores;         ///< [segments, speeds]
  std::vector<std::uint8_t> shares;  ///< of the lines that stand out
  bool valid = false, complete = true;
};

/// The best course that ends at each speed, segment by segment; then back from the best end.
bool CCombSpeed::Engine::Follow(std::vector<std::uint32_t>& path) const {
  const std::size_t rows = scores.size() / speeds;
  if (rows == 0) return false;
  const double perRow = settings.steepest * static_cast<double>(step) / rate / grid;
  const auto reach = static_cast<std::ptrdiff_t>(numeric::trunc_sat<std::int32_t>(std::ceil(perRow)));
  std::vector<float> best(speeds), next(speeds);
  std::vector<std::int16_t> moves(rows * speeds);
  const bool anywhere = !(settings.startHigh > 0);
  for (std::size_t i = 0; i < speeds; ++i) {
    const double rpm = Rpm(static_cast<double>(i));
    const bool start = anywhere || (rpm >= settings.startLow - grid && rpm <= settings.startHigh + grid);
    best[i] = start ? scores[i] : -1e30f;
  }
  const auto last = static_cast<std::ptrdiff_t>(speeds) - 1;
  for (std::size_t r = 1; r < rows; ++r) {
    for (std::ptrdiff_t i = 0; i <= last; ++i) {
      std::ptrdiff_t from = i;
      for (std::ptrdiff_t j = std::max<std::ptrdiff_t>(0, i - reach); j <= std::min(last, i + reach); ++j) {
        if (best[static_cast<std::size_t>(j)] > best[static_cast<std::size_t>(from)]) from = j;
      }
      const std::size_t at = r * speeds + static_cast<std::size_t>(i);
      next[static_cast<std::size_t>(i)] = best[static_cast<std::size_t>(from)] + scores[at];
      moves[at] = static_cast<std::int16_t>(from - i);
    }
    best.swap(next);
  }
  path.resize(rows);
  auto at = std::max_element(best.begin(), best.end()) - best.begin();
  for (std::size_t r = rows; r-- > 0;) {
    path[r] = static_cast<std::uint32_t>(at);
    at += moves[r * speeds + static_cast<std::size_t>(at)];
  }
  return true;
}

CCombSpeed::CCombSpeed(const CombSpeedSettings& s, double rate) {
  const double length = rate / s.resolution;
  bool good = length >= 64 && length <= static_cast<double>(CRealTransform::kMaxSize) / 2 && s.lowest > 0 &&
              s.highest > s.lowest && s.steepest > 0 && s.overlap >= 0 && s.overlap <= 0.95 &&
              s.startLow <= s.startHigh && !s.orders.empty();
  for (const double order : s.orders) good = good && order > 0 && order * s.highest / 60 < rate / 2;
  if (!good) return;
  SpectrumSettings segments;
  segments.length = CRealTransform::FastSize(numeric::trunc_sat<std::size_t>(std::ceil(length)));
  segments.step = numeric::trunc_sat<std::size_t>(
      std::max(1.0, std::round(static_cast<double>(segments.length) * (1 - s.overlap))));
  umlauf::HadMemory([&] { engine_ = std::make_unique<Engine>(s, segments, rate); });
  // A move is told in 16 bits.
  const double perRow = s.steepest * static_cast<double>(segments.step) / rate;
  if (engine_ != nullptr && (!engine_->valid || perRow / engine_->grid > 30000)) engine_.reset();
}

CCombSpeed::~CCombSpeed() = default;
CCombSpeed::CCombSpeed(CCombSpeed&&) noexcept = default;
CCombSpeed& CCombSpeed::operator=(CCombSpeed&&) noexcept = default;

void CCombSpeed::Take(const float* samples, std::size_t n) {
  if (!IsValid()) return;
  Engine& e = *engine_;
  for (std::size_t at = 0; at < n && e.complete; at += e.block) {
    const std::size_t some = std::min(e.block, n - at);
    if (e.spectra.Process(e.row.data(), samples + at, some) == 0) continue;
    e.complete = umlauf::HadMemory([&] { e.Row(); });
  }
}

bool CCombSpeed::Find(CSigCurve& rpm, CSigCurve& confidence) const {
  std::vector<std::uint32_t> path;
  const bool found = IsValid() && engine_->complete &&
                     umlauf::WithMemory(false, [&] { return engine_->Follow(path); }) &&
                     rpm.Resize(path.size()) && confidence.Resize(path.size());
  if (!found) {
    rpm.Free();
    confidence.Free();
    return false;
  }
  const Engine& e = *engine_;
  for (std::size_t r = 0; r < path.size(); ++r) {
    const std::size_t at = r * e.speeds + path[r];
    // Between the speeds of the grid: the parabola through three scores.
    double shift = 0;
    if (path[r] > 0 && path[r] + 1 < e.speeds) {
      const auto a = static_cast<double>(e.scores[at - 1]), b = static_cast<double>(e.scores[at]),
                 c = static_cast<double>(e.scores[at + 1]);
      if (a + c < 2 * b) shift = std::clamp((a - c) / (2 * (a - 2 * b + c)), -0.5, 0.5);
    }
    rpm.FData()[r] = static_cast<float>(e.Rpm(static_cast<double>(path[r]) + shift));
    confidence.FData()[r] = static_cast<float>(e.shares[at]) / 255;
  }
  const double begin = e.spectra.RowTime(0), length = static_cast<double>(e.step) / e.rate;
  for (CSigCurve* each : {&rpm, &confidence}) {
    each->SetXMinMax(static_cast<float>(begin),
                     static_cast<float>(begin + length * static_cast<double>(path.size())));
    each->SetXUnit(CMeasuringUnit(CMeasuringUnit::second));
    each->SetFileCompression(false);
  }
  rpm.SetName(L"speed");
  rpm.SetYUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  confidence.SetName(L"confidence");
  confidence.SetYUnit(CMeasuringUnit());
  return true;
}
