#include "umlauf/orders/CombSpeed.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrogramStream.h"

namespace {

constexpr std::size_t kNeighbours = 24;  ///< bins on either side whose median a line is compared with
constexpr double kStandsOut = 6;         ///< [dB]
constexpr double kSame = 0.05;           ///< closer speeds are one course
constexpr float kNever = -1e30f;         ///< score of what a course does not pass
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
      double sum = 0;
      std::uint16_t outstanding = 0;
      for (std::size_t k = 0; k < settings.orders.size(); ++k) {
        const double level = Line(settings.orders[k] * Rpm(static_cast<double>(i)) / 60);
        if (level > 0) sum += level / (1 + level / kHighest);
        if (level >= kStandsOut) outstanding = static_cast<std::uint16_t>(outstanding | 1u << k);
      }
      scores.push_back(static_cast<float>(sum / static_cast<double>(settings.orders.size())));
      lines.push_back(outstanding);
    }
  }

  using Path = std::vector<std::uint32_t>;
  std::size_t Rows() const { return scores.size() / speeds; }
  bool Follow(Path& path, const Path* other = nullptr) const;
  double Score(const Path& path) const;
  /// The part of the lines that stand out at the speed of a segment.
  double Share(const Path& path, std::size_t r) const {
    return std::popcount(lines[r * speeds + path[r]]) / static_cast<double>(settings.orders.size());
  }
  void Judge(const Path& path, Trust& trust) const;
  void FindLost(const Path& path, Trust& trust) const;

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
  std::vector<std::uint16_t> lines;  ///< likewise: a bit for each that stands out
  bool valid = false, complete = true;
};

namespace {

/// The place of the greatest of the values within `reach` of i, for rising i.
class Greatest {
 public:
  Greatest(const std::vector<float>& values, std::size_t reach) : values_(values), reach_(reach) {
    places_.resize(values.size());
  }
  std::size_t Around(std::size_t i) {
    for (const std::size_t end = std::min(values_.size(), i + reach_ + 1); taken_ < end; ++taken_) {
      while (size_ > first_ && values_[places_[size_ - 1]] <= values_[taken_]) --size_;
      places_[size_++] = taken_;
    }
    while (places_[first_] + reach_ < i) ++first_;
    return places_[first_];
  }

 private:
  const std::vector<float>& values_;
  std::size_t reach_, taken_ = 0, first_ = 0, size_ = 0;
  std::vector<std::size_t> places_;  ///< [first, size) of falling values
};

}  // namespace

/// The best course that ends at each speed, segment by segment; then back from the best end. With `other`,
/// the best one that stays off that.
bool CCombSpeed::Engine::Follow(Path& path, const Path* other) const {
  const std::size_t rows = Rows();
  if (rows == 0) return false;
  const double perRow = settings.steepest * static_cast<double>(step) / rate / grid;
  const auto reach = numeric::trunc_sat<std::size_t>(std::ceil(perRow));
  std::vector<float> best(speeds), next(speeds);
  std::vector<std::int16_t> moves(rows * speeds);
  const bool anywhere = !(settings.startHigh > 0);
  const auto score = [&](std::size_t r, std::size_t i) {
    const double rpm = Rpm(static_cast<double>(i));
    const bool taken = other != nullptr && std::abs(rpm / Rpm((*other)[r]) - 1) < kSame;
    return taken ? kNever : scores[r * speeds + i];
  };
  for (std::size_t i = 0; i < speeds; ++i) {
    const double rpm = Rpm(static_cast<double>(i));
    const bool start = anywhere || (rpm >= settings.startLow - grid && rpm <= settings.startHigh + grid);
    best[i] = start ? score(0, i) : kNever;
  }
  for (std::size_t r = 1; r < rows; ++r) {
    Greatest greatest(best, reach);
    for (std::size_t i = 0; i < speeds; ++i) {
      const std::size_t from = greatest.Around(i);
      next[i] = std::max(best[from] + score(r, i), kNever);
      moves[r * speeds + i] =
          static_cast<std::int16_t>(static_cast<std::ptrdiff_t>(from) - static_cast<std::ptrdiff_t>(i));
    }
    best.swap(next);
  }
  path.resize(rows);
  auto at = std::max_element(best.begin(), best.end()) - best.begin();
  const bool found = best[static_cast<std::size_t>(at)] > kNever / 2;
  for (std::size_t r = rows; r-- > 0;) {
    path[r] = static_cast<std::uint32_t>(at);
    at += moves[r * speeds + static_cast<std::size_t>(at)];
  }
  return found;
}

double CCombSpeed::Engine::Score(const Path& path) const {
  double sum = 0;
  for (std::size_t r = 0; r < path.size(); ++r) sum += static_cast<double>(scores[r * speeds + path[r]]);
  return sum / static_cast<double>(path.size());
}

void CCombSpeed::Engine::Judge(const Path& path, Trust& trust) const {
  trust = {};
  FindLost(path, trust);
  for (std::size_t k = 0; k < settings.orders.size(); ++k) {
    std::size_t there = 0;
    for (std::size_t r = 0; r < path.size(); ++r) there += lines[r * speeds + path[r]] >> k & 1u;
    trust.present.push_back(static_cast<double>(there) / static_cast<double>(path.size()));
  }
  Path rival;
  if (!Follow(rival, &path)) return;
  trust.rival = Score(rival) / Score(path);
  trust.rivalStart = Rpm(rival.front());
}

/// By the mean of the segments within a quarter of a second: one alone has few lines.
void CCombSpeed::Engine::FindLost(const Path& path, Trust& trust) const {
  const auto reach = numeric::trunc_sat<std::size_t>(0.25 * rate / static_cast<double>(step));
  std::size_t begin = 0, lost = 0;
  for (std::size_t r = 0; r <= path.size(); ++r) {
    bool out = false;
    if (r < path.size()) {
      const std::size_t from = r > reach ? r - reach : 0, to = std::min(path.size(), r + reach + 1);
      double sum = 0;
      for (std::size_t k = from; k < to; ++k) sum += Share(path, k);
      out = sum < 0.499 * static_cast<double>(to - from);
    }
    lost += out ? 1 : 0;
    if (out) continue;
    if (r >= begin + std::max<std::size_t>(1, 2 * reach))
      trust.lost.push_back({spectra.RowTime(begin), spectra.RowTime(r - 1)});
    begin = r + 1;
  }
  trust.lostShare = static_cast<double>(lost) / static_cast<double>(path.size());
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

bool CCombSpeed::Find(CSigCurve& rpm, CSigCurve& confidence, Trust* trust) const {
  std::vector<std::uint32_t> path;
  const auto follow = [&] {
    if (!engine_->Follow(path)) return false;
    if (trust != nullptr) engine_->Judge(path, *trust);
    return true;
  };
  const bool found = IsValid() && engine_->complete && umlauf::WithMemory(false, follow) &&
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
    confidence.FData()[r] = static_cast<float>(e.Share(path, r));
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
