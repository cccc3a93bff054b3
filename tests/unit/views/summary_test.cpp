#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/views/state_fixture.h"

namespace {

using testing::HasSubstr;
using views::Format;

class Summary : public views_test::StateFixture {
 protected:
  std::string Text(std::optional<unsigned short> vlan = {}) {
    return Read(Ask().Summary(vlan, Format::TEXT));
  }
  Json::Value Object(std::optional<unsigned short> vlan = {}) {
    return ReadJson(Ask().Summary(vlan, Format::JSON));
  }
};

TEST_F(Summary, IsOfAVlan) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(Text(10),
            "VLAN 10         connected     static        rip       ospf        bgp        all\n"
            "IPv4                    1          1          0          0          0          2\n"
            "  installed             1          1          0          0          0          2\n"
            "IPv6                    0          0          0          0          0          0\n"
            "  installed             0          0          0          0          0          0\n"
            "\n"
            "                          wanted   as wanted     waiting   differing     refused\n"
            "routing tables                 2           2           0           0           0\n"
            "interfaces                     1           1           0           0           0\n"
            "addresses                      1           1           0           0           0\n"
            "protocol rows                  0           0           0           0           0\n"
            "static routes                  1           1           0           0           0\n"
            "redistribution                 0           0           0           0           0\n"
            "\n"
            "interfaces: 1 up, 0 down\n");
}

TEST_F(Summary, IsOfAllVlansAndEach) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("all VLANs       connected "));
  EXPECT_THAT(text, HasSubstr("routing tables                 4           4 "));
  EXPECT_THAT(
      text,
      HasSubstr(
          "\n VLAN     routes  installed      rows   waiting differing  refused    up  down\n"
          "   10          2          2         5         0         0        0     1     0\n"
          "   20          0          0         2         0         0        0     0     0\n"));
  EXPECT_LE(LongestLine(text), 80u);
}

TEST_F(Summary, IsRefusedWithoutTheVlan) {
  StartWith(WITH_ROUTE);
  const views::AnyView view = Ask().Summary(20, Format::TEXT);
  EXPECT_EQ(Read(view), "VLAN 20 is not present\n");
  EXPECT_TRUE(view->IsRefused());
  const views::AnyView document = Ask().Summary(20, Format::JSON);
  EXPECT_EQ(ReadJson(document)["refused"], "VLAN 20 is not present");
  EXPECT_TRUE(document->IsRefused());
  EXPECT_FALSE(Ask().Summary(10, Format::TEXT)->IsRefused());
}

TEST_F(Summary, CountsWhatWaitsForAVlanOrAnInterface) {
  m_files.Write("remote/a.json", R"({"VLAN_CONFIGURATIONS": {"b": {"vid": 20, "STATIC_ROUTES": {
    "r": {"network": "10.7.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}}}})");
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES": {
    "r": {"interface": "eth7", "network": "10.9.0.0", "netmask": "255.255.0.0",
          "gateway": "10.1.2.1"},
    "s": {"network": "10.8.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})");
  EXPECT_THAT(
      Text(10),
      HasSubstr(
          "static routes                  2           1           1           0           0\n"));
  EXPECT_THAT(
      Text(),
      HasSubstr(
          "static routes                  3           1           2           0           0\n"));
  const Json::Value vlans = Object()["vlans"];
  ASSERT_EQ(vlans.size(), 2u);
  EXPECT_EQ(vlans[1]["vlan"], 20);
  EXPECT_EQ(vlans[1]["rows"]["static_routes"]["waiting"], 1);
  EXPECT_EQ(vlans[1]["rows"]["instances"]["wanted"], 0) << "it is not there";
  const std::string metrics = Read(Ask().Metrics());
  EXPECT_THAT(metrics, HasSubstr("\nvantacore_static_routes_waiting 2\n"));
  EXPECT_THAT(metrics, HasSubstr("\nvantacore_rows_wanted{kind=\"static_routes\"} 3\n"));
}

TEST_F(Summary, CountsWhatWasRefused) {
  StartWithARefusedRoute();
  EXPECT_THAT(
      Text(10),
      HasSubstr(
          "static routes                  1           0           0           1           1\n"));
  const Json::Value summary = Object();
  EXPECT_EQ(summary["all"]["rows"]["static_routes"]["refused"], 1);
  EXPECT_EQ(summary["vlans"].size(), 1u);
  EXPECT_EQ(summary["vlans"][0]["vlan"], 10);
  EXPECT_EQ(summary["vlans"][0]["rows"], summary["all"]["rows"]);
  EXPECT_EQ(summary["vlans"][0]["routes"]["ipv4"]["static"]["candidates"], 0);
  EXPECT_EQ(summary["vlans"][0]["interfaces"]["up"], 1);
  EXPECT_TRUE(Object(10)["all"].isNull());
}

TEST_F(Summary, CountsRowsAndRulesOfProtocols) {
  const std::string protocol = R"("a": {"vid": 10, "RIPV2": {"enabled": true, "IF_LIST": {
    "r": {"Name": "RIP_10_3"}}}, "REDISTRIBUTION": {"bgp": false, "ospf": false)";
  const std::string other =
      R"(, "b": {"vid": 20, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false}})";
  StartWith(protocol + "}}" + other);
  EXPECT_THAT(
      Text(10),
      HasSubstr(
          "protocol rows                  1           1           0           0           0\n"));
  EXPECT_THAT(
      Text(10),
      HasSubstr(
          "redistribution                 2           2           0           0           0\n"));
  Control().Hold();
  WriteVlans(protocol + R"(, "static": false}})" + other);
  m_reloader->Reload();
  ASSERT_TRUE(TurnUntil([this] { return Rules().CountUnderWay() == 1; }));
  const Json::Value rules = Object(10)["vlans"][0]["rows"]["redistribution_rules"];
  EXPECT_EQ(rules["wanted"], 1);
  EXPECT_EQ(rules["waiting"], 1);
  Control().Release();
  TurnUntilDone();
}

TEST_F(Summary, CountsRulesWhoseProtocolIsNotReady) {
  StartWith(R"("a": {"vid": 20})");
  Control().Hold();
  WriteVlans(R"("a": {"vid": 20}, "b": {"vid": 10, "RIPV2": {"enabled": true},
    "REDISTRIBUTION": {"bgp": false}})");
  Reload();
  ASSERT_TRUE(Rules().IsWaiting());
  const Json::Value rows = Object(10)["vlans"][0]["rows"];
  EXPECT_EQ(rows["redistribution_rules"]["wanted"], 3);
  EXPECT_EQ(rows["redistribution_rules"]["waiting"], 3);
  EXPECT_EQ(rows["redistribution_rules"]["as_wanted"], 0);
  EXPECT_EQ(Object(20)["vlans"][0]["rows"]["redistribution_rules"]["wanted"], 0);
  Control().Release();
}

// They differ, and wait for nothing that is under way.
TEST_F(Summary, CountsRulesThatWereRefused) {
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"bgp": false}})");
  Script(routing_stack::RowType::kRedistribution, {routing_stack::Answer::kStatus, WRONG_VALUE, 0});
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return m_starts == 1 && m_reloader->IsSettled(); }));
  const Json::Value rules = Object(10)["vlans"][0]["rows"]["redistribution_rules"];
  EXPECT_EQ(rules["wanted"], 3);
  EXPECT_EQ(rules["as_wanted"], 0);
  EXPECT_EQ(rules["waiting"], 0);
  EXPECT_EQ(rules["differing"], 3);
  EXPECT_EQ(rules["refused"], 3);
}

// It differs, and what is wanted is there all the same.
TEST_F(Summary, CountsWhatNobodyWants) {
  const std::string other = R"("s": {"interface": "eth0", "network": "10.8.0.0",
    "netmask": "255.255.0.0", "gateway": "10.1.2.1"})";
  std::string both = WITH_ROUTE;
  both.insert(both.size() - 2, ", " + other);
  StartWith(both);
  Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, WRONG_VALUE, 0});
  WriteVlans(WITH_ROUTE);
  Reload();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 1; }));
  const Json::Value summary = Object();
  for (const Json::Value& scope : {summary["all"], summary["vlans"][0]}) {
    const Json::Value& routes = scope["rows"]["static_routes"];
    EXPECT_EQ(routes["wanted"], 1);
    EXPECT_EQ(routes["as_wanted"], 1);
    EXPECT_EQ(routes["differing"], 1);
    EXPECT_EQ(routes["refused"], 1);
  }
}

TEST_F(Summary, CountsWhatWaits) {
  StartWith(WITH_ROUTE);
  Control().Hold();
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
    {"name": "eth1", "vlan": 10, "index": 4, "up": false}]})");
  WriteVlans(R"("a": {"vid": 10})");
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return m_reloader->GetKnowledge().CountOpen() != 0; }));
  const Json::Value rows = Object(10)["vlans"][0]["rows"];
  EXPECT_EQ(rows["interfaces"]["wanted"], 2);
  EXPECT_EQ(rows["interfaces"]["waiting"], 1);
  EXPECT_EQ(rows["interfaces"]["as_wanted"], 1);
  EXPECT_EQ(rows["addresses"]["waiting"], 1);
  EXPECT_EQ(rows["addresses"]["as_wanted"], 1);
  EXPECT_EQ(rows["static_routes"]["wanted"], 0);
  EXPECT_EQ(rows["static_routes"]["waiting"], 1);
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Object(10)["vlans"][0]["interfaces"]["down"], 1);
  EXPECT_EQ(Object(10)["vlans"][0]["rows"]["interfaces"]["as_wanted"], 2);
}

// What is to go waits as well, and is nothing that is wanted.
TEST_F(Summary, CountsWhatStaysAsWantedWhileOthersGo) {
  constexpr const char* STAYS = R"("x": {"interface": "eth0", "network": "10.8.0.0",
    "netmask": "255.255.0.0", "gateway": "10.1.2.1"})";
  constexpr const char* GOES = R"(, "y": {"interface": "eth0", "network": "10.7.0.0",
    "netmask": "255.255.0.0", "gateway": "10.1.2.1"})";
  const auto entry = [](const std::string& routes) {
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  };
  StartWith(entry(std::string(STAYS) + GOES));
  Control().Hold();
  WriteVlans(entry(STAYS));
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return m_reloader->GetKnowledge().CountOpen() != 0; }));
  const Json::Value routes = Object(10)["vlans"][0]["rows"]["static_routes"];
  EXPECT_EQ(routes["wanted"], 1);
  EXPECT_EQ(routes["waiting"], 1);
  EXPECT_EQ(routes["as_wanted"], 1);
  Control().Release();
}

TEST_F(Summary, CountsInterfacesAndAddressesThatAreToGo) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.2.0.1/16"}]})");
  StartWith(R"("a": {"vid": 10}, "b": {"vid": 20})");
  Control().Hold();
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
  WriteVlans(R"("a": {"vid": 10})");
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return Object()["all"]["rows"]["instances"]["waiting"] == 2; }));
  const Json::Value rows = Object()["all"]["rows"];
  EXPECT_EQ(rows["instances"]["as_wanted"], 2);
  EXPECT_EQ(rows["interfaces"]["waiting"], 1);
  EXPECT_EQ(rows["interfaces"]["wanted"], 1);
  EXPECT_EQ(rows["interfaces"]["as_wanted"], 1);
  EXPECT_EQ(rows["addresses"]["waiting"], 1);
  EXPECT_EQ(rows["addresses"]["as_wanted"], 1);
  Control().Release();
}

TEST_F(Summary, CountsNoProtocolRowThatIsToGoAsWanted) {
  const auto entry = [](const std::string& peers) {
    return R"("a": {"vid": 10, "BGP": {"PEERS": {"p": {"Name": "BGP_10_1", "as": 65001,
      "address": "10.1.0.7"})" +
           peers + "}}}";
  };
  StartWith(entry(R"(, "q": {"Name": "BGP_10_2", "as": 65001, "address": "10.1.0.8"})"));
  EXPECT_EQ(Object(10)["vlans"][0]["rows"]["protocol_rows"]["wanted"], 2);
  Script(routing_stack::RowType::kProtocol, {routing_stack::Answer::kNever, 0, 0}, 1);
  WriteVlans(entry(""));
  Reload();
  ASSERT_TRUE(TurnUntil(
      [this] { return Object(10)["vlans"][0]["rows"]["protocol_rows"]["waiting"] == 1; }));
  const Json::Value rows = Object(10)["vlans"][0]["rows"]["protocol_rows"];
  EXPECT_EQ(rows["wanted"], 1);
  EXPECT_EQ(rows["as_wanted"], 1);
  EXPECT_THAT(Read(Ask().Requests(10, Format::TEXT)),
              HasSubstr("? VLAN 10: row 2 of table 1\n    is to go, no answer yet, for "));
}

// The stack has interfaces of VLANs that are not there.
TEST_F(Summary, CountsInterfacesWithoutTheirVlan) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 20, "index": 4, "ipv4": "10.2.0.1/16", "up": false}]})");
  StartWith(WITH_ROUTE);
  const Json::Value summary = Object();
  EXPECT_EQ(summary["all"]["rows"]["interfaces"]["as_wanted"], 2);
  EXPECT_EQ(summary["all"]["rows"]["addresses"]["as_wanted"], 2);
  EXPECT_EQ(summary["all"]["rows"]["instances"]["wanted"], 2);
  EXPECT_EQ(summary["all"]["interfaces"]["down"], 1);
  ASSERT_EQ(summary["vlans"].size(), 2u);
  EXPECT_EQ(summary["vlans"][1]["vlan"], 20);
  EXPECT_EQ(summary["vlans"][1]["rows"]["interfaces"]["wanted"], 1);
}

// Each VLAN is in the totals once, and no piece is large.
TEST_F(Summary, IsWrittenInPieces) {
  constexpr unsigned int VLANS = 500;
  std::string entries;
  for (unsigned int i = 1; i <= VLANS; ++i) {
    entries += (i == 1 ? "" : ",") + ("\"v" + std::to_string(i)) +
               "\": {\"vid\": " + std::to_string(i) + "}";
  }
  StartWith(entries);
  const Json::Value summary = Object();
  ASSERT_EQ(summary["vlans"].size(), VLANS);
  EXPECT_EQ(summary["vlans"][VLANS - 1]["vlan"].asUInt(), VLANS);
  EXPECT_EQ(summary["all"]["rows"]["instances"]["wanted"].asUInt(), 2 * VLANS);
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("\n  500          0 "));
  EXPECT_LE(LongestLine(text), 80u);
}

}  // namespace
