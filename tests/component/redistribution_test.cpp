// A redistribution rule's way through the library and the stack.

#include "tests/component/component_fixture.h"
#include "tests/support/trace_texts.h"

namespace {

using test_support::REMOVED;
using test_support::REPLACED;
using test_support::SENDING;

constexpr unsigned int STATIC = 0x30000;
constexpr unsigned int OSPF = 0xD0000;

const char* const DONE = test_support::REDISTRIBUTION_DONE;
const char* const AGAIN = test_support::REDISTRIBUTION_AGAIN;
const char* const NEVER = test_support::REDISTRIBUTION_NEVER;
const char* const ADD_TRACE =
    "5 Redist context = 0 vlan = 10 dest = 0x0xd0000 src = 0x0x30000 pri = 0x(nil) row_status = 1 "
    "admin_status = 1";
const char* const ADD_CALL = "> sms_act_cipr_redist(1, 1, 196608, 851968, 10, 0)";
const char* const REMOVE_TRACE =
    "5 Redist context = 0 vlan = 10 dest = 0x0xd0000 src = 0x0x30000 pri = 0x(nil) row_status = 6 "
    "admin_status = 2";
const char* const REMOVE_CALL = "> sms_act_cipr_redist(6, 2, 196608, 851968, 10, 0)";
const char* const ADD_RESPONSE =
    "10 Redistribution Response from Metaswitch: vlan=10 src=196608 dst=851968 status=1";
const char* const REMOVE_RESPONSE =
    "10 Redistribution Response from Metaswitch: vlan=10 src=196608 dst=851968 status=6";

class Redistribution : public ComponentFixture {
 protected:
  void SetUp() override {
    Start();
    Quiet();
  }

  void LoadWithOspf() {
    LoadVlans({10}, R"(, "OSPF": {"enabled": true}, "OSPFV3": {"enabled": true})");
    Quiet();
  }

  void Change(bool wasEnabled, bool isEnabled) {
    rtm.HandleRedistributionStatusChange(10, STATIC, OSPF, wasEnabled, isEnabled);
  }

  void Answer(unsigned int status, unsigned int times) {
    Control().Script(routing_stack::RowType::kRedistribution,
                     {routing_stack::Answer::kStatus, status, 0}, times);
  }

  // "none", or row status, state and reason of the only item.
  std::string Item() {
    const std::string items = Pending();
    const std::size_t at = items.find("RowStatus");
    return at == std::string::npos ? "none" : items.substr(at, items.find('\n', at) - at);
  }

  Tarsel::DcRtmMgr& rtm = *Tarsel::DcRtmMgr::GetInstance();
};

TEST_F(Redistribution, RuleIsSentByTheNextTickAndEndsWithItsAnswer) {
  LoadWithOspf();
  Change(false, true);
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)");
  EXPECT_EQ(Meanwhile(100), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_EQ(Meanwhile(5), Text({RUN, ADD_RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
  ASSERT_EQ(Control().Redistributions().size(), 1U);
  EXPECT_EQ(Control().Redistributions()[0].vlan, 10U);
  EXPECT_EQ(Control().Redistributions()[0].source, STATIC);
  EXPECT_EQ(Control().Redistributions()[0].destination, OSPF);
}

TEST_F(Redistribution, WithdrawnRuleGoesLikeItCame) {
  LoadWithOspf();
  Change(false, true);
  Quiet();
  Change(true, false);
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, REMOVE_RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
  EXPECT_TRUE(Control().Redistributions().empty());
}

TEST_F(Redistribution, WithdrawalOfARuleThatIsNotThereIsSuccess) {
  LoadWithOspf();
  Change(true, false);
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, REMOVE_RESPONSE, DONE, REMOVED, IN_1000_MS}));
}

TEST_F(Redistribution, RefusedRuleIsTriedAgain) {
  LoadWithOspf();
  Answer(5, 1);
  Change(false, true);
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, ADD_RESPONSE, AGAIN, IN_1000_MS}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(5)");
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, ADD_RESPONSE, DONE, REMOVED, IN_1000_MS}));
}

TEST_F(Redistribution, RuleRefusedForGoodStaysIssued) {
  LoadWithOspf();
  Answer(3, 1);
  Change(false, true);
  Next();
  EXPECT_EQ(Next(), Text({RUN, ADD_RESPONSE, NEVER, IN_1000_MS}));
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(3)");
}

TEST_F(Redistribution, RuleWaitsForItsVlan) {
  Change(false, true);
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)");
  LoadWithOspf();
  EXPECT_EQ(Item(), "none");
  EXPECT_EQ(Control().Redistributions().size(), 1U);
}

// A record without readiness does not let the bucket be looked at.
TEST_F(Redistribution, RuleWaitsForTheInstanceToBeReady) {
  Control().Hold();
  LoadVlans({10}, R"(, "OSPF": {"enabled": true})");
  Change(false, true);
  Take();
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)");
}

TEST_F(Redistribution, RuleIntoARouterThatIsNotReadyIsDroppedSilently) {
  LoadVlans({10});
  Quiet();
  Change(false, true);
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "none");
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 0\n");
}

// The stack has reported an instance ready whose VLAN nobody created: there is no router.
TEST_F(Redistribution, RuleOfAnInstanceWithoutVlanIsDropped) {
  rtm.SetRtmReady(10);
  Change(false, true);
  EXPECT_EQ(Meanwhile(200), "");
  EXPECT_EQ(Item(), "none");
}

TEST_F(Redistribution, Ipv6RuleKeepsItsInstanceAllTheWay) {
  LoadWithOspf();
  rtm.Redistribute(1, 1, STATIC, OSPF, 0x800A);
  EXPECT_EQ(Next(), Text({SENDING,
                          "5 Redist context = 0 vlan = 32778 dest = 0x0xd0000 src = 0x0x30000 pri "
                          "= 0x(nil) row_status = 1 admin_status = 1",
                          "> sms_act_cipr_redist(1, 1, 196608, 851968, 32778, 0)", ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN,
                          "10 Redistribution Response from Metaswitch: vlan=32778 src=196608 "
                          "dst=851968 status=1",
                          DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
}

// --- the stack calls back from inside of calls ---

class SynchronousRedistribution : public Redistribution {
 protected:
  void SetUp() override {
    Redistribution::SetUp();
    LoadWithOspf();
    MakeSynchronous();
  }
};

TEST_F(SynchronousRedistribution, RuleIsInForceAndItsItemStaysIssued) {
  Change(false, true);
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS, ADD_RESPONSE, DONE}));
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_EQ(Control().Redistributions().size(), 1U);
}

TEST_F(SynchronousRedistribution, RefusedRuleIsNotTriedAgain) {
  Answer(5, 1);
  Change(false, true);
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS, ADD_RESPONSE, AGAIN}));
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_TRUE(Control().Redistributions().empty());
}

TEST_F(SynchronousRedistribution, WithdrawalReplacesTheStuckRule) {
  Change(false, true);
  Next();
  Change(true, false);
  EXPECT_EQ(Take(), Text({REPLACED}));
  EXPECT_EQ(Next(),
            Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS, REMOVE_RESPONSE, DONE}));
  EXPECT_TRUE(Control().Redistributions().empty());
  EXPECT_EQ(Item(), "RowStatus(6) AdminStatus(2) ActionState(Issued) ReasonCode(0)");
}

// An Issued item does not stop the walk over its bucket: a rule after it is dropped as usual.
TEST_F(SynchronousRedistribution, RuleIntoARouterThatIsNotReadyIsDropped) {
  Change(false, true);
  Next();
  rtm.Redistribute(1, 1, STATIC, 0x80000, 10);
  EXPECT_EQ(Meanwhile(200), "");
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 1\n");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
}

}  // namespace
