#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/Process.h"
#include "support/Test.h"
#include "umlauf/platform/tramsea/CResourceSea.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace fs = std::filesystem;
using Access = CResourceSea::Access;

/// A folder of its own, and what the log received.
class SettingsDatabase : public testing::Test {
 protected:
  SettingsDatabase() {
    fs::create_directories(folder_);
    sinkBefore_ = PrWin::SetSink([this](int, int, const CString& text) { log_ += text.ToUtf8(); });
  }
  ~SettingsDatabase() override {
    PrWin::SetSink(sinkBefore_);
    std::error_code ignored;  // Windows keeps what is open
    fs::remove_all(folder_, ignored);
  }

  fs::path Path(const char* name) const { return folder_ / name; }
  static CString Text(const fs::path& path) { return CString::FromPath(path.string()); }
  static std::string Bytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void Write(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  /// A database of several pages: entry "old" with 2000 values of 5.
  fs::path MakeDatabase(const char* name) {
    CResourceSea sea(Text(Path(name)));
    EXPECT_TRUE(sea.LookupSetInts(L"old", 0, std::vector<int>(2000, 5)));
    return Path(name);
  }
  std::string TakeLog() { return std::exchange(log_, {}); }

 private:
  fs::path folder_ = fs::path(testing::TempDir()) / ("umlauf_settings_" + ProcessNumber());
  std::string log_;
  PrWin::Sink sinkBefore_;
};

/// Adds 1 to a value, many times; true when all went well.
inline bool CountUp(CResourceSea& sea, int times) {
  bool fine = sea.IsOpen();
  for (int i = 0; i < times; ++i) {
    CResourceSea::Transaction transaction(sea);
    fine &= sea.LookupSetInt(L"count", 0, sea.LookupInt(L"count", 0, 0) + 1);
    fine &= transaction.Commit();
  }
  return fine;
}
