// A static route's way through the library and the stack.

#include "tests/component/component_fixture.h"
#include "tests/support/trace_texts.h"

namespace {

using Tarsel::Ip4Addr;
using Tarsel::Ip6Prefix;
using test_support::REMOVED;
using test_support::REPLACED;
using test_support::SENDING;

const char* const RESPONSE = test_support::ROUTE_RESPONSE;
const char* const DONE = test_support::ROUTE_DONE;
const char* const AGAIN = test_support::ROUTE_AGAIN;
const char* const NEVER = test_support::ROUTE_NEVER;

const char* const ADD_TRACE =
    "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 metric = 5 path_type = 196608 row "
    "status = 1 admin_status = 1";
const char* const ADD_CALL =
    "> sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 5)";
const char* const REMOVE_TRACE =
    "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 metric = 0 path_type = 0 row "
    "status = 6 admin_status = 2";
const char* const REMOVE_CALL =
    "> sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)";
const char* const REMOVE_CALL_SHARED =
    "> sms_update_route(0, 6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)";

class StaticRoutes : public ComponentFixture {
 protected:
  void SetUp() override {
    Start();
    LoadVlans({10});
    registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
    registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
    registry.AddIpAddress(10, 3, Address6("2001:db8::3"), 64);
    Quiet();
  }

  void Add() {
    EXPECT_EQ(Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0),
                               Ip4Addr(10, 1, 2, 1), 3, 5, 0x30000, 1),
              1);
  }

  void Remove() {
    Tarsel::RemoveRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3);
  }

  // The next `times` route requests are answered so and not carried out.
  void Answer(unsigned int status, unsigned int times) {
    Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, status, 0},
                     times);
  }

  // "none", or row status, state and reason of the only item.
  std::string Item() {
    const std::string items = Pending();
    const std::size_t at = items.find("RowStatus");
    return at == std::string::npos ? "none" : items.substr(at, items.find('\n', at) - at);
  }

  // Whether the stack forwards to the route's destination.
  bool IsInstalled() {
    for (const amb_cipr_rtm_route& route : Control().Routes()) {
      if (route.instance == 10 && route.destination[0] == 10 && route.destination[1] == 9) {
        return true;
      }
    }
    return false;
  }
};

TEST_F(StaticRoutes, AddedRouteIsSentByTheNextTickAndEndsWithItsAnswer) {
  Add();
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)");
  EXPECT_EQ(Meanwhile(99), "");
  EXPECT_EQ(Meanwhile(1), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_FALSE(IsInstalled());
  EXPECT_EQ(Meanwhile(5), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 0\n");
  EXPECT_TRUE(IsInstalled());
  EXPECT_EQ(Meanwhile(1000), "");
}

TEST_F(StaticRoutes, RefusedRouteIsTriedAgainByTheNextTick) {
  Answer(5, 1);
  Add();
  EXPECT_EQ(Meanwhile(100), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Meanwhile(5), Text({RUN, RESPONSE, AGAIN, IN_1000_MS}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(5)");
  // The row is idle again: the second request does not come out of its queue.
  EXPECT_EQ(Meanwhile(95), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Meanwhile(5), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
  EXPECT_TRUE(IsInstalled());
}

TEST_F(StaticRoutes, TenthRefusalIsTheLast) {
  Answer(5, 100);
  Add();
  for (int i = 1; i <= 10; ++i) {
    EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS})) << i;
    EXPECT_EQ(Next(), Text({RUN, RESPONSE, AGAIN, IN_1000_MS})) << i;
  }
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(5)");
}

TEST_F(StaticRoutes, HostBitsAreRefusedForGood) {
  Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 1), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3, 5,
                   0x30000, 1);
  Quiet();
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(4)");
}

TEST_F(StaticRoutes, RouteThatIsRefusedForGoodStaysIssued) {
  Answer(3, 1);
  Add();
  Meanwhile(100);
  EXPECT_EQ(Meanwhile(5), Text({RUN, RESPONSE, NEVER, IN_1000_MS}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(3)");
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_FALSE(IsInstalled());
}

TEST_F(StaticRoutes, RemovalTakesThePlaceOfARouteThatWasGivenUp) {
  Answer(3, 1);
  Add();
  Meanwhile(200);
  Remove();
  EXPECT_EQ(Take(), Text({REPLACED}));
  EXPECT_EQ(Meanwhile(100), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  // The stack never had it: that it is not there is success.
  EXPECT_EQ(Meanwhile(5), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
}

TEST_F(StaticRoutes, RemovedRouteCostsOneRequest) {
  Add();
  Quiet();
  Remove();
  EXPECT_EQ(Item(), "RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(0)");
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
  EXPECT_FALSE(IsInstalled());
  EXPECT_EQ(Meanwhile(1000), "");
}

TEST_F(StaticRoutes, RefusedRemovalIsTriedAgainWhateverTheStatus) {
  Add();
  Quiet();
  Answer(3, 1);
  Remove();
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, AGAIN, IN_1000_MS}));
  EXPECT_EQ(Item(), "RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(3)");
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_FALSE(IsInstalled());
}

TEST_F(StaticRoutes, RemovalOfARouteThatIsNotThereIsSuccess) {
  Remove();
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
}

TEST_F(StaticRoutes, RemovalBeforeTheNextTickTakesTheAdditionsPlace) {
  Add();
  Remove();
  EXPECT_EQ(Take(), Text({REPLACED}));
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Meanwhile(1000), "");
}

TEST_F(StaticRoutes, Ipv6RouteGoesToTheIpv6Instance) {
  Tarsel::AddRoute(10, Address6("::"), Ip6Prefix(Address6("2001:db8:9::"), 48),
                   Address6("2001:db8::1"), 3, 7, 0x30000, 1);
  EXPECT_EQ(Next(), Text({SENDING,
                          "5 Vlan = 10 if_index = 3 ipaddr = 2001:db8:9::/48 gw = 2001:db8::1 "
                          "metric = 7 path_type = 196608 row status = 1 admin_status = 1",
                          "> sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, 196608, "
                          "3, 32778, 7)",
                          ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN,
                          "10 Route Update Response from Metaswitch: vlan = 10, dest= "
                          "2001:db8:9::/48 nexthop: 2001:db8::1",
                          DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
}

TEST_F(StaticRoutes, SecondAnswerAndCompletionFindNothing) {
  Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kTwice, 0, 0}, 1);
  Add();
  Next();
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, REMOVED, RESPONSE, DONE, IN_1000_MS}));
  EXPECT_TRUE(IsInstalled());
}

// --- a removal while the addition is in flight ---

// The removal is still New when the addition's answer comes, which passes it by.
TEST_F(StaticRoutes, RemovalInFlightIsSentByTheNextTick) {
  Add();
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  Remove();
  EXPECT_EQ(Take(), Text({REPLACED}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, IN_1000_MS}));
  EXPECT_EQ(Item(), "RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(0)");
  EXPECT_TRUE(IsInstalled());
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS}));
  EXPECT_EQ(Next(), Text({RUN, RESPONSE, DONE, REMOVED, IN_1000_MS}));
  EXPECT_EQ(Item(), "none");
  EXPECT_FALSE(IsInstalled());
}

// A tick comes before the addition's answer: the removal waits in the row's queue, and the answer,
// which names the row only, ends its item. Its own answer then finds none.
TEST_F(StaticRoutes, RemovalInFlightThatATickHasSentLosesItsItemToTheAdditionsAnswer) {
  Add();
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS}));
  Control().Hold();
  Remove();
  EXPECT_EQ(Meanwhile(100), Text({REPLACED, SENDING}));
  EXPECT_EQ(Item(), "RowStatus(6) AdminStatus(2) ActionState(Issued) ReasonCode(0)");
  Control().Release();
  EXPECT_EQ(Take(), Text({ASK, IN_5_MS}));
  EXPECT_EQ(Meanwhile(5), Text({RUN, RESPONSE, DONE, REMOVED, REMOVE_TRACE, REMOVE_CALL_SHARED, ASK,
                                IN_5_MS, RESPONSE, DONE, SET_ALREADY}));
  EXPECT_EQ(Item(), "none");
  EXPECT_FALSE(IsInstalled());
  EXPECT_EQ(Meanwhile(1000), "");
}

// So a removal that fails is lost when its item has been taken from it.
TEST_F(StaticRoutes, FailureOfSuchARemovalIsLost) {
  Add();
  Next();
  Control().Hold();
  Remove();
  Meanwhile(100);
  unsigned int oid[SMS_OID_MAX];
  const unsigned char destination[4] = {10, 9, 0, 0};
  const unsigned char nextHop[4] = {10, 1, 2, 1};
  const unsigned int length = sms_get_route_oid(oid, 10, 1, destination, 16, nextHop, 3);
  Control().ScriptRow(oid, length, {routing_stack::Answer::kStatus, 1, 0}, 1);
  Control().ScriptRow(oid, length, {routing_stack::Answer::kStatus, 3, 0}, 1);
  Control().Release();
  EXPECT_EQ(Meanwhile(10), Text({ASK, IN_5_MS, RUN, RESPONSE, DONE, REMOVED, REMOVE_TRACE,
                                 REMOVE_CALL_SHARED, ASK, IN_5_MS, RESPONSE, AGAIN, SET_ALREADY}));
  EXPECT_EQ(Item(), "none");
  EXPECT_EQ(Meanwhile(1000), "");
}

// --- the stack calls back from inside of calls ---

// The answer comes while the item is still New. Nothing but an Issued item is removed or tried
// again, and being sent makes it Issued afterwards: it stays so for good.
class SynchronousStaticRoutes : public StaticRoutes {
 protected:
  void SetUp() override {
    StaticRoutes::SetUp();
    MakeSynchronous();
  }
};

TEST_F(SynchronousStaticRoutes, AddedRouteIsInstalledAndItsItemStaysIssued) {
  Add();
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS, RESPONSE, DONE}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_TRUE(IsInstalled());
}

TEST_F(SynchronousStaticRoutes, RefusedRouteIsNotTriedAgain) {
  Answer(5, 1);
  Add();
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS, RESPONSE, AGAIN}));
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
  EXPECT_FALSE(IsInstalled());
}

TEST_F(SynchronousStaticRoutes, RouteRefusedForGoodHasNoReason) {
  Answer(3, 1);
  Add();
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS, RESPONSE, NEVER}));
  EXPECT_EQ(Item(), "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)");
}

TEST_F(SynchronousStaticRoutes, RemovalReplacesTheStuckItemAndSticksItself) {
  Add();
  Next();
  Remove();
  EXPECT_EQ(Take(), Text({REPLACED}));
  EXPECT_EQ(Next(), Text({SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS, RESPONSE, DONE}));
  EXPECT_EQ(Item(), "RowStatus(6) AdminStatus(2) ActionState(Issued) ReasonCode(0)");
  EXPECT_EQ(Meanwhile(2000), "");
  EXPECT_FALSE(IsInstalled());
}

// Nothing is ever in flight: the row is idle again before the removal is asked for.
TEST_F(SynchronousStaticRoutes, RemovalNeverWaitsBehindTheAddition) {
  Add();
  EXPECT_EQ(Next(), Text({SENDING, ADD_TRACE, ADD_CALL, ASK, IN_5_MS, RESPONSE, DONE}));
  Remove();
  EXPECT_EQ(Meanwhile(100),
            Text({REPLACED, SENDING, REMOVE_TRACE, REMOVE_CALL, ASK, IN_5_MS, RESPONSE, DONE}));
}

TEST_F(SynchronousStaticRoutes, WholeBatchIsSentInOneTick) {
  for (unsigned int i = 0; i < 31; ++i) {
    Tarsel::AddRoute(10, Ip4Addr(10, 9, i, 0), Ip4Addr(255, 255, 255, 0), Ip4Addr(10, 1, 2, 1), 3,
                     5, 0x30000, 1);
  }
  Next();
  EXPECT_EQ(Control().CountOf(routing_stack::Call::kSmsUpdateRoute), 31U);
  EXPECT_EQ(Meanwhile(1000), "");
  EXPECT_EQ(Control().CountOf(routing_stack::Call::kSmsUpdateRoute), 31U);
}

}  // namespace
