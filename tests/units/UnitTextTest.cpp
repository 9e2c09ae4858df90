#include <sstream>

#include "support/LogCapture.h"
#include "support/Test.h"
#include "umlauf/units/MeasuringUnit.h"

namespace {

using U = CMeasuringUnit;

constexpr unitFlags kDb = U::flag_db;
constexpr unitFlags kLog = U::flag_log;

// Text, and what it is shown as.
constexpr const wchar_t* kTexts =
    L"km/h=km/h;mph=mph;-=-;dB(-)=dB(-);10^ V=10^ V;10^ (V)=10^ V;dB(V)=dB(V);dB((m/s)^(2))=dB((m/s)²);"
    L"kHz=GHz;mHz=GHz;uPa=1e+36Pa;µPa=1e+36Pa;MPa=1e+36Pa;nA=1e+81A;GA=1e+81A;pW=1e+144W;TW=1e+144W;"
    L"fs=1e+225s;mm/s²=Gm/s²;(mm/s)²=G(m/s)²;m/s²=m/s²;m / (s ^ (2))=m/s²;((m/s)^+2)=(m/s)²;"
    L"(m/s²)^-3=(m/s²)^(-3);Rad^-32768=rad^(-32768); rpm =rpm;Rpm=rpm;RPM=rpm;UpM=rpm;Upm=rpm;Rev=rev;"
    L"Umd=rev;Rad=rad;Rad/s=rad/s;Rad/s²=rad/s²;Ord=ord;n=№";

TEST(UnitText, IsReadByItsRules) {
  const LogCapture silence;
  std::wistringstream rows(kTexts);
  for (std::wstring row; std::getline(rows, row, L';');) {
    const std::size_t split = row.find(L'=');
    CMeasuringUnit unit(U::watt, 6, 5, 2.0f, 3);
    EXPECT_ALL(unit.set(row.substr(0, split).c_str()), unit.logref() == 1.0f);
    EXPECT_EQ(unit.prefixunit(true), row.substr(split + 1)) << CString(row).ToUtf8();
  }
  EXPECT_ALL(CMeasuringUnit(L"m/s²") == U::metre_per_second_squared,
             CMeasuringUnit(L"dB(10^ kV²)") == CMeasuringUnit(U::volt, 9, 2, 1, kDb | kLog),
             CMeasuringUnit(L"kV^0") == CMeasuringUnit(U::volt, 9, 0));
}

TEST(UnitText, IsReadAlikeWithBlanks) {
  const LogCapture silence;
  std::mt19937 random(3);
  constexpr std::wstring_view operands[] = {L"V", L"m", L"kHz", L"(V", L"m", L"2"};
  constexpr std::wstring_view operators[] = {L"/", L"*", L"^", L"²", L"³/", L"^2)*", L")^", L"^-"};
  int read = 0;
  for (int round = 0; round < 20000; ++round) {
    std::wstring text, spaced;
    const unsigned n = 1 + random() % 8;
    for (unsigned i = 0; i < n; ++i) {
      const auto any = random();
      const std::wstring_view piece =
          i % 2 == 0 ? operands[any % std::size(operands)] : operators[any % std::size(operators)];
      const bool continues =
          !text.empty() && std::wstring_view(L"VmkHz²³230").find(text.back()) != std::wstring_view::npos;
      text += piece;
      spaced += (continues ? L"" : L" ") + std::wstring(piece);
    }
    CMeasuringUnit unit, other;
    const bool whole = unit.set(text.c_str());
    EXPECT_EQ(whole, other.set((spaced + L" ").c_str())) << CString(text).ToUtf8();
    EXPECT_TRUE(unit == other) << CString(text).ToUtf8();
    read += whole ? 1 : 0;
  }
  EXPECT_GT(read, 1000);
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
      {"10^ ", "the expression is empty"},
      {"k-", "an operand is missing at the end"},
      {"a+*b", "an operand is missing before \"*\""},
      {"dB(V\n)", "an operator is missing before \"(\""},
      {"2 m", "an operator is missing before \"m\""},
      {"(a", "a closing parenthesis is missing"},
      {"a)", "no opening parenthesis for \")\""},
      {"V^-99999999999999999999", "the power is outside the range from -32768 to 32767"}};
  CMeasuringUnit unit;
  for (const auto& [text, reason] : cases) {
    unit.set(U::watt, 3, 2, 4.0f, kDb);
    EXPECT_ALL(!unit.setA(text), unit == CMeasuringUnit());
    EXPECT_THAT(log.Take(), ElementsAre("CMeasuringUnit::set(): Invalid argument: " + std::string(text) +
                                        " caused: " + reason + "\n"));
  }
  EXPECT_ALL(!unit.set(L""), !unit.set(static_cast<const wchar_t*>(nullptr)));
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
  const Cases<unsigned, int, int, std::string> cases = {
      {23, 0, 2, "(m/s)²"},   {12, 0, -1, "V^(-1)"},  {12, 3, 4, "kV^4"},    {12, 0, 3, "V³"},
      {12, 0, 0, "V^0"},      {0, 3, 2, "k-"},        {18, 4, 1, "1e+01km"}, {18, -4, 1, "1e+02µm"},
      {18, -15, 1, "fm"},     {18, 14, 1, "1e+02Tm"}, {18, 15, 1, "1e+15m"}, {18, 37, 1, "1e+37m"},
      {18, -16, 1, "1e-16m"}, {99999, 0, 1, "-"}};
  for (const auto& [base, exponent, power, text] : cases) {
    const CMeasuringUnit unit(commonUnits(base), static_cast<short>(exponent), static_cast<short>(power));
    EXPECT_EQ(unit.prefixstring().ToUtf8(), text);
    EXPECT_EQ(unit.prefixunit(true).ToUtf8(), power == 0 ? "" : text);
  }
  EXPECT_EQ(CMeasuringUnit(U::volt, 3, 2).baseunit(), L"V");
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
  EXPECT_ALL(!unit.setA(std::string(256, 'x').c_str()), !unit.setA(nullptr), unit.empty(),
             log.Take().empty());
  U::registerUncommonUnits(true);
  EXPECT_TRUE(unit.setA(std::string(255, 'x').c_str()));
  U::registerUncommonUnits(false);
  unit.set_power(2);
  EXPECT_EQ(unit.prefixunitA(true), std::string(255, 'x'));
}

}  // namespace
