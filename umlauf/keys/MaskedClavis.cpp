#include "umlauf/keys/MaskedClavis.h"

#include <array>
#include <optional>

#include "umlauf/platform/tramsea/CResourceSea.h"

std::weak_ordering CMaskedClavis::operator<=>(const CMaskedClavis& other) const {
  if (const auto order = mask_.to_ulong() <=> other.mask_.to_ulong(); order != 0) return order;
  for (int i = 0; i < N; ++i) {
    if (!mask_[static_cast<std::size_t>(i)]) continue;
    if (const auto order = key_[i] <=> other.key_[i]; order != 0) return order;
  }
  return std::weak_ordering::equivalent;
}

int CMaskedClavis::Read(const CResourceEntry& entry) {
  std::array<std::optional<int>, N + 1> values;
  entry.LookupInts(0, values);
  if (values[0]) mask_ = Mask(static_cast<unsigned>(*values[0]));
  std::size_t next = 1;
  for (int i = 0; i < N; ++i) {
    if (!mask_[static_cast<std::size_t>(i)]) continue;
    key_[i] = values[next++].value_or(key_[i]);
  }
  return static_cast<int>(next);
}

int CMaskedClavis::Write(const CResourceEntry& entry) const {
  std::array<int, N + 1> values{static_cast<int>(mask_.to_ulong())};
  std::size_t count = 1;
  for (int i = 0; i < N; ++i) {
    if (mask_[static_cast<std::size_t>(i)]) values[count++] = key_[i];
  }
  return entry.LookupSetInts(0, {values.data(), count}) ? static_cast<int>(count) : 0;
}

int CMaskedClavis::Read(const CString& path, CResourceSea& sea) { return Read(CResourceEntry(sea, path)); }
int CMaskedClavis::Write(const CString& path, CResourceSea& sea) const {
  return Write(CResourceEntry(sea, path));
}
