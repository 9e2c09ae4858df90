#include "umlauf/platform/tramsea/PrWin.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <utility>

#include "umlauf/platform/memory/Immortal.h"
#include "umlauf/platform/memory/WithoutMemory.h"

namespace PrWin {
namespace {

void WriteToStandardError(int, int, const CString& text) { std::fputs(text.ToUtf8().c_str(), stderr); }

struct Log {
  std::mutex mutex;
  std::shared_ptr<const Sink> sink;  // null: the default
};

Log& TheLog() {
  static umlauf::Immortal<Log> log;
  return log.object;
}

/// True while this thread is in the sink, whose own messages must not come back to it.
thread_local bool t_inSink = false;

}  // namespace

Sink SetSink(Sink sink) {
  std::shared_ptr<const Sink> next;
  Sink before;
  const bool made = umlauf::HadMemory([&] {
    if (sink) next = std::make_shared<const Sink>(std::move(sink));
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    before = log.sink ? *log.sink : Sink(WriteToStandardError);
    log.sink.swap(next);
  });
  return made ? before : Sink();
}

void OutputV(int category, int style, const wchar_t* format, std::initializer_list<FormatArg> args) {
  CString text;
  text.FormatV(format, args);
  std::shared_ptr<const Sink> sink;
  if (!t_inSink) {
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    sink = log.sink;
  }
  if (sink == nullptr) return WriteToStandardError(category, style, text);
  struct InSink {
    InSink() { t_inSink = true; }
    ~InSink() { t_inSink = false; }
  } const inSink;
  (*sink)(category, style, text);
}

}  // namespace PrWin
