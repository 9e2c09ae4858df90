#include "umlauf_io/internal/CsvRows.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "umlauf_io/NumberText.h"
#include "umlauf_io/internal/Error.h"

namespace umlauf::io {
namespace {

/// A line beyond this is no line of a table, and memory is not spent on it.
constexpr std::size_t longestLine = std::size_t{1} << 20;

char SeparatorOf(std::string_view line) {
  for (const char each : {';', '\t', ','}) {
    if (line.find(each) != std::string_view::npos) return each;
  }
  return ' ';
}

std::string_view Unquoted(std::string_view cell) {
  cell = Trimmed(cell);
  if (cell.size() >= 2 && cell.front() == '"' && cell.back() == '"') cell = cell.substr(1, cell.size() - 2);
  return cell;
}

}  // namespace

CsvRows::CsvRows(std::unique_ptr<ByteStream> stream)
    : stream_(std::move(stream)), buffer_(std::size_t{1} << 16) {
  if (!NextLine()) Fail(Kind::badContent, "cannot read {}: it holds no rows", name());
  separator_ = SeparatorOf(line_);
  Split();
  columns_ = cells_.size();
  if (ParseNumber(Cell(0))) {
    again_ = true;
  } else {
    for (const std::string_view cell : cells_) header_.emplace_back(cell);
  }
}

bool CsvRows::Rewind() {
  if (!stream_->Seek(0)) return false;
  used_ = filled_ = 0;
  lineNumber_ = 0;
  again_ = false;
  if (!header_.empty()) NextLine();
  return true;
}

void CsvRows::FailHere(const std::string& what) const {
  Fail(Kind::badContent, "cannot read {}, line {}: {}", name(), lineNumber_, what);
}

bool CsvRows::NextLine() {
  while (true) {
    line_.clear();
    bool ended = false;
    while (!ended) {
      if (used_ == filled_) {
        filled_ = stream_->Read(buffer_.data(), buffer_.size());
        used_ = 0;
        if (filled_ == 0) break;
      }
      const char* from = buffer_.data() + used_;
      const void* end = std::memchr(from, '\n', filled_ - used_);
      ended = end != nullptr;
      const std::size_t n =
          ended ? static_cast<std::size_t>(static_cast<const char*>(end) - from) : filled_ - used_;
      line_.append(from, n);
      used_ += n + (ended ? 1 : 0);
      if (line_.size() > longestLine) {
        Fail(Kind::badContent, "cannot read {}: it is no table of text lines", name());
      }
    }
    if (!ended && line_.empty()) return false;
    if (++lineNumber_ == 1 && line_.starts_with("\xEF\xBB\xBF")) line_.erase(0, 3);
    const std::string_view content = Trimmed(line_);
    if (!content.empty() && content.front() != '#') return true;
  }
}

void CsvRows::Split() {
  cells_.clear();
  std::string_view rest = line_;
  if (separator_ == ' ') {
    for (rest = Trimmed(rest); !rest.empty(); rest = Trimmed(rest)) {
      const std::size_t end = std::min(rest.find_first_of(" \t"), rest.size());
      cells_.push_back(Unquoted(rest.substr(0, end)));
      rest.remove_prefix(end);
    }
    return;
  }
  while (true) {
    const std::size_t end = rest.find(separator_);
    cells_.push_back(Unquoted(rest.substr(0, end)));
    if (end == std::string_view::npos) return;
    rest.remove_prefix(end + 1);
  }
}

bool CsvRows::NextRow() {
  if (std::exchange(again_, false)) return true;
  if (!NextLine()) return false;
  Split();
  return true;
}

std::string_view CsvRows::Cell(std::size_t column) const {
  if (column >= cells_.size()) FailHere(fmt::format("there is no column {}", column + 1));
  return cells_[column];
}

double CsvRows::Number(std::size_t column) const {
  const std::string_view cell = Cell(column);
  const std::optional<double> number = ParseNumber(cell);
  if (!number) {
    FailHere(fmt::format("\"{}\" in column {} is no number (a decimal point is expected)", cell.substr(0, 40),
                         column + 1));
  }
  return *number;
}

}  // namespace umlauf::io
