#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "umlauf/recording/EdgeSource.h"
#include "umlauf_io/CsvReader.h"
#include "umlauf_io/Export.h"

/// What the rows of a list are.
enum class EdgeListKind {
  edges,  ///< the time of an edge [s], all of one kind
  levels  ///< the time of a change [s] and the level from there on; one above the last is a rising edge
};

/// A list of edges in a text file, as CCsvReader reads it, in constant memory. Nothing throws; what cannot be
/// read ends the list, and `Failure` says why, with the number of the line. Not for several threads at once.
class UMLAUF_IO_API CEdgeListSource final : public CEdgeSource {
 public:
  /// The kind of list that a file is by its content: one column of numbers is a list of edges, two of which
  /// the header calls the second one "level" one of level changes. Nothing: neither (a recording, say).
  static std::optional<EdgeListKind> KindOf(const std::filesystem::path& path);

  /// Opens a list, "-" being standard input; only edges from one time on and before another one [s] count.
  bool Open(const std::filesystem::path& path, EdgeListKind kind, std::optional<double> from = {},
            std::optional<double> to = {});

  std::span<const RecordedEdge> Read(std::size_t count) override;
  CString Failure() const override { return reader_.Failure().text; }
  bool HasFailed() const override { return static_cast<bool>(reader_.Failure()); }

 private:
  std::optional<RecordedEdge> Next();

  CCsvReader reader_;
  EdgeListKind kind_ = EdgeListKind::edges;
  std::optional<double> from_, to_;
  std::optional<double> time_, level_;  ///< of the row before
  std::vector<RecordedEdge> edges_;
};
