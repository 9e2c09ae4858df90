#include "umlauf_io/CsvReader.h"

#include "umlauf_io/internal/CsvRows.h"
#include "umlauf_io/internal/Error.h"

using umlauf::io::ByteStream;
using umlauf::io::CsvRows;
using umlauf::io::Guard;

struct CCsvReader::State {
  explicit State(const std::filesystem::path& path) : rows(std::make_unique<ByteStream>(path)) {}
  CsvRows rows;
};

CCsvReader::CCsvReader() = default;
CCsvReader::~CCsvReader() = default;

bool CCsvReader::Open(const std::filesystem::path& path) {
  failure_ = {};
  state_.reset();
  return Guard(failure_, [&] { state_ = std::make_unique<State>(path); });
}

const std::vector<std::string>& CCsvReader::Header() const {
  static const std::vector<std::string> none;
  return state_ ? state_->rows.header() : none;
}

std::size_t CCsvReader::Columns() const { return state_ ? state_->rows.columns() : 0; }

double CCsvReader::TimeUnit() const { return state_ ? state_->rows.timeUnit() : 1; }

std::string_view CCsvReader::Unit(std::size_t column) const {
  return state_ ? state_->rows.unit(column) : std::string_view();
}

bool CCsvReader::NextRow() {
  bool there = false;
  if (!state_ || failure_) return false;
  Guard(failure_, [&] { there = state_->rows.NextRow(); });
  return there;
}

std::optional<double> CCsvReader::Number(std::size_t column) {
  std::optional<double> number;
  if (!state_ || failure_) return number;
  Guard(failure_, [&] { number = state_->rows.Number(column); });
  return number;
}

std::string_view CCsvReader::Text(std::size_t column) const {
  return state_ ? state_->rows.CellIfThere(column) : std::string_view();
}

void CCsvReader::Refuse(const CString& why) {
  if (!state_ || failure_) return;
  Guard(failure_, [&] { state_->rows.FailHere(why.ToUtf8()); });
}
