#include "umlauf/platform/framework/CInvalidArgException.h"

CInvalidArgException::~CInvalidArgException() = default;

void AfxThrowInvalidArgException() { throw CInvalidArgException(); }
