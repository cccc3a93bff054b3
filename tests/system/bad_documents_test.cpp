// Documents that cannot be used: what is said about them, and that everything else is applied.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "daemon_process.h"
#include "tests/support/scratch_folder.h"

namespace {

using system_test::Result;
using system_test::RunDaemon;
using testing::HasSubstr;
using testing::Not;

// A device whose three documents are good unless a test spoils one: VLAN 10 with eth0 and a route
// from each configuration document.
class BadDocuments : public testing::Test {
 protected:
  BadDocuments() {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [)" + ETH0 + "]}");
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)" +
                                   RouteTo("10.8.0.0") + "}}}}");
    folder.Write("remote/r.json",
                 R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)" +
                     RouteTo("10.9.0.0") + "}}}}");
  }

  static std::string RouteTo(const std::string& network) {
    return "\"" + network + R"(": {"interface": "eth0", "network": ")" + network +
           R"(", "netmask": "255.255.0.0", "gateway": "10.1.2.1"})";
  }
  void WriteVlans(const std::string& entries) {
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}");
  }

  void Run() {
    result = RunDaemon({"--config", folder.Path(), "--tick-us", "100"},
                       "ip protocol summary\nrtm rib vrf 10\n");
    EXPECT_EQ(result.status, 0);
  }
  bool HasVlan(unsigned vlan) const {
    char line[16];
    std::snprintf(line, sizeof line, "\n%6u ", vlan);
    return result.output.find(line) != std::string::npos;
  }
  bool HasInstalled(const std::string& prefix) const {
    const std::size_t found = result.output.find(" " + prefix + " ");
    const std::size_t line = result.output.rfind('\n', found);
    return found != std::string::npos && result.output[line + 1] == '>';
  }

  const std::string ETH0 = R"({"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"})";
  test_support::ScratchFolder folder;
  Result result;
};

TEST_F(BadDocuments, AreNotWhatThisDeviceHas) {
  Run();
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(HasVlan(10));
  EXPECT_TRUE(HasInstalled("10.1.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.8.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, NotJson) {
  folder.Write("remote/bad.json", "{\n  \"VLAN_CONFIGURATIONS\": {\n    \"a\": }\n}\n");
  Run();
  EXPECT_EQ(result.errors,
            "remote/bad.json:3:10: not JSON: Syntax error: value, object or array expected.\n");
  EXPECT_TRUE(HasInstalled("10.8.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, NestedTooDeep) {
  folder.Write("remote/bad.json", R"({"VLAN_CONFIGURATIONS": )" + std::string(100000, '[') +
                                      std::string(100000, ']') + "}");
  Run();
  EXPECT_EQ(result.errors, "remote/bad.json:1:124: nested deeper than 100 levels\n");
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, Unreadable) {
  folder.Write("remote/a.json/file", "");
  ASSERT_EQ(symlink("nowhere", folder.PathOf("remote/b.json").c_str()), 0);
  ASSERT_EQ(symlink("c.json", folder.PathOf("remote/c.json").c_str()), 0);
  Run();
  EXPECT_EQ(result.errors,
            "remote/a.json: is not a regular file\n"
            "remote/b.json: cannot be read: No such file or directory\n"
            "remote/c.json: cannot be read: Too many levels of symbolic links\n");
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, DeviceDocumentMissing) {
  folder.Remove("device.json");
  Run();
  EXPECT_EQ(result.errors,
            "device.json: cannot be read: No such file or directory\n"
            "vlans.json: VLAN 10: STATIC_ROUTES.\"10.8.0.0\": waits for interface \"eth0\"\n"
            "remote/r.json: VLAN 10: STATIC_ROUTES.\"10.9.0.0\": waits for interface \"eth0\"\n");
  EXPECT_TRUE(HasVlan(10));
}

TEST_F(BadDocuments, VlanDocumentMissing) {
  folder.Remove("vlans.json");
  Run();
  EXPECT_EQ(result.errors,
            "vlans.json: cannot be read: No such file or directory\n"
            "Loaded Remote remote/r.json Options with VLAN 10 before loading VLAN options... "
            "Skipping\n");
  EXPECT_FALSE(HasVlan(10));
  EXPECT_THAT(result.output, HasSubstr("VLAN 10 is not present\n"));
}

TEST_F(BadDocuments, InterfaceOfWrongTypes) {
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": 5, "vlan": 10, "index": 4}, )" +
                                  ETH0 +
                                  R"(,
    {"name": "eth1", "vlan": 10, "index": 5, "mtu": "big", "ipv4": "10.2.0.1/16"}]})");
  Run();
  EXPECT_EQ(result.errors,
            "device.json: interfaces[0].name: expected a text, found 5\n"
            "device.json: interfaces[2].mtu: expected a whole number from 68 to 65535, found "
            "\"big\"\n");
  EXPECT_TRUE(HasInstalled("10.1.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.2.0.0/16"));
}

TEST_F(BadDocuments, EntriesOfWrongTypes) {
  WriteVlans(R"("1": 5, "2": {"vid": "ten"}, "3": {"RIPV2": {}}, "4": {"vid": 20, "RTM": 7},
    "5": {"vid": 30, "RIPV2": {"enabled": 1}, "STATIC_ROUTES": 3}, "6": {"vid": 10}, "7": {})");
  Run();
  EXPECT_EQ(result.errors,
            "vlans.json: VLAN_CONFIGURATIONS.1: expected an object, found 5\n"
            "vlans.json: VLAN_CONFIGURATIONS.2.vid: expected a VLAN id, found \"ten\"\n"
            "vlans.json: VLAN_CONFIGURATIONS.3.vid: expected a VLAN id, found nothing\n"
            "vlans.json: VLAN_CONFIGURATIONS.4.RTM: expected an object, found 7\n"
            "vlans.json: VLAN_CONFIGURATIONS.5.STATIC_ROUTES: expected an object of routes, found "
            "3\n"
            "vlans.json: RIPV2:30: \"enabled\" must be true or false\n");
  EXPECT_TRUE(HasVlan(10));
  EXPECT_TRUE(HasVlan(20));
  EXPECT_TRUE(HasVlan(30));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, ListOfVlansThatIsNone) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": "vlan10"})");
  folder.Remove("remote");
  Run();
  EXPECT_EQ(result.errors,
            "vlans.json: VLAN_CONFIGURATIONS: expected an object of VLANs, found \"vlan10\"\n");
}

TEST_F(BadDocuments, RoutesThatDoNotParse) {
  WriteVlans(R"("a": {"vid": 10, "STATIC_ROUTES": {"r0": 1,
    "r1": {"network": "10.7.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "r2": {"network": "10.7.0.1", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    )" + RouteTo("10.6.0.0") +
             R"(}, "STATIC_ROUTES6": {
    "r3": {"network": "2001:db8::", "prefix": "x", "gateway": "::1"}}})");
  Run();
  EXPECT_EQ(result.errors,
            "vlans.json: VLAN 10: STATIC_ROUTES.r0: expected an object with a route\n"
            "vlans.json: VLAN 10: STATIC_ROUTES.r1.network: expected an IPv4 address, found "
            "\"10.7.0\"\n"
            "vlans.json: VLAN 10: STATIC_ROUTES.r2.network: host bits are set in 10.7.0.1/16\n"
            "vlans.json: VLAN 10: STATIC_ROUTES6.r3.prefix: expected a length from 0 to 128, found "
            "\"x\"\n");
  EXPECT_TRUE(HasInstalled("10.6.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
  EXPECT_THAT(result.output, Not(HasSubstr("10.7.0")));
}

TEST_F(BadDocuments, VlanUnderTwoMembers) {
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}, "STATIC_ROUTES": {)" +
             RouteTo("10.6.0.0") + R"(}}, "b": {"vid": 10, "RIPV2": {"enabled": true}, )" +
             R"("STATIC_ROUTES": {)" + RouteTo("10.7.0.0") + R"(}}, "c": {"vid": 20})");
  Run();
  EXPECT_EQ(result.errors,
            "vlans.json: VLAN_CONFIGURATIONS.b: VLAN 10 stands twice, also at vlans.json: "
            "VLAN_CONFIGURATIONS.a; both are applied\n");
  EXPECT_TRUE(HasVlan(20));
  EXPECT_TRUE(HasInstalled("10.6.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.7.0.0/16"));
  EXPECT_THAT(result.output, HasSubstr("    10     No     No    Yes     No\n"));
}

TEST_F(BadDocuments, RouteWithTwoMetrics) {
  WriteVlans(R"("a": {"vid": 10, "STATIC_ROUTES": {
    "r1": {"network": "10.6.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": "1"},
    "r2": {"network": "10.6.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": "5"}
    }})");
  Run();
  EXPECT_EQ(result.errors,
            "vlans.json: VLAN 10: STATIC_ROUTES.r2: the same route has metric 2 at vlans.json: "
            "VLAN 10: STATIC_ROUTES.r1, which stays\n");
  EXPECT_TRUE(HasInstalled("10.6.0.0/16"));
}

TEST_F(BadDocuments, AllEmpty) {
  for (const char* name : {"device.json", "vlans.json", "remote/r.json"}) {
    folder.Write(name, "");
  }
  Run();
  const std::string problem = ":1:1: not JSON: Syntax error: value, object or array expected.\n";
  EXPECT_EQ(result.errors,
            "device.json" + problem + "vlans.json" + problem + "remote/r.json" + problem);
  EXPECT_EQ(result.output, "   VID  BGP4+ OSPFv2  RIPv2   IGMP\nVLAN 10 is not present\n");
}

}  // namespace
