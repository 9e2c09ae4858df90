#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "python/src/Arrays.h"
#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "python/src/Units.h"
#include "umlauf/typed/TypedSignal.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Samples = nb::ndarray<nb::ro, nb::ndim<2>, nb::c_contig, nb::device::cpu>;
using KeyFields = std::tuple<int, int, int, int, int, int>;
using Axis = std::tuple<double, double, std::uint32_t, CMeasuringUnit>;
using Channel = std::tuple<CMeasuringUnit, double, int>;

/// A typed signal of any kind of samples. Does not change.
struct Typed {
  std::variant<CTypedSignal<std::int16_t>, CTypedSignal<std::int32_t>, CTypedSignal<ULONG>,
               CTypedSignal<float>>
      signal;

  const CSignalBase& Base() const {
    return std::visit([](const auto& each) -> const CSignalBase& { return each; }, signal);
  }
  const CDescriptionInterface& Description() const { return Base().Description(); }
};

/// An empty signal of samples of this type.
Typed OfType(const std::string& name) {
  Typed typed;
  if (name == "int16") {
    typed.signal.emplace<CTypedSignal<std::int16_t>>();
  } else if (name == "int32") {
    typed.signal.emplace<CTypedSignal<std::int32_t>>();
  } else if (name == "uint32") {
    typed.signal.emplace<CTypedSignal<ULONG>>();
  } else if (name == "float32") {
    typed.signal.emplace<CTypedSignal<float>>();
  } else {
    RefuseValue("samples of typed signals are int16, int32, uint32 or float32, not " + name);
  }
  return typed;
}

CYChannelDescriptionInterface::EChannelCoding CodingOf(const std::string& name) {
  using Y = CYChannelDescriptionInterface;
  if (name == "int16") return Y::codingInt16;
  if (name == "int32") return Y::codingInt;
  return name == "uint32" ? Y::codingUInt : Y::codingFloat;
}

std::unique_ptr<Typed> NewSignal(const Samples& samples, const std::string& type, double start, double step,
                                 const UnitLike& axisUnit, const std::vector<Channel>& channels,
                                 const KeyFields& key) {
  auto typed = std::make_unique<Typed>(OfType(type));
  const std::size_t count = samples.shape(1);
  if (count == 0 || count > SDescriptionPOD::slotCount || count != channels.size()) {
    RefuseValue("a typed signal has 1 to 32 channels, and as many descriptions of them");
  }
  if (samples.shape(0) > std::numeric_limits<std::uint32_t>::max()) RefuseValue("the signal is too long");
  const CMeasuringUnit unit = axisUnit;
  std::visit(
      [&]<class T>(CTypedSignal<T>& signal) {
        CDescriptionInterface& description = signal.Description();
        description.XInsert(0, 1);
        description.X(0)._construct(false);
        description.X(0).Len(static_cast<std::uint32_t>(samples.shape(0)));
        description.X(0).Delta(static_cast<float>(step));
        description.X(0).Start(static_cast<float>(start));
        description.X(0).Unit() = unit.pod();
        description.YInsert(0, static_cast<unsigned>(count));
        for (unsigned c = 0; c < count; ++c) {
          auto& y = description.Y(c);
          y._construct(false);
          y.ChannelCoding(CodingOf(type));
          y.Unit() = std::get<0>(channels[c]).pod();
          y.Gauge(static_cast<float>(std::get<1>(channels[c])));
          y.AppSigId(std::get<2>(channels[c]));
        }
        signal.Key() = std::apply([](auto... field) { return SClavis(CClavis(field...)); }, key);
        NeedMemory(signal.assign_buffer(static_cast<const T*>(samples.data())));
      },
      typed->signal);
  return typed;
}

std::unique_ptr<Typed> Read(const nb::bytes& record, const std::string& type) {
  auto typed = std::make_unique<Typed>(OfType(type));
  const std::int64_t read = std::visit(
      [&](auto& signal) { return signal.read(record.data(), std::uint64_t{record.size()}); }, typed->signal);
  if (read < 0 || static_cast<std::uint64_t>(read) != record.size()) {
    throw Error(L"the bytes are no record of a typed signal of this type, or not the whole of one");
  }
  const bool whole = std::visit(
      [](const auto& signal) { return signal.Description().elements() == signal.elements(); }, typed->signal);
  if (!whole) throw Error(L"the typed signal describes another number of samples than it has");
  return typed;
}

nb::bytes Write(const Typed& typed) {
  return std::visit(
      [](const auto& signal) {
        std::vector<char> record(signal.length());
        if (signal.write(record.data()) < 0) throw std::bad_alloc();
        return nb::bytes(record.data(), record.size());
      },
      typed.signal);
}

/// [dimensions from the slowest on, channels], where they lie.
nb::ndarray<nb::numpy, nb::ro> SamplesOf(nb::handle_t<Typed> self) {
  const Typed& typed = nb::cast<const Typed&>(self);
  const CDescriptionInterface& description = typed.Description();
  std::vector<std::size_t> shape;
  std::vector<std::int64_t> strides;
  for (unsigned d = description.XCount(); d-- > 0;) {
    shape.push_back(description.X(d).Len());
    strides.push_back(static_cast<std::int64_t>(description.stride(d)));
  }
  shape.push_back(description.YCount());
  const bool blocked = description.SignalCoding() == signalCodingBlocked;
  strides.push_back(blocked ? static_cast<std::int64_t>(description.points()) : 1);
  return std::visit(
      [&]<class T>(const CTypedSignal<T>& signal) {
        return nb::ndarray<nb::numpy, nb::ro>(signal.data(), shape.size(), shape.data(), self, strides.data(),
                                              nb::dtype<T>());
      },
      typed.signal);
}

std::vector<Axis> Axes(const Typed& typed) {
  std::vector<Axis> axes;
  for (unsigned d = typed.Description().XCount(); d-- > 0;) {
    const auto& x = typed.Description().X(d);
    axes.emplace_back(x.Start(), x.Delta(), x.Len(), CMeasuringUnit(x.Unit()));
  }
  return axes;
}

std::vector<Channel> Channels(const Typed& typed) {
  std::vector<Channel> channels;
  for (unsigned c = 0; c < typed.Description().YCount(); ++c) {
    const auto& y = typed.Description().Y(c);
    channels.emplace_back(CMeasuringUnit(y.Unit()), y.Gauge(), y.AppSigId());
  }
  return channels;
}

}  // namespace

void BindTypedSignals(nb::module_& module) {
  nb::class_<Typed>(module, "TypedData", "The record of a typed signal; see TypedSignal.")
      .def_static(
          "new", NewSignal, "samples"_a, "type"_a, "start"_a, "step"_a, "axis_unit"_a, "channels"_a, "key"_a,
          nb::sig("def new(samples: NDArray[typing.Any], type: str, start: float, step: float, "
                  "axis_unit: str | Unit, channels: collections.abc.Sequence[tuple[Unit, float, int]], "
                  "key: tuple[int, int, int, int, int, int]) -> TypedData"))
      .def_static("read", Read, "record"_a, "type"_a)
      .def("write", Write)
      .def_prop_ro("samples", SamplesOf, nb::rv_policy::automatic,
                   nb::sig("def samples(self, /) -> NDArray[typing.Any]"))
      .def_prop_ro("axes", Axes)
      .def_prop_ro("channels", Channels)
      .def_prop_ro("key", [](const Typed& typed) {
        const SClavis& key = typed.Base().Key().pod();
        return KeyFields(key.field[0], key.field[1], key.field[2], key.field[3], key.field[4], key.field[5]);
      });
}

}  // namespace umlauf::python
