#include "umlauf/platform/tramsea/CResourceEntry.h"

#include "umlauf/platform/tramsea/CResourceSea.h"

int CResourceEntry::LookupInt(int index, int missing) const { return sea_->LookupInt(path_, index, missing); }

bool CResourceEntry::LookupInts(int first, std::span<std::optional<int>> values) const {
  return sea_->LookupInts(path_, first, values);
}

bool CResourceEntry::LookupSetInt(int index, int value) const {
  return sea_->LookupSetInt(path_, index, value);
}

bool CResourceEntry::LookupSetInts(int first, std::span<const int> values) const {
  return sea_->LookupSetInts(path_, first, values);
}
