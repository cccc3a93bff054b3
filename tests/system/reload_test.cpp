// The configuration folder changes under a running daemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "daemon_process.h"
#include "tests/support/scratch_folder.h"

namespace {

using system_test::DaemonProcess;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

struct Route {
  std::string network;
  std::string gateway;
  std::string interface = "eth0";
  unsigned metric = 1;
};

class Reload : public testing::Test {
 protected:
  void Start() {
    WriteDevice({"eth0"});
    daemon = std::make_unique<DaemonProcess>(
        system_test::Arguments{"--config", folder.Path(), "--tick-us", "100"},
        DaemonProcess::PIPES);
  }
  ~Reload() override {
    if (daemon) {
      daemon->CloseInput();
      EXPECT_EQ(daemon->Wait(), expectedStatus);
      EXPECT_EQ(daemon->Errors(), expectedErrors);
    }
  }

  // Interface ethN of VLAN 10 has index N+1 and address 10.N.0.1/16.
  void WriteDevice(const std::vector<std::string>& names) {
    std::string interfaces;
    for (const std::string& name : names) {
      const std::string number = name.substr(3);
      interfaces += (interfaces.empty() ? "" : ",");
      interfaces += R"({"name": ")" + name + R"(", "vlan": 10, "index": )" +
                    std::to_string(std::stoi(number) + 1) + R"(, "ipv4": "10.)" + number +
                    ".0.1/16\"}";
    }
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [)" + interfaces + "]}");
  }
  static std::string Entry(unsigned vlan, const std::vector<Route>& routes) {
    std::string text;
    for (const Route& route : routes) {
      text +=
          std::string(text.empty() ? "" : ", ") + "\"r" + route.network + R"(": {"network": ")" +
          route.network + R"(", "netmask": "255.255.0.0", "gateway": ")" + route.gateway +
          R"(", "interface": ")" + route.interface +
          R"(", "routemetricmode": "passthrough", "metric": )" + std::to_string(route.metric) + "}";
    }
    return "\"v" + std::to_string(vlan) + R"(": {"vid": )" + std::to_string(vlan) +
           R"(, "STATIC_ROUTES": {)" + text + "}}";
  }
  void Write(const std::string& name, const std::vector<std::string>& entries) {
    std::string text;
    for (const std::string& entry : entries) {
      text += (text.empty() ? "" : ", ") + entry;
    }
    folder.Write(name, R"({"VLAN_CONFIGURATIONS": {)" + text + "}}");
  }

  std::string Ask(const std::string& line, const std::string& end) {
    daemon->Send(line + "\n");
    return daemon->ReadUntil(end);
  }
  // Reads the folder again and shows the table of VLAN 10. The session takes the second line when
  // the first has settled.
  std::string ReloadAndShow() {
    daemon->Send("reload\n");
    return Show();
  }
  std::string Show() { return Ask("rtm rib vrf 10", "End of table\n"); }

  test_support::ScratchFolder folder;
  std::unique_ptr<DaemonProcess> daemon;
  std::string expectedErrors;
  int expectedStatus = 0;
};

TEST_F(Reload, AddsAndRemovesRoutes) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2"}, {"10.51.0.0", "10.0.0.2"}})});
  Start();
  EXPECT_THAT(Show(), HasSubstr("10.50.0.0/16"));
  Write("vlans.json", {Entry(10, {{"10.51.0.0", "10.0.0.2"}, {"10.52.0.0", "10.0.0.2"}})});
  const std::string table = ReloadAndShow();
  EXPECT_THAT(table, Not(HasSubstr("10.50.0.0/16")));
  EXPECT_THAT(table, HasSubstr("10.51.0.0/16"));
  EXPECT_THAT(table, HasSubstr("10.52.0.0/16"));
}

// The profile and the protocols of VLAN 10, which has one static route.
class Redistribution : public Reload {
 protected:
  void Write(const std::string& members) {
    const std::string entry = Entry(10, {{"10.50.0.0", "10.0.0.2"}});
    Reload::Write("vlans.json", {entry.substr(0, entry.size() - 1) + members + "}"});
  }
  std::string ShowRip() {
    daemon->Send("ip rip\n");
    const std::string shown = Show();
    return shown.substr(0, shown.find("\n VLAN "));
  }
  std::string ReloadAndShowRip() {
    daemon->Send("reload\n");
    return ShowRip();
  }

  static constexpr const char* STATIC = "receives  10.50.0.0/16 static via 10.0.0.2 metric 1\n";
  static constexpr const char* CONNECTED = "receives  10.0.0.0/16 connected via ";
};

TEST_F(Redistribution, FollowsTheProfile) {
  Write(R"(, "RIPV2": {"enabled": true})");
  Start();
  EXPECT_THAT(ShowRip(), Not(HasSubstr("receives")));
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false})");
  const std::string all = ReloadAndShowRip();
  EXPECT_THAT(all, HasSubstr(STATIC));
  EXPECT_THAT(all, HasSubstr(CONNECTED));
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"static": false})");
  const std::string some = ReloadAndShowRip();
  EXPECT_THAT(some, Not(HasSubstr(STATIC)));
  EXPECT_THAT(some, HasSubstr(CONNECTED));
  Write(R"(, "RIPV2": {"enabled": true})");
  EXPECT_THAT(ReloadAndShowRip(), Not(HasSubstr("receives")));
}

TEST_F(Redistribution, IsThereFromTheStart) {
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false})");
  Start();
  EXPECT_THAT(ShowRip(), HasSubstr(STATIC));
}

// The rules go before the protocol does: afterwards nobody could withdraw them any more.
TEST_F(Redistribution, LeavesNothingWithAProtocolThatIsDisabled) {
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false})");
  Start();
  EXPECT_THAT(ShowRip(), HasSubstr(STATIC));
  Write(R"(, "RIPV2": {"enabled": false}, "REDISTRIBUTION": {"bgp": false})");
  EXPECT_THAT(ReloadAndShowRip(), Not(HasSubstr("receives")));
  Write(R"(, "RIPV2": {"enabled": true})");
  EXPECT_THAT(ReloadAndShowRip(), Not(HasSubstr("receives")));
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false})");
  EXPECT_THAT(ReloadAndShowRip(), HasSubstr(STATIC));
}

TEST_F(Redistribution, GoesWithItsVlanAndComesBack) {
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false})");
  Start();
  EXPECT_THAT(ShowRip(), HasSubstr(STATIC));
  Reload::Write("vlans.json", {Entry(20, {})});
  daemon->Send("reload force\nip protocol pending-actions summary\n");
  daemon->ReadUntil("Pending Item Buckets: 0\n");
  Write(R"(, "RIPV2": {"enabled": true})");
  EXPECT_THAT(ReloadAndShowRip(), Not(HasSubstr("receives")));
  Write(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false})");
  EXPECT_THAT(ReloadAndShowRip(), HasSubstr(STATIC));
}

TEST_F(Reload, ChangesAMetric) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2", "eth0", 5}})});
  Start();
  EXPECT_THAT(Ask("rtm rib proto static detail", "End of table\n"),
              HasSubstr("Metric1             :  5 "));
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2", "eth0", 9}})});
  daemon->Send("reload\n");
  EXPECT_THAT(Ask("rtm rib proto static detail", "End of table\n"),
              HasSubstr("Metric1             :  9 "));
}

TEST_F(Reload, AddsAndRemovesVlans) {
  Write("vlans.json", {Entry(10, {})});
  Start();
  Show();
  Write("vlans.json", {Entry(10, {}), Entry(20, {})});
  daemon->Send("reload\n");
  EXPECT_THAT(Ask("ip protocol summary", "    20     No     No     No     No\n"),
              HasSubstr("    10 "));
  Write("vlans.json", {Entry(20, {})});
  daemon->Send("reload\n");
  EXPECT_THAT(Ask("ip protocol summary", "    20     No     No     No     No\n"),
              Not(HasSubstr("    10 ")));
  daemon->Send("rtm rib vrf 10\n");
  daemon->ReadUntil("VLAN 10 is not present\n");
  expectedStatus = 1;
}

TEST_F(Reload, LeavesNothingOfAVlanThatGoes) {
  std::vector<Route> routes;
  for (int i = 0; i < 100; ++i) {
    routes.push_back({"10." + std::to_string(100 + i) + ".0.0", "10.0.0.2"});
  }
  Write("vlans.json", {Entry(10, routes), Entry(20, {})});
  Start();
  EXPECT_THAT(Show(), HasSubstr("10.199.0.0/16"));
  Write("vlans.json", {Entry(20, {})});
  daemon->Send("reload force\nip protocol pending-actions summary\n");
  daemon->ReadUntil("Pending Item Buckets: 0\n");
  Write("vlans.json", {Entry(10, {})});
  EXPECT_THAT(ReloadAndShow(), Not(HasSubstr("static")));
}

TEST_F(Reload, KeepsARouteWhileOneFileHasIt) {
  const Route shared = {"10.50.0.0", "10.0.0.2"};
  Write("vlans.json", {Entry(10, {shared})});
  Write("remote/a.json", {Entry(10, {shared})});
  Start();
  EXPECT_THAT(Show(), HasSubstr("10.50.0.0/16"));
  Write("vlans.json", {Entry(10, {})});
  EXPECT_THAT(ReloadAndShow(), HasSubstr("10.50.0.0/16"));
  folder.Remove("remote/a.json");
  EXPECT_THAT(ReloadAndShow(), Not(HasSubstr("10.50.0.0/16")));
}

TEST_F(Reload, RemovesAVlanAlthoughARemoteDocumentHasIt) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2"}})});
  Write("remote/a.json", {Entry(10, {{"10.51.0.0", "10.0.0.2"}})});
  Start();
  EXPECT_THAT(Show(), HasSubstr("10.51.0.0/16"));
  Write("vlans.json", {Entry(20, {})});
  daemon->Send("reload force\nrtm rib vrf 10\n");
  daemon->ReadUntil("VLAN 10 is not present\n");
  expectedStatus = 1;
  expectedErrors =
      "remote/a.json:1:33: warning: VLAN_CONFIGURATIONS.v10: an entry for a VLAN that the VLAN "
      "document does not name, expected one of its VLANs, found 10\n";
  Write("vlans.json", {Entry(10, {}), Entry(20, {})});
  EXPECT_THAT(ReloadAndShow(), HasSubstr("10.51.0.0/16"));
}

TEST_F(Reload, AddsAWaitingRouteWhenItsInterfaceAppears) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.1.0.2", "eth1"}})});
  const std::string place =
      "vlans.json:1:77: warning: VLAN_CONFIGURATIONS.v10.STATIC_ROUTES.\"r10.50.0.0\": ";
  const std::string waits = place +
                            "a route that waits for its interface, expected an interface of VLAN "
                            "10, found \"eth1\"\n";
  Start();
  EXPECT_THAT(Show(), Not(HasSubstr("10.50.0.0/16")));
  EXPECT_THAT(ReloadAndShow(), Not(HasSubstr("10.50.0.0/16")));
  WriteDevice({"eth0", "eth1"});
  EXPECT_THAT(ReloadAndShow(), HasSubstr("10.50.0.0/16"));
  WriteDevice({"eth0"});
  EXPECT_THAT(ReloadAndShow(), Not(HasSubstr("10.50.0.0/16")));
  expectedErrors = waits + waits + waits;  // by each reading of a folder in which it waits
}

TEST_F(Reload, KeepsWhatABrokenDocumentSaidBefore) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2"}})});
  Start();
  Show();
  folder.Write("vlans.json", "{");
  folder.Write("device.json", "[]");
  const std::string table = ReloadAndShow();
  EXPECT_THAT(table, HasSubstr("10.50.0.0/16"));
  EXPECT_THAT(table, HasSubstr("10.0.0.0/16"));
  expectedErrors =
      "device.json:1:1: wrong kind of value, expected an object, found an array\n"
      "vlans.json:1:2: not JSON: no name of a member, expected one in double quotes, found the "
      "end\n"
      "Refused to pipe: 2 errors; nothing was changed\n";
  expectedStatus = 1;
}

// An error in one file keeps what another file has changed from being applied, too.
TEST_F(Reload, IsAllOrNothing) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2"}})});
  Start();
  const std::string before = Show();
  Write("vlans.json", {Entry(10, {{"10.51.0.0", "10.0.0.2"}})});
  Write("remote/a.json", {Entry(10, {{"10.52.0.0", "10.0.0.2"}}), R"("v20": {"vid": "20"})"});
  EXPECT_EQ(ReloadAndShow(), before);
  Write("remote/a.json", {Entry(10, {{"10.52.0.0", "10.0.0.2"}})});
  const std::string table = ReloadAndShow();
  EXPECT_THAT(table, Not(HasSubstr("10.50.0.0/16")));
  EXPECT_THAT(table, HasSubstr("10.51.0.0/16"));
  EXPECT_THAT(table, HasSubstr("10.52.0.0/16"));
  expectedErrors =
      "remote/a.json:1:237: VLAN_CONFIGURATIONS.v20.vid: wrong kind of value, expected a whole "
      "number from 0 to 32767, found \"20\"\n"
      "Refused to pipe: 1 error; nothing was changed\n";
  expectedStatus = 1;
}

TEST_F(Reload, CostsTheStackNothingWhenNothingHasChanged) {
  Write("vlans.json", {Entry(10, {{"10.50.0.0", "10.0.0.2"}})});
  WriteDevice({"eth0"});
  daemon = std::make_unique<DaemonProcess>(
      system_test::Arguments{"--config", folder.Path(), "--tick-us", "100", "--log", "10"},
      DaemonProcess::PIPES);
  daemon->ReadErrorsUntil("Route Programmed Successfully\n");
  // Another document, which says nothing.
  folder.Write("remote/empty.json", R"({"VLAN_CONFIGURATIONS": {}})");
  daemon->Send("reload\nip protocol summary\n");
  daemon->CloseInput();
  EXPECT_EQ(daemon->Wait(), 0);
  const std::string& log = daemon->Log();
  const std::string reload = "Reload by pipe: no change\n";
  ASSERT_THAT(log, HasSubstr(reload));
  // Any request makes the stack ask for a run.
  EXPECT_THAT(log.substr(log.find(reload)), Not(HasSubstr("Rescheduling Metaswitch\n")));
  daemon.reset();
}

}  // namespace
