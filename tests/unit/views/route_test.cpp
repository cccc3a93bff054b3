// Rows of `route` and `route6`, on a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stack/sms.h"
#include "tests/unit/views/view_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using views::Format;
using views::RouteQuery;
using views_test::BGP;
using views_test::OSPF;

class RouteWord : public views_test::ViewFixture {
 protected:
  static std::string Via(const std::string& gateway, const std::string& rest = "") {
    return R"("gateway": ")" + gateway + "\"" + rest;
  }
  static std::string Metric(unsigned int metric) {
    return R"(, "routemetricmode": "passthrough", "metric": )" + std::to_string(metric);
  }
  static std::string Wide(const std::string& name, const std::string& network,
                          const std::string& rest) {
    return Route(name, network, "255.255.0.0", rest);
  }
  void WriteTwoInterfaces() {
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
      {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.2.0.1/16", "up": false}]})");
  }
  /// Of VLAN 10, without the connected route.
  std::vector<std::string> StaticRows() {
    RouteQuery query = All();
    query.protocol = views::Protocol::STATIC;
    return Lines(Routes(query));
  }
  std::vector<std::string> RowsOf(RouteQuery::State state) {
    RouteQuery query = All();
    query.state = state;
    return Lines(Routes(query));
  }
  /// A reload of which the stack hears nothing yet.
  void ReloadInVain(const std::string& entries) {
    Control().Hold();
    WriteVlans(entries);
    Reload();
    for (int i = 0; i < 10; ++i) {
      Turn();
    }
  }
  void ReloadAndSettle(const std::string& entries) {
    WriteVlans(entries);
    Reload();
    ASSERT_TRUE(SettleAll());
  }
  /// What the stack hears from somebody else: a route to 20.`second`.0.0/16 comes or goes.
  void TellStack(unsigned char second, bool comes, bool isUp = true) {
    const unsigned char network[16] = {20, second};
    const unsigned char gateway[16] = {10, 1, 2, 1};
    sms_update_route(1, comes ? 1 : 6, isUp ? 1 : 2, 1, network, 16, gateway, comes ? 196608 : 0, 0,
                     10, comes ? 1 : 0);
    ASSERT_TRUE(Settle());
  }
};

TEST_F(RouteWord, ShowsEachCandidateAndWhyItIsNotInstalled) {
  WriteTwoInterfaces();
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1")) + "," +
                          Wide("b", "20.2.0.0", Via("10.2.2.1")) + "," +
                          Wide("c", "20.3.0.0", Via("10.3.2.1")) + "," +
                          Wide("d", "10.1.0.0", Via("10.1.2.1")) + "," +
                          Wide("e", "20.4.0.0", Via("10.1.2.1", R"(, "interface": "eth9")")) + "," +
                          Wide("f", "20.1.0.0", Via("10.1.2.2")) + "," +
                          Wide("g", "20.5.0.0", Via("10.2.2.1", R"(, "interface": "eth1")"))));
  PutCandidate("20.1.0.0/16", BGP, 7);
  loop.AdvanceMilliseconds(65000);
  EXPECT_EQ(Routes(All()),
            "> 10.1.0.0/16        [0/0]     -               eth0     00:01:05 connected\n"
            "  10.1.0.0/16        [1/1]     10.1.2.1        eth0     00:01:05 static\n"
            "    beaten by connected [0/0]\n"
            "> 20.1.0.0/16        [1/1]     10.1.2.1        eth0     00:01:05 static\n"
            "  20.1.0.0/16        [1/1]     10.1.2.2        eth0     00:01:05 static\n"
            "    beaten by static [1/1] via 10.1.2.1\n"
            "  20.1.0.0/16        [200/5]   10.1.0.7        eth0     00:01:05 bgp\n"
            "    beaten by static [1/1]\n"
            "  20.2.0.0/16        [1/1]     10.2.2.1        eth1     00:01:05 static\n"
            "    interface eth1 down\n"
            "  20.3.0.0/16        [1/1]     10.3.2.1        -        00:01:05 static\n"
            "    next hop not reached\n"
            "? 20.4.0.0/16        [-/1]     10.1.2.1        eth9     -        static\n"
            "    waits for interface eth9\n"
            "  20.5.0.0/16        [1/1]     10.2.2.1        eth1     00:01:05 static\n"
            "    interface eth1 down\n");
}

TEST_F(RouteWord, ShowsJson) {
  StartWith(Entry(10, Wide("a", "20.4.0.0", Via("10.1.2.1", R"(, "interface": "e\"9")"))));
  PutCandidate("10.1.0.0/16", BGP, 7);
  EXPECT_EQ(
      Routes(All(), Format::JSON),
      "{\"view\":\"route\",\"family\":\"ipv4\",\"routes\":[\n"
      R"({"vlan":10,"prefix":"10.1.0.0/16","protocol":"connected","state":"installed",)"
      R"("distance":0,"metric":0,"interface":"eth0","interface_index":3,"age_seconds":0},)"
      "\n"
      R"({"vlan":10,"prefix":"10.1.0.0/16","protocol":"bgp","state":"candidate",)"
      R"("distance":200,"metric":5,"next_hop":"10.1.0.7","interface":"eth0","interface_index":3,)"
      R"("age_seconds":0,"reason":"beaten","reason_text":"beaten by connected [0/0]",)"
      R"("beaten_by":{"protocol":"connected","distance":0,"metric":0}},)"
      "\n"
      R"({"vlan":10,"prefix":"20.4.0.0/16","protocol":"static","state":"waiting","metric":1,)"
      R"("next_hop":"10.1.2.1","interface":"e\"9","reason":"interface_missing",)"
      R"("reason_text":"waits for interface e\"9"}]})"
      "\n");
}

// A document's name of an interface that is not there may be any text. It begins no row.
TEST_F(RouteWord, LetsNoNameEndItsRow) {
  const char* const name = R"("gateway": "10.1.2.1", "interface": "e\n> 0.0.0.0/0\t\u202e")";
  StartWith(Entry(10, Wide("a", "20.4.0.0", name)));
  RouteQuery query = All();
  query.protocol = views::Protocol::STATIC;
  EXPECT_EQ(Routes(query),
            "? 20.4.0.0/16\n"
            "    [-/1]     10.1.2.1                         -        -        static\n"
            "    e\\x0a> 0.0.0.0/0\\x09\\xe2\\x80\\xae\n"
            "    waits for interface e\\x0a> 0.0.0.0/0\\x09\\xe2\\x80\\xae\n");
  EXPECT_THAT(Routes(query, Format::JSON),
              HasSubstr(R"("interface":"e\\x0a> 0.0.0.0/0\\x09\\xe2\\x80\\xae",)"));
}

TEST_F(RouteWord, ShowsIp6) {
  WriteTwoInterfaces();
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES6": {
    "r": {"network": "2001:db8:10:20::", "prefix": 64, "gateway": "2001:db8::ff"},
    "s": {"network": "2001:db8:1111:2222:3333:4444:5555:6666", "prefix": 128,
          "gateway": "2001:db8:0:0:aaaa:bbbb:cccc:dddd"}}})");
  EXPECT_EQ(Routes(All(true)),
            "> 2001:db8::/64          [0/0]    -                   eth0    00:00:00 connected\n"
            "> 2001:db8:10:20::/64    [1/0]    2001:db8::ff        eth0    00:00:00 static\n"
            "> 2001:db8:1111:2222:3333:4444:5555:6666/128\n"
            "    [1/0]     2001:db8::aaaa:bbbb:cccc:dddd    eth0     00:00:00 static\n");
}

TEST_F(RouteWord, TellsWhatWaits) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1"))));
  ReloadInVain(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1") + Metric(7)) + "," +
                             Wide("b", "20.2.0.0", Via("10.1.2.1"))));
  EXPECT_THAT(RowsOf(RouteQuery::State::WAITING),
              ElementsAre("> 20.1.0.0/16        [1/1]     10.1.2.1        eth0     00:00:00 static",
                          "    metric 7 waits for the stack",
                          "? 20.2.0.0/16        [-/1]     10.1.2.1        -        -        static",
                          "    waits for the stack's answer"));
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Routes([] {
              RouteQuery query = All();
              query.state = RouteQuery::State::WAITING;
              return query;
            }()),
            "No IPv4 route in VLAN 10 matches\n");
}

TEST_F(RouteWord, TellsWhatIsToBeAskedFor) {
  StartWith(Entry(10, ""));
  std::string routes;
  for (int i = 0; i < 100; ++i) {
    for (int j = 0; j < 60; ++j) {
      routes += (routes.empty() ? "" : ",") +
                Route(std::to_string(i) + "." + std::to_string(j),
                      "20." + std::to_string(i) + "." + std::to_string(j) + ".0", "255.255.255.0",
                      Via("10.1.2.1"));
    }
  }
  ReloadInVain(Entry(10, routes));
  RouteQuery query = All();
  query.prefix = views::ReadPrefix("20.99.59.0/24");
  EXPECT_EQ(Routes(query),
            "? 20.99.59.0/24      [-/1]     10.1.2.1        -        -        static\n"
            "    is to be asked for\n");
}

TEST_F(RouteWord, TellsWhatLeaves) {
  StartWith(Entry(
      10, Wide("a", "20.1.0.0", Via("10.1.2.1")) + "," + Wide("b", "20.2.0.0", Via("10.1.2.1"))));
  ReloadInVain(Entry(10, Wide("b", "20.2.0.0", Via("10.1.2.1"))));
  EXPECT_THAT(RowsOf(RouteQuery::State::WAITING),
              ElementsAre(HasSubstr("> 20.1.0.0/16 "), "    leaves, removal waits for the stack"));
}

TEST_F(RouteWord, TellsWhatIsKept) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1"))));
  ReloadAndSettle(Entry(10, Wide("a", "20.1.0.0", Via("10.3.2.1"))));
  EXPECT_THAT(StaticRows(), ElementsAre(HasSubstr("> 20.1.0.0/16        [1/1]     10.1.2.1 "),
                                        "    leaves when another route can take its place, at the "
                                        "latest in 60 s",
                                        HasSubstr("  20.1.0.0/16        [1/1]     10.3.2.1 "),
                                        "    next hop not reached"));
  EXPECT_THAT(Routes(All(), Format::JSON),
              HasSubstr(R"("note":"kept","note_text":"leaves when another route can take its )"
                        R"(place, at the latest in 60 s","leaves_in_seconds":60})"));
}

TEST_F(RouteWord, TellsWhatWasRefused) {
  StartWith(Entry(
      10, Wide("b", "20.2.0.0", Via("10.1.2.1")) + "," + Wide("c", "20.3.0.0", Via("10.1.2.1"))));
  Control().Script(RowType::kRoute, {Answer::kStatus, 3, 0}, 100);
  ReloadAndSettle(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1")) + "," +
                                Wide("b", "20.2.0.0", Via("10.1.2.1") + Metric(7))));
  EXPECT_THAT(RowsOf(RouteQuery::State::REFUSED),
              ElementsAre("! 20.1.0.0/16        [-/1]     10.1.2.1        -        -        static",
                          "    refused: wrong value (status 3), next try in 1 s",
                          HasSubstr("> 20.2.0.0/16        [1/1]     10.1.2.1 "),
                          "    metric 7 refused: wrong value (status 3), next try in 1 s",
                          HasSubstr("> 20.3.0.0/16 "),
                          "    leaves, removal refused: wrong value (status 3), next try in 1 s"));
  RouteQuery query = All();
  query.state = RouteQuery::State::REFUSED;
  EXPECT_THAT(Routes(query, Format::JSON),
              HasSubstr(R"("state":"refused","metric":1,"next_hop":"10.1.2.1","reason":"refused",)"
                        R"("reason_text":"refused: wrong value (status 3), next try in 1 s",)"
                        R"x("status":3,"status_text":"wrong value (status 3)",)x"
                        R"("next_try_seconds":1})"));
}

TEST_F(RouteWord, TellsWhatTheStackHasOfItself) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1"))));
  TellStack(2, true);
  TellStack(1, false);
  EXPECT_THAT(StaticRows(), ElementsAre(HasSubstr("? 20.1.0.0/16 "), "    missing in the stack",
                                        HasSubstr("> 20.2.0.0/16 "), "    not configured"));
}

TEST_F(RouteWord, TellsWhatIsSwitchedOff) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1"))));
  TellStack(1, true, false);
  EXPECT_THAT(StaticRows(), ElementsAre(HasSubstr("  20.1.0.0/16        [1/1]     10.1.2.1 "),
                                        "    switched off"));
}

TEST_F(RouteWord, TellsWhatTheVlanLacks) {
  m_files.Write("remote/r.json", R"({"VLAN_CONFIGURATIONS": {)" +
                                     Entry(30, Wide("a", "20.1.0.0", Via("10.1.2.1"))) + "}}");
  Control().ScriptVlan(RowType::kRtm, 20, {Answer::kStatus, 3, 0}, 100000);
  WriteVlans(Entry(10, "") + "," + Entry(20, Wide("a", "20.1.0.0", Via("10.1.2.1"))));
  BeginToStart();
  TurnUntilDone();
  RouteQuery query;
  query.protocol = views::Protocol::STATIC;
  EXPECT_EQ(Routes(query),
            "VLAN 20\n"
            "? 20.1.0.0/16        [-/1]     10.1.2.1        -        -        static\n"
            "    waits for the routing table of VLAN 20\n"
            "\n"
            "VLAN 30\n"
            "? 20.1.0.0/16        [-/1]     10.1.2.1        -        -        static\n"
            "    waits for VLAN 30\n");
}

TEST_F(RouteWord, ShowsTheLongestMatch) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1")) + "," +
                          Route("b", "20.0.0.0", "255.0.0.0", Via("10.1.2.1")) + "," +
                          Route("c", "20.1.1.0", "255.255.255.0", Via("10.3.2.1")) + "," +
                          Route("d", "0.0.0.0", "0.0.0.0", Via("10.1.2.1")) + "," +
                          Route("e", "20.1.1.1", "255.255.255.255",
                                Via("10.1.2.1", R"(, "interface": "eth9")"))));
  const auto match = [this](const char* address, std::optional<RouteQuery::State> state = {}) {
    RouteQuery query = All();
    query.address = views::ReadAddress(address);
    query.state = state;
    const std::string text = Routes(query);
    return text.substr(2, text.find(' ', 2) - 2);
  };
  EXPECT_EQ(match("20.1.1.1"), "20.1.0.0/16");  // what is longer does not forward
  EXPECT_EQ(match("20.2.1.1"), "20.0.0.0/8");
  EXPECT_EQ(match("8.8.8.8"), "0.0.0.0/0");
  EXPECT_EQ(match("20.1.1.1", RouteQuery::State::WAITING), "20.1.1.1/32");
  ReloadAndSettle(Entry(10, Route("c", "20.1.1.0", "255.255.255.0", Via("10.3.2.1")) + "," +
                                Route("e", "20.1.1.1", "255.255.255.255",
                                      Via("10.1.2.1", R"(, "interface": "eth9")"))));
  EXPECT_EQ(match("20.1.1.1"), "20.1.1.1/32");
  EXPECT_EQ(match("20.1.1.2"), "20.1.1.0/24");
  RouteQuery query = All();
  query.address = views::ReadAddress("8.8.8.8");
  EXPECT_EQ(Routes(query), "No IPv4 route to 8.8.8.8 in VLAN 10\n");
  EXPECT_EQ(Routes(query, Format::JSON),
            "{\"view\":\"route\",\"family\":\"ipv4\",\"routes\":[]}\n");
}

TEST_F(RouteWord, FindsAPrefixAndThoseWithinIt) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1")) + "," +
                          Route("b", "20.1.128.0", "255.255.128.0", Via("10.1.2.1")) + "," +
                          Route("c", "0.0.0.0", "0.0.0.0", Via("10.1.2.1")) + "," +
                          Wide("d", "20.2.0.0", Via("10.1.2.1"))));
  RouteQuery query = All();
  query.prefix = views::ReadPrefix("20.1.0.0/16");
  EXPECT_THAT(Lines(Routes(query)), ElementsAre(HasSubstr("20.1.0.0/16")));
  query.isLonger = true;
  EXPECT_THAT(Lines(Routes(query)),
              ElementsAre(HasSubstr("20.1.0.0/16"), HasSubstr("20.1.128.0/17")));
  query.prefix = views::ReadPrefix("0.0.0.0/0");
  query.isLonger = false;
  EXPECT_THAT(Lines(Routes(query)), ElementsAre(HasSubstr("0.0.0.0/0")));
  query.prefix = views::ReadPrefix("30.0.0.0/8");
  query.isLonger = true;
  EXPECT_EQ(Routes(query), "No IPv4 route within 30.0.0.0/8 in VLAN 10\n");
}

TEST_F(RouteWord, CountsInASummary) {
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1")) + "," +
                          Wide("b", "20.2.0.0", Via("10.1.2.1", R"(, "interface": "eth9")"))));
  PutCandidate("20.1.0.0/16", BGP, 7);
  PutCandidate("20.3.0.0/16", OSPF, 7);
  RouteQuery query = All();
  query.isSummary = true;
  EXPECT_EQ(Routes(query),
            "protocol       routes  installed    waiting    refused\n"
            "connected           1          1          0          0\n"
            "static              2          1          1          0\n"
            "rip                 0          0          0          0\n"
            "ospf                1          1          0          0\n"
            "bgp                 1          0          0          0\n"
            "all                 5          3          1          0\n");
  query.protocol = views::Protocol::BGP;
  EXPECT_THAT(Routes(query, Format::JSON),
              HasSubstr(R"("all":{"routes":1,"installed":0,"waiting":0,"refused":0}})"));
}

TEST_F(RouteWord, IsRefusedForAnInterfaceThatIsNotThere) {
  WriteTwoInterfaces();
  StartWith(Entry(10, Wide("a", "20.1.0.0", Via("10.1.2.1", R"(, "interface": "eth8")"))) + "," +
            Entry(20, ""));
  const auto ask = [this](const std::string& interface, std::optional<unsigned short> vlan,
                          bool isSummary = false, Format format = Format::TEXT) {
    RouteQuery query;
    query.vlan = vlan;
    query.interface = interface;
    query.isSummary = isSummary;
    const views::AnyView view = m_questions.Routes(query, format);
    const std::string text = Read(*view);
    return (view->IsRefused() ? "refused: " : "") + text;
  };
  EXPECT_EQ(ask("eth9", 10), "refused: Interface eth9 is not present in VLAN 10\n");
  EXPECT_EQ(ask("eth0", 20), "refused: Interface eth0 is not present in VLAN 20\n");
  EXPECT_EQ(ask("eth9", {}), "refused: Interface eth9 is not present\n");
  EXPECT_EQ(ask("eth9", 10, true), "refused: Interface eth9 is not present in VLAN 10\n");
  EXPECT_EQ(ask("eth9", 10, false, Format::JSON),
            "refused: {\"view\":\"route\",\"passed\":false,"
            "\"refused\":\"Interface eth9 is not present in VLAN 10\"}\n");
  EXPECT_EQ(ask("eth1", 10), "No IPv4 route in VLAN 10 matches\n") << "it is there";
  EXPECT_THAT(ask("eth8", 10), HasSubstr("    waits for interface eth8")) << "a route says so";
}

TEST_F(RouteWord, IsRefusedForAVlanThatIsNotThere) {
  StartWith(Entry(10, ""));
  RouteQuery query = All();
  query.vlan = 99;
  const auto view = m_questions.Routes(query, Format::TEXT);
  EXPECT_EQ(Read(*view), "VLAN 99 is not present\n");
  EXPECT_TRUE(view->IsRefused());
  const auto document = m_questions.Routes(query, Format::JSON);
  EXPECT_THAT(Read(*document), HasSubstr(R"("refused":"VLAN 99 is not present")"));
  EXPECT_TRUE(document->IsRefused());
  EXPECT_FALSE(m_questions.Routes(All(), Format::TEXT)->IsRefused());
}

}  // namespace
