#include "umlauf/platform/framework/CFile.h"

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/os/os.h"

namespace os = umlauf::os;

UMLAUF_IMPLEMENT_DYNAMIC(CFile, CObject)

CFile::CFile() = default;
CFile::CFile(const wchar_t* path, unsigned flags) { CFile::Open(path, flags); }
CFile::~CFile() { CFile::Close(); }

bool CFile::Open(const wchar_t* path, unsigned flags) {
  Close();
  os::OpenMode mode;
  mode.write = (flags & (modeWrite | modeReadWrite)) != 0;
  mode.read = (flags & modeWrite) == 0;
  mode.create = (flags & modeCreate) != 0;
  mode.truncate = mode.create && (flags & modeNoTruncate) == 0;
  if (path != nullptr) umlauf::HadMemory([&] { file_ = os::File::Open(path, mode); });
  failed_ = false;
  return file_ != nullptr;
}

bool CFile::IsOpen() const { return file_ != nullptr; }

std::size_t CFile::Read(void* buffer, std::size_t count) { return file_ ? file_->Read(buffer, count) : 0; }

void CFile::Write(const void* buffer, std::size_t count) {
  if (!file_ || !file_->Write(buffer, count)) failed_ = true;
}

std::uint64_t CFile::Seek(std::int64_t offset, unsigned from) {
  std::uint64_t target = 0;
  if (!SeekTarget(offset, from, target) || !file_ || !file_->Seek(target)) failed_ = true;
  return GetPosition();
}

bool CFile::SeekTarget(std::int64_t offset, unsigned from, std::uint64_t& target) const {
  const std::uint64_t origin = from == begin ? 0 : from == current ? GetPosition() : GetLength();
  target = origin + static_cast<std::uint64_t>(offset);
  const bool beforeStart = offset < 0 && target > origin;
  const bool beyondRange = offset > 0 && target < origin;
  return !beforeStart && !beyondRange;
}

std::uint64_t CFile::GetPosition() const { return file_ ? file_->Position() : 0; }
std::uint64_t CFile::GetLength() const { return file_ ? file_->Length() : 0; }

void CFile::Flush() {
  if (file_ && !file_->Flush()) failed_ = true;
}

void CFile::Close() {
  if (file_ && !file_->Flush()) failed_ = true;
  file_.reset();
}

std::uint64_t CFile::Remaining() const {
  const std::uint64_t length = GetLength();
  const std::uint64_t position = GetPosition();
  return length > position ? length - position : 0;
}
