// `explain`, on a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <regex>
#include <string>
#include <vector>

#include "device/stack/upkeep.h"
#include "tests/unit/views/view_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using views::ExplainQuery;
using views::Format;
using views_test::BGP;

class ExplainWord : public views_test::ViewFixture {
 protected:
  explicit ExplainWord(const Settings& settings = {}) : ViewFixture(settings) {}

  std::string About(const char* text, Format format = Format::TEXT) {
    ExplainQuery query;
    query.vlan = 10;
    query.address = views::ReadAddress(text);
    query.prefix = views::ReadPrefix(text);
    const std::string answer = ViewFixture::Explain(query, format);
    if (format == Format::TEXT) {
      EXPECT_LE(Lines(answer).size(), 24u) << answer;
      for (const std::string& line : Lines(answer)) {
        EXPECT_LE(line.size(), 80u) << line;
      }
    }
    return answer;
  }
  static std::string One(const std::string& gateway = "10.1.2.1", const std::string& rest = "") {
    return Route("r", "20.1.0.0", "255.255.0.0", "\"gateway\": \"" + gateway + "\"" + rest);
  }
  void ReloadAndSettle(const std::string& entries) {
    WriteVlans(entries);
    Reload();
    ASSERT_TRUE(SettleAll());
  }
};

TEST_F(ExplainWord, TellsOfARouteThatHasJustBeenAskedFor) {
  StartWith(Entry(10, ""));
  Control().Hold();
  WriteVlans(Entry(10, One()));
  m_reloader->Reload();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetRoutes().CountUnderWay() == 1; }));
  EXPECT_THAT(About("20.1.0.0/16"), HasSubstr(", 00:00:00 ago\n"));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON), HasSubstr("\"age_seconds\":0}"));
  Control().Release();
  TurnUntilDone();
}

TEST_F(ExplainWord, TellsTheLifeOfARoute) {
  StartWith(Entry(10, One()));
  PutCandidate("20.1.0.0/16", BGP, 7);
  loop.AdvanceMilliseconds(65000);
  const std::string text = About("20.1.0.0/16");
  EXPECT_THAT(text, HasSubstr("20.1.0.0/16 in VLAN 10\n"
                              "Wanted       static via 10.1.2.1, metric 1\n"
                              "             vlans.json:1:68: "
                              "VLAN_CONFIGURATIONS.v10.STATIC_ROUTES.r\n"
                              "Asked        once, "));
  EXPECT_THAT(text,
              ContainsRegex("Asked        once, [0-9-]+ [0-9:]+Z, 00:01:05 ago\n"
                            "Answered     done .status 1., [0-9-]+ [0-9:]+Z, 00:01:05 ago\n"));
  EXPECT_THAT(text, HasSubstr("Candidates   > static [1/1] via 10.1.2.1 over eth0, 00:01:05\n"
                              "                 installed: the lowest distance\n"
                              "               bgp [200/5] via 10.1.0.7 over eth0, 00:01:05\n"
                              "                 lost: its distance is higher than 1\n"
                              "Handed on    to nobody\n"));
}

TEST_F(ExplainWord, TellsRefusalsAndHowOftenItWasAsked) {
  StartWith(Entry(10, ""));
  Control().Script(RowType::kRoute, {Answer::kStatus, 3, 0}, 100);
  ReloadAndSettle(Entry(10, One()));
  EXPECT_THAT(About("20.1.0.0/16"),
              AllOf(HasSubstr("Asked        once"), HasSubstr("wrong value (status 3), "),
                    HasSubstr("State        refused: wrong value (status 3), next try in 1 s\n"),
                    HasSubstr("Candidates   none\n")));
  ASSERT_TRUE(TurnUntil([this] {
    return About("20.1.0.0/16").find("Asked        2 times, the last time ") != std::string::npos;
  }));
  ASSERT_TRUE(TurnUntil([this] {
    return About("20.1.0.0/16").find("Answered     wrong value") != std::string::npos;
  }));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON),
              AllOf(HasSubstr("\"asked_count\":2,"), HasSubstr("\"reason\":\"refused\""),
                    HasSubstr("\"status\":3,")));
}

TEST_F(ExplainWord, TellsWhatHasNotBeenAnswered) {
  StartWith(Entry(10, ""));
  Control().Hold();
  WriteVlans(Entry(10, One()));
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return About("20.1.0.0/16").find("once") != std::string::npos; }));
  EXPECT_THAT(About("20.1.0.0/16"),
              AllOf(HasSubstr("Answered     not yet\n"),
                    HasSubstr("State        waits for the stack's answer\n")));
}

TEST_F(ExplainWord, TellsTheLongestMatchOfAnAddress) {
  StartWith(Entry(10, One() + "," +
                          Route("s", "20.1.1.0", "255.255.255.0",
                                R"("gateway": "10.1.2.1", "interface": "eth9")")));
  EXPECT_THAT(About("20.1.1.1"), HasSubstr("20.1.1.1: the longest match is 20.1.0.0/16 in VLAN 10\n"
                                           "20.1.1.0/24 is longer and not in use\n"));
  EXPECT_THAT(About("20.1.2.1"), Not(HasSubstr("not in use")));
  EXPECT_THAT(About("20.1.1.0/24"), HasSubstr("Asked        never\n"
                                              "State        waits for interface eth9\n"
                                              "Candidates   none\n"
                                              "             20.1.0.0/16 forwards what it holds\n"));
  EXPECT_EQ(About("9.9.9.9"), "No route to 9.9.9.9 in VLAN 10\n");
  EXPECT_EQ(About("9.9.9.0/24"), "9.9.9.0/24 in VLAN 10\nCandidates   none\n");
}

// A document's name of an interface that is not there may be any text. It begins no line.
TEST_F(ExplainWord, LetsNoNameEndItsLine) {
  StartWith(Entry(10, Route("s", "20.1.1.0", "255.255.255.0",
                            R"("gateway": "10.1.2.1", "interface": "e\nf\t9")")));
  EXPECT_THAT(About("20.1.1.0/24"),
              AllOf(HasSubstr("Wanted       static via 10.1.2.1 on e\\x0af\\x099, metric 1\n"
                              "             vlans.json:"),
                    HasSubstr("State        waits for interface e\\x0af\\x099\n")));
}

// The first address of a prefix may have a longer match.
TEST_F(ExplainWord, TellsWhatForwardsAPrefix) {
  StartWith(Entry(10, Route("a", "20.0.0.0", "255.0.0.0", R"("gateway": "10.1.2.1")") + "," +
                          Route("b", "20.1.0.0", "255.255.255.0", R"("gateway": "10.1.2.1")")));
  EXPECT_THAT(About("20.1.0.0/16"), HasSubstr("20.0.0.0/8 forwards what it holds\n"));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON), HasSubstr("\"forwarded_by\":\"20.0.0.0/8\""));
}

TEST_F(ExplainWord, TellsWhichAddressConnects) {
  StartWith(Entry(10, ""));
  EXPECT_THAT(About("10.1.2.3"), HasSubstr("Connected    interface eth0\n"
                                           "             device.json:2:56: interfaces[0].ipv4\n"
                                           "Candidates   > connected [0/0] over eth0, 00:00:00\n"
                                           "                 installed: the only one\n"));
  m_interfaces.ChangeAddress({10, 3},
                             {Tarsel::Ip4Addr(10, 5, 0, 1), Tarsel::Ip4Addr(255, 255, 0, 0)});
  ASSERT_TRUE(Settle());
  EXPECT_THAT(About("10.5.2.3"), HasSubstr("             no document says so\n"));
}

TEST_F(ExplainWord, TellsWhyAnAddressDoesNotConnect) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.2.0.1/16", "up": false}]})");
  StartWith(Entry(10, Route("d", "10.0.0.0", "255.0.0.0", R"("gateway": "10.1.2.1")")));
  EXPECT_EQ(About("10.2.0.0/16"),
            "10.2.0.0/16 in VLAN 10\n"
            "Connected    interface eth1\n"
            "             device.json:3:54: interfaces[1].ipv4\n"
            "             eth1 is down\n"
            "Candidates   none\n"
            "             10.0.0.0/8 forwards what it holds\n");
  EXPECT_THAT(About("10.2.3.4"), HasSubstr("10.2.3.4: the longest match is 10.0.0.0/8 in VLAN 10\n"
                                           "10.2.0.0/16 is longer and not in use\n"));
  EXPECT_THAT(About("10.2.0.0/16", Format::JSON), HasSubstr(R"("trouble_text":"eth1 is down")"));
  EXPECT_THAT(About("10.1.0.0/16"), Not(HasSubstr(" is down")));
}

TEST_F(ExplainWord, BendsWhatIsLongUnderItsBeginning) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "an-interface-with-a-very-long-name-of-its-own", "vlan": 10, "index": 3,
     "ipv6": ["2001:db8::1/64"]}]})");
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES6": {"r": {"prefix": 124,
    "network": "2001:db8:1111:2222:3333:4444:5555:6660", "gateway": "2001:db8::2"}}})");
  const std::string text = About("2001:db8:1111:2222:3333:4444:5555:6666");
  EXPECT_THAT(text,
              testing::StartsWith(
                  "2001:db8:1111:2222:3333:4444:5555:6666:\n"
                  "    the longest match is 2001:db8:1111:2222:3333:4444:5555:6660/124 in VLAN 10\n"
                  "Wanted "));
  EXPECT_THAT(text, HasSubstr("Candidates   > static [1/0] via 2001:db8::2 over\n"
                              "                 an-interface-with-a-very-long-name-of-its-own, "
                              "00:00:00\n"
                              "                 installed: the only one\n"));
}

TEST_F(ExplainWord, TellsOfAnAddressThatIsRefused) {
  StartWith(Entry(10, ""));
  Control().Script(RowType::kAddress, {Answer::kStatus, 3, 0}, 100);
  m_interfaces.ChangeAddress({10, 3},
                             {Tarsel::Ip4Addr(10, 5, 0, 1), Tarsel::Ip4Addr(255, 255, 0, 0)});
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(About("10.5.2.3"),
            "10.5.2.3: nothing forwards it, the longest match is 10.5.0.0/16 in VLAN 10\n"
            "Connected    interface eth0\n"
            "             no document says so\n"
            "             the address is refused: wrong value (status 3)\n"
            "Candidates   none\n");
}

TEST_F(ExplainWord, TellsWhatStandsBesideTheInstalledOne) {
  stack.GetUpkeep().SetMostNextHops(10, 2);
  StartWith(Entry(10, One() + "," +
                          Route("s", "20.1.0.0", "255.255.0.0", R"("gateway": "10.1.2.2")") + "," +
                          Route("t", "20.1.0.0", "255.255.0.0", R"("gateway": "10.1.2.3")")));
  const std::string text = About("20.1.0.0/16");
  EXPECT_THAT(text, HasSubstr("installed: the first of those that are equal\n"));
  EXPECT_THAT(text, HasSubstr("installed: equal to the first one, and beside it\n"));
  EXPECT_THAT(text, HasSubstr("lost: equal, and another one comes first\n"));
}

TEST_F(ExplainWord, TellsWhyCandidatesWonAndLost) {
  StartWith(Entry(10, One() + "," +
                          Route("s", "20.1.0.0", "255.255.0.0", R"("gateway": "10.1.2.2")") + "," +
                          Route("t", "20.1.0.0", "255.255.0.0",
                                R"("gateway": "10.1.2.3", "routemetricmode": "passthrough",
                                   "metric": 7)") +
                          "," + Route("u", "20.1.0.0", "255.255.0.0", R"("gateway": "10.3.2.3")")));
  const std::string text = About("20.1.0.0/16");
  EXPECT_THAT(text, HasSubstr("installed: the first of those that are equal\n"));
  EXPECT_THAT(text, HasSubstr("lost: equal, and another one comes first\n"));
  EXPECT_THAT(text, HasSubstr("lost: its metric is higher than 1\n"));
  EXPECT_THAT(text, HasSubstr("next hop not reached\n"));
  EXPECT_THAT(text, HasSubstr("and 2 more static routes\n"));
  const std::string json = About("20.1.0.0/16", Format::JSON);
  EXPECT_THAT(json, HasSubstr("\"route_count\":4"));
  EXPECT_THAT(json, HasSubstr("\"candidate_count\":4"));
}

// Moments are the machine's; how long ago they were is the device's.
class ExplainDocument : public ExplainWord {
 protected:
  std::string Document(const char* subject) {
    static const std::regex MOMENT(R"re("time":"([0-9-]+)T([0-9:]+)\.000Z")re");
    return std::regex_replace(About(subject, Format::JSON), MOMENT, R"("time":"M")");
  }
};

TEST_F(ExplainDocument, TellsEverything) {
  StartWith(Entry(10, One("10.1.2.1", R"(, "interface": "eth0")") + "," +
                          Route("s", "20.1.1.0", "255.255.255.0",
                                R"("gateway": "10.1.2.1", "interface": "eth9")")));
  PutCandidate("20.1.0.0/16", BGP, 7);
  loop.AdvanceMilliseconds(65000);
  EXPECT_EQ(
      Document("20.1.1.1"),
      R"({"view":"explain","vlan":10,"address":"20.1.1.1","prefix":"20.1.0.0/16",)"
      R"("forwarded_by":"20.1.0.0/16","longer_not_in_use":"20.1.1.0/24",)"
      R"("routes":[{"wanted":true,"next_hop":"10.1.2.1","interface":"eth0","metric":1,)"
      R"("origins":[{"file":"vlans.json","line":1,"column":68,)"
      R"("member":"VLAN_CONFIGURATIONS.v10.STATIC_ROUTES.r"}],)"
      R"("asked_count":1,"asked":{"time":"M","age_seconds":65},)"
      R"("answered":{"time":"M","age_seconds":65},)"
      R"x("status":1,"status_text":"done (status 1)","in_stack":true}],"route_count":1,)x"
      R"("addresses":[],"candidates":[)"
      R"({"protocol":"static","distance":1,"metric":1,"next_hop":"10.1.2.1","interface":"eth0",)"
      R"("age_seconds":65,"installed":true,"verdict":"installed: the lowest distance"},)"
      R"({"protocol":"bgp","distance":200,"metric":5,"next_hop":"10.1.0.7","interface":"eth0",)"
      R"("age_seconds":65,"installed":false,"verdict":"lost: its distance is higher than 1"}],)"
      R"("candidate_count":2,"handed_on":[]})"
      "\n");
  EXPECT_EQ(Document("20.1.1.0/24"),
            R"({"view":"explain","vlan":10,"prefix":"20.1.1.0/24","forwarded_by":"20.1.0.0/16",)"
            R"("routes":[{"wanted":true,"next_hop":"10.1.2.1","interface":"eth9","metric":1,)"
            R"("origins":[{"file":"vlans.json","line":1,"column":167,)"
            R"("member":"VLAN_CONFIGURATIONS.v10.STATIC_ROUTES.s"}],)"
            R"("asked_count":0,"in_stack":false,"reason":"interface_missing",)"
            R"("reason_text":"waits for interface eth9"}],"route_count":1,"addresses":[],)"
            R"("candidates":[],"candidate_count":0,"handed_on":[]})"
            "\n");
  EXPECT_EQ(
      Document("10.1.2.3"),
      R"({"view":"explain","vlan":10,"address":"10.1.2.3","prefix":"10.1.0.0/16",)"
      R"("forwarded_by":"10.1.0.0/16","routes":[],"route_count":0,)"
      R"("addresses":[{"interface":"eth0","origin":{"file":"device.json","line":2,"column":56,)"
      R"("member":"interfaces[0].ipv4"}}],)"
      R"("candidates":[{"protocol":"connected","distance":0,"metric":0,"interface":"eth0",)"
      R"("age_seconds":65,"installed":true,"verdict":"installed: the only one"}],)"
      R"("candidate_count":1,"handed_on":[]})"
      "\n");
  EXPECT_EQ(Document("9.9.9.9"),
            R"({"view":"explain","vlan":10,"address":"9.9.9.9","prefix":null,"forwarded_by":null,)"
            R"("routes":[],"route_count":0,"addresses":[],"candidates":[],"candidate_count":0,)"
            R"("handed_on":[]})"
            "\n");
}

TEST_F(ExplainDocument, TellsOfARefusedChange) {
  StartWith(Entry(10, One()));
  Control().Script(RowType::kRoute, {Answer::kStatus, 3, 0}, 100);
  ReloadAndSettle(Entry(10, One("10.1.2.1", R"(, "routemetricmode": "passthrough", "metric": 9)")));
  EXPECT_THAT(
      Document("20.1.0.0/16"),
      HasSubstr(R"x("status":3,"status_text":"wrong value (status 3)","in_stack":true,)x"
                R"("note":"change_refused",)"
                R"x("note_text":"metric 9 refused: wrong value (status 3), next try in 1 s",)x"
                R"("next_try_seconds":1}],"route_count":1,)"));
  ReloadAndSettle(Entry(10, ""));
  EXPECT_THAT(Document("20.1.0.0/16"),
              HasSubstr(R"("routes":[{"wanted":false,"next_hop":"10.1.2.1","metric":9,)"
                        R"("origins":[],"asked_count":3,)"));
  EXPECT_THAT(
      About("20.1.0.0/16"),
      AllOf(
          HasSubstr("Wanted       not any more: static via 10.1.2.1, metric 9\nAsked "),
          HasSubstr(
              "             leaves, removal refused: wrong value (status 3), next try in 1 s\n")));
}

// The clock of the machine says when that was.
TEST_F(ExplainWord, TellsTheMomentOfARequest) {
  StartWith(Entry(10, One()));
  loop.AdvanceMilliseconds(3600000);
  const std::string json = About("20.1.0.0/16", Format::JSON);
  const std::time_t now = std::time(nullptr);
  for (const std::string key : {R"("asked":{"time":")", R"("answered":{"time":")"}) {
    ASSERT_NE(json.find(key), std::string::npos);
    std::tm parts{};
    ASSERT_NE(strptime(json.c_str() + json.find(key) + key.size(), "%Y-%m-%dT%H:%M:%S", &parts),
              nullptr);
    EXPECT_LE(now - timegm(&parts), 3602);
    EXPECT_GE(now - timegm(&parts), 3598);
  }
}

TEST_F(ExplainWord, TellsOfAddressesOfIp6) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16",
     "ipv6": ["2001:db8:1::1/64", "2001:db8:2::1/64"]},
    {"name": "eth1", "vlan": 10, "index": 4, "ipv6": ["2001:db8:2::2/64"]},
    {"name": "eth2", "vlan": 20, "index": 5, "ipv6": ["2001:db8:2::3/64"]}]})");
  StartWith(Entry(10, "") + "," + Entry(20, ""));
  EXPECT_EQ(About("2001:db8:2::/64"),
            "2001:db8:2::/64 in VLAN 10\n"
            "Connected    interface eth0\n"
            "             device.json:3:35: interfaces[0].ipv6[1]\n"
            "Connected    interface eth1\n"
            "             device.json:4:55: interfaces[1].ipv6[0]\n"
            "Candidates   > connected [0/0] over eth0, 00:00:00\n"
            "                 installed: the first of those that are equal\n"
            "               connected [0/0] over eth1, 00:00:00\n"
            "                 lost: equal, and another one comes first\n"
            "Handed on    to nobody\n");
  EXPECT_EQ(About("2001:db8:3::/64"), "2001:db8:3::/64 in VLAN 10\nCandidates   none\n");
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(About("2001:db8:2::/64"),
              HasSubstr("Candidates   > connected [0/0] over eth1, 00:00:00\n"
                        "                 installed: the only one\n"));
}

TEST_F(ExplainWord, CountsWhatDoesNotFit) {
  for (const char* file : {"remote/a.json", "remote/b.json", "remote/c.json"}) {
    m_files.Write(file, R"({"VLAN_CONFIGURATIONS": {)" + Entry(10, One()) + "}}");
  }
  StartWith(Entry(10, One()));
  for (unsigned char host = 1; host <= 7; ++host) {
    PutCandidate("20.1.0.0/16", BGP, host, host);
  }
  const std::string text = About("20.1.0.0/16");
  EXPECT_THAT(text, HasSubstr("             and 2 more that do not count\n"));
  EXPECT_THAT(text, HasSubstr("bgp [200/5] via 10.1.0.5 over eth0, "));
  EXPECT_THAT(text, Not(HasSubstr("10.1.0.6")));
  EXPECT_THAT(text, HasSubstr("             and 2 more candidates\n"));
}

TEST_F(ExplainWord, TellsWhichMetricWon) {
  StartWith(Entry(10, ""));
  PutCandidate("30.0.0.0/8", BGP, 7, 5);
  PutCandidate("30.0.0.0/8", BGP, 8, 6);
  EXPECT_THAT(About("30.0.0.0/8"),
              AllOf(HasSubstr("installed: the lowest metric of that distance\n"),
                    HasSubstr("lost: its metric is higher than 5\n")));
}

TEST_F(ExplainWord, TellsOfEachDocument) {
  m_files.Write("remote/a.json", R"({"VLAN_CONFIGURATIONS": {)" + Entry(10, One()) + "}}");
  StartWith(Entry(10, One()));
  EXPECT_THAT(About("20.1.0.0/16"),
              AllOf(HasSubstr("             vlans.json:1:68: "),
                    HasSubstr("             also, and does not count: remote/a.json:1:68:")));
}

TEST_F(ExplainWord, TellsToWhomARouteIsHandedOn) {
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES": {)" + One() +
            R"(}, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false}})");
  EXPECT_THAT(About("20.1.0.0/16"), HasSubstr("Handed on    to RIPv2\n"));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON), HasSubstr("\"handed_on\":[\"RIPv2\"]"));
}

TEST_F(ExplainWord, IsRefusedForAVlanThatIsNotThere) {
  StartWith(Entry(10, ""));
  ExplainQuery query;
  query.vlan = 99;
  query.address = views::ReadAddress("10.1.2.3");
  const auto view = m_questions.Explain(query, Format::TEXT);
  EXPECT_EQ(Read(*view), "VLAN 99 is not present\n");
  EXPECT_TRUE(view->IsRefused());
}

const test_support::ScratchFolder& StateFolder() {
  static const test_support::ScratchFolder folder;
  return folder;
}

class ExplainRevision : public ExplainWord {
 protected:
  ExplainRevision() : ExplainWord(Settings{false, StateFolder().Path()}) {}
};

TEST_F(ExplainRevision, TellsSinceWhichRevision) {
  StartWith(Entry(10, One()));
  ReloadAndSettle(
      Entry(10, One() + "," + Route("s", "20.2.0.0", "255.255.0.0", R"("gateway": "10.1.2.1")")));
  EXPECT_THAT(About("20.1.0.0/16"),
              HasSubstr("             since revision 1 (2001-09-09 01:46:40Z, start)\n"));
  EXPECT_THAT(About("20.2.0.0/16"),
              HasSubstr("             since revision 2 (2001-09-09 01:46:40Z, reload)\n"));
  ReloadAndSettle(Entry(10, One("10.1.2.1", R"(, "routemetricmode": "passthrough", "metric": 9)")));
  EXPECT_THAT(About("20.1.0.0/16"), HasSubstr("since revision 3 "));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON), HasSubstr("\"revision\":3,"));
}

TEST_F(ExplainRevision, SaysWhoseFilesItMeans) {
  StartWith(Entry(10, One()));
  ReloadAndSettle(Entry(10, One("10.1.2.2")));
  EXPECT_THAT(About("20.1.0.0/16"), Not(HasSubstr("'s vlans.json")));
  m_reloader->Undo({}, 1);
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(About("20.1.0.0/16"), HasSubstr("             revision 3's vlans.json:1:68:"));
  EXPECT_THAT(About("20.1.0.0/16", Format::JSON), HasSubstr("\"places_of_revision\":3,"));
  EXPECT_THAT(About("10.1.0.0/16"), HasSubstr("             revision 3's device.json:2:56:"));
  ReloadAndSettle(Entry(10, One("10.1.2.2")));
  EXPECT_THAT(About("20.1.0.0/16"), Not(HasSubstr("'s vlans.json")));
}

}  // namespace
