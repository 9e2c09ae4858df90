#include "support/Dispatch.h"

#include <cstdio>
#include <cstdlib>

// Part of every benchmark program: UMLAUF_BENCH_TARGET limits the library to one instruction set.
namespace {
const bool limited = [] {
  const char* const target = std::getenv("UMLAUF_BENCH_TARGET");
  if (target == nullptr || *target == '\0' || LimitDispatch(target)) return true;
  std::fprintf(stderr, "UMLAUF_BENCH_TARGET: '%s' is not to be had here\n", target);
  std::exit(1);
}();
}  // namespace
