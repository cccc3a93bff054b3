#include "device/documents/device_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json_text.h"
#include "tests/support/reported_lines.h"

namespace {

using documents::Device;
using test_support::ParsedJson;
using test_support::ReportedLines;
using testing::ElementsAre;
using testing::IsEmpty;

class ReadDeviceDocument : public testing::Test {
 protected:
  Device Read(const std::string& json) {
    return documents::ReadDeviceDocument(ParsedJson(json), "device.json", reported.report);
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

  ReportedLines reported;
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
  EXPECT_THAT(reported.lines, IsEmpty());
  EXPECT_EQ(document.defaultVlan, 10);
  ASSERT_EQ(document.interfaces.size(), 2u);
  const documents::Interface& first = document.interfaces.at({10, 3});
  EXPECT_EQ(first.name, "eth0");
  EXPECT_EQ(first.flags, 24u);
  EXPECT_EQ(first.mtu, 9000u);
  EXPECT_FALSE(first.up);
  EXPECT_TRUE(first.joined);
  EXPECT_EQ(first.ip4->address, Tarsel::Ip4Addr(10, 1, 2, 3));
  EXPECT_EQ(first.ip4->mask, Tarsel::Ip4Addr(255, 255, 240, 0));
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
  EXPECT_FALSE(Only(document).ip4);
  EXPECT_THAT(Only(document).ip6, IsEmpty());
}

TEST_F(ReadDeviceDocument, NeedsADefaultVlan) {
  EXPECT_EQ(Read("{}").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": 32768})").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": "10"})").defaultVlan, 1);
  EXPECT_EQ(Read(R"({"default_vlan": -1})").defaultVlan, 1);
  const std::string expected =
      "device.json: default_vlan: expected a whole number from 0 to 32767, found ";
  EXPECT_THAT(reported.lines, ElementsAre(expected + "nothing", expected + "32768",
                                          expected + "\"10\"", expected + "-1"));
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
  EXPECT_THAT(
      reported.lines,
      ElementsAre("device.json: interfaces[0]: expected an object, found 7",
                  "device.json: interfaces[1].name: expected a text, found nothing",
                  "device.json: interfaces[2].vlan: expected a whole number from 0 to 32767, found "
                  "nothing",
                  "device.json: interfaces[3].index: expected a whole number from 1 to 2147483647, "
                  "found 0",
                  "device.json: interfaces[4].name: expected 1 to 64 printable characters without "
                  "blanks, found \"a b\""));
}

TEST_F(ReadDeviceDocument, LeavesOutOptionalMembersOneByOne) {
  const Device document = ReadInterface(
      R"("mtu": 67, "up": "yes", "flags": ["broadcast", "fast", 3], "ipv4": "10.0.0.1",
         "ipv6": ["2001:db8::1", "::1/129", 5, "2001:db8::1/64", "2001:db8::1/128"])");
  EXPECT_EQ(Only(document).mtu, 1500u);
  EXPECT_TRUE(Only(document).up);
  EXPECT_EQ(Only(document).flags, 8u);
  EXPECT_FALSE(Only(document).ip4);
  ASSERT_EQ(Only(document).ip6.size(), 1u);
  EXPECT_TRUE(Only(document).ip6[0].ToString() == "2001:db8::1/64");
  const std::string flags =
      "expected one of mpls-tunnel, loopback, point-to-point, broadcast, "
      "multicast, unnumbered, found ";
  const std::string at = "device.json: interfaces[0].";
  EXPECT_THAT(reported.lines,
              ElementsAre(at + "mtu: expected a whole number from 68 to 65535, found 67",
                          at + "up: expected true or false, found \"yes\"",
                          at + "flags[1]: " + flags + "\"fast\"", at + "flags[2]: " + flags + "3",
                          at + "ipv4: expected an IPv4 address/length, found \"10.0.0.1\"",
                          at + "ipv6[0]: expected an IPv6 address/length, found \"2001:db8::1\"",
                          at + R"(ipv6[1]: expected an IPv6 address/length, found "::1/129")",
                          at + "ipv6[2]: expected an IPv6 address/length, found 5",
                          at + "ipv6[4]: the interface has this address already"));
}

TEST_F(ReadDeviceDocument, RefusesOtherFormsOfIp4Addresses) {
  for (const char* text : {"10.0.0.1/33", "10.0.0/8", "10.0.0.1/", "10.0.0.1/8x", "10.0.0.1/+8",
                           "/8", "10.0.0.1/99999999999", "10.0.0.1\\u0000x/8"}) {
    EXPECT_FALSE(Only(ReadInterface(R"("ipv4": ")" + std::string(text) + "\"")).ip4) << text;
  }
  EXPECT_EQ(reported.lines.size(), 8u);
}

TEST_F(ReadDeviceDocument, ReadsNoAddressUpToANul) {
  EXPECT_TRUE(Only(ReadInterface(R"("ipv6": ["2001:db8::1\u0000x/64"])")).ip6.empty());
  EXPECT_THAT(reported.lines,
              ElementsAre("device.json: interfaces[0].ipv6[0]: expected an IPv6 address/length, "
                          "found \"2001:db8::1\\x00x/64\""));
}

TEST_F(ReadDeviceDocument, KeepsTheFirstOfTwoInterfacesWithTheSameIndexOrName) {
  const Device document = Read(R"({"default_vlan": 1, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 1},
    {"name": "eth1", "vlan": 10, "index": 1},
    {"name": "eth0", "vlan": 10, "index": 2}]})");
  ASSERT_EQ(document.interfaces.size(), 1u);
  EXPECT_EQ(Only(document).name, "eth0");
  EXPECT_THAT(
      reported.lines,
      ElementsAre("device.json: interfaces[1]: VLAN 10 has another interface with index 1, which "
                  "stays",
                  "device.json: interfaces[2]: VLAN 10 has another interface eth0, which stays"));
}

TEST_F(ReadDeviceDocument, TakesOnlyPrimariesThatExist) {
  const Device document = Read(R"({"default_vlan": 1, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 1}],
    "primary_interfaces": {"10": "eth0", "11": "eth0", "12": 1, "x": "eth0"}})");
  EXPECT_EQ(document.primaries.size(), 1u);
  EXPECT_EQ(document.primaries.at(10), "eth0");
  EXPECT_THAT(
      reported.lines,
      ElementsAre(
          "device.json: primary_interfaces.11: VLAN 11 has no interface \"eth0\"",
          "device.json: primary_interfaces.12: expected an interface's name, found 1",
          "device.json: primary_interfaces.x: expected a VLAN from 0 to 32767 as the name"));
}

TEST_F(ReadDeviceDocument, NamesMembersThatNobodyReads) {
  Read(R"({"default_vlan": 1, "vlan": 2, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 1, "MTU": 1500}]})");
  EXPECT_THAT(reported.lines, ElementsAre("device.json: interfaces[0].MTU: not a known member",
                                          "device.json: vlan: not a known member"));
}

TEST_F(ReadDeviceDocument, TakesNoOtherTypeForItsLists) {
  Read(R"({"default_vlan": 1, "interfaces": {}, "primary_interfaces": []})");
  EXPECT_THAT(reported.lines,
              ElementsAre("device.json: interfaces: expected an array, found an object",
                          "device.json: primary_interfaces: expected an object, found an array"));
}

}  // namespace
