#include "umlauf/keys/ClavisSet.h"

#include <algorithm>
#include <optional>
#include <vector>

using Clavis::notSet;
using Values = CClavisSet::Values;
using Pairs = CClavisSet::Pairs;
using Pair = Pairs::value_type;

namespace {

Pair InstrParamOf(const int* fields) { return {fields[Clavis::qInstrument], fields[Clavis::qInstrParam]}; }
Pair LocaChanOf(const int* fields) { return {fields[Clavis::qLocation], fields[Clavis::qChannel]}; }

bool IsPattern(const Pair& pair) { return pair.first == notSet || pair.second == notSet; }

bool Contains(const Values& values, int value) { return values.contains(notSet) || values.contains(value); }

bool Contains(const Pairs& pairs, const Pair& pair) {
  return pairs.contains(pair) || pairs.contains({pair.first, notSet}) ||
         pairs.contains({notSet, pair.second}) || pairs.contains({notSet, notSet});
}

template <class Set>
bool Covers(const Set& set, const Set& required) {
  return std::all_of(required.begin(), required.end(), [&set](const auto& e) { return Contains(set, e); });
}

/// What both sets contain, out of what either holds.
template <class Set>
Set Common(const Set& a, const Set& b) {
  Set common;
  for (const auto& e : a) {
    if (Contains(b, e)) common.insert(e);
  }
  for (const auto& e : b) {
    if (Contains(a, e)) common.insert(e);
  }
  return common;
}

/// The value that both stand for.
std::optional<int> Meet(int a, int b) {
  if (a == notSet) return b;
  return b == notSet || a == b ? std::optional(a) : std::nullopt;
}

/// Two patterns such as (-1, 3) and (2, -1) meet in a pair that neither set holds.
void AddMeetingsOfPatterns(const Pairs& a, const Pairs& b, Pairs& common) {
  std::vector<Pair> patterns;
  std::copy_if(b.begin(), b.end(), std::back_inserter(patterns), IsPattern);
  for (const Pair& one : a) {
    if (!IsPattern(one)) continue;
    for (const Pair& other : patterns) {
      const auto first = Meet(one.first, other.first);
      const auto second = Meet(one.second, other.second);
      if (first && second) common.emplace(*first, *second);
    }
  }
}

Pairs CommonPairs(const Pairs& a, const Pairs& b) {
  Pairs common = Common(a, b);
  AddMeetingsOfPatterns(a, b, common);
  return common;
}

}  // namespace

const Values& CClavisSet::ElementSet(unsigned kind) const {
  static const Values none;
  return kind < values_.size() ? values_[kind] : none;
}

void CClavisSet::insert(const int* fields, bool all) {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    if (all || fields[i] != notSet) values_[i].insert(fields[i]);
  }
  if (all || !IsPattern(InstrParamOf(fields))) instrParam_.insert(InstrParamOf(fields));
  if (all || !IsPattern(LocaChanOf(fields))) locaChan_.insert(LocaChanOf(fields));
}

bool CClavisSet::contains(unsigned kind, int value) const { return Contains(ElementSet(kind), value); }

bool CClavisSet::containsInstrPar(int instrument, int parameter) const {
  return Contains(instrParam_, {instrument, parameter});
}

bool CClavisSet::containsLocaChan(int location, int channel) const {
  return Contains(locaChan_, {location, channel});
}

CClavisSet& CClavisSet::operator+=(const int* fields) {
  insert(fields, false);
  return *this;
}

CClavisSet& CClavisSet::operator-=(const int* fields) {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    if (fields[i] != notSet) values_[i].erase(fields[i]);
  }
  if (!IsPattern(InstrParamOf(fields))) instrParam_.erase(InstrParamOf(fields));
  if (!IsPattern(LocaChanOf(fields))) locaChan_.erase(LocaChanOf(fields));
  return *this;
}

bool CClavisSet::operator&&(const int* fields) const {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    if (fields[i] != notSet && !Contains(values_[i], fields[i])) return false;
  }
  const Pair instrParam = InstrParamOf(fields);
  const Pair locaChan = LocaChanOf(fields);
  return (IsPattern(instrParam) || Contains(instrParam_, instrParam)) &&
         (IsPattern(locaChan) || Contains(locaChan_, locaChan));
}

CClavisSet& CClavisSet::operator&=(const CClavisSet& other) {
  for (std::size_t i = 0; i < values_.size(); ++i) values_[i] = Common(values_[i], other.values_[i]);
  instrParam_ = CommonPairs(instrParam_, other.instrParam_);
  locaChan_ = CommonPairs(locaChan_, other.locaChan_);
  return *this;
}

CClavisSet& CClavisSet::operator|=(const CClavisSet& other) {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    values_[i].insert(other.values_[i].begin(), other.values_[i].end());
  }
  instrParam_.insert(other.instrParam_.begin(), other.instrParam_.end());
  locaChan_.insert(other.locaChan_.begin(), other.locaChan_.end());
  return *this;
}

CClavisSet::Kinds CClavisSet::completeness_check(const CClavisSet& other) const {
  Kinds missing;
  for (std::size_t i = 0; i < values_.size(); ++i) missing[i] = !Covers(values_[i], other.values_[i]);
  missing[instrParamBit] = !Covers(instrParam_, other.instrParam_);
  missing[locaChanBit] = !Covers(locaChan_, other.locaChan_);
  return missing;
}
