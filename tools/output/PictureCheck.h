#pragma once

#include <filesystem>

namespace umlauf::tool {

/// Whether a file is a PNG picture with all its chunks or an SVG picture with its end, by the ending of its
/// name. Whoever wrote it may not have noticed that the disk was full.
bool IsWholePicture(const std::filesystem::path& path);

}  // namespace umlauf::tool
