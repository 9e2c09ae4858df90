#include "umlauf/keys/ClavisSet.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "umlauf/platform/memory/WithoutMemory.h"

using Clavis::notSet;
using umlauf::HadMemory;
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

CClavisSet& CClavisSet::operator=(const CClavisSet& other) {
  if (!HadMemory([&] { sets_ = Sets(other.sets_); })) sets_ = Sets();
  return *this;
}

const Values& CClavisSet::ElementSet(unsigned kind) const {
  static const Values none;
  return kind < sets_.values.size() ? sets_.values[kind] : none;
}

void CClavisSet::insert(const int* fields, bool all) {
  HadMemory([&] {
    for (std::size_t i = 0; i < sets_.values.size(); ++i) {
      if (all || fields[i] != notSet) sets_.values[i].insert(fields[i]);
    }
    if (all || !IsPattern(InstrParamOf(fields))) sets_.instrParam.insert(InstrParamOf(fields));
    if (all || !IsPattern(LocaChanOf(fields))) sets_.locaChan.insert(LocaChanOf(fields));
  });
}

void CClavisSet::insertElement(unsigned kind, int value) {
  if (kind < sets_.values.size()) HadMemory([&] { sets_.values[kind].insert(value); });
}

void CClavisSet::insertInstrPar(int instrument, int parameter) {
  HadMemory([&] { sets_.instrParam.emplace(instrument, parameter); });
}

void CClavisSet::insertLocaChan(int location, int channel) {
  HadMemory([&] { sets_.locaChan.emplace(location, channel); });
}

bool CClavisSet::contains(unsigned kind, int value) const { return Contains(ElementSet(kind), value); }

bool CClavisSet::containsInstrPar(int instrument, int parameter) const {
  return Contains(sets_.instrParam, {instrument, parameter});
}

bool CClavisSet::containsLocaChan(int location, int channel) const {
  return Contains(sets_.locaChan, {location, channel});
}

CClavisSet& CClavisSet::operator+=(const int* fields) {
  insert(fields, false);
  return *this;
}

CClavisSet& CClavisSet::operator-=(const int* fields) {
  for (std::size_t i = 0; i < sets_.values.size(); ++i) {
    if (fields[i] != notSet) sets_.values[i].erase(fields[i]);
  }
  if (!IsPattern(InstrParamOf(fields))) sets_.instrParam.erase(InstrParamOf(fields));
  if (!IsPattern(LocaChanOf(fields))) sets_.locaChan.erase(LocaChanOf(fields));
  return *this;
}

bool CClavisSet::operator&&(const int* fields) const {
  for (std::size_t i = 0; i < sets_.values.size(); ++i) {
    if (fields[i] != notSet && !Contains(sets_.values[i], fields[i])) return false;
  }
  const Pair instrParam = InstrParamOf(fields);
  const Pair locaChan = LocaChanOf(fields);
  return (IsPattern(instrParam) || Contains(sets_.instrParam, instrParam)) &&
         (IsPattern(locaChan) || Contains(sets_.locaChan, locaChan));
}

CClavisSet& CClavisSet::operator&=(const CClavisSet& other) {
  HadMemory([&] {
    Sets common;
    for (std::size_t i = 0; i < common.values.size(); ++i) {
      common.values[i] = Common(sets_.values[i], other.sets_.values[i]);
    }
    common.instrParam = CommonPairs(sets_.instrParam, other.sets_.instrParam);
    common.locaChan = CommonPairs(sets_.locaChan, other.sets_.locaChan);
    sets_ = std::move(common);
  });
  return *this;
}

CClavisSet& CClavisSet::operator|=(const CClavisSet& other) {
  HadMemory([&] {
    for (std::size_t i = 0; i < sets_.values.size(); ++i) {
      sets_.values[i].insert(other.sets_.values[i].begin(), other.sets_.values[i].end());
    }
    sets_.instrParam.insert(other.sets_.instrParam.begin(), other.sets_.instrParam.end());
    sets_.locaChan.insert(other.sets_.locaChan.begin(), other.sets_.locaChan.end());
  });
  return *this;
}

CClavisSet::Kinds CClavisSet::completeness_check(const CClavisSet& other) const {
  Kinds missing;
  for (std::size_t i = 0; i < sets_.values.size(); ++i)
    missing[i] = !Covers(sets_.values[i], other.sets_.values[i]);
  missing[instrParamBit] = !Covers(sets_.instrParam, other.sets_.instrParam);
  missing[locaChanBit] = !Covers(sets_.locaChan, other.sets_.locaChan);
  return missing;
}
