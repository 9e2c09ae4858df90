#include "umlauf/timemachine/TimeMachine.h"

#include <pthread.h>

#include <stdexcept>

#include "support/Test.h"

namespace {

using KxTimeMachine::CTimeCapsule;
using KxTimeMachine::CTimeMachine;

/// A source that hands out the given raw readings and stays at the last one.
auto Readings(std::vector<std::uint64_t> values) {
  return [values, next = std::size_t{0}]() mutable { return values[std::min(next++, values.size() - 1)]; };
}

TEST(TimeCapsule, ExtendsNarrowCounters) {
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  const Cases<int, int, std::vector<std::uint64_t>, std::vector<std::int64_t>> cases = {
      {8, 0, {250, 250, 4, 200, 3, 3}, {250, 250, 260, 456, 515, 515}},  // each way around adds 256 once
      {8, 4, {250, 4}, {4000, 4160}},
      {8, -1, {250, 4}, {125, 130}},
      {8, 0, {0xAB10, 0xCD20}, {0x10, 0x20}},  // bits above the counter's width are not its own
      {64, 0, {5, UINT64_MAX, 3}, {5, -1, 3}},
      {64, -1, {6, 4}, {3, least + 2}},
      {-7, 0, {1, 2}, {1, 2}},  // one bit at least
      {8, 64, {77}, {0}},
      {8, -64, {77}, {0}},
      {8, std::numeric_limits<int>::min(), {77}, {0}},
  };
  for (const auto& [bits, shift, readings, expectedTimes] : cases) {
    CTimeCapsule capsule = CTimeCapsule::ForCounter(bits, shift, Readings(readings));
    std::vector<std::int64_t> times;
    while (times.size() < expectedTimes.size()) {
      capsule.Update();
      times.push_back(capsule.Time());
    }
    EXPECT_EQ(times, expectedTimes) << bits << " bits, shift " << shift;
  }
}

TEST(TimeMachine, OneThatWasMovedFromHasNoMaster) {
  CTimeCapsule capsule = CTimeCapsule::ForCounter(32, 0, Readings({7}));
  CTimeMachine from(1.0f), to(2.0f);
  from.add({&capsule, true});
  from.poll();
  to = std::move(from);
  EXPECT_ALL(to.get_time() == 7, to.resolution() == 1.0f, from.get_time() == -1, from.empty());
  CTimeCapsule other;
  from.add({&other, false});  // must not become the master of before
  EXPECT_EQ(from.get_time(), -1);
  const CTimeMachine last(std::move(to));
  EXPECT_ALL(last.get_time() == 7, to.get_time() == -1);
}

TEST(TimeCapsule, TimeWrapsInsteadOfOverflowing) {
  CTimeCapsule capsule;
  capsule.extended_count = std::numeric_limits<std::int64_t>::max();
  capsule.base_offset = 1;
  EXPECT_EQ(capsule.Time(), std::numeric_limits<std::int64_t>::min());
  capsule.zero_point = capsule.extended_count;
  capsule.adjustment = 41;
  EXPECT_EQ(capsule.Time(), 42);
}

TEST(TimeCapsule, LinkedCapsuleSharesReadingsUnderItsOwnMask) {
  using Seen = std::pair<std::uint64_t, std::uint64_t>;
  std::vector<Seen> seen;
  CTimeCapsule master = CTimeCapsule::ForCounter(16, 0, Readings({0x51234, 0x0002}));
  CTimeCapsule linked;
  linked.master_link = &master;
  linked.raw_mask = 0xFF;
  linked.high_mask = 0;
  linked.shift = 4;
  linked.on_reading = [&](std::uint64_t shifted, std::uint64_t masked) {
    seen.emplace_back(shifted, masked);
  };
  CTimeCapsule idle;  // neither source nor link: never read
  idle.on_reading = linked.on_reading;
  CTimeMachine machine(1e-6f);
  machine.add({&idle, false});
  machine.add({&linked, false});  // before its master in the list: still read after it
  machine.add({&master, true});
  machine.poll();
  EXPECT_EQ(linked.Time(), 0x1234 | 0x340);
  machine.poll();
  EXPECT_EQ(linked.Time(), 0x10002 | 0x20);
  EXPECT_THAT(seen, ElementsAre(Seen(0x340, 0x34), Seen(0x20, 2)));
}

TEST(TimeCapsule, LaterCorrectionsAreRateLimitedWithRemainder) {
  CTimeCapsule capsule;
  capsule.rate = 0.25;
  const Cases<std::int64_t, std::int64_t, std::int64_t> cases = {
      {100, 100, 0}, {10, 102, 2}, {0, 102, 2}, {3, 103, 1}, {-9, 101, 0}};
  for (const auto& [delta, adjustment, remainder] : cases) {
    capsule.Align(delta);
    EXPECT_EQ(std::pair(capsule.adjustment, capsule.remainder), std::pair(adjustment, remainder));
  }
  for (const double rate : {0.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    capsule.rate = rate;
    capsule.remainder = 0;
    capsule.Align(7);
    capsule.Align(5);
    EXPECT_EQ(std::pair(capsule.adjustment, capsule.remainder),
              std::pair(std::int64_t{101}, std::int64_t{12}));
  }
}

TEST(TimeMachine, ListKeepsOneMaster) {
  CTimeCapsule a;
  CTimeCapsule b;
  b.extended_count = 5;
  CTimeMachine machine(0.5f);
  EXPECT_ALL(machine.get_time() == -1, machine.get(0) == nullptr, machine.add({&a, true}) == 0,
             machine.add({&b, true}) == 1, !machine.get(0)->master, machine.get_time() == 5,
             machine.erase(-1) == machine.end(), machine.erase(2) == machine.end(),
             machine.erase(0)->capsule == &b);
  EXPECT_EQ(machine.get_time(), -1);           // the master index still points behind the list
  EXPECT_EQ(machine.add({nullptr, true}), 1);  // just there
  EXPECT_ALL(machine.get(1)->master, machine.get_time() == -1);
  for (int i = 1; i < 20; ++i) machine.add(*machine.get(i));  // copies of an item that moves
  EXPECT_ALL(machine.get(20)->master, !machine.get(19)->master);
  machine.clear();
  EXPECT_ALL(machine.empty(), machine.begin() == machine.end(), machine.resolution() == 0.5f);
}

TEST(TimeMachine, AlignsCapsulesToTheMaster) {
  // Each pass of the alignment reads the master twice; it advances by 20 in the first and by 2 from then on.
  std::uint64_t masterCount = 990;
  std::uint64_t otherCount = 40;
  int resets = 0;
  CTimeCapsule master =
      CTimeCapsule::ForCounter(32, 0, [&] { return masterCount += masterCount < 1020 ? 10 : 1; });
  CTimeCapsule other = CTimeCapsule::ForCounter(16, 0, [&] { return otherCount; });
  CTimeCapsule linked;
  linked.master_link = &master;
  linked.high_mask = 0;
  master.zero_point = 300;
  other.base_offset = 7;
  other.on_reset = [&] { ++resets; };
  CTimeMachine machine(1);
  for (CTimeCapsule* c : {&master, &other, &linked}) machine.add({c, c == &master});
  EXPECT_ALL(machine.capsule_set(), !machine.adjust_pending());
  EXPECT_EQ(other.Time(), 1020);      // the master's time before the last poll, without its zero point
  EXPECT_EQ(linked.adjustment, -21);  // its reading in the last poll was 1021, the very first one 1000
  EXPECT_EQ(machine.get_time(), 1022 - 300);
  otherCount = 90;
  EXPECT_ALL(machine.capsule_set(), other.Time() == 1020);  // nothing pending: nothing is read
  machine.add({nullptr, false});
  EXPECT_ALL(machine.adjust_pending(), machine.capsule_set(), other.Time() == machine.get_time() - 2 + 300);
  machine.reset_adj();
  EXPECT_ALL(machine.adjust_pending(), resets == 1, master.Time() == 0, other.Time() == 7,
             !other.adjustment_valid);
  machine.capsule_set();
  EXPECT_EQ(other.Time(), machine.get_time() - 2);
}

TEST(TimeMachine, UnsettledMasterLeavesOffsetsAlone) {
  std::uint64_t count = 0;
  int polls = 0;
  CTimeCapsule master;
  master.source = [&] { return count += 2; };  // 4 a pass: above the threshold 2
  CTimeCapsule other;
  other.source = [&] { return static_cast<std::uint64_t>(++polls); };
  CTimeMachine machine(1);
  machine.add({&master, true});
  machine.add({&other, false});
  EXPECT_ALL(!machine.capsule_set(), polls == 10, machine.adjust_pending(), !other.adjustment_valid);
  master.shift = 1;  // threshold 4 counts, but a pass now advances 8
  EXPECT_FALSE(machine.capsule_set());
  master.source = [&] { return ++count; };  // 4 counts
  EXPECT_ALL(machine.capsule_set(), other.adjustment_valid);
}

TEST(TimeMachine, PriorityComesBackAlsoWhenACallbackThrows) {
  const auto priority = [] {
    int policy = 0;
    sched_param parameters{};
    pthread_getschedparam(pthread_self(), &policy, &parameters);
    return std::pair(policy, parameters.sched_priority);
  };
  const auto before = priority();
  CTimeCapsule master;
  master.source = []() -> std::uint64_t { throw std::runtime_error("source"); };
  CTimeMachine machine(1);
  machine.add({&master, true});
  EXPECT_THROW(machine.capsule_set(), std::runtime_error);
  EXPECT_EQ(priority(), before);
}

}  // namespace
