#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FormatArg.h"

/// Wide text with value semantics. The characters are wchar_t of the platform (UTF-16 on Windows, UTF-32
/// elsewhere); lengths and positions count wchar_t. Copies are independent. One object is used by one thread
/// at a time. Nothing throws: without memory a text that was to be made is empty, and one that was to be
/// changed stays as it was.
class UMLAUF_API CString {
 public:
  CString() = default;
  CString(const CString& other) { *this = other; }
  CString(CString&& other) noexcept = default;
  CString(const wchar_t* text);  // NOLINT(google-explicit-constructor): null is empty
  CString(const wchar_t* text, std::size_t length) : CString(std::wstring_view(text, length)) {}
  CString(std::wstring text) noexcept : text_(std::move(text)) {}  // NOLINT(google-explicit-constructor)
  CString(std::wstring_view text);                                 // NOLINT(google-explicit-constructor)
  /// From UTF-8. Malformed sequences become U+FFFD.
  explicit CString(const char* utf8);
  CString& operator=(const CString& other);
  CString& operator=(CString&& other) noexcept = default;

  static CString FromUtf8(std::string_view utf8);
  /// From code page 1252.
  static CString FromAnsi(std::string_view ansi);

  std::string ToUtf8() const;
  /// To code page 1252; a character outside it becomes "?".
  std::string ToAnsi() const;
  /// The name of a file as the system gives it, in UTF-8 or not: what opens files by such a text finds the
  /// file of these very bytes, and ToPath gives them back.
  static CString FromPath(std::string_view path);
  std::string ToPath() const;

  const wchar_t* GetString() const { return text_.c_str(); }
  operator const wchar_t*() const { return text_.c_str(); }  // NOLINT(google-explicit-constructor)
  std::wstring_view view() const { return text_; }
  const std::wstring& str() const { return text_; }

  int GetLength() const { return static_cast<int>(text_.size()); }
  bool IsEmpty() const { return text_.empty(); }
  void Empty() { text_.clear(); }
  /// Character at a position; 0 outside the text.
  wchar_t GetAt(int position) const;

  CString& operator+=(const CString& other) { return Append(other.text_); }
  CString& operator+=(const wchar_t* other) { return Append(other); }
  CString& operator+=(wchar_t other) { return Append({&other, 1}); }

  /// Case-sensitive comparison: negative, 0 or positive.
  int Compare(const wchar_t* other) const { return text_.compare(other); }

  /// First `count` characters; the whole text when it is shorter.
  CString Left(int count) const { return Mid(0, count); }
  /// Last `count` characters; the whole text when it is shorter.
  CString Right(int count) const;
  /// Characters from `first` on, at most `count`; positions outside the text are limited to it.
  CString Mid(int first) const { return Mid(first, GetLength()); }
  CString Mid(int first, int count) const;
  /// Position of a text or character at or behind `start`; -1 when there is none.
  int Find(const wchar_t* what, int start = 0) const;
  int Find(wchar_t what, int start = 0) const;
  /// Replaces every occurrence and returns their number; an empty `what` replaces nothing, and neither does a
  /// call that finds no memory.
  int Replace(const wchar_t* what, const wchar_t* with);
  /// Inserts before a position (limited to the text) and returns the new length.
  int Insert(int position, const wchar_t* what);

  /// printf-style formatting; %s takes wide and narrow (UTF-8) text alike. A format that does not fit its
  /// arguments gives the format text itself, and no memory is misread. Numbers do not depend on the locale.
  template <class... Args>
  void Format(const wchar_t* format, const Args&... args) {
    FormatV(format, {FormatArg(args)...});
  }
  void FormatV(const wchar_t* format, std::initializer_list<FormatArg> args);

  friend bool operator==(const CString& a, const CString& b) { return a.text_ == b.text_; }
  friend bool operator==(const CString& a, const wchar_t* b) { return a.text_ == b; }
  friend auto operator<=>(const CString& a, const CString& b) { return a.text_ <=> b.text_; }

 private:
  CString& Append(std::wstring_view text);

  std::wstring text_;
};

inline CString operator+(CString a, const CString& b) { return a += b; }
inline CString operator+(CString a, const wchar_t* b) { return a += b; }
inline CString operator+(CString a, wchar_t b) { return a += b; }
inline CString operator+(const wchar_t* a, const CString& b) { return CString(a) += b; }
