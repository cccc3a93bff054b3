#include "device/documents/device_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/documents/reading.h"

namespace {

using documents::Device;
using documents_tests::ReadDevice;
using testing::ElementsAre;
using testing::IsEmpty;

class ReadDeviceDocument : public testing::Test {
 protected:
  Device Read(const std::string& json) {
    const auto read = ReadDevice(json);
    for (const std::string& line : read.Lines()) {
      lines.push_back(line);
    }
    return read.file.device;
  }
  // A document whose only interface has the required members and these.
  Device ReadInterface(const std::string& members) {
    return Read(R"({"default_vlan": 1, "interfaces": [{"name": "eth0", "vlan": 10, )"
                R"("index": 3)" +
                std::string(members.empty() ? "" : ", ") + members + "}]}");
  }
  static const documents::Interface& Only(const Device& document) {
    return document.interfaces.begin()->second;
  }

  std::vector<std::string> lines;  // of all readings
};

TEST_F(ReadDeviceDocument, TakesEverything) {
  const Device document = Read(R"({
    "default_vlan": 10,
    "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "flags": ["broadcast", "multicast"], "mtu": 9000,
       "up": false, "joined": true, "ipv4": "10.1.2.3/20", "ipv6": ["2001:db8::1/64", "fe80::1/10"]},
      {"name": "eth0", "vlan": 20, "index": 3, "flags": ["mpls-tunnel", "loopback",
       "point-to-point", "unnumbered"]}],
    "primary_interfaces": {"10": "eth0"}})");
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_EQ(document.defaultVlan, 10);
  ASSERT_EQ(document.interfaces.size(), 2u);
  const documents::Interface& first = document.interfaces.at({10, 3});
  EXPECT_EQ(first.name, "eth0");
  EXPECT_EQ(first.flags, 24u);
  EXPECT_EQ(first.mtu, 9000u);
  EXPECT_FALSE(first.up);
  EXPECT_TRUE(first.joined);
  EXPECT_EQ(first.ip4.at(0).address, Tarsel::Ip4Addr(10, 1, 2, 3));
  EXPECT_EQ(first.ip4.at(0).mask, Tarsel::Ip4Addr(255, 255, 240, 0));
  ASSERT_EQ(first.ip6.size(), 2u);
  EXPECT_TRUE(first.ip6[0].ToString() == "2001:db8::1/64");
  EXPECT_TRUE(first.ip6[1].ToString() == "fe80::1/10");
  EXPECT_EQ(document.interfaces.at({20, 3}).flags, 39u);
  EXPECT_EQ(document.primaries.at(10), "eth0");
}

TEST_F(ReadDeviceDocument, HasDefaults) {
  const Device document = ReadInterface("");
  EXPECT_TRUE(Only(document).up);
  EXPECT_FALSE(Only(document).joined);
  EXPECT_EQ(Only(document).mtu, 1500u);
  EXPECT_EQ(Only(document).flags, 0u);
  EXPECT_THAT(Only(document).ip4, IsEmpty());
  EXPECT_THAT(Only(document).ip6, IsEmpty());
}

TEST_F(ReadDeviceDocument, NeedsADefaultVlan) {
  EXPECT_EQ(Read("{}").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": 32768})").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": "10"})").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": -1})").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": 32767})").defaultVlan, 32767);
  const std::string expected = "expected a whole number from 0 to 32767, found ";
  EXPECT_THAT(
      lines,
      ElementsAre("device.json:1:1: default_vlan: a missing member, " + expected + "nothing",
                  "device.json:1:18: default_vlan: out of range, " + expected + "32768",
                  "device.json:1:18: default_vlan: wrong kind of value, " + expected + "\"10\"",
                  "device.json:1:18: default_vlan: out of range, " + expected + "-1"));
}

TEST_F(ReadDeviceDocument, NeedsAnObject) {
  for (const char* text : {"[]", "1", "null", "\"a\"", "true"}) {
    EXPECT_FALSE(ReadDevice(text).isDocument) << text;
    Read(text);
  }
  const std::string kind = "device.json:1:1: wrong kind of value, expected an object, found ";
  EXPECT_THAT(lines, ElementsAre(kind + "an array", kind + "1",
                                 "device.json:1:1: no value, expected an object, found null",
                                 kind + "\"a\"", kind + "true"));
  EXPECT_TRUE(ReadDevice("{}").isDocument);
  EXPECT_FALSE(ReadDevice("{").isDocument);
}

TEST_F(ReadDeviceDocument, LeavesOutInterfacesWithoutRequiredMembers) {
  const Device document = Read(R"({"default_vlan": 1, "interfaces": [
    7,
    {"vlan": 10, "index": 1},
    {"name": "eth1", "index": 2},
    {"name": "eth2", "vlan": 10, "index": 0},
    {"name": "a b", "vlan": 10, "index": 4},
    {"name": "eth5", "vlan": 10, "index": 5}]})");
  ASSERT_EQ(document.interfaces.size(), 1u);
  EXPECT_EQ(Only(document).name, "eth5");
  const std::string name = "expected 1 to 64 printable characters without blanks, found ";
  EXPECT_THAT(
      lines,
      ElementsAre(
          "device.json:2:5: interfaces[0]: wrong kind of value, expected an object that is not "
          "empty, found 7",
          "device.json:3:5: interfaces[1].name: a missing member, " + name + "nothing",
          "device.json:4:5: interfaces[2].vlan: a missing member, expected a whole number from 0 "
          "to 32767, found nothing",
          "device.json:5:43: interfaces[3].index: out of range, expected a whole number from 1 to "
          "2147483647, found 0",
          "device.json:6:14: interfaces[4].name: not a name, " + name + "\"a b\""));
}

TEST_F(ReadDeviceDocument, LeavesOutOptionalMembersOneByOne) {
  const Device document = ReadInterface(
      R"("mtu": 67, "up": "yes", "flags": ["broadcast", "fast", 3], "ipv4": "10.0.0.1",
"ipv6": ["2001:db8::1", "::1/129", 5, "2001:db8::1/64", "2001:db8::1/128"])");
  EXPECT_EQ(Only(document).mtu, 1500u);
  EXPECT_TRUE(Only(document).up);
  EXPECT_EQ(Only(document).flags, 8u);
  EXPECT_THAT(Only(document).ip4, IsEmpty());
  ASSERT_EQ(Only(document).ip6.size(), 1u);
  EXPECT_TRUE(Only(document).ip6[0].ToString() == "2001:db8::1/64");
  const std::string flags =
      "expected one of mpls-tunnel, loopback, point-to-point, broadcast, "
      "multicast, unnumbered, found ";
  const std::string prefix = "expected an IPv6 address/length, found ";
  EXPECT_THAT(
      lines,
      ElementsAre(
          "device.json:1:84: interfaces[0].mtu: out of range, expected a whole number from 68 to "
          "65535, found 67",
          "device.json:1:94: interfaces[0].up: wrong kind of value, expected true or false, found "
          "\"yes\"",
          "device.json:1:124: interfaces[0].flags[1]: unknown word, " + flags + "\"fast\"",
          "device.json:1:132: interfaces[0].flags[2]: wrong kind of value, " + flags + "3",
          "device.json:1:144: interfaces[0].ipv4: not an IPv4 prefix, expected an IPv4 "
          "address/length, found \"10.0.0.1\"",
          "device.json:2:10: interfaces[0].ipv6[0]: not an IPv6 prefix, " + prefix +
              "\"2001:db8::1\"",
          "device.json:2:25: interfaces[0].ipv6[1]: not an IPv6 prefix, " + prefix + "\"::1/129\"",
          "device.json:2:36: interfaces[0].ipv6[2]: wrong kind of value, " + prefix + "5",
          "device.json:2:57: interfaces[0].ipv6[4]: an address that the interface has already, "
          "expected another, found \"2001:db8::1\""));
}

TEST_F(ReadDeviceDocument, RefusesOtherFormsOfIp4Addresses) {
  for (const char* text : {"10.0.0.1/33", "10.0.0/8", "10.0.0.1/", "10.0.0.1/8x", "10.0.0.1/+8",
                           "/8", "10.0.0.1/99999999999", "10.0.0.1\\u0000x/8", "10.0.0.1/0008"}) {
    EXPECT_THAT(Only(ReadInterface(R"("ipv4": ")" + std::string(text) + "\"")).ip4, IsEmpty())
        << text;
  }
  EXPECT_EQ(lines.size(), 9u);
  for (const char* text : {"10.0.0.1/32", "0.0.0.0/0", "10.0.0.1/08"}) {
    EXPECT_THAT(Only(ReadInterface(R"("ipv4": ")" + std::string(text) + "\"")).ip4,
                testing::SizeIs(1))
        << text;
  }
  EXPECT_EQ(lines.size(), 9u);
}

TEST_F(ReadDeviceDocument, ReadsNoAddressUpToANul) {
  EXPECT_TRUE(Only(ReadInterface(R"("ipv6": ["2001:db8::1\u0000x/64"])")).ip6.empty());
  EXPECT_THAT(lines,
              ElementsAre("device.json:1:86: interfaces[0].ipv6[0]: not an IPv6 prefix, expected "
                          "an IPv6 address/length, found \"2001:db8::1\\x00x/64\""));
}

TEST_F(ReadDeviceDocument, KeepsTheFirstOfTwoInterfacesWithTheSameIndexOrName) {
  const Device document = Read(R"({"default_vlan": 1, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 1},
    {"name": "eth1", "vlan": 10, "index": 1},
    {"name": "eth0", "vlan": 10, "index": 2}]})");
  ASSERT_EQ(document.interfaces.size(), 1u);
  EXPECT_EQ(Only(document).name, "eth0");
  EXPECT_THAT(
      lines,
      ElementsAre("device.json:3:43: interfaces[1].index: an index that stands twice, expected one "
                  "interface of VLAN 10 with it, found 1 again",
                  "device.json:4:14: interfaces[2].name: a name that stands twice, expected one "
                  "interface of VLAN 10 with it, found \"eth0\" again"));
}

TEST_F(ReadDeviceDocument, TakesOnlyPrimariesThatExist) {
  const Device document = Read(R"({"default_vlan": 1,
    "primary_interfaces": {"10": "eth0",
"11": "eth0",
"12": 1,
"x": "eth0",
"13": null,
"14": {},
"32768": "eth0",
"010": "eth0"},
    "interfaces": [{"name": "eth0", "vlan": 10, "index": 1}]})");
  EXPECT_EQ(document.primaries.size(), 1u);
  EXPECT_EQ(document.primaries.at(10), "eth0");
  EXPECT_THAT(
      lines,
      ElementsAre(
          "device.json:3:7: primary_interfaces.11: not an interface of VLAN 11, expected the name "
          "of one, found \"eth0\"",
          "device.json:4:7: primary_interfaces.12: wrong kind of value, expected the name of an "
          "interface, found 1",
          "device.json:5:1: primary_interfaces.x: not a VLAN, expected a VLAN from 0 to 32767 as "
          "the name, found \"x\"",
          "device.json:6:7: primary_interfaces.13: no value, expected the name of an interface, "
          "found null",
          "device.json:7:7: primary_interfaces.14: wrong kind of value, expected the name of an "
          "interface, found an object",
          "device.json:8:1: primary_interfaces.32768: not a VLAN, expected a VLAN from 0 to 32767 "
          "as the name, found \"32768\"",
          "device.json:9:8: primary_interfaces.010: a VLAN that stands twice, expected one name "
          "for VLAN 10, found another, \"eth0\""));
}

TEST_F(ReadDeviceDocument, NamesMembersThatNobodyReads) {
  Read(R"({"default_vlan": 1, "vlan": 2, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 1, "MTU": 1500}], "x-vlan": 2, "$schema": "a"})");
  EXPECT_THAT(lines,
              ElementsAre("device.json:1:21: vlan: unknown member, expected \"kernel\" or "
                          "another known name, found \"vlan\"",
                          "device.json:2:46: interfaces[0].MTU: unknown member, expected \"mtu\" "
                          "or another known name, found \"MTU\""));
}

TEST_F(ReadDeviceDocument, TakesNoOtherTypeForItsLists) {
  Read(R"({"default_vlan": 1, "interfaces": {}, "primary_interfaces": []})");
  EXPECT_THAT(lines,
              ElementsAre("device.json:1:35: interfaces: wrong kind of value, expected an array, "
                          "found an object",
                          "device.json:1:61: primary_interfaces: wrong kind of value, expected an "
                          "object of VLANs and names of interfaces, found an array"));
}

TEST_F(ReadDeviceDocument, PlacesInterfacesAndAddresses) {
  const Device document = Read(R"({"default_vlan": 1, "interfaces": [
    {"ipv6": ["2001:db8::1/64",
"2001:db8::2/64"], "name": "eth0", "vlan": 10, "index": 1,
"ipv4": "10.0.0.1/8"},
    {"name": "eth1", "vlan": 9, "index": 1}]})");
  const documents::InterfaceOrigin& origin = document.origins.at({10, 1});
  EXPECT_EQ(origin.place.Text(), "device.json:2:5: interfaces[0]");
  EXPECT_EQ(origin.ip4.Text(), "device.json:4:9: interfaces[0].ipv4");
  ASSERT_EQ(origin.ip6.size(), 2u);
  EXPECT_EQ(origin.ip6[0].Text(), "device.json:2:15: interfaces[0].ipv6[0]");
  EXPECT_EQ(origin.ip6[1].Text(), "device.json:3:1: interfaces[0].ipv6[1]");
  EXPECT_EQ(document.origins.at({9, 1}).place.Text(), "device.json:5:5: interfaces[1]");
}

TEST(ReadPrefix, ReadsWholeTextsOnly) {
  documents::Ip4Network network;
  EXPECT_TRUE(documents::ReadPrefix("10.1.2.3/20", network));
  EXPECT_EQ(network.address, Tarsel::Ip4Addr(10, 1, 2, 3));
  EXPECT_EQ(network.mask, Tarsel::Ip4Addr(255, 255, 240, 0));
  Tarsel::Ip6Prefix prefix;
  EXPECT_TRUE(documents::ReadPrefix("2001:db8::1/64", prefix));
  EXPECT_TRUE(prefix.ToString() == "2001:db8::1/64");
  EXPECT_FALSE(documents::ReadPrefix("2001:db8::1/64", network));
  EXPECT_FALSE(documents::ReadPrefix("10.1.2.3/20", prefix));
  EXPECT_FALSE(documents::ReadPrefix("2001:db8::1/129", prefix));
  EXPECT_FALSE(documents::ReadPrefix("", network));
}

TEST(Ip6PrefixOrder, IsByAddressThenLength) {
  const documents::Ip6PrefixOrder isBefore;
  Tarsel::Ip6Prefix a;
  Tarsel::Ip6Prefix b;
  documents::ReadPrefix("::1/64", a);
  documents::ReadPrefix("::2/0", b);
  EXPECT_TRUE(isBefore(a, b));
  EXPECT_FALSE(isBefore(b, a));
  documents::ReadPrefix("::1/65", b);
  EXPECT_TRUE(isBefore(a, b));
  EXPECT_FALSE(isBefore(b, a));
  EXPECT_FALSE(isBefore(a, a));
}

// ---- the kernel

TEST_F(ReadDeviceDocument, LeavesTheKernelAloneUnlessItSaysOtherwise) {
  EXPECT_TRUE(Read(R"({"default_vlan": 1})").kernel == documents::KernelSettings());
  const Device document =
      Read(R"({"default_vlan": 1, "kernel": {"routes": true, "table_base": 256}})");
  EXPECT_TRUE(document.kernel.writesRoutes);
  EXPECT_EQ(document.kernel.tableBase, 256u);
  EXPECT_EQ(Read(R"({"default_vlan": 1, "kernel": {"routes": true}})").kernel.tableBase, 40000u);
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ReadDeviceDocument, RulesGoWithRoutes) {
  const Device both = Read(R"({"default_vlan": 1, "kernel": {"rules": true, "routes": true}})");
  EXPECT_TRUE(both.kernel.writesRules);
  EXPECT_FALSE(both.kernel == Read(R"({"default_vlan": 1, "kernel": {"routes": true}})").kernel);
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_TRUE(Read(R"({"default_vlan": 1, "kernel": {"rules": true}})").kernel.writesRules);
  EXPECT_THAT(lines,
              ElementsAre("device.json:1:31: warning: kernel.rules: rules without routes, expected "
                          "\"routes\" as well, found none"));
}

TEST_F(ReadDeviceDocument, SaysHowManyNextHopsRoutesOfAVlanHave) {
  const Device document = Read(
      R"({"default_vlan": 1, "kernel": {"routes": true, "multipath": {"10": 4, "0": 64, "20": 1}}})");
  EXPECT_THAT(document.kernel.multipath, ElementsAre(testing::Pair(0, 64), testing::Pair(10, 4)));
  EXPECT_THAT(lines, IsEmpty());
  const Device without = Read(R"({"default_vlan": 1, "kernel": {"routes": true}})");
  EXPECT_FALSE(document.kernel == without.kernel);
  EXPECT_TRUE(document.kernel.HasSamePlaces(without.kernel));
  Read(R"({"default_vlan": 1, "kernel": {"multipath": {"10": 4}}})");
  EXPECT_THAT(lines, ElementsAre("device.json:1:31: warning: kernel.multipath: several next hops "
                                 "without routes, expected \"routes\" as well, found none"));
}

TEST_F(ReadDeviceDocument, TakesNoOtherNumbersOfNextHops) {
  const Device document = Read(R"({"default_vlan": 1, "kernel": {"routes": true, "multipath": {
"10": 4, "x": 2,
"11": 0,
"12": 65,
"13": "4",
"14": null,
"15": {},
"32768": 2,
"010": 5, "10": 6}}})");
  EXPECT_THAT(document.kernel.multipath, ElementsAre(testing::Pair(10, 4)));
  const std::string expected = "expected a whole number from 1 to 64, found ";
  EXPECT_THAT(
      lines,
      ElementsAre(
          "device.json:2:10: kernel.multipath.x: not a VLAN, expected a VLAN from 0 to 32767 as "
          "the "
          "name, found \"x\"",
          "device.json:3:7: kernel.multipath.11: out of range, " + expected + "0",
          "device.json:4:7: kernel.multipath.12: out of range, " + expected + "65",
          "device.json:5:7: kernel.multipath.13: wrong kind of value, " + expected + "\"4\"",
          "device.json:6:7: kernel.multipath.14: no value, " + expected + "null",
          "device.json:7:7: kernel.multipath.15: wrong kind of value, " + expected + "an object",
          "device.json:8:1: kernel.multipath.32768: not a VLAN, expected a VLAN from 0 to 32767 as "
          "the name, found \"32768\"",
          "device.json:9:8: kernel.multipath.010: a VLAN that stands twice, expected one number "
          "for "
          "VLAN 10, found another, 5",
          testing::HasSubstr("device.json:9:11: kernel.multipath.10: ")));
  Read(R"({"default_vlan": 1, "kernel": {"multipath": [4]}})");
  EXPECT_EQ(lines.back(),
            "device.json:1:45: kernel.multipath: wrong kind of value, expected an object of VLANs "
            "and numbers, found an array");
}

TEST_F(ReadDeviceDocument, KeepsTheKernelsOwnTablesFromVlans) {
  EXPECT_EQ(Read(R"({"default_vlan": 1, "kernel": {"table_base": 255}})").kernel.tableBase, 40000u);
  EXPECT_EQ(Read(R"({"default_vlan": 1, "kernel": {"table_base": 4294901761}})").kernel.tableBase,
            40000u);
  EXPECT_THAT(lines, testing::SizeIs(2));
}

TEST_F(ReadDeviceDocument, SaysWhichLinksAreInterfaces) {
  const documents::Device document = Read(R"({"default_vlan": 1, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
      {"name": "lo", "vlan": 10, "index": 1}, {"name": "eth9", "vlan": 10, "index": 4}],
      "primary_interfaces": {"20": "eth7"},
      "kernel": {"interfaces": ["eth*", "wan?"], "ignore": ["eth9"]}})");
  EXPECT_THAT(document.links.taken, ElementsAre("eth*", "wan?"));
  EXPECT_THAT(document.links.ignored, ElementsAre("eth9"));
  EXPECT_THAT(document.links.vlans, ElementsAre(testing::Pair("eth0", 10)));
  EXPECT_THAT(document.interfaces, ElementsAre(testing::Key(documents::InterfaceKey(10, 1)),
                                               testing::Key(documents::InterfaceKey(10, 4))));
  EXPECT_EQ(2u, document.origins.size());
  EXPECT_THAT(document.primaries, ElementsAre(testing::Pair(20, "eth7")));
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_FALSE(Read(R"({"default_vlan": 1})").links.Take("eth0"));
}

TEST_F(ReadDeviceDocument, ALinkHasOneVlan) {
  const documents::Device document = Read(R"({"default_vlan": 1, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3}, {"name": "eth0", "vlan": 20, "index": 3}],
      "kernel": {"interfaces": ["eth*"]}})");
  EXPECT_THAT(document.links.vlans, ElementsAre(testing::Pair("eth0", 10)));
  EXPECT_THAT(lines, ElementsAre("device.json:2:49: interfaces[1]: a link that stands twice, "
                                 "expected one VLAN for it, found \"eth0\" again"));
}

TEST_F(ReadDeviceDocument, NamesOfLinksAreFew) {
  std::string names;
  for (int i = 0; i < 257; ++i) {
    names += (i == 0 ? "\"e" : ", \"e") + std::to_string(i) + "\"";
  }
  const documents::Device document =
      Read(R"({"default_vlan": 1, "kernel": {"interfaces": [)" + names + "]}}");
  EXPECT_THAT(document.links.taken, testing::SizeIs(256));
  EXPECT_THAT(lines, ElementsAre(testing::HasSubstr("too many names, expected at most 256")));
}

TEST_F(ReadDeviceDocument, SaysWhichVlanEachVrfDeviceIs) {
  const Device document = Read(
      R"({"default_vlan": 1, "kernel": {"routes": true, "vrfs": {"blue": 20, "red": 0, "x": 32767}}})");
  EXPECT_THAT(document.links.vrfs, ElementsAre(testing::Pair("blue", 20), testing::Pair("red", 0),
                                               testing::Pair("x", 32767)));
  EXPECT_TRUE(document.links != Read(R"({"default_vlan": 1})").links);
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ReadDeviceDocument, AVlanHasOneVrfDevice) {
  const Device document =
      Read(R"({"default_vlan": 1, "kernel": {"routes": true, "vrfs": {"red": 20, "blue": 20}}})");
  EXPECT_THAT(document.links.vrfs, ElementsAre(testing::Pair("red", 20)));
  EXPECT_THAT(lines, ElementsAre("device.json:1:76: kernel.vrfs.blue: a VLAN that stands twice, "
                                 "expected one VRF device for VLAN 20, found another, \"blue\""));
  lines.clear();
  const Device twice = Read(
      R"({"default_vlan": 1, "kernel": {"routes": true, "vrfs": {"red": 20, "red": 30, "blue": 30}}})");
  EXPECT_THAT(twice.links.vrfs, ElementsAre(testing::Pair("blue", 30), testing::Pair("red", 20)));
  EXPECT_THAT(lines, ElementsAre(testing::HasSubstr("a member that stands twice")));
}

TEST_F(ReadDeviceDocument, WhatIsNoVrfDeviceAndNoVlanIsFound) {
  const Device document = Read(R"({"default_vlan": 1, "kernel": {"routes": true, "vrfs": {
      "a b": 1,
      "sixteen-letters-": 2,
      "": 3,
      "high": 32768,
      "text": "20",
      "null": null,
      "list": [20],
      "object": {"blue": 20},
      "fifteen-letters": 4}}})");
  EXPECT_THAT(document.links.vrfs, ElementsAre(testing::Pair("fifteen-letters", 4)));
  const std::string name = "expected 1 to 15 printable characters without blanks as the name";
  const std::string vlan = "expected a whole number from 0 to 32767";
  EXPECT_THAT(lines, testing::SizeIs(8));
  for (const std::string& line : lines) {
    EXPECT_THAT(line, testing::AnyOf(testing::HasSubstr(name), testing::HasSubstr(vlan)));
  }
  lines.clear();
  Read(R"({"default_vlan": 1, "kernel": {"routes": true, "vrfs": [20]}})");
  EXPECT_THAT(lines, ElementsAre(testing::HasSubstr("expected an object of names and VLANs")));
}

TEST_F(ReadDeviceDocument, VrfDevicesAreForLinksOrRoutes) {
  const char* const warning =
      "device.json:1:31: warning: kernel.vrfs: VRF devices of no use, expected \"interfaces\" or "
      "\"routes\" as well, found none";
  Read(R"({"default_vlan": 1, "kernel": {"vrfs": {"blue": 20}}})");
  EXPECT_THAT(lines, ElementsAre(warning));
  lines.clear();
  Read(R"({"default_vlan": 1, "kernel": {"vrfs": {"blue": 20}, "interfaces": ["eth*"]}})");
  EXPECT_THAT(lines, IsEmpty());
  Read(R"({"default_vlan": 1, "kernel": {"vrfs": {}}})");
  EXPECT_THAT(lines, IsEmpty());
}

// An interface and the kernel's settings come one after the other.
TEST_F(ReadDeviceDocument, TakesNoInterfaceForTheKernelsSettings) {
  const Device document = Read(
      R"({"default_vlan": 1, "interfaces": [{"name": "eth0", "vlan": 10, "index": 3}],
          "kernel": {"routes": true}})");
  EXPECT_EQ(document.interfaces.size(), 1u);
  EXPECT_TRUE(document.kernel.writesRoutes);
}

}  // namespace
