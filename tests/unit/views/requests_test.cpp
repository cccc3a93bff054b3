#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/views/requests_view.h"
#include "tests/unit/views/state_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using views::Format;

class Requests : public views_test::StateFixture {
 protected:
  std::string Text(std::optional<unsigned short> vlan = {}) {
    return Read(Ask().Requests(vlan, Format::TEXT));
  }
  Json::Value Object(std::optional<unsigned short> vlan = {}) {
    return ReadJson(Ask().Requests(vlan, Format::JSON));
  }
  const std::string WITH_RULE = R"("a": {"vid": 10, "RIPV2": {"enabled": true},
    "REDISTRIBUTION": {"bgp": false, "ospf": false, "static": false}})";
  /// So many routes of the VLAN, without its braces.
  static std::string Routes(unsigned int vlan, unsigned int count) {
    std::string routes;
    for (unsigned int i = 0; i < count; ++i) {
      routes += (i == 0 ? "\"r" : ", \"r") + std::to_string(i) +
                R"(": {"interface": "eth0", "network": "10.)" + std::to_string(100 + i / 250) +
                "." + std::to_string(i % 250) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": )" + std::to_string(vlan) + R"(, "STATIC_ROUTES": {)" + routes + "}}";
  }
};

TEST_F(Requests, AreNoneWhereNothingWaits) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(Text(), "Nothing waits\n");
  const Json::Value requests = Object();
  EXPECT_EQ(requests["view"], "requests");
  EXPECT_EQ(requests["requests"].size(), 0u);
  EXPECT_EQ(requests["not_shown"], 0);
  EXPECT_EQ(requests["totals"]["refused"], 0);
}

TEST_F(Requests, TellWhatWasRefused) {
  StartWithARefusedRoute();
  ASSERT_TRUE(TurnUntil([this] {
    return m_reloader->GetKnowledge().GetDifferences().GetAll().begin()->second.repeats == 2;
  }));
  ASSERT_TRUE(TurnUntil([this] {
    return !m_reloader->GetKnowledge().GetDifferences().GetAll().begin()->second.isAsked;
  }));
  EXPECT_THAT(Text(), MatchesRegex("! VLAN 10: route 10.9.0.0/16 via 10.1.2.1 on eth0\n"
                                   "    is missing in the stack: wrong value \\(status 3\\), "
                                   "for 00:00:03,\n"
                                   "    asked again 2 times, next try in 4 s\n"
                                   "1 refused\n"));
  EXPECT_EQ(Text(20), "VLAN 20 is not present\n");
  const Json::Value requests = Object(10);
  ASSERT_EQ(requests["requests"].size(), 1u);
  const Json::Value request = requests["requests"][0];
  EXPECT_EQ(request["state"], "refused");
  EXPECT_EQ(request["vlan"], 10);
  EXPECT_EQ(request["count"], 1);
  EXPECT_EQ(request["status"], 3);
  EXPECT_EQ(request["since_seconds"], 3);
  EXPECT_EQ(request["repeats"], 2);
  EXPECT_EQ(request["next_seconds"], 4);
  EXPECT_EQ(requests["totals"]["refused"], 1);
}

TEST_F(Requests, OfAVlanTellHowManyAreInOthers) {
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Script(RowType::kRoute, {Answer::kStatus, WRONG_VALUE, 0});
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return m_starts == 1 && m_reloader->IsSettled(); }));
  EXPECT_EQ(Text(20),
            "Nothing waits in VLAN 20\n1 row in other VLANs (`requests vrf all` lists it)\n");
  EXPECT_THAT(Text(10), Not(HasSubstr("other VLANs")));
  EXPECT_THAT(Text(), Not(HasSubstr("other VLANs")));
  views::RouteQuery query;
  query.vlan = 20;
  query.state = views::RouteQuery::State::REFUSED;
  EXPECT_EQ(Read(Ask().Routes(query, Format::TEXT)),
            "No IPv4 route in VLAN 20 matches\n"
            "1 static route is refused in other VLANs (`requests vrf all` lists it)\n");
  query.state = views::RouteQuery::State::WAITING;
  EXPECT_EQ(Read(Ask().Routes(query, Format::TEXT)), "No IPv4 route in VLAN 20 matches\n");
  query.state = views::RouteQuery::State::REFUSED;
  query.vlan = 10;
  EXPECT_THAT(Read(Ask().Routes(query, Format::TEXT)), Not(HasSubstr("other VLANs")));
}

TEST_F(Requests, OfAVlanTellHowManyWaitInOthers) {
  StartWith(R"("a": {"vid": 10}, "b": {"vid": 20})");
  Control().Hold();
  WriteVlans(Routes(10, 300) + R"(, "b": {"vid": 20})");
  Reload();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetRoutes().CountOpen() == 300; }));
  EXPECT_EQ(Text(20),
            "Nothing waits in VLAN 20\n300 rows in other VLANs (`requests vrf all` lists them)\n");
  EXPECT_THAT(Text(10), Not(HasSubstr("other VLANs")));
  views::RouteQuery query;
  query.vlan = 20;
  query.state = views::RouteQuery::State::WAITING;
  EXPECT_EQ(Read(Ask().Routes(query, Format::TEXT)),
            "No IPv4 route in VLAN 20 matches\n"
            "300 static routes wait in other VLANs (`requests vrf all` lists them)\n");
  Control().Release();
}

TEST_F(Requests, TellWhatHasNoAnswer) {
  WriteVlans(WITH_ROUTE);
  Script(RowType::kRoute, {Answer::kNever, 0, 0}, 1);
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] {  // it has got past its routing table
    return m_reloader->GetKnowledge().GetRoutes().CountUnderWay() == 1 &&
           Object(10)["totals"]["under_way"] == 1;
  }));
  EXPECT_THAT(Text(10), HasSubstr("? VLAN 10: route 10.9.0.0/16 via 10.1.2.1 on eth0\n"
                                  "    no answer yet, for 00:00:"));
  EXPECT_THAT(Text(10), HasSubstr("1 under way\n"));
  EXPECT_EQ(Object()["requests"][0]["state"], "under_way");
  Control().Hold();
  EXPECT_THAT(Text(10), HasSubstr("    no answer: the stack is held, for "));
  Control().Release();
}

TEST_F(Requests, TellWhatIsAskedForAgain) {
  WriteVlans(WITH_ROUTE);
  Script(RowType::kRoute, {Answer::kStatus, 5, 0}, 1);
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return Object(10)["requests"][0]["status"] == 5; }));
  EXPECT_THAT(Text(10),
              HasSubstr("? VLAN 10: route 10.9.0.0/16 via 10.1.2.1 on eth0\n"
                        "    answered try again (status 5), is asked for again, for 00:"));
}

TEST_F(Requests, TellOfInterfacesAndAddressesWithoutAnAnswer) {
  StartWith(WITH_ROUTE);
  Control().Hold();
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
    {"name": "eth1", "vlan": 10, "index": 4}]})");
  Reload();
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("? VLAN 10: interface eth1\n    no answer: the stack is held"));
  EXPECT_THAT(text, HasSubstr("? VLAN 10: address 2001:db8::1 of interface eth0\n"));
  EXPECT_THAT(text, Not(HasSubstr("10.1.0.1 ")));
  EXPECT_THAT(text, HasSubstr("2 under way\n"));
  Control().Release();
}

// Each is told once, however many VLANs there are.
TEST_F(Requests, TellOfRulesWithoutAnAnswer) {
  constexpr unsigned int VLANS = 250;
  std::string vlans = WITH_RULE;
  for (unsigned int vlan = 11; vlan < 10 + VLANS; ++vlan) {
    vlans += ", \"v" + std::to_string(vlan) + R"(": {"vid": )" + std::to_string(vlan) + "}";
  }
  WriteVlans(vlans);
  Script(RowType::kRedistribution, {Answer::kNever, 0, 0});
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return Rules().CountUnderWay() == 1; }));
  ASSERT_TRUE(TurnUntil([this] { return Object()["requests"].size() == 1; }));
  EXPECT_THAT(Text(), StartsWith("? VLAN 10: redistribution of connected routes to RIPv2\n"
                                 "    no answer yet, for 00:00:0"));
  const Json::Value request = Object(10)["requests"][0];
  EXPECT_EQ(request["state"], "under_way");
  EXPECT_EQ(request["vlan"], 10);
  EXPECT_TRUE(request["status"].isNull());
}

TEST_F(Requests, TellOfRulesThatAreTriedAgain) {
  WriteVlans(WITH_RULE);
  Script(RowType::kRedistribution, {Answer::kStatus, 5, 0}, 3);
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return Rules().CountRetried() == 1; }));
  EXPECT_THAT(Text(),
              HasSubstr("    answered try again (status 5), is asked for again, for 00:00:0"));
  EXPECT_EQ(Object()["requests"][0]["status"], 5);
}

TEST_F(Requests, TellOfRulesWhoseProtocolIsNotReady) {
  StartWith(R"("a": {"vid": 20})");
  Control().Hold();
  WriteVlans(R"("a": {"vid": 20}, )" + ("\"b\"" + WITH_RULE.substr(3)));
  Reload();
  ASSERT_TRUE(Rules().IsWaiting());
  const std::string waiting =
      "? VLAN 10: redistribution to RIPv2\n    waits until the protocol is ready\n";
  EXPECT_THAT(Text(10), HasSubstr(waiting));
  EXPECT_THAT(Text(20), Not(HasSubstr("redistribution")));
  const Json::Value requests = Object(10);
  EXPECT_EQ(requests["totals"]["lacking"], 1);
  for (const Json::Value& request : requests["requests"]) {
    EXPECT_EQ(request["vlan"], 10);
    EXPECT_EQ(request["state"] == "lacking", request["what"] == "VLAN 10: redistribution to RIPv2");
  }
  Control().Release();
}

TEST_F(Requests, TellOfRulesThatAreWithdrawn) {
  StartWith(WITH_RULE);
  Control().Hold();
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}})");
  m_reloader->Reload();
  ASSERT_TRUE(TurnUntil([this] { return Rules().CountUnderWay() == 1; }));
  EXPECT_THAT(Text(), StartsWith("? VLAN 10: redistribution of connected routes to RIPv2\n"
                                 "    is to go, no answer: the stack is held, for 00:00:0"));
  Control().Release();
}

TEST_F(Requests, TellOfProtocolRowsWithoutAnAnswer) {
  StartWith(R"("a": {"vid": 10, "RIPV2": {"enabled": true}})");
  Script(RowType::kProtocol, {Answer::kNever, 0, 0});
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true, "IF_LIST": {
    "r": {"Name": "RIP_10_3"}}}})");
  Reload();
  EXPECT_THAT(Text(10),
              StartsWith("? VLAN 10: row 3 of table 6\n    no answer yet, for 00:00:00\n"));
  const Json::Value request = Object()["requests"][0];
  EXPECT_EQ(request["state"], "under_way");
  EXPECT_EQ(request["since_seconds"], 0);
}

TEST_F(Requests, TellOfProtocolRowsThatAreToBeAskedForAgain) {
  StartWith(R"("a": {"vid": 10, "RIPV2": {"enabled": true}})");
  Script(RowType::kProtocol, {Answer::kStatus, 5, 0}, 3);
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true, "IF_LIST": {
    "r": {"Name": "RIP_10_3"}}}})");
  m_reloader->Reload();
  ASSERT_TRUE(TurnUntil([this] {
    const Json::Value requests = Object(10)["requests"];
    return requests.size() == 1 && requests[0]["since_seconds"].isNull();
  }));
  EXPECT_EQ(Text(), "? VLAN 10: row 3 of table 6\n    no answer yet\n1 under way\n");
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Text(), "Nothing waits\n");
}

TEST_F(Requests, TellOfRoutesThatAreTriedAgain) {
  WriteVlans(WITH_ROUTE);
  Script(RowType::kRoute, {Answer::kStatus, 5, 0}, 3);
  BeginToStart();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetRoutes().CountRetried() == 1; }));
  EXPECT_THAT(Text(),
              HasSubstr("    answered try again (status 5), is asked for again, for 00:00:0"));
  EXPECT_EQ(Object()["requests"][0]["status"], 5);
}

TEST_F(Requests, TellOfWhatIsToGoWithoutAnAnswer) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
    {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.2.0.1/16"}]})");
  StartWith(R"("a": {"vid": 10}, "b": {"vid": 20})");
  Control().Hold();
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
  WriteVlans(R"("a": {"vid": 10})");
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return Object()["totals"]["under_way"] == 5; }));
  const std::string text = Text();
  for (const char* what : {"VLAN 20: IPv4 routing table", "VLAN 20: IPv6 routing table",
                           "VLAN 10: interface 4", "VLAN 10: address 10.2.0.1 of interface 4",
                           "VLAN 10: address 2001:db8::1 of interface eth0"}) {
    EXPECT_THAT(text, HasSubstr(std::string("? ") + what +
                                "\n    is to go, no answer: the stack is held, for "));
  }
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Text(), "Nothing waits\n");
}

// The stack has interfaces of VLANs that are not there.
TEST_F(Requests, TellOfInterfacesWithoutTheirVlan) {
  StartWith(WITH_ROUTE);
  Control().Hold();
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 20, "index": 4}]})");
  Reload();
  EXPECT_THAT(Text(), HasSubstr("? VLAN 20: interface eth1\n    no answer: the stack is held"));
  EXPECT_THAT(Text(10), Not(HasSubstr("interface")));
  Control().Release();
}

// A VLAN has so many under way and no more; the others are told together.
TEST_F(Requests, TellWhatIsToBeAsked) {
  StartWith(R"("a": {"vid": 10})");
  Control().Hold();
  WriteVlans(Routes(10, 2000));
  Reload();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetRoutes().CountUnderWay() != 0; }));
  for (int i = 0; i < 50; ++i) {
    TurnOnly();
  }
  const std::size_t underWay = m_reloader->GetKnowledge().GetRoutes().CountUnderWay();
  EXPECT_THAT(Text(), HasSubstr("? VLAN 10: " + std::to_string(2000 - underWay) +
                                " routes to be added\n    after the answers to " +
                                std::to_string(underWay) + " requests of the VLAN"));
  const Json::Value requests = Object();
  EXPECT_EQ(requests["totals"]["under_way"].asUInt64(), underWay);
  EXPECT_EQ(requests["totals"]["to_ask"].asUInt64(), 2000 - underWay);
  const Json::Value last = requests["requests"][requests["requests"].size() - 1];
  EXPECT_EQ(last["state"], "to_ask");
  EXPECT_EQ(last["count"].asUInt64(), 2000 - underWay);
  Control().Release();
}

TEST_F(Requests, ShowSoManyAndCountTheOthers) {
  WriteVlans(Routes(10, 1500));
  Script(RowType::kRoute, {Answer::kStatus, WRONG_VALUE, 0}, 100000);
  BeginToStart();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 1500; }));
  const std::string text = Text();
  EXPECT_EQ(std::count(text.begin(), text.end(), '!'), 1000);
  EXPECT_THAT(text, HasSubstr("\n500 more are not shown\n1500 refused\n"));
  EXPECT_LE(LongestLine(text), 80u);
  const Json::Value requests = Object();
  EXPECT_EQ(requests["requests"].size(), views::RequestsView::MOST_SHOWN);
  EXPECT_EQ(requests["not_shown"], 500);
  EXPECT_EQ(requests["totals"]["refused"], 1500);
}

TEST_F(Requests, TellWhatLacksAVlanOrAnInterface) {
  m_files.Write("remote/a.json", R"({"VLAN_CONFIGURATIONS": {"b": {"vid": 20, "STATIC_ROUTES": {
    "r": {"network": "10.7.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}}}})");
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES": {
    "r": {"interface": "eth7", "network": "10.9.0.0", "netmask": "255.255.0.0",
          "gateway": "10.1.2.1"},
    "s": {"interface": "eth7", "network": "10.8.0.0", "netmask": "255.255.0.0",
          "gateway": "10.1.2.1"}}})");
  EXPECT_EQ(Text(),
            "? VLAN 10: 2 configured routes\n"
            "    waiting for the interface eth7, which is not there\n"
            "? VLAN 20: 1 configured route\n"
            "    waiting for the VLAN, which is not there\n"
            "3 waiting for something that is not there\n");
  EXPECT_EQ(Text(10),
            "? VLAN 10: 2 configured routes\n"
            "    waiting for the interface eth7, which is not there\n"
            "2 waiting for something that is not there\n"
            "1 row in other VLANs (`requests vrf all` lists it)\n");
  EXPECT_EQ(Object(20)["totals"]["lacking"], 1);
  EXPECT_EQ(Object(20)["requests"][0]["state"], "lacking");
}

}  // namespace
