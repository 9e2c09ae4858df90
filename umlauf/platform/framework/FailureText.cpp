#include "umlauf/platform/framework/FailureText.h"

namespace {
const CString g_noMemory(L"there is no memory");  // made when the library is loaded
}

const CString& FailureText::NoMemory() { return g_noMemory; }
