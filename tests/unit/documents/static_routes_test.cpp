// Static routes of VLAN documents.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/documents/reading.h"

namespace {

using documents::Route;
using documents_tests::ReadVlans;
using documents_tests::WithEntries;
using testing::ElementsAre;
using testing::IsEmpty;

std::string TextOf(bool ip6, const std::array<unsigned char, 16>& address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(ip6 ? AF_INET6 : AF_INET, address.data(), text, sizeof text);
}

class ReadRoutes : public testing::Test {
 protected:
  void ReadEntries(const std::string& entries) {
    read = ReadVlans(WithEntries(entries));
    for (const std::string& line : read.Lines()) {
      lines.push_back(line);
    }
  }
  // The route begins the second line.
  void Read4(const std::string& route) {
    ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"r":)"
                "\n" +
                route + "}}");
  }
  void Read6(const std::string& route) {
    ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES6": {"r":)"
                "\n" +
                route + "}}");
  }
  const std::vector<Route>& Routes() const { return read.file.routes.Get(); }
  // "VLAN NETWORK/LENGTH via GATEWAY of INTERFACE metric METRIC at PLACE"
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const Route& route : Routes()) {
      const documents::RouteTarget& target = route.target;
      texts.push_back(
          std::to_string(target.vlan) + " " + TextOf(target.ip6, target.destination) + "/" +
          std::to_string(target.length) + " via " + TextOf(target.ip6, target.gateway) + " of '" +
          read.file.routes.InterfaceOf(route) + "' metric " + std::to_string(route.metric) +
          " at " + read.file.routes.PlaceOf(route, "vlans.json").Text());
    }
    return texts;
  }

  documents_tests::Read<documents::ConfigFile> read;
  std::vector<std::string> lines;  // of all readings
};

TEST_F(ReadRoutes, TakesNoInterfacesNameWithANul) {
  Read4(
      R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "interface": "eth0\u0000x"})");
  EXPECT_THAT(Routes(), IsEmpty());
  Read6(
      R"({"network": "2001:db8::", "prefix": "32", "gateway": "fe80::1", "interface": "eth0\u0000x"})");
  EXPECT_THAT(Routes(), IsEmpty());
  EXPECT_THAT(
      lines,
      ElementsAre("vlans.json:2:87: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.interface: a NUL in "
                  "the text, expected a text, found \"eth0\\x00x\"",
                  "vlans.json:2:78: VLAN_CONFIGURATIONS.a.STATIC_ROUTES6.r.interface: a NUL in "
                  "the text, expected a text, found \"eth0\\x00x\""));
}

TEST_F(ReadRoutes, TakesBothFamilies) {
  ReadEntries(R"("a": {"vid": 10,
    "STATIC_ROUTES6": {"r1": {"interface": "eth1", "network": "2001:db8:9::", "prefix": "48",
      "gateway": "2001:db8::1", "metric": "5"}},
    "STATIC_ROUTES": {
      "r1": {"interface": "eth0", "network": "10.9.0.0", "netmask": "255.255.0.0",
      "gateway": "10.1.2.1", "metric": "5"}}})");
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_THAT(Texts(),
              ElementsAre("10 10.9.0.0/16 via 10.1.2.1 of 'eth0' metric 6 at vlans.json:5:13: "
                          "VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r1",
                          "10 2001:db8:9::/48 via 2001:db8::1 of 'eth1' metric 5 at "
                          "vlans.json:2:30: VLAN_CONFIGURATIONS.a.STATIC_ROUTES6.r1"));
}

TEST_F(ReadRoutes, TakesAVlanFromItsFirstEntry) {
  ReadEntries(R"(
    "a": {"vid": 10, "STATIC_ROUTES": {"r1": {"network": "10.9.0.0", "netmask": "255.255.0.0",
      "gateway": "10.1.2.1"}}},
    "b": {"vid": 20},
    "c": {"vid": 10, "STATIC_ROUTES": {"r1": {"network": "10.8.0.0", "netmask": "255.255.0.0",
      "gateway": "10.1.2.1"}}})");
  ASSERT_EQ(Routes().size(), 1u);
  EXPECT_EQ(Routes()[0].target.destination[1], 9);
  EXPECT_THAT(lines, ElementsAre(testing::HasSubstr("a VLAN that stands twice")));
}

TEST_F(ReadRoutes, TakesNoneOfAnEntryWithoutAVlan) {
  const std::string route =
      R"("STATIC_ROUTES": [{"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}])";
  ReadEntries(R"("a": {"vid": 10, )" + route + R"(}, "b": {"vid": "11", )" + route +
              R"(}, "c": {)" + route + R"(, "vid": 12})");
  ASSERT_EQ(Routes().size(), 2u);
  EXPECT_EQ(Routes()[0].target.vlan, 10);
  EXPECT_EQ(Routes()[1].target.vlan, 12);
}

TEST_F(ReadRoutes, TakesAnArrayOfRoutes) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": [7, {"network": "0.0.0.0", "netmask": "0.0.0.0",
"gateway": "10.1.2.1"}, {"network": "0.0.0.1", "netmask": "0.0.0.0", "gateway": "10.1.2.1"}]})");
  EXPECT_THAT(Texts(), ElementsAre("10 0.0.0.0/0 via 10.1.2.1 of '' metric 1 at vlans.json:1:64: "
                                   "VLAN_CONFIGURATIONS.a.STATIC_ROUTES[1]"));
  EXPECT_THAT(lines,
              ElementsAre("vlans.json:1:61: VLAN_CONFIGURATIONS.a.STATIC_ROUTES[0]: wrong kind of "
                          "value, expected an object, found 7",
                          "vlans.json:2:37: VLAN_CONFIGURATIONS.a.STATIC_ROUTES[2].network: host "
                          "bits are set, expected 0.0.0.0 for a length of 0, found 0.0.0.1"));
}

TEST_F(ReadRoutes, TakesHostRoutesAndDefaultRoutes) {
  Read4(R"({"network": "10.9.9.9", "netmask": "255.255.255.255", "gateway": "10.1.2.1"})");
  EXPECT_EQ(Routes().size(), 1u);
  Read6(R"({"network": "::", "prefix": "0", "gateway": "2001:db8::1"})");
  EXPECT_EQ(Routes().size(), 1u);
  Read6(R"({"network": "::1", "prefix": 128, "gateway": "2001:db8::1"})");
  EXPECT_EQ(Routes().size(), 1u);
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ReadRoutes, SaysWhatIsWrongWithAnIp4Route) {
  Read4(R"(5)");
  Read4(R"({})");
  Read4(R"({"network": "10.9.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"})");
  Read4(R"({"network": "10.9.0.0", "netmask": 16, "gateway": "10.1.2.1"})");
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "dynamic"})");
  const std::string good =
      R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": )";
  Read4(good + "\"256\"}");
  Read4(good + "\"5x\"}");
  const std::string at = ": VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r";
  const std::string metric =
      "expected a whole number from 0 to 255, or a text of its digits, found ";
  EXPECT_THAT(
      lines,
      ElementsAre(
          "vlans.json:2:1" + at + ": wrong kind of value, expected an object, found 5",
          "vlans.json:2:1" + at +
              ".network: a missing member, expected an IPv4 address, found nothing",
          "vlans.json:2:1" + at +
              ".netmask: a missing member, expected an IPv4 address with leading one bits only, "
              "found "
              "nothing",
          "vlans.json:2:1" + at +
              ".gateway: a missing member, expected an IPv4 address, found nothing",
          "vlans.json:2:13" + at +
              ".network: not an IPv4 address, expected an IPv4 address, found \"10.9.0\"",
          "vlans.json:2:36" + at +
              ".netmask: wrong kind of value, expected an IPv4 address with leading one bits only, "
              "found 16",
          "vlans.json:2:62" + at +
              ".gateway: not an IPv4 address, expected an IPv4 address, found \"dynamic\"",
          "vlans.json:2:84" + at + ".metric: out of range, " + metric + "\"256\"",
          "vlans.json:2:84" + at + ".metric: not a number, " + metric + "\"5x\""));
  EXPECT_THAT(Routes(), IsEmpty());
}

TEST_F(ReadRoutes, SaysWhatIsWrongWithAnIp6Route) {
  Read6(R"([])");
  Read6(R"({"network": "10.9.0.0", "prefix": "48", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "129", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "0048", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "48", "gateway": "10.1.2.1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "48", "gateway": "::1", "metric": "256"})");
  const std::string at = ": VLAN_CONFIGURATIONS.a.STATIC_ROUTES6.r";
  const std::string length =
      "expected a whole number from 0 to 128, or a text of at most 3 digits, found ";
  EXPECT_THAT(
      lines, ElementsAre("vlans.json:2:1" + at +
                             ": wrong kind of value, expected an object, found an array",
                         "vlans.json:2:13" + at +
                             ".network: not an IPv6 address, expected an IPv6 address, "
                             "found \"10.9.0.0\"",
                         "vlans.json:2:1" + at + ".prefix: a missing member, " + length + "nothing",
                         "vlans.json:2:37" + at + ".prefix: out of range, " + length + "\"129\"",
                         "vlans.json:2:37" + at + ".prefix: out of range, " + length + "\"0048\"",
                         "vlans.json:2:54" + at +
                             ".gateway: not an IPv6 address, expected an IPv6 address, "
                             "found \"10.1.2.1\"",
                         "vlans.json:2:71" + at +
                             ".metric: out of range, expected a whole number from 0 to "
                             "255, or a text of its digits, found \"256\""));
  EXPECT_THAT(Routes(), IsEmpty());
}

// The library would take these for absent ones, or read them as far as a NUL.
TEST_F(ReadRoutes, TakesNoMemberThatIsNotWhatItSeems) {
  const std::string rest = R"(, "network": "10.9.0.0", "netmask": "255.255.0.0", )";
  Read4(R"({"metric": "")" + rest + R"("gateway": "10.1.2.1"})");
  Read4(R"({"metric": [])" + rest + R"("gateway": "10.1.2.1"})");
  Read4(R"({"metric": "5\u0000x")" + rest + R"("gateway": "10.1.2.1"})");
  Read4(R"({"interface": {})" + rest + R"("gateway": "10.1.2.1"})");
  Read4(R"({"metric": 5)" + rest + R"("gateway": ""})");
  Read4(R"({"metric": 5)" + rest + R"("gateway": "10.1.2.1\u0000x"})");
  Read6(R"({"network": "2001:db8::", "prefix": [48], "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "", "gateway": "::1"})");
  const std::string at = ": VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r";
  const std::string at6 = "vlans.json:2:37: VLAN_CONFIGURATIONS.a.STATIC_ROUTES6.r";
  const std::string metric =
      "expected a whole number from 0 to 255, or a text of its digits, found ";
  const std::string length =
      "expected a whole number from 0 to 128, or a text of at most 3 digits, found ";
  const std::string gateway = ".gateway: not an IPv4 address, expected an IPv4 address, found ";
  EXPECT_THAT(
      lines,
      ElementsAre("vlans.json:2:12" + at + ".metric: not a number, " + metric + "\"\"",
                  "vlans.json:2:12" + at + ".metric: wrong kind of value, " + metric + "an array",
                  "vlans.json:2:12" + at + ".metric: not a number, " + metric + "\"5\\x00x\"",
                  "vlans.json:2:15" + at +
                      ".interface: wrong kind of value, expected a text, found an object",
                  "vlans.json:2:75" + at + gateway + "\"\"",
                  "vlans.json:2:75" + at + gateway + "\"10.1.2.1\\x00x\"",
                  at6 + ".prefix: wrong kind of value, " + length + "an array",
                  at6 + ".prefix: not a number, " + length + "\"\""));
  EXPECT_THAT(Routes(), IsEmpty());
}

TEST_F(ReadRoutes, TakesNoNull) {
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
"interface": null, "metric": null})");
  EXPECT_THAT(
      lines,
      ElementsAre("vlans.json:3:14: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.interface: no "
                  "value, expected a text, found null",
                  "vlans.json:3:30: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.metric: no value, "
                  "expected a whole number from 0 to 255, or a text of its digits, found null"));
  EXPECT_THAT(Routes(), IsEmpty());
}

TEST_F(ReadRoutes, NamesARouteWithoutANameAsAMember) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"": 7}})");
  EXPECT_THAT(lines,
              ElementsAre(R"(vlans.json:1:65: VLAN_CONFIGURATIONS.a.STATIC_ROUTES."": wrong kind )"
                          "of value, expected an object, found 7"));
}

TEST_F(ReadRoutes, RefusesHostBits) {
  Read4(R"({"network": "10.9.0.1", "netmask": "255.255.0.0", "gateway": "10.1.2.1"})");
  EXPECT_THAT(Routes(), IsEmpty());
  Read6(R"({"network": "2001:db8::1", "prefix": "48", "gateway": "::1"})");
  EXPECT_THAT(Routes(), IsEmpty());
  Read4(R"({"netmask": "254.0.0.0", "gateway": "10.1.2.1", "network": "11.0.0.0"})");
  EXPECT_THAT(Routes(), IsEmpty());
  EXPECT_THAT(
      lines,
      ElementsAre("vlans.json:2:13: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.network: host bits are "
                  "set, expected 10.9.0.0 for a length of 16, found 10.9.0.1",
                  "vlans.json:2:13: VLAN_CONFIGURATIONS.a.STATIC_ROUTES6.r.network: host bits "
                  "are set, expected 2001:db8:: for a length of 48, found 2001:db8::1",
                  "vlans.json:2:60: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.network: host bits "
                  "are set, expected 10.0.0.0 for a length of 7, found 11.0.0.0"));
}

TEST_F(ReadRoutes, RefusesANetmaskWithHoles) {
  Read4(R"({"network": "10.0.9.0", "netmask": "255.0.255.0", "gateway": "10.1.2.1"})");
  EXPECT_THAT(lines,
              ElementsAre("vlans.json:2:36: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.netmask: not a "
                          "netmask, expected an IPv4 address with leading one bits only, found "
                          "\"255.0.255.0\""));
  EXPECT_THAT(Routes(), IsEmpty());
}

TEST_F(ReadRoutes, GoesOnAfterARouteThatCannotBeRead) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"r1": {"x-a": 1}, "r2": {"network": "10.9.0.0",
    "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})");
  EXPECT_EQ(Routes().size(), 1u);
  EXPECT_EQ(lines.size(), 3u);
}

TEST_F(ReadRoutes, KeepsTheMetricThatIsReadFirst) {
  const std::string route =
      R"("network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1")";
  // In the order of their names, not of the text.
  ReadEntries("\"a\": {\"vid\": 10, \"STATIC_ROUTES\": {\n\"r2\": {" + route +
              ", \"metric\": \"9\"},\n\"r1\": {" + route + ", \"metric\": \"3\"},\n\"r3\": {" +
              route + R"(, "metric": "3"}}})");
  ASSERT_EQ(Routes().size(), 1u);
  EXPECT_EQ(Routes()[0].metric, 4u);
  EXPECT_THAT(lines,
              ElementsAre("vlans.json:2:7: VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r2: one route with "
                          "two metrics, expected 4 in force as from "
                          "VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r1, found 10"));
}

TEST_F(ReadRoutes, ComparesAllMetricsWithTheOneThatIsReadFirst) {
  const std::string route =
      R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": )";
  ReadEntries("\"a\": {\"vid\": 10, \"STATIC_ROUTES\": {\n\"r2\": " + route +
              "9},\n\"r3\": " + route + "3},\n\"r1\": " + route + "3}}}");
  ASSERT_EQ(Routes().size(), 1u);
  EXPECT_EQ(Routes()[0].metric, 4u);
  EXPECT_THAT(lines, ElementsAre(testing::HasSubstr(
                         "STATIC_ROUTES.r2: one route with two metrics, expected 4 "
                         "in force as from VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r1")));
}

TEST_F(ReadRoutes, KeepsTheMetricOfTheFirstElementOfAnArray) {
  const std::string route =
      R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "metric": )";
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": [)" + route + "9}, " + route + "3}]}");
  ASSERT_EQ(Routes().size(), 1u);
  EXPECT_EQ(Routes()[0].metric, 10u);
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(ReadRoutes, TellsRoutesApartByGatewayAndInterface) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {
    "r1": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1", "interface": "eth1"},
    "r2": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.2"},
    "r3": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "r4": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
           "interface": "eth0"}}})");
  EXPECT_THAT(lines, IsEmpty());
  std::vector<std::string> interfaces;
  for (const Route& route : Routes()) {
    interfaces.push_back(read.file.routes.InterfaceOf(route));
  }
  EXPECT_THAT(interfaces, ElementsAre("", "eth0", "eth1", ""));
}

TEST_F(ReadRoutes, GivesAnIp4MetricAsTheLibraryDoes) {
  const std::string route =
      R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1")";
  const std::vector<std::pair<std::string, unsigned int>> metrics = {
      {"}", 1},
      {R"(, "metric": 0})", 1},
      {R"(, "metric": 254})", 255},
      {R"(, "metric": 255, "routemetricmode": "passthrough"})", 255},
      {R"(, "metric": "7", "routemetricmode": "passthrough-always"})", 7},
      {R"(, "metric": 7, "routemetricmode": "Passthrough"})", 8},
      {R"(, "routemetricmode": "passthrough"})", 0}};
  for (const auto& [rest, metric] : metrics) {
    Read4(route + rest);
    ASSERT_EQ(Routes().size(), 1u) << rest;
    EXPECT_EQ(Routes()[0].metric, metric) << rest;
  }
  EXPECT_THAT(lines,
              ElementsAre("vlans.json:2:106: warning: "
                          "VLAN_CONFIGURATIONS.a.STATIC_ROUTES.r.routemetricmode: a word without "
                          "meaning, expected a text that begins with \"passthrough\", found "
                          "\"Passthrough\""));
}

}  // namespace
