#pragma once

#include <cstddef>

#include "umlauf/can/internal/CanDescription.h"

namespace umlauf::can {

/// How the bytes of a document are encoded.
enum class KcdEncoding {
  declared,  ///< as the document tells
  wide,      ///< wchar_t of the platform
};

/// Reads a KCD network definition: all messages of all buses, with the signals that can be decoded. What
/// cannot be used is left out and noted in the log. False, with a note and an empty description, when the
/// document is no XML, is no network definition, or memory runs out.
bool ReadKcd(const void* bytes, std::size_t size, KcdEncoding encoding, bool bigEndianOffsetIsMostSignificant,
             Description& description);

}  // namespace umlauf::can
