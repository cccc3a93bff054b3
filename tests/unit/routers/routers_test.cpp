// The protocol routers of the software device, through the library's router manager.
#include "routers/bgp_router.h"
#include "routers/ospf_routers.h"
#include "tests/unit/routers/router_fixture.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterBase;
using Tarsel::DcRouterMgr;
using test_support::NewConsoleLog;
using test_support::RecordingConsole;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DcRouterMgr::ProtocolType ALL[] = {
    DcRouterMgr::PROTOCOL_BGP,   DcRouterMgr::PROTOCOL_OSPFV2, DcRouterMgr::PROTOCOL_OSPFV3,
    DcRouterMgr::PROTOCOL_RIPV2, DcRouterMgr::PROTOCOL_RIPNG,  DcRouterMgr::PROTOCOL_IGMP,
    DcRouterMgr::PROTOCOL_MLD};
constexpr const char* MEMBERS[] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};

class Routers : public RouterFixture {};

TEST_F(Routers, AreDisabledUntilADocumentNamesThem) {
  Load("");
  for (const auto type : ALL) {
    EXPECT_FALSE(Router(type)->IsEnabled()) << type;
  }
}

TEST_F(Routers, AreEnabledByTheirMember) {
  for (int i = 0; i < DcRouterMgr::PROTOCOL_COUNT; ++i) {
    Load("\"" + std::string(MEMBERS[i]) + R"(": {"x": 1})");
    for (const auto type : ALL) {
      EXPECT_EQ(Router(type)->IsEnabled(), type == ALL[i]) << MEMBERS[i] << " " << type;
    }
  }
  EXPECT_THAT(Skipped(), IsEmpty());
}

TEST_F(Routers, CanBeDisabledWithoutLosingTheirMember) {
  Load(R"("OSPF": {"enabled": false}, "BGP": {"enabled": true})");
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_OSPFV2)->IsEnabled());
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_BGP)->IsEnabled());
}

TEST_F(Routers, ReportAnOptionOfAWrongType) {
  Load(R"("OSPF": {"enabled": "yes"}, "BGP": 5)");
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_OSPFV2)->IsEnabled());
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_BGP)->IsEnabled());
  EXPECT_THAT(Skipped(),
              ElementsAre("vlans.json: BGP:10: the protocol's options must be an object\n",
                          "vlans.json: OSPF:10: \"enabled\" must be true or false\n"));
}

TEST_F(Routers, StayEnabledWhileOneDocumentSaysSo) {
  Load(R"("RIPV2": {"enabled": true})");
  Load(R"("RIPV2": {"enabled": false})", "remote/a.json", DclConfigObject::REMOTE_OPTIONS);
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsEnabled());
  Load("");
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsEnabled());
}

TEST_F(Routers, AreReadyWithTheirFamilysInstance) {
  std::string members;
  for (const char* member : MEMBERS) {
    members += (members.empty() ? "\"" : ", \"") + std::string(member) + R"(": {"enabled": true})";
  }
  Control().Hold();
  Load(members);
  for (const auto type : ALL) {
    EXPECT_FALSE(Router(type)->IsReady()) << type;
  }
  Tarsel::DcRtmMgr::GetInstance()->SetRtmReady(10);
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_BGP)->IsReady());
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_OSPFV2)->IsReady());
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_OSPFV3)->IsReady());
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsReady());
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_RIPNG)->IsReady());
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_IGMP)->IsReady());
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_MLD)->IsReady());
  Tarsel::DcRtmMgr::GetInstance()->SetRtmReady(0x800A);
  for (const auto type : ALL) {
    EXPECT_TRUE(Router(type)->IsReady()) << type;
  }
}

TEST_F(Routers, AreNotReadyWhileDisabled) {
  Load(R"("RIPV2": {"enabled": false})");
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(Tarsel::DcRtmMgr::GetInstance()->IsRtmReady(10));
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsReady());
}

TEST_F(Routers, FollowTheirInterfaces) {
  Load(R"("RIPV2": {"enabled": true})");
  DcRouterBase* rip = Router(DcRouterMgr::PROTOCOL_RIPV2);
  EXPECT_FALSE(rip->IsEnabled(3));
  EXPECT_FALSE(rip->IsReady(3));
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  EXPECT_TRUE(rip->IsEnabled(3));
  EXPECT_TRUE(rip->IsReady(3));
  Manager().ProcessInterfaceStatusChange(10, 3, 2);
  EXPECT_TRUE(rip->IsEnabled(3));
  EXPECT_FALSE(rip->IsReady(3));
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  Load("");
  EXPECT_FALSE(rip->IsReady(3));
}

TEST_F(Routers, AreFoundByBgpInstance) {
  Load("");
  EXPECT_EQ(Tarsel::DcBgpRouter::GetRouter(10), Router(DcRouterMgr::PROTOCOL_BGP));
  EXPECT_EQ(Tarsel::DcBgpRouter::GetRouter(0x800A), Router(DcRouterMgr::PROTOCOL_BGP));
  EXPECT_EQ(Tarsel::DcBgpRouter::GetRouter(11), nullptr);
}

TEST_F(Routers, SayThatNoPeerWasActedUpon) {
  Load("");
  traces.Take();
  std::string word = "reset";
  char* argv[] = {&word[0], &word[0]};
  Manager().BgpPeerAct(10, 2, argv);
  EXPECT_THAT(traces.AtLevel(1),
              ElementsAre("BGP:10 runs no sessions, nothing done for: reset reset\n"));
}

TEST_F(Routers, KeepOspfAreas) {
  Load("");
  auto* ospf = static_cast<Tarsel::DcOspfRouter*>(Router(DcRouterMgr::PROTOCOL_OSPFV3));
  EXPECT_EQ(ospf->GetInstanceId(), 0x800Au);
  EXPECT_FALSE(ospf->IsAreaActive(1));
  ospf->DeactivateArea(1);
  ospf->RemoveAreaInterface(1, 3);
  ospf->AddAreaInterface(1, 3);
  ospf->AddAreaInterface(1, 4);
  ospf->RemoveAreaInterface(1, 4);
  EXPECT_FALSE(ospf->IsAreaActive(1));
  ospf->ActivateArea(1);
  EXPECT_TRUE(ospf->IsAreaActive(1));
  ospf->SetRouterId(77);
  EXPECT_EQ(ospf->GetRouterId(), 77u);
  ospf->SetReferenceBandwidth(1000);
  ospf->SetPassiveInterface(3, true);
  ospf->SetPassiveInterface(4, true);
  ospf->SetPassiveInterface(4, false);
  EXPECT_TRUE(ospf->GetAdminStatus());
  ospf->SetAdminStatus(false);
  EXPECT_FALSE(ospf->GetAdminStatus());
  const auto log = NewConsoleLog(10);
  RecordingConsole console(log);
  ospf->DisplayAreas(&console);
  EXPECT_EQ(log->all,
            "OSPFV3:10: down, reference bandwidth 1000 Mbit/s, 1 passive interfaces\n"
            "  area 0.0.0.1: active, 1 interfaces\n");
  ospf->DeactivateArea(1);
  EXPECT_FALSE(ospf->IsAreaActive(1));
  ospf->RemoveAreaInterface(1, 3);
  ospf->ActivateArea(0x0AC8FF1F);
  log->all.clear();
  ospf->DisplayAreas(&console);
  EXPECT_THAT(log->all, testing::EndsWith("\n  area 10.200.255.31: active, 0 interfaces\n"));
}

}  // namespace
