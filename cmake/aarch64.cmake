# Cross compilation for 64-bit ARM on Debian: the libraries are those that script/bootstrap --arm64 fetched, and programs run
# in qemu's user mode. QEMU_CPU, read at run time, is the processor: "max" (SVE2, vectors of 2048 bits),
# "max,sve-max-vq=2" (of 256), "cortex-a72" (NEON) ...
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

if(DEFINED ENV{UMLAUF_ARM64_ROOT})
  set(CMAKE_SYSROOT "$ENV{UMLAUF_ARM64_ROOT}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(CMAKE_SYSROOT "$ENV{XDG_CACHE_HOME}/umlauf-arm64")
else()
  set(CMAKE_SYSROOT "$ENV{HOME}/.cache/umlauf-arm64")
endif()
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
foreach(kind LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

if(CMAKE_TOOLCHAIN_FILE)  # read: CMake would tell that nothing uses it whenever it configures again
endif()

set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-aarch64-static;-L;${CMAKE_SYSROOT}")
