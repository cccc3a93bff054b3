// Static route records.
#include "vantacore/route_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"

namespace {

using test_support::Node;

using namespace Tarsel;

Ip6Addr Ip6(const char* text) {
  Ip6Addr address;
  EXPECT_TRUE(address.FromString(text)) << text;
  return address;
}

Ip6Prefix Prefix(const char* address, unsigned int length) { return {Ip6(address), length}; }

// A JSON object of the given members: name and value as JSON, alternately.
std::string Group(const std::vector<std::string>& members) {
  std::string json = "{";
  for (std::size_t i = 0; i + 1 < members.size(); i += 2) {
    json += (i == 0 ? "" : ", ");
    json += "\"" + members[i] + "\": " + members[i + 1];
  }
  return json + "}";
}

// ---- IPv4

// A good group with one member replaced, added or (value "") left out.
std::string Group4(const std::string& member = "", const std::string& value = "") {
  std::vector<std::string> members;
  for (const auto& [name, text] : {std::pair<std::string, std::string>{"interface", "\"eth0\""},
                                   {"network", "\"10.9.0.0\""},
                                   {"netmask", "\"255.255.0.0\""},
                                   {"gateway", "\"10.1.2.1\""},
                                   {"metric", "\"5\""}}) {
    if (name != member) {
      members.insert(members.end(), {name, text});
    }
  }
  if (!value.empty()) {
    members.insert(members.end(), {member, value});
  }
  return Group(members);
}

bool Parse4(Ip4RouteConfig& route, const std::string& json, unsigned short vlan = 10) {
  const Node group(json);
  return route.ParseGroup(vlan, group);
}

// A record whose every field differs from the default and from the good group.
Ip4RouteConfig Marked4() {
  Ip4RouteConfig route(77, Ip4Addr(7, 7, 7, 7), Ip4Addr(255, 0, 0, 0), Ip4Addr(7, 0, 0, 1), 70);
  route.interface = "marked";
  return route;
}

TEST(Ip4RouteConfigTest, Defaults) {
  const Ip4RouteConfig route;
  EXPECT_EQ(route.vlan, 0);
  EXPECT_EQ(route.interface, "");
  EXPECT_EQ(route.network, IP4_ANY);
  EXPECT_EQ(route.netmask, IP4_ANY);
  EXPECT_EQ(route.gateway, IP4_ANY);
  EXPECT_EQ(route.metric, 1);
}

TEST(Ip4RouteConfigTest, TheFieldConstructorStoresTheMetricAsItIsAndNoInterface) {
  const Ip4RouteConfig route(12, Ip4Addr(10, 0, 0, 0), Ip4Addr(255, 0, 0, 0), Ip4Addr(1, 2, 3, 4),
                             255);
  EXPECT_EQ(route.vlan, 12);
  EXPECT_EQ(route.interface, "");
  EXPECT_EQ(route.network, Ip4Addr(10, 0, 0, 0));
  EXPECT_EQ(route.netmask, Ip4Addr(255, 0, 0, 0));
  EXPECT_EQ(route.gateway, Ip4Addr(1, 2, 3, 4));
  EXPECT_EQ(route.metric, 255);
}

TEST(Ip4RouteConfigTest, CopiesAllFields) {
  const Ip4RouteConfig source = Marked4();
  EXPECT_TRUE(Ip4RouteConfig(source) == source);
  Ip4RouteConfig target;
  EXPECT_EQ(&(target = source), &target);
  EXPECT_TRUE(target == source);
  Ip4RouteConfig& same = target;
  target = same;
  EXPECT_TRUE(target == source);
}

TEST(Ip4RouteConfigTest, ParsesAGroup) {
  Ip4RouteConfig route;
  ASSERT_TRUE(Parse4(route, Group4(), 10));
  EXPECT_EQ(route.vlan, 10);
  EXPECT_EQ(route.interface, "eth0");
  EXPECT_EQ(route.network, Ip4Addr(10, 9, 0, 0));
  EXPECT_EQ(route.netmask, Ip4Addr(255, 255, 0, 0));
  EXPECT_EQ(route.gateway, Ip4Addr(10, 1, 2, 1));
  EXPECT_EQ(route.metric, 6);
}

TEST(Ip4RouteConfigTest, AbsentOrEmptyGroupFailsAndChangesNothing) {
  for (const char* json : {"null", "{}", "[]"}) {
    Ip4RouteConfig route = Marked4();
    EXPECT_FALSE(Parse4(route, json)) << json;
    EXPECT_TRUE(route == Marked4()) << json;
  }
}

TEST(Ip4RouteConfigTest, GroupThatIsNoObjectFailsAtItsNetwork) {
  for (const char* json : {"5", "\"text\"", "[1]", "true"}) {
    Ip4RouteConfig route = Marked4();
    EXPECT_FALSE(Parse4(route, json)) << json;
    Ip4RouteConfig expected = Marked4();
    expected.vlan = 10;
    expected.interface = "";
    EXPECT_TRUE(route == expected) << json;
  }
}

TEST(Ip4RouteConfigTest, AnyInterfaceTextIsAcceptedAndAnAbsentOneIsEmpty) {
  Ip4RouteConfig route = Marked4();
  EXPECT_TRUE(Parse4(route, Group4("interface", "\"any text % at all\"")));
  EXPECT_EQ(route.interface, "any text % at all");
  EXPECT_TRUE(Parse4(route, Group4("interface")));
  EXPECT_EQ(route.interface, "");
  EXPECT_TRUE(Parse4(route, Group4("interface", "7")));
  EXPECT_EQ(route.interface, "7");
  EXPECT_TRUE(Parse4(route, Group4("interface", "{}")));
  EXPECT_EQ(route.interface, "");
}

// The values that no address can be read from.
const char* const NO_ADDRESS4[] = {
    "",   "null", "\"\"", "\"10.9\"", "\"dynamic\"", R"("::1")",      "5",
    "{}", "[]",   "true", "\"x\"",    "\"%s\"",      "\"1.2.3.4.5\"", "\"1.2.3.999\""};

TEST(Ip4RouteConfigTest, BadNetworkFailsAndKeepsTheFieldsAfterIt) {
  for (const char* value : NO_ADDRESS4) {
    Ip4RouteConfig route = Marked4();
    EXPECT_FALSE(Parse4(route, Group4("network", value))) << value;
    Ip4RouteConfig expected = Marked4();
    expected.vlan = 10;
    expected.interface = "eth0";
    EXPECT_TRUE(route == expected) << value;
  }
}

TEST(Ip4RouteConfigTest, BadNetmaskFailsAndKeepsTheFieldsAfterIt) {
  for (const char* value : NO_ADDRESS4) {
    Ip4RouteConfig route = Marked4();
    EXPECT_FALSE(Parse4(route, Group4("netmask", value))) << value;
    Ip4RouteConfig expected = Marked4();
    expected.vlan = 10;
    expected.interface = "eth0";
    expected.network = Ip4Addr(10, 9, 0, 0);
    EXPECT_TRUE(route == expected) << value;
  }
}

TEST(Ip4RouteConfigTest, BadGatewayFailsAndKeepsTheFieldsAfterIt) {
  for (const char* value : NO_ADDRESS4) {
    Ip4RouteConfig route = Marked4();
    EXPECT_FALSE(Parse4(route, Group4("gateway", value))) << value;
    Ip4RouteConfig expected = Marked4();
    expected.vlan = 10;
    expected.interface = "eth0";
    expected.network = Ip4Addr(10, 9, 0, 0);
    expected.netmask = Ip4Addr(255, 255, 0, 0);
    EXPECT_TRUE(route == expected) << value;
  }
}

TEST(Ip4RouteConfigTest, TheDynamicGatewayIsNotTaken) {
  Ip4RouteConfig route;
  EXPECT_FALSE(Parse4(route, Group4("gateway", "\"dynamic\"")));
  EXPECT_FALSE(Parse4(route, Group4("gateway", "\"DYNAMIC\"")));
}

TEST(Ip4RouteConfigTest, BadMetricFailsAndKeepsTheMetric) {
  for (const char* value : {"\"256\"", "\"5x\"", "\"x\"", "\"-1\"", "\" \"", "256", "-1",
                            "\"4294967296\"", "\"4294967297\"", "1.5", "true"}) {
    Ip4RouteConfig route = Marked4();
    EXPECT_FALSE(Parse4(route, Group4("metric", value))) << value;
    Ip4RouteConfig expected;
    ASSERT_TRUE(Parse4(expected, Group4()));
    expected.metric = 70;
    EXPECT_TRUE(route == expected) << value;
  }
}

unsigned int Metric4(const char* metric, const char* mode = nullptr) {
  std::string json = Group4("metric", metric);
  if (mode != nullptr) {
    json.pop_back();
    json += std::string(R"(, "routemetricmode": )") + mode + "}";
  }
  Ip4RouteConfig route;
  EXPECT_TRUE(Parse4(route, json)) << json;
  return route.metric;
}

TEST(Ip4RouteConfigTest, TheMetricIsShiftedByOneInEightBits) {
  EXPECT_EQ(Metric4(""), 1u);  // absent
  EXPECT_EQ(Metric4("null"), 1u);
  EXPECT_EQ(Metric4("{}"), 1u);
  EXPECT_EQ(Metric4("\"\""), 1u);
  EXPECT_EQ(Metric4("\"0\""), 1u);
  EXPECT_EQ(Metric4("\"5\""), 6u);
  EXPECT_EQ(Metric4("5"), 6u);
  EXPECT_EQ(Metric4("\" +5\""), 6u);
  EXPECT_EQ(Metric4("\"254\""), 255u);
  EXPECT_EQ(Metric4("\"255\""), 0u);
}

TEST(Ip4RouteConfigTest, PassThroughKeepsTheMetric) {
  EXPECT_EQ(Metric4("\"5\"", "\"passthrough\""), 5u);
  EXPECT_EQ(Metric4("\"255\"", "\"passthrough\""), 255u);
  EXPECT_EQ(Metric4("", "\"passthrough\""), 0u);
  EXPECT_EQ(Metric4("\"5\"", "\"passthroughX\""), 5u);
}

TEST(Ip4RouteConfigTest, AnyOtherModeShifts) {
  for (const char* mode : {"\"PassThrough\"", "\"PASSTHROUGH\"", "\"passthroug\"", "\"\"",
                           "\" passthrough\"", "null", "{}", "5"}) {
    EXPECT_EQ(Metric4("\"5\"", mode), 6u) << mode;
  }
}

TEST(Ip4RouteConfigTest, ParsingIsSilent) {
  test_support::TraceCapture trace;
  Ip4RouteConfig route;
  Parse4(route, Group4());
  Parse4(route, Group4("gateway", "\"x\""));
  EXPECT_THAT(trace.Lines(), testing::IsEmpty());
  EXPECT_THAT(trace.Assertions(), testing::IsEmpty());
}

// One copy of `route` for each field, changed in that field only; the interface is the last.
std::vector<Ip4RouteConfig> EachFieldChanged(const Ip4RouteConfig& route) {
  std::vector<Ip4RouteConfig> copies(6, route);
  copies[0].vlan = 1;
  copies[1].network = Ip4Addr(9, 9, 9, 9);
  copies[2].netmask = Ip4Addr(255, 255, 255, 255);
  copies[3].gateway = Ip4Addr(9, 9, 9, 1);
  copies[4].metric = 99;
  copies[5].interface = "other";
  return copies;
}

TEST(Ip4RouteConfigTest, EqualMeansAllFields) {
  const Ip4RouteConfig route = Marked4();
  EXPECT_TRUE(route == Marked4());
  for (const Ip4RouteConfig& other : EachFieldChanged(route)) {
    EXPECT_FALSE(route == other);
    EXPECT_FALSE(other == route);
  }
}

TEST(Ip4RouteConfigTest, TheMatchIgnoresTheInterfaceOnly) {
  Ip4RouteConfig route = Marked4();
  EXPECT_TRUE(route(Marked4()));
  const std::vector<Ip4RouteConfig> others = EachFieldChanged(route);
  for (std::size_t i = 0; i < others.size(); ++i) {
    EXPECT_EQ(route(others[i]), i == 5) << i;
  }
}

TEST(Ip4RouteConfigTest, AProbeOfMetric255MatchesAnyMetricButIsNotEqual) {
  Ip4RouteConfig probe = Marked4();
  probe.metric = 255;
  probe.interface = "";
  Ip4RouteConfig route = Marked4();
  for (int metric = 0; metric <= 255; ++metric) {
    route.metric = static_cast<unsigned char>(metric);
    EXPECT_TRUE(probe(route)) << metric;
    // The wildcard is the asking record's.
    EXPECT_EQ(route(probe), metric == 255) << metric;
    EXPECT_FALSE(probe == route) << metric;
  }
  probe.interface = route.interface;
  EXPECT_TRUE(probe == route);
  probe.vlan = 1;
  EXPECT_FALSE(probe(route));
}

Ip4RouteConfig Route4(Ip4Addr network, Ip4Addr netmask, Ip4Addr gateway, unsigned char metric) {
  return {1, network, netmask, gateway, metric};
}

const Ip4Addr MASK16(255, 255, 0, 0);

// `a` sorts strictly before `b`.
void ExpectBefore(const Ip4RouteConfig& a, const Ip4RouteConfig& b) {
  EXPECT_TRUE(Ip4RouteConfig::Compare(a, b));
  EXPECT_FALSE(Ip4RouteConfig::Compare(b, a));
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(b < a);
}

TEST(Ip4RouteConfigTest, SortsByMaskedNetworkThenGatewayThenMetric) {
  const Ip4Addr g1(std::uint32_t{1});
  const Ip4Addr g2(std::uint32_t{2});
  const Ip4Addr all(std::uint32_t{0xFFFFFFFFu});
  ExpectBefore(Route4(Ip4Addr(1u), all, g2, 9), Route4(Ip4Addr(2u), all, g1, 1));
  ExpectBefore(Route4(Ip4Addr(1u), all, g1, 9), Route4(Ip4Addr(1u), all, g2, 1));
  ExpectBefore(Route4(Ip4Addr(1u), all, g1, 1), Route4(Ip4Addr(1u), all, g1, 2));
  // Unsigned, not signed.
  ExpectBefore(Route4(Ip4Addr(0x7FFFFFFFu), all, g1, 1), Route4(Ip4Addr(0x80000000u), all, g1, 1));
  ExpectBefore(Route4(Ip4Addr(1u), all, Ip4Addr(0x7FFFFFFFu), 1),
               Route4(Ip4Addr(1u), all, Ip4Addr(0x80000000u), 1));
  ExpectBefore(Route4(Ip4Addr(1u), all, g1, 127), Route4(Ip4Addr(1u), all, g1, 128));
}

TEST(Ip4RouteConfigTest, TheOrderIsThatOfTheWordAsItLiesInMemory) {
  const Ip4Addr low(10, 0, 0, 2);
  const Ip4Addr high(11, 0, 0, 1);
  const Ip4Addr all(255, 255, 255, 255);
  const bool wordOrder = low.GetValue() < high.GetValue();
  EXPECT_EQ(Ip4RouteConfig::Compare(Route4(low, all, low, 1), Route4(high, all, low, 1)),
            wordOrder);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  EXPECT_FALSE(wordOrder);
#endif
}

TEST(Ip4RouteConfigTest, HostBitsVlanAndInterfaceDoNotCountInTheOrder) {
  const Ip4RouteConfig a = Route4(Ip4Addr(10, 9, 1, 2), MASK16, Ip4Addr(10, 1, 2, 1), 5);
  Ip4RouteConfig b = Route4(Ip4Addr(10, 9, 0, 0), MASK16, Ip4Addr(10, 1, 2, 1), 5);
  EXPECT_TRUE(Ip4RouteConfig::Compare(a, b));
  EXPECT_TRUE(Ip4RouteConfig::Compare(b, a));
  b.vlan = 4000;
  b.interface = "other";
  EXPECT_TRUE(a < b);
  EXPECT_TRUE(b < a);
  EXPECT_TRUE(a < a);
}

TEST(Ip4RouteConfigTest, EachNetworkIsMaskedWithItsOwnNetmask) {
  // 10.9.0.0 under /16 and 10.9.0.0/32 leave the same word.
  const Ip4RouteConfig a = Route4(Ip4Addr(10, 9, 1, 2), MASK16, Ip4Addr(10, 1, 2, 1), 5);
  const Ip4RouteConfig b =
      Route4(Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 255, 255), Ip4Addr(10, 1, 2, 1), 5);
  EXPECT_TRUE(a < b);
  EXPECT_TRUE(b < a);
  // The third byte of 10.9.2.0/24 counts beside a /16 as well, before the gateway does.
  ExpectBefore(Route4(Ip4Addr(10, 9, 0, 0), MASK16, Ip4Addr(10, 1, 2, 2), 5),
               Route4(Ip4Addr(10, 9, 2, 0), Ip4Addr(255, 255, 255, 0), Ip4Addr(10, 1, 2, 1), 5));
}

// ---- IPv6

std::string Group6(const std::string& member = "", const std::string& value = "") {
  std::vector<std::string> members;
  for (const auto& [name, text] : {std::pair<std::string, std::string>{"interface", "\"eth0\""},
                                   {"network", "\"2001:db8:9::\""},
                                   {"prefix", "\"48\""},
                                   {"gateway", "\"2001:db8::1\""},
                                   {"metric", "\"5\""}}) {
    if (name != member) {
      members.insert(members.end(), {name, text});
    }
  }
  if (!value.empty()) {
    members.insert(members.end(), {member, value});
  }
  return Group(members);
}

bool Parse6(Ip6RouteConfig& route, const std::string& json, unsigned short vlan = 10) {
  const Node group(json);
  return route.ParseGroup(vlan, group);
}

Ip6RouteConfig Marked6() {
  Ip6RouteConfig route(77, Ip6("7::"), Prefix("7::", 7), Ip6("7::1"), 70);
  route.interface = "marked";
  return route;
}

TEST(Ip6RouteConfigTest, Defaults) {
  const Ip6RouteConfig route;
  EXPECT_EQ(route.vlan, 0);
  EXPECT_EQ(route.interface, "");
  EXPECT_EQ(route.network, Ip6("::"));
  EXPECT_EQ(route.prefix, Prefix("::", 0));
  EXPECT_EQ(route.gateway, Ip6("::"));
  EXPECT_EQ(route.metric, 1);
}

TEST(Ip6RouteConfigTest, TheFieldConstructorStoresTheMetricAsItIsAndNoInterface) {
  const Ip6RouteConfig route(12, Ip6("1::"), Prefix("2::", 16), Ip6("3::1"), 255);
  EXPECT_EQ(route.vlan, 12);
  EXPECT_EQ(route.interface, "");
  EXPECT_EQ(route.network, Ip6("1::"));
  EXPECT_EQ(route.prefix, Prefix("2::", 16));
  EXPECT_EQ(route.gateway, Ip6("3::1"));
  EXPECT_EQ(route.metric, 255);
}

TEST(Ip6RouteConfigTest, CopiesAllFields) {
  const Ip6RouteConfig source = Marked6();
  EXPECT_TRUE(Ip6RouteConfig(source) == source);
  Ip6RouteConfig target;
  EXPECT_EQ(&(target = source), &target);
  EXPECT_TRUE(target == source);
}

TEST(Ip6RouteConfigTest, ParsesAGroupAndNeverShiftsTheMetric) {
  Ip6RouteConfig route;
  ASSERT_TRUE(Parse6(route, Group6(), 10));
  EXPECT_EQ(route.vlan, 10);
  EXPECT_EQ(route.interface, "eth0");
  EXPECT_EQ(route.network, Ip6("2001:db8:9::"));
  EXPECT_EQ(route.prefix, Prefix("2001:db8:9::", 48));
  EXPECT_EQ(route.gateway, Ip6("2001:db8::1"));
  EXPECT_EQ(route.metric, 5);
  ASSERT_TRUE(Parse6(route, Group6("routemetricmode", "\"anything\"")));
  EXPECT_EQ(route.metric, 5);
}

TEST(Ip6RouteConfigTest, TheGroupItselfIsNotTested) {
  for (const char* json : {"null", "{}", "[]", "5", "\"text\"", "[1]"}) {
    Ip6RouteConfig route = Marked6();
    EXPECT_FALSE(Parse6(route, json)) << json;
    Ip6RouteConfig expected = Marked6();
    expected.vlan = 10;
    expected.interface = "";
    EXPECT_TRUE(route == expected) << json;
  }
}

const char* const NO_ADDRESS6[] = {
    "", "null", "\"\"", "\"10.9.0.0\"", "\"dynamic\"", "\"1::2::3\"", "5", "{}", "[]", "\"%s\""};

TEST(Ip6RouteConfigTest, BadNetworkFailsAndKeepsTheFieldsAfterIt) {
  for (const char* value : NO_ADDRESS6) {
    Ip6RouteConfig route = Marked6();
    EXPECT_FALSE(Parse6(route, Group6("network", value))) << value;
    Ip6RouteConfig expected = Marked6();
    expected.vlan = 10;
    expected.interface = "eth0";
    EXPECT_TRUE(route == expected) << value;
  }
}

TEST(Ip6RouteConfigTest, BadOrAbsentPrefixFailsAndKeepsTheFieldsAfterIt) {
  for (const char* value :
       {"", "null", "\"\"", "\"129\"", "\"-1\"", "\"48x\"", "{}", R"("::/48")"}) {
    Ip6RouteConfig route = Marked6();
    EXPECT_FALSE(Parse6(route, Group6("prefix", value))) << value;
    Ip6RouteConfig expected = Marked6();
    expected.vlan = 10;
    expected.interface = "eth0";
    expected.network = Ip6("2001:db8:9::");
    EXPECT_TRUE(route == expected) << value;
  }
}

TEST(Ip6RouteConfigTest, ThePrefixMayBeANumber) {
  Ip6RouteConfig route;
  EXPECT_TRUE(Parse6(route, Group6("prefix", "48")));
  EXPECT_EQ(route.prefix, Prefix("2001:db8:9::", 48));
}

TEST(Ip6RouteConfigTest, BadGatewayFailsAndKeepsTheMetric) {
  for (const char* value : NO_ADDRESS6) {
    Ip6RouteConfig route = Marked6();
    EXPECT_FALSE(Parse6(route, Group6("gateway", value))) << value;
    Ip6RouteConfig expected = Marked6();
    expected.vlan = 10;
    expected.interface = "eth0";
    expected.network = Ip6("2001:db8:9::");
    expected.prefix = Prefix("2001:db8:9::", 48);
    EXPECT_TRUE(route == expected) << value;
  }
}

TEST(Ip6RouteConfigTest, Metrics) {
  Ip6RouteConfig route;
  for (const auto& [value, metric] : {std::pair<const char*, int>{"", 0},
                                      {"null", 0},
                                      {"\"\"", 0},
                                      {"\"0\"", 0},
                                      {"\"5\"", 5},
                                      {"5", 5},
                                      {"\"255\"", 255}}) {
    ASSERT_TRUE(Parse6(route, Group6("metric", value))) << value;
    EXPECT_EQ(route.metric, metric) << value;
  }
  for (const char* value :
       {"\"256\"", "\"5x\"", "\"-1\"", "256", "\"4294967297\"", "\"18446744073709551617\""}) {
    route.metric = 70;
    EXPECT_FALSE(Parse6(route, Group6("metric", value))) << value;
    EXPECT_EQ(route.metric, 70) << value;
  }
}

std::vector<Ip6RouteConfig> EachFieldChanged(const Ip6RouteConfig& route) {
  std::vector<Ip6RouteConfig> copies(7, route);
  copies[0].vlan = 1;
  copies[1].network = Ip6("9::");
  copies[2].prefix = Ip6Prefix(route.prefix.GetAddress(), 9);
  copies[3].prefix = Ip6Prefix(Ip6("9::"), route.prefix.GetLength());
  copies[4].gateway = Ip6("9::1");
  copies[5].metric = 99;
  copies[6].interface = "other";
  return copies;
}

TEST(Ip6RouteConfigTest, EqualMeansAllFields) {
  const Ip6RouteConfig route = Marked6();
  EXPECT_TRUE(route == Marked6());
  for (const Ip6RouteConfig& other : EachFieldChanged(route)) {
    EXPECT_FALSE(route == other);
    EXPECT_FALSE(other == route);
  }
}

TEST(Ip6RouteConfigTest, TheMatchIgnoresTheInterfaceOnly) {
  Ip6RouteConfig route = Marked6();
  EXPECT_TRUE(route(Marked6()));
  const std::vector<Ip6RouteConfig> others = EachFieldChanged(route);
  for (std::size_t i = 0; i < others.size(); ++i) {
    EXPECT_EQ(route(others[i]), i == 6) << i;
  }
}

TEST(Ip6RouteConfigTest, AProbeOfMetric255MatchesAnyMetricButIsNotEqual) {
  Ip6RouteConfig probe = Marked6();
  probe.metric = 255;
  probe.interface = "";
  Ip6RouteConfig route = Marked6();
  for (int metric = 0; metric <= 255; ++metric) {
    route.metric = static_cast<unsigned char>(metric);
    EXPECT_TRUE(probe(route)) << metric;
    EXPECT_EQ(route(probe), metric == 255) << metric;
    EXPECT_FALSE(probe == route) << metric;
  }
}

Ip6RouteConfig Route6(const char* prefix, unsigned int length, const char* gateway,
                      unsigned char metric) {
  return {1, Ip6("::"), Prefix(prefix, length), Ip6(gateway), metric};
}

void ExpectBefore(const Ip6RouteConfig& a, const Ip6RouteConfig& b) {
  EXPECT_TRUE(Ip6RouteConfig::Compare(a, b));
  EXPECT_FALSE(Ip6RouteConfig::Compare(b, a));
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(b < a);
}

TEST(Ip6RouteConfigTest, SortsByPrefixAddressThenLengthThenGatewayThenMetric) {
  ExpectBefore(Route6("1::", 64, "2::", 9), Route6("2::", 16, "1::", 1));
  ExpectBefore(Route6("1::", 16, "2::", 9), Route6("1::", 64, "1::", 1));
  ExpectBefore(Route6("1::", 64, "1::", 9), Route6("1::", 64, "2::", 1));
  ExpectBefore(Route6("1::", 64, "1::", 1), Route6("1::", 64, "1::", 2));
  // Most significant byte first, unsigned.
  ExpectBefore(Route6("100::ff", 64, "1::", 1), Route6("200::1", 64, "1::", 1));
  ExpectBefore(Route6("7f00::", 64, "1::", 1), Route6("8000::", 64, "1::", 1));
  ExpectBefore(Route6("1::", 64, "::ff:0", 1), Route6("1::", 64, "::1ff:1", 1));
  ExpectBefore(Route6("1::", 64, "7f00::", 1), Route6("1::", 64, "8000::", 1));
  ExpectBefore(Route6("1::", 64, "1::", 127), Route6("1::", 64, "1::", 128));
  // Down to the last byte.
  ExpectBefore(Route6("1::1", 128, "2::", 9), Route6("1::2", 128, "1::", 1));
  ExpectBefore(Route6("1::", 64, "1::1", 9), Route6("1::", 64, "1::2", 1));
}

TEST(Ip6RouteConfigTest, NetworkVlanAndInterfaceDoNotCountInTheOrder) {
  const Ip6RouteConfig a = Route6("1::", 64, "1::1", 5);
  Ip6RouteConfig b = a;
  b.network = Ip6("9::");
  b.vlan = 4000;
  b.interface = "other";
  EXPECT_TRUE(a < b);
  EXPECT_TRUE(b < a);
  EXPECT_TRUE(Ip6RouteConfig::Compare(a, a));
}

}  // namespace
