// What the stack tells about itself, read-only.

#include "device/stack/facts.h"

#include <cstring>
#include <type_traits>

#include "device/stack/protocol_rows.h"
#include "stack_test.h"

namespace stack_test {
namespace {

using routing_stack::Facts;
using routing_stack::RowType;

static_assert(
    std::is_same_v<const Facts&,
                   decltype(std::declval<const routing_stack::RoutingStack&>().GetFacts())>,
    "whoever may only look at a stack gets its facts");

class FactsTest : public StackTest {
 protected:
  const Facts& facts = stack.GetFacts();

  /// How much the count grows by a call.
  template <typename AnyCall>
  std::uint64_t Counted(AnyCall call) {
    const std::uint64_t before = facts.CountRequests();
    call();
    return facts.CountRequests() - before;
  }
  static void StoreProtocolRow(unsigned int instance) {
    const unsigned char key[] = {'k'};
    sms_act_protocol_row(1, 7, 1, 1, instance, key, 1, "text");
  }
};

TEST_F(FactsTest, ANewStackHasNothing) {
  EXPECT_THAT(facts.Interfaces(), IsEmpty());
  EXPECT_THAT(facts.Addresses(), IsEmpty());
  EXPECT_THAT(facts.Rib(), IsEmpty());
  EXPECT_THAT(facts.Routes(), IsEmpty());
  EXPECT_THAT(facts.Redistributions(), IsEmpty());
  EXPECT_THAT(facts.Redistributed(10, 0xD0000), IsEmpty());
  EXPECT_THAT(facts.Instances(), IsEmpty());
  EXPECT_EQ(0u, facts.CountRequests());
}

TEST_F(FactsTest, TablesAreRowsInTheOrderOfTheirKeys) {
  Start();
  AddInstance(11);
  AddInstance(10);
  AddInterface(10, 4, false);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 6);
  AddRoute(10, "10.8.0.0/16", "172.16.0.1");
  sms_act_cipr_redist(1, 1, 0x30000, 0xD0000, 10, 0);
  sms_act_cipr_redist(1, 2, 0x20000, 0xD0000, 10, 0);
  EXPECT_THAT(facts.Instances(), IsEmpty()) << "nothing has been worked off";
  RunAll();

  EXPECT_THAT(facts.Instances(), ElementsAre(10, 11));

  const auto interfaces = facts.Interfaces();
  ASSERT_EQ(2u, interfaces.size());
  EXPECT_EQ(10u, interfaces[0].instance);
  EXPECT_EQ(3u, interfaces[0].if_index);
  EXPECT_STREQ("eth3", interfaces[0].name);
  EXPECT_EQ(24u, interfaces[0].flags);
  EXPECT_EQ(1u, interfaces[0].oper_status);
  EXPECT_EQ(4u, interfaces[1].if_index);
  EXPECT_EQ(2u, interfaces[1].oper_status);

  const auto addresses = facts.Addresses();
  ASSERT_EQ(1u, addresses.size());
  EXPECT_EQ(10u, addresses[0].instance);
  EXPECT_EQ(3u, addresses[0].if_index);
  EXPECT_EQ(0, std::memcmp(AddressBytes("10.1.2.3").bytes, addresses[0].address, 16));
  EXPECT_EQ(24u, addresses[0].prefix_length);

  Lines rib;
  for (const amb_cipr_rtm_rib& row : facts.Rib()) {
    rib.push_back(RowText(row));
  }
  EXPECT_THAT(rib, ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                               "  10 10.8.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                               "> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 6"));
  Lines routes;
  for (const amb_cipr_rtm_route& row : facts.Routes()) {
    routes.push_back(RowText(row));
  }
  EXPECT_THAT(routes, ElementsAre("10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                                  "10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 6"));

  const auto rules = facts.Redistributions();
  ASSERT_EQ(2u, rules.size());
  EXPECT_EQ(10u, rules[0].vlan);
  EXPECT_EQ(0x20000u, rules[0].source);
  EXPECT_EQ(0x30000u, rules[1].source);
  EXPECT_EQ(0xD0000u, rules[1].destination);

  const auto handedOver = facts.Redistributed(10, 0xD0000);
  ASSERT_EQ(1u, handedOver.size()) << "the rule for connected routes is down";
  EXPECT_EQ("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 6", RowText(handedOver[0]));
}

TEST_F(FactsTest, EachRequestForARowCountsOnce) {
  const AddressBytes address("10.1.2.3");
  EXPECT_EQ(1u, Counted([&] { AddInstance(10); }));
  EXPECT_EQ(1u, Counted([&] { AddRoute(10, "10.9.0.0/16", "10.1.2.1"); }));
  EXPECT_EQ(1u, Counted([] { sms_act_interface(4, 1, 10, 3, "eth3", 0, 24, 0); }));
  EXPECT_EQ(1u, Counted([] { sms_bld_amb_test_i3_ei(1, 2, 10, 3, "", 0, 0, 0); }));
  EXPECT_EQ(1u, Counted([&] { sms_act_ipaddr(1, 10, 1, 3, address.bytes, 24); }));
  EXPECT_EQ(1u, Counted([] { sms_act_cipr_redist(1, 1, 2, 3, 10, 0); }));
  EXPECT_EQ(1u, Counted([] { sms_bld_amb_test_cipr_redist(6, 2, 2, 3, 10, 0); }));
  EXPECT_EQ(1u, Counted([] { StoreProtocolRow(10); }));
  EXPECT_EQ(1u, Counted([&] { RemoveInterface(10, 3); })) << "a destroy is a request";
  EXPECT_EQ(9u, facts.CountRequests());
}

TEST_F(FactsTest, NothingElseCounts) {
  Start();
  AddInstance(10);
  AddInterface(10, 3);
  StoreProtocolRow(10);
  const std::uint64_t count = facts.CountRequests();
  RunAll();
  const AddressBytes address("10.1.2.3");
  const auto response = [](void*, unsigned int, unsigned int, void*) -> unsigned char { return 1; };
  char filter[] = "3,4";
  unsigned int oid[SMS_OID_MAX];
  sms_protocol_row row;
  amb_cipr_rtm_route route;
  smsi_init(nullptr);
  InvokeCallback(5, 1);
  nbb_trips_control(1);
  nbb_set_ips_filter(filter, 6);
  nbb_get_ips_tracing();
  sms_get_next_i3_ei(10, response, nullptr);
  sms_get_next_i3_ea(10, response, nullptr);
  sms_get_next_rtm_route(response, nullptr);
  sms_get_next_rtm_rib(response, nullptr);
  sms_get_route_oid(oid, 10, 1, address.bytes, 32, address.bytes, 3);
  sms_set_i3_ei_oid(oid, 10, 3);
  sms_set_i3_ea_oid(oid, 10, 3, address.bytes, 1);
  sms_set_cipr_redist_oid(oid, 10, 2, 3);
  EXPECT_EQ(1, sms_get_next_protocol_row(7, 10, nullptr, 0, &row));
  EXPECT_EQ(0, sms_get_next_redistributed(10, 0xD0000, nullptr, &route));
  RunAll();
  EXPECT_EQ(count, facts.CountRequests());
}

TEST_F(FactsTest, WhatBecomesOfARequestDoesNotMatterForTheCount) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_EQ(1u, facts.CountRequests()) << "a request of a stack that is not started";
  Start();
  RunAll();
  EXPECT_EQ(1u, facts.CountRequests()) << "its answer";
  control.Script(RowType::kRoute, {routing_stack::Answer::kNever}, 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  control.Hold();
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_EQ(3u, facts.CountRequests());
  control.Release();
  RunAll();
  EXPECT_EQ(3u, facts.CountRequests());
}

TEST_F(FactsTest, TheCountNeverGoesBack) {
  Start();
  AddInstance(10);
  AddInterface(10, 3);
  control.ResetCounts();
  EXPECT_EQ(2u, facts.CountRequests());
  AddInterface(10, 4);
  EXPECT_EQ(3u, facts.CountRequests());
  control.ResetCounts();
  control.ResetCounts();
  EXPECT_EQ(3u, facts.CountRequests());
  control.Restart();
  EXPECT_EQ(3u, facts.CountRequests());
  RunAll();
  AddInterface(10, 4);
  EXPECT_EQ(4u, facts.CountRequests());
}

TEST_F(FactsTest, TheFactsAreThoseOfTheirOwnStack) {
  Start();
  {
    routing_stack::RoutingStack another([this] { return now; });
    AddInterface(10, 3);
    EXPECT_EQ(0u, another.GetFacts().CountRequests()) << "it has not been made current";
    another.MakeCurrent();
    smsi_init(nullptr);
    AddInterface(10, 4);
    AddInterface(10, 5);
    RunAll();
    EXPECT_EQ(2u, another.GetFacts().CountRequests());
    EXPECT_EQ(2u, another.GetFacts().Interfaces().size());
    EXPECT_EQ(1u, facts.CountRequests());
    EXPECT_THAT(facts.Interfaces(), IsEmpty());
  }
  AddInterface(10, 6);
  EXPECT_EQ(1u, facts.CountRequests()) << "no stack is current";
}

}  // namespace
}  // namespace stack_test
