#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/tramsea/CResourceEntry.h"

/// A settings database: entries by path, each an indexed list of 32-bit integers (indices from 0 on; gaps
/// are allowed). An entry exists while it holds a value. Paths are any text that is not empty, up to a little
/// less than 1 MiB in UTF-8; by custom their parts are separated by "/".
///
/// The database is one SQLite file that several processes may use at once. Every write is one transaction:
/// it is there as a whole or not at all, also when the process is killed or the machine loses power in the
/// middle of it. A writer waits up to ten seconds for others before it gives up; those that wait come in
/// turn. A file that was created and whose first write fails is taken away again.
///
/// Nothing throws. A failure gives a neutral result; the log (category 1) names the file and the reason, save
/// for bad arguments: an empty path, or an index below 0 or beyond 32 bits. On a database that is not open
/// everything is missing and nothing can be written, without further notes. The functions may be called from
/// every thread. A database must not be carried through a fork: open it in the child.
class UMLAUF_API CResourceSea {
 public:
  enum class Access {
    readOnly,  ///< the file must exist; writes fail
    readWrite  ///< the file is created when it is missing (its folder is not); one of no bytes is empty
  };

  CResourceSea();
  /// Opens at once; ask `IsOpen` whether it worked.
  explicit CResourceSea(const CString& path, Access access = Access::readWrite);
  /// Closes; a transaction that is still open is rolled back.
  ~CResourceSea();
  CResourceSea(const CResourceSea&) = delete;
  CResourceSea& operator=(const CResourceSea&) = delete;

  /// Closes what was open and opens the file; ":memory:" is an empty database of its own that is gone when it
  /// is closed. A file that is damaged, is something else, holds more than the table of settings, or was
  /// written by a later version is refused and not touched.
  bool Open(const CString& path, Access access = Access::readWrite);
  void Close();
  bool IsOpen() const;
  /// True also for a file that the system does not let this process write to.
  bool IsReadOnly() const;
  /// Path as given to `Open`; empty when it is not open.
  CString Path() const;

  /// The entry of that path; nothing when it does not exist.
  std::optional<CResourceEntry> FindEntry(const CString& path);
  /// Paths of all entries that begin with the prefix, in the order of their UTF-8 bytes.
  std::vector<CString> Paths(const CString& prefix = {}) const;
  /// All values of an entry as (index, value), by ascending index.
  std::vector<std::pair<int, int>> Values(const CString& path) const;

  /// Value `index` of an entry; `missing` when it is not there.
  int LookupInt(const CString& path, int index, int missing) const;
  /// As above; false, with `value` unchanged, when it is not there.
  bool LookupGetInt(const CString& path, int index, int& value) const;
  /// Values `first`, `first` + 1, ... of an entry as they are at one moment; those that are missing become
  /// empty. True when at least one was there.
  bool LookupInts(const CString& path, int first, std::span<std::optional<int>> values) const;

  /// Sets value `index` of an entry, which comes into being when it is not there.
  bool LookupSetInt(const CString& path, int index, int value);
  /// Sets values `first`, `first` + 1, ...; all of them or, on failure, none. Others keep their values.
  bool LookupSetInts(const CString& path, int first, std::span<const int> values);
  /// Removes an entry with all its values; true also when there was none.
  bool RemoveEntry(const CString& path);

  /// Makes several writes, and the reads between them, one transaction. Other processes that write wait, and
  /// so do the other threads of this one, so be short. Without `Commit` everything is rolled back. One that
  /// is begun inside another is part of it.
  class UMLAUF_API Transaction {
   public:
    /// Begins; when that fails, the writes that follow and `Commit` fail.
    explicit Transaction(CResourceSea& sea);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    /// Makes the writes last; false, and nothing was written, when one of them failed.
    bool Commit();

   private:
    CResourceSea& sea_;
    bool open_;
  };

 private:
  class File;
  /// What the action tells of the open file; `otherwise` without one, and without memory.
  template <class Result, class Action>
  Result Ask(Result otherwise, Action action) const;

  std::unique_ptr<File> file_;  // null without memory
};
