# Builds for Windows with MinGW-w64 on Debian and runs what was built under Wine. script/bootstrap --windows installs both
# and builds the libraries that this finds.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)

# Windows keeps the stack at 16 bytes, and GCC places vectors of 32 and 64 bytes there as if it were aligned to them: the
# assembler writes every such move as one that needs no alignment.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")

set(libraries "$ENV{UMLAUF_WINDOWS_LIBRARIES}")
if(libraries STREQUAL "")
  get_filename_component(libraries "${CMAKE_CURRENT_LIST_DIR}/../../build/windows-libraries" REALPATH)
endif()
list(APPEND CMAKE_FIND_ROOT_PATH "${libraries}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${libraries}/lib/pkgconfig:${libraries}/share/pkgconfig")
