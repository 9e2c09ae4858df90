#include "umlauf/platform/vekta/numeric.h"

// The boundary values that every conversion rests on, checked once for all.
static_assert(numeric::trunc_sat<std::int32_t>(-2147483904.0f) == INT32_MIN);
static_assert(numeric::trunc_sat<std::int32_t>(2147483648.0f) == INT32_MAX);
static_assert(numeric::trunc_sat<std::uint32_t>(-0.5f) == 0);
static_assert(numeric::trunc_sat<std::uint64_t>(1.0e20) == UINT64_MAX);
static_assert(numeric::trunc_sat<std::int64_t>(-2.75) == -2);
