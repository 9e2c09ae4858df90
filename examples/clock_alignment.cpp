// Three clocks of this machine on the time base of one of them: the monotonic clock cut to 32 bits is the
// master; the time-stamp counter, cut to 40 bits in quarters of a nanosecond, and the wall clock are aligned
// to it. Prints how far they drift from the master after the alignment.
//
//   clock_alignment [seconds]     (10 by default)

#include <umlauf/timemachine/TimeMachine.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#if defined(__x86_64__) || defined(__i386__)
#include <x86intrin.h>
#endif

using KxTimeMachine::CTimeCapsule;
using KxTimeMachine::CTimeMachine;
using namespace std::chrono_literals;

namespace {

template <class Clock>
std::uint64_t Nanoseconds() {
  const auto now = Clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

std::uint64_t TimeStamp() {
#if defined(__x86_64__) || defined(__i386__)
  return __rdtsc();
#else
  return Nanoseconds<std::chrono::high_resolution_clock>();
#endif
}

/// Time-stamp counts per nanosecond, measured against the monotonic clock.
double TimeStampRate() {
  const std::uint64_t ns = Nanoseconds<std::chrono::steady_clock>();
  const std::uint64_t counts = TimeStamp();
  std::this_thread::sleep_for(100ms);
  return static_cast<double>(TimeStamp() - counts) /
         static_cast<double>(Nanoseconds<std::chrono::steady_clock>() - ns);
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10.0;
  const double quarterNs = 4.0 / TimeStampRate();
  const std::uint64_t origin = TimeStamp();

  // Reading one clock takes tens of nanoseconds. In steps of 1024 ns the master stands still while the others
  // are read.
  CTimeCapsule monotonic =
      CTimeCapsule::ForCounter(32, 10, [] { return Nanoseconds<std::chrono::steady_clock>() >> 10; });
  CTimeCapsule timeStamp = CTimeCapsule::ForCounter(40, -2, [=] {
    return static_cast<std::uint64_t>(static_cast<double>(TimeStamp() - origin) * quarterNs);
  });
  CTimeCapsule wallClock =
      CTimeCapsule::ForCounter(64, 0, [] { return Nanoseconds<std::chrono::system_clock>(); });

  CTimeMachine machine(1e-9f);
  machine.add({&monotonic, true});
  machine.add({&timeStamp, false});
  machine.add({&wallClock, false});
  for (int attempt = 0; !machine.capsule_set(); ++attempt) {
    if (attempt == 1000) {
      std::fprintf(stderr, "The clocks did not settle: the machine is too busy.\n");
      return 1;
    }
  }

  std::printf("%10s %22s %22s\n", "time [s]", "time stamp drift [ns]", "wall clock drift [ns]");
  const std::int64_t start = machine.get_time();
  const int lines = 10;
  for (int i = 1; i <= lines; ++i) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds / lines));
    machine.poll();
    const std::int64_t now = machine.get_time();
    std::printf("%10.3f %22lld %22lld\n", static_cast<double>(now - start) * 1e-9,
                static_cast<long long>(timeStamp.Time() - now),
                static_cast<long long>(wallClock.Time() - now));
  }
  // A clock that is off by more than a millisecond a second was not aligned.
  const auto drift = [&](const CTimeCapsule& capsule) {
    return std::llabs(capsule.Time() - machine.get_time());
  };
  const auto limit = static_cast<long long>(1e6 * (seconds + 1));
  return drift(timeStamp) < limit && drift(wallClock) < limit ? 0 : 1;
}
