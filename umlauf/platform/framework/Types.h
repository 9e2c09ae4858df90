#pragma once

#include <bit>
#include <cstdint>

// Integers of the interface. It comes from a platform where long has 32 bits, so LONG and ULONG have 32 bits
// everywhere. HWND is a window of the application; the library only hands it on.
#ifdef _WIN32
using LONG = long;
using ULONG = unsigned long;
struct HWND__;
using HWND = HWND__*;
#else
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using HWND = void*;
#endif

static_assert(sizeof(LONG) == 4 && sizeof(ULONG) == 4);
static_assert(sizeof(float) == 4 && sizeof(double) == 8);
static_assert(std::endian::native == std::endian::little,
              "Files and flat records are little-endian as they lie in memory.");
