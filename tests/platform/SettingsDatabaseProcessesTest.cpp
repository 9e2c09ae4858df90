// With processes that fork, are limited and killed, and with names of files that are bytes: not on Windows.

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/SettingsDatabase.h"

namespace {

/// Runs `child` in a process of its own, which ends with 0 when it returns true; the result is its id.
template <class Child>
pid_t Fork(Child child) {
  const pid_t id = fork();
  if (id == 0) _exit(child() ? 0 : 1);
  return id;
}

/// Writes that fail for want of room: files may not grow beyond some bytes in the child.
TEST_F(SettingsDatabase, FirstWriteThatFailsLeavesNoFile) {
  for (const bool existed : {false, true}) {
    const fs::path path = Path(existed ? "was-there.db" : "new.db");
    if (existed) Write(path, "");
    const pid_t child = Fork([&path] {
      signal(SIGXFSZ, SIG_IGN);
      const rlimit least{4096, 4096};
      CResourceSea sea(Text(path));
      setrlimit(RLIMIT_FSIZE, &least);
      return sea.IsOpen() && !sea.LookupSetInts(L"a", 0, std::vector<int>(2000, 1));
    });
    int status = -1;
    EXPECT_ALL(waitpid(child, &status, 0) == child, status == 0, fs::exists(path) == existed,
               Bytes(path) == "");
  }
}

TEST_F(SettingsDatabase, FindsFilesWhoseNamesAreNoText) {
  for (const std::string name :
       {"\xFF.db", "\xC3.db", "a\xED\xB2\x80.db", "\xEF\xBF\xBD.db", "\xC3\xA4.db"}) {
    const std::string path = Path(name.c_str()).string();
    EXPECT_EQ(CString::FromPath(path).ToPath(), path);
    EXPECT_TRUE(CResourceSea(CString::FromPath(path)).LookupSetInt(L"a", 0, 1));
    EXPECT_TRUE(fs::exists(path)) << path;
  }
}

TEST_F(SettingsDatabase, ProcessesThatWriteAtOnceLoseNothing) {
  const CString path = Text(Path("shared.db"));  // they also race for creating it
  std::vector<pid_t> children;
  for (int i = 0; i < 3; ++i) {
    children.push_back(Fork([&path] {
      CResourceSea sea(path);
      return CountUp(sea, 30);
    }));
  }
  for (const pid_t child : children) {
    int status = -1;
    EXPECT_ALL(waitpid(child, &status, 0) == child, status == 0);
  }
  EXPECT_EQ(CResourceSea(path).LookupInt(L"count", 0, 0), 90);
}

TEST_F(SettingsDatabase, WriterKilledInTheMiddleLeavesTheOldValues) {
  const fs::path path = MakeDatabase("killed.db");
  int written[2];
  ASSERT_EQ(pipe(written), 0);
  const pid_t child = Fork([&] {
    CResourceSea sea(Text(path));
    CResourceSea::Transaction transaction(sea);
    sea.LookupSetInts(L"old", 0, std::vector<int>(2000, 6));
    // More than is kept in memory: the file itself is changed.
    sea.LookupSetInts(CString(std::wstring(200, L'n')), 0, std::vector<int>(40000, 6));
    const bool told = write(written[1], "", 1) == 1;
    pause();
    return told;
  });
  char byte = 1;
  ASSERT_EQ(read(written[0], &byte, 1), 1);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(written[0]);
  close(written[1]);
  ASSERT_TRUE(fs::exists(path.string() + "-journal"));
  for (const Access access : {Access::readOnly, Access::readWrite}) {
    CResourceSea sea(Text(path), access);
    ASSERT_TRUE(sea.IsOpen()) << TakeLog();
    EXPECT_THAT(sea.Paths(), ElementsAre(L"old"));
    const auto values = sea.Values(L"old");
    EXPECT_EQ(values.size(), 2000u);
    for (const auto& [index, value] : values) ASSERT_EQ(value, 5) << index;
  }
  EXPECT_TRUE(CResourceSea(Text(path)).LookupSetInt(L"old", 0, 7));
}

}  // namespace
