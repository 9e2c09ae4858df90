#include "umlauf/platform/tramsea/CResourceSea.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <string>

#include "umlauf/platform/tramsea/internal/SettingsFile.h"

namespace {

constexpr int kLastIndex = std::numeric_limits<int>::max();
/// End of the range of all indices.
constexpr std::int64_t kEndIndex = std::int64_t{kLastIndex} + 1;

bool IsRange(int first, std::size_t count) {
  return first >= 0 && count <= static_cast<std::size_t>(kLastIndex - first) + 1;
}

}  // namespace

/// The open file, the lock over it, and the transaction that is under way.
class CResourceSea::File {
 public:
  std::unique_ptr<umlauf::sea::SettingsFile> sqlite;
  mutable std::recursive_mutex mutex;  // held as long as a transaction lasts

  /// Replaces the file; a transaction that is under way cannot succeed any more.
  void Set(std::unique_ptr<umlauf::sea::SettingsFile> fresh) {
    failed_ = depth_ > 0;
    sqlite = std::move(fresh);
  }

  void Enter() {
    mutex.lock();
    if (depth_++ == 0) failed_ = !sqlite || !sqlite->Begin();
  }
  bool Leave(bool commit) {
    if (!commit) failed_ = true;
    bool done = !failed_;
    if (--depth_ == 0 && sqlite) done = sqlite->End(done) && done;
    mutex.unlock();
    return done;
  }

  /// Runs one write as a transaction, or as a part of the one under way.
  template <class Action>
  bool Write(Action action) {
    if (const std::lock_guard lock(mutex); !sqlite) return false;
    Enter();
    return Leave(!failed_ && action(*sqlite));
  }

 private:
  int depth_ = 0;
  bool failed_ = false;
};

CResourceSea::CResourceSea() : file_(std::make_unique<File>()) {}
CResourceSea::CResourceSea(const CString& path, Access access) : CResourceSea() { Open(path, access); }
CResourceSea::~CResourceSea() = default;

bool CResourceSea::Open(const CString& path, Access access) {
  const std::lock_guard lock(file_->mutex);
  Close();
  file_->Set(umlauf::sea::SettingsFile::Open(path, access == Access::readWrite));
  return IsOpen();
}

void CResourceSea::Close() {
  const std::lock_guard lock(file_->mutex);
  file_->Set(nullptr);
}

bool CResourceSea::IsOpen() const {
  const std::lock_guard lock(file_->mutex);
  return file_->sqlite != nullptr;
}

bool CResourceSea::IsReadOnly() const {
  const std::lock_guard lock(file_->mutex);
  return file_->sqlite && file_->sqlite->ReadOnly();
}

CString CResourceSea::Path() const {
  const std::lock_guard lock(file_->mutex);
  return file_->sqlite ? file_->sqlite->Path() : CString();
}

std::optional<CResourceEntry> CResourceSea::FindEntry(const CString& path) {
  if (Values(path).empty()) return {};
  return CResourceEntry(*this, path);
}

std::vector<CString> CResourceSea::Paths(const CString& prefix) const {
  const std::lock_guard lock(file_->mutex);
  std::vector<CString> paths;
  if (file_->sqlite) {
    file_->sqlite->ReadPaths(prefix.ToUtf8(),
                             [&paths](const std::string& path) { paths.push_back(CString::FromUtf8(path)); });
  }
  return paths;
}

std::vector<std::pair<int, int>> CResourceSea::Values(const CString& path) const {
  const std::lock_guard lock(file_->mutex);
  std::vector<std::pair<int, int>> values;
  if (file_->sqlite) {
    file_->sqlite->ReadValues(path.ToUtf8(), 0, kEndIndex,
                              [&values](int index, int value) { values.emplace_back(index, value); });
  }
  return values;
}

int CResourceSea::LookupInt(const CString& path, int index, int missing) const {
  LookupGetInt(path, index, missing);
  return missing;
}

bool CResourceSea::LookupGetInt(const CString& path, int index, int& value) const {
  std::optional<int> found;
  if (!LookupInts(path, index, {&found, 1})) return false;
  value = *found;
  return true;
}

bool CResourceSea::LookupInts(const CString& path, int first, std::span<std::optional<int>> values) const {
  std::fill(values.begin(), values.end(), std::nullopt);
  const std::lock_guard lock(file_->mutex);
  if (!file_->sqlite || !IsRange(first, values.size())) return false;
  bool any = false;
  const auto end = first + static_cast<std::int64_t>(values.size());
  const bool read = file_->sqlite->ReadValues(path.ToUtf8(), first, end, [&](int index, int value) {
    values[static_cast<std::size_t>(index - first)] = value;
    any = true;
  });
  if (!read) std::fill(values.begin(), values.end(), std::nullopt);
  return read && any;
}

bool CResourceSea::LookupSetInt(const CString& path, int index, int value) {
  return LookupSetInts(path, index, {&value, 1});
}

bool CResourceSea::LookupSetInts(const CString& path, int first, std::span<const int> values) {
  return file_->Write([&](umlauf::sea::SettingsFile& file) {
    return !path.IsEmpty() && IsRange(first, values.size()) && file.Write(path.ToUtf8(), first, values);
  });
}

bool CResourceSea::RemoveEntry(const CString& path) {
  return file_->Write([&path](umlauf::sea::SettingsFile& file) { return file.Remove(path.ToUtf8()); });
}

CResourceSea::Transaction::Transaction(CResourceSea& sea) : sea_(sea) { sea_.file_->Enter(); }

CResourceSea::Transaction::~Transaction() {
  if (open_) sea_.file_->Leave(false);
}

bool CResourceSea::Transaction::Commit() {
  if (!open_) return false;
  open_ = false;
  return sea_.file_->Leave(true);
}
