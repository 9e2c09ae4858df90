#pragma once

#include <hwy/targets.h>

#include <cstdint>
#include <string_view>

/// Limits the library to one instruction set, named as Highway names it ("AVX2", "SSE4"); false where this
/// processor or this build does not have it.
inline bool LimitDispatch(std::string_view name) {
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    if (name != hwy::TargetName(target)) continue;
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    return true;
  }
  return false;
}
