// The rules of the conversation: when the stack calls, what, how often and in which order.

#include "stack_test.h"

namespace stack_test {
namespace {

using testing::Contains;
using testing::Not;

class ConversationTest : public StackTest {};

std::string RouteOid(unsigned int instance, const std::string& prefix, const std::string& nextHop,
                     unsigned int ifIndex) {
  const PrefixBytes destination(prefix);
  const AddressBytes gateway(nextHop);
  unsigned int oid[SMS_OID_MAX];
  const unsigned int length =
      sms_get_route_oid(oid, static_cast<unsigned short>(instance), destination.address.type,
                        destination.address.bytes, destination.length, gateway.bytes, ifIndex);
  return OidText(oid, length);
}

// Starting.

TEST_F(ConversationTest, StartingAsksForARunAndAnswersOnlyInIt) {
  char components[] = "ospf";
  smsi_init(components);
  EXPECT_EQ(1u, host.runsAskedFor);
  EXPECT_THAT(host.calls, IsEmpty());

  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_THAT(host.calls, ElementsAre("cI3Ready()"));
}

TEST_F(ConversationTest, ReadinessIsAnnouncedOncePerStart) {
  Start();
  char components[] = "ospf";
  smsi_init(components);
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(ConversationTest, ReadinessComesFirstEvenWhenRequestsWereMadeBefore) {
  AddInterface(10, 3);
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_THAT(host.calls, IsEmpty());

  smsi_init(nullptr);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()", "cRunPendingAction(1:10:3)"));
}

// Queueing.

TEST_F(ConversationTest, ARequestOnlyQueuesAndAsksForARun) {
  Start();
  host.runsAskedFor = 0;
  host.rescheduled = false;
  AddInstance(10);
  EXPECT_EQ(1u, host.runsAskedFor);
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_THAT(control.Instances(), IsEmpty());
  EXPECT_FALSE(stack.IsIdle());

  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10));
  EXPECT_TRUE(stack.IsIdle());
  EXPECT_EQ(0u, host.callsFromOutside);
}

TEST_F(ConversationTest, NoRunIsAskedForWhileOneIsPending) {
  Start();
  host.runsAskedFor = 0;
  host.rescheduled = true;
  AddInterface(10, 3);
  EXPECT_EQ(0u, host.runsAskedFor);
  host.rescheduled = false;
  AddInterface(10, 4);
  AddInterface(10, 5);
  EXPECT_EQ(1u, host.runsAskedFor);
}

TEST_F(ConversationTest, EveryKindOfRequestAsksForARun) {
  Start();
  const auto asks = [this](const std::function<void()>& request) {
    host.rescheduled = false;
    host.runsAskedFor = 0;
    request();
    return host.runsAskedFor;
  };
  const auto handler = [](void*, unsigned int, unsigned int, void*) -> unsigned char { return 0; };
  EXPECT_EQ(1u, asks([&] { SendEntity(10, 1); }));
  EXPECT_EQ(1u, asks([&] { AddRoute(10, "10.9.0.0/16", "10.1.2.1"); }));
  EXPECT_EQ(1u, asks([&] { sms_act_interface(4, 1, 10, 3, "a", 0, 0, 0); }));
  EXPECT_EQ(1u, asks([&] { sms_bld_amb_test_i3_ei(4, 1, 10, 3, "a", 0, 0, 0); }));
  EXPECT_EQ(1u, asks([&] { AddAddress(10, 3, "10.1.2.3/24"); }));
  EXPECT_EQ(1u, asks([&] { sms_act_cipr_redist(1, 1, 2, 3, 10, 0); }));
  EXPECT_EQ(1u, asks([&] { sms_bld_amb_test_cipr_redist(1, 1, 2, 3, 10, 0); }));
  EXPECT_EQ(1u, asks([&] { sms_get_next_i3_ei(10, handler, nullptr); }));
  EXPECT_EQ(1u, asks([&] { sms_get_next_i3_ea(10, handler, nullptr); }));
  EXPECT_EQ(1u, asks([&] { sms_get_next_rtm_route(handler, nullptr); }));
  EXPECT_EQ(1u, asks([&] { sms_get_next_rtm_rib(handler, nullptr); }));
  RunAll();
}

TEST_F(ConversationTest, ArgumentsAreCopied) {
  Start();
  AddInstance(10);
  RunAll();
  host.Take();
  unsigned char destination[4] = {10, 9, 0, 0};
  unsigned char nextHop[4] = {10, 1, 2, 1};
  sms_update_route(1, 1, 1, 1, destination, 16, nextHop, kStaticPath, 3, 10, 5);
  destination[0] = 11;
  nextHop[0] = 11;
  char name[] = "eth0";
  sms_act_interface(4, 1, 10, 3, name, 0, 0, 0);
  name[0] = 'x';
  RunAll();
  EXPECT_EQ("cSetRouteState(10, 1, 10.9.0.0, 16, 10.1.2.1, 3, 5, 196608, 1, 1, 0, 1)",
            host.calls[0]);
  EXPECT_STREQ("eth0", control.Interfaces()[0].name);
}

TEST_F(ConversationTest, RequestsAreServedInTheOrderInWhichTheyCame) {
  Start();
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddInterface(10, 3);
  AddInstance(10);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cSetRouteState(10, 1, 10.9.0.0, 16, 10.1.2.1, 0, 1, 196608, 1, 1, 0, 5)",
                          "cRunPendingAction(" + RouteOid(10, "10.9.0.0/16", "10.1.2.1", 0) + ")",
                          "cRunPendingAction(1:10:3)", "cGetRtmConfig(10)", "cGetAddress(10)",
                          "cGetVlanAddress(10)", "cSetRtmReady(10)",
                          "cRunPendingAction(2:10:3:1:167838211)"));
}

TEST_F(ConversationTest, ARequestFromInsideACallbackIsQueuedAndAsksForARun) {
  Start();
  bool nested = false;
  host.onCall = [&](const std::string& call) {
    if (call == "cRunPendingAction(1:10:3)" && !nested) {
      nested = true;
      AddInterface(10, 3, false);
      EXPECT_EQ(1u, control.Interfaces()[0].oper_status);
      EXPECT_TRUE(host.rescheduled);
    }
  };
  AddInterface(10, 3);
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_TRUE(nested);
  EXPECT_EQ(2u, control.Interfaces()[0].oper_status);
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(1:10:3)"));
}

TEST_F(ConversationTest, TheSchedulerDoesNotReenterItself) {
  Start();
  host.onCall = [&](const std::string& call) {
    if (call == "cRunPendingAction(1:10:3)") {
      EXPECT_EQ(0, nbb_scheduler());
      EXPECT_THAT(host.calls, Not(Contains("cRunPendingAction(1:10:4)")));
    }
  };
  AddInterface(10, 3);
  AddInterface(10, 4);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(1:10:4)"));
}

// Slices and sleep.

TEST_F(ConversationTest, ARunWorksOffASliceAndSaysWhenThereIsMore) {
  Start();
  control.SetSliceEvents(3);
  for (unsigned int i = 1; i <= 7; ++i) {
    AddInterface(10, i);
  }
  EXPECT_EQ(0, RunOnce());
  EXPECT_EQ(3u, host.Take().size());
  EXPECT_EQ(0, RunOnce());
  EXPECT_EQ(3u, host.Take().size());
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_EQ(1u, host.Take().size());
}

TEST_F(ConversationTest, ARunEndsEarlyWhenTheClockSaysSo) {
  Start();
  host.onCall = [&](const std::string&) { ++now; };
  for (unsigned int i = 1; i <= 1000; ++i) {
    AddInterface(10, i);
  }
  EXPECT_EQ(0, RunOnce());
  EXPECT_LE(host.calls.size(), 100u);
  EXPECT_GE(host.calls.size(), 1u);
  RunAll();
  EXPECT_EQ(1000u, host.calls.size());
}

TEST_F(ConversationTest, TheResultIsTheTimeToTheNextTimedEvent) {
  Start();
  EXPECT_EQ(kIdleMs, RunOnce());
  routing_stack::Answer late;
  late.kind = routing_stack::Answer::kLate;
  late.delayMs = 250;
  control.Script(routing_stack::RowType::kInterface, late, 1);
  AddInterface(10, 3);
  EXPECT_EQ(250, RunOnce());
  now += 100;
  EXPECT_EQ(150, RunOnce());
  EXPECT_FALSE(stack.IsIdle());
  EXPECT_THAT(host.calls, IsEmpty());
  now += 150;
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)"));
}

// Completions and answers.

TEST_F(ConversationTest, EveryRowRequestIsCompletedOnceWithTheBuildersIdentifier) {
  Start();
  AddInstance(10);
  AddInstance(10 | kIp6Bit);
  RunAll();
  host.Take();

  AddInterface(10, 3);
  sms_bld_amb_test_i3_ei(1, 2, 10 | kIp6Bit, 3, "eth0", 0, 0, 0);
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10 | kIp6Bit, 3, "2001:db8::3/64");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 3);
  AddRoute(10 | kIp6Bit, "2001:db8:9::/48", "2001:db8::1", 3);
  sms_act_cipr_redist(1, 1, 0x30000, 0xD0000, 10, 0);
  sms_bld_amb_test_cipr_redist(1, 1, 0x30000, 0x80000, 10 | kIp6Bit, 0);
  RunAll();

  unsigned int oid[SMS_OID_MAX];
  const auto completion = [&](unsigned int length) {
    return "cRunPendingAction(" + OidText(oid, length) + ")";
  };
  const AddressBytes ip4("10.1.2.3");
  const AddressBytes ip6("2001:db8::3");
  Lines expected;
  expected.push_back(completion(sms_set_i3_ei_oid(oid, 10, 3)));
  expected.push_back(completion(sms_set_i3_ei_oid(oid, 10 | kIp6Bit, 3)));
  expected.push_back(completion(sms_set_i3_ea_oid(oid, 10, 3, ip4.bytes, 1)));
  expected.push_back(completion(sms_set_i3_ea_oid(oid, 10 | kIp6Bit, 3, ip6.bytes, 2)));
  expected.push_back("cRunPendingAction(" + RouteOid(10, "10.9.0.0/16", "10.1.2.1", 3) + ")");
  expected.push_back("cRunPendingAction(" +
                     RouteOid(10 | kIp6Bit, "2001:db8:9::/48", "2001:db8::1", 3) + ")");
  expected.push_back(completion(sms_set_cipr_redist_oid(oid, 10, 0x30000, 0xD0000)));
  expected.push_back(completion(sms_set_cipr_redist_oid(oid, 10 | kIp6Bit, 0x30000, 0x80000)));

  Lines completions;
  for (const std::string& call : host.calls) {
    if (call.rfind("cRunPendingAction", 0) == 0) {
      completions.push_back(call);
    }
  }
  EXPECT_EQ(expected, completions);
}

TEST_F(ConversationTest, RefusedRequestsAreCompletedToo) {
  Start();
  sms_act_interface(9, 1, 10, 3, "eth0", 0, 0, 0);
  sms_act_ipaddr(9, 10, 1, 3, AddressBytes("10.1.2.3").bytes, 24);
  Route(9, 1, 10, "10.9.0.0/16", "10.1.2.1", 3, 1);
  sms_act_cipr_redist(9, 1, 2, 3, 10, 0);
  RunAll();
  EXPECT_THAT(
      host.Take(),
      ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(2:10:3:1:167838211)",
                  "cSetRouteState(10, 1, 10.9.0.0, 16, 10.1.2.1, 3, 1, 196608, 9, 1, 0, 3)",
                  "cRunPendingAction(" + RouteOid(10, "10.9.0.0/16", "10.1.2.1", 3) + ")",
                  "cSetRedistState(9, 1, 2, 3, 0, 10, 0, 3)", "cRunPendingAction(4:10:2:3)"));
}

TEST_F(ConversationTest, AnEntityIsNotCompleted) {
  Start();
  AddInstance(10);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cGetRtmConfig(10)", "cGetAddress(10)",
                                       "cGetVlanAddress(10)", "cSetRtmReady(10)"));
}

TEST_F(ConversationTest, ARouteIsAnsweredWithItsArgumentsAndThenCompleted) {
  Start();
  AddInstance(10 | kIp6Bit);
  RunAll();
  host.Take();
  AddRoute(10 | kIp6Bit, "2001:db8:9::/48", "fe80::1", 3, 7);
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cSetRouteState(32778, 2, 2001:db8:9::, 48, fe80::1, 3, 7, 196608, 1, 1, "
                          "0, 1)",
                          "cRunPendingAction(" +
                              RouteOid(10 | kIp6Bit, "2001:db8:9::/48", "fe80::1", 3) + ")"));
}

TEST_F(ConversationTest, ARedistributionIsAnsweredWithItsArgumentsAndThenCompleted) {
  Start();
  AddInstance(10 | kIp6Bit);
  RunAll();
  host.Take();
  sms_act_cipr_redist(4, 2, 0x20000, 0x80000, 10 | kIp6Bit, 77);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cSetRedistState(4, 2, 131072, 524288, 0, 32778, 0, 1)",
                                       "cRunPendingAction(4:32778:131072:524288)"));
}

// Descriptors.

TEST_F(ConversationTest, DescriptorsAreRegisteredChangedAndRemovedInsideARun) {
  Start();
  control.RegisterDescriptor(7, 70, 1, nullptr);
  control.ChangeDescriptorMask(7, 3);
  EXPECT_THAT(host.calls, IsEmpty());
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cRegisterWorkWithEventloop(7, 70, 1)", "cChangeMask(7, 3)"));
  control.UnregisterDescriptor(7, 70);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cUnregisterWorkWithEventloop(7, 70)"));
  EXPECT_EQ(0u, host.callsFromOutside);
}

TEST_F(ConversationTest, DescriptorsWaitForTheStart) {
  control.RegisterDescriptor(7, 70, 1, nullptr);
  EXPECT_EQ(0u, host.runsAskedFor);
  smsi_init(nullptr);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()", "cRegisterWorkWithEventloop(7, 70, 1)"));
}

TEST_F(ConversationTest, AReadyDescriptorRunsItsHandlerWhichMayQueue) {
  Start();
  int seen = 0;
  control.RegisterDescriptor(7, 70, 1, [&](int events) {
    seen = events;
    control.RepeatReady();
  });
  RunAll();
  host.Take();
  host.rescheduled = false;
  host.runsAskedFor = 0;
  InvokeCallback(7, 5);
  EXPECT_EQ(5, seen);
  EXPECT_EQ(1u, host.runsAskedFor);
  EXPECT_THAT(host.calls, IsEmpty());
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()"));
}

TEST_F(ConversationTest, AHandlerMayUnregisterItself) {
  Start();
  int runs = 0;
  control.RegisterDescriptor(7, 70, 1, [&](int) {
    ++runs;
    control.UnregisterDescriptor(7, 70);
    ++runs;
  });
  RunAll();
  host.Take();
  InvokeCallback(7, 1);
  InvokeCallback(7, 1);
  EXPECT_EQ(2, runs);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cUnregisterWorkWithEventloop(7, 70)"));
}

TEST_F(ConversationTest, UnknownDescriptorsAreIgnored) {
  Start();
  host.runsAskedFor = 0;
  host.rescheduled = false;
  InvokeCallback(9, 1);
  control.ChangeDescriptorMask(9, 1);
  control.UnregisterDescriptor(9, 1);
  EXPECT_EQ(0u, host.runsAskedFor);
  EXPECT_TRUE(stack.IsIdle());
}

// The two names of a request.

TEST_F(ConversationTest, TheBldFunctionsDoWhatTheirTwinsDo) {
  Start();
  AddInstance(10);
  RunAll();
  sms_act_interface(4, 1, 10, 3, "eth0", 0, 24, 9000);
  sms_act_cipr_redist(1, 1, 0x20000, 0xD0000, 10, 0);
  RunAll();
  const std::string byAct = control.Dump();
  const Lines calls = host.Take();

  control.Restart();
  AddInstance(10);
  RunAll();
  host.Take();
  sms_bld_amb_test_i3_ei(4, 1, 10, 3, "eth0", 0, 24, 9000);
  sms_bld_amb_test_cipr_redist(1, 1, 0x20000, 0xD0000, 10, 0);
  RunAll();
  EXPECT_EQ(byAct, control.Dump());
  EXPECT_EQ(Lines(calls.end() - 3, calls.end()), host.Take());
}

}  // namespace
}  // namespace stack_test
