#include "rotation/KnownRecordings.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "tools/simulate/RandomNumbers.h"
#include "tools/simulate/WheelSimulator.h"

namespace {

using umlauf::tool::NormalNumbers;
using umlauf::tool::SpeedProfile;
using umlauf::tool::WheelSettings;
using umlauf::tool::WheelSimulator;
using Shape = WheelSettings::Shape;

/// A recording before its speeds are known.
struct Draft {
  explicit Draft(std::uint64_t seed) : random(seed) {}

  double Even(double a, double b) { return a + (b - a) * random.Uniform(); }
  double Log(double a, double b) { return a * std::pow(b / a, random.Uniform()); }
  bool Chance(double share) { return random.Uniform() < share; }
  void Teeth(unsigned teeth, const std::vector<unsigned>& missing) {
    wheel.teeth = teeth;
    wheel.SpreadGaps(missing);
  }

  NormalNumbers random;
  WheelSettings wheel;
  double duration = 0;  ///< [s] of the run
  double slowest = 1;   ///< speed as part of the greatest
  double noise = 0;     ///< six deviations, in thirds of the lowest swing; 0: little
  double lost = 0;      ///< length of a dropout, in teeth
  bool rises = true, fromRest = false, toRest = false, restBetween = false;
};

struct Kind {
  const char* name;
  void (*shape)(Draft&);
};

void Sine(Draft& d) { d.wheel.shape = Shape::sine; }
void Ttl(Draft& d) {
  d.wheel.shape = Shape::ttl;
  d.wheel.duty = d.Even(0.2, 0.8);
}
void Inductive(Draft& d) {
  Sine(d);
  d.wheel.growth = 1;
  d.slowest = d.Log(0.05, 1);
  d.noise = d.Even(0.05, 0.9);
}
void Inverted(Draft& d) { d.wheel.inverted = true; }
void OneMark(Draft& d) {
  d.Teeth(1, {});
  d.wheel.shape = d.Chance(0.5) ? Shape::pulse : Shape::ttl;
  d.wheel.duty = d.Even(0.01, 0.03);
}
void SeveralGaps(Draft& d) {
  const std::pair<unsigned, std::vector<unsigned>> wheels[] = {
      {36, {2, 1}}, {60, {2, 2}}, {36, {2, 2, 2}}, {48, {1, 0, 1, 2}}};
  const auto& [teeth, missing] = wheels[static_cast<std::size_t>(d.Even(0, 4))];
  d.Teeth(teeth, missing);
}
void Drift(Draft& d) {
  Sine(d);
  d.wheel.disturbances.drift = d.Log(0.5, 5);
}
void SlowSteps(Draft& d) {
  d.wheel.disturbances.stepRate = d.Even(0.5, 2);
  d.wheel.disturbances.stepSize = d.Log(0.5, 4);
}
void FastSteps(Draft& d) {
  d.wheel.disturbances.stepRate = 20;
  d.wheel.disturbances.stepSize = d.Log(0.3, 2);
}
void Eccentric(Draft& d) {
  Sine(d);
  d.wheel.eccentricity = d.Log(0.2, 2);
}
void Clipped(Draft& d) {
  Sine(d);
  d.wheel.disturbances.level = d.Even(-0.5, 0.5);
  d.wheel.disturbances.highest = d.Even(0.3, 0.9);
  d.wheel.disturbances.lowest = -d.Even(0.3, 0.9);
}
void Wrapped(Draft& d) {
  Sine(d);
  d.wheel.disturbances.drift = d.Even(0.5, 2);
  d.wheel.disturbances.wrap = d.Even(2.5, 4);
}
void Spikes(Draft& d) {
  d.wheel.disturbances.spikeRate = d.Log(1, 30);
  d.wheel.disturbances.spikeSize = d.Log(1, 10);
}
void Dropouts(Draft& d) {
  Sine(d);
  d.wheel.disturbances.dropoutRate = d.Log(1, 10);
  d.lost = d.Chance(0.85) ? d.Even(0.1, 0.4) : d.Even(3, 30);
}
void Noise(Draft& d) {
  d.noise = d.Even(0.2, 1);
  d.wheel.growth = d.Even(0, 1);
}
void FromRest(Draft& d) { d.fromRest = true; }
void ToRest(Draft& d) { d.toRest = true; }
void RestBetween(Draft& d) { d.restBetween = true; }
void BehindGap(Draft& d) {
  Sine(d);
  if (d.wheel.gaps.empty()) d.Teeth(60, {2});
  d.wheel.behindGap = d.Even(1.3, 2.5);
}
void TtlDisturbed(Draft& d) {
  d.wheel.shape = Shape::ttl;
  d.wheel.disturbances.drift = d.Log(0.1, 3);
  d.wheel.disturbances.stepRate = d.Even(0.5, 3);
  d.wheel.disturbances.stepSize = d.Log(0.1, 3);
}
void Mixed(Draft& d) {
  if (d.Chance(0.5)) d.wheel.disturbances.drift = d.Log(0.2, 2);
  if (d.Chance(0.3)) d.wheel.disturbances.spikeRate = d.Log(1, 10);
  if (d.Chance(0.5)) d.wheel.inverted = true;
  if (d.Chance(0.3)) d.fromRest = true;
  if (d.Chance(0.3)) d.toRest = true;
  if (d.Chance(0.3)) d.wheel.eccentricity = 0.3;
  if (d.Chance(0.3)) d.wheel.disturbances.stepRate = 1, d.wheel.disturbances.stepSize = 0.5;
}

constexpr Kind kinds[] = {{"sine", Sine},
                          {"TTL", Ttl},
                          {"inductive", Inductive},
                          {"inverted", Inverted},
                          {"one mark", OneMark},
                          {"several gaps", SeveralGaps},
                          {"drift", Drift},
                          {"level steps", SlowSteps},
                          {"level steps in a turn", FastSteps},
                          {"eccentric", Eccentric},
                          {"clipped", Clipped},
                          {"wrapped", Wrapped},
                          {"spikes", Spikes},
                          {"dropouts", Dropouts},
                          {"noise", Noise},
                          {"start from rest", FromRest},
                          {"stop", ToRest},
                          {"rest between", RestBetween},
                          {"high tooth behind the gap", BehindGap},
                          {"TTL, drift and steps", TtlDisturbed},
                          {"mixed", Mixed}};

Draft Ordinary(std::uint64_t seed) {
  Draft d(seed);
  const std::pair<unsigned, std::vector<unsigned>> wheels[] = {{60, {2}}, {36, {1}}, {24, {}},
                                                               {12, {1}}, {8, {}},   {60, {}}};
  const auto& [teeth, missing] = wheels[static_cast<std::size_t>(d.Even(0, 6))];
  d.Teeth(teeth, missing);
  d.wheel.seed = seed;
  d.wheel.rate = std::round(d.Log(10000, 50000));
  d.wheel.amplitude = d.Log(0.01, 100);
  d.wheel.disturbances.level = d.Even(-3, 3);
  d.wheel.noise = d.Log(0.001, 0.02);
  d.wheel.growth = d.Even(0, 0.5);
  d.wheel.jitter = d.Log(1e-4, 0.01);
  d.wheel.shape = d.Chance(0.25) ? Shape::ttl : Shape::sine;
  d.duration = d.Even(1, 2);
  d.slowest = d.Log(0.33, 1);
  d.rises = d.Chance(0.5);
  return d;
}

/// The greatest speed [rpm]: 12 samples or more for a tooth, 16 turns or so in the run.
double Greatest(Draft& d) {
  WheelSettings& wheel = d.wheel;
  const double teethPerSecond =
      wheel.teeth == 1 ? d.Log(8, wheel.rate * wheel.duty / 8) : d.Log(wheel.rate / 200, wheel.rate / 12);
  const double perMinute = 60.0 / wheel.teeth;
  return std::max(teethPerSecond * perMinute,
                  std::min(16 * 60 / d.duration / 0.6, wheel.rate / 10 * perMinute));
}

void Complete(Draft& d, double greatest) {
  WheelSettings& wheel = d.wheel;
  const bool sine = wheel.shape == Shape::sine;
  const double lowestSwing =
      (sine ? 2 : 1) * std::pow(d.slowest, wheel.shape == Shape::ttl ? 0 : wheel.growth);
  wheel.noise = d.noise > 0 ? d.noise * lowestSwing / 18 : std::min(wheel.noise, lowestSwing / 18);
  // The place of a tooth is known to a part of a revolution, not of a tooth that is one.
  wheel.jitter *= std::min(1.0, wheel.teeth / 20.0);
  const double tooth = 60 / (greatest * wheel.teeth);
  wheel.disturbances.driftPeriod = std::max(d.Log(0.1, 2) * d.duration, 15 * tooth / d.slowest);
  wheel.disturbances.dropoutLength = d.lost * tooth;
}

SpeedProfile Profile(const Draft& d, double from, double to) {
  constexpr double ramp = 0.3, rest = 0.2;  // s
  std::vector<SpeedProfile::Point> points;
  double time = 0;
  const auto go = [&](double seconds, double rpm) { points.push_back({time += seconds, rpm}); };
  go(0, d.fromRest ? 0 : from);
  if (d.fromRest) go(rest, 0), go(ramp, from);
  if (d.restBetween) {
    go(d.duration / 2, (from + to) / 2), go(ramp, 0), go(rest, 0), go(ramp, (from + to) / 2);
    go(d.duration / 2, to);
  } else {
    go(d.duration, to);
  }
  if (d.toRest) go(ramp, 0), go(rest, 0);
  return SpeedProfile(points);
}

}  // namespace

std::size_t Kinds() { return std::size(kinds); }

KnownRecording SimulateKind(std::uint64_t seed) {
  const Kind& kind = kinds[seed % Kinds()];
  Draft d = Ordinary(seed);
  kind.shape(d);
  const double greatest = Greatest(d), slowest = greatest * d.slowest;
  Complete(d, greatest);
  KnownRecording known;
  known.kind = kind.name;
  known.rate = d.wheel.rate;
  known.profile = d.rises ? Profile(d, slowest, greatest) : Profile(d, greatest, slowest);
  known.standstills = (d.fromRest ? 1u : 0u) + (d.restBetween ? 1u : 0u) + (d.toRest ? 1u : 0u);
  WheelSimulator simulator(known.profile, d.wheel);
  known.samples.resize(simulator.frames());
  simulator.Next(known.samples);
  // A sine that begins with its zero crossing shows this tooth, too.
  const bool startsLow = d.wheel.shape != Shape::ttl && !d.wheel.inverted;
  known.teeth = static_cast<double>(simulator.teeth()) + (startsLow ? 1 : 0);
  const std::vector<bool> present = d.wheel.Present();
  known.teethPerTurn = static_cast<std::size_t>(std::count(present.begin(), present.end(), true));
  return known;
}

bool KnownRecording::IsRight(const std::vector<double>& edges) const {
  if (std::abs(static_cast<double>(edges.size()) - teeth) > 1 + standstills) return false;
  std::vector<double> deviations;
  for (std::size_t i = 0; i + teethPerTurn < edges.size(); i += teethPerTurn) {
    const double turns = profile.Turns(edges[i + teethPerTurn] / rate) - profile.Turns(edges[i] / rate);
    deviations.push_back(std::abs(1 / turns - 1));
  }
  if (deviations.empty()) return false;
  const auto middle = deviations.begin() + static_cast<std::ptrdiff_t>(deviations.size() / 2);
  std::nth_element(deviations.begin(), middle, deviations.end());
  return *middle < 0.005;
}
