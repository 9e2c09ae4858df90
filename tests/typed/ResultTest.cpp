#include "support/Test.h"
#include "typed/TypedTestSupport.h"
#include "umlauf/typed/MeasuringResult.h"

namespace {

TEST(SetPoint, SlotsAndIds) {
  CSetPoint s;
  EXPECT_TRUE(s.empty());
  s.def(3, 7);
  s.def(5, 7);
  s.def(0, -2);  // any negative id is free
  s[3] = 4.5f;
  EXPECT_ALL(s.size() == 2, s.is_def(3), !s.is_def(0), s.first_free() == 0);
  const int cases[][2] = {{7, 3}, {-2, 0}, {-1, -1}, {8, -1}};
  for (const auto& [id, slot] : cases) EXPECT_EQ(s.id2idx(id), slot) << id;
  s.clear();
  EXPECT_ALL(s.empty(), s[3] == 4.5f);
  for (int i = 0; i < 16; ++i) s.def(i, i);
  s.fill(2.0f);
  EXPECT_ALL(s.first_free() == -1, s.idx2id(s.id2idx(15)) == 15, s[0] + s[15] == 4.0f);
}

TEST(MeasuringResult, IdsAreConsecutiveAndOnlyForNewResults) {
  const CMeasuringResultBase first;
  const CMeasuringResultScalar second;
  const CSignalBase third;
  const CSignalBase copy(third), channel(third, 1);
  const CTypedSignal<float> fourth(CDescription{});
  EXPECT_ALL(second.id() == first.id() + 1, third.id() == first.id() + 2, copy.id() == third.id(),
             channel.id() == third.id(), fourth.id() == first.id() + 3);
}

TEST(MeasuringResult, DescriptionEquality) {
  CMeasuringResultScalar volts, amperes;
  volts.Unit() = CMeasuringUnit(commonUnits::volt);
  amperes.Unit() = CMeasuringUnit(commonUnits::ampere);
  const CMeasuringResultBase base;
  EXPECT_TRUE(volts._description_eq(CMeasuringResultScalar(volts)));
  EXPECT_ALL(!volts._description_eq(amperes), !volts._description_eq(base), !base._description_eq(volts),
             !CTypedSignal<float>()._description_eq(CTypedSignal<std::int32_t>()));
}

}  // namespace
