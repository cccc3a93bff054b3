// Static route and redistribution requests, and what the stack's answers make of them. The answers
// are given by hand: the stack itself is held.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/cfg_items.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcrouter_api.h"

namespace {

using Tarsel::DcRtmMgr;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

constexpr unsigned short VLAN = 10;
constexpr unsigned int OSPF = 0xD0000;
constexpr unsigned int SOURCE = 0x20000;

const unsigned char DESTINATION[4] = {10, 9, 0, 0};
const unsigned char NEXT_HOP[4] = {10, 1, 2, 1};

Ip6Addr Address6(const char* text) {
  Ip6Addr address;
  EXPECT_TRUE(Tarsel::ParseIp6Address(address, text)) << text;
  return address;
}

class Requests : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start();
    Control().Hold();
    TakeCalls();
    traces.Take();
  }

  // The stack is ready for rows, and so are both RTM instances of the VLAN.
  void MakeReady() {
    cI3Ready();
    rtm.SetRtmReady(VLAN);
    rtm.SetRtmReady(VLAN | DcRtmMgr::IP6_INSTANCE_BIT);
  }

  void Tick() { loop.AdvanceMilliseconds(100); }

  void AddRoute(int rowStatus = 1, int adminStatus = 1) {
    rtm.UpdateStaticRoute(VLAN, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, rowStatus,
                          adminStatus);
  }

  void AnswerRoute(int rowStatus, unsigned int status) {
    rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, rowStatus, 1, 0,
                            status);
  }

  // The row of the route is free again.
  void CompleteRoute() {
    unsigned int oid[SMS_OID_MAX];
    const unsigned int length = sms_get_route_oid(oid, VLAN, 1, DESTINATION, 16, NEXT_HOP, 3);
    cRunPendingAction(oid, length);
  }

  // The scheduler's items, one a line, without their numbers.
  Lines Items() {
    const auto log = test_support::NewConsoleLog();
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().Print(&console);
    Lines items;
    std::size_t begin = 0;
    while (begin < log->output.size()) {
      const std::size_t end = log->output.find('\n', begin);
      const std::string line = log->output.substr(begin, end - begin);
      if (!line.empty() && line.compare(0, 4, "====") != 0) {
        items.push_back(line);
      }
      begin = end + 1;
    }
    return items;
  }

  std::string Summary() {
    const auto log = test_support::NewConsoleLog();
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().PrintSummary(&console);
    return log->output;
  }

  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
};

std::string RouteItem(const char* rest) {
  return std::string(
             "StaticRouteItem: vrf(10) Dest(10.9.0.0/16) NextHop(10.1.2.1) Intf(3) "
             "metric(5) Type(Static) ") +
         rest;
}

std::string RuleItem(const char* rest) {
  return std::string("RedistItem: Instance(10) Dest(0xd0000) Src(0x20000) Priority(0x0) ") + rest;
}

// --- requests ---

TEST_F(Requests, RouteBecomesAnItemOfTheVlansRouteBucket) {
  AddRoute();
  EXPECT_THAT(Items(),
              ElementsAre(RouteItem("RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)")));
  EXPECT_EQ(Summary(), "Pending Item Buckets: 1\n");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(Requests, AddressClassesGiveTheirFamilyAndBytes) {
  rtm.UpdateStaticRoute(VLAN, Ip4Addr(192, 0, 2, 0), 24, Ip4Addr(10, 0, 0, 1), 7, 8, 0x30000, 1U,
                        2U);
  rtm.UpdateStaticRoute(VLAN, Address6("2001:db8:9::"), 48, Address6("2001:db8::1"), 9, 11, 0x20000,
                        6U, 2U);
  EXPECT_THAT(
      Items(),
      ElementsAre("StaticRouteItem: vrf(10) Dest(192.0.2.0/24) NextHop(10.0.0.1) Intf(7) metric(8) "
                  "Type(Static) RowStatus(1) AdminStatus(2) ActionState(New) ReasonCode(0)",
                  "StaticRouteItem: vrf(10) Dest(2001:db8:9::/48) NextHop(2001:db8::1) Intf(9) "
                  "metric(11) Type(Other) RowStatus(6) AdminStatus(2) ActionState(New) "
                  "ReasonCode(0)"));
}

TEST_F(Requests, BothFamiliesOfAVlanShareABucketAndVlansDoNot) {
  rtm.UpdateStaticRoute(VLAN, Ip4Addr(192, 0, 2, 0), 24, Ip4Addr(10, 0, 0, 1), 7, 8, 0x30000, 1U,
                        1U);
  rtm.UpdateStaticRoute(VLAN, Address6("2001:db8:9::"), 48, Address6("2001:db8::1"), 9, 11, 0x30000,
                        1U, 1U);
  EXPECT_EQ(Summary(), "Pending Item Buckets: 1\n");
  rtm.UpdateStaticRoute(11, Ip4Addr(192, 0, 2, 0), 24, Ip4Addr(10, 0, 0, 1), 7, 8, 0x30000, 1U, 1U);
  EXPECT_EQ(Summary(), "Pending Item Buckets: 2\n");
  rtm.Redistribute(1, 1, SOURCE, OSPF, VLAN);
  EXPECT_EQ(Summary(), "Pending Item Buckets: 3\n");
}

// The general form takes any number: its bucket is that of the whole number, its row that of the
// VLAN.
TEST_F(Requests, AVlanNumberOfMoreThanSixteenBitsHasABucketOfItsOwn) {
  MakeReady();
  rtm.UpdateStaticRoute(0x10000U + VLAN, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, 1, 1);
  AddRoute();
  EXPECT_EQ(Summary(), "Pending Item Buckets: 2\n");
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("vrf(10)"), HasSubstr("vrf(65546)")));
  Tick();
  AnswerRoute(1, 1);
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("vrf(65546)")));
}

TEST_F(Requests, BucketsOfAVlanAreInOrderOfRowType) {
  AddRoute();
  rtm.Redistribute(1, 1, SOURCE, OSPF, VLAN);
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("RedistItem"), HasSubstr("StaticRouteItem")));
  EXPECT_EQ(Tarsel::ROW_TYPE_REDISTRIBUTION, 0x3D000002U);
  EXPECT_EQ(Tarsel::ROW_TYPE_STATIC_ROUTE, 0x3D000003U);
}

TEST_F(Requests, RouteIsSentWhenTheInstanceIsReady) {
  cI3Ready();
  AddRoute();
  Tick();
  EXPECT_THAT(Calls(), IsEmpty());
  rtm.SetRtmReady(VLAN);
  Tick();
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 5)"));
  EXPECT_THAT(
      Items(),
      ElementsAre(RouteItem("RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(0)")));
}

TEST_F(Requests, NewRequestForTheSameRowReplacesThePendingOne) {
  AddRoute();
  AddRoute(6, 2);
  EXPECT_THAT(Items(),
              ElementsAre(RouteItem("RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(0)")));
  EXPECT_THAT(traces.Take(), ElementsAre("5:REPLACED ------- 2 item.............\n"));
}

TEST_F(Requests, MissingNextHopIsAllZero) {
  rtm.UpdateStaticRoute(VLAN, 1, DESTINATION, 16, nullptr, 3, 5, 0x30000, 1, 1);
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("Dest(10.9.0.0/16) NextHop(0.0.0.0)")));
}

// --- answers to routes ---

class RouteAnswers : public Requests {
 protected:
  void SetUp() override {
    Requests::SetUp();
    MakeReady();
    AddRoute();
    Tick();
    TakeCalls();
    traces.Take();
  }

  static constexpr const char* RESPONSE =
      "10:Route Update Response from Metaswitch: vlan = 10, dest= 10.9.0.0/16 nexthop: 10.1.2.1\n";
};

TEST_F(RouteAnswers, SuccessRemovesTheItemAndItsBucket) {
  EXPECT_EQ(Summary(), "Pending Item Buckets: 1\n");
  AnswerRoute(1, 1);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_EQ(Summary(), "Pending Item Buckets: 0\n");
  EXPECT_EQ(traces.Take(), (Lines{
                               RESPONSE,
                               "10:Route Programmed Successfully\n",
                               "5:Removing the handle\n",
                           }));
}

TEST_F(RouteAnswers, SuccessLeavesTheBucketsOtherItems) {
  rtm.UpdateStaticRoute(VLAN, Ip4Addr(192, 0, 2, 0), 24, Ip4Addr(10, 0, 0, 1), 7, 8, 0x30000, 1U,
                        1U);
  AnswerRoute(1, 1);
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("192.0.2.0/24")));
  EXPECT_EQ(Summary(), "Pending Item Buckets: 1\n");
}

TEST_F(RouteAnswers, Status5IsTriedAgain) {
  AnswerRoute(1, 5);
  EXPECT_THAT(Items(),
              ElementsAre(RouteItem("RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(5)")));
  EXPECT_EQ(traces.Take(), (Lines{RESPONSE, "10:Route Not programmed!!! Retrying...\n"}));
  CompleteRoute();
  Tick();
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 5)"));
  EXPECT_THAT(
      Items(),
      ElementsAre(RouteItem("RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(5)")));
}

TEST_F(RouteAnswers, TenFailuresExhaustTheRetries) {
  for (int i = 1; i <= 9; ++i) {
    AnswerRoute(1, 5);
    CompleteRoute();
    Tick();
    EXPECT_EQ(TakeCalls().size(), 1U) << i;
  }
  AnswerRoute(1, 5);
  CompleteRoute();
  for (int i = 0; i < 20; ++i) {
    Tick();
  }
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(
      Items(),
      ElementsAre(RouteItem("RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(5)")));
}

TEST_F(RouteAnswers, SuccessAfterTheLastRetryStillRemovesTheItem) {
  for (int i = 1; i <= 10; ++i) {
    AnswerRoute(1, 5);
    CompleteRoute();
    Tick();
  }
  AnswerRoute(1, 1);
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteAnswers, AnyOtherStatusGivesUpAtOnce) {
  for (const unsigned int status : {3U, 0U, 2U, 4U, 6U, 7U, 4294967295U}) {
    traces.Take();
    AnswerRoute(1, status);
    CompleteRoute();
    Tick();
    EXPECT_EQ(traces.Lines()[1], "10:Unable to set route. No retry!!!\n") << status;
    EXPECT_THAT(Calls(), IsEmpty()) << status;
    EXPECT_EQ(Items()[0], RouteItem(("RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(" +
                                     std::to_string(static_cast<int>(status)) + ")")
                                        .c_str()));
  }
}

TEST_F(RouteAnswers, GivenUpRouteStaysWithItsReason) {
  AnswerRoute(1, 3);
  EXPECT_EQ(traces.Take(), (Lines{RESPONSE, "10:Unable to set route. No retry!!!\n"}));
  EXPECT_THAT(
      Items(),
      ElementsAre(RouteItem("RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(3)")));
}

TEST_F(RouteAnswers, Status6OfADestroyIsSuccess) {
  AnswerRoute(6, 6);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_EQ(traces.Take()[1], "10:Route Programmed Successfully\n");
}

TEST_F(RouteAnswers, AnyFailureOfADestroyIsTriedAgain) {
  for (const unsigned int status : {0U, 2U, 3U, 4U, 5U, 7U}) {
    traces.Take();
    AnswerRoute(6, status);
    EXPECT_EQ(traces.Take()[1], "10:Route Not programmed!!! Retrying...\n") << status;
    EXPECT_THAT(Items()[0], HasSubstr("ActionState(New)")) << status;
    CompleteRoute();
    Tick();
    EXPECT_EQ(TakeCalls().size(), 1U) << status;
  }
}

TEST_F(RouteAnswers, DestroysAreTriedAgainWithinTheBudgetOnly) {
  for (int i = 1; i <= 10; ++i) {
    AnswerRoute(6, 3);
    CompleteRoute();
    Tick();
  }
  TakeCalls();
  Tick();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(Items()[0], HasSubstr("ActionState(Issued) ReasonCode(3)"));
}

TEST_F(RouteAnswers, AnswerForARowThatIsNotHeldChangesNothing) {
  const Lines before = Items();
  rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 17, NEXT_HOP, 3, 5, 0x30000, 1, 1, 0, 1);
  rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 16, NEXT_HOP, 4, 5, 0x30000, 1, 1, 0, 5);
  rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 16, DESTINATION, 3, 5, 0x30000, 1, 1, 0, 3);
  rtm.UpdateRouteCallback(11, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, 1, 1, 0, 1);
  EXPECT_EQ(Items(), before);
  AnswerRoute(1, 1);
  AnswerRoute(1, 1);
  AnswerRoute(1, 5);
  AnswerRoute(1, 3);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_EQ(Summary(), "Pending Item Buckets: 0\n");
}

TEST_F(RouteAnswers, AnswerFindsTheRouteOfItsInterfaceAmongAllOf32Bits) {
  rtm.UpdateStaticRoute(VLAN, 1, DESTINATION, 16, NEXT_HOP, 0x10003, 5, 0x30000, 1, 1);
  Tick();
  EXPECT_EQ(Items().size(), 2U);
  rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 16, NEXT_HOP, 0x10003, 5, 0x30000, 1, 1, 0, 1);
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("Intf(3)")));
}

TEST_F(RouteAnswers, ValuesBesideTheRowsIdentityPlayNoPart) {
  rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 16, NEXT_HOP, 3, 99, 7, 1, 2, 12345, 1);
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteAnswers, ItemThatWasReplacedMeanwhileIsNotRemoved) {
  AddRoute(6, 2);
  AnswerRoute(1, 1);
  EXPECT_THAT(Items(),
              ElementsAre(RouteItem("RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(0)")));
  AnswerRoute(1, 5);
  EXPECT_THAT(Items(),
              ElementsAre(RouteItem("RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(0)")));
}

TEST_F(RouteAnswers, Ipv6AnswersAreWrittenAndMatchedAsIpv6) {
  const Ip6Addr destination = Address6("2001:db8:9::");
  const Ip6Addr nextHop = Address6("2001:db8::1");
  rtm.UpdateStaticRoute(VLAN, destination, 48, nextHop, 9, 11, 0x30000, 1U, 1U);
  Tick();
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, "
                                       "2001:db8::1, 196608, 9, 32778, 11)"));
  traces.Take();
  rtm.UpdateRouteCallback(VLAN, 2, destination.GetBytes(), 48, nextHop.GetBytes(), 9, 11, 0x30000,
                          1, 1, 0, 1);
  EXPECT_EQ(traces.Take()[0],
            "10:Route Update Response from Metaswitch: vlan = 10, dest= 2001:db8:9::/48 nexthop: "
            "2001:db8::1\n");
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("10.9.0.0/16")));
}

TEST_F(RouteAnswers, MissingAddressesReadAsUnspecified) {
  rtm.UpdateRouteCallback(VLAN, 1, DESTINATION, 16, nullptr, 3, 5, 0x30000, 1, 1, 0, 1);
  rtm.UpdateRouteCallback(VLAN, 2, nullptr, 0, nullptr, 3, 5, 0x30000, 1, 1, 0, 1);
  EXPECT_EQ(traces.AtLevel(10)[0],
            "Route Update Response from Metaswitch: vlan = 10, dest= 10.9.0.0/16 nexthop: "
            "0.0.0.0\n");
  EXPECT_EQ(traces.AtLevel(10)[2],
            "Route Update Response from Metaswitch: vlan = 10, dest= ::/0 nexthop: ::\n");
  EXPECT_EQ(Items().size(), 1U);
}

// --- redistribution ---

TEST_F(Requests, RuleBecomesAnItemWithoutPriority) {
  rtm.Redistribute(1, 1, SOURCE, OSPF, VLAN);
  EXPECT_THAT(Items(),
              ElementsAre(RuleItem("RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)")));
}

TEST_F(Requests, RuleOfAnIpv6InstanceKeepsTheBit) {
  rtm.Redistribute(1, 1, SOURCE, OSPF, 0x800A);
  rtm.Redistribute(1, 1, SOURCE, OSPF, VLAN);
  EXPECT_EQ(Summary(), "Pending Item Buckets: 2\n");
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("Instance(10)"), HasSubstr("Instance(32778)")));
}

TEST_F(Requests, StatusChangeQueuesWhatTheChangeAsksFor) {
  rtm.HandleRedistributionStatusChange(VLAN, SOURCE, OSPF, true, true);
  rtm.HandleRedistributionStatusChange(VLAN, SOURCE, OSPF, false, false);
  EXPECT_THAT(Items(), IsEmpty());
  rtm.HandleRedistributionStatusChange(VLAN, SOURCE, OSPF, false, true);
  EXPECT_THAT(Items(),
              ElementsAre(RuleItem("RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)")));
  rtm.HandleRedistributionStatusChange(VLAN, SOURCE, OSPF, true, false);
  EXPECT_THAT(Items(),
              ElementsAre(RuleItem("RowStatus(6) AdminStatus(2) ActionState(New) ReasonCode(0)")));
}

// A rule is sent only into a router that is ready: here BGP's.
class RuleAnswers : public Requests {
 protected:
  static constexpr unsigned int BGP = 0xE0000;

  void SetUp() override {
    Requests::SetUp();
    Reload(R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10, "BGP": {"enabled": true}}}})", "vlans");
    MakeReady();
    rtm.Redistribute(1, 1, SOURCE, BGP, VLAN);
    Tick();
    ASSERT_THAT(Items(), ElementsAre(HasSubstr("ActionState(Issued) ReasonCode(0)")));
    TakeCalls();
    traces.Take();
  }

  void Answer(unsigned int rowStatus, unsigned int status) {
    rtm.UpdateRedistributionCallback(VLAN, SOURCE, BGP, 1, rowStatus, 0, status);
  }
};

TEST_F(RuleAnswers, SuccessRemovesTheItem) {
  Answer(1, 1);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_EQ(
      traces.Take(),
      (Lines{
          "10:Redistribution Response from Metaswitch: vlan=10 src=131072 dst=917504 status=1\n",
          "10:Redistribution Request Success\n",
          "5:Removing the handle\n",
      }));
}

TEST_F(RuleAnswers, PrintedStatusIsTheRowStatus) {
  Answer(6, 3);
  EXPECT_EQ(
      traces.Take(),
      (Lines{
          "10:Redistribution Response from Metaswitch: vlan=10 src=131072 dst=917504 status=6\n",
          "10:Redistribution Request Not success!! Retrying...\n",
      }));
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("ActionState(New) ReasonCode(3)")));
}

TEST_F(RuleAnswers, Status6OfADestroyIsSuccess) {
  Answer(6, 6);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_EQ(traces.Take()[1], "10:Redistribution Request Success\n");
}

TEST_F(RuleAnswers, Status5IsTriedAgain) {
  Answer(1, 5);
  EXPECT_EQ(traces.Take()[1], "10:Redistribution Request Not success!! Retrying...\n");
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("ActionState(New) ReasonCode(5)")));
}

TEST_F(RuleAnswers, AnyOtherStatusGivesUp) {
  for (const unsigned int status : {0U, 2U, 3U, 4U, 6U, 7U}) {
    traces.Take();
    Answer(1, status);
    EXPECT_EQ(traces.Take()[1], "10:Unable to set redistribution. No retry!!!\n");
    EXPECT_THAT(Items(),
                ElementsAre(HasSubstr("ActionState(Issued) ReasonCode(" + std::to_string(status))));
  }
}

TEST_F(RuleAnswers, AnswerForAnotherRuleChangesNothing) {
  const Lines before = Items();
  rtm.UpdateRedistributionCallback(VLAN, SOURCE, OSPF, 1, 1, 0, 1);
  rtm.UpdateRedistributionCallback(VLAN, BGP, SOURCE, 1, 1, 0, 1);
  rtm.UpdateRedistributionCallback(0x800A, SOURCE, BGP, 1, 1, 0, 1);
  rtm.UpdateRedistributionCallback(11, SOURCE, BGP, 1, 1, 0, 1);
  EXPECT_EQ(Items(), before);
}

TEST_F(RuleAnswers, ExtraValueAndAdminStatusPlayNoPart) {
  rtm.UpdateRedistributionCallback(VLAN, SOURCE, BGP, 2, 1, 77, 1);
  EXPECT_THAT(Items(), IsEmpty());
}

}  // namespace
