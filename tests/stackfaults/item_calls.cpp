// Rows that are answered with a status: static routes and redistribution rules.
//
// The configuration scheduler holds an item for each. It is sent by a tick, and what the stack says
// ends it, makes it New again (status 5, and every failure of a removal) ten times at most, or leaves
// it Issued for good. Nothing ever ends an item whose answer does not come. Asking for the row once
// more puts a new item in its place.
//
// A request of a row that has one in the stack waits in the row's queue. It goes out with another
// function, or another first argument, than one that does not wait; the subjects that wait come about
// like this: the stack refuses the first request, but has not finished with the row yet when the tick
// sends the second one.

#include <cstdint>

#include "tests/stackfaults/subject.h"
#include "vantacore/dcrouter_api.h"

namespace stackfaults {

using Tarsel::Ip4Addr;
using Tarsel::Ip6Prefix;

namespace {

const char* const SENDING = "5 OnTIMEOUT Sending MIB ACTION";
const char* const REMOVED = "5 Removing the handle";
const char* const REPLACED = "5 REPLACED ------- 2 item.............";

constexpr unsigned int MOST_REFUSALS = 10;

// What the stack says about a row, and what the library says then.
struct Words {
  std::string response, done, again, never;
};

class ItemCall : public Subject {
 protected:
  // The trace and the call of one request.
  virtual Lines Request(bool waited) const = 0;
  virtual Words Said() const = 0;
  virtual Oid RowOid() const = 0;
  virtual RowType Type() const = 0;
  // How many rows of the type the stack holds without the subject.
  virtual std::size_t OtherRows() const = 0;
  virtual bool IsRemoval() const { return false; }
  // Whether the subject's first request is one that had to wait.
  virtual bool Waits() const { return false; }
  // The stack reports an outcome, out of turn.
  virtual void Report(unsigned int status) = 0;

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
  // The subject is asked for, and is about to be requested ...
  void Lead();
  // ... and is requested.
  Lines Go();
  Lines FirstRequest() const { return Waits() ? Request(true) : NextRequest(); }
  Lines NextRequest() const { return Lines{SENDING} + Request(false); }
  // Requests the subject; the first `times` answers are as said.
  void Send(const Answer& answer, unsigned int times = 1);
  void AskOnceMore();
  // Until the library gives up.
  void ExpectMostRefusals(unsigned int status);
  void ExpectRefusedForGood(unsigned int status);
  unsigned int MostRefusals() const { return Waits() ? MOST_REFUSALS - 1 : MOST_REFUSALS; }

  Lines Done() const { return {Said().response, Said().done, REMOVED}; }
  Lines DoneWithoutItem() const { return {Said().response, Said().done}; }
  Lines Again() const { return {Said().response, Said().again}; }

  // "none", or state and reason of the only item.
  std::string Item();
  // The item of the subject's first request.
  std::string Unanswered() const {
    return Waits() ? "ActionState(Issued) ReasonCode(5)" : "ActionState(Issued) ReasonCode(0)";
  }
};

std::string ItemCall::Item() {
  const std::string items = Pending();
  const std::size_t at = items.find("ActionState");
  return at == std::string::npos ? "none" : items.substr(at, items.find('\n', at) - at);
}

void ItemCall::Lead() {
  if (Waits()) {
    ScriptRow(RowOid(), Kind(Answer::kNever));
  }
  Ask();
  if (Waits()) {
    EXPECT_EQ(Next(), NextRequest());
    EXPECT_EQ(Then(RUN_MS), Lines());
    Report(5);
    EXPECT_EQ(Happened(), Again());
    EXPECT_EQ(Then(TICK_MS - RUN_MS), Lines{SENDING});
  }
}

Lines ItemCall::Go() {
  if (!Waits()) {
    return Next();
  }
  Complete(RowOid());
  return Happened();
}

void ItemCall::Send(const Answer& answer, unsigned int times) {
  Lead();
  ScriptRow(RowOid(), answer, times);
  EXPECT_EQ(Go(), FirstRequest());
}

void ItemCall::AskOnceMore() {
  Take();
  Ask();
  EXPECT_EQ(Happened(), Lines{REPLACED});
}

void ItemCall::Busy() {
  Send(Status(5), MostRefusals() - 1);
  for (unsigned int n = 1; n < MostRefusals(); ++n) {
    EXPECT_EQ(Then(RUN_MS), Again()) << n;
    EXPECT_EQ(Item(), "ActionState(New) ReasonCode(5)") << n;
    EXPECT_EQ(Then(TICK_MS - RUN_MS), NextRequest()) << n;
  }
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

void ItemCall::ExpectMostRefusals(unsigned int status) {
  for (unsigned int n = 1; n < MostRefusals(); ++n) {
    EXPECT_EQ(Then(RUN_MS), Again()) << n;
    EXPECT_EQ(Then(TICK_MS - RUN_MS), NextRequest()) << n;
  }
  EXPECT_EQ(Then(RUN_MS), Again());
  EXPECT_EQ(Item(), "ActionState(Issued) ReasonCode(" + std::to_string(status) + ")");
  ExpectSilence();
}

void ItemCall::Full() {
  Control().SetLimit(Type(), OtherRows(), 5);
  Send(Status(5), 0);
  ExpectMostRefusals(5);
  EXPECT_FALSE(IsThere());
  ExpectOthersServed();
  Control().SetLimit(Type(), SIZE_MAX, 5);
  ExpectSilence();
  AskOnceMore();
  EXPECT_EQ(Next(), NextRequest());
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

void ItemCall::ExpectRefusedForGood(unsigned int status) {
  EXPECT_EQ(Then(RUN_MS), (Lines{Said().response, Said().never}));
  EXPECT_EQ(Item(),
            "ActionState(Issued) ReasonCode(" + std::to_string(static_cast<int>(status)) + ")");
  EXPECT_EQ(Then(2 * TICK_MS), Lines());
}

void ItemCall::Refused() {
  Send(Status(3), IsRemoval() ? MostRefusals() : 1);
  if (IsRemoval()) {
    ExpectMostRefusals(3);
  } else {
    ExpectRefusedForGood(3);
    for (const unsigned int status : {0u, 2u, 4u, 6u, 7u, 8u, 9u, 10u, 0xFFFFFFFFu}) {
      ScriptRow(RowOid(), Status(status));
      AskOnceMore();
      EXPECT_EQ(Next(), NextRequest()) << status;
      ExpectRefusedForGood(status);
    }
    ExpectSilence();
  }
  EXPECT_EQ(IsThere(), IsRemoval());
  ExpectOthersServed();
  AskOnceMore();
  EXPECT_EQ(Next(), NextRequest());
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

// The row stands still until the stack says that it has finished with it, the item until its row is
// answered.
void ItemCall::Never() {
  Send(Kind(Answer::kNever));
  ExpectSilence();
  EXPECT_EQ(Item(), Unanswered());
  EXPECT_EQ(IsThere(), IsRemoval());
  ExpectOthersServed();
  AskOnceMore();
  EXPECT_EQ(Next(), Lines{SENDING});
  ExpectSilence();
  EXPECT_EQ(Item(), "ActionState(Issued) ReasonCode(0)");
  Complete(RowOid());
  EXPECT_EQ(Happened(), Request(true));
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

// The late answer names the row only: it ends the item of the second request, which is issued then.
// The second request's own answer finds no item.
void ItemCall::Late() {
  Send(Kind(Answer::kLate));
  const std::uint64_t sent = Now();
  EXPECT_EQ(Then(2 * TICK_MS), Lines());
  EXPECT_EQ(Item(), Unanswered());
  AskOnceMore();
  EXPECT_EQ(Next(), Lines{SENDING});
  ExpectOthersServed();
  EXPECT_EQ(ThenUntil(sent + LONG_MS), Lines());
  EXPECT_EQ(Then(4 * RUN_MS), Done() + Request(true) + DoneWithoutItem());
  ExpectConverged();
}

// The second end lets go of the row, whoever has it by then. With a second request, which the first
// end has released, that one's answer and end find nothing.
void ItemCall::Twice() {
  Send(Kind(Answer::kTwice));
  EXPECT_EQ(Then(RUN_MS), Done() + DoneWithoutItem());
  EXPECT_EQ(Item(), "none");
  EXPECT_EQ(IsThere(), !IsRemoval());
  ExpectSilence();
  ExpectConverged();

  Lead();
  ScriptRow(RowOid(), Kind(Answer::kTwice));
  Control().Hold();
  EXPECT_EQ(Go(), FirstRequest());
  AskOnceMore();
  EXPECT_EQ(Next(), Lines{SENDING});
  Control().Release();
  EXPECT_EQ(Then(RUN_MS), Done() + Request(true) + DoneWithoutItem() + DoneWithoutItem());
  EXPECT_EQ(Item(), "none");
  ExpectConverged();
}

// The item of a request that a tick sends is New until its request is made: the answer from inside
// of it passes the item by, which then stays Issued. A request that had to wait has an Issued item.
void ItemCall::Synchronous() {
  Lead();
  MakeSynchronous();
  EXPECT_EQ(Go(), FirstRequest() + (Waits() ? Done() : DoneWithoutItem()));
  ExpectSilence();
  EXPECT_EQ(Item(), Waits() ? "none" : "ActionState(Issued) ReasonCode(0)");
  EXPECT_EQ(IsThere(), !IsRemoval());
  FlapInterface();
  WalkInterfaces();
  MakeVlan40({10, 20});
  Control().SetSynchronous(false);
  if (!Waits()) {
    AskOnceMore();
    EXPECT_EQ(Next(), NextRequest());
    EXPECT_EQ(Then(RUN_MS), Done());
  }
  ExpectConverged();
}

// The library takes the old answer for granted, and sends nothing of its own accord: the host has to
// build everything anew.
void ItemCall::Restarted() {
  Send(Kind(Answer::kNever));
  EXPECT_EQ(Then(RUN_MS), Lines());
  Control().Restart();
  EXPECT_EQ(Then(2 * TICK_MS), Lines());
  EXPECT_EQ(Dump(), "");
  Report(1);
  Complete(RowOid());
  EXPECT_EQ(Happened(), Done());
  ExpectSilence();
  EXPECT_EQ(State(), "");
  Rebuild();
  Ask();
  ExpectConverged();
}

// An item outlives its VLAN. It waits until the VLAN is back and its instance is ready.
void ItemCall::VlanGone() {
  Send(Kind(Answer::kNever));
  WithdrawVlan10();
  Report(5);
  Complete(RowOid());
  EXPECT_EQ(Happened(), Again());
  ExpectSilence();
  EXPECT_EQ(Item(), "ActionState(New) ReasonCode(5)");
  ExpectOthersServed({20});
  LoadVlansWithOspf({10, 20});
  Take();
  EXPECT_EQ(Next(), NextRequest());
  EXPECT_EQ(Then(RUN_MS), Done());
  ExpectConverged();
}

// --- static routes ---

enum Use { ADDED, ADDED_IP6, REMOVED_AGAIN, WAITING };

template <Use USE>
class RouteCall : public ItemCall {
 protected:
  static constexpr bool IP6 = USE == ADDED_IP6;

  void Establish() override {
    Subject::Establish();
    if (IsRemoval()) {
      Add();
      Quiet();
    }
  }

  void Add() {
    if (IP6) {
      Tarsel::AddRoute(10, Address6("::"), Ip6Prefix(Address6("2001:db8:9::"), 48),
                       Address6("2001:db8::1"), 3, 5, Tarsel::PATH_TYPE_STATIC, 1);
    } else {
      Tarsel::AddRoute(10, DESTINATION, MASK, GATEWAY, 3, 5, Tarsel::PATH_TYPE_STATIC, 1);
    }
  }

  void Ask() override {
    if (IsRemoval()) {
      Tarsel::RemoveRoute(10, DESTINATION, MASK, GATEWAY, 3);
    } else {
      Add();
    }
  }

  bool IsRemoval() const override { return USE == REMOVED_AGAIN; }
  bool Waits() const override { return USE == WAITING; }
  RowType Type() const override { return RowType::kRoute; }
  std::size_t OtherRows() const override { return 1; }

  std::string RowText() const override {
    return IP6 ? "rib 32778 2001:db8:9::/48 " : "rib 10 10.9.0.0/16 ";
  }

  Lines Request(bool waited) const override {
    const std::string first = waited ? "> sms_update_route(0, " : "> sms_update_route(1, ";
    if (IP6) {
      return {
          "5 Vlan = 10 if_index = 3 ipaddr = 2001:db8:9::/48 gw = 2001:db8::1 metric = 5 "
          "path_type = 196608 row status = 1 admin_status = 1",
          first + "1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, 196608, 3, 32778, 5)"};
    }
    if (IsRemoval()) {
      return {
          "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 metric = 0 path_type = 0 "
          "row status = 6 admin_status = 2",
          first + "6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"};
    }
    return {
        "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 metric = 5 path_type = "
        "196608 row status = 1 admin_status = 1",
        first + "1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 5)"};
  }

  Words Said() const override {
    return {std::string("10 Route Update Response from Metaswitch: vlan = 10, dest= ") +
                (IP6 ? "2001:db8:9::/48 nexthop: 2001:db8::1" : "10.9.0.0/16 nexthop: 10.1.2.1"),
            "10 Route Programmed Successfully", "10 Route Not programmed!!! Retrying...",
            "10 Unable to set route. No retry!!!"};
  }

  Oid RowOid() const override {
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_get_route_oid(oid.data(), Instance(), Type1Or2(), Destination(), Length(),
                                 NextHop(), 3));
    return oid;
  }

  void Report(unsigned int status) override {
    const int metric = IsRemoval() ? 0 : 5;
    const int pathType = IsRemoval() ? 0 : static_cast<int>(Tarsel::PATH_TYPE_STATIC);
    cSetRouteState(Instance(), Type1Or2(), Destination(), Length(), NextHop(), 3, metric, pathType,
                   IsRemoval() ? 6 : 1, IsRemoval() ? 2 : 1, 0, status);
  }

 private:
  static unsigned short Instance() { return IP6 ? 0x800A : 10; }
  static int Type1Or2() { return IP6 ? 2 : 1; }
  static unsigned int Length() { return IP6 ? 48 : 16; }
  static const unsigned char* Destination() {
    static const unsigned char IP4_BYTES[4] = {10, 9, 0, 0};
    static const unsigned char IP6_BYTES[16] = {0x20, 1, 0xd, 0xb8, 0, 9};
    return IP6 ? IP6_BYTES : IP4_BYTES;
  }
  static const unsigned char* NextHop() {
    static const unsigned char IP4_BYTES[4] = {10, 1, 2, 1};
    static const unsigned char IP6_BYTES[16] = {0x20, 1, 0xd, 0xb8, 0, 0, 0, 0,
                                                0,    0, 0,   0,    0, 0, 0, 1};
    return IP6 ? IP6_BYTES : IP4_BYTES;
  }

  const Ip4Addr DESTINATION{10, 9, 0, 0};
  const Ip4Addr MASK{255, 255, 0, 0};
  const Ip4Addr GATEWAY{10, 1, 2, 1};
};

// --- redistribution rules ---

template <Use USE>
class RuleCall : public ItemCall {
 protected:
  static constexpr unsigned int STATIC = 0x30000;
  static constexpr unsigned int OSPF = 0xD0000;

  void Establish() override {
    Subject::Establish();
    if (IsRemoval()) {
      Change(true);
      Quiet();
    }
  }

  void Change(bool isOn) {
    Tarsel::DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(10, STATIC, OSPF, !isOn,
                                                                      isOn);
  }

  void Ask() override { Change(!IsRemoval()); }

  bool IsRemoval() const override { return USE == REMOVED_AGAIN; }
  bool Waits() const override { return USE == WAITING; }
  RowType Type() const override { return RowType::kRedistribution; }
  std::size_t OtherRows() const override { return 0; }

  std::string RowText() const override { return "redistribution 10 196608 851968 "; }

  Lines Request(bool waited) const override {
    const std::string status =
        IsRemoval() ? "row_status = 6 admin_status = 2" : "row_status = 1 admin_status = 1";
    return {std::string("5 Redist context = ") + (waited ? "1" : "0") +
                " vlan = 10 dest = 0x0xd0000 src = 0x0x30000 pri = 0x(nil) " + status,
            std::string(waited ? "> sms_bld_amb_test_cipr_redist(" : "> sms_act_cipr_redist(") +
                (IsRemoval() ? "6, 2" : "1, 1") + ", 196608, 851968, 10, 0)"};
  }

  Words Said() const override {
    return {std::string("10 Redistribution Response from Metaswitch: vlan=10 src=196608 dst=851968 "
                        "status=") +
                (IsRemoval() ? "6" : "1"),
            "10 Redistribution Request Success",
            "10 Redistribution Request Not success!! Retrying...",
            "10 Unable to set redistribution. No retry!!!"};
  }

  Oid RowOid() const override {
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_set_cipr_redist_oid(oid.data(), 10, STATIC, OSPF));
    return oid;
  }

  void Report(unsigned int status) override {
    cSetRedistState(IsRemoval() ? 6 : 1, IsRemoval() ? 2 : 1, STATIC, OSPF, 0, 10, 0, status);
  }
};

}  // namespace

testing::Test* AddedRoute(Fault fault) { return new Trial<RouteCall<ADDED>>(fault); }
testing::Test* AddedIp6Route(Fault fault) { return new Trial<RouteCall<ADDED_IP6>>(fault); }
testing::Test* RemovedRoute(Fault fault) { return new Trial<RouteCall<REMOVED_AGAIN>>(fault); }
testing::Test* WaitingRoute(Fault fault) { return new Trial<RouteCall<WAITING>>(fault); }
testing::Test* AddedRule(Fault fault) { return new Trial<RuleCall<ADDED>>(fault); }
testing::Test* RemovedRule(Fault fault) { return new Trial<RuleCall<REMOVED_AGAIN>>(fault); }
testing::Test* WaitingRule(Fault fault) { return new Trial<RuleCall<WAITING>>(fault); }

}  // namespace stackfaults
