#pragma once

#include <array>
#include <bitset>
#include <set>
#include <utility>

#include "umlauf/Export.h"
#include "umlauf/keys/Clavis.h"

/// The values that occur for each of the six fields of keys, and the pairs of instrument and parameter and of
/// location and channel that occur. The value -1 stands for all values, also within a pair. The sets count
/// nothing: a value that two keys brought goes when it is removed once.
///
/// A key comes as its six fields (`key.Field()`). Without memory a copy is empty, what adds leaves out what
/// finds no place, and `&=` changes nothing.
class UMLAUF_API CClavisSet {
 public:
  using Values = std::set<int>;
  using Pairs = std::set<std::pair<int, int>>;
  /// Bits 0-5: the kinds; the two pair sets follow.
  using Kinds = std::bitset<Clavis::fieldCount + 2>;
  static constexpr std::size_t instrParamBit = Clavis::fieldCount;
  static constexpr std::size_t locaChanBit = Clavis::fieldCount + 1;

  CClavisSet() = default;
  CClavisSet(const CClavisSet& other) { *this = other; }
  CClavisSet(CClavisSet&&) noexcept = default;
  CClavisSet& operator=(const CClavisSet& other);
  CClavisSet& operator=(CClavisSet&&) noexcept = default;

  /// The values of a kind (`Clavis::qOrder`); an empty set for a kind that is no field of a key.
  const Values& ElementSet(unsigned kind) const;
  const Values& operator[](unsigned kind) const { return ElementSet(kind); }
  /// (instrument, parameter)
  const Pairs& InstrParamSet() const { return sets_.instrParam; }
  /// (location, channel)
  const Pairs& LocaChanSet() const { return sets_.locaChan; }

  /// Adds each field to the set of its kind, and the two pairs. With all true a field that is not set (-1)
  /// goes in as well, so that the set holds all values of that kind; with all false it, and a pair with it,
  /// is left out.
  void insert(const int* fields, bool all);
  /// Adds one value to the set of one kind; -1 makes it hold all values of that kind. Nothing for a kind that
  /// is no field of a key.
  void insertElement(unsigned kind, int value);
  /// Add one pair, and nothing to the sets of the kinds.
  void insertInstrPar(int instrument, int parameter);
  void insertLocaChan(int location, int channel);
  void clear() { *this = {}; }

  /// The set holds the value, or all values. False for a kind that is no field of a key.
  bool contains(unsigned kind, int value) const;
  bool containsInstrPar(int instrument, int parameter) const;
  bool containsLocaChan(int location, int channel) const;

  /// Adds one key: `insert(fields, false)`.
  CClavisSet& operator+=(const int* fields);
  /// Removes what `+=` of the same key adds. What is covered by "all values" stays covered.
  CClavisSet& operator-=(const int* fields);
  /// The key lies in the set: every field that is set, and both pairs where both their fields are.
  bool operator&&(const int* fields) const;
  /// Keeps, per kind and for the pairs, what both sets contain; "all values" lets through what the other has.
  CClavisSet& operator&=(const CClavisSet& other);
  /// Adds all values and pairs of the other set.
  CClavisSet& operator|=(const CClavisSet& other);

  /// The kinds and pair sets of which `other` holds something that is not contained here; no bit is set when
  /// this set covers the other.
  Kinds completeness_check(const CClavisSet& other) const;
  /// `set` covers everything in `required`.
  static bool CheckForCompleteness(const CClavisSet& set, const CClavisSet& required) {
    return set.completeness_check(required).none();
  }

 private:
  struct Sets {
    std::array<Values, Clavis::fieldCount> values;
    Pairs instrParam;
    Pairs locaChan;
  };
  Sets sets_;
};
