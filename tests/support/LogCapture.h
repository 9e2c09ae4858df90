#pragma once

#include "support/Test.h"
#include "umlauf/platform/tramsea/PrWin.h"

/// Collects the messages, as UTF-8, while it lives; those of another kind than the units' are marked.
class LogCapture {
 public:
  LogCapture() {
    before_ = PrWin::SetSink([this](int category, int style, const CString& text) {
      messages_.push_back((category == 16 && style == 3 ? "" : "another kind: ") + text.ToUtf8());
    });
  }
  ~LogCapture() { PrWin::SetSink(before_); }

  /// The messages since the last call.
  std::vector<std::string> Take() { return std::exchange(messages_, {}); }

 private:
  std::vector<std::string> messages_;
  PrWin::Sink before_;
};

inline std::string UnknownUnit(const std::string& name) {
  return "CMeasuringUnit::UnitStrings: Unknown measuring unit ‘" + name + "’ rejected!\n";
}
