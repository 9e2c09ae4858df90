#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace umlauf::tool {

/// Rows of numbers in a text file, one after the other in constant memory. Columns are parted by `;`, tab,
/// `,` or blanks, whichever the first row has (in this order); numbers have a decimal point. A first row
/// whose first cell is no number is the header. Empty lines and lines that begin with `#` are passed over.
/// Failures throw ToolError with the number of the line.
class CsvReader {
 public:
  explicit CsvReader(const std::filesystem::path& path);

  /// Column names, without quotes; empty when the file has no header.
  const std::vector<std::string>& header() const { return header_; }
  std::size_t columns() const { return columns_; }

  /// Goes to the next row; false at the end of the file.
  bool NextRow();
  /// Text and number of a cell in this row, from 0. A cell that is missing or no number throws.
  std::string_view Cell(std::size_t column) const;
  double Number(std::size_t column) const;

  /// Before the first row of numbers again.
  void Rewind();

  [[noreturn]] void FailHere(const std::string& what) const;

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  bool NextLine();
  void Split();

  std::string path_;
  std::unique_ptr<std::FILE, CloseFile> file_;
  std::vector<char> buffer_;
  std::size_t used_ = 0, filled_ = 0;
  std::string line_;
  std::uint64_t lineNumber_ = 0;
  char separator_ = ' ';
  std::vector<std::string_view> cells_;
  std::vector<std::string> header_;
  std::size_t columns_ = 0;
};

}  // namespace umlauf::tool
