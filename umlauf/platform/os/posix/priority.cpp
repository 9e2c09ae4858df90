#include <pthread.h>
#include <sched.h>

#include "umlauf/platform/os/os.h"

namespace umlauf::os {

TimeCriticalPriority::TimeCriticalPriority() {
  sched_param parameters{};
  if (pthread_getschedparam(pthread_self(), &oldPolicy_, &parameters) != 0) return;
  oldPriority_ = parameters.sched_priority;
  parameters.sched_priority = sched_get_priority_max(SCHED_FIFO);
  raised_ = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0;
}

TimeCriticalPriority::~TimeCriticalPriority() {
  if (!raised_) return;
  sched_param parameters{};
  parameters.sched_priority = oldPriority_;
  pthread_setschedparam(pthread_self(), oldPolicy_, &parameters);
}

}  // namespace umlauf::os
