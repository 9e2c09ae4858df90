#include <nanobind/stl/pair.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include "python/src/Recordings.h"
#include "python/src/Results.h"
#include "umlauf/orders/CombSpeed.h"
#include "umlauf/orders/ShaftTrains.h"
#include "umlauf/recording/MemorySource.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Places = std::vector<std::pair<double, double>>;

/// The rotation that a comb of orders followed, with one pulse for each segment of the spectra; how many of
/// the orders stand out in each [0 to 1]; where and in what share of the segments too few do; in what share
/// each of the orders does; score and first speed [rpm] of the best other course.
using Followed = std::tuple<std::unique_ptr<Result>, NumPyArray<float>, Places, double, std::vector<double>,
                            std::pair<double, double>>;

struct Course {
  std::unique_ptr<Result> speed;
  CSigCurve rpm, confidence;
  CCombSpeed::Trust trust;
};

Course Follow(const CombSpeedSettings& settings, CBlockSource& source) {
  CCombSpeed comb(settings, source.SampleRate());
  if (!comb.IsValid())
    RefuseValue(
        "there is no comb of such settings: 1 to 16 orders above 0 that stay below half the sample rate up "
        "to the highest speed");
  Course course;
  course.speed = std::make_unique<Result>();
  Result& result = *course.speed;
  for (SampleBlock block = source.Read(16384); block.count > 0; block = source.Read(16384)) {
    comb.Take(block.samples, block.count, block.stride);
    result.samples += block.count;
  }
  if (source.HasFailed()) throw Error(source.Failure());
  const CCombSpeed::Trust& trust = course.trust;
  if (!comb.Find(course.rpm, course.confidence, &course.trust))
    throw Error(
        L"there is no speed to follow: the recording is shorter than a segment of its spectra, or the start "
        L"lies outside the lowest and the highest speed");
  if (!trust.Believable()) {
    CString why;
    why.Format(
        L"the orders stand out for %.0f %% of the time only, so there is no speed to be believed; name other "
        L"orders, or another range of speeds",
        100 * (1 - trust.lostShare));
    throw Error(why);
  }
  auto train = std::make_shared<CPulseTrain>(source.SampleRate(), source.StartTime());
  train->Append(ShaftTrains::FromSpeed(course.rpm, source.SampleRate()));
  // Segments are no revolutions.
  NeedMemory(train->Complete());
  result.counts.Take(*train);
  result.train = std::move(train);
  result.warnings = trust.Warnings(settings.orders);
  return course;
}

Followed Told(Course course) {
  const CCombSpeed::Trust& trust = course.trust;
  const double start = course.speed->Pulses().StartTime();
  Places lost;
  for (const auto& each : trust.lost) lost.emplace_back(start + each.from, start + each.to);
  const float* confidence = course.confidence.FData();
  return {std::move(course.speed), ToNumPy(std::vector(confidence, confidence + course.confidence.DLen())),
          std::move(lost),         trust.lostShare,
          trust.present,           std::pair(trust.rival, trust.rivalStart)};
}

Followed FollowSamples(const CombSpeedSettings& settings, const Floats& samples, double rate,
                       double startTime) {
  const FloatArray array = samples.Get();
  const auto follow = [&] {
    nb::gil_scoped_release free;
    const Forward<float> forward(array);
    CMemorySource source(forward.data(), forward.size(), 1, forward.stride(), rate, startTime);
    return Follow(settings, source);
  };
  return Told(follow());
}

Followed FollowFile(const CombSpeedSettings& settings, const FileChannel& channel) {
  const auto follow = [&] {
    nb::gil_scoped_release free;
    const std::unique_ptr<CRecordingSource> source = channel.Open();
    return Follow(settings, *source);
  };
  return Told(follow());
}

}  // namespace

void BindVibrationSpeeds(nb::module_& module) {
  nb::class_<CombSpeedSettings>(module, "CombSettings", "What is known of a shaft without a tacho.")
      .def(
          "__init__",
          [](CombSpeedSettings* self, std::vector<double> orders, std::pair<double, double> start,
             double lowest, double highest, double steepest, double resolution, double overlap) {
            new (self) CombSpeedSettings{std::move(orders), start.first, start.second, lowest,
                                         highest,           steepest,    resolution,   overlap};
          },
          nb::kw_only(), "orders"_a, "start"_a, "lowest"_a, "highest"_a, "steepest"_a, "resolution"_a,
          "overlap"_a)
      .def("follow", FollowSamples, "samples"_a, "rate"_a, "start_time"_a)
      .def("follow", FollowFile, "channel"_a);
}

}  // namespace umlauf::python
