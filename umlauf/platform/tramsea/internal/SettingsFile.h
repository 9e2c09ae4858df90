#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "umlauf/platform/framework/CString.h"

struct sqlite3;
struct sqlite3_stmt;

namespace umlauf::sea {

/// A prepared statement of one connection, reset after each run.
class Statement {
 public:
  /// Not usable (`operator bool`) when the text does not fit the connection's tables.
  Statement(sqlite3* connection, const char* sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  explicit operator bool() const { return statement_ != nullptr; }

  /// Parameter numbers begin at 1. A text must stay as it is until `Run` returns.
  Statement& Bind(int parameter, std::int64_t value);
  Statement& Bind(int parameter, const std::string& text);
  /// Runs to the end, or until `row` returns false; the result is false on failure.
  bool Run(const std::function<bool(const Statement&)>& row = {});

  /// Columns of the current row, from 0 on. A number that is none, or does not fit, is empty.
  std::optional<int> Number(int column) const;
  std::string Text(int column) const;

 private:
  sqlite3_stmt* statement_ = nullptr;
};

/// One open settings file. An empty file is one without entries; the first write makes it a database. What
/// fails is noted in the log; where there is no memory, std::bad_alloc is thrown. One thread at a time.
class SettingsFile {
 public:
  /// Null when it cannot be opened, is damaged, or is something else.
  static std::unique_ptr<SettingsFile> Open(const CString& path, bool writable);
  ~SettingsFile();
  SettingsFile(const SettingsFile&) = delete;
  SettingsFile& operator=(const SettingsFile&) = delete;

  const CString& Path() const { return path_; }
  bool ReadOnly() const { return readOnly_; }

  using TakeValue = std::function<void(int index, int value)>;
  /// Values with first <= index < end, ascending.
  bool ReadValues(const std::string& path, std::int64_t first, std::int64_t end, const TakeValue& take);
  /// Distinct paths that begin with the prefix, ascending.
  bool ReadPaths(const std::string& prefix, const std::function<void(std::string)>& take);

  /// The writes belong between Begin and End. End writes for good or takes back; false when the former fails.
  bool Begin();
  bool End(bool commit);
  bool Write(const std::string& path, int first, std::span<const int> values);
  bool Remove(const std::string& path);

 private:
  explicit SettingsFile(const CString& path) : path_(path) {}
  bool Connect(bool writable);
  bool CheckIdentity();
  /// Whether there is nothing beside the table of settings: views, triggers and conditions are code, which
  /// may run for ever.
  bool HoldsTableOnly();
  /// Prepares the statements once there is a table, which another process may have made.
  bool FindTable();
  bool CreateTable();
  bool Prepare();
  void DropStatements();
  /// Takes away the empty file that a first write left behind when it failed.
  void RemoveEmptyFile();
  /// Called while another process has the file, for the `count`-th time in a row; false gives up.
  bool Wait(int count);
  /// First column of the first row.
  bool Query(const char* sql, std::string& result);
  bool Refuse(const wchar_t* why) const;
  bool Failed(const wchar_t* what) const;

  CString path_;
  bool readOnly_ = false;
  bool fileIsNew_ = false;   // this object has created it
  bool tableIsNew_ = false;  // made by the transaction under way
  bool contended_ = false;   // the last transaction had to wait for others
  std::chrono::steady_clock::time_point waitingSince_;
  sqlite3* connection_ = nullptr;
  std::unique_ptr<Statement> readValues_;  // null while there is no table; so are the others
  std::unique_ptr<Statement> readPaths_;
  std::unique_ptr<Statement> write_;
  std::unique_ptr<Statement> remove_;
};

}  // namespace umlauf::sea
