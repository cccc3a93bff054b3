// The rows of the Routing Table Manager's instances.
//
// They go straight to the stack. What it says is that an instance is ready, or nothing: a refusal,
// a full table and silence look the same. Until the instance is ready, its routes and rules wait;
// and the row is not sent again as long as the VLAN's settings stay what they were.
//
// The subject is VLAN 30, its IPv4 instance in particular, with a route and a rule that wait for
// it.

#include <algorithm>

#include "tests/stackfaults/subject.h"
#include "vantacore/dcrouter_api.h"

namespace stackfaults {

using Tarsel::Ip4Addr;

namespace {

const char* const ROW = "> sms_act_rtm(0=30 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=1)";
const char* const IP6_ROW =
    "> sms_act_rtm(0=32798 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=2)";
const char* const GONE = "> sms_act_rtm(0=30 1=6 2=2)";
const char* const IP6_GONE = "> sms_act_rtm(0=32798 1=6 2=2)";
const char* const ROUTE =
    "> sms_update_route(1, 1, 1, 1, 10.30.0.0, 16, 10.2.2.1, 196608, 4, 30, 5)";
const char* const RULE = "> sms_act_cipr_redist(1, 1, 196608, 851968, 30, 0)";
constexpr unsigned int MOST_REFUSALS = 10;
constexpr std::size_t OTHER_INSTANCES = 4;

class RtmCall : public Subject {
 protected:
  void Establish() override;

  static Lines Calls(const Lines& lines);
  // VLAN 30 comes, with its route and its rule, or goes.
  void LoadAll() { LoadVlansWithOspf({10, 20, 30}); }
  void AddVlan30();
  void WithdrawVlan30();
  // The requests for the VLAN's rule and its route.
  static Lines Rows() { return {RULE, ROUTE}; }
  // They wait, and nothing is done about it.
  void ExpectWaiting();
  std::string Readiness() const;
};

class CreationCall : public RtmCall {
 protected:
  void Ask() override { AddVlan30(); }

  void Busy() override;
  void Full() override;
  void Refused() override;
  void Never() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
  void VlanGone() override;

 private:
  void Send(const Answer& answer);
  void ExpectGivenUp(const Lines& rows);
};

void RtmCall::Establish() {
  Subject::Establish();
  registry.SetPrimaryInterface(30, "eth1");
}

void RtmCall::AddVlan30() {
  LoadAll();
  Tarsel::AddRoute(30, Ip4Addr(10, 30, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 2, 2, 1), 4, 5,
                   Tarsel::PATH_TYPE_STATIC, 1);
  Tarsel::DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(30, 0x30000, 0xD0000, false,
                                                                    true);
}

Lines RtmCall::Calls(const Lines& lines) {
  Lines calls;
  std::copy_if(lines.begin(), lines.end(), std::back_inserter(calls),
               [](const std::string& line) { return line.front() == '>'; });
  return calls;
}

std::string RtmCall::Readiness() const {
  return std::to_string(cIsRtmReady(30)) + std::to_string(cIsRtmReady(0x801E));
}

void RtmCall::ExpectWaiting() {
  EXPECT_EQ(cIsRtmReady(30), 0);
  ExpectSilence();
  EXPECT_EQ(Pending(),
            "==== Item 0 ====\n"
            "RedistItem: Instance(30) Dest(0xd0000) Src(0x30000) Priority(0x0) RowStatus(1) "
            "AdminStatus(1) ActionState(New) ReasonCode(0)\n"
            "\n"
            "==== Item 1 ====\n"
            "StaticRouteItem: vrf(30) Dest(10.30.0.0/16) NextHop(10.2.2.1) Intf(4) metric(5) "
            "Type(Static) RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)\n"
            "\n");
  LoadAll();
  EXPECT_EQ(Calls(Happened()), Lines());
}

void RtmCall::WithdrawVlan30() {
  LoadVlansWithOspf({10, 20});
  EXPECT_EQ(Calls(Happened()), (Lines{GONE, IP6_GONE}));
}

// --- an instance comes ---

void CreationCall::Send(const Answer& answer) {
  ScriptRow({6, 30}, answer);
  Take();
  Ask();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  EXPECT_EQ(Readiness(), "00");
}

// Other settings, and then the old ones again, send the row twice.
void CreationCall::Busy() {
  Send(Status(5));
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(Readiness(), "01");
  ExpectWaiting();
  ExpectOthersServed({10, 20, 30});
  LoadVlans({10, 20, 30}, R"(, "OSPF": {"enabled": true}, "OSPFV3": {"enabled": true},
                             "RTM": {"dead_rpm_timer": 61})");
  EXPECT_EQ(Calls(Happened()).size(), 6U);
  LoadAll();
  EXPECT_EQ(Calls(Happened()).size(), 6U);
  EXPECT_EQ(Calls(Next()), Rows());
  EXPECT_EQ(Readiness(), "11");
  ExpectConverged();
}

void CreationCall::Full() {
  Control().SetLimit(RowType::kRtm, OTHER_INSTANCES, 5);
  Take();
  Ask();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(Readiness(), "00");
  ExpectWaiting();
  FlapInterface();
  WalkInterfaces();
  ChangeRoute();
  Control().SetLimit(RowType::kRtm, SIZE_MAX, 5);
  Take();
  ExpectWaiting();
  WithdrawVlan30();
  Ask();
  ExpectConverged();
}

void CreationCall::Refused() {
  Send(Status(3));
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(Readiness(), "01");
  ExpectWaiting();
  ExpectOthersServed({10, 20, 30});
  WithdrawVlan30();
  LoadAll();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  EXPECT_EQ(Calls(Next()), Rows());
  ExpectConverged();
}

void CreationCall::Never() {
  Send(Kind(Answer::kNever));
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(Readiness(), "01");
  ExpectWaiting();
  ExpectOthersServed({10, 20, 30});
  WithdrawVlan30();
  ExpectSilence();
  EXPECT_EQ(Readiness(), "00");
  LoadAll();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  ExpectConverged();
}

void CreationCall::Late() {
  Send(Kind(Answer::kLate));
  const std::uint64_t sent = Now();
  EXPECT_EQ(Then(TICK_MS), Lines());
  ExpectOthersServed({10, 20, 30});
  EXPECT_EQ(ThenUntil(sent + LONG_MS), Lines());
  EXPECT_EQ(Readiness(), "01");
  loop.AdvanceMilliseconds(4 * RUN_MS);
  EXPECT_EQ(Readiness(), "11");
  EXPECT_EQ(Calls(Next()), Rows());
  ExpectConverged();
}

void CreationCall::Twice() {
  ScriptRow({6, 0x801E}, Kind(Answer::kTwice));
  Send(Kind(Answer::kTwice));
  EXPECT_EQ(Calls(Then(LONG_MS)), Rows());
  EXPECT_EQ(Readiness(), "11");
  ExpectConverged();
}

void CreationCall::Synchronous() {
  MakeSynchronous();
  Take();
  LoadAll();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  EXPECT_EQ(Readiness(), "11");
  EXPECT_NE(Manager().GetDcRouterByVID(30, Tarsel::DcRouterMgr::PROTOCOL_MLD), nullptr);
  Control().SetSynchronous(false);
  Ask();
  EXPECT_EQ(Calls(Happened()), Lines());
  EXPECT_EQ(Calls(Next()), Rows());
  ExpectConverged();
}

// The stack refuses rows of an instance that it does not have, as worth another try.
void CreationCall::ExpectGivenUp(const Lines& rows) {
  Lines all;
  for (unsigned int n = 0; n < MOST_REFUSALS; ++n) {
    all = all + rows;
  }
  EXPECT_EQ(Calls(Then(LONG_MS)), all);
  EXPECT_NE(Pending().find("ActionState(Issued) ReasonCode(5)"), std::string::npos);
  EXPECT_EQ(Pending().find("ActionState(New)"), std::string::npos);
}

// An instance that is reported ready without being there: routes are sent in vain.
void CreationCall::Restarted() {
  Send(Kind(Answer::kNever));
  loop.AdvanceMilliseconds(RUN_MS);
  Control().Restart();
  ExpectSilence();
  cSetRtmReady(30);
  EXPECT_EQ(Dump(), "");
  ExpectGivenUp(Rows());
  Rebuild();
  EXPECT_EQ(Readiness(), "00");
  Ask();
  ExpectConverged();
}

// A late readiness makes a record for a VLAN that is not there any more. It has the settings of a
// VLAN without any of its own: when such a VLAN comes, the instance counts as known and is not
// sent. Removing the VLAN once more helps. The rule has no router to go to, and is dropped.
void CreationCall::VlanGone() {
  Send(Kind(Answer::kNever));
  loop.AdvanceMilliseconds(RUN_MS);
  Take();
  WithdrawVlan30();
  ExpectSilence();
  cSetRtmReady(30);
  EXPECT_EQ(Readiness(), "10");
  ExpectGivenUp({ROUTE});
  ExpectOthersServed();
  LoadAll();
  EXPECT_EQ(Calls(Happened()), Lines{IP6_ROW});
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{10, 20, 32778, 32788, 32798}));
  WithdrawVlan30();
  Ask();
  ExpectConverged();
}

// --- an instance goes ---

// The library forgets the instance at once, and does not wait for anything: when the VLAN comes
// back, the instance is asked for again. A stack that still has it does not announce it anew, and
// the routes wait. Removing the VLAN once more helps.
class RemovalCall : public RtmCall {
 protected:
  void Establish() override;
  void Ask() override { LoadVlansWithOspf({10, 20}); }
  std::string RowText() const override { return "instance 30 "; }

  void Busy() override { ExpectStale(Status(5)); }
  void Refused() override { ExpectStale(Status(3)); }
  void Never() override { ExpectStale(Kind(Answer::kNever)); }
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;

 private:
  void Send(const Answer& answer);
  void ExpectStale(const Answer& answer);
  // The VLAN comes back too early for the stack.
  void ComeBack();
  void ComeBackOnceMore();
};

void RemovalCall::Establish() {
  RtmCall::Establish();
  AddVlan30();
  Quiet();
  EXPECT_EQ(Readiness(), "11");
}

void RemovalCall::Send(const Answer& answer) {
  ScriptRow({6, 30}, answer);
  Take();
  WithdrawVlan30();
  EXPECT_EQ(Readiness(), "00");
  EXPECT_EQ(Then(RUN_MS), Lines());
}

void RemovalCall::ComeBack() {
  AddVlan30();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_EQ(Readiness(), "01");
}

void RemovalCall::ComeBackOnceMore() {
  WithdrawVlan30();
  LoadAll();
  EXPECT_EQ(Calls(Happened()), (Lines{ROW, IP6_ROW}));
  EXPECT_EQ(Calls(Next()), Rows());
  EXPECT_EQ(Readiness(), "11");
  WithdrawVlan30();
  ExpectConverged();
}

void RemovalCall::ExpectStale(const Answer& answer) {
  Send(answer);
  EXPECT_TRUE(IsThere());
  ExpectSilence();
  ExpectOthersServed();
  ComeBack();
  ExpectWaiting();
  ComeBackOnceMore();
}

// The removal overtakes the creation that was asked for after it.
void RemovalCall::Late() {
  Send(Kind(Answer::kLate));
  ComeBack();
  EXPECT_TRUE(IsThere());
  ExpectWaiting();
  EXPECT_FALSE(IsThere());
  ExpectOthersServed({10, 20, 30});
  ComeBackOnceMore();
}

void RemovalCall::Twice() {
  Send(Kind(Answer::kTwice));
  EXPECT_FALSE(IsThere());
  ExpectSilence();
  ExpectConverged();
}

void RemovalCall::Synchronous() {
  MakeSynchronous();
  Take();
  WithdrawVlan30();
  EXPECT_FALSE(IsThere());
  EXPECT_EQ(Manager().GetDcRouterByVID(30, Tarsel::DcRouterMgr::PROTOCOL_BGP), nullptr);
  Control().SetSynchronous(false);
  ExpectConverged();
}

void RemovalCall::Restarted() {
  Send(Kind(Answer::kNever));
  Control().Restart();
  ExpectSilence();
  EXPECT_EQ(Dump(), "");
  Rebuild();
  ExpectConverged();
}

}  // namespace

testing::Test* Instance(Fault fault) { return new Trial<CreationCall>(fault); }
testing::Test* RemovedInstance(Fault fault) { return new Trial<RemovalCall>(fault); }

}  // namespace stackfaults
