#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "python/src/Recordings.h"
#include "python/src/Results.h"
#include "python/src/Signals.h"
#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/Rotation.h"
#include "umlauf/rotation/RotationStream.h"
#include "umlauf/rotation/SpeedSignals.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Settings = CRotationStream::Settings;

using SpikeFilter = std::tuple<float, unsigned, unsigned>;

Settings MakeSettings(double pulsesPerRevolution, bool gap, std::optional<double> gapLength,
                      std::optional<float> upper, std::optional<float> lower, const std::string& edges,
                      unsigned divider, unsigned minPulse, std::optional<SpikeFilter> spikes, bool ttl) {
  Settings settings;
  settings.pulsesPerRevolution = pulsesPerRevolution;
  settings.gap = gap;
  settings.gapLength = gapLength;
  settings.upper = upper;
  settings.lower = lower;
  if (edges != "rising" && edges != "falling" && edges != "both") {
    RefuseValue("edges are rising, falling or both, not \"" + edges + "\"");
  }
  if (divider == 0) RefuseValue("the divider must be above 0");
  CDzPulsDetektor& detector = settings.detector;
  detector.FallendeFlankenSuchen(edges == "falling");
  detector.BeideFlankenSuchen(edges == "both");
  detector.PulsTeilerSetzen(divider);
  detector.PulsMinLenSetzen(minPulse);
  detector.TtlKorrekturAktivieren(ttl);
  if (spikes) {
    const auto [threshold, runIn, deadTime] = *spikes;
    detector.StoerpulsFilterAktivieren(true, threshold, runIn, deadTime);
  }
  return settings;
}

void CheckSettings(const Settings& settings) {
  const CRotationStream stream(settings);
  if (!stream.Failure().IsEmpty()) RefuseValue(stream.Failure().ToUtf8());
}

}  // namespace

std::unique_ptr<Result> Measure(CBlockSource& source, Settings settings) {
  settings.sampleRate = source.SampleRate();
  CheckSettings(settings);
  const auto rotation = std::make_shared<CRotation>();
  const double pulses = settings.pulsesPerRevolution;
  if (settings.gapLength) {
    rotation->Wheel(pulses, *settings.gapLength);
  } else {
    rotation->Wheel(pulses, settings.gap ? CRotation::Gap::automatic : CRotation::Gap::none);
  }
  rotation->GivenLevels(settings.upper, settings.lower);
  rotation->Detector() = settings.detector;
  if (!rotation->Analyse(source)) throw Error(rotation->Failure());
  auto result = std::make_unique<Result>();
  result->train = std::shared_ptr<const CPulseTrain>(rotation, &rotation->Pulses());
  result->pulsesPerRevolution = pulses;
  result->samples = rotation->Samples();
  result->wheel = rotation->Wheel();
  result->counts = rotation->Counts();
  result->revolutions = rotation->Revolutions();
  result->revolutionSpeed = rotation->RevolutionSpeed();
  result->levels = rotation->Levels();
  result->warnings = rotation->Warnings();
  return result;
}

namespace {

std::unique_ptr<Result> MeasureSamples(const Settings& settings, const Floats& samples, double rate,
                                       double startTime) {
  const FloatArray array = samples.Get();
  nb::gil_scoped_release free;
  const Forward<float> forward(array);
  CMemorySource source(forward.data(), forward.size(), 1, forward.stride(), rate, startTime);
  return Measure(source, settings);
}

std::unique_ptr<Result> MeasureFile(const Settings& settings, const FileChannel& channel) {
  nb::gil_scoped_release free;
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  auto result = Measure(*source, settings);
  return result;
}

// Columns that are not kept as they are

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

template <class Quantity>
NumPyArray<double> Each(const CPulseTrain& pulses, Quantity quantity) {
  std::vector<double> column(pulses.size());
  for (std::size_t i = 0; i < column.size(); ++i) column[i] = quantity(pulses[i]);
  return ToNumPy(std::move(column));
}

NumPyArray<double> Times(const CPulseTrain& pulses) {
  return Each(pulses, [&](const CPulseTrain::Pulse& pulse) { return pulses.Time(pulse.Middle()); });
}

NumPyArray<double> Rpm(const CPulseTrain& pulses) {
  return Each(pulses, [rate = pulses.SampleRate()](const CPulseTrain::Pulse& pulse) {
    return pulse.HasSpeed() ? pulse.Rpm(rate) : notANumber;
  });
}

template <class Signal>
std::unique_ptr<Signal> Need(std::unique_ptr<Signal> signal) {
  NeedMemory(signal != nullptr);
  return signal;
}

std::unique_ptr<CSigCurveExt> SpeedCurve(const Result& result, double step, const CString& name) {
  if (!(step > 0)) RefuseValue("the step of a curve must be above 0 s");
  std::unique_ptr<CSigCurve> curve;
  {
    nb::gil_scoped_release free;
    CSpeedCurveBuilder builder(step);
    builder.Take(result.Pulses());
    curve = builder.Finish(name);
  }
  if (curve == nullptr) RefuseValue("the step gives too many samples for this recording; make it longer");
  curve->SetFileCompression(false);
  return AsCurve(curve.get());
}

std::unique_ptr<CSigPairs> SpeedPairs(const Result& result, const CString& name) {
  CSpeedPairsBuilder builder;
  builder.Take(result.Pulses());
  return Need(builder.Finish(name));
}

/// The angle of a shaft over time.
struct Angle {
  CShaftAngle angle;
  double rate, startTime;

  double Position(double time) const { return (time - startTime) * rate; }

  template <class Quantity>
  NumPyArray<double> Each(const Doubles& values, Quantity quantity) const {
    const DoubleArray array = values.Get();
    const auto view = array.view();
    std::vector<double> column(array.shape(0));
    for (std::size_t i = 0; i < column.size(); ++i) column[i] = quantity(view(i));
    return ToNumPy(std::move(column));
  }
  double At(double time) const { return angle.At(Position(time)); }
  double RpmAt(double time) const { return 60 * rate * angle.SpeedAt(Position(time)); }
  double TimeOf(double turns) const { return startTime + angle.PositionOf(turns) / rate; }
};

void BindAngle(nb::module_& module) {
  nb::class_<Angle>(module, "ShaftAngle",
                    R"(The angle of a shaft over time, in revolutions: 0 at the first edge.

Exact at the edges, smooth in speed between them; beyond them the outermost speed goes on.)")
      .def("__call__", &Angle::At, "time"_a, "Revolutions at times [s]; NaN without two edges.")
      .def(
          "__call__",
          [](const Angle& a, const Doubles& t) { return a.Each(t, [&](double x) { return a.At(x); }); },
          "time"_a)
      .def("rpm", &Angle::RpmAt, "time"_a, "Speed [rpm] at times [s], negative backward.")
      .def(
          "rpm",
          [](const Angle& a, const Doubles& t) { return a.Each(t, [&](double x) { return a.RpmAt(x); }); },
          "time"_a)
      .def("time_of", &Angle::TimeOf, "turns"_a,
           "Time [s] at which revolutions are reached; NaN when they never are.")
      .def(
          "time_of",
          [](const Angle& a, const Doubles& v) { return a.Each(v, [&](double x) { return a.TimeOf(x); }); },
          "turns"_a)
      .def_prop_ro(
          "begin", [](const Angle& a) { return a.startTime + a.angle.Begin() / a.rate; }, "[s] first edge")
      .def_prop_ro(
          "end", [](const Angle& a) { return a.startTime + a.angle.End() / a.rate; }, "[s] last edge")
      .def_prop_ro(
          "one_way", [](const Angle& a) { return a.angle.OneWay(); }, "Whether the shaft never turns back.");
}

NumPyArray<double, nb::ndim<2>> Revolutions(const Result& result) {
  std::vector<double> table;
  for (const auto& each : result.revolutions) {
    table.insert(table.end(),
                 {result.Pulses().Time(each.begin), result.Pulses().Time(each.end), each.turns, each.rpm});
  }
  return ToNumPy(std::move(table), 4);
}

const char* PreparationName(SwingScale::Preparation preparation) {
  using Preparation = SwingScale::Preparation;
  if (preparation == Preparation::median) return "median";
  if (preparation == Preparation::unwrapped) return "unwrapped";
  return preparation == Preparation::jumps ? "jumps" : "none";
}

void BindResult(nb::module_& module) {
  const auto policy = nb::rv_policy::automatic;
  nb::class_<Result>(module, "SpeedData", "What was measured; see Speed.")
      .def_prop_ro(
          "time", [](const Result& r) { return Times(r.Pulses()); }, policy)
      .def_prop_ro(
          "rpm", [](const Result& r) { return Rpm(r.Pulses()); }, policy)
      .def_prop_ro(
          "edges",
          [](nb::handle_t<Result> r) { return View(nb::cast<const Result&>(r).Pulses().Edges(), r); }, policy)
      .def_prop_ro(
          "pitches",
          [](nb::handle_t<Result> r) { return View(nb::cast<const Result&>(r).Pulses().Pitches(), r); },
          policy)
      .def_prop_ro(
          "flags",
          [](nb::handle_t<Result> r) { return View(nb::cast<const Result&>(r).Pulses().Flags(), r); }, policy)
      .def_prop_ro("revolutions", Revolutions, policy)
      .def_prop_ro("rate", [](const Result& r) { return r.Pulses().SampleRate(); })
      .def_prop_ro("start_time", [](const Result& r) { return r.Pulses().StartTime(); })
      .def_ro("samples", &Result::samples)
      .def_prop_ro("pulses", [](const Result& r) { return r.counts.Pulses(); })
      .def_prop_ro("gap_corrected", [](const Result& r) { return r.counts.CorrectedGaps(); })
      .def_prop_ro("spike_held", [](const Result& r) { return r.counts.Held(); })
      .def_prop_ro(
          "speed",
          [](const Result& r) {
            const SpeedSummary& speed = r.counts.Speed();
            return std::tuple(speed.min, speed.Mean(r.Pulses().SampleRate()), speed.max);
          },
          "Least, mean and greatest speed [rpm].")
      .def_prop_ro(
          "revolution_mean", [](const Result& r) { return r.revolutionSpeed.Mean(r.Pulses().SampleRate()); },
          "[rpm]")
      .def_prop_ro(
          "wheel",
          [](const Result& r) {
            std::vector<std::pair<double, double>> gaps;
            for (const auto& gap : r.wheel.gaps) gaps.emplace_back(gap.place, gap.length);
            return std::tuple(r.wheel.pitches, r.wheel.Teeth(), std::move(gaps));
          },
          "Pitches, teeth, and place and length of each gap.")
      .def_prop_ro(
          "levels",
          [](const Result& r) {
            using Levels = std::tuple<float, float, bool, bool, std::optional<std::pair<float, std::string>>>;
            if (!r.levels) return std::optional<Levels>();
            std::optional<std::pair<float, std::string>> scale;
            if (r.levels->scale)
              scale.emplace(r.levels->scale->smallest, PreparationName(r.levels->scale->preparation));
            return std::optional<Levels>(Levels(r.levels->upper, r.levels->lower, r.levels->automaticUpper,
                                                r.levels->automaticLower, scale));
          },
          "Upper and lower level, whether each was found, and smallest swing and preparation of a scale.")
      .def_prop_ro("warnings",
                   [](const Result& r) {
                     using Places = std::vector<std::pair<double, double>>;
                     const double start = r.Pulses().StartTime();
                     std::vector<std::tuple<std::string, CString, Places>> warnings;
                     for (const auto& each : r.warnings) {
                       Places places;
                       for (const auto& at : each.places) places.emplace_back(start + at.from, start + at.to);
                       warnings.emplace_back(each.code, each.text, std::move(places));
                     }
                     return warnings;
                   })
      .def("curve", SpeedCurve, "step"_a, "name"_a)
      .def("pairs", SpeedPairs, "name"_a)
      .def("angle", [](const Result& r) {
        return std::make_unique<Angle>(CShaftAngle(r.Pulses(), r.pulsesPerRevolution),
                                       r.Pulses().SampleRate(), r.Pulses().StartTime());
      });
}

/// A stream with a lock: Python may use it from two threads.
struct Stream {
  CRotationStream stream;
  CPulseTrain pulses;
  std::mutex lock;

  explicit Stream(const Settings& settings) : stream(settings), pulses(stream.NewTrain()) {}

  nb::tuple Columns() const {
    const std::span<const std::uint8_t> flags = pulses.Flags();
    return nb::make_tuple(Times(pulses), Rpm(pulses), ToNumPy(std::vector(flags.begin(), flags.end())));
  }
  nb::tuple Take(const Floats& samples) {
    const FloatArray array = samples.Get();
    nb::gil_scoped_release free;
    const std::lock_guard guard(lock);
    const Forward<float> forward(array);
    const bool good =
        stream.Take(forward.data(), forward.size(), static_cast<unsigned>(forward.stride()), pulses);
    if (!good) throw Error(stream.Failure());
    nb::gil_scoped_acquire held;
    return Columns();
  }
  nb::tuple Finish() {
    nb::gil_scoped_release free;
    const std::lock_guard guard(lock);
    if (!stream.Finish(pulses)) throw Error(stream.Failure());
    nb::gil_scoped_acquire held;
    return Columns();
  }
};

void BindStream(nb::module_& module) {
  nb::class_<Stream>(module, "RotationStream", "See SpeedStream.")
      .def(
          "__init__",
          [](Stream* self, Settings settings, double rate, double startTime, std::uint64_t learning) {
            settings.sampleRate = rate;
            settings.startTime = startTime;
            settings.learning = learning;
            CheckSettings(settings);
            new (self) Stream(settings);
          },
          "settings"_a, "rate"_a, "start_time"_a, "learning"_a)
      .def("take", &Stream::Take, "samples"_a,
           nb::sig("def take(self, samples: numpy.typing.ArrayLike) -> "
                   "tuple[NDArray[numpy.float64], NDArray[numpy.float64], NDArray[numpy.uint8]]"))
      .def("finish", &Stream::Finish,
           nb::sig("def finish(self) -> tuple[NDArray[numpy.float64], NDArray[numpy.float64], "
                   "NDArray[numpy.uint8]]"))
      .def_prop_ro("levels", [](Stream& s) {
        nb::gil_scoped_release free;  // a thread in `Take` holds the lock and waits for Python
        const std::lock_guard guard(s.lock);
        return std::pair(s.stream.Levels().upper, s.stream.Levels().lower);
      });
}

}  // namespace

void Result::Take(std::shared_ptr<const CPulseTrain> pulses, bool gap) {
  counts.Take(*pulses);
  CRevolutions whole(gap, pulsesPerRevolution);
  whole.Take(*pulses);
  NeedMemory(pulses->Complete() && whole.Complete());
  revolutions = whole.Found();
  revolutionSpeed = whole.Speed();
  train = std::move(pulses);
}

void BindSpeeds(nb::module_& module) {
  nb::class_<Settings>(module, "SpeedSettings", "What is known of a tacho and its wheel.")
      .def(
          "__init__",
          [](Settings* self, double pulses, bool gap, std::optional<double> gapLength,
             std::optional<float> upper, std::optional<float> lower, const std::string& edges,
             unsigned divider, unsigned minPulse, std::optional<SpikeFilter> spikes, bool ttl) {
            new (self) Settings(
                MakeSettings(pulses, gap, gapLength, upper, lower, edges, divider, minPulse, spikes, ttl));
          },
          nb::kw_only(), "pulses_per_rev"_a, "gap"_a, "gap_length"_a.none(), "upper"_a.none(),
          "lower"_a.none(), "edges"_a, "divider"_a, "min_pulse"_a, "spike_filter"_a.none(), "ttl"_a)
      .def("measure", MeasureSamples, "samples"_a, "rate"_a, "start_time"_a)
      .def("measure", MeasureFile, "channel"_a);
  BindAngle(module);
  BindResult(module);
  BindStream(module);
}

}  // namespace umlauf::python
