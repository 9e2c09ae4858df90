#include "umlauf/platform/os/os.h"
#include "umlauf/platform/os/windows/Windows.h"

namespace umlauf::os {

TimeCriticalPriority::TimeCriticalPriority() {
  oldPriority_ = GetThreadPriority(GetCurrentThread());
  raised_ = oldPriority_ != THREAD_PRIORITY_ERROR_RETURN &&
            SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL) != 0;
}

TimeCriticalPriority::~TimeCriticalPriority() {
  if (raised_) SetThreadPriority(GetCurrentThread(), oldPriority_);
}

}  // namespace umlauf::os
