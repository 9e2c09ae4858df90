#pragma once

#include <type_traits>

#include "umlauf/platform/framework/CFile.h"

// Fields of classic records, which lie in the file as they lie in memory (little-endian).

namespace umlauf {

/// Reads one field: true when the file held all of it. Bytes that the file no longer holds stay as they were.
template <class T>
bool ReadField(CFile& file, T& field) {
  static_assert(std::is_trivially_copyable_v<T>);
  return file.Read(&field, sizeof field) == sizeof field;
}

/// Writes one field; a failure is the file's to report (CFile::Failed).
template <class T>
void WriteField(CFile& file, const T& field) {
  static_assert(std::is_trivially_copyable_v<T>);
  file.Write(&field, sizeof field);
}

}  // namespace umlauf
