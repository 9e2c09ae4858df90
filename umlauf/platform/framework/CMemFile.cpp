#include "umlauf/platform/framework/CMemFile.h"

#include <algorithm>
#include <cstring>

#include "umlauf/platform/memory/WithoutMemory.h"

UMLAUF_IMPLEMENT_DYNAMIC(CMemFile, CFile)

CMemFile::CMemFile(std::span<const std::byte> bytes) {
  if (!umlauf::HadMemory([&] { bytes_.assign(bytes.begin(), bytes.end()); })) SetFailed(true);
}

bool CMemFile::SetLength(std::uint64_t length) {
  if (umlauf::HadMemory([&] { bytes_.resize(length); })) return true;
  SetFailed(true);
  return false;
}

std::size_t CMemFile::Read(void* buffer, std::size_t count) {
  const std::size_t n = std::min<std::uint64_t>(count, Remaining());
  if (n != 0) std::memcpy(buffer, bytes_.data() + position_, n);
  position_ += n;
  return n;
}

void CMemFile::Write(const void* buffer, std::size_t count) {
  if (count == 0) return;
  const std::uint64_t after = position_ + count;
  if (after < position_ || (after > bytes_.size() && !SetLength(after))) {
    SetFailed(true);
    return;
  }
  std::memcpy(bytes_.data() + position_, buffer, count);
  position_ = after;
}

std::uint64_t CMemFile::Seek(std::int64_t offset, unsigned from) {
  std::uint64_t target = 0;
  if (SeekTarget(offset, from, target)) {
    position_ = target;
  } else {
    SetFailed(true);
  }
  return position_;
}
