#pragma once

#include <string>

#include "umlauf/platform/tramsea/PrWin.h"

namespace umlauf::tool {

/// Keeps what the library notes in its log while this object lives: the reasons behind a failure that its
/// functions only report by their result. One at a time.
class LibraryNotes {
 public:
  LibraryNotes();
  ~LibraryNotes();
  LibraryNotes(const LibraryNotes&) = delete;
  LibraryNotes& operator=(const LibraryNotes&) = delete;

  bool empty() const { return text_.empty(); }
  /// All notes on one line, parted by "; ".
  const std::string& text() const { return text_; }
  void Clear() { text_.clear(); }

 private:
  static constexpr std::size_t longest = 2000;  ///< bytes; notes beyond are dropped

  std::string text_;
  PrWin::Sink before_;
};

}  // namespace umlauf::tool
