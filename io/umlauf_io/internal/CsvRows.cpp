#include "umlauf_io/internal/CsvRows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "umlauf_io/NumberText.h"
#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/TimeUnit.h"

namespace umlauf::io {
namespace {

/// A line beyond this is no line of a table, and memory is not spent on it.
constexpr std::size_t longestLine = std::size_t{1} << 20;
constexpr std::size_t mostHeaderLines = 100;

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

/// What stands in square brackets at the end of a column's name.
std::string_view UnitAtEnd(std::string_view name) {
  const std::size_t bracket = name.rfind('[');
  if (bracket == std::string_view::npos || !name.ends_with(']')) return {};
  return Trimmed(name.substr(bracket + 1, name.size() - bracket - 2));
}

/// "V", also where the cell is "[V]" or "(V)".
std::string_view WithoutBrackets(std::string_view cell) {
  const bool bracketed =
      (cell.starts_with('[') && cell.ends_with(']')) || (cell.starts_with('(') && cell.ends_with(')'));
  return bracketed && cell.size() >= 2 ? Trimmed(cell.substr(1, cell.size() - 2)) : cell;
}

}  // namespace

CsvRows::CsvRows(std::unique_ptr<ByteStream> stream)
    : stream_(std::move(stream)), buffer_(std::size_t{1} << 16) {
  ReadHeader();
}

/// Up to the first row that begins with a number.
void CsvRows::ReadHeader() {
  std::vector<Line> before;
  while (NextLine()) {
    separator_ = SeparatorOf(line_);
    Split();
    if (Parse(cells_[0])) {
      columns_ = cells_.size();
      again_ = true;
      headerLines_ = before.size();
      return TakeHeader(before);
    }
    if (before.size() == mostHeaderLines) break;
    before.push_back({line_, lineNumber_});
  }
  if (before.empty()) Fail(Kind::badContent, "cannot read {}: it holds no rows", name());
  // A header alone is a table without rows.
  line_ = before.front().text;
  lineNumber_ = before.front().number;
  separator_ = SeparatorOf(line_);
  Split();
  columns_ = cells_.size();
  for (const std::string_view cell : cells_) header_.emplace_back(cell);
  if (before.size() == 1) return;
  line_ = before[1].text;
  lineNumber_ = before[1].number;
  Split();
  Number(0);
}

/// Names and units of the columns, from the lines before the first row of numbers.
void CsvRows::TakeHeader(const std::vector<Line>& before) {
  const std::string row = std::exchange(line_, {});
  const std::uint64_t number = lineNumber_;
  const auto takeLine = [&](const Line& line) {
    line_ = line.text;
    lineNumber_ = line.number;
    Split();
    return cells_.size() == columns_;
  };
  std::optional<double> unit;
  std::size_t names = before.size();
  if (names > 1 && takeLine(before[names - 2]) && takeLine(before[names - 1])) {
    unit = TimeUnit(cells_[0]);
    if (unit) {
      --names;
      for (const std::string_view cell : cells_) units_.emplace_back(WithoutBrackets(cell));
    }
    // Two rows of names are one too many: one that holds numbers was meant to be a row of them.
    else if (std::ranges::any_of(cells_, [this](std::string_view cell) { return Parse(cell).has_value(); }))
      Number(0);
  }
  if (names > 0 && (takeLine(before[names - 1]) || before.size() == 1)) {
    for (const std::string_view cell : cells_) header_.emplace_back(cell);
    if (units_.empty()) {
      for (const std::string_view cell : cells_) units_.emplace_back(UnitAtEnd(cell));
    }
    if (!unit && !header_.empty()) unit = TimeUnitOfName(header_[0]);
  }
  timeUnit_ = unit.value_or(1);
  line_ = row;
  lineNumber_ = number;
  Split();
}

bool CsvRows::Rewind() {
  if (!stream_->Seek(0)) return false;
  used_ = filled_ = 0;
  lineNumber_ = 0;
  again_ = false;
  for (std::uint64_t i = 0; i < headerLines_; ++i) NextLine();
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

/// The mark of the first number that has one holds for all.
std::optional<double> CsvRows::Parse(std::string_view cell) {
  constexpr std::size_t longestNumber = 60;
  const std::size_t mark = cell.find_first_of(separator_ == ',' ? "." : ".,");
  if (mark == std::string_view::npos) return ParseNumber(cell);
  if (decimal_ != 0 && cell[mark] != decimal_) return std::nullopt;
  std::optional<double> number;
  if (cell[mark] == '.') {
    number = ParseNumber(cell);
  } else if (cell.size() < longestNumber) {
    std::array<char, longestNumber> text;
    std::ranges::copy(cell, text.begin());
    text[mark] = '.';
    number = ParseNumber(std::string_view(text.data(), cell.size()));
  }
  if (number) decimal_ = cell[mark];
  return number;
}

double CsvRows::Number(std::size_t column) {
  const std::string_view cell = Cell(column);
  const std::optional<double> number = Parse(cell);
  if (!number) {
    const bool comma = decimal_ == ',';
    FailHere(fmt::format("\"{}\" in column {} is no number (a decimal {} is expected)", cell.substr(0, 40),
                         column + 1, comma ? "comma" : "point"));
  }
  return *number;
}

}  // namespace umlauf::io
