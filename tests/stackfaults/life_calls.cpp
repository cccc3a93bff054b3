// Starting and running the stack.
//
// smsi_init has no result. Its answer is that the stack is ready for row requests: until then the
// requests of interfaces and addresses wait, and an instance is never ready, so that its routes
// wait too. nbb_scheduler says when it wants to run again; until then it is asked at least every
// 100 ms when it has nothing to do.

#include <algorithm>
#include <climits>

#include "tests/stackfaults/interception.h"
#include "tests/stackfaults/subject.h"
#include "vantacore/dcrouter_api.h"

namespace stackfaults {

namespace {

const char* const IN_10_MS = "10 Starting Scheduler Timer for 10 ms";
// A negative answer: nothing is scheduled.
const char* const IN_100_MS = "10 Starting Scheduler Timer for 100 ms";

// --- smsi_init ---

class StartCall : public Subject {
 protected:
  // The start itself is the subject.
  void Establish() override {}
  void Ask() override;

  void Never() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
  void VlanGone() override;

 private:
  void HoldBack();
  void ExpectNoRowRequests();
  // The functions of the row requests so far, in their order, with the instance and the interface.
  std::string FirstRowRequests();

  std::function<int()> m_forward;
  bool m_isStarted = false;
};

void StartCall::Ask() {
  if (!m_isStarted) {
    m_isStarted = true;
    Start();
  }
  Furnish();
}

void StartCall::HoldBack() {
  Intercept("smsi_init", [this](const CallInTransit& call) {
    m_forward = call.forward;
    return 0;
  });
}

void StartCall::ExpectNoRowRequests() {
  using routing_stack::Call;
  for (const Call call : {Call::kSmsActInterface, Call::kSmsBldInterface, Call::kSmsActIpaddr,
                          Call::kSmsUpdateRoute, Call::kSmsActRedist, Call::kSmsBldRedist}) {
    EXPECT_EQ(Control().CountOf(call), 0U) << routing_stack::Control::NameOf(call);
  }
}

std::string StartCall::FirstRowRequests() {
  std::string text;
  for (const std::string& line : Happened()) {
    if (line.rfind("> sms_", 0) == 0) {
      text += line.substr(2) + "\n";
    }
  }
  return text;
}

// Instances are asked for all the same. What else comes waits, however much it is.
void StartCall::Never() {
  HoldBack();
  Ask();
  EXPECT_EQ(Control().CountOf(routing_stack::Call::kSmsActRtm), 4U);
  Then(LONG_MS);
  for (int i = 0; i < 10; ++i) {
    registry.SetInterfaceDown(20, 4, "eth1");
    registry.SetInterfaceUp(20, 4, "eth1");
    ExpectSilence();
  }
  ExpectNoRowRequests();
  EXPECT_EQ(cIsRtmReady(20), 0);
  EXPECT_NE(Pending().find("ActionState(New) ReasonCode(0)"), std::string::npos);
  EXPECT_EQ(Dump(), "");
  m_forward();
  ExpectConverged();
}

// Each row's first request is released, in the order in which the rows were asked for. The end of
// each releases the next one.
void StartCall::Late() {
  HoldBack();
  Ask();
  registry.SetInterfaceDown(20, 4, "eth1");
  registry.SetInterfaceUp(20, 4, "eth1");
  Then(LONG_MS);
  ExpectNoRowRequests();
  m_forward();
  Take();
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(FirstRowRequests(),
            "sms_bld_amb_test_i3_ei(4, 1, 10, 3, \"eth0\", 0, 24, 0)\n"
            "sms_bld_amb_test_i3_ei(4, 1, 32778, 3, \"eth0\", 0, 24, 0)\n"
            "sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)\n"
            "sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::3, 64)\n"
            "sms_bld_amb_test_i3_ei(4, 1, 10, 6, \"eth6\", 0, 24, 0)\n"
            "sms_bld_amb_test_i3_ei(4, 1, 32778, 6, \"eth6\", 0, 24, 0)\n"
            "sms_bld_amb_test_i3_ei(4, 1, 20, 4, \"eth1\", 0, 24, 0)\n"
            "sms_bld_amb_test_i3_ei(4, 1, 32788, 4, \"eth1\", 0, 24, 0)\n"
            "sms_act_ipaddr(1, 20, 1, 4, 10.2.2.3, 24)\n"
            "sms_bld_amb_test_i3_ei(1, 2, 20, 4, \"eth1\", 0, 0, 0)\n"
            "sms_bld_amb_test_i3_ei(1, 2, 32788, 4, \"eth1\", 0, 0, 0)\n"
            "sms_bld_amb_test_i3_ei(1, 1, 20, 4, \"eth1\", 0, 0, 0)\n"
            "sms_bld_amb_test_i3_ei(1, 1, 32788, 4, \"eth1\", 0, 0, 0)\n");
  ExpectConverged();
}

// The second announcement releases neither what is in the stack nor what waits behind it.
void StartCall::Twice() {
  Ask();
  Quiet();
  Oid oid(SMS_OID_MAX);
  oid.resize(sms_set_i3_ei_oid(oid.data(), 20, 4));
  ScriptRow(oid, Kind(Answer::kNever));
  registry.SetInterfaceDown(20, 4, "eth1");
  registry.SetInterfaceUp(20, 4, "eth1");
  Then(LONG_MS);
  Control().RepeatReady();
  ExpectSilence();
  Complete(oid);
  EXPECT_EQ(FirstRowRequests(), "sms_bld_amb_test_i3_ei(1, 1, 20, 4, \"eth1\", 0, 0, 0)\n");
  ExpectConverged();
}

// What has waited is released from inside of the start.
void StartCall::Synchronous() {
  registry.AddInterface(20, 4, "eth1", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  MakeSynchronous();
  m_isStarted = true;
  Take();
  Start();
  EXPECT_EQ(FirstRowRequests(),
            "sms_bld_amb_test_i3_ei(4, 1, 20, 4, \"eth1\", 0, 24, 0)\n"
            "sms_bld_amb_test_i3_ei(4, 1, 32788, 4, \"eth1\", 0, 24, 0)\n");
  Control().SetSynchronous(false);
  Ask();
  ExpectConverged();
}

// The stack restarts before it has announced anything. Rows that wait in the library are not lost;
// instances, which do not wait there, are.
void StartCall::Restarted() {
  Ask();
  Control().Restart();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(Control().Interfaces().size(), 6U);
  EXPECT_EQ(Control().Addresses().size(), 3U);
  EXPECT_TRUE(Control().Instances().empty());
  EXPECT_NE(Pending().find("ActionState(New) ReasonCode(0)"), std::string::npos);
  Rebuild();
  ExpectConverged();
}

// The VLAN's rows wait on.
void StartCall::VlanGone() {
  HoldBack();
  Ask();
  WithdrawVlan10();
  ExpectSilence();
  m_forward();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{20, 32788}));
  EXPECT_EQ(Control().Interfaces().size(), 6U);
  LoadVlansWithOspf({10, 20});
  ExpectConverged();
}

// --- nbb_scheduler ---

class RunCall : public Subject {
 protected:
  // Something for the stack to do.
  void Ask() override {
    registry.AddInterface(10, 5, "eth5", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  }

  void Busy() override;
  void Refused() override;
  void Never() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
  void VlanGone() override;

 private:
  // The stack does nothing in its runs, and answers so.
  void Answer(int milliseconds);
  // It begins its next run with this.
  void BeginRunWith(std::function<void()> action);
};

void RunCall::Answer(int milliseconds) {
  Intercept("nbb_scheduler", [milliseconds](const CallInTransit&) { return milliseconds; });
}

void RunCall::BeginRunWith(std::function<void()> action) {
  Intercept("nbb_scheduler", [action](const CallInTransit& call) {
    EndInterception("nbb_scheduler");
    action();
    return call.forward();
  });
}

// As long as work is left, runs are 10 ms apart, however early the stack wants the next one.
void RunCall::Busy() {
  Answer(0);
  Ask();
  Take();
  EXPECT_EQ(After(5), Text({RUN, IN_10_MS}));
  for (int wanted = 0; wanted <= 10; ++wanted) {
    Answer(wanted);
    EXPECT_EQ(After(9), "") << wanted;
    EXPECT_EQ(After(1), Text({RUN, IN_10_MS})) << wanted;
  }
  EndInterception("nbb_scheduler");
  ExpectConverged();
}

void RunCall::Refused() {
  Answer(-7);
  Ask();
  Take();
  EXPECT_EQ(After(5), Text({RUN, IN_100_MS}));
  for (const int failure : {-1, -7, INT_MIN}) {
    Answer(failure);
    EXPECT_EQ(After(99), "") << failure;
    EXPECT_EQ(After(1), Text({RUN, IN_100_MS})) << failure;
  }
  EndInterception("nbb_scheduler");
  ExpectConverged();
}

// A stack that never works is given the opportunity for ever.
void RunCall::Never() {
  Answer(-1);
  const std::string before = Dump();
  Ask();
  Take();
  EXPECT_EQ(After(5), Text({RUN, IN_100_MS}));
  std::string runs;
  for (unsigned int i = 0; i < LONG_MS / 100; ++i) {
    runs += Text({RUN, IN_100_MS});
  }
  EXPECT_EQ(After(LONG_MS), runs);
  EXPECT_EQ(Dump(), before);
  EndInterception("nbb_scheduler");
  ExpectConverged();
}

// There is no longest sleep. A request ends it.
void RunCall::Late() {
  const std::string longer = Text({RUN, "10 Starting Scheduler Timer for 250 ms"});
  Answer(250);
  Ask();
  Take();
  EXPECT_EQ(After(5), longer);
  EXPECT_EQ(After(249), "");
  EXPECT_EQ(After(1), longer);
  Answer(INT_MAX);
  EXPECT_EQ(After(250), Text({RUN, "10 Starting Scheduler Timer for 2147483647 ms"}));
  EXPECT_EQ(After(LONG_MS), "");
  EndInterception("nbb_scheduler");
  cRescheduleNBase();
  EXPECT_EQ(Take(), Text({ASK, IN_5_MS}));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  ExpectConverged();
}

void RunCall::Twice() {
  BeginRunWith([] {
    cRescheduleNBase();
    EXPECT_EQ(cIsNBaseRescheduled(), 1);
    cRescheduleNBase();
  });
  Ask();
  Take();
  EXPECT_EQ(After(5), Text({RUN, ASK, IN_5_MS, ASK, SET_ALREADY}));
  EXPECT_EQ(After(4), "");
  EXPECT_EQ(After(1), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(cIsNBaseRescheduled(), 0);
  ExpectConverged();
}

// A run from inside of a run does what the outer one would have done.
void RunCall::Synchronous() {
  BeginRunWith([this] {
    EXPECT_EQ(cIsNBaseRescheduled(), 0);
    Manager().GetScheduler().SchedNBase();
    EXPECT_NE(Dump().find("interface 10/5 "), std::string::npos);
  });
  Ask();
  Take();
  EXPECT_EQ(After(5), Text({RUN, "10 Scheduling Metaswitch", IN_1000_MS}));
  EXPECT_EQ(After(999), "");
  EXPECT_EQ(After(1), Text({RUN, IN_1000_MS}));
  ExpectConverged();
}

// The stack restarts in its run, and asks for another one.
void RunCall::Restarted() {
  Ask();
  Quiet();
  BeginRunWith([this] { Control().Restart(); });
  cRescheduleNBase();
  Take();
  EXPECT_EQ(After(5), Text({RUN, ASK, IN_5_MS, SET_ALREADY}));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(After(999), "");
  EXPECT_EQ(After(1), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(Dump(), "");
  Rebuild();
  Ask();
  ExpectConverged();
}

// The host removes the VLAN in answer to something that the stack says in its run.
void RunCall::VlanGone() {
  BeginRunWith([this] { LoadVlansWithOspf({20}); });
  Ask();
  Take();
  const Lines lines = Then(5);
  EXPECT_NE(std::find(lines.begin(), lines.end(), "10 Deleted VLAN 10"), lines.end());
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{20, 32788}));
  EXPECT_NE(Dump().find("interface 10/5 "), std::string::npos);
  LoadVlansWithOspf({10, 20});
  ExpectConverged();
}

}  // namespace

testing::Test* TheStart(Fault fault) { return new Trial<StartCall>(fault); }
testing::Test* ARun(Fault fault) { return new Trial<RunCall>(fault); }

}  // namespace stackfaults
