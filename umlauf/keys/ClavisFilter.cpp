#include "umlauf/keys/ClavisFilter.h"

#include <algorithm>
#include <iterator>

using Clavis::notSet;

void CClavisFilter::append(const SClavis& key, bool flag) {
  SEntry entry{};
  std::copy(std::begin(key.field) + 1, std::end(key.field), entry.pattern);
  entry.flag = flag;
  umlauf::HadMemory([&] { entries_.push_back(entry); });
}

bool CClavisFilter::AnyField(const SEntry& entry, const SClavis& key, bool equal) {
  for (int i = 1; i < Clavis::fieldCount; ++i) {
    const int pattern = entry.pattern[i - 1];
    if (pattern != notSet && key[i] != notSet && (pattern == key[i]) == equal) return true;
  }
  return false;
}

bool CClavisFilter::FilterMatch(const CClavis& key) const {
  if (mode_ != notSet && key.Mode() != notSet && mode_ != key.Mode()) return false;
  return anyMode_ ? *this || key : *this && key;
}

bool CClavisFilter::operator||(const SClavis& key) const {
  return entries_.empty() || std::any_of(entries_.begin(), entries_.end(), [&key](const SEntry& entry) {
           return AnyField(entry, key, !entry.flag);
         });
}

bool CClavisFilter::operator&&(const SClavis& key) const {
  return std::all_of(entries_.begin(), entries_.end(),
                     [&key](const SEntry& entry) { return AnyField(entry, key, entry.flag); });
}
