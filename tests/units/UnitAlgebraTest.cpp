#include "umlauf/units/UnitAlgebra.h"

#include "support/Test.h"
#include "umlauf/platform/framework/CMemFile.h"

namespace {

std::wstring Text(const CMeasuringUnitInterface& unit) { return unit.prefixunit(false).GetString(); }

TEST(UnitAlgebra, QuotientsAndBackByProducts) {
  const Cases<const wchar_t*, const wchar_t*, const wchar_t*> cases = {
      {L"m", L"s", L"m/s"}, {L"m/s", L"s", L"m/s²"},    {L"rad/s", L"s", L"rad/s²"},
      {L"-", L"s", L"Hz"},  {L"-", L"Pa", L"Pa^(-1)"},  {L"Pa", L"-", L"Pa"},
      {L"V²", L"V", L"V"},  {L"V", L"V", L"-"},         {L"V²", L"Hz", L"V²/Hz"},
      {L"N", L"m", L"N/m"}, {L"N", L"m/s", L"N/(m/s)"}, {L"m/s²", L"N", L"m/s²/N"}};
  for (const auto& [a, b, text] : cases) {
    const CMeasuringUnit divisor{CString(b)};
    const CMeasuringUnit quotient = UnitAlgebra::Quotient(CMeasuringUnit(CString(a)), divisor);
    EXPECT_ALL(Text(quotient) == text, Text(UnitAlgebra::Product(quotient, divisor)) == a);
    CMemFile file;
    quotient.WriteToFile(file);
    file.Seek(0, CFile::begin);
    CMeasuringUnit back;
    EXPECT_ALL(back.ReadFromFile(file), Text(back) == text);
  }
}

TEST(UnitAlgebra, PrefixesPowersAndLevels) {
  const CMeasuringUnit kilovolt(CMeasuringUnit::volt, 3), millisecond(CMeasuringUnit::second, -3);
  EXPECT_EQ(Text(UnitAlgebra::Power(kilovolt, 2)), L"MV²");
  EXPECT_EQ(UnitAlgebra::Quotient(kilovolt, millisecond).exponent(), 6);
  EXPECT_EQ(Text(UnitAlgebra::Product(kilovolt, CMeasuringUnit(CMeasuringUnit::ampere))), L"kV*A");
  CMeasuringUnit level(CMeasuringUnit::pascal);
  level.set_db(true);
  for (const CMeasuringUnit& none :
       {UnitAlgebra::Quotient(level, millisecond), UnitAlgebra::Product(kilovolt, level),
        UnitAlgebra::Power(level, 2), UnitAlgebra::Power(kilovolt, 0)}) {
    EXPECT_TRUE(none == CMeasuringUnit());
  }
}

}  // namespace
