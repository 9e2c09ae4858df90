#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/speed/SpeedReport.h"

namespace umlauf::tool {

/// What is printed about the speeds of several recordings and channels: a table, or a JSON list.
class SpeedResults {
 public:
  explicit SpeedResults(bool json) : json_(json) {}

  void Add(const SpeedReport& report);
  /// A channel whose speed was not found, and why.
  void AddFailure(const std::string& recording, unsigned channelNumber, const std::string& why);
  void Print() const;
  std::size_t Count() const { return count_; }
  std::size_t Failures() const { return failures_; }

 private:
  bool json_;
  std::size_t count_ = 0, failures_ = 0;
  std::vector<std::string> objects_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace umlauf::tool
