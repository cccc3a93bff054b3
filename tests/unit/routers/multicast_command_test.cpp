// `mcast-database`.
#include "routers/multicast_router.h"
#include "tests/unit/routers/router_fixture.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

using test_support::ConsoleLog;
using test_support::NewConsoleLog;
using test_support::RecordingConsole;

class MulticastCommand : public RouterFixture {
 protected:
  void SetUp() override {
    RouterFixture::SetUp();
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

// Nothing tells the router of it.
TEST_F(MulticastCommand, ListsAnInterfaceThatRemotesHaveLeft) {
  Manager().JoinNetwork(10, 3);
  Manager().LeaveNetwork(10, 3);
  EXPECT_TRUE(Run({}));
  EXPECT_EQ(log->all, HEADER +
                          "    10             eth0 *                                       joined\n"
                          "End of Table\n");
}

TEST_F(MulticastCommand, TakesAVlanAndAGroup) {
  EXPECT_TRUE(Run({"vrf", "10", "group", "239.1.1.1"}));
  EXPECT_EQ(log->all, HEADER + "End of Table\n");
  EXPECT_TRUE(Run({"group", "ff05::1"}, true));
  EXPECT_TRUE(log->destroyed);
}

TEST_F(MulticastCommand, ListsTheGroupsOfTheDocument) {
  Apply(
      "\"IGMP\": {\"IF_LIST\": {\"i\": {\"Name\": \"IGMP_10_3\", \"GROUPS\": [{\"address\": "
      "\"239.1.1.1\"}, {\"address\": \"239.1.1.2\"}]}}}, \"MLD\": {\"IF_LIST\": {\"i\": {\"Name\": "
      "\"MLD_10_3\", \"GROUPS\": [{\"address\": \"ff05::1:3\"}]}}}");
  Manager().JoinNetwork(10, 3);
  const std::string joined =
      "    10             eth0 *                                       joined\n";
  const std::string second =
      "    10             eth0 239.1.1.2                               active\n";
  EXPECT_TRUE(Run({}));
  EXPECT_EQ(log->all,
            HEADER + joined +
                "    10             eth0 239.1.1.1                               active\n" +
                second + "End of Table\n");
  EXPECT_TRUE(Run({"group", "239.1.1.2"}));
  EXPECT_EQ(log->all, HEADER + joined + second + "End of Table\n");
  EXPECT_TRUE(Run({"group", "FF05:0::1:3"}, true));
  EXPECT_EQ(log->all, HEADER +
                          "    10             eth0 ff05::1:3                               active\n"
                          "End of Table\n");
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
