// From a tacho and a vibration to orders: where the shaft is, which order is how loud at which speed, and the
// map of all of them as a signal file.

#include <umlauf/umlauf.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr double kRate = 20000, kTurn = 6.283185307179586;

/// Two channels of a run-up from 600 to 3000 rpm in 8 s: a wheel of 60 teeth, and a vibration whose orders 1
/// and 2.5 have the peaks 1 and 0.3.
std::vector<float> Recorded() {
  std::vector<float> frames;
  for (double t = 0; t < 8; t += 1 / kRate) {
    const double turns = 10 * t + 2.5 * t * t;
    frames.push_back(static_cast<float>(std::sin(60 * kTurn * turns)));
    frames.push_back(static_cast<float>(std::cos(kTurn * turns) + 0.3 * std::cos(2.5 * kTurn * turns)));
  }
  return frames;
}

}  // namespace

int main() {
  const std::vector<float> frames = Recorded();
  CMemorySource recording(frames.data(), frames.size() / 2, 2, 2, kRate);

  CRotation rotation;
  rotation.Wheel(60);
  if (!rotation.Analyse(recording, 0)) {
    std::printf("no speed: %s\n", rotation.Failure().ToUtf8().c_str());
    return 1;
  }
  recording.Rewind();
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 10, .resolution = 0.1};
  settings.tracks.orders = {1, 2.5};
  COrderAnalysis orders(settings);
  if (!orders.Analyse(recording, rotation.Pulses(), 60, 1)) {
    std::printf("no orders: %s\n", orders.Failure().ToUtf8().c_str());
    return 1;
  }
  bool right = true;
  const double peaks[] = {1, 0.3};
  for (std::size_t i = 0; i < settings.tracks.orders.size(); ++i) {
    const COrderTracker::Point last = orders.Tracks()->Track(0, i).back();
    std::printf("order %.1f: peak %.3f at %.0f rpm\n", settings.tracks.orders[i], last.amplitude,
                last.place.rpm);
    right = right && std::fabs(last.amplitude / peaks[i] - 1) < 0.01;
  }
  CSigCurveArray map;
  CSignalFile file;
  if (!orders.Map()->Map(0, {.reference = 1.0}, map) || !file.Write(map, L"orders.usig")) return 1;
  std::printf("%zu spectra in orders.usig\n", map.Count());
  return right ? 0 : 1;
}
