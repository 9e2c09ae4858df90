#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace umlauf::tool {

/// A path of the command line, whose texts are UTF-8 on every system (elsewhere than on Windows any bytes). A
/// plain path would take them for the code page of the system.
class FilePath : public std::filesystem::path {
 public:
  FilePath() = default;
  FilePath(std::string_view utf8) : path(std::u8string(utf8.begin(), utf8.end())) {}  // NOLINT
  FilePath(const std::string& utf8) : FilePath(std::string_view(utf8)) {}             // NOLINT
  FilePath(const char* utf8) : FilePath(std::string_view(utf8)) {}                    // NOLINT
  FilePath(std::filesystem::path other) : path(std::move(other)) {}                   // NOLINT
};

}  // namespace umlauf::tool
