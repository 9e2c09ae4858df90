#include "tools/output/PictureCheck.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

namespace umlauf::tool {
namespace {

/// The signature, then chunks (length, name, content, check sum) up to the one named IEND, and nothing
/// behind.
bool IsWholePng(std::ifstream& file, std::uint64_t size) {
  constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";
  std::array<char, 8> head{};
  if (!file.read(head.data(), head.size()) || std::string_view(head.data(), head.size()) != signature)
    return false;
  std::uint64_t at = head.size();
  while (file.seekg(static_cast<std::streamoff>(at)) && file.read(head.data(), head.size())) {
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < 4; ++i) length = length << 8 | static_cast<unsigned char>(head[i]);
    at += 12 + length;
    if (std::memcmp(&head[4], "IEND", 4) == 0) return at == size;
  }
  return false;
}

bool IsWholeSvg(std::ifstream& file, std::uint64_t size) {
  std::string tail(std::min<std::uint64_t>(size, 64), '\0');
  file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
  if (!file.read(tail.data(), static_cast<std::streamsize>(tail.size()))) return false;
  const std::size_t last = tail.find_last_not_of(" \r\n");
  return last != std::string::npos && std::string_view(tail).substr(0, last + 1).ends_with("</svg>");
}

}  // namespace

bool IsWholePicture(const std::filesystem::path& path) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  if (error || !file) return false;
  return path.extension() == ".svg" ? IsWholeSvg(file, size) : IsWholePng(file, size);
}

}  // namespace umlauf::tool
