#pragma once

#include <stdexcept>

#include "umlauf/Export.h"

/// An argument that a container cannot accept, such as a null position: the one exception of the library.
class UMLAUF_API CInvalidArgException : public std::invalid_argument {
 public:
  CInvalidArgException() : std::invalid_argument("An invalid argument was encountered.") {}
  CInvalidArgException(const CInvalidArgException&) = default;
  CInvalidArgException& operator=(const CInvalidArgException&) = default;
  ~CInvalidArgException() override;
};

[[noreturn]] UMLAUF_API void AfxThrowInvalidArgException();
