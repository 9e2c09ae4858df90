#include "umlauf/orders/TorsionalVibration.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

std::size_t CTorsionalVibration::Get(const CShaftAngle& angle, float* rpm, CShaftAngle::Passing* places,
                                     std::size_t most) {
  if (!(steps_ > 0) || most == 0) return 0;
  const double from = last_ ? last_->position : -std::numeric_limits<double>::infinity();
  std::size_t found = angle.Passings(1 / steps_, from, std::min(most, next_.size()), next_.data());
  if (found > 0 && !last_) {
    last_ = next_[0];
    std::copy(next_.begin() + 1, next_.begin() + static_cast<std::ptrdiff_t>(found), next_.begin());
    if (--found == 0) return Get(angle, rpm, places, most);
  }
  for (std::size_t i = 0; i < found; ++i) {
    const CShaftAngle::Passing& next = next_[i];
    const double turned = static_cast<double>(next.count - last_->count) / steps_;
    const double speed = turned / (next.position - last_->position);
    rpm[i] = static_cast<float>(60 * rate_ * speed);
    if (places != nullptr) {
      places[i] = {(last_->position + next.position) / 2, speed, std::min(last_->count, next.count)};
    }
    last_ = next;
  }
  return found;
}

double CTorsionalVibration::AngleOf(double speedAmplitude, double order, double rpm) {
  return speedAmplitude / (order * rpm) * 180 / std::numbers::pi;
}
