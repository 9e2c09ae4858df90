#pragma once

#include <span>
#include <vector>

#include "umlauf/platform/framework/CFile.h"

/// A file in memory, always open. Growing is bounded by memory only; a write that finds none fails as a full
/// disk would.
class UMLAUF_API CMemFile : public CFile {
  UMLAUF_DECLARE_DYNAMIC(CMemFile)

 public:
  CMemFile() = default;
  /// A file that holds a copy of these bytes, positioned at its start; empty, and failed, without memory.
  explicit CMemFile(std::span<const std::byte> bytes);

  std::span<const std::byte> Bytes() const { return bytes_; }
  /// Bytes beyond the new length go, missing ones are zero.
  bool SetLength(std::uint64_t length);

  bool IsOpen() const override { return true; }
  std::size_t Read(void* buffer, std::size_t count) override;
  void Write(const void* buffer, std::size_t count) override;
  std::uint64_t Seek(std::int64_t offset, unsigned from) override;
  std::uint64_t GetPosition() const override { return position_; }
  std::uint64_t GetLength() const override { return bytes_.size(); }
  void Flush() override {}
  void Close() override {}

 private:
  std::vector<std::byte> bytes_;
  std::uint64_t position_ = 0;
};
