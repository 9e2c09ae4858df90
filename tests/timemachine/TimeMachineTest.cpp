#include "umlauf/timemachine/TimeMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <limits>
#include <stdexcept>
#include <vector>

namespace {

using KxTimeMachine::CTimeCapsule;
using KxTimeMachine::CTimeMachine;
using testing::ElementsAre;

/// A source that hands out the given raw readings and stays at the last one.
auto Readings(std::vector<std::uint64_t> values) {
  return [values, next = std::size_t{0}]() mutable { return values[std::min(next++, values.size() - 1)]; };
}

std::vector<std::int64_t> Times(CTimeCapsule capsule, int readings) {
  std::vector<std::int64_t> times;
  for (int i = 0; i < readings; ++i) {
    capsule.Update();
    times.push_back(capsule.Time());
  }
  return times;
}

TEST(TimeCapsule, ExtendsNarrowCounters) {
  // 8-bit counter: each way around adds 256 once; readings that stand still add nothing
  EXPECT_THAT(Times(CTimeCapsule::ForCounter(8, 0, Readings({250, 250, 4, 200, 3, 3})), 6),
              ElementsAre(250, 250, 260, 456, 515, 515));
  // the same, shifted left by 4 and right by 1
  EXPECT_THAT(Times(CTimeCapsule::ForCounter(8, 4, Readings({250, 4})), 2), ElementsAre(4000, 4160));
  EXPECT_THAT(Times(CTimeCapsule::ForCounter(8, -1, Readings({250, 4})), 2), ElementsAre(125, 130));
  // bits above the counter's width are not its own
  EXPECT_THAT(Times(CTimeCapsule::ForCounter(8, 0, Readings({0xAB10, 0xCD20})), 2), ElementsAre(0x10, 0x20));
  EXPECT_THAT(Times(CTimeCapsule::ForCounter(64, 0, Readings({5, UINT64_MAX})), 2), ElementsAre(5, -1));
}

TEST(TimeCapsule, ShiftsBeyondTheWidthGiveZero) {
  for (const int shift :
       {64, 65, -64, 1000, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    CTimeCapsule capsule;
    capsule.shift = shift;
    capsule.source = Readings({77});
    capsule.Update();
    EXPECT_EQ(capsule.Time(), 0) << shift;
    EXPECT_EQ(capsule.last_raw, 77u) << shift;
  }
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

TEST(TimeCapsule, ListenerSeesShiftedAndMaskedValue) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> seen;
  CTimeCapsule capsule = CTimeCapsule::ForCounter(8, 4, Readings({0x1FF}));
  capsule.on_reading = [&seen](std::uint64_t shifted, std::uint64_t masked) {
    seen.emplace_back(shifted, masked);
  };
  capsule.Update();
  EXPECT_THAT(seen, ElementsAre(std::pair<std::uint64_t, std::uint64_t>(0xFF0, 0xFF)));
  CTimeCapsule idle;
  idle.on_reading = [](std::uint64_t, std::uint64_t) { FAIL() << "neither source nor link"; };
  idle.Update();
}

TEST(TimeCapsule, LinkedCapsuleSharesReadingsUnderItsOwnMask) {
  CTimeCapsule master = CTimeCapsule::ForCounter(16, 0, Readings({0x1234, 0x0002}));
  CTimeCapsule linked;
  linked.master_link = &master;
  linked.high_mask = 0;
  linked.base_offset = 1000;
  CTimeMachine machine(1e-6f);
  machine.add({&linked, false});  // before its master in the list: still read after it
  machine.add({&master, true});
  machine.poll();
  EXPECT_EQ(linked.Time(), 0x1234 + 1000 + 0);
  machine.poll();
  EXPECT_EQ(linked.extended_count, (0x10002) | 0x0002);
}

TEST(TimeCapsule, LaterCorrectionsAreRateLimitedWithRemainder) {
  CTimeCapsule capsule;
  capsule.rate = 0.25;
  capsule.Align(100);
  EXPECT_EQ(capsule.adjustment, 100);
  const struct {
    std::int64_t delta, adjustment, remainder;
  } cases[] = {{10, 102, 2}, {0, 102, 2}, {3, 103, 1}, {-9, 101, 0}};
  for (const auto& c : cases) {
    capsule.Align(c.delta);
    EXPECT_EQ(capsule.adjustment, c.adjustment) << c.delta;
    EXPECT_EQ(capsule.remainder, c.remainder) << c.delta;
  }
  for (const double rate :
       {0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    CTimeCapsule frozen;
    frozen.rate = rate;
    frozen.adjustment_valid = true;
    frozen.Align(7);
    frozen.Align(5);
    EXPECT_EQ(frozen.adjustment, 0) << rate;
    EXPECT_EQ(frozen.remainder, 12) << rate;
  }
}

TEST(TimeMachine, ListKeepsOneMaster) {
  CTimeCapsule a;
  CTimeCapsule b;
  b.extended_count = 5;
  CTimeMachine machine(0.5f);
  EXPECT_EQ(machine.get_time(), -1);
  EXPECT_EQ(machine.get(0), nullptr);
  EXPECT_EQ(machine.add({&a, true}), 0);
  EXPECT_EQ(machine.add({&b, true}), 1);
  EXPECT_FALSE(machine.get(0)->master);
  EXPECT_EQ(machine.get_time(), 5);
  EXPECT_EQ(machine.erase(-1), machine.end());
  EXPECT_EQ(machine.erase(2), machine.end());
  EXPECT_EQ(machine.erase(0)->capsule, &b);
  EXPECT_EQ(machine.get_time(), -1);  // the master index still points behind the list
  machine.add({nullptr, true});
  EXPECT_EQ(machine.get_time(), -1);
  machine.clear();
  EXPECT_TRUE(machine.empty());
  EXPECT_EQ(machine.resolution(), 0.5f);
}

TEST(TimeMachine, AlignsCapsulesToTheMaster) {
  // Each pass of the alignment reads the master twice; it advances by 1 per reading and so settles at once.
  std::uint64_t masterCount = 1000;
  std::uint64_t otherCount = 40;
  CTimeCapsule master = CTimeCapsule::ForCounter(32, 0, [&] { return masterCount++; });
  CTimeCapsule other = CTimeCapsule::ForCounter(16, 0, [&] { return otherCount; });
  CTimeCapsule linked;
  linked.master_link = &master;
  linked.high_mask = 0;
  CTimeMachine machine(1);
  machine.add({&master, true});
  machine.add({&other, false});
  machine.add({&linked, false});
  EXPECT_TRUE(machine.capsule_set());
  EXPECT_FALSE(machine.adjust_pending());
  EXPECT_EQ(other.Time(), 1000);     // the master's time before the poll
  EXPECT_EQ(linked.adjustment, -1);  // its reading in the poll was 1001, the first one 1000
  EXPECT_EQ(machine.get_time(), 1002);
  const std::int64_t aligned = other.adjustment;
  otherCount = 90;
  EXPECT_TRUE(machine.capsule_set());  // nothing pending: nothing is read
  EXPECT_EQ(other.adjustment, aligned);
}

TEST(TimeMachine, UnsettledMasterLeavesOffsetsAlone) {
  std::uint64_t count = 0;
  int polls = 0;
  CTimeCapsule master =
      CTimeCapsule::ForCounter(32, 0, [&] { return count += 2; });  // 4 a pass: above the threshold 2
  CTimeCapsule other = CTimeCapsule::ForCounter(32, 0, [&] { return static_cast<std::uint64_t>(++polls); });
  CTimeMachine machine(1);
  machine.add({&master, true});
  machine.add({&other, false});
  EXPECT_FALSE(machine.capsule_set());
  EXPECT_EQ(polls, 10);
  EXPECT_TRUE(machine.adjust_pending());
  EXPECT_FALSE(other.adjustment_valid);
  master.shift = 1;  // threshold 4 counts, but a pass now advances 8
  master.high_mask = ~0ull;
  EXPECT_FALSE(machine.capsule_set());
  master.source = [&count] { return count; };
  EXPECT_TRUE(machine.capsule_set());
  EXPECT_TRUE(other.adjustment_valid);
}

TEST(TimeMachine, ResetClearsCountsAndTellsTheCapsules) {
  int resets = 0;
  CTimeCapsule capsule = CTimeCapsule::ForCounter(8, 0, Readings({200, 100}));
  capsule.on_reset = [&resets] { ++resets; };
  capsule.zero_point = 3;
  capsule.base_offset = 10;
  CTimeMachine machine(1);
  machine.add({&capsule, true});
  machine.add({nullptr, false});
  machine.capsule_set();
  machine.reset_adj();
  EXPECT_EQ(resets, 1);
  EXPECT_EQ(capsule.Time(), 10);
  EXPECT_TRUE(machine.adjust_pending());
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
