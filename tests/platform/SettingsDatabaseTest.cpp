#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/SettingsDatabase.h"
#include "umlauf/platform/tramsea/CSeaBase.h"

namespace {

TEST_F(SettingsDatabase, HoldsValuesByPathAndIndex) {
  for (const CString& path : {Text(Path("values.db")), CString(L":memory:")}) {
    CResourceSea sea(path);
    ASSERT_TRUE(sea.IsOpen());
    EXPECT_ALL(!sea.FindEntry(L"a").has_value(), sea.LookupSetInts(L"a", 2, std::vector{INT_MIN, INT_MAX}),
               sea.LookupSetInt(L"a", INT_MAX, -1), sea.LookupSetInt(L"a", 2, 7));
    EXPECT_THAT(sea.Values(L"a"), ElementsAre(Pair(2, 7), Pair(3, INT_MAX), Pair(INT_MAX, -1)));
    EXPECT_ALL(sea.LookupInt(L"a", 3, 0) == INT_MAX, sea.LookupInt(L"a", 4, 99) == 99);
    int value = 42;
    EXPECT_ALL(!sea.LookupGetInt(L"b", 2, value), !sea.LookupGetInt(L"a", -1, value), !(value != 42),
               !sea.LookupSetInt(L"a", -1, 0), !sea.LookupSetInt(L"", 0, 0),
               !sea.LookupSetInts(L"a", INT_MAX, std::vector{1, 2}), sea.LookupInt(L"a", INT_MAX, 0) == -1);
    const auto entry = sea.FindEntry(L"a");
    ASSERT_TRUE(entry.has_value());
    EXPECT_TRUE(entry->LookupSetInt(1, 11));
    std::vector<std::optional<int>> values(4, 5);
    EXPECT_TRUE(entry->LookupInts(0, values));
    EXPECT_THAT(values, ElementsAre(std::nullopt, 11, 7, INT_MAX));
  }
  EXPECT_THAT(TakeLog(), IsEmpty());
  EXPECT_EQ(CResourceSea(Text(Path("values.db"))).Values(L"a").size(), 4u);
  EXPECT_TRUE(CResourceSea(L":memory:").Paths().empty());
}

TEST_F(SettingsDatabase, ListsPathsByPrefixAndRemovesEntries) {
  CResourceSea sea(L":memory:");
  for (const wchar_t* path : {L"a", L"a/b", L"a/b/c", L"a%", L"b", L"\u00E4/\u8A66"})
    ASSERT_TRUE(sea.LookupSetInts(path, 0, std::vector{1, 2}));
  EXPECT_THAT(sea.Paths(), ElementsAre(L"a", L"a%", L"a/b", L"a/b/c", L"b", L"\u00E4/\u8A66"));
  EXPECT_THAT(sea.Paths(L"\u00E4"), ElementsAre(L"\u00E4/\u8A66"));
  EXPECT_ALL(sea.RemoveEntry(L"a/b"), sea.RemoveEntry(L"nothing"));
  EXPECT_THAT(sea.Paths(L"a/"), ElementsAre(L"a/b/c"));
}

TEST_F(SettingsDatabase, WhatCannotBeOpenedIsNamedAndLeftAlone) {
  const std::string good = Bytes(MakeDatabase("good.db"));
  const auto patched = [&good](std::size_t at, char byte) {
    std::string bytes = good;
    bytes.at(at) = byte;
    return bytes;
  };
  const Cases<const char*, std::string, Access, const char*> cases = {
      {"text.db", "This is no database, but a letter to its owner.\n", Access::readWrite, "no settings"},
      {"other.db", patched(71, 1), Access::readWrite, "no settings database"},  // application id
      {"later.db", patched(63, 2), Access::readWrite, "later version"},         // user version
      {"page.db", patched(2 * 4096, 77), Access::readWrite, "damaged"},         // kind of a page
      {"page.db", patched(2 * 4096, 77), Access::readOnly, "damaged"},
      {"schema.db", patched(100, 77), Access::readWrite, "damaged"},
  };
  for (const auto& [name, content, access, reason] : cases) {
    Write(Path(name), content);
    CResourceSea sea;
    EXPECT_FALSE(sea.Open(Text(Path(name)), access)) << name;
    EXPECT_THAT(TakeLog(), testing::AllOf(HasSubstr(name), HasSubstr(reason)));
    EXPECT_ALL(!sea.IsOpen(), !sea.LookupSetInt(L"a", 0, 1), !sea.RemoveEntry(L"a"),
               sea.LookupInt(L"old", 0, -3) == -3);
    EXPECT_EQ(Bytes(Path(name)), content) << name;
    EXPECT_THAT(TakeLog(), IsEmpty());
  }
  // Cut short; SQLite takes a file of a single byte for an empty one.
  for (std::size_t n = 2; n < good.size(); n += n < 4200 ? 97 : 1021) {
    Write(Path("cut.db"), good.substr(0, n));
    EXPECT_FALSE(CResourceSea(Text(Path("cut.db"))).IsOpen()) << n;
    EXPECT_EQ(Bytes(Path("cut.db")).size(), n);
    EXPECT_THAT(TakeLog(), HasSubstr("damaged")) << n;
  }
  EXPECT_FALSE(CResourceSea(Text(Path("missing.db")), Access::readOnly).IsOpen());
  EXPECT_FALSE(fs::exists(Path("missing.db")));
  for (const char* name : {"", "no folder/x.db"}) EXPECT_FALSE(CResourceSea(Text(Path(name))).IsOpen());
  EXPECT_THAT(TakeLog(), HasSubstr("does not exist"));
  EXPECT_FALSE(CResourceSea(L"").IsOpen());
}

// Views, triggers and conditions would run for ever, or take a gigabyte, when their file is read or written.
TEST_F(SettingsDatabase, WhatOthersHaveAddedIsNeverRun) {
  const std::string table =
      "CREATE TABLE setting (path TEXT NOT NULL, idx INTEGER NOT NULL, value INTEGER NOT NULL,"
      " PRIMARY KEY (path, idx)) WITHOUT ROWID;";
  const std::string endless =
      "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT x FROM c";
  const Cases<const char*, std::string> cases = {
      {"view.db", "CREATE VIEW setting AS SELECT 'a' AS path, x AS idx, 1 AS value FROM (" + endless + ")"},
      {"trigger.db", table +
                         "CREATE TRIGGER t AFTER INSERT ON setting BEGIN DELETE FROM setting WHERE idx IN (" +
                         endless + "); END"},
      {"table.db", table + "CREATE TABLE t (a CHECK (length(hex(zeroblob(200000000))) > 0));"
                           "PRAGMA ignore_check_constraints = 1; INSERT INTO t VALUES (1)"},
  };
  for (const auto& [name, sql] : cases) {
    CResourceSea before(Text(Path(name)));  // while the file is empty
    sqlite3* made = nullptr;
    ASSERT_EQ(sqlite3_open(Path(name).string().c_str(), &made), SQLITE_OK);
    const std::string all = sql + "; PRAGMA application_id = 1431129158; PRAGMA user_version = 1";
    EXPECT_EQ(sqlite3_exec(made, all.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(made);
    sqlite3_close(made);
    CResourceSea sea(Text(Path(name)));
    EXPECT_ALL(!sea.IsOpen(), !sea.LookupSetInt(L"b", 0, 1), sea.Paths().empty());
    EXPECT_THAT(TakeLog(), HasSubstr("no settings database")) << name;
    EXPECT_ALL(before.IsOpen(), !before.LookupSetInt(L"b", 0, 1), before.Paths().empty());
    EXPECT_THAT(TakeLog(), HasSubstr("no settings database")) << name;
  }
  CResourceSea sea(L":memory:");
  EXPECT_ALL(!sea.LookupSetInt(CString(std::wstring(1 << 20, L'p')), 0, 1),
             sea.LookupSetInt(CString(std::wstring(1'000'000, L'p')), 0, 1));
  EXPECT_THAT(TakeLog(), HasSubstr("longer than 1 MiB"));
}

TEST_F(SettingsDatabase, ReadOnlyReadsAndWritesNothing) {
  const fs::path path = MakeDatabase("read.db");
  const std::string before = Bytes(path);
  CResourceSea sea(Text(path), Access::readOnly);
  EXPECT_ALL(sea.IsOpen(), sea.IsReadOnly(), sea.LookupInt(L"old", 1999, 0) == 5,
             !sea.LookupSetInt(L"old", 0, 6));
  EXPECT_THAT(TakeLog(), HasSubstr("only be read"));
  EXPECT_ALL(!sea.RemoveEntry(L"old"), Bytes(path) == before);
  EXPECT_TRUE(CResourceSea(Text(path)).LookupSetInt(L"old", 0, 6));  // readers lock out no writer
  EXPECT_EQ(sea.LookupInt(L"old", 0, 0), 6);
}

TEST_F(SettingsDatabase, TransactionsAreWholeOrNotAtAll) {
  CResourceSea sea(Text(Path("transaction.db")));
  const auto write = [&sea](int value, int index, bool commit) {
    CResourceSea::Transaction outer(sea);
    sea.LookupSetInt(L"a", 0, value);
    EXPECT_EQ(sea.LookupInt(L"a", 0, 0), value);
    CResourceSea::Transaction inner(sea);
    sea.LookupSetInt(L"b", index, value);
    inner.Commit();
    return commit && outer.Commit() && !outer.Commit();
  };
  const auto values = [&sea] { return std::pair(sea.LookupInt(L"a", 0, 0), sea.LookupInt(L"b", 0, 0)); };
  EXPECT_ALL(write(1, 0, true), !write(2, 0, false));
  EXPECT_THAT(values(), Pair(1, 1));
  EXPECT_FALSE(write(3, -1, true));  // one of the writes fails
  EXPECT_THAT(values(), Pair(1, 1));
  EXPECT_TRUE(write(4, 0, true));
  EXPECT_THAT(values(), Pair(4, 4));
  CResourceSea::Transaction closed(sea);
  sea.LookupSetInt(L"a", 0, 5);
  sea.Close();
  EXPECT_FALSE(closed.Commit());
  sea.Open(Text(Path("transaction.db")));
  EXPECT_THAT(values(), Pair(4, 4));
}

TEST_F(SettingsDatabase, EmptyFileHoldsNothingUntilTheFirstWrite) {
  const fs::path path = Path("empty.db");
  Write(path, "");
  CResourceSea reader(Text(path), Access::readOnly), writer(Text(path));
  EXPECT_TRUE(reader.IsOpen());
  EXPECT_THAT(reader.Paths(), IsEmpty());
  EXPECT_EQ(reader.LookupInt(L"a", 0, 9), 9);
  {
    CResourceSea::Transaction dropped(writer);
    EXPECT_TRUE(writer.LookupSetInt(L"a", 0, 1));
  }
  EXPECT_EQ(Bytes(path), "");
  EXPECT_THAT(writer.Paths(), IsEmpty());
  EXPECT_ALL(writer.LookupSetInt(L"a", 0, 2), reader.LookupInt(L"a", 0, 9) == 2);
  EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(SettingsDatabase, WritersThatWaitComeInTurn) {
  const CString path = Text(Path("fair.db"));
  std::atomic<bool> stop = false;
  std::atomic<int> failed = 0;
  std::vector<int> writes(3);
  std::vector<std::thread> threads;
  for (int& count : writes) {
    threads.emplace_back([&] {
      CResourceSea sea(path);
      while (!stop) sea.LookupSetInt(L"a", 0, count) ? ++count : ++failed;
    });
  }
  std::this_thread::sleep_for(std::chrono::seconds(2));
  stop = true;
  for (std::thread& thread : threads) thread.join();
  const auto [least, most] = std::minmax_element(writes.begin(), writes.end());
  EXPECT_EQ(failed, 0);
  // Who starves gets nothing, while a busy machine shares out unevenly.
  EXPECT_GT(100 * *least, *most) << *least << " of " << *most;
}

TEST_F(SettingsDatabase, ThreadsShareOneObject) {
  CResourceSea sea(L":memory:");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&sea] { EXPECT_TRUE(CountUp(sea, 100)); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sea.LookupInt(L"count", 0, 0), 400);
}

TEST_F(SettingsDatabase, ApplicationOpensTheFileThatIsNamed) {
  const std::string home = (Path("home") / std::string(140, 'a') / std::string(140, 'b')).string();
  const struct {
    const char *settings, *config, *home;
    std::string expected;
  } cases[] = {
      {"/x/y.db", "/config", "/home", "/x/y.db"},
#ifdef _WIN32
      {"", "D:\\config", "", "D:\\config/umlauf/settings.db"},
      {"", "", "", ""},  // the folder that the system names
      {"", home.c_str(), "", home + "/umlauf/settings.db"},
#else
      {"", "/config", "/home", "/config/umlauf/settings.db"},
      {"", "relative", "/home", "/home/.config/umlauf/settings.db"},
      {"", "", home.c_str(), home + "/.config/umlauf/settings.db"},
#endif
  };
  for (const auto& c : cases) {
    SetEnvironment("UMLAUF_SETTINGS", c.settings);
    for (const char* name : {"XDG_CONFIG_HOME", "APPDATA"}) SetEnvironment(name, c.config);
    SetEnvironment("HOME", c.home);
    const std::string path = CSeaBase::ApplicationPath().ToUtf8();
    if (c.expected.empty()) {
      EXPECT_THAT(path, testing::EndsWith("/umlauf/settings.db"));
    } else {
      EXPECT_EQ(path, c.expected);
    }
  }
  CResourceSea& sea = CSeaBase::ApplicationSea();  // its folder is made, too
  const CString path = CString::FromUtf8(std::end(cases)[-1].expected);
  EXPECT_ALL(sea.LookupSetInt(L"a", 0, 1), CResourceSea(path, Access::readOnly).LookupInt(L"a", 0, 0) == 1,
             &CSeaBase::ApplicationSea() == &sea);
}

}  // namespace
