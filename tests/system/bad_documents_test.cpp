// Documents that cannot be used: what is said about them, that a device does not start with them,
// and that everything else is applied where that is allowed.
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

  void Run(const system_test::Arguments& more = {}) {
    system_test::Arguments arguments = {"--config", folder.Path(), "--tick-us", "100"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    result = RunDaemon(arguments, "ip protocol summary\nrtm rib vrf 10\n");
  }
  // The device starts, with these lines in its log.
  void ExpectStart(const std::string& lines, const system_test::Arguments& more = {}) {
    Run(more);
    EXPECT_EQ(result.errors, lines);
    EXPECT_EQ(result.status, HasAskedInVain() ? 1 : 0);
  }
  // The device starts only without what cannot be used.
  void ExpectPartialStart(const std::string& findings) {
    Run();
    EXPECT_EQ(result.errors, findings);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.status, 1);
    ExpectStart(findings, {"--partial"});
  }
  // A command of the pipe was about a VLAN that is not there.
  bool HasAskedInVain() const {
    return result.output.find("VLAN 10 is not present\n") != std::string::npos;
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
  ExpectStart("");
  EXPECT_TRUE(HasVlan(10));
  EXPECT_TRUE(HasInstalled("10.1.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.8.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, NotJson) {
  folder.Write("remote/bad.json", "{\n  \"VLAN_CONFIGURATIONS\": {\n    \"a\": }\n}\n");
  ExpectPartialStart(
      "remote/bad.json:3:10: not JSON: not a value, expected a text, a number, true, false, an "
      "object or an array, found \"}\"\n");
  EXPECT_TRUE(HasInstalled("10.8.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, NestedTooDeep) {
  folder.Write("remote/bad.json", R"({"VLAN_CONFIGURATIONS": )" + std::string(100000, '[') +
                                      std::string(100000, ']') + "}");
  ExpectPartialStart(
      "remote/bad.json:1:124: nested too deep, expected at most 100 levels, found more\n");
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, Unreadable) {
  folder.Write("remote/a.json/file", "");
  ASSERT_EQ(symlink("nowhere", folder.PathOf("remote/b.json").c_str()), 0);
  ASSERT_EQ(symlink("c.json", folder.PathOf("remote/c.json").c_str()), 0);
  ExpectPartialStart(
      "remote/a.json: not a regular file, expected one, found a folder\n"
      "remote/b.json: cannot be read, expected a readable file, found \"No such file or "
      "directory\"\n"
      "remote/c.json: cannot be read, expected a readable file, found \"Too many levels of "
      "symbolic links\"\n");
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

// The routes of both documents wait for eth0, and their next hop is in no subnet.
TEST_F(BadDocuments, DeviceDocumentMissing) {
  folder.Remove("device.json");
  std::string waiting;
  for (const std::string file : {"vlans.json 8", "remote/r.json 9"}) {
    const std::string place = file.substr(0, file.size() - 2) +
                              ":1:73: warning: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.\"10." +
                              file.back() + ".0.0\": ";
    waiting += place +
               "a route that waits for its interface, expected an interface of VLAN 10, "
               "found \"eth0\"\n";
  }
  ExpectStart(
      "device.json: warning: missing (counts as {\"default_vlan\": 1}), expected a file, found "
      "nothing\n" +
      waiting);
  EXPECT_TRUE(HasVlan(10));
}

TEST_F(BadDocuments, VlanDocumentMissing) {
  folder.Remove("vlans.json");
  ExpectStart(
      "vlans.json: warning: missing (counts as no VLANs), expected a file, found nothing\n"
      "remote/r.json:1:31: warning: VLAN_CONFIGURATIONS.a: an entry for a VLAN that the VLAN "
      "document does not name, expected one of its VLANs, found 10\n");
  EXPECT_FALSE(HasVlan(10));
  EXPECT_THAT(result.output, HasSubstr("VLAN 10 is not present\n"));
}

TEST_F(BadDocuments, InterfaceOfWrongTypes) {
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": 5, "vlan": 10, "index": 4}, )" +
                                  ETH0 +
                                  R"(,
    {"name": "eth1", "vlan": 10, "index": 5, "mtu": "big", "ipv4": "10.2.0.1/16"}]})");
  ExpectPartialStart(
      "device.json:2:14: interfaces[0].name: wrong kind of value, expected 1 to 64 printable "
      "characters without blanks, found 5\n"
      "device.json:3:53: interfaces[2].mtu: wrong kind of value, expected a whole number from 68 "
      "to 65535, found \"big\"\n");
  EXPECT_TRUE(HasInstalled("10.1.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.2.0.0/16"));
}

TEST_F(BadDocuments, EntriesOfWrongTypes) {
  WriteVlans(R"("1": 5, "2": {"vid": "ten"}, "3": {"RIPV2": {}}, "4": {"vid": 20, "RTM": 7},
    "5": {"vid": 30, "RIPV2": {"enabled": 1}, "STATIC_ROUTES": 3}, "6": {"vid": 10}, "7": {})");
  const std::string entries = ": VLAN_CONFIGURATIONS.";
  const std::string vid = ", expected a whole number from 0 to 32767, found ";
  ExpectPartialStart(
      "vlans.json:1:31" + entries + "1: wrong kind of value, expected an object, found 5\n" +
      "vlans.json:1:47" + entries + "2.vid: wrong kind of value" + vid + "\"ten\"\n" +
      "vlans.json:1:60" + entries + "3.vid: a missing member" + vid + "nothing\n" +
      "vlans.json:1:70" + entries +
      "3.RIPV2: an empty object, expected one with members, found none\n" + "vlans.json:1:99" +
      entries + "4.RTM: wrong kind of value, expected an object, found 7\n" + "vlans.json:2:43" +
      entries + "5.RIPV2.enabled: wrong kind of value, expected true or false, found 1\n" +
      "vlans.json:2:64" + entries +
      "5.STATIC_ROUTES: wrong kind of value, expected an object or an array of objects, found "
      "3\n" +
      "vlans.json:2:91" + entries + "7.vid: a missing member" + vid + "nothing\n");
  EXPECT_TRUE(HasVlan(10));
  EXPECT_TRUE(HasVlan(20));
  EXPECT_TRUE(HasVlan(30));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
}

TEST_F(BadDocuments, ListOfVlansThatIsNone) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": "vlan10"})");
  folder.Remove("remote");
  ExpectPartialStart(
      "vlans.json:1:25: VLAN_CONFIGURATIONS: wrong kind of value, expected an object or an array "
      "of objects, found \"vlan10\"\n");
}

TEST_F(BadDocuments, RoutesThatDoNotParse) {
  WriteVlans(R"("a": {"vid": 10, "STATIC_ROUTES": {"r0": 1,
    "r1": {"network": "10.7.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "r2": {"network": "10.7.0.1", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    )" + RouteTo("10.6.0.0") +
             R"(}, "STATIC_ROUTES6": {
    "r3": {"network": "2001:db8::", "prefix": "x", "gateway": "::1"}}})");
  const std::string routes = ": VLAN_CONFIGURATIONS.a.STATIC_ROUTES";
  ExpectPartialStart(
      "vlans.json:1:67" + routes + ".r0: wrong kind of value, expected an object, found 1\n" +
      "vlans.json:2:23" + routes +
      ".r1.network: not an IPv4 address, expected an IPv4 address, found \"10.7.0\"\n" +
      "vlans.json:3:23" + routes +
      ".r2.network: host bits are set, expected 10.7.0.0 for a length of 16, found 10.7.0.1\n" +
      "vlans.json:5:47" + routes +
      "6.r3.prefix: not a number, expected a whole number from 0 to 128, or a text of at most 3 "
      "digits, "
      "found \"x\"\n");
  EXPECT_TRUE(HasInstalled("10.6.0.0/16"));
  EXPECT_TRUE(HasInstalled("10.9.0.0/16"));
  EXPECT_THAT(result.output, Not(HasSubstr("10.7.0")));
}

TEST_F(BadDocuments, VlanUnderTwoMembers) {
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}, "STATIC_ROUTES": {)" +
             RouteTo("10.6.0.0") + R"(}}, "b": {"vid": 10, "RIPV2": {"enabled": true}, )" +
             R"("STATIC_ROUTES": {)" + RouteTo("10.7.0.0") + R"(}}, "c": {"vid": 20})");
  ExpectPartialStart(
      "vlans.json:1:211: VLAN_CONFIGURATIONS.b.vid: a VLAN that stands twice, expected one entry, "
      "that of VLAN_CONFIGURATIONS.a, found another for VLAN 10\n");
  EXPECT_TRUE(HasVlan(20));
  EXPECT_TRUE(HasInstalled("10.6.0.0/16"));
  EXPECT_FALSE(HasInstalled("10.7.0.0/16"));
  EXPECT_THAT(result.output, HasSubstr("    10     No     No    Yes     No\n"));
}

TEST_F(BadDocuments, RouteWithTwoMetrics) {
  WriteVlans(R"("a": {"vid": 10, "STATIC_ROUTES": {
    "r1": {"network": "10.6.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": "1"},
    "r2": {"network": "10.6.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": "5"}
    }})");
  ExpectPartialStart(
      "vlans.json:3:11: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r2: one route with two metrics, "
      "expected 2 in force as from VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r1, found 6\n");
  EXPECT_TRUE(HasInstalled("10.6.0.0/16"));
}

TEST_F(BadDocuments, AllEmpty) {
  for (const char* name : {"device.json", "vlans.json", "remote/r.json"}) {
    folder.Write(name, "");
  }
  const std::string problem =
      ":1:1: not JSON: an empty document, expected an object, found the end\n";
  ExpectPartialStart("device.json" + problem + "vlans.json" + problem + "remote/r.json" + problem);
  EXPECT_EQ(result.output, "   VID  BGP4+ OSPFv2  RIPv2   IGMP\nVLAN 10 is not present\n");
}

}  // namespace
