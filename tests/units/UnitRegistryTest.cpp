#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "umlauf/units/MeasuringUnit.h"
#include "units/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using U = CMeasuringUnit;

TEST(UnitRegistry, RegistersWhenSwitchedOnAndWarnsWhenAsked) {
  LogCapture log;
  U::registerUncommonUnits(true);
  EXPECT_EQ(CMeasuringUnit(L"kZoll/Tag").unit(), 31u);
  EXPECT_THAT(
      log.Take(),
      ElementsAre("CMeasuringUnit::UnitStrings: Uncommon measuring unit ‘Zoll/Tag’ registered as #31. "
                  "This may cause compatibility issues. Please check for a newer version of the "
                  "Presentation app.\n"));
  U::warnOnRegistration(false);
  EXPECT_EQ(CMeasuringUnit(L"acre").unit(), 32u);
  U::warnOnRegistration(true);
  U::registerUncommonUnits(false);
  EXPECT_EQ(CMeasuringUnit(L"Zoll/Tag").unit(), 31u);
  EXPECT_EQ(U::UnitString(32), L"acre");
  EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(UnitRegistry, ThreadsAgreeAndASinkMayUseUnits) {
  const PrWin::Sink before = PrWin::SetSink([](int, int, const CString&) { CMeasuringUnit(L"rpm"); });
  U::registerUncommonUnits(true);
  std::array<std::array<unsigned, 50>, 4> indices;
  std::vector<std::thread> threads;
  for (auto& mine : indices) {
    threads.emplace_back([&mine] {
      for (unsigned i = 0; i < mine.size(); ++i) mine[i] = CMeasuringUnit(L"Z" + std::to_wstring(i)).unit();
    });
  }
  for (std::thread& thread : threads) thread.join();
  U::registerUncommonUnits(false);
  PrWin::SetSink(before);
  for (const auto& mine : indices) EXPECT_EQ(mine, indices[0]);
  EXPECT_EQ(std::set<unsigned>(indices[0].begin(), indices[0].end()).size(), indices[0].size());
  EXPECT_EQ(U::UnitString(indices[0][7]), L"Z7");
}

// In a program of its own, as it fills the registry for good.
TEST(UnitRegistryLast, IsBounded) {
  LogCapture log;
  U::warnOnRegistration(false);
  U::registerUncommonUnits(true);
  for (int i = 0; i < 70000; ++i) ASSERT_LT(CMeasuringUnit(L"#" + std::to_wstring(i)).unit(), 65536u);
  U::registerUncommonUnits(false);
  U::warnOnRegistration(true);
  EXPECT_EQ(log.Take().back(), UnknownUnit("#69999"));
  EXPECT_NE(U::UnitString(65535), L"-");
  EXPECT_EQ(U::UnitString(65536), L"-");
}

}  // namespace
