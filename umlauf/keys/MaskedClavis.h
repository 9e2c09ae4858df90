#pragma once

#include <bitset>
#include <compare>

#include "umlauf/Export.h"
#include "umlauf/keys/Clavis.h"
#include "umlauf/platform/framework/CString.h"

class CResourceEntry;
class CResourceSea;

/// A key in which only the fields count whose bit is set in a mask: bit i stands for field i. The other
/// fields are kept and ignored.
class UMLAUF_API CMaskedClavis {
 public:
  static constexpr int N = Clavis::fieldCount;
  using Mask = std::bitset<N>;
  static constexpr Mask default_mask{(1u << N) - 1};

  /// A key that is not set.
  explicit CMaskedClavis(Mask mask = default_mask) : mask_(mask) {}
  explicit CMaskedClavis(const CClavis& key, Mask mask = default_mask) : key_(key), mask_(mask) {}
  explicit CMaskedClavis(const CClavisPODOwnerInterface& key, Mask mask = default_mask)
      : key_(key), mask_(mask) {}
  CMaskedClavis(const CMaskedClavis&) = default;
  CMaskedClavis& operator=(const CMaskedClavis&) = default;
  /// Takes the key; the mask stays.
  CMaskedClavis& operator=(const CClavis& key) {
    key_ = key;
    return *this;
  }

  CClavis& Base() { return key_; }
  const CClavis& Base() const { return key_; }
  Mask& GetMask() { return mask_; }
  Mask GetMask() const { return mask_; }

  /// Equal when the masks are equal and every field in the mask is.
  bool operator==(const CMaskedClavis& other) const { return (*this <=> other) == 0; }
  /// Orders by the mask as a number, then by the fields in the mask in field order, as signed integers.
  std::weak_ordering operator<=>(const CMaskedClavis& other) const;

  /// Reads from a settings entry: value 0 is the mask, of which six bits count; the values 1, 2, ... are the
  /// fields in the mask, in field order. What the entry does not hold stays as it is. Returns the number of
  /// values that this key takes there: one more than fields in the mask.
  int Read(const CResourceEntry& entry);
  int Read(const CString& path, CResourceSea& sea);
  /// Writes what `Read` reads, all or nothing; further values of the entry stay. Returns the number of values
  /// written, 0 on failure.
  int Write(const CResourceEntry& entry) const;
  int Write(const CString& path, CResourceSea& sea) const;

 private:
  CClavis key_;
  Mask mask_;
};
