#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "python/src/Bindings.h"
#include "python/src/Recordings.h"
#include "python/src/Results.h"
#include "umlauf/rotation/RotationPieces.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

using Settings = CRotationStream::Settings;

template <class T>
nb::bytes Bytes(std::span<const T> column) {
  return nb::bytes(column.data(), column.size_bytes());
}

template <class T>
std::vector<T> Column(const nb::bytes& bytes) {
  std::vector<T> column(bytes.size() / sizeof(T));
  if (!column.empty()) std::memcpy(column.data(), bytes.data(), column.size() * sizeof(T));
  return column;
}

using State = nb::typed<nb::tuple, nb::object, nb::ellipsis>;

State Packed(const RotationPiece& piece) {
  const CPulseTrain& pulses = piece.pulses;
  return nb::make_tuple(piece.begin, piece.end, piece.from, Bytes(pulses.Edges()),
                        Bytes(pulses.RevolutionTimes()), Bytes(pulses.Pitches()), Bytes(pulses.Samples()),
                        Bytes(pulses.Flags()), Bytes(std::span<const RotationPiece::Range>(piece.ranges)));
}

RotationPiece Unpacked(const State& state) {
  if (state.size() != 9) RefuseValue("this is no piece of a recording");
  const auto column = [&](std::size_t i) { return nb::cast<nb::bytes>(state[i]); };
  RotationPiece piece;
  piece.begin = nb::cast<std::uint64_t>(state[0]);
  piece.end = nb::cast<std::uint64_t>(state[1]);
  piece.from = nb::cast<std::uint64_t>(state[2]);
  const auto edges = Column<double>(column(3)), times = Column<double>(column(4)),
             pitches = Column<double>(column(5));
  const auto samples = Column<std::uint64_t>(column(6));
  const auto flags = Column<std::uint8_t>(column(7));
  const std::size_t n = flags.size();
  if (times.size() != n || pitches.size() != n || samples.size() != n ||
      edges.size() != (n > 0 ? n + 1 : 0)) {
    RefuseValue("this is no piece of a recording");
  }
  NeedMemory(piece.pulses.Reserve(n));
  for (std::size_t i = 0; i < n; ++i)
    piece.pulses.Append({edges[i], edges[i + 1], times[i], pitches[i], samples[i], flags[i]});
  piece.ranges = Column<RotationPiece::Range>(column(8));
  return piece;
}

/// Null where the recording has to be measured in one go.
std::unique_ptr<RotationPiece> Search(const Settings& settings, const FileChannel& channel,
                                      std::uint64_t begin, std::uint64_t end, std::uint64_t overlap) {
  nb::gil_scoped_release free;
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  CRotationPieces rotation(settings, overlap);
  auto piece = std::make_unique<RotationPiece>();
  if (!rotation.FindLevels(*source) || !rotation.Search(*source, begin, end, *piece)) return nullptr;
  return piece;
}

std::unique_ptr<Result> Join(const Settings& settings, const FileChannel& channel,
                             const std::vector<const RotationPiece*>& pieces, std::uint64_t overlap) {
  nb::gil_scoped_release free;
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  const auto joined = std::make_shared<CRotationPieces>(settings, overlap);
  CRotationPieces& rotation = *joined;
  if (rotation.FindLevels(*source) && rotation.Join(*source, pieces)) {
    auto result = std::make_unique<Result>();
    result->pulsesPerRevolution = settings.pulsesPerRevolution;
    result->samples = rotation.Samples();
    result->wheel = rotation.Wheel();
    result->levels = rotation.Levels();
    result->warnings = rotation.Levels().warnings;
    result->Take({joined, &rotation.Pulses()}, settings.gap || settings.gapLength);
    if (result->counts.Speed().count > 0) return result;
  }
  return Measure(*source, settings);  // or says why there is nothing
}

}  // namespace

void BindSpeedPieces(nb::module_& module) {
  nb::class_<RotationPiece>(module, "SpeedPiece",
                            "What was found in a piece of a long recording; can be pickled.")
      .def("__getstate__", Packed)
      .def("__setstate__",
           [](RotationPiece* self, const State& state) { new (self) RotationPiece(Unpacked(state)); })
      .def_ro("begin", &RotationPiece::begin, "[samples]")
      .def_ro("end", &RotationPiece::end, "[samples]");
  module.def("search_speed_piece", Search, "settings"_a, "channel"_a, "begin"_a, "end"_a, "overlap"_a,
             "Looks for pulses in samples `begin` to `end` of a recording, from `overlap` samples before on; "
             "None where "
             "it has to be measured in one go.");
  module.def("join_speed_pieces", Join, "settings"_a, "channel"_a, "pieces"_a, "overlap"_a,
             "Joins pieces that follow each other over a whole recording: what `measure` finds in it.");
}

}  // namespace umlauf::python
