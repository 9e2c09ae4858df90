#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "umlauf/units/MeasuringUnit.h"
#include "units/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using U = CMeasuringUnit;

constexpr unitFlags kDb = U::flag_db;
constexpr unitFlags kLog = U::flag_log;

TEST(UnitText, IsReadByItsRules) {
  const std::pair<const wchar_t*, std::vector<const wchar_t*>> cases[] = {
      {L"-", {L"-"}},
      {L"dB(-)", {L"dB(-)"}},
      {L"10^ V", {L"10^ V", L"10^ (V)"}},
      {L"dB((m/s)²)", {L"dB((m/s)²)", L"dB((m/s)^(2))"}},
      {L"GHz", {L"kHz", L"mHz"}},
      {L"1e+36Pa", {L"uPa", L"µPa", L"MPa"}},
      {L"1e+81A", {L"nA", L"GA"}},
      {L"1e+144W", {L"pW", L"TW"}},
      {L"1e+225s", {L"fs"}},
      {L"G(m/s)²", {L"(mm/s)²"}},
      {L"m/s²", {L"m/s²", L"m/s^2", L"m / (s ^ (2))"}},
      {L"(m/s)²", {L"(m/s)²", L"((m/s)^+2)"}},
      {L"(m/s²)^(-3)", {L"(m/s²)^-3"}},
      {L"V^(-32768)", {L"V^-32768", L"V^(-32768)"}},
      {L"rpm", {L" rpm ", L"Rpm", L"RPM", L"UpM", L"Upm"}},
      {L"rev", {L"Rev", L"Umd"}},
      {L"rad/s²", {L"Rad/s²", L"Rad/s^2"}},
      {L"dB(rad/s)", {L"dB(Rad/s)"}},
      {L"rad", {L"Rad"}},
      {L"ord", {L"Ord"}},
      {L"№", {L"n"}}};
  const LogCapture silence;
  for (const auto& [shown, texts] : cases) {
    for (const CString text : texts) {
      CMeasuringUnit unit(U::watt, 6, 5, 2.0f, 3);
      EXPECT_TRUE(unit.set(text) && unit.logref() == 1.0f);
      EXPECT_EQ(unit.prefixunit(true).ToUtf8(), CString(shown).ToUtf8()) << text.ToUtf8();
    }
  }
  EXPECT_TRUE(CMeasuringUnit(L"m/s²") == U::metre_per_second_squared);
  EXPECT_TRUE(CMeasuringUnit(L"dB(10^ kV²)") == CMeasuringUnit(U::volt, 9, 2, 1, kDb | kLog));
  EXPECT_TRUE(CMeasuringUnit(L"kV^0") == CMeasuringUnit(U::volt, 9, 0));
}

TEST(UnitText, UnknownNamesAreRejectedWithAMessage) {
  LogCapture log;
  const std::pair<const wchar_t*, const char*> cases[] = {
      {L"kxyz", "xyz"},   {L"RPm", "RPm"},    {L"m^2/s", "m²/s"}, {L"V^2^3", "V²³"},
      {L"V^2.5", "V².5"}, {L"(V^3)^2", "V³"}, {L"pu", "u"},       {L"dB(km/h)", "m/h"}};
  for (const auto& [text, name] : cases) {
    CMeasuringUnit unit(U::watt);
    EXPECT_TRUE(unit.set(text)) << name;
    EXPECT_TRUE(!unit);
    EXPECT_THAT(log.Take(), ElementsAre(UnknownUnit(name)));
  }
}

TEST(UnitText, WhatIsNoExpressionClearsTheUnitAndIsReported) {
  LogCapture log;
  const std::pair<const char*, std::string> cases[] = {
      {"k-", "an operand is missing at the end"},
      {"10^ ", "the expression is empty"},
      {"dB(V\n)", "an operator is missing before \"(\""},
      {"V^32768", "the power is outside the range from -32768 to 32767"},
      {"V^-9999999999", "the power is outside the range from -32768 to 32767"}};
  CMeasuringUnit unit;
  for (const auto& [text, reason] : cases) {
    unit.set(U::watt, 3, 2, 4.0f, kDb);
    EXPECT_FALSE(unit.setA(text));
    EXPECT_TRUE(unit == CMeasuringUnit());
    EXPECT_THAT(log.Take(), ElementsAre("CMeasuringUnit::set(): Invalid argument: " + std::string(text) +
                                        " caused: " + reason + "\n"));
  }
  EXPECT_FALSE(unit.set(L"") || unit.set(static_cast<const wchar_t*>(nullptr)));
  EXPECT_THAT(log.Take(), IsEmpty());
}

// The exceptions are those that the header lists, no fewer and no more.
TEST(UnitText, EveryCommonUnitAndPowerReadsBackExceptTheListedOnes) {
  const LogCapture silence;
  for (const SCommonUnit& row : kCommonUnits) {
    const bool speed = row.unit == U::kilometre_per_hour || row.unit == U::mile_per_hour;
    for (std::int16_t power = -3; power <= 4; ++power) {
      const bool listed = row.unit == U::per_unit || (power != 1 && (speed || row.unit == U::none));
      const CMeasuringUnit plain(row.unit, 0, power);
      EXPECT_EQ(CMeasuringUnit(plain.prefixstring()) == plain, !listed) << plain.prefixstring().ToUtf8();
      for (const unitFlags flag : {kDb, kLog}) {
        const CMeasuringUnit unit(row.unit, 0, power, 1.0f, flag);
        const CString text = unit.prefixunit(true);
        EXPECT_EQ(CMeasuringUnit(text) == unit, !listed && !speed && power != 0) << text.ToUtf8();
      }
    }
  }
}

TEST(UnitText, IsWrittenByItsRules) {
  const struct {
    unsigned unit;
    int exponent, power;
    const wchar_t* text;
  } cases[] = {{23, 0, 2, L"(m/s)²"},    {12, 0, -1, L"V^(-1)"},
               {12, 3, 4, L"kV^4"},      {12, 0, 3, L"V³"},
               {12, 0, 0, L"V^0"},       {0, 3, 2, L"k-"},
               {18, 4, 1, L"1e+01km"},   {18, -4, 1, L"1e+02µm"},
               {18, -15, 1, L"fm"},      {18, 14, 1, L"1e+02Tm"},
               {18, 15, 1, L"1e+15m"},   {18, 37, 1, L"1e+37m"},
               {18, -16, 1, L"1e-16m"},  {18, -32768, 1, L"1e-32768m"},
               {4000000000u, 0, 1, L"-"}};
  for (const auto& c : cases) {
    const CMeasuringUnit unit(commonUnits(c.unit), static_cast<short>(c.exponent),
                              static_cast<short>(c.power));
    EXPECT_EQ(unit.prefixstring().ToUtf8(), CString(c.text).ToUtf8());
    EXPECT_EQ(unit.prefixunit(true), c.power == 0 ? L"" : c.text);
    EXPECT_EQ(unit.baseunit(), U::UnitString(c.unit));
  }
}

TEST(UnitText, PresentationsAndTheirSwitch) {
  const CMeasuringUnit db(U::pascal, -6, 1, 20.0f, kDb | kLog);
  EXPECT_TRUE(db == L"dB(µPa)");
  U::m_showUnitWithDb = false;
  EXPECT_EQ(db.prefixunit(true), L"dB");
  U::m_showUnitWithDb = true;
  EXPECT_EQ(CMeasuringUnit(U::volt, 3, 1, 1.0f, kLog).prefixunit(false), L"log(kV)");
  EXPECT_EQ(CMeasuringUnit(U::volt, 0, 0, 1.0f, kDb).prefixunit(true), L"");
}

TEST(UnitText, AnsiFormsAreCodePage1252AndBounded) {
  LogCapture log;
  CMeasuringUnit unit;
  EXPECT_TRUE(unit.setA("m/s\xB2"));
  EXPECT_STREQ(unit.prefixunitA(false), "m/s\xB2");
  EXPECT_FALSE(unit.setA(std::string(256, 'x').c_str()));
  EXPECT_TRUE(unit.empty());
  EXPECT_FALSE(unit.setA(nullptr));
  EXPECT_THAT(log.Take(), IsEmpty());
  U::registerUncommonUnits(true);
  EXPECT_TRUE(unit.setA(std::string(255, 'x').c_str()));
  U::registerUncommonUnits(false);
  unit.set_power(2);
  EXPECT_EQ(unit.prefixunitA(true), std::string(255, 'x'));
}

}  // namespace
