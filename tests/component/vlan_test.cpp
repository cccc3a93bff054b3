// VLANs come and go, with the requests that are pending for them.

#include "tests/component/component_fixture.h"
#include "tests/support/trace_texts.h"
#include "vantacore/dcrouter_api.h"

namespace {

using Tarsel::Ip4Addr;

const char* const ROW_10 = "> sms_act_rtm(0=10 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=1)";
const char* const ROW_10_IPV6 =
    "> sms_act_rtm(0=32778 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=2)";
const char* const GONE_10 = "> sms_act_rtm(0=10 1=6 2=2)";
const char* const GONE_10_IPV6 = "> sms_act_rtm(0=32778 1=6 2=2)";
// The stack asks for a router id; the VLAN has no primary interface.
const char* const NO_PRIMARY = "! intf_name != 0|dcrouter_api|95";

class Vlans : public ComponentFixture {
 protected:
  void SetUp() override {
    Start();
    Quiet();
  }

  // Another VLAN keeps the document from being empty.
  void RemoveVlan10() { LoadVlans({20}); }

  std::string Readiness() {
    return std::to_string(cIsRtmReady(10)) + std::to_string(cIsRtmReady(0x800A));
  }
};

TEST_F(Vlans, CreationSendsBothInstancesAndTheStackReportsThemReady) {
  LoadVlans({10});
  EXPECT_EQ(Take(), Text({
                        "10 Reloading Configuration in all VLANs",
                        "10 Creating VLAN 10",
                        "10 DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 10",
                        "10 Creating RTM Instance 10",
                        ROW_10,
                        ASK,
                        IN_5_MS,
                        "10 Creating IPv6 Unicast RTM for vlan 10",
                        "10 Creating RTM Instance 32778",
                        ROW_10_IPV6,
                    }));
  EXPECT_EQ(Readiness(), "00");
  EXPECT_EQ(After(5), Text({RUN, NO_PRIMARY, NO_PRIMARY, IN_1000_MS}));
  EXPECT_EQ(Readiness(), "11");
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{10, 0x800A}));
}

TEST_F(Vlans, SameDocumentAgainCostsNoStackCall) {
  LoadVlans({10});
  Quiet();
  LoadVlans({10});
  EXPECT_EQ(Take(), Text({
                        "10 Reloading Configuration in all VLANs",
                        "10 DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 10",
                        "10 Creating RTM Instance 10",
                        "10 Creating IPv6 Unicast RTM for vlan 10",
                        "10 Creating RTM Instance 32778",
                    }));
}

TEST_F(Vlans, ChangedSettingsAreSentAndReadinessStays) {
  LoadVlans({10});
  Quiet();
  LoadVlans({10}, R"(, "RTM": {"dead_rpm_timer": 61})");
  Take();
  EXPECT_EQ(Readiness(), "11");
  // A known instance is neither asked for its router id nor reported ready again.
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(Readiness(), "11");
}

TEST_F(Vlans, DeletionDestroysBothInstances) {
  LoadVlans({10, 20});
  Quiet();
  RemoveVlan10();
  EXPECT_EQ(Take(), Text({
                        "10 Reloading Configuration in all VLANs",
                        "10 DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 20",
                        "10 Creating RTM Instance 20",
                        "10 Creating IPv6 Unicast RTM for vlan 20",
                        "10 Creating RTM Instance 32788",
                        "10 Deleting VLAN 10",
                        "10 Deleting RTM Instance 10",
                        GONE_10,
                        ASK,
                        IN_5_MS,
                        "10 Deleting RTM Instance 32778",
                        GONE_10_IPV6,
                        "10 Deleting the Routers Map",
                        "10 Deleted VLAN 10",
                    }));
  EXPECT_EQ(Readiness(), "00");
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{20, 0x8014}));
}

// The stack has not run in between: it must not report an instance that is to go.
TEST_F(Vlans, VlanThatGoesBeforeTheStackRunsIsNeverReportedReady) {
  LoadVlans({10, 20});
  RemoveVlan10();
  Quiet();
  EXPECT_EQ(Readiness(), "00");
  EXPECT_FALSE(Tarsel::DcRtmMgr::GetInstance()->HasRtmRecord(10));
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{20, 0x8014}));
  LoadVlans({10, 20});
  Quiet();
  EXPECT_EQ(Readiness(), "11");
}

// What is pending for a VLAN that has gone.
class PendingRoutes : public Vlans {
 protected:
  static constexpr const char* ADD =
      "StaticRouteItem: vrf(10) Dest(10.9.0.0/16) NextHop(10.1.2.1) Intf(3) metric(5) "
      "Type(Static) RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)\n\n";
  static constexpr const char* RESPONSE = test_support::ROUTE_RESPONSE;

  void SetUp() override {
    Vlans::SetUp();
    LoadVlans({10, 20});
    Quiet();
  }

  void AddRoute() {
    Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3, 5,
                     0x30000, 1);
  }

  void RemoveRoute() {
    Tarsel::RemoveRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3);
  }
};

TEST_F(PendingRoutes, NewOneIsKeptAndSentWhenTheVlanComesBack) {
  AddRoute();
  RemoveVlan10();
  Quiet();
  EXPECT_EQ(Pending(), std::string("==== Item 0 ====\n") + ADD);
  LoadVlans({10, 20});
  Take();
  EXPECT_EQ(Meanwhile(100), Text({
                                RUN,
                                NO_PRIMARY,
                                NO_PRIMARY,
                                IN_1000_MS,
                                test_support::SENDING,
                                "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 "
                                "metric = 5 path_type = 196608 row status = 1 admin_status = 1",
                                "> sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, "
                                "10, 5)",
                                ASK,
                                IN_5_MS,
                            }));
  EXPECT_EQ(Meanwhile(100), Text({
                                RUN,
                                RESPONSE,
                                test_support::ROUTE_DONE,
                                test_support::REMOVED,
                                IN_1000_MS,
                            }));
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 0\n");
}

TEST_F(PendingRoutes, RuleIsKeptToo) {
  RemoveVlan10();
  Quiet();
  Tarsel::DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(10, 0x30000, 0xD0000, false,
                                                                    true);
  EXPECT_EQ(Meanwhile(1000), "");
  EXPECT_EQ(Pending(),
            "==== Item 0 ====\n"
            "RedistItem: Instance(10) Dest(0xd0000) Src(0x30000) Priority(0x0) RowStatus(1) "
            "AdminStatus(1) ActionState(New) ReasonCode(0)\n\n");
}

TEST_F(PendingRoutes, OneInFlightIsAnsweredAndRemovedAsUsual) {
  AddRoute();
  Meanwhile(100);
  RemoveVlan10();
  Take();
  EXPECT_EQ(Meanwhile(100), Text({
                                RUN,
                                RESPONSE,
                                test_support::ROUTE_DONE,
                                test_support::REMOVED,
                                IN_1000_MS,
                            }));
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 0\n");
}

TEST_F(PendingRoutes, OneThatIsRefusedInFlightWaitsForTheVlansReturn) {
  Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, 5, 0}, 1);
  AddRoute();
  Meanwhile(100);
  RemoveVlan10();
  Take();
  EXPECT_EQ(Meanwhile(500), Text({RUN, RESPONSE, test_support::ROUTE_AGAIN, IN_1000_MS}));
  LoadVlans({10, 20});
  Quiet();
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 0\n");
  ASSERT_EQ(Control().Rib().size(), 1U);
}

// The removal waits after the addition in the row's queue when the VLAN is deleted.
TEST_F(PendingRoutes, CompletionIssuesWhatIsQueuedForTheRowAllTheSame) {
  AddRoute();
  Meanwhile(100);
  Control().Hold();
  RemoveRoute();
  Meanwhile(100);
  RemoveVlan10();
  Control().Release();
  Take();
  EXPECT_EQ(Meanwhile(100), Text({
                                RUN,
                                RESPONSE,
                                test_support::ROUTE_DONE,
                                test_support::REMOVED,
                                "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 "
                                "metric = 0 path_type = 0 row status = 6 admin_status = 2",
                                "> sms_update_route(0, 6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, "
                                "0)",
                                ASK,
                                IN_5_MS,
                                // The instance has gone in between, and the route with it.
                                RESPONSE,
                                test_support::ROUTE_DONE,
                                SET_ALREADY,
                            }));
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 0\n");
}

// --- the stack calls back from inside of calls ---

class SynchronousVlans : public Vlans {
 protected:
  void SetUp() override {
    Vlans::SetUp();
    MakeSynchronous();
  }
};

TEST_F(SynchronousVlans, InstancesAreReadyWhenTheirRowsHaveBeenSent) {
  LoadVlans({10});
  EXPECT_EQ(Take(), Text({
                        "10 Reloading Configuration in all VLANs",
                        "10 Creating VLAN 10",
                        "10 DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 10",
                        "10 Creating RTM Instance 10",
                        ROW_10,
                        ASK,
                        IN_5_MS,
                        NO_PRIMARY,
                        "10 Creating IPv6 Unicast RTM for vlan 10",
                        "10 Creating RTM Instance 32778",
                        ROW_10_IPV6,
                        NO_PRIMARY,
                    }));
  EXPECT_EQ(Readiness(), "11");
}

TEST_F(SynchronousVlans, DeletionLeavesNothingBehind) {
  LoadVlans({10, 20});
  RemoveVlan10();
  EXPECT_EQ(Readiness(), "00");
  EXPECT_EQ(Control().Instances(), (std::vector<std::uint32_t>{20, 0x8014}));
  LoadVlans({10, 20});
  EXPECT_EQ(Readiness(), "11");
}

class SynchronousPendingRoutes : public PendingRoutes {
 protected:
  void SetUp() override {
    PendingRoutes::SetUp();
    MakeSynchronous();
  }
};

// The answer comes while the item is still New and passes it by; being sent makes it Issued, and
// nothing ever answers it again.
TEST_F(SynchronousPendingRoutes, RouteIsSentWhenTheVlanComesBackAndStaysIssued) {
  AddRoute();
  RemoveVlan10();
  Quiet();
  EXPECT_EQ(Pending(), std::string("==== Item 0 ====\n") + ADD);
  LoadVlans({10, 20});
  Take();
  EXPECT_EQ(Meanwhile(100), Text({
                                test_support::SENDING,
                                "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 "
                                "metric = 5 path_type = 196608 row status = 1 admin_status = 1",
                                "> sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, "
                                "10, 5)",
                                ASK,
                                IN_5_MS,
                                RESPONSE,
                                test_support::ROUTE_DONE,
                            }));
  EXPECT_EQ(Meanwhile(1000), "");
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 1\n");
  EXPECT_NE(Pending().find("ActionState(Issued) ReasonCode(0)"), std::string::npos);
  EXPECT_EQ(Control().Rib().size(), 1U);
}

// The VLAN goes with an item that stays Issued; the route goes with the instance and does not come
// back with it.
TEST_F(SynchronousPendingRoutes, IssuedRouteIsNotSentAgainWhenTheVlanComesBack) {
  AddRoute();
  Meanwhile(100);
  RemoveVlan10();
  LoadVlans({10, 20});
  Take();
  EXPECT_EQ(Meanwhile(1000), "");
  EXPECT_EQ(PendingSummary(), "Pending Item Buckets: 1\n");
  EXPECT_TRUE(Control().Rib().empty());
}

}  // namespace
