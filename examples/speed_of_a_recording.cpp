// From a recording to its speed: levels, pulses, the gap of the wheel, whole revolutions, and a signal file.

#include <umlauf/umlauf.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

/// Two seconds of a crank wheel with 60-2 teeth, from 600 to 1800 rpm, at 50000 samples/s.
std::vector<float> Recorded() {
  std::vector<float> samples;
  for (double t = 0; t < 2; t += 1 / 50000.0) {
    const double turns = 10 * t + 5 * t * t, tooth = 60 * (turns - std::floor(turns));
    samples.push_back(tooth < 58 ? static_cast<float>(std::sin(6.283185307179586 * tooth)) : 0.0f);
  }
  return samples;
}

}  // namespace

int main() {
  const std::vector<float> samples = Recorded();

  CMemorySource recording(samples, 50000);
  CRotation rotation;
  rotation.Wheel(60, CRotation::Gap::automatic);
  if (!rotation.Analyse(recording)) {
    std::printf("no speed: %s\n", rotation.Failure().ToUtf8().c_str());
    return 1;
  }
  for (const RotationWarning& each : rotation.Warnings()) std::puts(each.text.ToUtf8().c_str());
  for (const auto& each : rotation.Revolutions())
    std::printf("%.3f s: %.1f rpm\n", each.end / 50000, each.rpm);
  const auto curve = rotation.SpeedCurve(0.01);     // s and rpm; what plots and files take
  const double angle = rotation.Angle().At(75000);  // revolutions from the first edge to 1.5 s

  CSignalFile file;
  if (curve == nullptr || !file.Write(*curve, L"speed_of_a_recording.usig")) return 1;
  std::printf("mean %.1f rpm, %.2f revolutions up to 1.5 s, teeth of the wheel: %g\n",
              rotation.Speed().Mean(50000), angle, rotation.Wheel().Teeth());
  const bool right = std::fabs(rotation.Speed().Mean(50000) - 1200) < 3 && std::fabs(angle - 26.25) < 0.01 &&
                     rotation.Wheel().Teeth() == 58;
  return right ? 0 : 1;
}
