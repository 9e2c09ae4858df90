#include "tools/CsvReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/Error.h"
#include "tools/output/NumberText.h"

namespace umlauf::tool {
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

CsvReader::CsvReader(const std::filesystem::path& path)
    : path_(path.string()), file_(std::fopen(path.c_str(), "rb")), buffer_(std::size_t{1} << 16) {
  if (!file_) Fail("cannot read {}: {}", path_, std::strerror(errno));
  if (!NextLine()) Fail("cannot read {}: it holds no rows", path_);
  separator_ = SeparatorOf(line_);
  Split();
  columns_ = cells_.size();
  if (ParseNumber(Cell(0))) {
    Rewind();
  } else {
    for (const std::string_view cell : cells_) header_.emplace_back(cell);
  }
}

void CsvReader::Rewind() {
  std::rewind(file_.get());
  used_ = filled_ = 0;
  lineNumber_ = 0;
  if (!header_.empty()) NextLine();
}

void CsvReader::FailHere(const std::string& what) const {
  Fail("cannot read {}, line {}: {}", path_, lineNumber_, what);
}

bool CsvReader::NextLine() {
  while (true) {
    line_.clear();
    bool ended = false;
    while (!ended) {
      if (used_ == filled_) {
        filled_ = std::fread(buffer_.data(), 1, buffer_.size(), file_.get());
        used_ = 0;
        if (filled_ == 0) {
          if (std::ferror(file_.get()) != 0) Fail("cannot read {}: {}", path_, std::strerror(errno));
          break;
        }
      }
      const char* from = buffer_.data() + used_;
      const void* end = std::memchr(from, '\n', filled_ - used_);
      ended = end != nullptr;
      const std::size_t n =
          ended ? static_cast<std::size_t>(static_cast<const char*>(end) - from) : filled_ - used_;
      line_.append(from, n);
      used_ += n + (ended ? 1 : 0);
      if (line_.size() > longestLine) Fail("cannot read {}: it is no table of text lines", path_);
    }
    if (!ended && line_.empty()) return false;
    if (++lineNumber_ == 1 && line_.starts_with("\xEF\xBB\xBF")) line_.erase(0, 3);
    const std::string_view content = Trimmed(line_);
    if (!content.empty() && content.front() != '#') return true;
  }
}

void CsvReader::Split() {
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

bool CsvReader::NextRow() {
  if (!NextLine()) return false;
  Split();
  return true;
}

std::string_view CsvReader::Cell(std::size_t column) const {
  if (column >= cells_.size()) FailHere(fmt::format("there is no column {}", column + 1));
  return cells_[column];
}

double CsvReader::Number(std::size_t column) const {
  const std::string_view cell = Cell(column);
  const std::optional<double> number = ParseNumber(cell);
  if (!number) {
    FailHere(fmt::format("\"{}\" in column {} is no number (a decimal point is expected)", cell.substr(0, 40),
                         column + 1));
  }
  return *number;
}

}  // namespace umlauf::tool
