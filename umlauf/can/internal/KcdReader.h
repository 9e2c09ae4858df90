#pragma once

#include <cstddef>

#include "umlauf/can/internal/CanDescription.h"

namespace umlauf::can {

/// How the bytes of a document are encoded.
enum class KcdEncoding {
  declared,  ///< as the document tells
  wide,      ///< wchar_t of the platform
};

/// What the offset of a big-endian signal is.
enum class KcdBigEndianOffset {
  mostSignificantFromTop,  ///< of the most significant bit, counted from bit 7 of byte 0 downwards
  mostSignificantBit,      ///< of the most significant bit, bit 8 b + k as in the data
  leastSignificantBit,     ///< of the least significant bit, bit 8 b + k as in the data
};

struct KcdOptions {
  KcdEncoding encoding = KcdEncoding::declared;
  KcdBigEndianOffset offset = KcdBigEndianOffset::mostSignificantFromTop;
  CString bus;  ///< empty = all buses
};

/// Reads a KCD network definition: all messages of the buses wanted, with the signals that can be decoded.
/// What cannot be used is left out and noted in the log. False, with a note and an empty description, when
/// the document is no XML, is no network definition, has no such bus, has buses with different messages of
/// one identifier of which none was chosen, or memory runs out.
bool ReadKcd(const void* bytes, std::size_t size, const KcdOptions& options, Description& description);

}  // namespace umlauf::can
