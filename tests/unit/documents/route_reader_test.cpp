#include "device/documents/route_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarsel/address.h"
#include "tests/support/json_text.h"
#include "tests/support/reported_lines.h"

namespace {

using documents::RouteKey;
using documents::RouteSet;
using test_support::ParsedJson;
using test_support::ReportedLines;
using testing::ElementsAre;
using testing::IsEmpty;

RouteKey Key4(unsigned short vlan, Tarsel::Ip4Addr network, unsigned length,
              Tarsel::Ip4Addr gateway, const std::string& interface) {
  RouteKey key;
  key.target.vlan = vlan;
  std::copy_n(network.GetBytes(), 4, key.target.destination.begin());
  key.target.length = length;
  std::copy_n(gateway.GetBytes(), 4, key.target.gateway.begin());
  key.interface = interface;
  return key;
}

RouteKey Key6(unsigned short vlan, const char* network, unsigned length, const char* gateway,
              const std::string& interface) {
  Tarsel::Ip6Addr address;
  RouteKey key;
  key.target.vlan = vlan;
  key.target.ip6 = true;
  address.FromString(network);
  std::copy_n(address.GetBytes(), 16, key.target.destination.begin());
  key.target.length = length;
  address.FromString(gateway);
  std::copy_n(address.GetBytes(), 16, key.target.gateway.begin());
  key.interface = interface;
  return key;
}

class ReadRoutes : public testing::Test {
 protected:
  void ReadEntries(const std::string& entries) {
    const Tarsel::Options document(ParsedJson(R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}"));
    documents::ReadRoutes(document, "vlans.json", routes, reported.report);
  }
  void Read4(const std::string& route) {
    ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"r": )" + route + "}}");
  }
  void Read6(const std::string& route) {
    ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES6": {"r": )" + route + "}}");
  }

  RouteSet routes;
  ReportedLines reported;
};

TEST_F(ReadRoutes, ReadsNoInterfacesNameUpToANul) {
  const std::string name("eth0\0x", 6);
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
            "interface": "eth0\u0000x"})");
  Read6(R"({"network": "2001:db8::", "prefix": "32", "gateway": "fe80::1",
            "interface": "eth0\u0000x"})");
  ASSERT_EQ(routes.size(), 2u);
  for (const auto& route : routes) {
    EXPECT_EQ(route.first.interface, name);
  }
}

TEST_F(ReadRoutes, TakesBothFamilies) {
  ReadEntries(R"("a": {"vid": 10,
    "STATIC_ROUTES": {"r1": {"interface": "eth0", "network": "10.9.0.0", "netmask": "255.255.0.0",
      "gateway": "10.1.2.1", "metric": "5"}},
    "STATIC_ROUTES6": {"r1": {"interface": "eth1", "network": "2001:db8:9::", "prefix": "48",
      "gateway": "2001:db8::1", "metric": "5"}}})");
  EXPECT_THAT(reported.lines, IsEmpty());
  ASSERT_EQ(routes.size(), 2u);
  const auto& route4 =
      routes.at(Key4(10, Tarsel::Ip4Addr(10, 9, 0, 0), 16, Tarsel::Ip4Addr(10, 1, 2, 1), "eth0"));
  EXPECT_EQ(route4.metric, 6u);
  EXPECT_EQ(route4.origin.Text(), "vlans.json: VLAN 10: STATIC_ROUTES.r1");
  const auto& route6 = routes.at(Key6(10, "2001:db8:9::", 48, "2001:db8::1", "eth1"));
  EXPECT_EQ(route6.metric, 5u);
  EXPECT_EQ(route6.origin.Text(), "vlans.json: VLAN 10: STATIC_ROUTES6.r1");
}

TEST_F(ReadRoutes, TakesAVlanInSeveralEntries) {
  ReadEntries(R"(
    "a": {"vid": 10, "STATIC_ROUTES": {"r1": {"network": "10.9.0.0", "netmask": "255.255.0.0",
      "gateway": "10.1.2.1"}}},
    "b": {"vid": 20},
    "c": {"vid": 10, "STATIC_ROUTES": {"r1": {"network": "10.8.0.0", "netmask": "255.255.0.0",
      "gateway": "10.1.2.1"}}})");
  EXPECT_EQ(routes.size(), 2u);
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(ReadRoutes, TakesAnArrayOfRoutes) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": [{"network": "0.0.0.0", "netmask": "0.0.0.0",
    "gateway": "10.1.2.1"}, 7]})");
  ASSERT_EQ(routes.size(), 1u);
  EXPECT_EQ(routes.begin()->second.origin.Text(), "vlans.json: VLAN 10: STATIC_ROUTES[0]");
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN 10: STATIC_ROUTES[1]: expected an object with a "
                          "route"));
}

TEST_F(ReadRoutes, TakesHostRoutesAndDefaultRoutes) {
  Read4(R"({"network": "10.9.9.9", "netmask": "255.255.255.255", "gateway": "10.1.2.1"})");
  Read6(R"({"network": "::", "prefix": "0", "gateway": "2001:db8::1"})");
  EXPECT_THAT(reported.lines, IsEmpty());
  EXPECT_EQ(routes.size(), 2u);
}

TEST_F(ReadRoutes, SaysWhatIsWrongWithAnIp4Route) {
  Read4(R"(5)");
  Read4(R"({})");
  Read4(R"({"network": "10.9.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"})");
  Read4(R"({"network": "10.9.0.0", "netmask": 16, "gateway": "10.1.2.1"})");
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "dynamic"})");
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
           "metric": "256"})");
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
           "metric": "5x"})");
  const std::string at = "vlans.json: VLAN 10: STATIC_ROUTES.r";
  EXPECT_THAT(reported.lines,
              ElementsAre(at + ": expected an object with a route",
                          at + ".network: expected an IPv4 address, found nothing",
                          at + ".network: expected an IPv4 address, found \"10.9.0\"",
                          at + ".netmask: expected an IPv4 address, found \"16\"",
                          at + ".gateway: expected an IPv4 address, found \"dynamic\"",
                          at + ".metric: expected a number from 0 to 255, found \"256\"",
                          at + ".metric: expected a number from 0 to 255, found \"5x\""));
  EXPECT_THAT(routes, IsEmpty());
}

TEST_F(ReadRoutes, SaysWhatIsWrongWithAnIp6Route) {
  Read6(R"([])");
  Read6(R"({"network": "10.9.0.0", "prefix": "48", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "129", "gateway": "::1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "48", "gateway": "10.1.2.1"})");
  Read6(R"({"network": "2001:db8::", "prefix": "48", "gateway": "::1", "metric": "256"})");
  const std::string at = "vlans.json: VLAN 10: STATIC_ROUTES6.r";
  EXPECT_THAT(reported.lines,
              ElementsAre(at + ": expected an object with a route",
                          at + ".network: expected an IPv6 address, found \"10.9.0.0\"",
                          at + ".prefix: expected a length from 0 to 128, found nothing",
                          at + ".prefix: expected a length from 0 to 128, found \"129\"",
                          at + ".gateway: expected an IPv6 address, found \"10.1.2.1\"",
                          at + ".metric: expected a number from 0 to 255, found \"256\""));
  EXPECT_THAT(routes, IsEmpty());
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
  const std::string at = "vlans.json: VLAN 10: STATIC_ROUTES.r";
  const std::string at6 = "vlans.json: VLAN 10: STATIC_ROUTES6.r";
  EXPECT_THAT(reported.lines,
              ElementsAre(at + ".metric: expected a number from 0 to 255, found \"\"",
                          at + ".metric: expected a number from 0 to 255, found an array",
                          at + ".metric: expected a number from 0 to 255, found \"5\\x00x\"",
                          at + ".interface: expected the name of an interface, found an object",
                          at + ".gateway: expected an IPv4 address, found \"\"",
                          at + ".gateway: expected an IPv4 address, found \"10.1.2.1\\x00x\"",
                          at6 + ".prefix: expected a length from 0 to 128, found an array",
                          at6 + ".prefix: expected a length from 0 to 128, found \"\""));
  EXPECT_THAT(routes, IsEmpty());
}

TEST_F(ReadRoutes, TakesNullForAbsent) {
  Read4(R"({"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
           "interface": null, "metric": null})");
  EXPECT_THAT(reported.lines, IsEmpty());
  EXPECT_EQ(routes.size(), 1u);
}

TEST_F(ReadRoutes, NamesARouteWithoutANameAsAMember) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"": 7}})");
  EXPECT_THAT(reported.lines, ElementsAre(R"(vlans.json: VLAN 10: STATIC_ROUTES."": expected an )"
                                          "object with a route"));
}

TEST_F(ReadRoutes, RefusesHostBits) {
  Read4(R"({"network": "10.9.0.1", "netmask": "255.255.0.0", "gateway": "10.1.2.1"})");
  Read6(R"({"network": "2001:db8::1", "prefix": "48", "gateway": "::1"})");
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN 10: STATIC_ROUTES.r.network: host bits are set in "
                          "10.9.0.1/16",
                          "vlans.json: VLAN 10: STATIC_ROUTES6.r.network: host bits are set in "
                          "2001:db8::1/48"));
  EXPECT_THAT(routes, IsEmpty());
}

TEST_F(ReadRoutes, RefusesANetmaskWithHoles) {
  Read4(R"({"network": "10.0.9.0", "netmask": "255.0.255.0", "gateway": "10.1.2.1"})");
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN 10: STATIC_ROUTES.r.netmask: expected leading one bits "
                          "only, found \"255.0.255.0\""));
  EXPECT_THAT(routes, IsEmpty());
}

TEST_F(ReadRoutes, GoesOnBehindARouteThatCannotBeRead) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"r1": {}, "r2": {"network": "10.9.0.0",
    "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})");
  EXPECT_EQ(routes.size(), 1u);
  EXPECT_EQ(reported.lines.size(), 1u);
}

TEST_F(ReadRoutes, KeepsTheFirstMetricOfARoute) {
  const std::string route =
      R"("network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1")";
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {"r1": {)" + route +
              R"(, "metric": "3"}, "r2": {)" + route + R"(, "metric": "9"}, "r3": {)" + route +
              R"(, "metric": "3"}}})");
  ASSERT_EQ(routes.size(), 1u);
  EXPECT_EQ(routes.begin()->second.metric, 4u);
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json: VLAN 10: STATIC_ROUTES.r2: the same route has metric 4 at "
                          "vlans.json: VLAN 10: STATIC_ROUTES.r1, which stays"));
}

TEST_F(ReadRoutes, TellsRoutesApartByGatewayAndInterface) {
  ReadEntries(R"("a": {"vid": 10, "STATIC_ROUTES": {
    "r1": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"},
    "r2": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.2"},
    "r3": {"network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1",
           "interface": "eth0"}}})");
  EXPECT_EQ(routes.size(), 3u);
  EXPECT_THAT(reported.lines, IsEmpty());
}

}  // namespace
