#include "umlauf_io/OutputFile.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

#include <thread>

#include "io/TestFolder.h"
#include "support/ExpectAll.h"
#include "umlauf/platform/framework/CFile.h"

namespace {

using OutputFile = TestFolder;

TEST_F(OutputFile, AppearsWhenItIsComplete) {
  Write("a.txt", "before");
  {
    COutputFile dropped;
    ASSERT_TRUE(dropped.Open(Path("a.txt")));
    EXPECT_TRUE(dropped.Write("half"));
    EXPECT_EQ(Bytes("a.txt"), "before");
    EXPECT_EQ(Files().size(), 2u);
    EXPECT_EQ(dropped.Temporary().extension(), ".txt");
  }
  EXPECT_EQ(Files(), (std::set<std::string>{"a.txt"}));
  COutputFile kept, other;
  ASSERT_TRUE(kept.Open(Path("a.txt")));
  ASSERT_TRUE(other.Open(Path("a.txt")));  // two writers of one file do not meet
  CFile reader(Path("a.txt").wstring().c_str(), CFile::modeRead);
  EXPECT_TRUE(kept.Write("after"));
  EXPECT_TRUE(kept.Commit());  // also while somebody reads the one before
  EXPECT_EQ(Bytes("a.txt"), "after");
  reader.Close();
  EXPECT_TRUE(other.Commit());
  EXPECT_EQ(Bytes("a.txt"), "");
  EXPECT_EQ(Files(), (std::set<std::string>{"a.txt"}));
}

TEST_F(OutputFile, NamesBeyondTheCodePageAndLongOnes) {
  std::filesystem::path deep = Path(u8"Prüfstand 試験 \U0001F600");
  for (int i = 0; i < 6; ++i) deep /= std::string(50, static_cast<char>('a' + i));
  for (const std::filesystem::path& path : {Path(u8"Drehzahl Δ \U0001F600.txt"), deep}) {
    COutputFile file;
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    ASSERT_TRUE(file.Open(path)) << file.Failure().text.ToUtf8();
    EXPECT_ALL(file.Write("x\n\x1A\n"), file.Commit());
  }
}

TEST_F(OutputFile, DevicesAreWrittenDirectly) {
#ifdef _WIN32
  const char* const device = "NUL";
#else
  const char* const device = "/dev/null";
#endif
  COutputFile file;
  EXPECT_ALL(file.Open(device), file.IsDirect(), file.Write("x"), file.Commit());
}

#ifdef _WIN32
TEST_F(OutputFile, WaitsAMomentForWhoSharesTheFileWithNobody) {
  Write("a.txt", "before");
  const auto hold = [this] {
    return CreateFileW(Path("a.txt").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  };
  COutputFile kept, other;
  EXPECT_ALL(kept.Open(Path("a.txt")), kept.Write("after"), other.Open(Path("a.txt")), other.Write("never"));
  std::thread scanner([held = hold()] {
    Sleep(100);
    CloseHandle(held);
  });
  EXPECT_TRUE(kept.Commit());
  scanner.join();
  const HANDLE held = hold();
  EXPECT_FALSE(other.Commit());
  CloseHandle(held);
  EXPECT_EQ(Bytes("a.txt"), "after");
}
#else
TEST_F(OutputFile, LinksKeepPointingWhereTheyPoint) {
  Write("a.txt", "before");
  std::filesystem::create_symlink("a.txt", Path("link"));
  COutputFile kept;
  ASSERT_TRUE(kept.Open(Path("link")));
  EXPECT_ALL(kept.Write("after"), kept.Commit(), Bytes("a.txt") == "after",
             std::filesystem::is_symlink(Path("link")));
}

TEST_F(OutputFile, FullDiskIsTold) {
  COutputFile full;
  ASSERT_TRUE(full.Open("/dev/full"));
  full.Write("x");  // may still be pending
  EXPECT_FALSE(full.Commit());
  EXPECT_NE(full.Failure().text.ToUtf8().find("/dev/full: No space"), std::string::npos);
}
#endif

TEST_F(OutputFile, FailuresAreToldAndLeaveNothing) {
  COutputFile folder, nowhere;
  EXPECT_FALSE(folder.Open(Path("")));
  EXPECT_NE(folder.Failure().text.ToUtf8().find("folder"), std::string::npos);
  EXPECT_FALSE(nowhere.Open(Path("nowhere/a.txt")));
  EXPECT_NE(nowhere.Failure().text.ToUtf8().find("a.txt: No such"), std::string::npos);
  EXPECT_FALSE(nowhere.Write("x"));
  EXPECT_FALSE(nowhere.Commit());
  EXPECT_TRUE(Files().empty());
}

}  // namespace
