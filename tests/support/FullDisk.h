#pragma once

#include "umlauf/platform/framework/CMemFile.h"

/// A file on a disk with room for so many bytes; a write that does not fit fails as a whole.
class CFullDisk : public CMemFile {
 public:
  explicit CFullDisk(std::uint64_t room) : room_(room) {}
  void Write(const void* buffer, std::size_t count) override {
    if (GetPosition() + count > room_) return SetFailed(true);
    CMemFile::Write(buffer, count);
  }

 private:
  std::uint64_t room_;
};

/// Writes with every room that is too small: each time the file tells of it, or `write` returns false.
template <class Write>
bool EveryFullDiskIsTold(std::uint64_t length, Write write) {
  for (std::uint64_t room = 0; room < length; ++room) {
    CFullDisk file(room);
    if (write(file) && !file.Failed()) return false;
  }
  CFullDisk enough(length);
  return write(enough) && !enough.Failed() && enough.GetLength() == length;
}
