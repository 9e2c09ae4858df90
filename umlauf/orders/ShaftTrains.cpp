#include "umlauf/orders/ShaftTrains.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/signal/CurveSpan.h"

namespace {

/// A pulse of so many turns from one position [samples] to another.
CPulseTrain::Pulse TurnsBetween(double begin, double end, double turns) {
  CPulseTrain::Pulse pulse;
  pulse.begin = begin;
  pulse.end = end;
  pulse.pitches = turns;
  pulse.revolutionTime = turns != 0 ? (end - begin) / turns : 0;
  pulse.samples = numeric::trunc_sat<std::uint64_t>(std::max(0.0, std::floor(end) - std::floor(begin)));
  return pulse;
}

}  // namespace

CPulseTrain ShaftTrains::Geared(const CPulseTrain& pulses, double ratio) {
  CPulseTrain geared(pulses.SampleRate(), pulses.StartTime());
  if (ratio == 0 || !std::isfinite(ratio) || !geared.Reserve(pulses.size())) return geared;
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    CPulseTrain::Pulse pulse = pulses[i];
    pulse.pitches *= ratio;
    pulse.revolutionTime /= ratio;
    geared.Append(pulse);
  }
  return geared;
}

CPulseTrain ShaftTrains::Sum(const Part& a, const Part& b) {
  CPulseTrain sum(a.pulses->SampleRate(), a.pulses->StartTime());
  const CShaftAngle first(*a.pulses, a.pulsesPerRevolution), second(*b.pulses, b.pulsesPerRevolution);
  if (!first.Valid() || !second.Valid() || !std::isfinite(a.ratio) || !std::isfinite(b.ratio)) return sum;
  const double begin = std::max(first.Begin(), second.Begin()), end = std::min(first.End(), second.End());
  std::vector<double> edges;
  const bool had = umlauf::HadMemory([&] {
    edges.reserve(a.pulses->size() + b.pulses->size() + 2);
    std::merge(a.pulses->Edges().begin(), a.pulses->Edges().end(), b.pulses->Edges().begin(),
               b.pulses->Edges().end(), std::back_inserter(edges));
  });
  if (!had || !sum.Reserve(edges.size())) return sum;
  const auto angle = [&](double at) { return a.ratio * first.At(at) + b.ratio * second.At(at); };
  double at = begin, turned = angle(begin);
  for (const double edge : edges) {
    // Edges of both that nearly coincide would make a pulse without a length.
    if (edge < at + 1e-3 || edge > end) continue;
    const double next = angle(edge);
    sum.Append(TurnsBetween(at, edge, next - turned));
    at = edge;
    turned = next;
  }
  return sum;
}

CPulseTrain ShaftTrains::FromSpeed(const CSigCurve& speed, double rate, double startTime) {
  CPulseTrain train(rate, startTime);
  const CurveSpan span = SpanOf(speed);
  const double step = span.Step();
  if (span.length == 0 || !(step > 0) || !std::isfinite(step) || !(rate > 0) ||
      !train.Reserve(static_cast<std::size_t>(span.length))) {
    return train;
  }
  double begin = (span.X(0) - step / 2 - startTime) * rate;
  for (std::uint64_t i = 0; i < span.length; ++i) {
    const double rpm = static_cast<double>(span.samples[i]), end = begin + step * rate;
    train.Append(TurnsBetween(begin, end, std::isfinite(rpm) ? rpm / 60 * step : 0));
    begin = end;
  }
  return train;
}
