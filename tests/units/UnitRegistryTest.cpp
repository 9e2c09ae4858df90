#include <set>
#include <thread>

#include "support/LogCapture.h"
#include "support/Test.h"
#include "umlauf/units/MeasuringUnit.h"

namespace {

using U = CMeasuringUnit;

// In a program of its own, as it fills the registry for good.
TEST(UnitRegistry, RegistersWhenSwitchedOnAndWarnsWhenAskedUntilItIsFull) {
  LogCapture log;
  U::registerUncommonUnits(true);
  EXPECT_EQ(U(L"kZoll/Tag").unit(), U::kCommonUnitCount);
  EXPECT_THAT(log.Take(),
              ElementsAre("CMeasuringUnit::UnitStrings: Uncommon measuring unit ‘Zoll/Tag’ registered as #" +
                          std::to_string(U::kCommonUnitCount) +
                          ". This may cause compatibility issues. Please check for a newer version of the "
                          "Presentation app.\n"));
  U::warnOnRegistration(false);
  // Threads agree on the indices, and all names get different ones.
  std::array<std::array<unsigned, 50>, 4> indices;
  std::vector<std::thread> threads;
  for (auto& mine : indices) {
    threads.emplace_back([&mine] {
      for (unsigned i = 0; i < mine.size(); ++i) mine[i] = U(L"Z" + std::to_wstring(i)).unit();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& mine : indices) EXPECT_EQ(mine, indices[0]);
  EXPECT_EQ(std::set<unsigned>(indices[0].begin(), indices[0].end()).size(), indices[0].size());
  EXPECT_EQ(U::UnitString(indices[0][7]), L"Z7");
  EXPECT_THAT(log.Take(), IsEmpty());

  for (int i = 0; i < 70000; ++i) ASSERT_LT(U(L"#" + std::to_wstring(i)).unit(), 65536u);
  U::registerUncommonUnits(false);
  U::warnOnRegistration(true);
  EXPECT_ALL(log.Take().back() == UnknownUnit("#69999"), U::UnitString(65535) != L"-",
             U::UnitString(65536) == L"-", U(L"Zoll/Tag").unit() == U::kCommonUnitCount);
}

TEST(UnitRegistry, ALogSinkMayUseTheLibrary) {
  int calls = 0;
  const PrWin::Sink counting = [&calls](int, int, const CString&) { ++calls; };
  const PrWin::Sink before = PrWin::SetSink([&](int, int, const CString&) {
    ++calls;
    U(L"another unit that nobody knows");  // is told to standard error
    PrWin::Output(PrWin::note, L"a message from within the sink\n");
    PrWin::SetSink(counting);
  });
  testing::internal::CaptureStderr();
  EXPECT_TRUE(!U(L"furlong"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::AllOf(testing::HasSubstr("nobody knows"), testing::HasSubstr("within the sink")));
  EXPECT_EQ(calls, 1);
  PrWin::Output(PrWin::note, L"to the next sink\n");
  EXPECT_EQ(calls, 2);
  PrWin::SetSink(before);
}

// Made before the registry, so that it goes after everything that is destroyed at the end.
struct UsesUnitsAtTheEnd {
  ~UsesUnitsAtTheEnd() {
    if (U(L"kV").prefixstring() != L"GV") std::_Exit(EXIT_FAILURE);
  }
} const g_usesUnitsAtTheEnd;

}  // namespace
