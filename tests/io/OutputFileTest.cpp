#include "umlauf_io/OutputFile.h"

#include "io/TestFolder.h"

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
  std::filesystem::create_symlink("a.txt", Path("link"));
  COutputFile kept, other;
  ASSERT_TRUE(kept.Open(Path("link")));
  ASSERT_TRUE(other.Open(Path("a.txt")));  // two writers of one file do not meet
  EXPECT_TRUE(kept.Write("after"));
  EXPECT_TRUE(kept.Commit());
  EXPECT_EQ(Bytes("a.txt"), "after");
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
  EXPECT_TRUE(other.Commit());
  EXPECT_EQ(Bytes("a.txt"), "");
  EXPECT_EQ(Files(), (std::set<std::string>{"a.txt", "link"}));
}

TEST_F(OutputFile, FailuresAreToldAndLeaveNothing) {
  COutputFile folder, nowhere, full;
  EXPECT_FALSE(folder.Open(Path("")));
  EXPECT_NE(folder.Failure().text.ToUtf8().find("folder"), std::string::npos);
  EXPECT_FALSE(nowhere.Open(Path("nowhere/a.txt")));
  EXPECT_NE(nowhere.Failure().text.ToUtf8().find("nowhere/a.txt: No such"), std::string::npos);
  EXPECT_FALSE(nowhere.Write("x"));
  EXPECT_FALSE(nowhere.Commit());
  ASSERT_TRUE(full.Open("/dev/full"));
  full.Write("x");  // may still be pending
  EXPECT_FALSE(full.Commit());
  EXPECT_NE(full.Failure().text.ToUtf8().find("/dev/full: No space"), std::string::npos);
  EXPECT_TRUE(Files().empty());
}

}  // namespace
