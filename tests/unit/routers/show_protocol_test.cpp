// What the protocols' console handlers print.
#include "tests/unit/routers/router_fixture.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

namespace {

using Tarsel::DcRouterMgr;
using Tarsel::Ip4Addr;
using testing::HasSubstr;

class ShowProtocol : public RouterFixture {};

TEST_F(ShowProtocol, ShowsRowsAndTheirStates) {
  Refuse(3, 1);
  Apply(R"("BGP": {"PEERS": {)"
        R"("a": {"Name": "BGP_10_1", "address": "10.0.0.1", "as": 1},)"
        R"("b": {"Name": "BGP_10_2", "address": "10.0.0.2", "as": 2},)"
        R"("c": {"Name": "BGP_10_3", "address": "10.0.0.3", "as": 3, "enabled": false},)"
        R"("d": {"Name": "BGP_10_4", "afi": 1, "address": "2001:db8::1", "as": 4}}})");
  EXPECT_EQ(ShowIp("bgp"),
            "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n"
            "  peer      1               refused (status 3)  afi=1 safi=1 address=10.0.0.1 as=1 "
            "description=\"\"\n"
            "  peer      2               active              afi=1 safi=1 address=10.0.0.2 as=2 "
            "description=\"\"\n"
            "  peer      3               down                afi=1 safi=1 address=10.0.0.3 as=3 "
            "description=\"\"\n");
  EXPECT_EQ(ShowIp6("bgp"),
            "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n"
            "  peer      4               active              afi=2 safi=1 address=2001:db8::1 as=4 "
            "description=\"\"\n");
}

TEST_F(ShowProtocol, ShowsWhatIsUnderWay) {
  Apply(R"("RIPV2": {"IF_LIST": {"i": {"Name": "RIP_10_3"}}})");
  Control().Hold();
  Load(R"("RIPV2": {"IF_LIST": {"i": {"Name": "RIP_10_3", "cost": 2}}})");
  EXPECT_THAT(ShowIp("rip"), HasSubstr("  interface 3               pending             cost=2\n"));
  Load(R"("RIPV2": {"enabled": true})");
  EXPECT_THAT(ShowIp("rip"), HasSubstr("  interface 3               leaving             cost=2\n"));
  Control().Release();
  for (int i = 0; i < 100 && ShowIp("rip").find("leaving") != std::string::npos; ++i) {
    loop.AdvanceMilliseconds(1);
  }
  EXPECT_THAT(ShowIp("rip"), HasSubstr("  interface 3               gone                cost=2\n"));
  ASSERT_TRUE(Settle());
  EXPECT_EQ(ShowIp("rip"), "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n");
}

TEST_F(ShowProtocol, ShowsRowsThatWereLeftBehindOrLost) {
  Apply(R"("OSPF": {"AREA_LIST": {"a": {"Name": "OSPF_10_1"}}, "IF_LIST": {"i": )"
        R"({"Name": "OSPF_10_3_1_0"}}})");
  EXPECT_EQ(ShowIp("ospf"),
            "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n"
            "OSPF:10: up, reference bandwidth 100 Mbit/s, 0 passive interfaces\n"
            "  area 0.0.0.0: not active, 1 interfaces\n"
            "  area 0.0.0.1: active, 0 interfaces\n"
            "  area      1               active              area=0.0.0.1 type=normal "
            "default_cost=1\n"
            "  interface 3.1.0           active              area=0.0.0.0 cost=10 priority=1 "
            "hello=10 dead=40\n");
  Control().Restart();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(ShowIp("ospf"), HasSubstr("  area      1               lost                area="));
  Apply("");
  EXPECT_EQ(ShowIp("ospf"), "VLAN 10: disabled\n");
}

TEST_F(ShowProtocol, ShowsRowsThatWereLeftBehind) {
  Apply(R"("OSPFV3": {"AREA_LIST": {"a": {"Name": "OSPF_10_1"}}, "IF_LIST": {"i": )"
        R"({"Name": "OSPF_10_3_1_0"}}})");
  Apply("");
  EXPECT_EQ(ShowIp6("ospf"),
            "VLAN 10: disabled\n"
            "  area      1               left behind         area=0.0.0.1 type=normal "
            "default_cost=1\n"
            "  interface 3.1.0           left behind         area=0.0.0.0 cost=10 priority=1 "
            "hello=10 dead=40\n");
}

TEST_F(ShowProtocol, ShowsWhatIsRedistributed) {
  Apply(R"("RIPV2": {"enabled": true}, "BGP": {"enabled": true}, "OSPF": {"enabled": )"
        "true}");
  Tarsel::DcInterfaceMgr* const registry = Tarsel::DcInterfaceMgr::GetInstance();
  registry->AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
  registry->AddIpAddress(10, 3, Ip4Addr(10, 1, 0, 1), Ip4Addr(255, 255, 0, 0));
  Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 0, 2), 3, 5,
                   Tarsel::PATH_TYPE_STATIC, 1);
  Tarsel::DcRtmMgr* const rtm = Tarsel::DcRtmMgr::GetInstance();
  rtm->HandleRedistributionStatusChange(10, 3 << 16, 14 << 16, false, true);
  rtm->HandleRedistributionStatusChange(10, 2 << 16, 13 << 16, false, true);
  rtm->HandleRedistributionStatusChange(10, 3 << 16, 13 << 16, false, true);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(ShowIp("bgp"),
              HasSubstr("ready\n  receives  10.9.0.0/16 static via 10.1.0.2 metric 5\n"));
  EXPECT_THAT(ShowIp("ospf"), HasSubstr("  receives  10.1.0.0/16 connected via 0.0.0.0 metric 0\n"
                                        "  receives  10.9.0.0/16 static via 10.1.0.2 metric 5\n"));
  EXPECT_EQ(ShowIp("rip"), "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n");
  rtm->HandleRedistributionStatusChange(10, 3 << 16, 14 << 16, true, false);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(ShowIp("bgp"), "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n");
}

TEST_F(ShowProtocol, ShowsWhichInterfacesRemotesJoinedOn) {
  Apply(R"("IGMP": {"IF_LIST": {"i": {"Name": "IGMP_10_3"}}})");
  Tarsel::DcInterfaceMgr::GetInstance()->AddInterface(
      10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
  Manager().JoinNetwork(10, 3);
  EXPECT_EQ(ShowIp("igmp"),
            "VLAN 10: enabled, ready, 0 of 0 interfaces ready\n"
            "  joined    eth0\n"
            "  interface 3               active              version=3 query_interval=125\n");
}

TEST_F(ShowProtocol, ShowsAllVlansOrOne) {
  Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "BGP": {"enabled": true}},
                                     "b": {"vid": 12}, "c": {"vid": 11, "BGP": {"x": 1}}}})",
         "vlans.json");
  EXPECT_EQ(ShowIp("bgp"),
            "VLAN 10: enabled, not ready, 0 of 0 interfaces ready\n"
            "VLAN 11: enabled, not ready, 0 of 0 interfaces ready\n"
            "VLAN 12: disabled\n");
  EXPECT_EQ(ShowIp("bgp", {"vrf", "12"}), "VLAN 12: disabled\n");
  EXPECT_EQ(ShowIp6("bgp", {"V", "11"}), "VLAN 11: enabled, not ready, 0 of 0 interfaces ready\n");
  EXPECT_EQ(ShowIp("bgp", {"vrf", "13"}), "VLAN 13 is not present\n");
}

TEST_F(ShowProtocol, SaysHowItIsWritten) {
  Apply("");
  const std::string usage = "Usage: ip bgp [vrf <vid>]\n";
  EXPECT_EQ(ShowIp("bgp", {"peers"}), usage);
  EXPECT_EQ(ShowIp("bgp", {"vrf"}), usage);
  EXPECT_EQ(ShowIp("bgp", {"vrf", "x"}), usage);
  EXPECT_EQ(ShowIp("bgp", {"vrf", ""}), usage);
  EXPECT_EQ(ShowIp("bgp", {"", "10"}), usage);
  EXPECT_EQ(ShowIp("bgp", {"vrf", "65536"}), usage);
  EXPECT_EQ(ShowIp("bgp", {"vrf", "10", "detail"}), usage);
  EXPECT_EQ(ShowIp("ospf", {"areas"}), "Usage: ip ospf [vrf <vid>]\n");
  EXPECT_EQ(ShowIp("rip", {"x"}), "Usage: ip rip [vrf <vid>]\n");
  EXPECT_EQ(ShowIp("igmp", {"x"}), "Usage: ip igmp [vrf <vid>]\n");
  EXPECT_EQ(ShowIp6("bgp", {"x"}), "Usage: ip6 bgp [vrf <vid>]\n");
  EXPECT_EQ(ShowIp6("ospf", {"x"}), "Usage: ip6 ospf [vrf <vid>]\n");
  EXPECT_EQ(ShowIp6("rip"), "");
}

}  // namespace
