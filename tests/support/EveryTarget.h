#pragma once

#include <hwy/targets.h>

#include "support/Test.h"

/// Each test of a suite that derives from this runs with every instruction set that this processor has:
///
///     class Kernels : public EveryTarget {};
///     INSTANTIATE_TEST_SUITE_P(On, Kernels, AllTargets(), TargetName);
class EveryTarget : public testing::TestWithParam<std::int64_t> {
 protected:
  EveryTarget() { Choose(GetParam()); }
  ~EveryTarget() override { Choose(0); }

 private:
  static void Choose(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
};

inline auto AllTargets() { return testing::ValuesIn(hwy::SupportedAndGeneratedTargets()); }
inline std::string TargetName(const testing::TestParamInfo<std::int64_t>& target) {
  return hwy::TargetName(target.param);
}
