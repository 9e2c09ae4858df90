#include <gtest/gtest.h>

#include <vector>

#include "umlauf/units/MeantUnit.h"

namespace {

CMeasuringUnit Unit(const wchar_t* text) {
  CMeasuringUnit unit;
  EXPECT_TRUE(MeantUnit::Read(text, unit)) << CString(text).ToUtf8();
  return unit;
}

TEST(MeantUnit, PrefixesCountAsPeopleWriteThem) {
  struct Case {
    const wchar_t *from, *to;
    double factor;  // 0: cannot be converted
  };
  for (const Case& each : std::vector<Case>{{L"kHz", L"Hz", 1e3},
                                            {L"mV", L"V", 1e-3},
                                            {L"µs", L"ms", 1e-3},
                                            {L"km²", L"m²", 1e6},
                                            {L"mm^-1", L"m^-1", 1e3},
                                            {L"km/h", L"m/s", 1 / 3.6},
                                            {L"rpm", L"Hz", 1 / 60.0},
                                            {L"pu", L"%", 100},
                                            {L"-", L"-", 1},
                                            {L"dB(Pa)", L"dB(Pa)", 1},
                                            {L"dB(Pa)", L"Pa", 0},
                                            {L"V²", L"V", 0},
                                            {L"V", L"Pa", 0}}) {
    EXPECT_NEAR(MeantUnit::Factor(Unit(each.from), Unit(each.to)), each.factor, 1e-6 * each.factor)
        << CString(each.from).ToUtf8() << " to " << CString(each.to).ToUtf8();
  }
}

TEST(MeantUnit, WhatIsWrittenReadsBack) {
  for (const wchar_t* text : {L"kHz", L"km²", L"mm³", L"V^(-1)", L"mV^(-2)", L"m/s²", L"dB(Pa)", L"km/h",
                              L"mph", L"rpm", L"°C", L"10^ V", L"-"}) {
    const CMeasuringUnit unit = Unit(text);
    EXPECT_EQ(MeantUnit::Write(unit), text);
    EXPECT_TRUE(Unit(MeantUnit::Write(unit)) == unit) << CString(text).ToUtf8();
  }
}

TEST(MeantUnit, UnknownNamesAreRefusedUntilTheyAreRegistered) {
  CMeasuringUnit unit = Unit(L"V");
  for (const wchar_t* text : {L"", L"Ohm", L"kOhm", L"(V", L"dB(Ohm)"}) {
    EXPECT_FALSE(MeantUnit::Read(text, unit)) << CString(text).ToUtf8();
    EXPECT_TRUE(unit.empty());
  }
  ASSERT_TRUE(MeantUnit::ReadOrRegister(L"kOhm", unit));
  EXPECT_DOUBLE_EQ(MeantUnit::Factor(unit, Unit(L"Ohm")), 1e3);
  EXPECT_FALSE(CMeasuringUnit::registerUncommonUnits());
}

}  // namespace
