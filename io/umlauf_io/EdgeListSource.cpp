#include "umlauf_io/EdgeListSource.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <fstream>
#include <string>
#include <system_error>

#include "umlauf_io/NumberText.h"
#include "umlauf_io/internal/Error.h"

namespace {

constexpr std::size_t mostAtOnce = 65536;

/// "Level" and "level [V]" as well.
bool IsLevel(std::string_view name) {
  name = umlauf::io::Trimmed(name.substr(0, name.find('[')));
  return std::ranges::equal(name, std::string_view("level"),
                            [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

/// Whether the file begins as text: other recordings need not be read as such.
bool IsText(const std::filesystem::path& path) {
  std::error_code error;
  if (path == "-" || !std::filesystem::is_regular_file(path, error)) return false;
  std::array<char, 512> start{};
  std::ifstream file(path, std::ios::binary);
  file.read(start.data(), start.size());
  const auto end = start.begin() + file.gcount();
  return end != start.begin() && std::find(start.begin(), end, '\0') == end;
}

}  // namespace

std::optional<EdgeListKind> CEdgeListSource::KindOf(const std::filesystem::path& path) {
  std::optional<EdgeListKind> kind;
  RecordingFailure ignored;
  umlauf::io::Guard(ignored, [&] {
    CCsvReader reader;
    if (!IsText(path) || !reader.Open(path) || !reader.NextRow()) return;
    if (reader.Columns() == 1) kind = EdgeListKind::edges;
    if (reader.Columns() == 2 && reader.Header().size() == 2 && IsLevel(reader.Header()[1]))
      kind = EdgeListKind::levels;
  });
  return kind;
}

bool CEdgeListSource::Open(const std::filesystem::path& path, EdgeListKind kind, std::optional<double> from,
                           std::optional<double> to) {
  kind_ = kind;
  from_ = from;
  to_ = to;
  time_.reset();
  level_.reset();
  return reader_.Open(path);
}

std::span<const RecordedEdge> CEdgeListSource::Read(std::size_t count) {
  RecordingFailure failure;
  const bool enough = umlauf::io::Guard(failure, [&] {
    edges_.clear();
    count = std::min(count, mostAtOnce);
    while (edges_.size() < count) {
      const std::optional<RecordedEdge> edge = Next();
      if (!edge) break;
      edges_.push_back(*edge);
    }
  });
  if (!enough) reader_.Refuse(failure.text);
  return edges_;
}

/// The next edge that lies within the part that counts; nothing at the end.
std::optional<RecordedEdge> CEdgeListSource::Next() {
  while (reader_.NextRow()) {
    std::optional<double> time = reader_.Number(0);
    if (time) *time *= reader_.TimeUnit();
    const std::optional<double> level =
        kind_ == EdgeListKind::levels ? reader_.Number(1) : std::optional<double>(0);
    if (!time || !level) return std::nullopt;
    if (!std::isfinite(*level)) {
      reader_.Refuse(L"a level must be a number");
      return std::nullopt;
    }
    if (!std::isfinite(*time) || (time_ && !(*time > *time_))) {
      reader_.Refuse(L"the times of edges must rise (samples in one column need a sample rate)");
      return std::nullopt;
    }
    time_ = time;
    const std::optional<double> before = level_;
    level_ = level;
    // The first level is where it starts.
    const bool isEdge = kind_ == EdgeListKind::edges || (before && *level != *before);
    if (!isEdge || (from_ && *time < *from_)) continue;
    if (to_ && !(*time < *to_)) return std::nullopt;
    return RecordedEdge{*time, kind_ == EdgeListKind::edges || *level > *before};
  }
  return std::nullopt;
}
