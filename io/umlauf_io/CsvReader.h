#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "umlauf_io/Export.h"
#include "umlauf_io/RecordingFailure.h"

/// Rows of numbers in a text file, one after the other in constant memory. Columns are parted by `;`, tab,
/// `,` or blanks, whichever the first row of numbers has (in this order). Numbers have a decimal point, or,
/// where `,` parts no columns, a decimal comma; a file has one of them. The row of as many cells before the
/// first one of numbers is the header; a row of units may follow it, and lines of any shape lie before it.
/// Empty lines and lines that begin with `#` are passed over.
/// Nothing throws: what cannot be read ends the rows, and `Failure` says why, with the number of the line.
/// Not for several threads at once.
class UMLAUF_IO_API CCsvReader {
 public:
  CCsvReader();
  ~CCsvReader();
  CCsvReader(const CCsvReader&) = delete;
  CCsvReader& operator=(const CCsvReader&) = delete;

  /// "-" is standard input. False when it cannot be read or holds no row.
  bool Open(const std::filesystem::path& path);

  /// Column names (UTF-8), without quotes; empty when the file has no header.
  const std::vector<std::string>& Header() const;
  /// Columns of the first row of numbers; of the header where there is none.
  std::size_t Columns() const;
  /// [s] Unit of times in the first column, as header or row of units tell it ("time_ms", "t [ms]"); else 1.
  double TimeUnit() const;

  /// Unit of a column [from 0], from the row of units or the end of its name ("torque [Nm]"); empty where
  /// none is told. Valid until the next file is opened.
  std::string_view Unit(std::size_t column) const;

  /// Goes to the next row; false at the end of the file, and when it cannot be read.
  bool NextRow();
  /// Number in a column of this row [from 0]; nothing, and a failure, when it is missing or no number.
  std::optional<double> Number(std::size_t column);
  /// Text of a column of this row [from 0], UTF-8, without quotes; empty when it is missing. Valid until the
  /// next row.
  std::string_view Text(std::size_t column) const;
  /// Notes a failure at this row, for a caller that finds its numbers wrong: "the times must rise".
  void Refuse(const CString& why);

  const RecordingFailure& Failure() const { return failure_; }

 private:
  struct State;

  std::unique_ptr<State> state_;
  RecordingFailure failure_;
};
