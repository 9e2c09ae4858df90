#include <nanobind/stl/string.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "python/src/Arrays.h"
#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "umlauf/rate/DownsamplingStream.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Reduction = CDownsamplingStream::Reduction;

Reduction ReductionOf(const std::string& name) {
  const std::pair<const char*, Reduction> known[] = {
      {"filter", Reduction::Filter},    {"linear", Reduction::Linear}, {"mean", Reduction::Mean},
      {"max", Reduction::Max},          {"minmax", Reduction::MinMax}, {"sum", Reduction::Sum},
      {"steep", Reduction::SteepFilter}};
  for (const auto& [text, reduction] : known) {
    if (name == text) return reduction;
  }
  RefuseValue("method \"" + name + "\" is not known; take filter, linear, mean, max, minmax, sum or steep");
}

/// A stream with a lock: Python may use it from two threads.
class Downsampler {
 public:
  Downsampler(double ratio, const std::string& method, unsigned channels, float gain)
      : stream_(ratio, ReductionOf(method), channels, gain), channels_(channels) {
    if (!stream_.IsValid()) {
      RefuseValue(
          "the ratio is 1 or more, for the filter 65536 at most, and there is at least one channel; or there "
          "is no "
          "memory for it");
    }
  }

  std::vector<float> Process(const float* frames, std::size_t count) {
    const std::lock_guard guard(lock_);
    std::vector<float> out(stream_.MaxOutput(count) * channels_);
    out.resize(stream_.Process(out.data(), frames, count) * channels_);
    return out;
  }
  std::vector<float> Flush() {
    const std::lock_guard guard(lock_);
    std::vector<float> out(stream_.MaxFlush() * channels_);
    out.resize(stream_.Flush(out.data()) * channels_);
    return out;
  }
  unsigned channels() const { return channels_; }

 private:
  CDownsamplingStream stream_;
  unsigned channels_;
  std::mutex lock_;
};

NumPyArray<float> ProcessRow(Downsampler& stream, const Floats& samples) {
  const FloatArray array = samples.Get();
  std::vector<float> out;
  {
    nb::gil_scoped_release free;
    Forward<float> forward(array);
    out = stream.Process(forward.Contiguous().data(), forward.size());
  }
  return ToNumPy(std::move(out));
}

NumPyArray<float, nb::ndim<2>> ProcessFrames(Downsampler& stream, const Frames& samples) {
  const FrameArray array = samples.Get();
  if (array.shape(1) != stream.channels()) RefuseValue("the samples must be [frames, channels]");
  std::vector<float> out;
  {
    nb::gil_scoped_release free;
    const auto view = array.view();
    std::vector<float> interleaved(array.size());
    const std::size_t channels = array.shape(1);
    for (std::size_t i = 0; i < interleaved.size(); ++i) interleaved[i] = view(i / channels, i % channels);
    out = stream.Process(interleaved.data(), array.shape(0));
  }
  return ToNumPy(std::move(out), stream.channels());
}

nb::object Process(Downsampler& stream, const nb::object& samples) {
  if (stream.channels() == 1) return nb::cast(ProcessRow(stream, {samples}));
  return nb::cast(ProcessFrames(stream, {samples}));
}

nb::object Flush(Downsampler& stream) {
  std::vector<float> out;
  {
    nb::gil_scoped_release free;
    out = stream.Flush();
  }
  if (stream.channels() == 1) return nb::cast(ToNumPy(std::move(out)));
  return nb::cast(ToNumPy(std::move(out), stream.channels()));
}

}  // namespace

void BindRates(nb::module_& module) {
  nb::class_<Downsampler>(module, "Downsampler", R"(Converts a signal to a lower sample rate block by block.

Blocks of any size give the same outputs; output j belongs to input position j · ratio, without delay.)")
      .def(nb::init<double, const std::string&, unsigned, float>(), "ratio"_a, nb::kw_only(),
           "method"_a = "filter", "channels"_a = 1, "gain"_a = 1.0f,
           "ratio [inputs per output] from 1 on; \"filter\" (low-pass), \"linear\", \"mean\", \"max\", "
           "\"minmax\" (both in turn), \"sum\" or \"steep\" (low-pass that keeps 0.9 of the band).")
      .def("process", Process, "samples"_a,
           nb::sig("def process(self, samples: numpy.typing.ArrayLike) -> NDArray[numpy.float32]"),
           "Takes samples [n], of several channels [n, channels], and gives the outputs that they complete.")
      .def("flush", Flush, nb::sig("def flush(self) -> NDArray[numpy.float32]"),
           "Ends the signal: the outputs that are left. The next block starts a new one.");
}

}  // namespace umlauf::python
