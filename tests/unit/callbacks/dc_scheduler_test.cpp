// The timer that runs the stack. The stack's two functions are this program's own, which takes them
// in place of the software stack's, so that every answer can be given.

#include "vantacore/dc_scheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "device/base/timer_loop.h"
#include "stack/sms.h"
#include "tests/support/trace_capture.h"

namespace {

struct FakeStack {
  int sleep = -1;                // what each run answers
  std::vector<unsigned> runsAt;  // milliseconds
  std::function<void()> duringRun;
  std::vector<std::string> components;
};

FakeStack* stack = nullptr;
const Tarsel::VirtualLoop* clockOfStack = nullptr;

}  // namespace

extern "C" void smsi_init(char* components) {
  stack->components.push_back(components);
  // The text is the caller's to lend and the stack's to write to.
  std::memset(components, 'x', std::strlen(components));
}

extern "C" int nbb_scheduler(void) {
  stack->runsAt.push_back(static_cast<unsigned>(clockOfStack->Now() / 1000));
  if (stack->duringRun) {
    stack->duringRun();
  }
  return stack->sleep;
}

namespace {

using Tarsel::DcScheduler;
using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

class StackScheduler : public testing::Test {
 protected:
  StackScheduler() {
    stack = &fake;
    clockOfStack = &loop;
    Tarsel::TimerLoop::SetCurrent(&loop);
  }

  // The delay that the scheduler chooses when the stack answers so.
  unsigned DelayAfter(int answer) {
    DcScheduler scheduler;
    fake.sleep = answer;
    scheduler.OnTimeout(0, nullptr);
    fake.runsAt.clear();
    const auto before = static_cast<unsigned>(loop.Now() / 1000);
    return loop.RunNext() ? static_cast<unsigned>(loop.Now() / 1000) - before : 0;
  }

  Tarsel::VirtualLoop loop;
  FakeStack fake;
  test_support::TraceCapture traces;
};

TEST_F(StackScheduler, LogsItsLife) {
  {
    const DcScheduler scheduler;
    EXPECT_THAT(traces.Take(), ElementsAre("10:Creating DC Scheduler\n"));
  }
  EXPECT_THAT(traces.Take(), ElementsAre("10:Deleting DC Scheduler\n"));
}

TEST_F(StackScheduler, StartsIdle) {
  const DcScheduler scheduler;
  EXPECT_FALSE(scheduler.IsRescheduled());
  EXPECT_FALSE(loop.RunNext());
}

TEST_F(StackScheduler, InitStartsTheComponentsAndArmsNothing) {
  DcScheduler scheduler;
  traces.Take();
  scheduler.init();
  EXPECT_THAT(fake.components, ElementsAre("ripv2 ripng bgp ospf ospfv3 igmp pim"));
  EXPECT_THAT(traces.Take(), ElementsAre("10:Starting Metaswitch\n"));
  EXPECT_THAT(fake.runsAt, IsEmpty());
  EXPECT_FALSE(loop.RunNext());
}

TEST_F(StackScheduler, InitGivesTheTextAnewEachTime) {
  DcScheduler scheduler;
  scheduler.init();
  scheduler.init();
  EXPECT_EQ(fake.components, Lines(2, "ripv2 ripng bgp ospf ospfv3 igmp pim"));
}

TEST_F(StackScheduler, TimerRunsTheStackWhenItExpires) {
  DcScheduler scheduler;
  traces.Take();
  scheduler.StartTimer(30);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Starting Scheduler Timer for 30 ms\n"));
  loop.AdvanceMilliseconds(29);
  EXPECT_THAT(fake.runsAt, IsEmpty());
  loop.AdvanceMilliseconds(1);
  EXPECT_THAT(fake.runsAt, ElementsAre(30U));
  EXPECT_EQ(traces.Take(), (Lines{"10:Scheduling Timer Expired!!! Scheduling Metaswitch\n",
                                  "10:Starting Scheduler Timer for 100 ms\n"}));
}

TEST_F(StackScheduler, DelayIsLoggedWithASign) {
  DcScheduler scheduler;
  traces.Take();
  scheduler.StartTimer(3000000000U);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Starting Scheduler Timer for -1294967296 ms\n"));
}

TEST_F(StackScheduler, NextDelayFollowsTheStacksAnswerWithinBounds) {
  EXPECT_EQ(DelayAfter(-1), 100U);
  EXPECT_EQ(DelayAfter(-2147483647 - 1), 100U);
  EXPECT_EQ(DelayAfter(0), 10U);
  EXPECT_EQ(DelayAfter(9), 10U);
  EXPECT_EQ(DelayAfter(10), 10U);
  EXPECT_EQ(DelayAfter(11), 11U);
  EXPECT_EQ(DelayAfter(250), 250U);
}

TEST_F(StackScheduler, ThereIsNoUpperBound) {
  EXPECT_EQ(DelayAfter(3600000), 3600000U);
  EXPECT_EQ(DelayAfter(2147483647), 2147483647U);
}

TEST_F(StackScheduler, IdleStackIsPolledFromTheFirstArmingOn) {
  DcScheduler scheduler;
  scheduler.RescheduleNBase();
  loop.AdvanceMilliseconds(305);
  EXPECT_THAT(fake.runsAt, ElementsAre(5U, 105U, 205U, 305U));
}

TEST_F(StackScheduler, RequestArmsForFiveMilliseconds) {
  DcScheduler scheduler;
  traces.Take();
  scheduler.RescheduleNBase();
  EXPECT_TRUE(scheduler.IsRescheduled());
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Rescheduling Metaswitch\n", "10:Starting Scheduler Timer for 5 ms\n"}));
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fake.runsAt, ElementsAre(5U));
  EXPECT_FALSE(scheduler.IsRescheduled());
}

TEST_F(StackScheduler, SecondRequestOnlyLogsAndKeepsTheExpiry) {
  DcScheduler scheduler;
  scheduler.RescheduleNBase();
  loop.AdvanceMilliseconds(3);
  traces.Take();
  scheduler.RescheduleNBase();
  EXPECT_THAT(traces.Take(), ElementsAre("10:Rescheduling Metaswitch\n"));
  loop.AdvanceMilliseconds(2);
  EXPECT_THAT(fake.runsAt, ElementsAre(5U));
}

TEST_F(StackScheduler, TwoRequestsStartTheTimerOnce) {
  DcScheduler scheduler;
  scheduler.RescheduleNBase();
  scheduler.RescheduleNBase();
  EXPECT_EQ(traces.CountOf("10:Rescheduling Metaswitch\n"), 2U);
  EXPECT_EQ(traces.CountOf("10:Starting Scheduler Timer for 5 ms\n"), 1U);
}

TEST_F(StackScheduler, RequestBringsALaterExpiryForward) {
  DcScheduler scheduler;
  fake.sleep = 250;
  scheduler.StartTimer(1);
  loop.AdvanceMilliseconds(1);
  scheduler.RescheduleNBase();
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fake.runsAt, ElementsAre(1U, 6U));
  loop.AdvanceMilliseconds(250);
  EXPECT_THAT(fake.runsAt, ElementsAre(1U, 6U, 256U));
}

TEST_F(StackScheduler, RequestFromInsideARunKeepsItsTimer) {
  DcScheduler scheduler;
  fake.sleep = 250;
  fake.duringRun = [&] {
    fake.duringRun = nullptr;
    EXPECT_FALSE(scheduler.IsRescheduled());
    scheduler.RescheduleNBase();
  };
  scheduler.StartTimer(1);
  traces.Take();
  loop.AdvanceMilliseconds(1);
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Scheduling Timer Expired!!! Scheduling Metaswitch\n",
                   "10:Rescheduling Metaswitch\n", "10:Starting Scheduler Timer for 5 ms\n",
                   "10:No starting next scheduler timer !!! since Metaswitch restarted it for some "
                   "action\n"}));
  EXPECT_TRUE(scheduler.IsRescheduled());
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fake.runsAt, ElementsAre(1U, 6U));
  EXPECT_FALSE(scheduler.IsRescheduled());
}

TEST_F(StackScheduler, ArgumentsOfTheExpiryAreIgnored) {
  DcScheduler scheduler;
  int something = 0;
  scheduler.OnTimeout(4294967295U, &something);
  EXPECT_EQ(fake.runsAt.size(), 1U);
}

TEST_F(StackScheduler, ImmediateRunTouchesNeitherTimerNorFlag) {
  DcScheduler scheduler;
  fake.sleep = 0;
  traces.Take();
  scheduler.SchedNBase();
  EXPECT_EQ(fake.runsAt.size(), 1U);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Scheduling Metaswitch\n"));
  EXPECT_FALSE(scheduler.IsRescheduled());
  EXPECT_FALSE(loop.RunNext());

  scheduler.RescheduleNBase();
  loop.AdvanceMilliseconds(3);
  scheduler.SchedNBase();
  EXPECT_TRUE(scheduler.IsRescheduled());
  loop.AdvanceMilliseconds(2);
  EXPECT_THAT(fake.runsAt, ElementsAre(0U, 3U, 5U));
}

TEST_F(StackScheduler, EveryRunIsAnnouncedBeforeItBegins) {
  DcScheduler scheduler;
  Lines announced;
  fake.duringRun = [&] { announced = traces.Take(); };
  traces.Take();
  scheduler.SchedNBase();
  EXPECT_THAT(announced, ElementsAre("10:Scheduling Metaswitch\n"));
  traces.Take();
  scheduler.OnTimeout(0, nullptr);
  EXPECT_THAT(announced, ElementsAre("10:Scheduling Timer Expired!!! Scheduling Metaswitch\n"));
}

TEST_F(StackScheduler, DestroyedSchedulerNoLongerRunsTheStack) {
  {
    DcScheduler scheduler;
    scheduler.RescheduleNBase();
  }
  loop.AdvanceMilliseconds(1000);
  EXPECT_THAT(fake.runsAt, IsEmpty());
}

}  // namespace
