#include "umlauf/platform/tramsea/PrWin.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace PrWin {
namespace {

void WriteToStandardError(int, int, const CString& text) { std::fputs(text.ToUtf8().c_str(), stderr); }

struct Log {
  std::mutex mutex;
  Sink sink = WriteToStandardError;
};

Log& TheLog() {
  static Log log;
  return log;
}

}  // namespace

Sink SetSink(Sink sink) {
  Log& log = TheLog();
  const std::lock_guard lock(log.mutex);
  return std::exchange(log.sink, sink ? std::move(sink) : Sink(WriteToStandardError));
}

void OutputV(int category, int style, const wchar_t* format, std::initializer_list<FormatArg> args) {
  CString text;
  text.FormatV(format, args);
  Log& log = TheLog();
  const std::lock_guard lock(log.mutex);
  log.sink(category, style, text);
}

}  // namespace PrWin
