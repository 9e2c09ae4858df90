#pragma once

#include <utility>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

/// Why something did not work, in one sentence. Stays a failure where there is no memory for its words.
class UMLAUF_API FailureText {
 public:
  FailureText() = default;
  FailureText(const CString& why) { *this = why; }

  /// An empty text is no failure.
  FailureText& operator=(const CString& why) {
    failed_ = !why.IsEmpty();
    text_ = why;
    return *this;
  }
  FailureText& operator=(const wchar_t* why) {
    failed_ = *why != L'\0';
    text_ = why;
    return *this;
  }
  /// What another object says; its words may be lost, the failure is not.
  void Take(bool failed, const CString& why) {
    failed_ = failed;
    text_ = why;
  }
  template <class... Values>
  void Format(const wchar_t* format, const Values&... values) {
    failed_ = true;
    text_.Format(format, values...);
  }
  void Empty() {
    failed_ = false;
    text_.Empty();
  }

  bool IsEmpty() const { return !failed_; }
  /// Empty only without a failure; "there is no memory" where the words were lost.
  const CString& Text() const { return failed_ && text_.IsEmpty() ? NoMemory() : text_; }

 private:
  static const CString& NoMemory();

  bool failed_ = false;
  CString text_;
};
