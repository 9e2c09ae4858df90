#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CObject.h"
#include "umlauf/platform/framework/CString.h"

namespace umlauf::os {
class File;
}

/// Bytes on disk, read and written at one position. Nothing throws: `Read` returns what came, and a write or
/// seek that failed is remembered until the file is opened again (`Failed`). One object is used by one thread
/// at a time; it closes its file when it goes. Derived classes put the bytes elsewhere (CMemFile).
class UMLAUF_API CFile : public CObject {
  UMLAUF_DECLARE_DYNAMIC(CFile)

 public:
  enum OpenFlags : unsigned {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    modeCreate = 0x1000,      ///< create the file, or empty it when it is there
    modeNoTruncate = 0x2000,  ///< with modeCreate: keep what is there
    typeBinary = 0x8000       ///< accepted and without effect: files are bytes
  };
  enum SeekPosition : unsigned { begin = 0, current = 1, end = 2 };

  CFile();
  /// Opens at once; ask `IsOpen` whether it worked.
  CFile(const wchar_t* path, unsigned flags);
  ~CFile() override;
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  virtual bool Open(const wchar_t* path, unsigned flags);
  virtual bool IsOpen() const;
  /// Reads up to `count` bytes; returns the number that came (fewer at the end of the file or on failure).
  virtual std::size_t Read(void* buffer, std::size_t count);
  /// Writes `count` bytes; a failure is remembered (`Failed`).
  virtual void Write(const void* buffer, std::size_t count);
  /// Moves the position and returns the new one. A target before the start fails and leaves the position.
  virtual std::uint64_t Seek(std::int64_t offset, unsigned from);
  virtual std::uint64_t GetPosition() const;
  virtual std::uint64_t GetLength() const;
  virtual void Flush();
  /// Writes out what is pending and closes.
  virtual void Close();

  /// True when a write, seek, flush or close failed since the file was opened.
  bool Failed() const { return failed_; }
  /// Bytes between the position and the end: the upper bound for any length that is read from the file.
  std::uint64_t Remaining() const;

 protected:
  void SetFailed(bool failed) { failed_ = failed; }
  /// Where a seek goes, from the start of the file; false when that lies before it or beyond 64 bits.
  bool SeekTarget(std::int64_t offset, unsigned from, std::uint64_t& target) const;

 private:
  std::unique_ptr<umlauf::os::File> file_;
  bool failed_ = false;
};
