#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "python/src/Recordings.h"
#include "python/src/Results.h"
#include "python/src/Signals.h"
#include "umlauf/orders/OrderAnalysis.h"
#include "umlauf/recording/MemorySource.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Settings = COrderAnalysis::Settings;

/// One channel that was analysed.
struct Orders {
  explicit Orders(const Settings& settings) : analysis(settings), orders(settings.tracks.orders) {}

  COrderAnalysis analysis;
  std::vector<double> orders;
  CMeasuringUnit unit;
};

template <class T>
T OneOf(const std::string& name, std::initializer_list<std::pair<const char*, T>> known, const char* what) {
  std::string all;
  for (const auto& [text, value] : known) {
    if (name == text) return value;
    all += std::string(all.empty() ? "" : ", ") + text;
  }
  RefuseValue(std::string(what) + " \"" + name + "\" is not known; take one of " + all);
}

MapAxis::Kind AxisOf(const std::string& name) {
  using Kind = MapAxis::Kind;
  return OneOf<Kind>(name, {{"time", Kind::time}, {"revolution", Kind::revolution}, {"speed", Kind::speed}},
                     "axis");
}

MapScale ScaleOf(const Orders& orders, const std::string& scaling, std::optional<double> reference) {
  MapScale scale;
  scale.scaling = OneOf<SpectrumScaling>(scaling,
                                         {{"rms", SpectrumScaling::Effective},
                                          {"amplitude", SpectrumScaling::Amplitude},
                                          {"power", SpectrumScaling::Power},
                                          {"density", SpectrumScaling::Density}},
                                         "scaling");
  scale.reference = reference;
  scale.unit = orders.unit;
  if (!scale.IsValid()) RefuseValue("the reference of levels must be above 0");
  return scale;
}

Settings MakeSettings(double maxOrder, double resolution, double overlap, const std::string& axis,
                      double step, std::vector<double> tracks, double bandwidth, const std::string& method,
                      unsigned averaged) {
  using Method = OrderTrackSettings::Method;
  Settings settings;
  settings.map.maxOrder = maxOrder;
  settings.map.resolution = resolution;
  settings.map.overlap = overlap;
  settings.map.axis = {AxisOf(axis), step};
  settings.tracks.orders = std::move(tracks);
  settings.tracks.bandwidth = bandwidth;
  settings.tracks.method =
      OneOf<Method>(method, {{"segments", Method::segments}, {"vold-kalman", Method::voldKalman}}, "method");
  settings.averagedRevolutions = averaged;
  return settings;
}

std::unique_ptr<Orders> Analyse(const Settings& settings, CBlockSource& source, const Result& speed) {
  auto orders = std::make_unique<Orders>(settings);
  if (!orders->analysis.Analyse(source, speed.Pulses(), speed.pulsesPerRevolution, 0, 1)) {
    throw Error(orders->analysis.Failure());
  }
  return orders;
}

std::unique_ptr<Orders> OfSamples(const Settings& settings, const Result& speed, const UnitLike& unit,
                                  const Floats& samples, double rate, double startTime) {
  const FloatArray array = samples.Get();
  const CMeasuringUnit told = unit;
  nb::gil_scoped_release free;
  const Forward<float> forward(array);
  CMemorySource source(forward.data(), forward.size(), 1, forward.stride(), rate, startTime);
  auto orders = Analyse(settings, source, speed);
  orders->unit = told;
  return orders;
}

std::unique_ptr<Orders> OfFile(const Settings& settings, const Result& speed, const UnitLike& unit,
                               const FileChannel& channel) {
  const CMeasuringUnit told = unit;
  nb::gil_scoped_release free;
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  auto orders = Analyse(settings, *source, speed);
  orders->unit = told;
  return orders;
}

std::unique_ptr<Orders> Torsional(const Settings& settings, const Result& speed) {
  nb::gil_scoped_release free;
  auto orders = std::make_unique<Orders>(settings);
  if (!orders->analysis.AnalyseTorsion(speed.Pulses(), speed.pulsesPerRevolution)) {
    throw Error(orders->analysis.Failure());
  }
  orders->unit = CMeasuringUnit(CMeasuringUnit::rpm);
  return orders;
}

const COrderMap& MapOf(const Orders& orders) {
  const COrderMap& map = *orders.analysis.Map();
  if (map.Rows().empty()) {
    throw Error(
        L"the recording has fewer revolutions than one segment of the map; make the resolution coarser");
  }
  return map;
}

std::unique_ptr<CSigCurveArray> Map(const Orders& orders, const std::string& scaling,
                                    std::optional<double> reference) {
  auto map = std::make_unique<CSigCurveArray>();
  const MapScale scale = ScaleOf(orders, scaling, reference);
  NeedMemory(MapOf(orders).Map(0, scale, *map));
  return map;
}

std::unique_ptr<CSigCurveExt> Spectrum(const Orders& orders, const std::string& scaling,
                                       std::optional<double> reference) {
  CSigCurve spectrum;
  NeedMemory(MapOf(orders).Spectrum(0, ScaleOf(orders, scaling, reference), spectrum));
  return AsCurve(&spectrum);
}

std::unique_ptr<CSigPairs> Overall(const Orders& orders, const std::string& scaling,
                                   std::optional<double> reference) {
  auto level = std::make_unique<CSigPairs>();
  NeedMemory(MapOf(orders).OverallLevel(0, ScaleOf(orders, scaling, reference), *level));
  return level;
}

/// Columns of a track: time, revolution, speed, amplitude and phase.
NumPyArray<double, nb::ndim<2>> Track(const Orders& orders, double order) {
  for (std::size_t i = 0; i < orders.orders.size(); ++i) {
    if (orders.orders[i] != order) continue;
    std::vector<double> table;
    for (const COrderTracker::Point& each : orders.analysis.Tracks()->Track(0, i)) {
      table.insert(table.end(),
                   {each.place.time, each.place.revolution, each.place.rpm, each.amplitude, each.phase});
    }
    return ToNumPy(std::move(table), 5);
  }
  RefuseValue("order " + std::to_string(order) + " was not tracked; name it in tracks=");
}

nb::object Average(const Orders& orders) {
  const CSynchronousAverage* average = orders.analysis.Average();
  if (average == nullptr) RefuseValue("no average was made; ask for it with average=1, in revolutions");
  CSigCurve curve;
  NeedMemory(average->Average(0, orders.unit, curve));
  return nb::make_tuple(AsCurve(&curve), average->AverageRms(0), average->ResidualRms(0));
}

}  // namespace

void BindOrders(nb::module_& module) {
  nb::class_<Settings>(module, "OrderSettings", "What is asked for; see orders.")
      .def(
          "__init__",
          [](Settings* self, double maxOrder, double resolution, double overlap, const std::string& axis,
             double step, std::vector<double> tracks, double bandwidth, const std::string& method,
             unsigned averaged) {
            new (self) Settings(MakeSettings(maxOrder, resolution, overlap, axis, step, std::move(tracks),
                                             bandwidth, method, averaged));
          },
          nb::kw_only(), "max_order"_a, "resolution"_a, "overlap"_a, "axis"_a, "step"_a, "tracks"_a,
          "bandwidth"_a, "method"_a, "average"_a)
      .def("analyse", OfFile, "speed"_a, "unit"_a, "channel"_a)
      .def("analyse", OfSamples, "speed"_a, "unit"_a, "samples"_a, "rate"_a, "start_time"_a)
      .def("analyse_torsion", Torsional, "speed"_a);
  nb::class_<Orders>(module, "OrderData", "What was found; see Orders.")
      .def("map", Map, "scaling"_a, "reference"_a.none())
      .def("spectrum", Spectrum, "scaling"_a, "reference"_a.none())
      .def("overall", Overall, "scaling"_a, "reference"_a.none())
      .def("track", Track, "order"_a)
      .def_prop_ro(
          "unit", [](const Orders& o) { return o.unit; }, "Of the samples.")
      .def_prop_ro("averaged", [](const Orders& o) { return o.analysis.Average() != nullptr; })
      .def("average", Average, nb::sig("def average(self) -> tuple[Curve, float, float]"));
}

}  // namespace umlauf::python
