#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "umlauf_io/internal/ByteStream.h"

namespace umlauf::io {

/// Rows of numbers in a text file, one after the other in constant memory. Columns are parted by `;`, tab,
/// `,` or blanks, whichever the first row of numbers has (in this order). Numbers have a decimal point, or,
/// where `,` parts no columns, a decimal comma; a file has one of them. The row of as many cells before the
/// first one of numbers is the header; a row of units may follow it, and lines of any shape lie before it.
/// Empty lines and lines that begin with `#` are passed over. Throws Error with the number of the line.
class CsvRows {
 public:
  explicit CsvRows(std::unique_ptr<ByteStream> stream);

  const std::string& name() const { return stream_->name(); }

  /// Column names, without quotes; empty when the file has no header.
  const std::vector<std::string>& header() const { return header_; }
  std::size_t columns() const { return columns_; }
  /// Unit of a column [from 0], from the row of units or the header ("torque [Nm]"); empty where none is
  /// told.
  std::string_view unit(std::size_t column) const {
    return column < units_.size() ? units_[column] : std::string_view();
  }
  /// [s] Unit of the times in the first column, from the header; 1 where it tells none.
  double timeUnit() const { return timeUnit_; }

  /// Goes to the next row; false at the end of the file.
  bool NextRow();
  /// Text and number of a cell in this row, from 0. A cell that is missing or no number throws.
  std::string_view Cell(std::size_t column) const;
  /// Empty when it is missing.
  std::string_view CellIfThere(std::size_t column) const {
    return column < cells_.size() ? cells_[column] : std::string_view();
  }
  double Number(std::size_t column);

  /// Before the first row of numbers again; false for a pipe. Possible once the first row was looked at,
  /// which the constructor does.
  bool Rewind();

  [[noreturn]] void FailHere(const std::string& what) const;

 private:
  struct Line {
    std::string text;
    std::uint64_t number;
  };

  bool NextLine();
  void Split();
  void ReadHeader();
  void TakeHeader(const std::vector<Line>& before);
  std::optional<double> Parse(std::string_view cell);

  std::unique_ptr<ByteStream> stream_;
  std::vector<char> buffer_;
  std::size_t used_ = 0, filled_ = 0;
  std::string line_;
  std::uint64_t lineNumber_ = 0;
  bool again_ = false;  ///< the next row is the one that stands there already
  char separator_ = ' ';
  char decimal_ = 0;  ///< mark that the first number with one had
  double timeUnit_ = 1;
  std::uint64_t headerLines_ = 0;  ///< not passed over, before the first row of numbers
  std::vector<std::string_view> cells_;
  std::vector<std::string> header_, units_;
  std::size_t columns_ = 0;
};

}  // namespace umlauf::io
