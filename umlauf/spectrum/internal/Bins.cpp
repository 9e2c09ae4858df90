#include "umlauf/spectrum/internal/Bins.h"

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/spectrum/SpectrumLevels.h"

namespace umlauf::spectrum {

bool FrequencyCurve(CSigCurve& out, std::size_t length, double rate) {
  const std::size_t bins = length / 2 + 1;
  out.InitHeader();
  out.SetXUnit(CMeasuringUnit(CMeasuringUnit::hertz));
  // The axis first: an extended curve's span follows it when the length changes.
  out.SetXMinMax(0.0f, static_cast<float>(static_cast<double>(bins) * rate / static_cast<double>(length)));
  out.Free();
  const bool done = out.Resize(bins);
  return done;
}

CMeasuringUnit ScaledUnit(SpectrumScaling scaling, const CMeasuringUnit& unit) {
  return SpectrumLevels::ValueUnit(scaling, unit, CMeasuringUnit(CMeasuringUnit::hertz));
}

void LongSum::Clear() {
  QVL::FillFloat(recent_.data(), recent_.size(), 0.0f);
  for (double& value : total_) value = 0.0;
  count_ = 0;
}

void LongSum::Settle() {
  for (std::size_t i = 0; i < recent_.size(); ++i) total_[i] += static_cast<double>(recent_[i]);
  QVL::FillFloat(recent_.data(), recent_.size(), 0.0f);
  count_ = 0;
}

}  // namespace umlauf::spectrum
