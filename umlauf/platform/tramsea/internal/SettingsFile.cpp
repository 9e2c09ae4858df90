#include "umlauf/platform/tramsea/internal/SettingsFile.h"

#include <sqlite3.h>

#include <algorithm>
#include <limits>
#include <new>
#include <thread>
#include <utility>

#include "umlauf/platform/os/os.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace umlauf::sea {
namespace {

using namespace std::chrono_literals;

/// How long a call waits for other processes.
constexpr auto kPatience = 10s;
/// Greatest and least time between two looks at a file that another process has.
constexpr std::chrono::microseconds kLongPause = 4ms, kShortPause = 500us;

// What marks a SQLite file as a settings database: "UMLF", and the version of its table.
constexpr const char* kIdentity = "1431129158";
constexpr const char* kVersion = "1";
constexpr const char* kMark = "PRAGMA application_id = 1431129158; PRAGMA user_version = 1";
constexpr const char* kTable =
    "CREATE TABLE setting (path TEXT NOT NULL, idx INTEGER NOT NULL, value INTEGER NOT NULL,"
    " PRIMARY KEY (path, idx)) WITHOUT ROWID";

/// Longest text and longest record, in bytes.
constexpr int kLongest = 1 << 20;

CString Reason(sqlite3* connection) {
  switch (sqlite3_errcode(connection) & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return L"another process is using it";
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return L"the file is damaged or no settings database; it was left as it is";
    case SQLITE_CANTOPEN:
      return L"the file does not exist or cannot be opened";
    case SQLITE_FULL:
      return L"the disk is full";
    case SQLITE_TOOBIG:
      return L"a path in it is longer than 1 MiB";
    default:
      return CString(sqlite3_errmsg(connection));
  }
}

}  // namespace

Statement::Statement(sqlite3* connection, const char* sql) {
  sqlite3_prepare_v3(connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
}

Statement::~Statement() { sqlite3_finalize(statement_); }

Statement& Statement::Bind(int parameter, std::int64_t value) {
  sqlite3_bind_int64(statement_, parameter, value);
  return *this;
}

Statement& Statement::Bind(int parameter, const std::string& text) {
  sqlite3_bind_text64(statement_, parameter, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  return *this;
}

bool Statement::Run(const std::function<bool(const Statement&)>& row) {
  struct Reset {
    sqlite3_stmt* statement;
    ~Reset() { sqlite3_reset(statement); }
  } const reset{statement_};  // also when the row finds no memory
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement_)) == SQLITE_ROW) {
    if (row && !row(*this)) break;
  }
  return result == SQLITE_DONE || result == SQLITE_ROW;
}

std::optional<int> Statement::Number(int column) const {
  using Limits = std::numeric_limits<int>;
  if (sqlite3_column_type(statement_, column) != SQLITE_INTEGER) return {};
  const std::int64_t value = sqlite3_column_int64(statement_, column);
  if (value < Limits::min() || value > Limits::max()) return {};
  return static_cast<int>(value);
}

std::string Statement::Text(int column) const {
  const unsigned char* const text = sqlite3_column_text(statement_, column);
  if (text == nullptr) return {};
  const int length = sqlite3_column_bytes(statement_, column);
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

std::unique_ptr<SettingsFile> SettingsFile::Open(const CString& path, bool writable) {
  std::unique_ptr<SettingsFile> file(new SettingsFile(path));
  if (!file->Connect(writable) || !file->CheckIdentity()) return nullptr;
  return file;
}

SettingsFile::~SettingsFile() {
  DropStatements();
  sqlite3_close_v2(connection_);
}

void SettingsFile::DropStatements() {
  readValues_.reset();
  readPaths_.reset();
  write_.reset();
  remove_.reset();
}

bool SettingsFile::Refuse(const wchar_t* why) const {
  PrWin::Output(PrWin::note, L"Settings database \"%s\": %s.\n", path_, why);
  return false;
}

bool SettingsFile::Failed(const wchar_t* what) const {
  PrWin::Output(PrWin::note, L"Settings database \"%s\": %s: %s.\n", path_, what, Reason(connection_));
  return false;
}

bool SettingsFile::Connect(bool writable) {
  if (path_.IsEmpty()) return Refuse(L"no file is named");
  // A reader, too, opens for writing where it may: it has to undo what a killed writer left half done.
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (writable ? SQLITE_OPEN_CREATE : 0);
  const std::string name = CString(os::SystemPath(path_.str())).ToPath();
  if (name.empty())
    throw std::bad_alloc();  // SQLite would take no name for a file that is gone when it is closed
  sqlite3_vfs* files = sqlite3_vfs_find("win32-longpath");
  if (files == nullptr) files = sqlite3_vfs_find(nullptr);
  int exists = 0;
  fileIsNew_ = writable &&
               files->xAccess(files, name.c_str(), SQLITE_ACCESS_READWRITE, &exists) == SQLITE_OK &&
               exists == 0;
  const int result = sqlite3_open_v2(name.c_str(), &connection_, flags, files->zName);
  if (result != SQLITE_OK) return Failed(L"cannot open");
  sqlite3_limit(connection_, SQLITE_LIMIT_LENGTH, kLongest);
  sqlite3_busy_handler(
      connection_,
      [](void* file, int count) { return static_cast<SettingsFile*>(file)->Wait(count) ? 1 : 0; }, this);
  readOnly_ = !writable || sqlite3_db_readonly(connection_, "main") == 1;
  return true;
}

bool SettingsFile::Wait(int count) {
  const auto now = std::chrono::steady_clock::now();
  if (count == 0) waitingSince_ = now;
  const auto waited = now - waitingSince_;
  if (waited >= kPatience) return false;
  contended_ = true;
  // Who has waited longer looks more often, and so comes first.
  std::this_thread::sleep_for(std::max(kShortPause, kLongPause / (1 + waited / 100ms)));
  return true;
}

bool SettingsFile::Query(const char* sql, std::string& result) {
  Statement statement(connection_, sql);
  return statement && statement.Run([&result](const Statement& row) {
    result = row.Text(0);
    return false;
  });
}

bool SettingsFile::CheckIdentity() {
  std::string tables, identity, version, check;
  if (!Query("SELECT count(*) FROM sqlite_master", tables) || !Query("PRAGMA application_id", identity) ||
      !Query("PRAGMA user_version", version)) {
    return Failed(L"cannot read");
  }
  if (identity == "0" && tables == "0") return true;
  if (identity != kIdentity) return Refuse(L"the file is no settings database; it was left as it is");
  if (version != kVersion) return Refuse(L"the file was written by a later version; it was left as it is");
  // Conditions of other tables would be part of the check, so it comes behind the look for them.
  if (!FindTable()) return false;
  if (!Query("PRAGMA quick_check(1)", check)) return Failed(L"cannot read");
  return check == "ok" || Refuse(L"the file is damaged; it was left as it is");
}

bool SettingsFile::HoldsTableOnly() {
  bool others = false;
  const std::string table = kTable;
  Statement statement(connection_, "SELECT 1 FROM sqlite_master WHERE sql IS NOT ?1");
  const bool read = statement && statement.Bind(1, table).Run([&others](const Statement&) {
    others = true;
    return false;
  });
  if (!read) return Failed(L"cannot read");
  return !others || Refuse(L"the file is no settings database; it was left as it is");
}

bool SettingsFile::FindTable() {
  if (remove_) return true;  // the last one that is prepared
  std::string identity;
  if (!Query("PRAGMA application_id", identity)) return Failed(L"cannot read");
  return identity != kIdentity || (HoldsTableOnly() && Prepare());
}

bool SettingsFile::CreateTable() {
  tableIsNew_ = true;
  const auto run = [this](const char* sql) {
    return sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
  };
  return ((run(kTable) && run(kMark)) || Failed(L"cannot create")) && Prepare();
}

void SettingsFile::RemoveEmptyFile() {
  const std::string name = path_.ToPath();
  // No other process is in the middle of making it a database while this lock is held. One that begins
  // afterwards finds that its file has gone, and fails.
  if (sqlite3_exec(connection_, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK) return;
  sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
  int content = 1;  // to SQLite a file of no bytes does not exist
  const bool known = files->xAccess(files, name.c_str(), SQLITE_ACCESS_EXISTS, &content) == SQLITE_OK;
  if (known && content == 0) files->xDelete(files, name.c_str(), 0);
  sqlite3_exec(connection_, "ROLLBACK", nullptr, nullptr, nullptr);
}

bool SettingsFile::Prepare() {
  const auto prepare = [this](std::unique_ptr<Statement>& statement, const char* sql) {
    statement = std::make_unique<Statement>(connection_, sql);
    return static_cast<bool>(*statement);
  };
  return (prepare(readValues_,
                  "SELECT idx, value FROM setting WHERE path = ?1 AND idx >= ?2 AND idx < ?3 ORDER BY idx") &&
          prepare(readPaths_, "SELECT DISTINCT path FROM setting WHERE path >= ?1 ORDER BY path") &&
          prepare(write_, "INSERT OR REPLACE INTO setting (path, idx, value) VALUES (?1, ?2, ?3)") &&
          prepare(remove_, "DELETE FROM setting WHERE path = ?1")) ||
         Failed(L"cannot read");
}

bool SettingsFile::ReadValues(const std::string& path, std::int64_t first, std::int64_t end,
                              const TakeValue& take) {
  if (!FindTable()) return false;
  if (!readValues_) return true;
  const bool read = readValues_->Bind(1, path).Bind(2, first).Bind(3, end).Run([&](const Statement& row) {
    const auto index = row.Number(0);
    const auto value = row.Number(1);
    // Rows that are damaged so that they are out of order pass the conditions of the query.
    if (index && value && *index >= first && *index < end) take(*index, *value);
    return true;
  });
  return read || Failed(L"cannot read");
}

bool SettingsFile::ReadPaths(const std::string& prefix, const std::function<void(std::string)>& take) {
  if (!FindTable()) return false;
  if (!readPaths_) return true;
  const bool read = readPaths_->Bind(1, prefix).Run([&](const Statement& row) {
    std::string path = row.Text(0);
    if (!path.starts_with(prefix)) return false;
    take(std::move(path));
    return true;
  });
  return read || Failed(L"cannot read");
}

bool SettingsFile::Begin() {
  if (readOnly_) return Refuse(L"cannot write: it may only be read");
  // Gives way to those who waited while this object had the file: it would be faster than they every time.
  if (contended_) std::this_thread::sleep_for(kLongPause + kShortPause);
  contended_ = false;
  // Taking the write lock at once spares two writers that read first from waiting for each other.
  if (sqlite3_exec(connection_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) {
    return Failed(L"cannot write");
  }
  return FindTable() && (readValues_ || CreateTable());
}

bool SettingsFile::End(bool commit) {
  const bool done = commit && sqlite3_exec(connection_, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
  if (commit && !done) Failed(L"cannot write");
  // SQLite has taken it back already when the disk was full or failed.
  if (!done && sqlite3_get_autocommit(connection_) == 0) {
    sqlite3_exec(connection_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  if (!done && std::exchange(tableIsNew_, false)) {
    DropStatements();
    if (fileIsNew_) RemoveEmptyFile();
  }
  tableIsNew_ = false;
  return done || !commit;
}

bool SettingsFile::Write(const std::string& path, int first, std::span<const int> values) {
  std::int64_t index = first;
  for (const int value : values) {
    if (!write_->Bind(1, path).Bind(2, index++).Bind(3, value).Run()) return Failed(L"cannot write");
  }
  return true;
}

bool SettingsFile::Remove(const std::string& path) {
  return remove_->Bind(1, path).Run() || Failed(L"cannot write");
}

}  // namespace umlauf::sea
