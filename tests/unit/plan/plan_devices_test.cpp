// What the plan says of interfaces and addresses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using testing::ElementsAre;

// eth0 of VLAN 10 with the index 3 and these members, too.
Texts Device(const std::string& members = "") {
  return {{"device.json", WithInterfaces(R"({"name": "eth0", "vlan": 10, "index": 3)" +
                                         (members.empty() ? "" : ",\n " + members) + "}")}};
}
Texts Without() { return {{"device.json", WithInterfaces("")}}; }

TEST(PlanOfInterfaces, TellsWhichComeAndGo) {
  EXPECT_THAT(ListAll(Without(), Device()),
              ElementsAre("VLAN 10", "  + interface 3 eth0 (device.json:1:37)",
                          "1 interface added; 2 requests"));
  EXPECT_THAT(ListAll(Device(), Without()),
              ElementsAre("VLAN 10", "  - interface 3 eth0", "1 interface removed; 2 requests"));
}

TEST(PlanOfInterfaces, IsEmptyForTheSameInOtherWords) {
  EXPECT_THAT(ListAll(Device(), Device(R"("up": true, "mtu": 1500, "joined": false, "flags": [])")),
              ElementsAre("no change"));
}

TEST(PlanOfInterfaces, TellsEveryProperty) {
  EXPECT_THAT(
      ListAll(Without(), Device(R"("up": false, "mtu": 9000, "joined": true, "flags": ["multicast",
                        "broadcast"])")),
      ElementsAre("VLAN 10",
                  "  + interface 3 eth0: flags broadcast+multicast, mtu 9000, status down, joined "
                  "yes (device.json:1:37)",
                  "1 interface added; 2 requests"));
  EXPECT_THAT(ListAll(Device(), Device(R"("mtu": 9000)")),
              ElementsAre("VLAN 10", "  ~ interface 3 eth0: mtu 9000, was 1500 (device.json:1:37)",
                          "1 interface changed; 2 requests"));
  EXPECT_THAT(ListAll(Device(), Device(R"("up": false)")),
              ElementsAre("VLAN 10", "  ~ interface 3 eth0: status down, was up (device.json:1:37)",
                          "1 interface changed; 2 requests"));
  EXPECT_THAT(ListAll(Device(R"("joined": true)"), Device()),
              ElementsAre("VLAN 10", "  ~ interface 3 eth0: joined no, was yes (device.json:1:37)",
                          "1 interface changed; 0 requests"));
  EXPECT_THAT(ListAll(Device(R"("flags": ["loopback", "mpls-tunnel"])"),
                      Device(R"("flags": ["unnumbered", "point-to-point"])")),
              ElementsAre("VLAN 10",
                          "  ~ interface 3 eth0: flags point-to-point+unnumbered, was "
                          "mpls-tunnel+loopback (device.json:1:37)",
                          "1 interface changed; 2 requests"));
}

// It is removed with its addresses and made again.
TEST(PlanOfInterfaces, TakesAnotherNameForAChange) {
  const Texts renamed = {{"device.json", WithInterfaces(R"({"name": "eth1", "vlan": 10, "index": 3,
      "ipv4": "10.1.0.1/16"})")}};
  EXPECT_THAT(ListAll(Device(R"("ipv4": "10.1.0.1/16")"), renamed),
              ElementsAre("VLAN 10", "  ~ interface 3 eth1: name eth1, was eth0 (device.json:1:37)",
                          "1 interface changed; 6 requests"));
}

TEST(PlanOfInterfaces, TellsTheNamedPrimaryOne) {
  const std::string interface = R"({"default_vlan": 10,
      "interfaces": [{"name": "eth0", "vlan": 10, "index": 3}])";
  const Texts plain = {{"device.json", interface + "}"}};
  const Texts primary = {{"device.json", interface + R"(, "primary_interfaces": {"10": "eth0"}})"}};
  EXPECT_THAT(ListAll(plain, primary),
              ElementsAre("VLAN 10", "  ~ interface 3 eth0: primary yes, was no (device.json:2:22)",
                          "1 interface changed; 0 requests"));
  EXPECT_THAT(ListAll({{"device.json", R"({"default_vlan": 10})"}}, primary),
              ElementsAre("VLAN 10", "  + interface 3 eth0: primary yes (device.json:2:22)",
                          "1 interface added; 2 requests"));
}

TEST(PlanOfInterfaces, GroupsThemByVlan) {
  const Texts to = {{"device.json", WithInterfaces(R"({"name": "b", "vlan": 11, "index": 1},
      {"name": "c", "vlan": 10, "index": 4}, {"name": "a", "vlan": 10, "index": 3})")}};
  EXPECT_THAT(ListAll(Without(), to), ElementsAre("VLAN 10", "  + interface 3 a (device.json:2:46)",
                                                  "  + interface 4 c (device.json:2:7)", "VLAN 11",
                                                  "  + interface 1 b (device.json:1:37)",
                                                  "3 interfaces added; 6 requests"));
}

// ---- addresses

TEST(PlanOfAddresses, TellsThoseOfIp4) {
  EXPECT_THAT(ListAll(Device(), Device(R"("ipv4": "10.1.0.1/16")")),
              ElementsAre("VLAN 10", "  + address 10.1.0.1/16 of interface 3 (device.json:2:10)",
                          "1 address added; 1 request"));
  EXPECT_THAT(ListAll(Device(R"("ipv4": "10.1.0.1/32")"), Device()),
              ElementsAre("VLAN 10", "  - address 10.1.0.1/32 of interface 3",
                          "1 address removed; 1 request"));
  EXPECT_THAT(ListAll(Device(R"("ipv4": "10.1.0.1/16")"), Device(R"("ipv4": "10.1.0.1/0")")),
              ElementsAre("VLAN 10",
                          "  ~ address 10.1.0.1/0 of interface 3: was 10.1.0.1/16 "
                          "(device.json:2:10)",
                          "1 address changed; 2 requests"));
}

TEST(PlanOfAddresses, TellsThoseOfIp6) {
  EXPECT_THAT(ListAll(Device(R"("ipv6": ["2001:db8::1/64", "2001:db8::2/64"])"),
                      Device(R"("ipv6": ["2001:db8::3/64", "2001:db8::2/64", "2001:db8::1/65"])")),
              ElementsAre("VLAN 10", "  - address 2001:db8::1/64 of interface 3",
                          "  + address 2001:db8::1/65 of interface 3 (device.json:2:47)",
                          "  + address 2001:db8::3/64 of interface 3 (device.json:2:11)",
                          "2 addresses added, 1 removed; 3 requests"));
  EXPECT_THAT(ListAll(Device(R"("ipv6": ["2001:db8::1/64", "2001:db8::2/64"])"),
                      Device(R"("ipv6": ["2001:db8::2/64", "2001:db8::1/64"])")),
              ElementsAre("no change"));
}

TEST(PlanOfAddresses, ComeAndGoWithTheirInterface) {
  const Texts with = Device(R"("ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"])");
  EXPECT_THAT(ListAll(Without(), with),
              ElementsAre("VLAN 10", "  + interface 3 eth0 (device.json:1:37)",
                          "  + address 10.1.0.1/16 of interface 3 (device.json:2:10)",
                          "  + address 2001:db8::1/64 of interface 3 (device.json:2:34)",
                          "1 interface added, 2 addresses added; 4 requests"));
  EXPECT_THAT(
      ListAll(with, Without()),
      ElementsAre("VLAN 10", "  - interface 3 eth0", "  - address 10.1.0.1/16 of interface 3",
                  "  - address 2001:db8::1/64 of interface 3",
                  "1 interface removed, 2 addresses removed; 4 requests"));
}

}  // namespace
