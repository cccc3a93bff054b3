// Every kind of mistake, with the line that an operator reads.
//
// In a document, ^ stands before the place that the finding names; it is taken out before the
// document is read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "device/documents/config_folder.h"
#include "tests/support/scratch_folder.h"
#include "tests/unit/documents/reading.h"

namespace {

using documents_tests::WithEntries;
using documents_tests::WithMembers;

constexpr const char* GOOD_DEVICE = R"({"default_vlan": 10, "interfaces": [
  {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]}]})";

struct Folder {
  std::string device = GOOD_DEVICE;
  std::string vlans = R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})";
  std::string remote = R"({"VLAN_CONFIGURATIONS": {}})";
};

struct Mistake {
  Folder folder;
  std::vector<std::string> findings;  // without file and position
};

Mistake Device(const std::string& text, const std::string& finding) { return {{text}, {finding}}; }
Mistake Interface(const std::string& members, const std::string& finding) {
  return Device("{\"default_vlan\": 10, \"interfaces\": [\n{" + members + "}]}", finding);
}
Mistake Vlans(const std::string& text, const std::string& finding) {
  return {{GOOD_DEVICE, text}, {finding}};
}
Mistake Entry(const std::string& members, const std::string& finding) {
  return Vlans(WithMembers("\n" + members), finding);
}
Mistake Protocol(const std::string& name, const std::string& members, const std::string& finding) {
  return Entry("\"" + name + "\": {" + members + "}", "VLAN_CONFIGURATIONS.v." + name + finding);
}
Mistake Peer(const std::string& members, const std::string& finding) {
  return Protocol("BGP", R"("PEERS": {"p": {)" + members + "}}", ".PEERS.p" + finding);
}
Mistake Route4(const std::string& members, const std::string& finding) {
  return Entry("\"STATIC_ROUTES\": {\"r\": {" + members + "}}",
               "VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r" + finding);
}
Mistake Route6(const std::string& members, const std::string& finding) {
  return Entry("\"STATIC_ROUTES6\": [{" + members + "}]",
               "VLAN_CONFIGURATIONS.v.STATIC_ROUTES6[0]" + finding);
}
Mistake Remote(const std::string& text, const std::string& finding) {
  return {{GOOD_DEVICE, Folder().vlans, text}, {finding}};
}

// Takes the marks out, and says where they were.
std::vector<std::string> TakeMarks(const std::string& name, std::string& text) {
  std::vector<std::string> places;
  std::string unmarked;
  std::size_t line = 1;
  std::size_t column = 1;
  for (const char c : text) {
    if (c == '^') {
      places.push_back(name + ":" + std::to_string(line) + ":" + std::to_string(column));
      continue;
    }
    unmarked += c;
    const bool begins = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    column = c == '\n' ? 1 : column + (begins ? 1 : 0);
    line += c == '\n' ? 1 : 0;
  }
  text = unmarked;
  return places;
}

void ExpectFindings(Mistake mistake) {
  std::vector<std::string> places = TakeMarks("device.json", mistake.folder.device);
  for (auto [name, text] : {std::pair("vlans.json", &mistake.folder.vlans),
                            std::pair("remote/a.json", &mistake.folder.remote)}) {
    const auto more = TakeMarks(name, *text);
    places.insert(places.end(), more.begin(), more.end());
  }
  ASSERT_EQ(places.size(), mistake.findings.size()) << mistake.findings[0];
  std::vector<std::string> expected;
  for (std::size_t i = 0; i < places.size(); ++i) {
    expected.push_back(places[i] + ": " + mistake.findings[i]);
  }
  test_support::ScratchFolder files;
  files.Write("device.json", mistake.folder.device);
  files.Write("vlans.json", mistake.folder.vlans);
  files.Write("remote/a.json", mistake.folder.remote);
  const documents::ConfigFolder reader(files.Path(), {documents::DeclaredProtocols(), false});
  EXPECT_THAT(reader.ReadFirst().findings.Lines(), testing::UnorderedElementsAreArray(expected))
      << mistake.folder.device << "\n"
      << mistake.folder.vlans << "\n"
      << mistake.folder.remote;
}

void ExpectFindings(const std::vector<Mistake>& mistakes) {
  for (const Mistake& mistake : mistakes) {
    ExpectFindings(mistake);
  }
}

const std::string KIND = ": wrong kind of value, expected ";
const std::string RANGE = ": out of range, expected ";

TEST(Mistakes, AreNotInTheGoodFolder) { ExpectFindings({{Folder(), {}}}); }

TEST(Mistakes, OfDeviceDocuments) {
  const std::string eth = R"("name": "eth0", "vlan": 10, "index": 3)";
  const std::string vlan = "expected a whole number from 0 to 32767, found ";
  const std::string name = "expected 1 to 64 printable characters without blanks, found ";
  const std::string words =
      "expected one of mpls-tunnel, loopback, point-to-point, broadcast, multicast, unnumbered, "
      "found ";
  ExpectFindings(
      {Device("^[]", "wrong kind of value, expected an object, found an array"),
       Device("^null", "no value, expected an object, found null"),
       Device("^{}", "default_vlan: a missing member, " + vlan + "nothing"),
       Device(R"({"default_vlan": ^"10"})",
              "default_vlan: wrong kind of value, " + vlan + "\"10\""),
       Device(R"({"default_vlan": ^32768})", "default_vlan: out of range, " + vlan + "32768"),
       Device(R"({"default_vlan": ^-1})", "default_vlan: out of range, " + vlan + "-1"),
       Device(R"({"default_vlan": ^5.0})", "default_vlan: not a whole number, " + vlan + "5.0"),
       Device(R"({"default_vlan": ^1e2})", "default_vlan: not a whole number, " + vlan + "1e2"),
       Device(R"({"default_vlan": ^null})", "default_vlan: no value, " + vlan + "null"),
       Device(R"({"default_vlan": 10, ^"default_vlan": 10})",
              "default_vlan: a member that stands twice, expected one, found another "
              "\"default_vlan\""),
       Device(R"({"default_vlan": 10, ^"interface": []})",
              "interface: unknown member, expected \"interfaces\" or another known name, found "
              "\"interface\""),
       Device(R"({"default_vlan": 10, "interfaces": ^{}})",
              "interfaces" + KIND + "an array, found an object"),
       Device(R"({"default_vlan": 10, "interfaces": [^5]})",
              "interfaces[0]" + KIND + "an object that is not empty, found 5"),
       Interface(
           R"(^"Name": "x", )" + eth,
           "interfaces[0].Name: unknown member, expected \"name\" or another known name, found "
           "\"Name\""),
       Interface(R"("name": ^"a b", "vlan": 10, "index": 3)",
                 "interfaces[0].name: not a name, " + name + "\"a b\""),
       Interface(R"("name": ^"", "vlan": 10, "index": 3)",
                 "interfaces[0].name: too short, " + name + "\"\""),
       Interface(R"("name": ^")" + std::string(65, 'n') + R"(", "vlan": 10, "index": 3)",
                 "interfaces[0].name: too long, " + name + "\"" + std::string(60, 'n') + "...\""),
       Interface(R"("name": "eth0", "vlan": 10, "index": ^0)",
                 "interfaces[0].index" + RANGE + "a whole number from 1 to 2147483647, found 0"),
       Interface(
           R"("name": "eth0", "vlan": 10, "index": ^2147483648)",
           "interfaces[0].index" + RANGE + "a whole number from 1 to 2147483647, found 2147483648"),
       Interface(eth + R"(, "mtu": ^20)",
                 "interfaces[0].mtu" + RANGE + "a whole number from 68 to 65535, found 20"),
       Interface(eth + R"(, "up": ^"yes")",
                 "interfaces[0].up" + KIND + "true or false, found \"yes\""),
       Interface(eth + R"(, "joined": ^1)",
                 "interfaces[0].joined" + KIND + "true or false, found 1"),
       Interface(eth + R"(, "flags": [^"Broadcast"])",
                 "interfaces[0].flags[0]: unknown word, " + words + "\"Broadcast\""),
       Interface(eth + R"(, "flags": ^"broadcast")",
                 "interfaces[0].flags" + KIND + "an array, found \"broadcast\""),
       Interface(eth + R"(, "flags": [^["broadcast"]])",
                 "interfaces[0].flags[0]" + KIND + words.substr(9) + "an array"),
       Interface(eth + R"(, "ipv4": ^"10.0.0.1")",
                 "interfaces[0].ipv4: not an IPv4 prefix, expected an IPv4 address/length, found "
                 "\"10.0.0.1\""),
       Interface(eth + R"(, "ipv4": ^{})",
                 "interfaces[0].ipv4" + KIND + "an IPv4 address/length, found an object"),
       Interface(
           eth + R"(, "ipv6": [^"2001:db8::/129"])",
           "interfaces[0].ipv6[0]: not an IPv6 prefix, expected an IPv6 address/length, found "
           "\"2001:db8::/129\""),
       Interface(
           eth + R"(, "ipv6": ["2001:db8::1/64", ^"2001:db8::1/65"])",
           "interfaces[0].ipv6[1]: an address that the interface has already, expected another, "
           "found \"2001:db8::1\""),
       Interface(eth + R"(}, {"name": "eth1", "vlan": 10, "index": ^3)",
                 "interfaces[1].index: an index that stands twice, expected one interface of VLAN "
                 "10 with it, "
                 "found 3 again"),
       Interface(eth + R"(}, {"name": ^"eth0", "vlan": 10, "index": 4)",
                 "interfaces[1].name: a name that stands twice, expected one interface of VLAN 10 "
                 "with it, "
                 "found \"eth0\" again"),
       Interface(
           eth + R"(}], "primary_interfaces": {"11": ^"eth0"}, "x-a": [{)",
           "primary_interfaces.11: not an interface of VLAN 11, expected the name of one, found "
           "\"eth0\""),
       Interface(
           eth + R"(}], "primary_interfaces": {^"ten": "eth0"}, "x-a": [{)",
           "primary_interfaces.ten: not a VLAN, expected a VLAN from 0 to 32767 as the name, found "
           "\"ten\""),
       Interface(eth + R"(}], "primary_interfaces": {"10": "eth0", ^"10": "eth0"}, "x-a": [{)",
                 "primary_interfaces.10: a member that stands twice, expected one, found another "
                 "\"10\"")});
}

TEST(Mistakes, OfVlanDocuments) {
  const std::string vid = "expected a whole number from 0 to 32767, found ";
  const std::string list =
      "VLAN_CONFIGURATIONS: a missing member, expected an object or an array of "
      "objects, found nothing";
  ExpectFindings({
      {{GOOD_DEVICE, R"(^{^"VLAN_CONFIGURATION": {"v": {"vid": 10}}})"},
       {list,
        "VLAN_CONFIGURATION: unknown member, expected \"VLAN_CONFIGURATIONS\" or another known "
        "name, "
        "found \"VLAN_CONFIGURATION\""}},
      Vlans("^{}", list),
      Vlans("^true", "wrong kind of value, expected an object, found true"),
      Vlans(R"({"VLAN_CONFIGURATIONS": ^null})",
            "VLAN_CONFIGURATIONS: no value, expected an object or an array of objects, found null"),
      Vlans(R"({"VLAN_CONFIGURATIONS": ^"none"})",
            "VLAN_CONFIGURATIONS" + KIND + "an object or an array of objects, found \"none\""),
      Vlans(WithEntries(R"("v": ^{})"),
            "VLAN_CONFIGURATIONS.v.vid: a missing member, " + vid + "nothing"),
      Vlans(WithEntries(R"("v": ^[])"),
            "VLAN_CONFIGURATIONS.v" + KIND + "an object, found an array"),
      Vlans(WithEntries(R"("v": {"vid": ^32778})"),
            "VLAN_CONFIGURATIONS.v.vid: out of range, " + vid + "32778"),
      Vlans(WithEntries(R"("v": {"vid": ^true})"),
            "VLAN_CONFIGURATIONS.v.vid: wrong kind of value, " + vid + "true"),
      Vlans(WithEntries(R"("a": {"vid": 10}, "b": {"vid": ^10})"),
            "VLAN_CONFIGURATIONS.b.vid: a VLAN that stands twice, expected one entry, that of "
            "VLAN_CONFIGURATIONS.a, found another for VLAN 10"),
      Vlans(WithEntries(R"("a": {"vid": 10}, ^"a": {"vid": 11})"),
            "VLAN_CONFIGURATIONS.a: a member that stands twice, expected one, found another \"a\""),
      Vlans(
          WithEntries(R"(^"a\u0000b": {"vid": 10})"),
          "VLAN_CONFIGURATIONS.\"a\\x00b\": a NUL in the name, expected a name without one, found "
          "\"a\\x00b\""),
      Entry(R"(^"STATIC_ROUTE": {})",
            "VLAN_CONFIGURATIONS.v.STATIC_ROUTE: unknown member, expected \"STATIC_ROUTES\" or "
            "another "
            "known name, found \"STATIC_ROUTE\""),
      Entry(
          R"(^"$schema": "a")",
          "VLAN_CONFIGURATIONS.v.$schema: unknown member, expected \"RTM\" or another known name, "
          "found \"$schema\""),
      Entry(R"("x-a": [{"b": ^null}])",
            "VLAN_CONFIGURATIONS.v.x-a[0].b: no value, expected one, found null"),
      Entry(R"("x-a": 1, ^"x-a": 2)",
            "VLAN_CONFIGURATIONS.v.x-a: a member that stands twice, expected one, found another "
            "\"x-a\""),
      Entry(R"("RTM": ^null)",
            "VLAN_CONFIGURATIONS.v.RTM: no value, expected an object, found null"),
      Entry(R"("RTM": {^"dead_timer": 5})",
            "VLAN_CONFIGURATIONS.v.RTM.dead_timer: unknown member, expected \"dead_rpm_timer\" or "
            "another "
            "known name, found \"dead_timer\""),
      Entry(R"("RTM": {"dead_rpm_timer": ^4294967296})",
            "VLAN_CONFIGURATIONS.v.RTM.dead_rpm_timer" + RANGE +
                "a whole number from 0 to 4294967295, found 4294967296"),
      Entry(
          R"("RTM": {"ADMIN_DISTANCE": ^{"ospfv2_internal": 1, "ospfv2_external": 1, "ripv2": 1,
"ospfv3_internal": 1, "ospfv3_external": 1, "ebgp": 1}})",
          "warning: VLAN_CONFIGURATIONS.v.RTM.ADMIN_DISTANCE: distances left out, each becomes 0, "
          "expected all, found no ripng, ibgp"),
      Entry(
          R"("RTM": {"ADMIN_DISTANCE": ^{}})",
          "warning: VLAN_CONFIGURATIONS.v.RTM.ADMIN_DISTANCE: distances left out, each becomes 0, "
          "expected all, found no ospfv2_internal, ospfv2_external, ospfv3_internal, "
          "ospfv3_external, ripv2, ripng, ebgp, ibgp"),
      Entry(R"("REDISTRIBUTION": ^{})",
            "VLAN_CONFIGURATIONS.v.REDISTRIBUTION: an empty object, expected one with members, "
            "found none"),
      Entry(R"("REDISTRIBUTION": ^{"x-a": 1})",
            "VLAN_CONFIGURATIONS.v.REDISTRIBUTION: an empty object, expected one with members, "
            "found none"),
      Entry(R"("REDISTRIBUTION": {"bgp": ^1})",
            "VLAN_CONFIGURATIONS.v.REDISTRIBUTION.bgp" + KIND + "true or false, found 1"),
      Entry(R"("RIPV2": ^{})",
            "VLAN_CONFIGURATIONS.v.RIPV2: an empty object, expected one with members, found none"),
      Entry(R"("RIPV2": ^true)",
            "VLAN_CONFIGURATIONS.v.RIPV2" + KIND + "an object that is not empty, found true"),
  });
}

TEST(Mistakes, OfRemoteDocuments) {
  ExpectFindings({
      Remote("^{}",
             "VLAN_CONFIGURATIONS: a missing member, expected an object or an array of objects, "
             "found nothing"),
      Remote(WithMembers(R"(^"RTM": {})"),
             "VLAN_CONFIGURATIONS.v.RTM: a member that does not belong here, expected none (only "
             "the VLAN "
             "document's counts), found \"RTM\""),
      Remote(
          WithMembers(R"(^"REDISTRIBUTION": {"bgp": true})"),
          "VLAN_CONFIGURATIONS.v.REDISTRIBUTION: a member that does not belong here, expected none "
          "(only the VLAN document's counts), found \"REDISTRIBUTION\""),
      Remote(WithMembers(R"(^"RTN": {})"),
             "VLAN_CONFIGURATIONS.v.RTN: unknown member, expected \"vid\" or another known name, "
             "found "
             "\"RTN\""),
  });
}

TEST(Mistakes, OfProtocols) {
  const std::string igmp = R"("IF_LIST": [{"Name": "IGMP_10_3", )";
  ExpectFindings({
      Protocol("RIPV2", R"("enabled": ^0)", ".enabled" + KIND + "true or false, found 0"),
      Protocol("RIPV2", R"("enabled": true, ^"IF_LISTS": [])",
               ".IF_LISTS: unknown member, expected \"IF_LIST\" or another known name, found "
               "\"IF_LISTS\""),
      Protocol("RIPV2", R"("IF_LIST": ^5)",
               ".IF_LIST" + KIND + "an object or an array of objects, found 5"),
      Protocol("RIPV2", R"("IF_LIST": {"a": ^"RIP_10_3"})",
               ".IF_LIST.a" + KIND + "an object, found \"RIP_10_3\""),
      Protocol("RIPV2", R"("IF_LIST": {"a": ^{"cost": 1}})",
               ".IF_LIST.a.Name: a missing member, expected RIP_<vid>_<number>, found nothing"),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": ^"OSPF_10_3"}})",
               ".IF_LIST.a.Name: not a name of such a row, expected RIP_<vid>_<number>, found "
               "\"OSPF_10_3\""),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": ^"RIP_10"}})",
               ".IF_LIST.a.Name: not a name of such a row, expected RIP_<vid>_<number>, found "
               "\"RIP_10\""),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": ^"RIP_10_3_1"}})",
               ".IF_LIST.a.Name: not a name of such a row, expected RIP_<vid>_<number>, found "
               "\"RIP_10_3_1\""),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": ^"RIP_10_65536"}})",
               ".IF_LIST.a.Name: not a name of such a row, expected RIP_<vid>_<number>, found "
               "\"RIP_10_65536\""),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": ^"RIPNG_10_3"}})",
               ".IF_LIST.a.Name: not a name of such a row, expected RIP_<vid>_<number>, found "
               "\"RIPNG_10_3\""),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": ^"RIP_11_3"}})",
               ".IF_LIST.a.Name: a row of another VLAN, expected one of VLAN 10, found VLAN 11"),
      Protocol("RIPV2", R"("IF_LIST": {"a": {"Name": "RIP_10_3"}, "b": {"Name": ^"rip_010_03"}})",
               ".IF_LIST.b.Name: two rows with one key, expected another number than that of "
               "VLAN_CONFIGURATIONS.v.RIPV2.IF_LIST.a.Name, found 3"),
      Protocol("RIPV2", R"("IF_LIST": [{"Name": "RIP_10_3", ^"passiv": true}])",
               ".IF_LIST[0].passiv: unknown member, expected \"passive\" or another known name, "
               "found \"passiv\""),
      Protocol("RIPV2", R"("IF_LIST": [{"Name": "RIP_10_3", "cost": ^16}])",
               ".IF_LIST[0].cost" + RANGE + "a whole number from 1 to 15, found 16"),
      Protocol("RIPV2", R"("INTERFACES": [{"Name": ^"3_10_3"}])",
               ".INTERFACES[0].Name: not a name of such a row, expected <protocol>_<vid>_<number>, "
               "found "
               "\"3_10_3\""),
      Protocol("RIPNG", R"("IF_LIST": [{"Name": "RIPNG_10_3", "passive": ^null}])",
               ".IF_LIST[0].passive: no value, expected true or false, found null"),
      Protocol("OSPF", R"("AREA_LIST": [{"Name": "OSPF_10_0", "type": ^"Totally"}])",
               ".AREA_LIST[0].type: unknown word, expected one of normal, stub, nssa, found "
               "\"Totally\""),
      Protocol("OSPF", R"("AREA_LIST": [{"Name": "OSPF_10_0", "area": ^0}])",
               ".AREA_LIST[0].area" + KIND + "an IPv4 address, found 0"),
      Protocol("OSPF", R"("AREA_LIST": [{"Name": "OSPF_10_0", "default_cost": ^16777216}])",
               ".AREA_LIST[0].default_cost" + RANGE +
                   "a whole number from 0 to 16777215, found 16777216"),
      Protocol("OSPF", R"("IF_LIST": [{"Name": "OSPF_10_3_1_0", "hello_interval": ^0}])",
               ".IF_LIST[0].hello_interval" + RANGE + "a whole number from 1 to 65535, found 0"),
      Protocol("OSPFV3", R"("IF_LIST": [{"Name": ^"OSPF_10_3_1_0_5"}])",
               ".IF_LIST[0].Name: not a name of such a row, expected "
               "OSPF_<vid>_<number>[_<number>_<number>], found \"OSPF_10_3_1_0_5\""),
      Protocol("OSPF", R"("IF_LIST": [{"Name": "OSPF_10_3_1"}, {"Name": ^"OSPF_10_3_1_0"}])",
               ".IF_LIST[1].Name: two rows with one key, expected another number than that of "
               "VLAN_CONFIGURATIONS.v.OSPF.IF_LIST[0].Name, found 3"),
      Protocol("IGMP", igmp + R"("version": ^4}])",
               ".IF_LIST[0].version" + RANGE + "a whole number from 1 to 3, found 4"),
      Protocol(
          "IGMP", igmp + R"("query_interval": ^31745}])",
          ".IF_LIST[0].query_interval" + RANGE + "a whole number from 1 to 31744, found 31745"),
      Protocol("IGMP", igmp + R"("GROUPS": [{"address": ^"10.0.0.1"}]}])",
               ".IF_LIST[0].GROUPS[0].address: not an IPv4 multicast address, expected an IPv4 "
               "address from "
               "224.0.0.0 to 239.255.255.255, found \"10.0.0.1\""),
      Protocol("IGMP", igmp + R"("GROUPS": [^{}]}])",
               ".IF_LIST[0].GROUPS[0].address: a missing member, expected an IPv4 address from "
               "224.0.0.0 to "
               "239.255.255.255, found nothing"),
      Protocol("MLD",
               R"("IF_LIST": [{"Name": "MLD_10_3", "GROUPS": {"g": {"address": ^"239.1.1.1"}}}])",
               ".IF_LIST[0].GROUPS.g.address: not an IPv6 multicast address, expected an IPv6 "
               "address in "
               "ff00::/8, found \"239.1.1.1\""),
      Entry(R"("RIPV2": {"IF_LIST": [{"Name": ^"RIP_10_4"}]})",
            "warning: VLAN_CONFIGURATIONS.v.RIPV2.IF_LIST[0].Name: a row for an interface that "
            "nobody has, expected the index of an interface of VLAN 10, found 4"),
  });
}

TEST(Mistakes, OfPeers) {
  const std::string rest = R"("Name": "BGP_10_1", "address": "10.1.0.254")";
  const std::string as =
      ": wrong kind of value, expected a whole number from 1 to 4294967295, found ";
  ExpectFindings({
      Peer(rest + R"(, "as": ^"65001")", ".as" + as + "\"65001\""),
      Peer(rest + R"(, "as": ^0)", ".as" + RANGE + "a whole number from 1 to 4294967295, found 0"),
      Peer(rest + R"(, "as": 1, "afi": ^2)",
           ".afi" + RANGE + "a whole number from 0 to 1, found 2"),
      Peer(rest + R"(, "as": 1, "safi": ^4)",
           ".safi" + RANGE + "a whole number from 0 to 3, found 4"),
      Peer(R"("address": ^"10.1.0.254", "Name": "BGP_10_1", "as": 1, "afi": 1)",
           ".address: not an IPv6 address, expected an IPv6 address, found \"10.1.0.254\""),
      Peer(R"("address": ^"2001:db8::1", "Name": "BGP_10_1", "as": 1)",
           ".address: not an IPv4 address, expected an IPv4 address, found \"2001:db8::1\""),
      Peer(R"("address": ^5, "Name": "BGP_10_1", "as": 1)",
           ".address" + KIND + "an address of the family that \"afi\" tells, found 5"),
      Peer(rest + R"(, "as": 1, "description": ^".*x")",
           ".description: not a description, expected a text of at most 127 bytes that does not "
           "begin with "
           "\".*\", found \".*x\""),
      Peer(rest + R"(, "as": 1, "description": ^")" + std::string(126, 'd') + "\xC3\xA4\"",
           ".description: too long, expected a text of at most 127 bytes that does not begin with "
           "\".*\", "
           "found \"" +
               std::string(60, 'd') + "...\""),
      Peer(rest + R"(, "as": 1, "description": ^"a\u0000b")",
           ".description: a NUL in the text, expected a text of at most 127 bytes that does not "
           "begin with "
           "\".*\", found \"a\\x00b\""),
      Protocol("BGP",
               R"("PEERS": {"p": {)" + rest +
                   R"(, "as": 1}, "q": {"Name": ^"BGP_10_1", "address": "10.1.0.2", "as": 1}})",
               ".PEERS.q.Name: two rows with one key, expected another number than that of "
               "VLAN_CONFIGURATIONS.v.BGP.PEERS.p.Name, found 1"),
  });
}

TEST(Mistakes, OfStaticRoutes) {
  const std::string route4 =
      R"("network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1")";
  const std::string route6 = R"("network": "2001:db8:9::", "prefix": 48, "gateway": "2001:db8::2")";
  const std::string metric = "a whole number from 0 to 255, or a text of its digits, found ";
  const std::string length = "a whole number from 0 to 128, or a text of at most 3 digits, found ";
  const std::string mask = "expected an IPv4 address with leading one bits only, found ";
  ExpectFindings({
      Entry(R"("STATIC_ROUTES": ^true)", "VLAN_CONFIGURATIONS.v.STATIC_ROUTES" + KIND +
                                             "an object or an array of objects, found true"),
      Entry(R"("STATIC_ROUTES": {"r": ^[]})",
            "VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r" + KIND + "an object, found an array"),
      Route4(
          route4 + R"(, ^"prefix": 16)",
          ".prefix: unknown member, expected \"metric\" or another known name, found \"prefix\""),
      Route4(route4 + R"(, "metric": ^256)", ".metric" + RANGE + metric + "256"),
      Route4(route4 + R"(, "metric": ^5.0)",
             ".metric: not a whole number, expected " + metric + "5.0"),
      Route4(route4 + R"(, "metric": ^" 5")",
             ".metric: not a number, expected " + metric + "\" 5\""),
      Route4(route4 + R"(, "metric": ^255)",
             ".metric: a metric that would become 0, expected at most 254 without a "
             "routemetricmode of "
             "\"passthrough\", found 255"),
      Entry(R"("STATIC_ROUTES": {"r": {)" + route4 + R"(, "routemetricmode": ^"pass"}})",
            "warning: VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r.routemetricmode: a word without "
            "meaning, expected "
            "a text that begins with \"passthrough\", found \"pass\""),
      Route4(R"("network": ^"10.9.0.1", "netmask": "255.255.0.0", "gateway": "10.1.2.1")",
             ".network: host bits are set, expected 10.9.0.0 for a length of 16, found 10.9.0.1"),
      Route4(R"("network": "10.9.0.0", "netmask": ^"255.0.255.0", "gateway": "10.1.2.1")",
             ".netmask: not a netmask, " + mask + "\"255.0.255.0\""),
      Route4(R"("network": "10.9.0.0", "netmask": ^"16", "gateway": "10.1.2.1")",
             ".netmask: not a netmask, " + mask + "\"16\""),
      Route4(R"("network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": ^"dynamic")",
             ".gateway: not an IPv4 address, expected an IPv4 address, found \"dynamic\""),
      Entry(
          R"("STATIC_ROUTES": {"r": {)" + route4 + R"(}, "s": ^{)" + route4 + R"(, "metric": 4}})",
          "VLAN_CONFIGURATIONS.v.STATIC_ROUTES.s: one route with two metrics, expected 1 in force "
          "as from "
          "VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r, found 5"),
      Entry(R"("STATIC_ROUTES": {"r": {)" + route4 + R"(}, ^"r": {)" + route4 + "}}",
            "VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r: a member that stands twice, expected one, "
            "found another "
            "\"r\""),
      Route6(route6 + R"(, ^"routemetricmode": "passthrough")",
             ".routemetricmode: unknown member, expected \"metric\" or another known name, found "
             "\"routemetricmode\""),
      Route6(route6 + R"(, "metric": ^-1)", ".metric" + RANGE + metric + "-1"),
      Route6(R"("network": "2001:db8:9::", "prefix": ^129, "gateway": "2001:db8::2")",
             ".prefix" + RANGE + length + "129"),
      Route6(R"("network": "2001:db8:9::", "prefix": ^"0048", "gateway": "2001:db8::2")",
             ".prefix" + RANGE + length + "\"0048\""),
      Route6(R"("network": ^"2001:db8:9::1", "prefix": 48, "gateway": "2001:db8::2")",
             ".network: host bits are set, expected 2001:db8:9:: for a length of 48, found "
             "2001:db8:9::1"),
      Route6(R"("network": ^"10.0.0.0", "prefix": 48, "gateway": "2001:db8::2")",
             ".network: not an IPv6 address, expected an IPv6 address, found \"10.0.0.0\""),
  });
}

// ---- what only the documents together can tell

TEST(Mistakes, OfTheFolder) {
  const std::string route =
      R"("network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1")";
  const std::string two = R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
    )";
  const std::string noSubnet =
      "a next hop that no subnet of VLAN 10 holds, expected a gateway in one, found ";
  ExpectFindings({
      Entry(R"("STATIC_ROUTES": {"r": ^{"network": "10.9.0.0", "netmask": "255.255.0.0",
"gateway": "10.2.0.0"}})",
            "warning: VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r: " + noSubnet + "10.2.0.0"),
      Entry(R"("STATIC_ROUTES6": [^{"network": "::", "prefix": 0, "gateway": "2001:db8:0:1::2"}])",
            "warning: VLAN_CONFIGURATIONS.v.STATIC_ROUTES6[0]: " + noSubnet + "2001:db8:0:1::2"),
      Entry(R"("STATIC_ROUTES": {"r": ^{"interface": "eth7", )" + route + "}}",
            "warning: VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r: a route that waits for its interface, "
            "expected "
            "an interface of VLAN 10, found \"eth7\""),
      Device(two + R"({"name": "eth1", "vlan": 10, "index": 4, "ipv4": ^"10.1.7.7/16"}]})",
             "warning: interfaces[1].ipv4: one subnet on two interfaces, expected another than "
             "that of "
             "\"eth0\" in VLAN 10, found 10.1.0.0/16"),
      Device(
          two +
              R"({"name": "eth1", "vlan": 10, "index": 4, "ipv6": ["fe80::1/10", ^"2001:db8::7/64"]}]})",
          "warning: interfaces[1].ipv6[1]: one subnet on two interfaces, expected another than "
          "that of "
          "\"eth0\" in VLAN 10, found 2001:db8::/64"),
      Device(two + R"(^{"name": "eth0", "vlan": 11, "index": 3}]})",
             "warning: interfaces[1]: one interface name in two VLANs, expected another than that "
             "of VLAN "
             "10, found \"eth0\""),
      Remote(R"({"VLAN_CONFIGURATIONS": {"v": ^{"vid": 11}}})",
             "warning: VLAN_CONFIGURATIONS.v: an entry for a VLAN that the VLAN document does not "
             "name, "
             "expected one of its VLANs, found 11"),
      {{GOOD_DEVICE, WithMembers(R"("STATIC_ROUTES": {"r": {)" + route + "}}"),
        WithMembers(R"("STATIC_ROUTES": {"s": ^{)" + route + R"(, "metric": "7"}})")},
       {"warning: VLAN_CONFIGURATIONS.v.STATIC_ROUTES.s: one route in two documents with different "
        "metrics, "
        "expected 1 in force as from vlans.json:1:66: VLAN_CONFIGURATIONS.v.STATIC_ROUTES.r, found "
        "8"}},
      Remote(WithMembers(R"("IGMP": {"IF_LIST": [{"Name": ^"IGMP_10_4"}]})"),
             "warning: VLAN_CONFIGURATIONS.v.IGMP.IF_LIST[0].Name: a row for an interface that "
             "nobody has, "
             "expected the index of an interface of VLAN 10, found 4"),
  });
}

TEST(Mistakes, AreNotThereWhereNoneIs) {
  const std::string route = R"("network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": )";
  ExpectFindings({
      // A link-local next hop needs no subnet, and every link has the link-local one.
      {{R"({"default_vlan": 10, "interfaces": [
           {"name": "eth0", "vlan": 10, "index": 3, "ipv6": ["fe80::1/64", "2001:db8::1/64", "2001:db8::2/64"]},
           {"name": "eth1", "vlan": 10, "index": 4, "ipv6": ["fe80::2/64"]},
           {"name": "eth2", "vlan": 11, "index": 3, "ipv6": ["2001:db8::1/64"]}],
           "primary_interfaces": {"10": "eth1", "011": "eth2"}})",
        WithMembers(R"("STATIC_ROUTES6": [{"network": "::", "prefix": 0, "gateway": "fe80::9"},
           {"interface": "eth1", "network": "::", "prefix": "000", "gateway": "2001:db8::9", "metric": "007"}])")},
       {}},
      // First and last address of a subnet, and the same route in two documents.
      {{GOOD_DEVICE,
        WithMembers(R"("STATIC_ROUTES": [{"interface": "", )" + route + R"("10.1.255.255"}, {)" +
                    route + R"("10.1.0.0", "metric": 3}])"),
        WithMembers(R"("STATIC_ROUTES": [{)" + route + R"("10.1.0.0", "metric": "03"}])")},
       {}},
      {{GOOD_DEVICE,
        WithMembers(R"("BGP": {"INTERFACES": [{"Name": "anything_10_3", "enabled": false}],
           "PEERS": [{"Name": "bgp_10_1", "as": 1, "address": "1.1.1.1"},
                     {"Name": "BGP_10_1", "as": 1, "address": "::1", "afi": 1}]},
           "OSPF": {"AREA_LIST": [{"Name": "OSPF_10_0", "type": "NSSA"}, {"Name": "OSPF_10_3"}],
                    "IF_LIST": [{"Name": "OSPF_10_3"}, {"Name": "OSPF_10_3_1"}, {"Name": "OSPF_10_3_1_1"}]},
           "OSPFV3": {"IF_LIST": {"a": {"Name": "OSPFV3_10_3"}}},
           "RIPV2": {"IF_LIST": [{"Name": "RIPV2_10_3"}]}, "RIPNG": {"IF_LIST": [{"Name": "RIP_10_3"}]},
           "REDISTRIBUTION": {"rip": false}, "RTM": {})")},
       {}},
  });
}

}  // namespace
