#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "umlauf_io/RecordingSource.h"

/// A folder for the files of one test.
class TestFolder : public testing::Test {
 protected:
  TestFolder() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::path(testing::TempDir()) / (std::string("umlauf-io-") + test->name());
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
    std::filesystem::create_directories(folder_);
  }
  ~TestFolder() override {
    std::error_code ignored;  // the C++ library of MinGW finds no long names
    std::filesystem::remove_all(folder_, ignored);
  }

  std::filesystem::path Path(const std::filesystem::path& name) const { return folder_ / name; }
  std::string Bytes(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }
  std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& each : std::filesystem::directory_iterator(folder_)) {
      names.insert(each.path().filename().string());
    }
    return names;
  }

  std::unique_ptr<CRecordingSource> Open(const std::string& name, const RecordingFormat& format = {}) const {
    RecordingFailure failure;
    auto source = OpenRecording(Path(name), format, failure);
    EXPECT_NE(source, nullptr) << name << ": " << failure.text.ToUtf8();
    return source;
  }
  /// All that is left of a source, frame by frame, read in blocks of this length.
  static std::vector<float> Rest(CRecordingSource& source, std::size_t block = 1000) {
    std::vector<float> all;
    for (SampleBlock part = source.Read(block); part.count > 0; part = source.Read(block)) {
      for (std::size_t i = 0; i < part.count; ++i) {
        const float* frame = part.samples + i * part.stride;
        all.insert(all.end(), frame, frame + source.Channels());
      }
    }
    EXPECT_TRUE(source.Failure().IsEmpty()) << source.Failure().ToUtf8();
    return all;
  }
  static std::vector<std::string> Codes(const CRecordingSource& source) {
    std::vector<std::string> codes;
    for (const RecordingWarning& each : source.Warnings()) codes.push_back(each.code);
    return codes;
  }

 private:
  std::filesystem::path folder_;
};
