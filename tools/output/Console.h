#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>

namespace umlauf::tool {

/// Text that a terminal can show whatever it holds: control characters become \uXXXX (which JSON reads back).
/// Line ends and tabs stay.
std::string WithoutControls(std::string_view utf8);
/// The same on one line: line ends and tabs become blanks.
std::string OnOneLine(std::string_view utf8);

/// Writes to standard output, without control characters. Throws ToolError when it cannot be written.
void WriteOut(std::string_view text);
/// With control characters: tables that other programs read.
void WriteOutAsItIs(std::string_view text);
template <class... Args>
void Print(fmt::format_string<Args...> format, Args&&... args) {
  WriteOut(fmt::format(format, std::forward<Args>(args)...));
}
/// A row of a table for people: its name in a column of `width` characters, its text on one line.
std::string RowText(std::string_view name, std::string_view text, int width = 12);
inline void Row(std::string_view name, std::string_view text, int width = 12) {
  WriteOut(RowText(name, text, width));
}
/// Hands on what standard output still holds back. Throws ToolError when anything could not be written.
void FlushOut();

/// One line on standard error that begins with the program's name.
void WriteNote(std::string_view text);
template <class... Args>
void PrintNote(fmt::format_string<Args...> format, Args&&... args) {
  WriteNote(fmt::format(format, std::forward<Args>(args)...));
}

}  // namespace umlauf::tool
