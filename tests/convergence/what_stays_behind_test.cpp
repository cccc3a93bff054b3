// What exactly remains when a host does what the random sequences do not.

#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

namespace {

using Tarsel::Ip4Addr;
using testing::ElementsAre;
using testing::IsEmpty;

const Ip4Addr FIRST(10, 1, 2, 3);
const Ip4Addr SECOND(10, 1, 9, 3);
const Ip4Addr THIRD(10, 1, 7, 3);
const Ip4Addr MASK(255, 255, 255, 0);

class WhatStaysBehind : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start();
    LoadVlan("");
    registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 1400, 1);
    registry.AddIpAddress(10, 3, FIRST, MASK);
    Answered();
  }

  void Answered() { ASSERT_TRUE(Settle()); }

  // Loads a document whose only VLAN, 10, has these members.
  void LoadVlan(const std::string& members) {
    Reload(R"({"VLAN_CONFIGURATIONS": {"ten": {"vid": 10)" + members + "}}}", "vlans.json");
  }

  void LoadRemote(const std::string& document) {
    Reload(document, "remote.json", Tarsel::DclConfigObject::REMOTE_OPTIONS);
    Answered();
  }

  // The stack's rows whose line begins with the word.
  std::vector<std::string> Rows(const std::string& word) {
    std::istringstream dump(Dump());
    std::vector<std::string> rows;
    for (std::string line; std::getline(dump, line);) {
      if (line.compare(0, word.size() + 1, word + " ") == 0) {
        rows.push_back(line.substr(word.size() + 1));
      }
    }
    return rows;
  }

  // What the stack holds of the static route; connected ones are left out.
  std::vector<std::string> RouteRows() {
    std::vector<std::string> rows;
    for (const std::string& row : Rows("rib")) {
      if (row.find(" 10.9.0.0/16 ") != std::string::npos) {
        rows.push_back(row);
      }
    }
    return rows;
  }

  std::string StoredAddress() {
    Ip4Addr address;
    Ip4Addr mask;
    return registry.GetIfIpAddr(10, 3, address, mask) ? address.ToString().c_str() : "none";
  }

  void AddRoute(unsigned int metric) {
    Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3,
                     metric, 0x30000, 1);
  }

  void EnableRoute() {
    Tarsel::EnableRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3);
  }

  void DisableRoute() {
    Tarsel::DisableRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1),
                         3);
  }

  void ChangeRule(bool wasEnabled, bool isEnabled) {
    Tarsel::DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(10, 0x30000, 0xD0000,
                                                                      wasEnabled, isEnabled);
  }

  std::string Pending() {
    const auto log = test_support::NewConsoleLog();
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().Print(&console);
    return log->output;
  }

  Tarsel::DcInterfaceMgr& registry = *Tarsel::DcInterfaceMgr::GetInstance();
};

// --- addresses ---

TEST_F(WhatStaysBehind, SecondIpv4AddressStandsBesideTheFirstInTheStackOnly) {
  registry.AddIpAddress(10, 3, SECOND, MASK);
  Answered();
  EXPECT_EQ(StoredAddress(), "10.1.9.3");
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.2.3/24", "10/3 10.1.9.3/24"));
  // A change withdraws the one that is stored.
  registry.ChangeIpAddress(10, 3, THIRD, MASK);
  Answered();
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.2.3/24", "10/3 10.1.7.3/24"));
  // The first goes when it is named, and takes the stored one with it in the registry.
  registry.DeleteIpAddress(10, 3, FIRST, MASK);
  Answered();
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.7.3/24"));
  EXPECT_EQ(StoredAddress(), "0.0.0.0");
}

TEST_F(WhatStaysBehind, AddressOutlivesAChangeAfterTheDeletionOfAnother) {
  registry.DeleteIpAddress(10, 3, SECOND, MASK);
  Answered();
  EXPECT_EQ(StoredAddress(), "0.0.0.0");
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.2.3/24"));
  registry.ChangeIpAddress(10, 3, THIRD, MASK);
  Answered();
  EXPECT_EQ(StoredAddress(), "10.1.7.3");
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.2.3/24", "10/3 10.1.7.3/24"));
}

TEST_F(WhatStaysBehind, AddressesOutliveTheirInterface) {
  registry.RemoveInterface(10, 3, "eth0");
  Answered();
  EXPECT_THAT(Rows("interface"), IsEmpty());
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.2.3/24"));
  // The interface that comes back knows of no address; the stack has it still.
  registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 1400, 1);
  registry.ChangeIpAddress(10, 3, SECOND, MASK);
  Answered();
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.2.3/24", "10/3 10.1.9.3/24"));
}

// --- interfaces ---

TEST_F(WhatStaysBehind, FirstNameIsKeptByTheRegistryAndTheLastByTheStack) {
  registry.AddInterface(10, 3, "eth9", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 1400, 1);
  Answered();
  EXPECT_STREQ(registry.GetIfName(10, 3), "eth0");
  unsigned int index = 0;
  EXPECT_FALSE(registry.GetIfIndex("eth9", index));
  EXPECT_THAT(Rows("interface"), ElementsAre("10/3 \"eth9\" flags 24 up mtu 1400",
                                             "32778/3 \"eth9\" flags 24 up mtu 1400"));
}

TEST_F(WhatStaysBehind, DownAndUpKeepFlagsMtuAndNameInTheStack) {
  registry.SetInterfaceDown(10, 3, "other");
  Answered();
  EXPECT_THAT(Rows("interface"), ElementsAre("10/3 \"eth0\" flags 24 down mtu 1400",
                                             "32778/3 \"eth0\" flags 24 down mtu 1400"));
  registry.SetInterfaceUp(10, 3, "other");
  Answered();
  EXPECT_THAT(Rows("interface"), ElementsAre("10/3 \"eth0\" flags 24 up mtu 1400",
                                             "32778/3 \"eth0\" flags 24 up mtu 1400"));
}

// --- routes ---

TEST_F(WhatStaysBehind, EnablingAPendingRouteLosesItsMetricAndType) {
  AddRoute(5);
  EnableRoute();
  TakeCalls();
  Answered();
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"));
  EXPECT_THAT(RouteRows(),
              ElementsAre("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 out 3 metric 0 up fib"));
}

TEST_F(WhatStaysBehind, DisablingAndEnablingAnAnsweredRouteLosesItsMetricToo) {
  AddRoute(5);
  Answered();
  DisableRoute();
  Answered();
  EXPECT_THAT(RouteRows(),
              ElementsAre("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 out 3 metric 0 down"));
  EnableRoute();
  Answered();
  EXPECT_THAT(RouteRows(),
              ElementsAre("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 out 3 metric 0 up fib"));
  // Adding it again brings everything back.
  AddRoute(5);
  Answered();
  EXPECT_THAT(RouteRows(),
              ElementsAre("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 out 3 metric 5 up fib"));
}

TEST_F(WhatStaysBehind, RouteRefusedTenTimesIsMissingUntilItIsAddedAgain) {
  Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, 5, 0}, 10);
  AddRoute(5);
  Answered();
  EXPECT_THAT(RouteRows(), IsEmpty());
  EXPECT_NE(Pending().find("ActionState(Issued) ReasonCode(5)"), std::string::npos);
  AddRoute(5);
  Answered();
  EXPECT_THAT(RouteRows(),
              ElementsAre("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 out 3 metric 5 up fib"));
  EXPECT_EQ(Pending(), "");
}

// --- rules ---

TEST_F(WhatStaysBehind, WithdrawalOfARuleIsDroppedWhileItsRouterIsNotReady) {
  LoadVlan(R"(, "OSPF": {"enabled": true})");
  Answered();
  ChangeRule(false, true);
  Answered();
  LoadVlan(R"(, "OSPF": {"enabled": false})");
  ChangeRule(true, false);
  Answered();
  EXPECT_EQ(Pending(), "");
  EXPECT_THAT(Rows("redistribution"), ElementsAre("10 196608 851968 up"));
  // It goes when it is withdrawn once more, with the router ready.
  LoadVlan(R"(, "OSPF": {"enabled": true})");
  ChangeRule(true, false);
  Answered();
  EXPECT_THAT(Rows("redistribution"), IsEmpty());
}

// --- remotes ---

std::string RemoteWithRipRows(const std::string& rows) {
  return R"({"VLAN_CONFIGURATIONS": {"ten": {"vid": 10, "RIPV2": {"IF_LIST": {)" + rows + "}}}}}";
}

const char* const RIP_ROW = R"("a": {"Name": "RIP_10_3", "cost": 2})";

TEST_F(WhatStaysBehind, RowsOfAWithdrawnRemoteDocumentUnlessItWasEmptiedFirst) {
  LoadVlan(R"(, "RIPV2": {"enabled": true})");
  LoadRemote(RemoteWithRipRows(RIP_ROW));
  Manager().DeleteOptions("remote.json", Tarsel::DclConfigObject::REMOTE_OPTIONS);
  Answered();
  EXPECT_THAT(Rows("protocol"), ElementsAre("10 6 \"3\" \"cost=2\" up"));
  LoadRemote(RemoteWithRipRows(RIP_ROW));
  LoadRemote(RemoteWithRipRows(""));
  Manager().DeleteOptions("remote.json", Tarsel::DclConfigObject::REMOTE_OPTIONS);
  Answered();
  EXPECT_THAT(Rows("protocol"), IsEmpty());
}

TEST_F(WhatStaysBehind, RemoteEntryOfADisabledRouterIsNotMadeUpForWhenItIsEnabled) {
  LoadRemote(RemoteWithRipRows(RIP_ROW));
  LoadVlan(R"(, "RIPV2": {"enabled": true})");
  Answered();
  EXPECT_THAT(Rows("protocol"), IsEmpty());
  // The remote document has to come again.
  LoadRemote(RemoteWithRipRows(RIP_ROW));
  EXPECT_THAT(Rows("protocol"), ElementsAre("10 6 \"3\" \"cost=2\" up"));
}

TEST_F(WhatStaysBehind, ProtocolRunsAsLongAsARemoteDocumentNamesIt) {
  const auto runs = [this] {
    const auto& routers = Manager().GetVlans().at(10)->routers;
    return routers.find(Tarsel::DcRouterMgr::PROTOCOL_RIPV2)->second->IsEnabled();
  };
  LoadVlan(R"(, "RIPV2": {"enabled": true})");
  LoadRemote(RemoteWithRipRows(RIP_ROW));
  LoadVlan("");
  LoadRemote(RemoteWithRipRows(RIP_ROW));
  EXPECT_TRUE(runs());
  EXPECT_THAT(Rows("protocol"), ElementsAre("10 6 \"3\" \"cost=2\" up"));
  LoadRemote(R"({"VLAN_CONFIGURATIONS": {"ten": {"vid": 10}}})");
  EXPECT_FALSE(runs());
}

}  // namespace
