#pragma once

#include <filesystem>
#include <memory>

#include "umlauf_io/RecordingFormat.h"
#include "umlauf_io/internal/FrameReader.h"

namespace umlauf::io {

/// Refuses a format that contradicts itself.
void CheckFormat(const RecordingFormat& format);

/// Opens a recording of any kind with its channels as they lie in the file.
std::unique_ptr<FrameReader> OpenFrames(const std::filesystem::path& path, const RecordingFormat& format);

}  // namespace umlauf::io
