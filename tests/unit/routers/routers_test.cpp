// The protocol routers of the software device, through the library's router manager.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "routers/bgp_router.h"
#include "routers/multicast_router.h"
#include "routers/ospf_routers.h"
#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterBase;
using Tarsel::DcRouterMgr;
using test_support::ConsoleLog;
using test_support::NewConsoleLog;
using test_support::RecordingConsole;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DcRouterMgr::ProtocolType ALL[] = {
    DcRouterMgr::PROTOCOL_BGP,   DcRouterMgr::PROTOCOL_OSPFV2, DcRouterMgr::PROTOCOL_OSPFV3,
    DcRouterMgr::PROTOCOL_RIPV2, DcRouterMgr::PROTOCOL_RIPNG,  DcRouterMgr::PROTOCOL_IGMP,
    DcRouterMgr::PROTOCOL_MLD};
constexpr const char* MEMBERS[] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};

class Routers : public test_support::DeviceFixture {
 protected:
  void SetUp() override { Start(10); }

  void Load(const std::string& members, const std::string& fileName = "vlans.json",
            DclConfigObject::OptionType type = DclConfigObject::VLAN_OPTIONS) {
    Reload("{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": 10" +
               std::string(members.empty() ? "" : ", ") + members + "}}}",
           fileName, type);
  }
  DcRouterBase* Router(DcRouterMgr::ProtocolType type) {
    return Manager().GetDcRouterByVID(10, type);
  }
  std::vector<std::string> Skipped() const { return traces.AtLevel(-1); }
  // What a console handler prints; the console stays with the caller.
  std::string Show(DcRouterMgr::CmdHandlers handlers, const char* name,
                   std::vector<std::string> words = {}) {
    words.insert(words.begin(), name);
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(&word[0]);
    }
    const auto log = NewConsoleLog(10);
    RecordingConsole console(log);
    handlers.at(name).handler(nullptr, &console, static_cast<int>(argv.size()), argv.data());
    return log->all;
  }
};

TEST_F(Routers, AreDisabledUntilADocumentNamesThem) {
  Load("");
  for (const auto type : ALL) {
    EXPECT_FALSE(Router(type)->IsEnabled()) << type;
  }
}

TEST_F(Routers, AreEnabledByTheirMember) {
  for (int i = 0; i < DcRouterMgr::PROTOCOL_COUNT; ++i) {
    Load("\"" + std::string(MEMBERS[i]) + "\": {\"x\": 1}");
    for (const auto type : ALL) {
      EXPECT_EQ(Router(type)->IsEnabled(), type == ALL[i]) << MEMBERS[i] << " " << type;
    }
  }
  EXPECT_THAT(Skipped(), IsEmpty());
}

TEST_F(Routers, CanBeDisabledWithoutLosingTheirMember) {
  Load("\"OSPF\": {\"enabled\": false}, \"BGP\": {\"enabled\": true}");
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_OSPFV2)->IsEnabled());
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_BGP)->IsEnabled());
}

TEST_F(Routers, ReportAnOptionOfAWrongType) {
  Load("\"OSPF\": {\"enabled\": \"yes\"}, \"BGP\": 5");
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_OSPFV2)->IsEnabled());
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_BGP)->IsEnabled());
  EXPECT_THAT(Skipped(),
              ElementsAre("vlans.json: BGP:10: the protocol's options must be an object\n",
                          "vlans.json: OSPF:10: \"enabled\" must be true or false\n"));
}

TEST_F(Routers, StayEnabledWhileOneDocumentSaysSo) {
  Load("\"RIPV2\": {\"enabled\": true}");
  Load("\"RIPV2\": {\"enabled\": false}", "remote/a.json", DclConfigObject::REMOTE_OPTIONS);
  EXPECT_TRUE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsEnabled());
  Load("");
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsEnabled());
}

TEST_F(Routers, AreReadyWithTheirFamilysInstance) {
  std::string members;
  for (const char* member : MEMBERS) {
    members += (members.empty() ? "\"" : ", \"") + std::string(member) + "\": {\"enabled\": true}";
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
  Load("\"RIPV2\": {\"enabled\": false}");
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(Tarsel::DcRtmMgr::GetInstance()->IsRtmReady(10));
  EXPECT_FALSE(Router(DcRouterMgr::PROTOCOL_RIPV2)->IsReady());
}

TEST_F(Routers, FollowTheirInterfaces) {
  Load("\"RIPV2\": {\"enabled\": true}");
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
}

class MulticastCommand : public Routers {
 protected:
  void SetUp() override {
    Routers::SetUp();
    Load("\"IGMP\": {\"enabled\": true}");
    Tarsel::DcInterfaceMgr::GetInstance()->AddInterface(
        10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
  }

  // Runs the command; a refused one is deleted, as its contract asks.
  bool Run(std::vector<std::string> words, bool ipv6 = false) {
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(&word[0]);
    }
    log = NewConsoleLog(10);
    auto* command =
        new Tarsel::MulticastRoutingTableConsoleCommand(new RecordingConsole(log), ipv6);
    const bool isAccepted = command->Parse(static_cast<int>(argv.size()), argv.data());
    if (!isAccepted) {
      delete command;
    }
    return isAccepted;
  }

  const std::string HEADER =
      "  VLAN            IFACE GROUP                                   STATE\n";
  std::shared_ptr<ConsoleLog> log;
};

TEST_F(MulticastCommand, ListsTheInterfacesThatRemotesJoinedOn) {
  Manager().JoinNetwork(10, 3);
  Manager().JoinNetwork(10, 9);
  Manager().JoinNetwork(10, 3);
  EXPECT_TRUE(Run({}));
  EXPECT_EQ(log->all, HEADER +
                          "    10             eth0 *                                       joined\n"
                          "    10               lo *                                       joined\n"
                          "End of Table\n");
  EXPECT_EQ(log->ends, 1);
  EXPECT_TRUE(log->destroyed);
}

TEST_F(MulticastCommand, TakesAVlanAndAGroup) {
  EXPECT_TRUE(Run({"vrf", "10", "group", "239.1.1.1"}));
  EXPECT_EQ(log->all, HEADER + "End of Table\n");
  EXPECT_TRUE(Run({"group", "ff05::1"}, true));
  EXPECT_TRUE(log->destroyed);
}

TEST_F(MulticastCommand, RefusesWhatItDoesNotUnderstand) {
  const std::string usage = "Usage: mcast-database [vrf <vid>] [group <address>]\n";
  EXPECT_FALSE(Run({"group", "10.1.1.1"}));
  EXPECT_EQ(log->all, "Invalid group address 10.1.1.1\n" + usage);
  EXPECT_FALSE(Run({"group", "239.1.1.1"}, true));
  EXPECT_EQ(log->all, "Invalid group address 239.1.1.1\n" + usage);
  EXPECT_FALSE(Run({"detail"}));
  EXPECT_EQ(log->all, usage);
  EXPECT_FALSE(Run({"vrf", "77"}));
  EXPECT_EQ(log->all, "VLAN 77 is not present\n");
  EXPECT_EQ(log->ends, 0);
  EXPECT_TRUE(log->destroyed);
}

}  // namespace
