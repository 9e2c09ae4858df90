#pragma once

#include <functional>
#include <initializer_list>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

/// The application's output log. Messages have a category (what they are about) and a style (how urgent, 0 =
/// plain). Everything here may be called from every thread, also while static objects are destroyed.
namespace PrWin {

enum Category : int {
  note = 1,    ///< notes such as a gap correction that was found
  debug = 16,  ///< debug listings and messages of the unit registry
};

/// Receives each formatted message as it stands (line ends included). It is called without any lock, so it
/// may use the whole library, and by every thread that writes a message, also by several at once. What it
/// writes to the log itself goes to standard error.
using Sink = std::function<void(int category, int style, const CString& text)>;

/// Replaces the sink and returns the one before; an empty sink restores the default, which writes UTF-8 to
/// standard error. Another thread may still be in the sink before when this returns. Without memory the sink
/// stays, and an empty one is returned.
UMLAUF_API Sink SetSink(Sink sink);

UMLAUF_API void OutputV(int category, int style, const wchar_t* format,
                        std::initializer_list<FormatArg> args);

/// Writes one message, printf-style and type-safe (see CString::Format).
template <class... Args>
void Output(int category, const wchar_t* format, const Args&... args) {
  OutputV(category, 0, format, {FormatArg(args)...});
}
template <class... Args>
void Output(int category, int style, const wchar_t* format, const Args&... args) {
  OutputV(category, style, format, {FormatArg(args)...});
}

}  // namespace PrWin
