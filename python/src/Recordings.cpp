#include "python/src/Recordings.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "python/src/Bindings.h"
#include "python/src/Text.h"
#include "umlauf/rotation/RecordingStatistics.h"
#include "umlauf_io/CsvReader.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

constexpr std::size_t blockFrames = 65536;

/// The names of its columns, for people who gave another one.
CString Columns(const std::filesystem::path& path) {
  CString text;
  CCsvReader reader;
  if (!reader.Open(path)) return text;
  for (std::size_t i = 1; i < reader.Header().size(); ++i) {
    text += CString(text.IsEmpty() ? L"; it has " : L", ") + CString::FromUtf8(reader.Header()[i]);
  }
  return text;
}

RawSamples RawOf(const std::string& name) {
  const std::pair<const char*, RawSamples> kinds[] = {
      {"f32", RawSamples::f32}, {"i16", RawSamples::i16}, {"i32", RawSamples::i32}, {"u32", RawSamples::u32}};
  for (const auto& [known, kind] : kinds) {
    if (name == known) return kind;
  }
  RefuseValue("raw samples are f32, i16, i32 or u32, not \"" + name + "\"");
}

std::vector<float> ReadAll(const FileChannel& channel) {
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  std::vector<float> samples;
  samples.reserve(source->Frames().value_or(0));
  for (SampleBlock block = source->Read(blockFrames); block.count > 0; block = source->Read(blockFrames)) {
    for (std::size_t i = 0; i < block.count; ++i) samples.push_back(block.samples[i * block.stride]);
  }
  if (source->HasFailed()) throw Error(source->Failure());
  return samples;
}

/// How many samples are finite numbers; their least, greatest and mean; and their standard deviation.
using Statistics = std::tuple<std::uint64_t, float, float, double, double>;

Statistics Told(const CRecordingStatistics& found) {
  return {found.Count(), found.Min(), found.Max(), found.Mean(), found.Deviation()};
}

/// Of the samples from frame `begin` on, up to `end`.
Statistics StatisticsOf(const FileChannel& channel, std::uint64_t begin, std::uint64_t end) {
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  if (begin > 0 && !source->Seek(begin)) throw Error(L"the recording cannot be read from somewhere within");
  CRecordingStatistics found;
  for (std::uint64_t at = begin; at < end;) {
    const SampleBlock block =
        source->Read(static_cast<std::size_t>(std::min<std::uint64_t>(blockFrames, end - at)));
    if (block.count == 0) break;
    found.Add(block.samples, block.count, block.stride);
    at += block.count;
  }
  if (source->HasFailed()) throw Error(source->Failure());
  return Told(found);
}

Statistics StatisticsOfSamples(const Floats& samples) {
  const FloatArray array = samples.Get();
  nb::gil_scoped_release free;
  const Forward<float> forward(array);
  CRecordingStatistics found;
  found.Add(forward.data(), forward.size(), forward.stride());
  return Told(found);
}

/// The channel of a sound file that is listed with this name.
unsigned NumberOf(const std::filesystem::path& path, const std::string& name) {
  RecordingFailure failure;
  const auto source = OpenRecording(path, {}, failure);
  if (source == nullptr) Raise(failure);
  for (unsigned c = 0; c < source->Channels(); ++c) {
    if (source->ChannelName(c) == CString::FromUtf8(name)) return c + 1;
  }
  RefuseValue("the channels of " + path.string() + " have no names; give a number from 1 to " +
              std::to_string(source->RecordingChannels()));
}

std::vector<CString> Names(const std::filesystem::path& path) {
  RecordingFailure failure;
  const auto source = OpenRecording(path, {}, failure);
  if (source == nullptr) Raise(failure);
  std::vector<CString> names;
  for (unsigned c = 0; c < source->Channels(); ++c) {
    CString name = source->ChannelName(c);
    const int quote = name.Find(L'"');
    if (quote >= 0) name = name.Mid(quote + 1, name.GetLength() - quote - 2);
    names.push_back(std::move(name));
  }
  return names;
}

}  // namespace

FileChannel::FileChannel(std::filesystem::path path, RecordingFormat how)
    : path_(std::move(path)), format_(std::move(how)) {
  const std::unique_ptr<CRecordingSource> source = OpenFirst();
  rate = source->SampleRate();
  startTime = source->StartTime();
  frames = source->Frames();
  name = source->ChannelName(0);
  unit = source->Unit();
  format = source->FormatName();
  number = source->ChannelNumber(0);
  channels = source->RecordingChannels();
}

std::unique_ptr<CRecordingSource> FileChannel::OpenFirst() {
  RecordingFailure failure;
  auto source = OpenRecording(path_, format_, failure);
  if (source != nullptr || failure.kind != RecordingFailure::Kind::wrongOption || format_.raw)
    return OrWhy(std::move(source), failure);
  RecordingFormat other = format_;
  if (!format_.channels.empty()) {  // of a table, channel 1 is the column behind the time
    other.columns = {std::to_string(format_.channels[0] + 1)};
    other.channels.clear();
  } else if (!format_.columns.empty()) {  // its channels have no names but those that they are listed with
    other.channels = {NumberOf(path_, format_.columns[0])};
    other.columns.clear();
  } else {
    return OrWhy(nullptr, failure);
  }
  RecordingFailure second;
  source = OpenRecording(path_, other, second);
  format_ = std::move(other);
  return OrWhy(std::move(source), second.kind == RecordingFailure::Kind::wrongOption ? failure : second);
}

std::unique_ptr<CRecordingSource> FileChannel::Open() const {
  RecordingFailure failure;
  return OrWhy(OpenRecording(path_, format_, failure), failure);
}

std::unique_ptr<CRecordingSource> FileChannel::OrWhy(std::unique_ptr<CRecordingSource> source,
                                                     RecordingFailure& failure) const {
  if (source != nullptr) return source;
  if (failure.kind == RecordingFailure::Kind::noSuchChannel) failure.text += Columns(path_);
  Raise(failure);
}

void BindRecordings(nb::module_& module) {
  nb::class_<FileChannel>(module, "FileChannel", "One channel of a sound file, a text table or raw samples.")
      .def(
          "__init__",
          [](FileChannel* self, FileName path, std::optional<unsigned> channel,
             std::optional<std::string> column, std::optional<std::string> raw, unsigned rawChannels,
             std::optional<double> rate, double scale, double offset, const CString& unit) {
            RecordingFormat format;
            if (raw) format.raw = RawOf(*raw);
            format.rawChannels = rawChannels;
            format.rate = rate;
            if (channel) format.channels = {*channel};
            if (column) format.columns = {*column};
            format.firstChannelOnly = true;
            format.scale = scale;
            format.offset = offset;
            format.unit = unit;
            nb::gil_scoped_release free;
            new (self) FileChannel(std::move(path.path), std::move(format));
          },
          "path"_a, nb::kw_only(), "channel"_a = nb::none(), "column"_a = nb::none(), "raw"_a = nb::none(),
          "raw_channels"_a = 1, "rate"_a = nb::none(), "scale"_a = 1.0, "offset"_a = 0.0, "unit"_a = "")
      .def_ro("rate", &FileChannel::rate, "[samples/s]")
      .def_ro("start_time", &FileChannel::startTime, "[s] of the first sample")
      .def_ro("frames", &FileChannel::frames, "Samples; None where that shows only at the end.")
      .def_ro("name", &FileChannel::name)
      .def_ro("unit", &FileChannel::unit)
      .def_ro("format", &FileChannel::format)
      .def_ro("number", &FileChannel::number, "From 1; of a table the column.")
      .def_ro("channels", &FileChannel::channels)
      .def(
          "read",
          [](const FileChannel& channel) {
            std::vector<float> samples;
            {
              nb::gil_scoped_release free;
              samples = ReadAll(channel);
            }
            return ToNumPy(std::move(samples));
          },
          "All samples [n] float32.")
      .def("statistics", StatisticsOf, "begin"_a, "end"_a, nb::call_guard<nb::gil_scoped_release>(),
           "Of samples `begin` to `end`: how many are finite numbers, and their least, greatest, mean and "
           "standard deviation.");
  module.def(
      "statistics", StatisticsOfSamples, "samples"_a,
      "How many samples [n] are finite numbers, and their least, greatest, mean and standard deviation.");
  module.def(
      "file_channels", [](const FileName& path) { return Names(path.path); }, "path"_a,
      "Names of the channels of a sound file or a text table.");
}

}  // namespace umlauf::python
