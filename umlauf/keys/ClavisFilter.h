#pragma once

#include <vector>

#include "umlauf/Export.h"
#include "umlauf/keys/Clavis.h"
#include "umlauf/platform/memory/WithoutMemory.h"

/// Decides whether a key passes a list of patterns and belongs to a test step. An entry holds a pattern for
/// the fields instrument, channel, location, parameter and sensor, and a flag. A field is compared only when
/// it is set in the pattern and in the key; an entry with no field to compare neither accepts nor is
/// satisfied.
class UMLAUF_API CClavisFilter {
 public:
  /// An empty list. mode: test step, -1 = any. anyMode: true when a key passes with some entry, false when it
  /// takes all of them.
  CClavisFilter(int mode, bool anyMode) : anyMode_(anyMode), mode_(mode) {}

  void SetMode(int mode) { mode_ = mode; }
  int Mode() const { return mode_; }
  /// The list is not empty.
  bool Active() const { return !entries_.empty(); }
  /// Adds an entry of the key's fields 1-5 (-1 = any) and the flag; the key's test step is of no account.
  /// Nothing without memory; a copy for which there is none has an empty list.
  void append(const SClavis& key, bool flag);

  /// Fails a key whose test step and that of the filter are set and differ; otherwise applies `||` in
  /// any-mode and `&&` else.
  bool FilterMatch(const CClavis& key) const;
  /// Passes the key at the first entry that accepts it, or when the list is empty. An entry accepts when a
  /// compared field is equal or, with its flag set, when one differs.
  bool operator||(const SClavis& key) const;
  /// Fails the key at the first entry that is not satisfied. An entry is satisfied when a compared field
  /// differs or, with its flag set, when one is equal.
  /// Intended: the flag has the opposite sense of the one in `||`; the two rules mirror each other.
  bool operator&&(const SClavis& key) const;

 private:
  struct SEntry {
    int pattern[Clavis::fieldCount - 1];
    bool flag;
  };
  static_assert(sizeof(SEntry) == 24);

  /// A compared field is equal (equal true), or differs (equal false).
  static bool AnyField(const SEntry& entry, const SClavis& key, bool equal);

  umlauf::QuietCopy<std::vector<SEntry>> entries_;
  bool anyMode_;
  int mode_;
};
