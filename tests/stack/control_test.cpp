// Every lever of the control header.

#include "stack_test.h"

namespace stack_test {
namespace {

using routing_stack::Answer;
using routing_stack::Call;
using routing_stack::RowType;

class ControlTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    RunAll();
    host.Take();
  }
  static Answer StatusAnswer(unsigned int status) {
    Answer answer;
    answer.status = status;
    return answer;
  }
  static Answer AnswerOf(Answer::Kind kind, std::uint64_t delayMs = 0) {
    Answer answer;
    answer.kind = kind;
    answer.delayMs = delayMs;
    return answer;
  }
  /// The statuses in the route answers since the last look.
  std::vector<unsigned long> Statuses() {
    RunAll();
    std::vector<unsigned long> statuses;
    for (const std::string& call : host.Take()) {
      if (call.rfind("cSetRouteState", 0) == 0) {
        statuses.push_back(std::stoul(call.substr(call.rfind(' ') + 1)));
      }
    }
    return statuses;
  }
  std::vector<unsigned int> RouteOid(const std::string& prefix) {
    const PrefixBytes destination(prefix);
    const AddressBytes gateway("10.1.2.1");
    std::vector<unsigned int> oid(SMS_OID_MAX);
    oid.resize(sms_get_route_oid(oid.data(), 10, 1, destination.address.bytes, destination.length,
                                 gateway.bytes, 0));
    return oid;
  }
};

// Scripts.

TEST_F(ControlTest, AScriptedStatusLeavesTheRowAlone) {
  control.Script(RowType::kRoute, StatusAnswer(5), 2);
  for (int i = 0; i < 3; ++i) {
    AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  }
  EXPECT_THAT(Statuses(), ElementsAre(5, 5, 1));
  control.Script(RowType::kRoute, StatusAnswer(3), 1);
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.1", 0, 0);
  EXPECT_THAT(Statuses(), ElementsAre(3));
  EXPECT_EQ(1u, control.Rib().size());
}

TEST_F(ControlTest, AnAnswerThatNeverComesLeavesTheRowAloneAndIncomplete) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kNever), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_EQ(-1, RunAll());
  EXPECT_THAT(host.Take(), IsEmpty());
  EXPECT_TRUE(stack.IsIdle());
  EXPECT_TRUE(control.Rib().empty());
}

TEST_F(ControlTest, AnAnswerMayComeTwice) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kTwice), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  RunAll();
  const Lines calls = host.Take();
  ASSERT_EQ(4u, calls.size());
  EXPECT_EQ(0u, calls[0].rfind("cSetRouteState", 0));
  EXPECT_EQ(0u, calls[1].rfind("cRunPendingAction", 0));
  EXPECT_EQ(calls[0], calls[2]);
  EXPECT_EQ(calls[1], calls[3]);
  EXPECT_EQ(1u, control.Rib().size());
}

TEST_F(ControlTest, AnAnswerMayComeLate) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kLate, 500), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
  EXPECT_EQ(1u, control.Rib().size());
  now += 499;
  EXPECT_THAT(Statuses(), IsEmpty());
  now += 1;
  EXPECT_THAT(Statuses(), ElementsAre(1));
  EXPECT_EQ(2u, control.Rib().size());
}

TEST_F(ControlTest, ALateRequestIsJudgedWhenItsTurnComes) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kLate, 500), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  DropInstance(10);
  RunAll();
  now += 500;
  EXPECT_THAT(Statuses(), ElementsAre(5));
}

TEST_F(ControlTest, LateAnswersOfOneMomentKeepTheirOrder) {
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 10), 3);
  AddInterface(10, 3);
  AddInterface(10, 1);
  AddInterface(10, 2);
  RunAll();
  now += 10;
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(1:10:1)",
                                       "cRunPendingAction(1:10:2)"));
}

TEST_F(ControlTest, ARowsScriptComesBeforeItsTypesAndEarlierOnesBeforeLater) {
  const auto oid = RouteOid("10.9.0.0/16");
  control.Script(RowType::kRoute, StatusAnswer(5), 1);
  control.Script(RowType::kRoute, StatusAnswer(4), 1);
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(9), 1);
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(8), 1);
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  for (int i = 0; i < 4; ++i) {
    AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  }
  EXPECT_THAT(Statuses(), ElementsAre(5, 9, 8, 4, 1));
}

TEST_F(ControlTest, ScriptsConcernTheirTypeOnlyAndCanBeCleared) {
  control.Script(RowType::kRoute, StatusAnswer(5), 10);
  sms_act_cipr_redist(1, 1, 2, 3, 10, 0);
  RunAll();
  EXPECT_EQ("cSetRedistState(1, 1, 2, 3, 0, 10, 0, 1)", host.calls[0]);
  const auto oid = RouteOid("10.9.0.0/16");
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(9), 10);
  control.ClearScripts();
  host.Take();
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
}

TEST_F(ControlTest, InterfaceAndAddressRowsAreLeftAloneAndCompleted) {
  control.Script(RowType::kInterface, StatusAnswer(5), 1);
  control.Script(RowType::kAddress, StatusAnswer(5), 1);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(2:10:3:1:167838211)"));
  EXPECT_TRUE(control.Interfaces().empty());
  EXPECT_TRUE(control.Addresses().empty());
}

TEST_F(ControlTest, AnEntityThatIsNotServedIsNotReported) {
  control.Script(RowType::kRtm, AnswerOf(Answer::kNever), 1);
  AddInstance(11);
  const unsigned int oid[] = {6, 12};
  control.ScriptRow(oid, 2, StatusAnswer(5), 1);
  AddInstance(12);
  AddInstance(13);
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10, 13));
  control.Script(RowType::kRtm, AnswerOf(Answer::kTwice), 1);
  host.Take();
  AddInstance(11);
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cGetRtmConfig(11)", "cGetAddress(11)", "cGetVlanAddress(11)",
                          "cSetRtmReady(11)", "cSetRtmReady(11)"));
}

// Limits.

TEST_F(ControlTest, ALimitRefusesOneRowTooManyButNoChangeOfAnExistingOne) {
  control.SetLimit(RowType::kRoute, 2, 8);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1", 0, 9);
  Route(6, 2, 10, "10.7.0.0/16", "10.1.2.1", 0, 0);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1, 1, 8, 1, 1, 1));
  control.SetLimit(RowType::kRoute, SIZE_MAX, 8);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
}

TEST_F(ControlTest, RoutesOfADroppedInstanceNoLongerCount) {
  control.SetLimit(RowType::kRoute, 1, 8);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  DropInstance(10);
  AddInstance(11);
  AddRoute(11, "10.7.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1, 1));
}

TEST_F(ControlTest, ProtocolCandidatesDoNotCountAsRoutes) {
  control.SetLimit(RowType::kRoute, 1, 8);
  control.PutCandidate(MakeCandidate(10, "10.6.0.0/16", "10.1.2.1", 14, 1));
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
}

TEST_F(ControlTest, EveryTableHasALimit) {
  control.SetLimit(RowType::kRtm, 1, 8);
  control.SetLimit(RowType::kInterface, 1, 8);
  control.SetLimit(RowType::kAddress, 1, 8);
  control.SetLimit(RowType::kRedistribution, 1, 8);
  AddInstance(11);
  for (const unsigned int i : {3u, 4u, 3u}) {
    AddInterface(10, i, false);
    AddAddress(10, i, "10.1.2.3/24");
    sms_act_cipr_redist(1, 1, static_cast<int>(i), 7, 10, 0);
  }
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10));
  EXPECT_EQ(1u, control.Interfaces().size());
  EXPECT_EQ(1u, control.Addresses().size());
  EXPECT_EQ(1u, control.Redistributions().size());
  EXPECT_THAT(host.calls, testing::Contains("cSetRedistState(1, 1, 4, 7, 0, 10, 0, 8)"));
  EXPECT_THAT(host.calls, testing::Not(testing::Contains("cSetRtmReady(11)")));
}

// Holding.

TEST_F(ControlTest, WhileHeldNothingIsDoneAndRequestsQueue) {
  control.Hold();
  AddInterface(10, 3);
  EXPECT_EQ(-1, RunOnce());
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
  EXPECT_EQ(-1, RunOnce());
  EXPECT_EQ(2u, host.calls.size());
}

// Counting and observing.

TEST_F(ControlTest, EveryCallIsCountedByKind) {
  control.ResetCounts();
  unsigned int oid[SMS_OID_MAX];
  char filter[] = "3,4";
  const unsigned char address[16] = {};
  amb_cipr_rtm_entity entity = {};
  smsi_init(nullptr);
  nbb_scheduler();
  InvokeCallback(1, 1);
  nbb_trips_control(0);
  nbb_set_ips_filter(filter, 1);
  nbb_get_ips_tracing();
  sms_act_rtm(&entity);
  sms_update_route(1, 1, 1, 1, address, 0, address, 0, 0, 10, 0);
  sms_act_interface(4, 1, 10, 3, "", 0, 0, 0);
  sms_bld_amb_test_i3_ei(4, 1, 10, 3, "", 0, 0, 0);
  sms_act_ipaddr(1, 10, 1, 3, address, 0);
  sms_act_cipr_redist(1, 1, 1, 1, 10, 0);
  sms_bld_amb_test_cipr_redist(1, 1, 1, 1, 10, 0);
  sms_get_route_oid(oid, 10, 1, address, 0, address, 0);
  sms_set_i3_ei_oid(oid, 10, 3);
  sms_set_i3_ea_oid(oid, 10, 3, address, 1);
  sms_set_cipr_redist_oid(oid, 10, 1, 1);
  sms_get_next_i3_ei(10, nullptr, nullptr);
  sms_get_next_i3_ea(10, nullptr, nullptr);
  sms_get_next_rtm_route(nullptr, nullptr);
  sms_get_next_rtm_rib(nullptr, nullptr);
  for (int call = 0; call < static_cast<int>(Call::kProtocolRow); ++call) {
    EXPECT_EQ(1u, control.CountOf(static_cast<Call>(call)))
        << control.NameOf(static_cast<Call>(call));
  }
  EXPECT_EQ(0u, control.CountOf(Call::kProtocolRow));
  EXPECT_EQ(0u, control.CountOf(Call::kCount));
  control.ResetCounts();
  EXPECT_EQ(0u, control.CountOf(Call::kSmsActRtm));
}

TEST_F(ControlTest, CallsHaveTheirFunctionsNames) {
  EXPECT_STREQ("smsi_init", control.NameOf(Call::kSmsiInit));
  EXPECT_STREQ("nbb_scheduler", control.NameOf(Call::kNbbScheduler));
  EXPECT_STREQ("sms_bld_amb_test_i3_ei", control.NameOf(Call::kSmsBldInterface));
  EXPECT_STREQ("sms_set_cipr_redist_oid", control.NameOf(Call::kSmsSetRedistOid));
  EXPECT_STREQ("sms_get_next_rtm_rib", control.NameOf(Call::kSmsGetNextRtmRib));
  EXPECT_STREQ("sms_act_protocol_row", control.NameOf(Call::kProtocolRow));
  EXPECT_STREQ("", control.NameOf(Call::kCount));
}

TEST_F(ControlTest, TheObserverSeesCallsAsText) {
  Lines lines;
  control.SetCallObserver([&](Call, const std::string& line) { lines.push_back(line); });
  char components[] = "ospf bgp";
  char filter[] = "3,4";
  smsi_init(components);
  nbb_scheduler();
  InvokeCallback(5, 1);
  nbb_trips_control(1);
  nbb_set_ips_filter(filter, 6);
  nbb_get_ips_tracing();
  SendEntity(10, 1);
  Route(1, 1, 10, "10.9.0.0/16", "10.1.2.1", 3, 6);
  AddRoute(10 | kIp6Bit, "2001:db8:9::/48", "2001:db8::1", 3, 7);
  sms_act_interface(4, 1, 10, 3, "eth0", 0, 24, 1500);
  sms_bld_amb_test_i3_ei(1, 2, 10 | kIp6Bit, 3, nullptr, 0, 0, 0);
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10 | kIp6Bit, 3, "fe80::3/64");
  sms_act_cipr_redist(1, 1, 0x20000, 0xD0000, 10, 0);
  sms_bld_amb_test_cipr_redist(6, 2, 0x20000, 0xD0000, 10, 0);
  sms_get_next_i3_ei(10, nullptr, nullptr);
  sms_get_next_i3_ea(32778, nullptr, nullptr);
  sms_get_next_rtm_route(nullptr, nullptr);
  sms_get_next_rtm_rib(nullptr, nullptr);
  unsigned int oid[SMS_OID_MAX];
  sms_set_i3_ei_oid(oid, 10, 3);
  control.SetCallObserver({});
  sms_act_rtm(nullptr);
  EXPECT_THAT(
      lines,
      ElementsAre("smsi_init(\"ospf bgp\")", "InvokeCallback(5, 1)", "nbb_trips_control(1)",
                  "nbb_set_ips_filter(\"3,4\", 6)", "nbb_get_ips_tracing()",
                  "sms_act_rtm(0=10 1=1 2=1 30=1)",
                  "sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 6)",
                  "sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, 196608, 3, 32778, "
                  "7)",
                  "sms_act_interface(4, 1, 10, 3, \"eth0\", 0, 24, 1500)",
                  "sms_bld_amb_test_i3_ei(1, 2, 32778, 3, null, 0, 0, 0)",
                  "sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                  "sms_act_ipaddr(1, 32778, 2, 3, fe80::3, 64)",
                  "sms_act_cipr_redist(1, 1, 131072, 851968, 10, 0)",
                  "sms_bld_amb_test_cipr_redist(6, 2, 131072, 851968, 10, 0)",
                  "sms_get_next_i3_ei(10)", "sms_get_next_i3_ea(32778)", "sms_get_next_rtm_route()",
                  "sms_get_next_rtm_rib()"));
}

TEST_F(ControlTest, TheObserverSeesACallBeforeItsEffectAndMayEndItself) {
  control.SetSynchronous(true);
  int seen = 0;
  control.SetCallObserver([&](Call call, const std::string&) {
    ++seen;
    EXPECT_EQ(Call::kSmsActInterface, call);
    EXPECT_THAT(host.calls, IsEmpty());
    control.SetCallObserver({});
  });
  AddInterface(10, 3);
  AddInterface(10, 4);
  EXPECT_EQ(1, seen);
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
