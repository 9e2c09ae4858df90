#include <thread>

#include "typed/TypedTestSupport.h"
#include "umlauf/typed/MeasuringResult.h"

namespace {

TEST(SetPoint, SlotsAndIds) {
  CSetPoint s;
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.first_free(), 0);
  s.def(3, 7);
  s.def(5, 7);
  s.def(0, -2);  // any negative id is free
  s[3] = 4.5f;
  EXPECT_EQ(s.size(), 2);
  EXPECT_EQ(s.id2idx(7), 3);
  EXPECT_EQ(s.idx2id(5), 7);
  EXPECT_EQ(s.id2idx(-2), 0);
  EXPECT_EQ(s.id2idx(-1), -1);
  EXPECT_EQ(s.id2idx(8), -1);
  EXPECT_EQ(s.first_free(), 0);
  EXPECT_TRUE(s.is_def(3));
  EXPECT_FALSE(s.is_def(0));
  s.clear();
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s[3], 4.5f);
  for (int i = 0; i < 16; ++i) s.def(i, i);
  s.fill(2.0f);
  EXPECT_EQ(s.first_free(), -1);
  EXPECT_EQ(s.id2idx(-1), -1);
  EXPECT_EQ(s.id2idx(15), 15);
  EXPECT_EQ(s[0] + s[15], 4.0f);
}

TEST(MeasuringResult, IdsAreConsecutiveAndOnlyForNewResults) {
  const CMeasuringResultBase first;
  const CMeasuringResultScalar second;
  const CSignalBase third;
  const CSignalBase copy(third), channel(third, 1);
  const CTypedSignal<float> fourth(CDescription{});
  EXPECT_EQ(second.id(), first.id() + 1);
  EXPECT_EQ(third.id(), first.id() + 2);
  EXPECT_EQ(copy.id(), third.id());
  EXPECT_EQ(channel.id(), third.id());
  EXPECT_EQ(fourth.id(), first.id() + 3);
  EXPECT_EQ(CMeasuringResultBase::m_id, first.id() + 4);
}

TEST(MeasuringResult, IdsDrawnByThreadsAreUnique) {
  const ULONG before = CMeasuringResultBase::m_id;
  std::vector<ULONG> ids[2];
  auto draw = [&ids](int t) {
    for (int i = 0; i < 5000; ++i) ids[t].push_back(CMeasuringResultBase().id());
  };
  std::thread other(draw, 0);
  draw(1);
  other.join();
  ids[0].insert(ids[0].end(), ids[1].begin(), ids[1].end());
  std::sort(ids[0].begin(), ids[0].end());
  for (ULONG i = 0; i < 10000; ++i) ASSERT_EQ(ids[0][i], before + i);
}

TEST(MeasuringResult, ConstructionReachesTheParts) {
  CMeasuringResultScalar scalar;
  scalar.Key().Mode() = 3;
  scalar.SetPoint().def(1, 1);
  scalar.Value(5.0f);
  scalar.Unit() = CMeasuringUnit(commonUnits::volt);
  CMeasuringResultScalar other(scalar);
  scalar._construct(true);
  EXPECT_EQ(Flat(scalar), Flat(other));
  scalar._construct(false);
  EXPECT_EQ(scalar.Key().Mode(), -1);
  EXPECT_TRUE(scalar.SetPoint().empty() && scalar.Unit().empty());
  EXPECT_EQ(scalar.Value(), 0.0f);
}

TEST(MeasuringResult, DescriptionEquality) {
  CMeasuringResultScalar volts, amperes;
  volts.Unit() = CMeasuringUnit(commonUnits::volt);
  amperes.Unit() = CMeasuringUnit(commonUnits::ampere);
  const CMeasuringResultBase base;
  EXPECT_TRUE(volts._description_eq(CMeasuringResultScalar(volts)));
  EXPECT_FALSE(volts._description_eq(amperes));
  EXPECT_FALSE(volts._description_eq(base));
  EXPECT_FALSE(base._description_eq(volts));
  EXPECT_TRUE(base._description_eq(CMeasuringResultBase()));
  EXPECT_FALSE(CTypedSignal<float>()._description_eq(CTypedSignal<std::int32_t>()));
  EXPECT_TRUE(CTypedSignal<float>()._description_eq(CTypedSignal<float>()));
}

}  // namespace
