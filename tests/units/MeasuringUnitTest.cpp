#include "umlauf/units/MeasuringUnit.h"

#include "support/Test.h"

namespace {

using U = CMeasuringUnit;

TEST(MeasuringUnit, OwnersAndHoldersKeepToTheirRecords) {
  U a(U::rpm, 3, 2, 0.5f, U::flag_db);
  const U copy(a);
  a.clear();
  EXPECT_ALL(a == U(), !a, a.power() == 1, a.logref() == 1.0f);
  SMeasuringUnitPOD record{U::volt, 0, 1, 1.0f, 0};
  CMeasuringUnitInterface holder(record);
  holder = copy;
  const U taken = holder;
  EXPECT_ALL(record.unit == U::rpm, taken == copy, copy == U(U::rpm, 3, 2, 0.5f, U::flag_db));
  holder._construct(true);
  EXPECT_EQ(record.exponent, 3);
  holder._construct(false);
  EXPECT_TRUE(holder == a);
}

TEST(MeasuringUnit, FlagsChangeOneByOneAndEqualityLooksAtAllFields) {
  U a(U::volt);
  a.set_db(true);
  a.set_log(true);
  U b(a);
  a.set_db(false);
  b.set_log(false);
  EXPECT_ALL(a.is_log(), !a.is_db(), b.is_db(), !b.is_log());
  a.set_log(false);
  EXPECT_ALL(a == U(U::volt), a != U(U::watt), a != U(U::volt, 3), a != U(U::volt, 0, 2),
             a != U(U::volt, 0, 1, 2), a != U(U::volt, 0, 1, 1, 1), a == L"V", a != L"v",
             a == commonUnits::volt, a != commonUnits::watt);
}

TEST(MeasuringUnit, EngineeringGivesOneToThreeDigits) {
  const Cases<float, int, int> cases = {{12e3f, 0, -3},   {-12e3f, 0, -3}, {0.5f, 0, 3}, {999, 0, 0},
                                        {1e3f, 0, -3},    {0.02f, 3, 3},   {5, 4, 1},    {5, -4, 2},
                                        {0, 4, 0},        {kInf, 4, 0},    {kNaN, 4, 0}, {1e-30f, -32768, -2},
                                        {1e30f, 32767, 1}};
  for (const auto& [x, exponent, shift] : cases) {
    U unit(U::volt, static_cast<short>(exponent));
    EXPECT_EQ(unit.engineering(x), shift) << x << " e" << exponent;
    EXPECT_EQ(unit.exponent(), exponent - shift) << x << " e" << exponent;
  }
}

TEST(MeasuringUnit, PrefixGroupsRoundDown) {
  for (int e = -32768; e <= 32767; ++e) {
    const auto [group, rest] = U(U::volt, static_cast<short>(e)).prefixidx();
    ASSERT_TRUE(rest >= 0 && rest <= 2 && 3 * group + rest == e) << e;
  }
  EXPECT_ALL(U::prefix(-6) == L'-', U::prefix(-5) == L'f', U::prefix(4) == L'T', U::prefix(5) == L'-');
}

TEST(MeasuringUnit, NormalizeAndInvertGiveTheFactor) {
  const struct {
    U before;
    float (CMeasuringUnitInterface::*move)();
    float factor;
    U after;
  } cases[] = {
      {U(U::rpm, 3), &U::normalize, 1000.0f / 60, U(U::hertz, 1)},
      {U(U::kilometre_per_hour, 0, 2), &U::normalize, 1 / (3.6f * 3.6f), U(U::metre_per_second, 1, 2)},
      {U(commonUnits(77)), &U::normalize, 0, U(U::none, 1)},
      {U(U::hertz, 3), &U::invert, 1, U(U::second, -3)},
      {U(U::rpm), &U::invert, 60, U(U::second)},
      {U(U::degree, 0, 2), &U::invert, 360 * 360, U(U::order, 0, 2)},
      {U(U::volt, 3, 2), &U::invert, 1, U(U::volt, -3, -2)},
      {U(U::number, -32768, -32768), &U::invert, 1, U(U::number, 32767, 32767)},
      {U(U::rpm, 3, 1, 1, U::flag_log), &U::invert, 1, U(U::rpm, 3, 1, 1, U::flag_log)}};
  for (const auto& c : cases) {
    U unit(c.before);
    EXPECT_FLOAT_EQ((unit.*c.move)(), c.factor) << c.before.prefixstring().ToUtf8();
    EXPECT_TRUE(unit == c.after) << c.before.prefixstring().ToUtf8();
  }
}

TEST(MeasuringUnit, ScaleAndMatch) {
  const Cases<U, U, float, bool> cases = {{U(U::rpm), U(U::hertz, 3), 1e-3f / 60, true},
                                          {U(U::second), U(U::metre), 0, false},
                                          {U(U::second, 0, 2), U(U::second), 0, false},
                                          {U(U::second, 0, 2), U(U::second, 0, 2), 1, true},
                                          {U(U::mile_per_hour), U(U::kilometre_per_hour), 1.609344f, true},
                                          {U(U::gravity), U(U::metre_per_second_squared), 9.80665f, true},
                                          {U(U::percent), U(U::per_unit), 0.01f, true},
                                          {U(U::radian_per_second), U(U::rpm), 9.549297f, true},
                                          {U(U::bar, 0, 2), U(U::pascal, 0, 2), 1e10f, true},
                                          {U(U::volt), U(U::volt, -3, 1, 2.0f), 1000, false},
                                          {U(U::volt), U(U::volt, 0, 1, 1.0f, U::flag_db), 1, false},
                                          {U(U::radian), U(U::degree), 57.29578f, true},
                                          {U(commonUnits(40)), U(commonUnits(40)), 1, true},
                                          {U(commonUnits(40)), U(U::volt), 0, false}};
  for (const auto& [from, to, factor, matches] : cases) {
    EXPECT_FLOAT_EQ(from.scale_to(to), factor) << from.prefixstring().ToUtf8();
    EXPECT_EQ(from.matches(to), matches) << from.prefixstring().ToUtf8();
  }
  EXPECT_TRUE(std::isnan(U(commonUnits(40)).scale_to(U(commonUnits(41)))));
  EXPECT_ALL(U::inverse(U::kCommonUnitCount) == 0, U::standard(U::kCommonUnitCount) == 0,
             U::inv_fac(U::kCommonUnitCount) == 0, U::std_fac(U::kCommonUnitCount) == 0);
}

TEST(MeasuringUnit, PowersAndRoots) {
  U unit(U::metre, 3);
  unit.power(2);
  EXPECT_TRUE(unit == U(U::metre, 6, 2));
  unit.power(32767);
  EXPECT_TRUE(unit == U(U::metre, 32767, 32767));
  const Cases<int, int, int, int, int, bool> cases = {
      {6, 2, 2, 3, 1, true},   {6, 3, 2, 6, 3, false},
      {-7, 2, 2, -3, 1, true}, {5, 0, 2, 5, 0, false},
      {5, 0, 1, 5, 0, true},   {5, 2, 0, 5, 2, false},
      {5, 2, 4, 5, 2, false},  {-32768, -32768, -1, 32767, 32767, true}};
  for (const auto& [exponent, power, n, exponentAfter, powerAfter, done] : cases) {
    U root(U::metre, static_cast<short>(exponent), static_cast<short>(power));
    EXPECT_EQ(root.root(static_cast<short>(n)), done) << power << " by " << n;
    EXPECT_EQ(root.exponent(), exponentAfter) << power << " by " << n;
    EXPECT_EQ(root.power(), powerAfter) << power << " by " << n;
  }
}

}  // namespace
