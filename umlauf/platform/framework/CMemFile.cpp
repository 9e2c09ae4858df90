#include "umlauf/platform/framework/CMemFile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

UMLAUF_IMPLEMENT_DYNAMIC(CMemFile, CFile)

bool CMemFile::SetLength(std::uint64_t length) {
  try {
    bytes_.resize(length);
    return true;
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
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
  const std::uint64_t origin = from == begin ? 0 : from == current ? position_ : GetLength();
  const std::uint64_t target = origin + static_cast<std::uint64_t>(offset);
  if ((offset < 0 && target > origin) || (offset > 0 && target < origin)) {
    SetFailed(true);
  } else {
    position_ = target;
  }
  return position_;
}
