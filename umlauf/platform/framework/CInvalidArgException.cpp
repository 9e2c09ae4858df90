#include "umlauf/platform/framework/CInvalidArgException.h"

namespace {
// Made when the library is loaded: a copy of it needs no memory for its text.
const CInvalidArgException g_invalidArgument;
}  // namespace

CInvalidArgException::~CInvalidArgException() = default;

void AfxThrowInvalidArgException() { throw CInvalidArgException(g_invalidArgument); }
