#pragma once

#include <optional>
#include <span>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

class CResourceSea;

/// One entry of a settings database by its path, whether it holds values yet or not. It refers to the
/// database, which must outlive it, and holds no values of its own: every call reads or writes the database.
class UMLAUF_API CResourceEntry {
 public:
  CResourceEntry(CResourceSea& sea, CString path) : sea_(&sea), path_(std::move(path)) {}

  const CString& Path() const { return path_; }
  CResourceSea& Sea() const { return *sea_; }

  /// See the functions of the same names in CResourceSea.
  int LookupInt(int index, int missing) const;
  bool LookupInts(int first, std::span<std::optional<int>> values) const;
  bool LookupSetInt(int index, int value) const;
  bool LookupSetInts(int first, std::span<const int> values) const;

 private:
  CResourceSea* sea_;
  CString path_;
};
