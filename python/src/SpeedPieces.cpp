#include <nanobind/stl/optional.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
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
nb::object Copied(std::span<const T> column) {
  return nb::cast(ToNumPy(std::vector<T>(column.begin(), column.end())));
}

/// A column to be sent: as numbers of a smaller type where that loses nothing, empty where all of them are 1.
template <class Small, class T>
nb::object Sent(std::span<const T> column) {
  if (std::ranges::all_of(column, [](T x) { return x == T{1}; })) return Copied(column.first(0));
  std::vector<Small> small(column.size());
  for (std::size_t i = 0; i < column.size(); ++i) {
    small[i] = static_cast<Small>(column[i]);
    if (static_cast<T>(small[i]) != column[i]) return Copied(column);
  }
  return nb::cast(ToNumPy(std::move(small)));
}

/// Copies the n numbers of a column; false where it has others.
template <class From, class T>
bool Copy(const nb::object& sent, T* column, std::size_t n) {
  nb::ndarray<const From, nb::ndim<1>, nb::c_contig, nb::device::cpu> array;
  if (!nb::try_cast(sent, array, false) || array.shape(0) != n) return false;
  std::copy_n(array.data(), n, column);
  return true;
}

template <class Small, class T>
bool Receive(const nb::object& sent, T* column, std::size_t n) {
  if (Copy<T>(sent, column, n) || Copy<Small>(sent, column, n)) return true;
  std::fill_n(column, n, T{1});
  return Copy<T>(sent, column, 0);
}

/// A piece of a recording as arrays, which can be sent elsewhere: begin, end, from; edges, times of a
/// revolution, pitches, samples and flags of its pulses; ranges of its samples.
using Sendable = nb::typed<nb::tuple, nb::object, nb::ellipsis>;

Sendable Packed(const RotationPiece& piece) {
  const CPulseTrain& pulses = piece.pulses;
  return nb::make_tuple(piece.begin, piece.end, piece.from, Copied(pulses.Edges()),
                        Sent<float>(pulses.RevolutionTimes()), Sent<float>(pulses.Pitches()),
                        Sent<std::uint32_t>(pulses.Samples()), Copied(pulses.Flags()),
                        nb::bytes(piece.ranges.data(), piece.ranges.size() * sizeof(RotationPiece::Range)));
}

/// The piece that a thread works on. It stays, since the system takes long to hand out so much memory.
RotationPiece& Workpiece() {
  static thread_local RotationPiece piece;
  return piece;
}

std::size_t PulsesIn(const Sendable& sent) {
  if (sent.size() != 9) RefuseValue("this is no piece of a recording");
  return nb::len(nb::object(sent[7]));
}

/// Replaces a piece, and keeps its memory.
void Unpack(const Sendable& sent, RotationPiece& piece) {
  piece.begin = nb::cast<std::uint64_t>(sent[0]);
  piece.end = nb::cast<std::uint64_t>(sent[1]);
  piece.from = nb::cast<std::uint64_t>(sent[2]);
  piece.pulses.Clear();
  const std::size_t n = PulsesIn(sent);
  nb::ndarray<const double, nb::ndim<1>, nb::c_contig, nb::device::cpu> edges;
  bool fits = nb::try_cast(sent[3], edges, false) && edges.shape(0) == (n > 0 ? n + 1 : 0);
  if (fits && n > 0) {
    std::size_t room = n;
    const CPulseTrain::Columns columns = piece.pulses.Extend(room, edges.data()[0]);
    NeedMemory(room == n);
    std::copy_n(edges.data() + 1, n, columns.ends);
    fits =
        Receive<float>(sent[4], columns.revolutionTimes, n) && Receive<float>(sent[5], columns.pitches, n) &&
        Receive<std::uint32_t>(sent[6], columns.samples, n) && Copy<std::uint8_t>(sent[7], columns.flags, n);
  }
  if (!fits) RefuseValue("this is no piece of a recording");
  const auto ranges = nb::cast<nb::bytes>(sent[8]);
  piece.ranges.resize(ranges.size() / sizeof(RotationPiece::Range));
  if (!piece.ranges.empty())
    std::memcpy(piece.ranges.data(), ranges.data(), piece.ranges.size() * sizeof(RotationPiece::Range));
}

/// None where the recording has to be measured in one go.
std::optional<Sendable> Search(const Settings& settings, const FileChannel& channel, std::uint64_t begin,
                               std::uint64_t end, std::uint64_t overlap) {
  RotationPiece& piece = Workpiece();
  {
    nb::gil_scoped_release free;
    const std::unique_ptr<CRecordingSource> source = channel.Open();
    CRotationPieces rotation(settings, overlap);
    if (!rotation.FindLevels(*source) || !rotation.Search(*source, begin, end, piece)) return std::nullopt;
  }
  return Packed(piece);
}

std::unique_ptr<Result> Join(const Settings& settings, const FileChannel& channel,
                             const std::vector<Sendable>& pieces, std::uint64_t overlap) {
  std::size_t pulses = 0;
  for (const Sendable& each : pieces) pulses += PulsesIn(each);
  nb::gil_scoped_release free;
  const std::unique_ptr<CRecordingSource> source = channel.Open();
  const auto joined = std::make_shared<CRotationPieces>(settings, overlap);
  CRotationPieces& rotation = *joined;
  bool joins = rotation.FindLevels(*source) && rotation.Begin(*source, pulses);
  RotationPiece& piece = Workpiece();
  for (std::size_t i = 0; joins && i < pieces.size(); ++i) {
    {
      nb::gil_scoped_acquire interpreter;
      Unpack(pieces[i], piece);
    }
    joins = rotation.Add(*source, piece);
  }
  if (joins && rotation.End(*source)) {
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
  module.def("search_speed_piece", Search, "settings"_a, "channel"_a, "begin"_a, "end"_a, "overlap"_a,
             "Looks for pulses in samples `begin` to `end` of a recording, from `overlap` samples before on; "
             "arrays that can be pickled, or None where it has to be measured in one go.");
  module.def("join_speed_pieces", Join, "settings"_a, "channel"_a, "pieces"_a, "overlap"_a,
             "Joins pieces that follow each other over a whole recording: what `measure` finds in it.");
}

}  // namespace umlauf::python
