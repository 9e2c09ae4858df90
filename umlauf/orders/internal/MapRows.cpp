#include "umlauf/orders/internal/MapRows.h"

#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::orders {

/// Each bin takes in the noise of its neighbours, too.
double MapRows::Together(const float* powers) const {
  double sum = 0;
  for (std::size_t k = 0; k < axis_.bins; ++k) sum += static_cast<double>(powers[k]);
  return sum * axis_.step / axis_.width;
}

bool MapRows::Add(double place, const float* powers) {
  if (!HadMemory([&] { powers_.push_back(static_cast<float>(Together(powers))); })) return false;
  if (std::isnan(place)) return true;
  return HadMemory([&] {
    const double key = step_ > 0 ? (std::floor(place / step_) + 0.5) * step_ : place;
    std::vector<float> fresh;
    if (const auto there = rows_.find(key); there == rows_.end()) fresh.resize(axis_.bins);
    Row& row = rows_[key];
    if (row.sum.empty()) row.sum = std::move(fresh);
    QVL::AddVectors(row.sum.data(), row.sum.data(), powers, axis_.bins);
    row.count += 1;
  });
}

template <class Value>
bool MapRows::Fill(CSigCurve& curve, const MapScale& scale, Value power) const {
  curve.InitHeader();
  curve.SetXUnit(axis_.unit);
  curve.SetYUnit(scale.ValueUnit(axis_.unit));
  curve.SetXMinMax(0.0f, static_cast<float>(static_cast<double>(axis_.bins) * axis_.step));
  curve.Free();
  if (!curve.Resize(axis_.bins)) return false;
  for (std::size_t k = 0; k < axis_.bins; ++k) {
    curve.FData()[k] = static_cast<float>(scale.Value(power(k), axis_.width, k == 0));
  }
  curve.SetFileCompression(false);
  return true;
}

bool MapRows::Curves(const MapScale& scale, const CMeasuringUnit& arrayUnit, CSigCurveArray& out) const {
  out.InitHeader();
  bool complete = !rows_.empty() && scale.IsValid();
  const bool had = HadMemory([&] {
    for (auto row = rows_.begin(); complete && row != rows_.end(); ++row) {
      auto curve = std::make_unique<CSigCurveExt>();
      const auto value = [&of = row->second](std::size_t k) {
        const auto& [sum, count] = of;
        return static_cast<double>(sum[k]) / count;
      };
      complete = Fill(*curve, scale, value);
      curve->ResetVMinMax();
      curve->Date(static_cast<float>(row->first));
      complete = complete && out.Append(std::move(curve));
    }
  });
  out.SetArrayUnit(arrayUnit);
  if (!had || !complete) out.InitHeader();
  return had && complete;
}

bool MapRows::Mean(const MapScale& scale, CSigCurve& out) const {
  bool filled = false;
  const bool had = !rows_.empty() && scale.IsValid() && HadMemory([&] {
    std::vector<double> sum(axis_.bins);
    double count = 0;
    for (const auto& [place, row] : rows_) {
      for (std::size_t k = 0; k < axis_.bins; ++k) sum[k] += static_cast<double>(row.sum[k]);
      count += row.count;
    }
    filled = Fill(out, scale, [&](std::size_t k) { return sum[k] / count; });
  });
  if (!had || !filled) out.Free();
  return had && filled;
}

bool MapRows::Overall(const MapScale& scale, const CMeasuringUnit& arrayUnit, CSigPairs& out) const {
  out.InitHeader();
  out.SetXUnit(arrayUnit);
  out.SetYUnit(scale.ValueUnit(axis_.unit));
  bool complete = !rows_.empty() && scale.IsValid();
  for (auto row = rows_.begin(); complete && row != rows_.end(); ++row) {
    const double power = Together(row->second.sum.data()) / row->second.count;
    complete = out.NeuesPaar(static_cast<float>(row->first),
                             static_cast<float>(scale.Value(power, axis_.width, false)));
  }
  if (!complete) out.Neustart();
  return complete;
}

}  // namespace umlauf::orders
