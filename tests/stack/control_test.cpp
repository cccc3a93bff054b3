// The other levers of the control header: holding, restarting, the synchronous mode, tracing, the
// dump, and stacks beside each other.

#include "control_test.h"

namespace stack_test {
namespace {

// Holding.

TEST_F(ControlTest, WhileHeldNothingIsDoneAndRequestsQueue) {
  control.Hold();
  AddInterface(10, 3);
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_FALSE(stack.IsIdle());
  host.rescheduled = false;
  host.runsAskedFor = 0;
  control.Release();
  EXPECT_EQ(1u, host.runsAskedFor);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)"));
}

TEST_F(ControlTest, AHoldFromInsideACallbackStopsTheRun) {
  host.onCall = [&](const std::string&) { control.Hold(); };
  AddInterface(10, 3);
  AddInterface(10, 4);
  RunOnce();
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)"));
}

TEST_F(ControlTest, ReleasingAnIdleStackAsksForNothing) {
  control.Hold();
  host.rescheduled = false;
  host.runsAskedFor = 0;
  control.Release();
  EXPECT_EQ(0u, host.runsAskedFor);
}

// Restarting.

TEST_F(ControlTest, ARestartForgetsTablesAndEventsAndAnnouncesReadinessAgain) {
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  sms_act_cipr_redist(1, 1, 2, 3, 10, 0);
  nbb_trips_control(1);
  RunAll();
  EXPECT_NE("", control.Dump());
  AddInterface(10, 4);
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 10), 1);
  control.RegisterDescriptor(7, 70, 1, [](int) { ADD_FAILURE() << "forgotten"; });
  host.Take();
  host.rescheduled = false;
  control.Restart();
  EXPECT_TRUE(host.rescheduled);
  EXPECT_EQ("", control.Dump());
  EXPECT_THAT(host.calls, IsEmpty());
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()"));
  InvokeCallback(7, 1);
  EXPECT_EQ("", control.Dump());
}

TEST_F(ControlTest, LostRequestsOfAScriptAndOfARestartEndOnceOnDemand) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kNever), 2);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  RunAll();
  AddInterface(10, 4);
  control.Restart();
  RunAll();
  host.Take();
  control.EndLostRequests();
  EXPECT_THAT(host.Take(), ElementsAre(::testing::StartsWith("cRunPendingAction(1"),
                                       ::testing::StartsWith("cRunPendingAction(3")));
  control.EndLostRequests();
  EXPECT_THAT(host.Take(), IsEmpty());
  EXPECT_EQ("", control.Dump());
}

TEST_F(ControlTest, WhatIsSentAgainAfterARestartGivesTheSameState) {
  const auto send = [this] {
    AddInstance(10);
    AddInterface(10, 3);
    AddAddress(10, 3, "10.1.2.3/24");
    AddRoute(10, "10.9.0.0/16", "10.1.2.1");
    RunAll();
    return control.Dump();
  };
  const std::string before = send();
  control.Restart();
  EXPECT_EQ(before, send());
}

TEST_F(ControlTest, ScriptsAndLimitsOutliveARestart) {
  control.SetLimit(RowType::kRoute, 1, 8);
  control.Script(RowType::kRoute, StatusAnswer(5), 1);
  control.Restart();
  AddInstance(10);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(5, 1, 8));
}

struct WalkResults {
  std::vector<unsigned int> results;
  std::function<void()> onRow;
};

unsigned char NoteResult(void* context, unsigned int, unsigned int result, void*) {
  WalkResults& walk = *static_cast<WalkResults*>(context);
  walk.results.push_back(result);
  if (walk.onRow && result == 1) {
    walk.onRow();
  }
  return 1;
}

TEST_F(ControlTest, RunningWalksEndWithAnErrorAtARestart) {
  AddInterface(10, 3);
  AddInterface(10, 4);
  RunAll();
  control.SetSliceEvents(1);
  WalkResults begun;
  WalkResults waiting;
  sms_get_next_i3_ei(10, &NoteResult, &begun);
  RunOnce();
  sms_get_next_rtm_rib(&NoteResult, &waiting);
  control.Restart();
  EXPECT_THAT(begun.results, ElementsAre(1));
  RunAll();
  EXPECT_THAT(begun.results, ElementsAre(1, 8));
  EXPECT_THAT(waiting.results, ElementsAre(8));
}

TEST_F(ControlTest, AWalkWhoseHandlerRestartsTheStackEndsWithAnError) {
  AddInterface(10, 3);
  AddInterface(10, 4);
  RunAll();
  WalkResults walk;
  walk.onRow = [this] { control.Restart(); };
  sms_get_next_i3_ei(10, &NoteResult, &walk);
  RunAll();
  EXPECT_THAT(walk.results, ElementsAre(1, 8));
}

TEST_F(ControlTest, ReadinessMayBeRepeated) {
  control.RepeatReady();
  control.RepeatReady();
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()", "cI3Ready()"));
}

// Synchronous mode.

TEST_F(ControlTest, InSynchronousModeTheAnswerComesInsideTheCall) {
  control.SetSynchronous(true);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_EQ(2u, host.Take().size());
  EXPECT_TRUE(stack.IsIdle());
  AddInstance(11);
  EXPECT_THAT(host.Take(), ElementsAre("cGetRtmConfig(11)", "cGetAddress(11)",
                                       "cGetVlanAddress(11)", "cSetRtmReady(11)"));
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  EXPECT_EQ(2u, Routes().size());

  WalkResults walk;
  sms_get_next_i3_ei(10, &NoteResult, &walk);
  EXPECT_THAT(walk.results, ElementsAre(1, 7));
}

TEST_F(ControlTest, InSynchronousModeStartingAnnouncesReadinessInsideTheCall) {
  routing_stack::RoutingStack another([this] { return now; });
  another.MakeCurrent();
  another.GetControl().SetSynchronous(true);
  smsi_init(nullptr);
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()"));
}

TEST_F(ControlTest, SynchronousAnswersMayRequestMore) {
  control.SetSynchronous(true);
  int depth = 0;
  int deepest = 0;
  host.onCall = [&](const std::string& call) {
    if (call == "cRunPendingAction(1:10:3)" && deepest < 50) {
      deepest = ++depth;
      SetInterface(10, 3, true);
      --depth;
    }
  };
  AddInterface(10, 3);
  EXPECT_EQ(50, deepest);
  EXPECT_EQ(51u, host.Take().size());
  EXPECT_TRUE(stack.IsIdle());
}

TEST_F(ControlTest, AHeldStackIsNotSynchronousAndCatchesUpOnRelease) {
  control.SetSynchronous(true);
  control.Hold();
  AddInterface(10, 3);
  EXPECT_THAT(host.calls, IsEmpty());
  control.Release();
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)"));
}

TEST_F(ControlTest, ASliceHasAtLeastOneEvent) {
  control.SetSliceEvents(0);
  AddInterface(11, 3);
  AddInterface(11, 4);
  EXPECT_EQ(0, RunOnce());
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_EQ(2u, host.calls.size());
}

// Tracing.

TEST_F(ControlTest, TracingIsOnOrOff) {
  EXPECT_EQ(0, nbb_get_ips_tracing());
  nbb_trips_control(1);
  EXPECT_EQ(1, nbb_get_ips_tracing());
  nbb_trips_control(0);
  EXPECT_EQ(0, nbb_get_ips_tracing());
}

TEST_F(ControlTest, FiltersAreKeptByCodeAndAnEmptyOneResets) {
  char filter[] = "3,4";
  char empty[] = "";
  nbb_set_ips_filter(filter, 6);
  nbb_set_ips_filter(filter, 1);
  nbb_set_ips_filter(empty, 1);
  EXPECT_THAT(control.Dump(), testing::StartsWith("trace filter 6 \"3,4\"\ninstance 10 "));
}

TEST_F(ControlTest, AMissingFilterIsAFailureThatIsCounted) {
  nbb_os_failures = 0;
  nbb_set_ips_filter(nullptr, 1);
  EXPECT_EQ(1u, nbb_os_failures);
}

// The dump, and stacks beside each other.

TEST_F(ControlTest, TheDumpShowsAllTables) {
  nbb_trips_control(1);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  Route(1, 2, 10, "10.8.0.0/16", "172.16.0.1", 0, 7);
  sms_act_cipr_redist(1, 2, 2, 3, 10, 0);
  RunAll();
  EXPECT_EQ(
      "trace\n"
      "instance 10 ipv4 ospf 40/110 bgp 20/200 rip 120 router-id 0.0.0.0\n"
      "interface 10/3 \"eth3\" flags 24 up mtu 1500\n"
      "address 10/3 10.1.2.3/24\n"
      "rib 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 out 3 metric 0 up fib\n"
      "rib 10 10.8.0.0/16 proto 3 via 172.16.0.1 if 0 out 0 metric 7 down\n"
      "rib 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 0 out 3 metric 1 up fib\n"
      "route 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 out 3 metric 0 up\n"
      "route 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 0 out 3 metric 1 up\n"
      "redistribution 10 2 3 down\n",
      control.Dump());
}

TEST_F(ControlTest, TheLastStackMadeCurrentGetsTheCalls) {
  {
    routing_stack::RoutingStack another([this] { return now; });
    another.MakeCurrent();
    smsi_init(nullptr);
    AddInterface(10, 7);
    RunAll();
    EXPECT_EQ(1u, another.GetControl().Interfaces().size());
    EXPECT_TRUE(control.Interfaces().empty());
    stack.MakeCurrent();
    AddInterface(10, 3);
    RunAll();
    EXPECT_EQ(3u, control.Interfaces()[0].if_index);
    another.MakeCurrent();
  }
  // Destroying the current one leaves none.
  EXPECT_EQ(-1, nbb_scheduler());
  AddInterface(10, 4);
  stack.MakeCurrent();
  RunAll();
  EXPECT_EQ(1u, control.Interfaces().size());
}

}  // namespace
}  // namespace stack_test
