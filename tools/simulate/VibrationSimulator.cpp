#include "tools/simulate/VibrationSimulator.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace umlauf::tool {

using Complex = std::complex<double>;

std::vector<VibrationSettings::Order> VibrationSettings::AllOrders() const {
  std::vector<Order> all = orders;
  if (gearMesh) {
    const double side = gearMesh->amplitude * gearMesh->modulation / 2;
    all.push_back({gearMesh->teeth, gearMesh->amplitude, 0});
    all.push_back({gearMesh->teeth - 1, side, 0});
    all.push_back({gearMesh->teeth + 1, side, 0});
  }
  return all;
}

VibrationSimulator::VibrationSimulator(SpeedProfile profile, const VibrationSettings& settings, double rate,
                                       std::uint64_t seed)
    : profile_(std::move(profile)),
      settings_(settings),
      orders_(settings.AllOrders()),
      rate_(rate),
      // Other numbers than those of the tacho's sensor.
      random_(seed ^ 0x9e3779b97f4a7c15) {
  if (settings_.bearing) {
    const auto& fault = *settings_.bearing;
    turn_ = std::exp(Complex(-1 / fault.decay, 2 * std::numbers::pi * fault.frequency) / rate);
  }
}

Complex VibrationSimulator::Response(double frequency) const {
  if (!settings_.resonance) return 1;
  const double ratio = frequency / settings_.resonance->frequency;
  return 1.0 / Complex(1 - ratio * ratio, 2 * settings_.resonance->damping * ratio);
}

double VibrationSimulator::Ringing(double turns, double time) {
  const VibrationSettings::BearingFault& fault = *settings_.bearing;
  ring_ *= turn_;
  for (; impacts_ < std::floor(turns * fault.order); ++impacts_) {
    // Since the impact, within this sample.
    const double speed = profile_.Rpm(time) / 60 * fault.order;
    const double since = speed > 0 ? (turns * fault.order - impacts_ - 1) / speed : 0;
    ring_ += fault.amplitude * std::pow(turn_, since * rate_);
  }
  return ring_.imag();
}

float VibrationSimulator::Sample(double time) {
  const double turns = profile_.Turns(time), speed = profile_.Rpm(time) / 60;
  double value = settings_.noise > 0 ? settings_.noise * random_.Next() : 0;
  for (const auto& each : orders_) {
    const double phase = 2 * std::numbers::pi * (each.order * turns + each.degrees / 360);
    value += each.amplitude * std::real(Response(each.order * speed) * std::polar(1.0, phase));
  }
  if (settings_.bearing) value += Ringing(turns, time);
  return static_cast<float>(value);
}

void VibrationSimulator::Next(float* samples, std::size_t n, std::size_t stride) {
  for (std::size_t i = 0; i < n; ++i) samples[i * stride] = Sample(static_cast<double>(at_++) / rate_);
}

}  // namespace umlauf::tool
