#include "umlauf/platform/framework/CFile.h"

#include <cstdio>
#include <filesystem>

#include "support/Test.h"
#include "umlauf/platform/framework/CMemFile.h"

namespace {

/// The same contract for the file on disk and the one in memory.
class FileContract : public testing::TestWithParam<bool> {
 protected:
  FileContract() {
    if (GetParam()) {
      file_ = std::make_unique<CMemFile>();
    } else {
      path_ = std::filesystem::temp_directory_path() /
              ("umlauf-cfile-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + ".bin");
      file_ = std::make_unique<CFile>(path_.wstring().c_str(), CFile::modeReadWrite | CFile::modeCreate);
    }
  }
  ~FileContract() override {
    file_.reset();
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove(path_, ignored);
  }

  std::filesystem::path path_;
  std::unique_ptr<CFile> file_;
};

TEST_P(FileContract, ReadsBackWhatWasWrittenAndStopsAtTheEnd) {
  ASSERT_TRUE(file_->IsOpen());
  file_->Write("abcdef", 6);
  EXPECT_ALL(file_->GetPosition() == 6u, file_->GetLength() == 6u, file_->Seek(-4, CFile::end) == 2u,
             file_->Remaining() == 4u);
  std::array<char, 8> buffer{};
  EXPECT_EQ(file_->Read(buffer.data(), 8), 4u);
  EXPECT_STREQ(buffer.data(), "cdef");
  EXPECT_ALL(file_->Read(buffer.data(), 8) == 0u, file_->Seek(1, CFile::begin) == 1u);
  file_->Write("XY", 2);
  EXPECT_ALL(file_->Seek(-1, CFile::current) == 2u, file_->Read(buffer.data(), 2) == 2u, buffer[0] == 'Y',
             buffer[1] == 'd', !file_->Failed());
}

TEST_P(FileContract, SeekBeforeTheStartFailsAndStays) {
  file_->Write("abc", 3);
  EXPECT_ALL(file_->Seek(-10, CFile::current) == 3u, file_->Failed());
}

INSTANTIATE_TEST_SUITE_P(Both, FileContract, testing::Bool(),
                         [](const auto& which) { return which.param ? "memory" : "disk"; });

TEST(CFile, RefusesWhatCannotBeOpened) {
  CFile file;
  EXPECT_ALL(!file.Open(L"/no/such/folder/file.bin", CFile::modeRead), !file.Open(L"/", CFile::modeRead),
             file.Remaining() == 0u);
  file.Write("x", 1);
  EXPECT_TRUE(file.Failed());
}

#ifndef _WIN32
TEST(CFile, FullDiskIsNoticedAtTheLatestOnClose) {
  CFile file(L"/dev/full", CFile::modeWrite);
  if (!file.IsOpen()) GTEST_FAIL() << "the system has no /dev/full";
  file.Write("x", 1);
  file.Close();
  EXPECT_TRUE(file.Failed());
}
#endif

TEST(CRuntimeClass, RecordsKnowTheirBases) {
  const CMemFile file;
  EXPECT_STREQ(file.GetRuntimeClass()->m_lpszClassName, "CMemFile");
  EXPECT_ALL(file.IsKindOf(CFile::GetThisClass()), file.IsKindOf(CObject::GetThisClass()),
             !CFile().IsKindOf(CMemFile::GetThisClass()), CFile::GetThisClass()->CreateObject() == nullptr);
}

}  // namespace
