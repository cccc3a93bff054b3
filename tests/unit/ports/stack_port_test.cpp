// The software stack as apply sees it.

#include "device/ports/stack_port.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "device/stack/protocol_rows.h"
#include "stack/sms.h"
#include "tests/support/device_fixture.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dcrouter_api.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using rows::AddressRow;
using rows::InstanceRow;
using rows::InterfaceRow;
using rows::ProtocolRow;
using rows::RouteRow;
using rows::Row;
using rows::RuleRow;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr unsigned int IP6_BIT = 0x8000;
constexpr std::uint32_t CONNECTED = intent::CODE_CONNECTED;
constexpr std::uint32_t OSPF = intent::CODE_OSPF;

/// "route 10", "interface 10": the kind and the VLAN.
std::string TextOf(const Row& row) {
  const char* const kinds[] = {"instance ",     "interface ", "address ",
                               "protocol row ", "route ",     "rule "};
  return kinds[row.index()] + std::to_string(rows::VlanOf(row));
}

class Listener : public rows::StackListener {
 public:
  void Answered(const Row& row, unsigned int status) override {
    heard.push_back(TextOf(row) + ": " + std::to_string(status));
  }
  void Restarted() override { heard.push_back("restarted"); }
  Lines Take() {
    Lines taken;
    taken.swap(heard);
    return taken;
  }

  Lines heard;
};

class StackPortTest : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "b": {"vid": 20}}})", "vlans.json");
    ASSERT_TRUE(Settle());
    port.SetListener(&listener);
  }

  static void SendInterface(unsigned int instance, int rowStatus = 4, unsigned int ifIndex = 3) {
    sms_act_interface(rowStatus, 1, instance, ifIndex, "eth", 0, 24, 0);
  }
  static void SendAddress(unsigned int instance, unsigned char last) {
    const unsigned char ip4[16] = {10, 1, 0, last};
    const unsigned char ip6[16] = {0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last};
    const bool isIp6 = (instance & IP6_BIT) != 0;
    sms_act_ipaddr(1, instance, isIp6 ? 2 : 1, 3, isIp6 ? ip6 : ip4, 24);
  }
  static void SendRoute(unsigned int instance, unsigned char third, unsigned int ifIndex = 0,
                        unsigned short metric = 7, int adminStatus = 1) {
    const unsigned char destination[16] = {10, 9, third};
    const unsigned char gateway[16] = {10, 1, 0, 1};
    sms_update_route(1, 1, adminStatus, (instance & IP6_BIT) != 0 ? 2 : 1, destination, 24, gateway,
                     Tarsel::PATH_TYPE_STATIC, ifIndex, static_cast<unsigned short>(instance),
                     metric);
  }
  static void SendRule(unsigned int instance, std::uint32_t source, bool isUp = true) {
    sms_act_cipr_redist(1, isUp ? 1 : 2, static_cast<int>(source), static_cast<int>(OSPF), instance,
                        0);
  }
  static RouteRow Route(unsigned short vlan, bool ip6, unsigned char third,
                        std::uint32_t ifIndex = 0) {
    return {{vlan, ip6, 24, {10, 9, third}, {10, 1, 0, 1}}, ifIndex};
  }
  void Script(RowType type, const Answer& answer, unsigned int times = 1) {
    Control().Script(type, answer, times);
  }

  ports::SoftwareStackPort port{stack, [this] { return loop.Now() / 1000; }};
  Listener listener;
};

// Rows.

TEST_F(StackPortTest, InstancesHaveTheDistancesOfTheDocument) {
  Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "b": {"vid": 20, "RTM": {
         "dead_rpm_timer": 1, "ADMIN_DISTANCE": {"ospfv2_internal": 2, "ospfv2_external": 4,
         "ospfv3_internal": 3, "ospfv3_external": 5, "ripv2": 6, "ripng": 7, "ebgp": 8,
         "ibgp": 9}}}}})",
         "vlans.json");
  ASSERT_TRUE(Settle());
  std::vector<std::string> read;
  std::optional<rows::StackInstance> last;
  for (;;) {
    const auto slice = port.ReadInstances(last ? &*last : nullptr, 3);
    if (slice.empty()) {
      break;
    }
    for (const rows::StackInstance& instance : slice) {
      read.push_back(std::to_string(instance.row.vlan) + (instance.row.ip6 ? "/6" : "/4"));
      const auto found = port.FindInstance(instance.row);
      ASSERT_TRUE(found);
      EXPECT_EQ(instance.distances, found->distances);
      amb_cipr_rtm_entity entity{};
      ASSERT_EQ(1, cGetRtmConfig(instance.row.vlan | (instance.row.ip6 ? IP6_BIT : 0), &entity));
      EXPECT_THAT(instance.distances, ElementsAre(entity.word[6], entity.word[7], entity.word[8],
                                                  entity.word[9], entity.word[14]));
    }
    last = slice.back();
  }
  EXPECT_THAT(read, ElementsAre("10/4", "20/4", "10/6", "20/6"));
  EXPECT_FALSE(port.FindInstance({30, false}));
}

TEST_F(StackPortTest, InterfacesAndAddressesAreReadAndFound) {
  for (const unsigned int instance : {10u, 10u | IP6_BIT}) {
    SendInterface(instance);
    SendInterface(instance, 4, 4);
    SendAddress(instance, 1);
    SendAddress(instance, 2);
  }
  ASSERT_TRUE(Settle());
  const auto interfaces = port.ReadInterfaces(nullptr, 3);
  ASSERT_EQ(3u, interfaces.size());
  EXPECT_EQ(1u, port.ReadInterfaces(&interfaces.back(), 3).size());
  EXPECT_TRUE(port.FindInterface(10 | IP6_BIT, 4));
  EXPECT_FALSE(port.FindInterface(10, 5));
  const auto addresses = port.ReadAddresses(nullptr, 3);
  ASSERT_EQ(3u, addresses.size());
  EXPECT_EQ(1u, port.ReadAddresses(&addresses.back(), 3).size());
  AddressRow row{10, 3, false, {10, 1, 0, 2}};
  EXPECT_TRUE(port.FindAddress(row));
  row.ip6 = true;
  EXPECT_FALSE(port.FindAddress(row));
  row.address = {0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
  ASSERT_TRUE(port.FindAddress(row));
  EXPECT_EQ(24u, port.FindAddress(row)->prefix_length);
}

TEST_F(StackPortTest, RoutesAreReadInSlicesAndFound) {
  for (unsigned char third = 0; third < 20; ++third) {
    SendRoute(20, third, third % 3, static_cast<unsigned short>(third), third % 4 == 0 ? 2 : 1);
    SendRoute(10 | IP6_BIT, third);
  }
  ASSERT_TRUE(Settle());
  std::vector<rows::StackRoute> read;
  for (auto slice = port.ReadRoutes(nullptr, 7); !slice.empty();
       slice = port.ReadRoutes(&read.back(), 7)) {
    EXPECT_LE(slice.size(), 7u);
    read.insert(read.end(), slice.begin(), slice.end());
  }
  ASSERT_EQ(40u, read.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const bool ip6 = i >= 20;
    const auto third = static_cast<unsigned char>(i % 20);
    const RouteRow row = ip6 ? Route(10, true, third) : Route(20, false, third, third % 3u);
    EXPECT_TRUE(read[i].route.target == row.target) << i;
    EXPECT_EQ(row.ifIndex, read[i].route.ifIndex);
    EXPECT_EQ(ip6 ? 7u : third, read[i].route.metric);
    EXPECT_EQ(ip6 || third % 4 != 0, read[i].isUp);
    const auto found = port.FindRoute(row);
    ASSERT_TRUE(found) << i;
    EXPECT_TRUE(found->route == read[i].route);
    EXPECT_EQ(found->isUp, read[i].isUp);
  }
  EXPECT_FALSE(port.FindRoute(Route(20, false, 1, 0))) << "it has the interface 1";
  EXPECT_FALSE(port.FindRoute(Route(10, false, 1)));
}

TEST_F(StackPortTest, RulesThatAreDownAreLeftOutHoweverManyThereAre) {
  for (std::uint32_t source = 1; source <= 9; ++source) {
    SendRule(10, source, source == 9);
  }
  SendRule(10 | IP6_BIT, CONNECTED);
  ASSERT_TRUE(Settle());
  const auto first = port.ReadRules(nullptr, 3);
  ASSERT_EQ(1u, first.size());
  EXPECT_EQ(9u, first[0].source);
  EXPECT_TRUE((first[0].destination == intent::Destination{10, false, OSPF}));
  const auto second = port.ReadRules(&first[0], 3);
  ASSERT_EQ(1u, second.size());
  EXPECT_TRUE((second[0].destination == intent::Destination{10, true, OSPF}));
  EXPECT_EQ(CONNECTED, second[0].source);
  EXPECT_THAT(port.ReadRules(&second[0], 2), IsEmpty());
  EXPECT_TRUE(port.HasRule(first[0]));
  EXPECT_FALSE(port.HasRule({first[0].destination, 8})) << "it is down";
  EXPECT_FALSE(port.HasRule({first[0].destination, 10}));
}

// Answers.

TEST_F(StackPortTest, AnswersAreForwardedExceptForRoutesAndRules) {
  SendInterface(20);
  SendAddress(20, 1);
  SendRoute(20, 1);
  SendRule(20, CONNECTED);
  sms_act_protocol_row(1, 77, 1, 1, 20, reinterpret_cast<const unsigned char*>("k"), 1, "");
  amb_cipr_rtm_entity entity{};
  entity.word[0] = 20;
  entity.word[1] = 1;
  sms_act_rtm(&entity);
  EXPECT_THAT(listener.Take(), IsEmpty());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(listener.Take(), ElementsAre("interface 20: 1", "address 20: 1", "protocol row 20: 1",
                                           "instance 20: 1"));
  port.SetListener(nullptr);
  SendInterface(20);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(listener.Take(), IsEmpty());
}

TEST_F(StackPortTest, ARefusalIsKnownUntilTheRowSucceedsOrGoes) {
  const InterfaceRow row{10, 3};
  EXPECT_EQ(0u, port.GetRefusal(row));
  Script(RowType::kInterface, {Answer::kStatus, 3});
  SendInterface(10);
  SendInterface(10 | IP6_BIT);
  SendInterface(20);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(3u, port.GetRefusal(row)) << "of one of its two instances";
  EXPECT_EQ(0u, port.GetRefusal(InterfaceRow{20, 3}));
  EXPECT_EQ(0u, port.GetRefusal(InterfaceRow{10, 4}));
  Script(RowType::kInterface, {Answer::kStatus, 4});
  SendInterface(10);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(4u, port.GetRefusal(row));
  SendInterface(10);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(0u, port.GetRefusal(row));

  Script(RowType::kInterface, {Answer::kStatus, 3});
  SendInterface(10, 4, 5);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(3u, port.GetRefusal(InterfaceRow{10, 5}));
  SendInterface(10, 6, 5);  // answered with 6, because it is not there
  ASSERT_TRUE(Settle());
  EXPECT_EQ(0u, port.GetRefusal(InterfaceRow{10, 5}));
}

TEST_F(StackPortTest, ARefusalStandsWhenTheNextRequestIsNeverAnswered) {
  Script(RowType::kInterface, {Answer::kStatus, 3});
  SendInterface(10);
  ASSERT_TRUE(Settle());
  Script(RowType::kInterface, {Answer::kNever});
  SendInterface(10);
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(port.EndLostRequests());
  EXPECT_EQ(3u, port.GetRefusal(InterfaceRow{10, 3}));
}

TEST_F(StackPortTest, RefusalsOfRoutesAndRulesAreNotKept) {
  Script(RowType::kRoute, {Answer::kStatus, 3});
  Script(RowType::kRedistribution, {Answer::kStatus, 3});
  SendRoute(10, 1);
  SendRule(10, CONNECTED);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(0u, port.GetRefusal(Route(10, false, 1)));
  EXPECT_EQ(0u, port.GetRefusal(RuleRow{{10, false, OSPF}, CONNECTED}));
  EXPECT_THAT(listener.Take(), IsEmpty());
}

TEST_F(StackPortTest, ARestartIsForwardedAndForgetsRefusals) {
  Script(RowType::kInterface, {Answer::kStatus, 3});
  SendInterface(10);
  ASSERT_TRUE(Settle());
  listener.Take();
  EXPECT_TRUE(port.IsReady());
  Control().Restart();
  EXPECT_THAT(listener.Take(), ElementsAre("restarted"));
  EXPECT_FALSE(port.IsReady());
  EXPECT_EQ(0u, port.GetRefusal(InterfaceRow{10, 3}));
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(port.IsReady());
}

// Requests that are not finished.

TEST_F(StackPortTest, EachKindOfRowIsUnfinishedWhileItsRequestWaits) {
  const std::uint64_t begin = port.Now();
  Control().Hold();
  SendInterface(10 | IP6_BIT);
  loop.AdvanceMilliseconds(100);
  SendInterface(10);
  SendAddress(10 | IP6_BIT, 1);
  SendRoute(10 | IP6_BIT, 1);
  SendRule(10 | IP6_BIT, CONNECTED);
  sms_act_protocol_row(1, 77, 1, 1, 10, reinterpret_cast<const unsigned char*>("k"), 1, "");
  const AddressRow address{10, 3, true, {0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
  const std::vector<Row> rows = {InterfaceRow{10, 3}, address, Route(10, true, 1),
                                 RuleRow{{10, true, OSPF}, CONNECTED}, ProtocolRow{10, 77, "k"}};
  EXPECT_TRUE(port.HasUnfinished());
  for (const Row& row : rows) {
    EXPECT_TRUE(port.IsUnfinished(row)) << TextOf(row);
    EXPECT_EQ(begin + (row.index() == rows[0].index() ? 0u : 100u), port.UnfinishedSince(row));
  }
  EXPECT_FALSE(port.IsUnfinished(InterfaceRow{20, 3}));
  EXPECT_FALSE(port.IsUnfinished(Route(10, false, 1)));
  EXPECT_FALSE(port.IsUnfinished(InstanceRow{10, true}));
  EXPECT_EQ(0u, port.UnfinishedSince(InstanceRow{10, true}));
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(port.HasUnfinished());
  for (const Row& row : rows) {
    EXPECT_FALSE(port.IsUnfinished(row)) << TextOf(row);
    EXPECT_EQ(0u, port.UnfinishedSince(row));
  }
}

TEST_F(StackPortTest, TheEndOfLostRequestsIsForwardedForEveryKind) {
  EXPECT_TRUE(port.EndLostRequests());
  for (const RowType type :
       {RowType::kRtm, RowType::kInterface, RowType::kRoute, RowType::kRedistribution}) {
    Script(type, {Answer::kNever});
  }
  SendInterface(10);
  SendRoute(10, 1);
  SendRule(10, CONNECTED);
  amb_cipr_rtm_entity entity{};
  entity.word[0] = 20;
  entity.word[1] = 1;
  sms_act_rtm(&entity);
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(port.IsUnfinished(Route(10, false, 1)));
  EXPECT_TRUE(port.IsUnfinished(InstanceRow{20, false}));
  EXPECT_THAT(listener.Take(), IsEmpty());
  EXPECT_TRUE(port.EndLostRequests());
  EXPECT_THAT(listener.Take(),
              ElementsAre("interface 10: 0", "route 10: 0", "rule 10: 0", "instance 20: 0"));
  EXPECT_FALSE(port.HasUnfinished());
}

// The library issues what waited for the row, and its answer comes in the same call.
TEST_F(StackPortTest, WhatWaitedForALostRequestIsIssuedAndAnswered) {
  Tarsel::DcInterfaceMgr& registry = *Tarsel::DcInterfaceMgr::GetInstance();
  Script(RowType::kInterface, {Answer::kNever}, 2);
  registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  ASSERT_TRUE(Settle());
  registry.SetInterfaceDown(10, 3, "eth0");
  ASSERT_TRUE(Settle());
  registry.RemoveInterface(10, 3, "eth0");
  registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(port.FindInterface(10, 3));
  EXPECT_TRUE(port.EndLostRequests());
  EXPECT_TRUE(port.FindInterface(10, 3)) << "the last of the requests that waited";
  EXPECT_TRUE(port.FindInterface(10 | IP6_BIT, 3));
}

TEST_F(StackPortTest, AStackThatStandsStillOrAnswersLateIsNotWaitedFor) {
  const std::uint64_t begin = port.Now();
  Control().Hold();
  SendInterface(10);
  EXPECT_FALSE(port.EndLostRequests());
  Control().Release();
  Script(RowType::kInterface, {Answer::kLate, 5, 500});
  EXPECT_FALSE(port.EndLostRequests());
  EXPECT_EQ(begin, port.Now());
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(port.EndLostRequests());
  EXPECT_THAT(listener.Take(), ElementsAre("interface 10: 1"));
}

// A clock that goes on shows for how long the stack may run.
TEST_F(StackPortTest, TheStackIsRunForTenMillisecondsAtMost) {
  Control().SetSliceEvents(1);
  std::uint64_t time = 0;
  ports::SoftwareStackPort hasty(stack, [&time] { return time += 2; });
  for (unsigned int index = 1; index <= 100; ++index) {
    SendInterface(10, 4, index);
  }
  EXPECT_FALSE(hasty.EndLostRequests());
  EXPECT_GE(port.ReadInterfaces(nullptr, 200).size(), 1u);
  EXPECT_LE(time, 12u);
}

TEST_F(StackPortTest, APortThatGoesHearsNothingMore) {
  {
    ports::SoftwareStackPort another(stack, [] { return std::uint64_t{0}; });
    another.SetListener(&listener);
    SendInterface(10);
    ASSERT_TRUE(Settle());
    EXPECT_THAT(listener.Take(), ElementsAre("interface 10: 1"));
  }
  SendInterface(10);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(listener.Take(), IsEmpty());
}

}  // namespace
