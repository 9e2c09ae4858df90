#pragma once

// What tests need of the process they run in, on every system.

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

#include <cstdlib>
#include <string>

inline std::string ProcessNumber() {
#ifdef _WIN32
  return std::to_string(_getpid());
#else
  return std::to_string(getpid());
#endif
}

/// An empty value takes the variable away on Windows, which has no empty ones.
inline void SetEnvironment(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value);
#else
  setenv(name, value, 1);
#endif
}
