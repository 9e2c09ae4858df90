#include "umlauf/platform/tramsea/CResourceSea.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <new>
#include <string>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/tramsea/internal/SettingsFile.h"

using umlauf::codepages::WideToUtf8;
using umlauf::sea::SettingsFile;

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
  std::unique_ptr<SettingsFile> sqlite;
  mutable std::recursive_mutex mutex;  // held as long as a transaction lasts

  /// Replaces the file; a transaction that is under way cannot succeed any more.
  void Set(std::unique_ptr<SettingsFile> fresh) {
    failed_ = depth_ > 0;
    sqlite = std::move(fresh);
  }

  void Enter() {
    mutex.lock();
    if (depth_++ == 0) failed_ = !sqlite || !umlauf::WithMemory(false, [this] { return sqlite->Begin(); });
  }
  bool Leave(bool commit) {
    if (!commit) failed_ = true;
    bool done = !failed_;
    if (--depth_ == 0 && sqlite) {
      done = umlauf::WithMemory(false, [&] { return sqlite->End(done); }) && done;
    }
    mutex.unlock();
    return done;
  }

  /// Runs one write as a transaction, or as a part of the one under way.
  template <class Action>
  bool Write(Action action) {
    if (const std::lock_guard lock(mutex); !sqlite) return false;
    Enter();
    return Leave(!failed_ && umlauf::WithMemory(false, [&] { return action(*sqlite); }));
  }

 private:
  int depth_ = 0;
  bool failed_ = false;
};

template <class Result, class Action>
Result CResourceSea::Ask(Result otherwise, Action action) const {
  if (!file_) return otherwise;
  const std::lock_guard lock(file_->mutex);
  if (!file_->sqlite) return otherwise;
  return umlauf::WithMemory(std::move(otherwise), [&] { return action(*file_->sqlite); });
}

CResourceSea::CResourceSea() : file_(new (std::nothrow) File) {}
CResourceSea::CResourceSea(const CString& path, Access access) : CResourceSea() { Open(path, access); }
CResourceSea::~CResourceSea() = default;

bool CResourceSea::Open(const CString& path, Access access) {
  if (!file_) return false;
  const std::lock_guard lock(file_->mutex);
  Close();
  umlauf::HadMemory([&] { file_->Set(SettingsFile::Open(path, access == Access::readWrite)); });
  return IsOpen();
}

void CResourceSea::Close() {
  if (!file_) return;
  const std::lock_guard lock(file_->mutex);
  file_->Set(nullptr);
}

bool CResourceSea::IsOpen() const {
  return Ask(false, [](SettingsFile&) { return true; });
}

bool CResourceSea::IsReadOnly() const {
  return Ask(false, [](SettingsFile& file) { return file.ReadOnly(); });
}

CString CResourceSea::Path() const {
  return Ask(CString(), [](SettingsFile& file) { return file.Path(); });
}

std::optional<CResourceEntry> CResourceSea::FindEntry(const CString& path) {
  if (Values(path).empty()) return {};
  return CResourceEntry(*this, path);
}

std::vector<CString> CResourceSea::Paths(const CString& prefix) const {
  return Ask(std::vector<CString>(), [&prefix](SettingsFile& file) {
    std::vector<CString> paths;
    file.ReadPaths(WideToUtf8(prefix.view()), [&paths](const std::string& path) {
      paths.emplace_back(umlauf::codepages::Utf8ToWide(path));
    });
    return paths;
  });
}

std::vector<std::pair<int, int>> CResourceSea::Values(const CString& path) const {
  return Ask(std::vector<std::pair<int, int>>(), [&path](SettingsFile& file) {
    std::vector<std::pair<int, int>> values;
    file.ReadValues(WideToUtf8(path.view()), 0, kEndIndex,
                    [&values](int index, int value) { values.emplace_back(index, value); });
    return values;
  });
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
  const auto forget = [values] { std::fill(values.begin(), values.end(), std::nullopt); };
  forget();
  if (!IsRange(first, values.size())) return false;
  bool any = false;
  const auto end = first + static_cast<std::int64_t>(values.size());
  const bool read = Ask(false, [&](SettingsFile& file) {
    return file.ReadValues(WideToUtf8(path.view()), first, end, [&](int index, int value) {
      values[static_cast<std::size_t>(index - first)] = value;
      any = true;
    });
  });
  if (!read) forget();
  return read && any;
}

bool CResourceSea::LookupSetInt(const CString& path, int index, int value) {
  return LookupSetInts(path, index, {&value, 1});
}

bool CResourceSea::LookupSetInts(const CString& path, int first, std::span<const int> values) {
  return file_ && file_->Write([&](SettingsFile& file) {
    return !path.IsEmpty() && IsRange(first, values.size()) &&
           file.Write(WideToUtf8(path.view()), first, values);
  });
}

bool CResourceSea::RemoveEntry(const CString& path) {
  return file_ && file_->Write([&path](SettingsFile& file) { return file.Remove(WideToUtf8(path.view())); });
}

CResourceSea::Transaction::Transaction(CResourceSea& sea) : sea_(sea), open_(sea.file_ != nullptr) {
  if (open_) sea_.file_->Enter();
}

CResourceSea::Transaction::~Transaction() {
  if (open_) sea_.file_->Leave(false);
}

bool CResourceSea::Transaction::Commit() {
  if (!open_) return false;
  open_ = false;
  return sea_.file_->Leave(true);
}
