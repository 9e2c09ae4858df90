#pragma once

// The system's header without its macros for common words. Before any other header of the system.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <string>

namespace umlauf::os {

/// A path as functions of the system take it at any length: one that nears their usual limit of 260
/// characters becomes absolute and begins with "\\?\".
std::wstring LongPath(const std::wstring& path);

}  // namespace umlauf::os
