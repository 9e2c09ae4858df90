#pragma once

#include <functional>

#include "umlauf/signal/SigCurveExt.h"

/// Runs `use` again and again, the k-th allocation failing for every k, alone and with all that follow it:
/// nothing may be thrown, nothing may leak, and with memory back the same calls serve again.
void EveryAllocationFails(const std::function<void()>& use);

/// Copies by construction and by assignment.
template <class T>
void Copy(const T& made) {
  T copy(made), other(copy);
  other = made;
}

/// Texts that do not fit into the room that small texts have within their object.
const CString& LongText();
const CString& LongerText();

/// 200 values with a long name and a unit.
CSigCurveExt LongNamedCurve();
