// The software stack's routing tables, as views ask for them.

#include "device/ports/stack_tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "device/intent/redistribution_plan.h"
#include "device/stack/upkeep.h"
#include "device/views/no_tables.h"
#include "stack/sms.h"
#include "tests/support/device_fixture.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr unsigned int IP6_BIT = 0x8000;
constexpr const char* DEVICE = R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "RTM": {
    "dead_rpm_timer": 1, "ADMIN_DISTANCE": {"ospfv2_internal": 40, "ospfv2_external": 110,
    "ospfv3_internal": 41, "ospfv3_external": 111, "ripv2": 120, "ripng": 121, "ebgp": 20,
    "ibgp": 200}}}, "b": {"vid": 20}}})";

views::Prefix PrefixOf(const std::string& text) { return views::ReadPrefix(text).value(); }
views::Address AddressOf(const std::string& text) { return views::ReadAddress(text).value(); }

/// "10.9.0.0/16 static via 10.1.0.1 if 0/3 1/7 age 0 up reached installed": what was requested comes
/// before what is.
std::string TextOf(const views::Candidate& candidate) {
  const char* const protocols[] = {" connected", " static", " rip", " ospf", " bgp"};
  const documents::RouteTarget& target = candidate.target;
  return Describe(views::Prefix{{target.ip6, target.destination}, target.length}) +
         protocols[static_cast<int>(candidate.protocol)] + " via " +
         Describe(views::Address{target.ip6, target.gateway}) + " if " +
         std::to_string(candidate.requestedIfIndex) + "/" + std::to_string(candidate.ifIndex) +
         " " + std::to_string(candidate.distance) + "/" + std::to_string(candidate.metric) +
         " age " + std::to_string(candidate.ageSeconds) + (candidate.isUp ? " up" : " down") +
         (candidate.isReached ? " reached" : "") + (candidate.isInstalled ? " installed" : "");
}

Lines TextsOf(const std::vector<views::Candidate>& candidates) {
  Lines lines;
  std::transform(candidates.begin(), candidates.end(), std::back_inserter(lines), TextOf);
  return lines;
}

class StackTablesTest : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(DEVICE, "vlans.json");
    ASSERT_TRUE(Settle());
    sms_act_interface(4, 1, 10, 3, "eth", 0, 24, 0);
    const views::Address own = AddressOf("10.1.0.9");
    sms_act_ipaddr(1, 10, 1, 3, own.bytes.data(), 16);
    sms_act_interface(4, 1, 10 | IP6_BIT, 3, "eth", 0, 24, 0);
    const views::Address own6 = AddressOf("2001:db8:1::9");
    sms_act_ipaddr(1, 10 | IP6_BIT, 2, 3, own6.bytes.data(), 64);
    ASSERT_TRUE(Settle());
  }

  static void Route(const std::string& prefixText, const std::string& gateway,
                    unsigned short metric = 7, std::uint32_t ifIndex = 0, int adminStatus = 1) {
    const views::Prefix prefix = PrefixOf(prefixText);
    const bool ip6 = prefix.address.ip6;
    sms_update_route(1, 1, adminStatus, ip6 ? 2 : 1, prefix.address.bytes.data(), prefix.length,
                     AddressOf(gateway).bytes.data(), Tarsel::PATH_TYPE_STATIC, ifIndex,
                     static_cast<unsigned short>(ip6 ? 10 | IP6_BIT : 10), metric);
  }
  static routing_stack::Candidate Protocol(const std::string& prefixText, std::uint32_t proto) {
    const views::Prefix prefix = PrefixOf(prefixText);
    const views::Address gateway = AddressOf("10.1.0.1");
    routing_stack::Candidate candidate;
    candidate.instance = 10;
    candidate.proto = proto;
    candidate.prefixLength = prefix.length;
    candidate.metric = 5;
    std::copy(prefix.address.bytes.begin(), prefix.address.bytes.end(), candidate.destination);
    std::copy(gateway.bytes.begin(), gateway.bytes.end(), candidate.nextHop);
    return candidate;
  }
  std::string Longest(const std::string& address, bool isInstalled) const {
    const auto prefix = tables.FindLongest(10, AddressOf(address), isInstalled);
    return prefix ? Describe(*prefix) : "none";
  }

  const ports::StackTables tables{stack.GetFacts()};
};

TEST_F(StackTablesTest, ACandidateIsShownWithWhatDecides) {
  Route("10.9.0.0/16", "10.1.0.1");
  Route("10.9.0.0/16", "10.1.0.2", 3, 3, 2);
  Route("10.9.0.0/16", "172.16.0.1", 0);
  Control().PutCandidate(Protocol("10.9.0.0/16", 13));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TextsOf(tables.FindCandidates(10, PrefixOf("10.9.0.0/16"))),
              ElementsAre(testing::MatchesRegex("10.9.0.0/16 static via 10.1.0.1 if 0/3 1/7 age "
                                                "[0-9]+ up reached installed"),
                          testing::MatchesRegex("10.9.0.0/16 ospf via 10.1.0.1 if 0/3 110/5 age "
                                                "[0-9]+ up reached"),
                          testing::MatchesRegex("10.9.0.0/16 static via 172.16.0.1 if 0/0 1/0 age "
                                                "[0-9]+ up"),
                          testing::MatchesRegex("10.9.0.0/16 static via 10.1.0.2 if 3/3 1/3 age "
                                                "[0-9]+ down reached")));
  const auto installed = tables.FindInstalled(10, PrefixOf("10.9.0.0/16"));
  ASSERT_TRUE(installed);
  EXPECT_THAT(TextsOf({*installed}), ElementsAre(testing::HasSubstr("via 10.1.0.1 ")));
  EXPECT_FALSE(tables.FindInstalled(10, PrefixOf("10.8.0.0/15")));
  EXPECT_FALSE(tables.FindInstalled(20, PrefixOf("10.9.0.0/16")));
  EXPECT_THAT(tables.FindCandidates(20, PrefixOf("10.9.0.0/16")), IsEmpty());
  EXPECT_THAT(tables.FindCandidates(10, PrefixOf("2001:db8:1::/64")), testing::SizeIs(1));
}

TEST_F(StackTablesTest, TheAgeIsThatOfTheInstallationIfThereIsOne) {
  Route("10.9.0.0/16", "10.1.0.1");
  Route("10.9.0.0/16", "10.1.0.2", 8);
  ASSERT_TRUE(Settle());
  loop.AdvanceMilliseconds(100000);
  sms_update_route(1, 6, 2, 1, PrefixOf("10.9.0.0/16").address.bytes.data(), 16,
                   AddressOf("10.1.0.1").bytes.data(), Tarsel::PATH_TYPE_STATIC, 0, 10, 0);
  Route("10.9.0.0/16", "10.1.0.3", 9);
  ASSERT_TRUE(Settle());
  loop.AdvanceMilliseconds(50000);
  const auto candidates = tables.FindCandidates(10, PrefixOf("10.9.0.0/16"));
  ASSERT_EQ(2u, candidates.size());
  ASSERT_TRUE(candidates[0].isInstalled);
  EXPECT_GE(candidates[0].ageSeconds, 50u);
  EXPECT_LT(candidates[0].ageSeconds, 100u) << "it came before, and was not installed";
  EXPECT_GE(candidates[1].ageSeconds, 50u);
  EXPECT_LT(candidates[1].ageSeconds, 100u);
}

TEST_F(StackTablesTest, OneBesideTheInstalledOneForwardsToo) {
  Route("10.9.0.0/16", "10.1.0.1");
  Route("10.9.0.0/16", "10.1.0.2");
  Route("10.9.0.0/16", "10.1.0.3");
  stack.GetUpkeep().SetMostNextHops(10, 2);
  ASSERT_TRUE(Settle());
  const auto candidates = tables.FindCandidates(10, PrefixOf("10.9.0.0/16"));
  ASSERT_EQ(3u, candidates.size());
  EXPECT_TRUE(candidates[0].isInstalled && !candidates[0].isBeside);
  EXPECT_TRUE(candidates[1].isInstalled && candidates[1].isBeside);
  EXPECT_FALSE(candidates[2].isInstalled || candidates[2].isBeside);
  EXPECT_EQ(candidates[0].target.gateway,
            tables.FindInstalled(10, PrefixOf("10.9.0.0/16"))->target.gateway);
}

TEST_F(StackTablesTest, SlicesGoOnAfterACandidateThatHasGone) {
  for (int i = 0; i < 20; ++i) {
    Route("10.9." + std::to_string(i) + ".0/24", "10.1.0.1", 7, i % 2 == 0 ? 0 : 3);
    Route("2001:db8:9:" + std::to_string(i) + "::/64", "2001:db8:1::1");
  }
  Control().PutCandidate(Protocol("10.9.4.0/24", 14));
  Control().PutCandidate(Protocol("10.9.4.0/24", 8));
  ASSERT_TRUE(Settle());
  for (const bool ip6 : {false, true}) {
    const Lines whole = TextsOf(tables.ReadCandidates(10, ip6, nullptr, 100));
    EXPECT_EQ(ip6 ? 21u : 23u, whole.size());
    Lines lines;
    std::vector<views::Candidate> slice = tables.ReadCandidates(10, ip6, nullptr, 3);
    while (!slice.empty()) {
      EXPECT_LE(slice.size(), 3u);
      const Lines texts = TextsOf(slice);
      lines.insert(lines.end(), texts.begin(), texts.end());
      const views::Candidate last = slice.back();
      slice = tables.ReadCandidates(10, ip6, &last, 3);
    }
    EXPECT_EQ(whole, lines);
  }
  const auto bgp = tables.ReadCandidatesFrom(10, PrefixOf("10.9.4.0/24"), 3).at(2);
  ASSERT_EQ(views::Protocol::BGP, bgp.protocol);
  ASSERT_TRUE(Control().RemoveCandidate(Protocol("10.9.4.0/24", 14)));
  EXPECT_EQ(5, tables.ReadCandidates(10, false, &bgp, 1).at(0).target.destination[2]);
}

TEST_F(StackTablesTest, ASliceBeginsAtThePrefixOrAfterIt) {
  Route("10.9.0.0/16", "10.1.0.1");
  Route("10.9.3.0/24", "10.1.0.1");
  ASSERT_TRUE(Settle());
  const auto from = [this](const char* prefix) {
    const auto slice = tables.ReadCandidatesFrom(10, PrefixOf(prefix), 1);
    return slice.empty() ? "none" : TextOf(slice[0]).substr(0, 11);
  };
  EXPECT_EQ("10.1.0.0/16", from("0.0.0.0/0"));
  EXPECT_EQ("10.9.0.0/16", from("10.9.0.0/16"));
  EXPECT_EQ("10.9.3.0/24", from("10.9.0.0/17"));
  EXPECT_EQ("none", from("10.9.3.0/25"));
}

TEST_F(StackTablesTest, TheLongestMatchIsThatOfTheFamily) {
  Route("0.0.0.0/0", "10.1.0.1");
  Route("10.9.3.0/24", "172.16.0.1");
  Route("2001:db8:9::/48", "2001:db8:1::1");
  ASSERT_TRUE(Settle());
  EXPECT_EQ("10.9.3.0/24", Longest("10.9.3.77", false));
  EXPECT_EQ("0.0.0.0/0", Longest("10.9.3.77", true));
  EXPECT_EQ("2001:db8:9::/48", Longest("2001:db8:9::1", true));
  EXPECT_EQ("none", Longest("2001:db8:a::1", false));
  EXPECT_FALSE(tables.FindLongest(20, AddressOf("10.9.3.77"), false));
}

TEST_F(StackTablesTest, CountsAreThoseOfTheVlanAndItsFamilyAndOfAll) {
  Route("10.9.0.0/16", "10.1.0.1");
  Route("10.9.3.0/24", "172.16.0.1");
  Control().PutCandidate(Protocol("10.9.3.0/24", 8));
  Control().PutCandidate(Protocol("10.9.4.0/24", 13));
  Control().PutCandidate(Protocol("10.9.0.0/16", 14));
  Route("2001:db8:9::/48", "2001:db8:1::1");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(tables.Count(10, false).candidates, ElementsAre(1u, 2u, 1u, 1u, 1u));
  EXPECT_THAT(tables.Count(10, false).installed, ElementsAre(1u, 1u, 1u, 1u, 0u));
  EXPECT_THAT(tables.Count(10, true).candidates, ElementsAre(1u, 1u, 0u, 0u, 0u));
  EXPECT_THAT(tables.Count(20, false).candidates, ElementsAre(0u, 0u, 0u, 0u, 0u));
  EXPECT_THAT(tables.CountAll().candidates, ElementsAre(2u, 3u, 1u, 1u, 1u));
  EXPECT_THAT(tables.CountAll().installed, ElementsAre(2u, 2u, 1u, 1u, 0u));
}

TEST_F(StackTablesTest, TheRulesOfAnInstanceThatAreUpAreHandedOn) {
  const auto rule = [](unsigned int instance, std::uint32_t source, std::uint32_t destination,
                       bool isUp = true) {
    sms_act_cipr_redist(1, isUp ? 1 : 2, static_cast<int>(source), static_cast<int>(destination),
                        instance, 0);
  };
  for (std::uint32_t source = 1; source <= 40; ++source) {
    rule(10, source, 1);  // of no protocol that has routes here
  }
  rule(10, intent::CODE_CONNECTED, intent::CODE_OSPF);
  rule(10, intent::CODE_BGP, intent::CODE_OSPF);
  rule(10, intent::CODE_STATIC, intent::CODE_OSPF, false);
  rule(10 | IP6_BIT, intent::CODE_RIP, intent::CODE_BGP);
  rule(20, intent::CODE_STATIC, intent::CODE_RIP);
  ASSERT_TRUE(Settle());
  const auto handed = [this](unsigned short vlan, bool ip6) {
    Lines lines;
    for (const views::HandedOn& one : tables.ReadHandedOn(vlan, ip6)) {
      lines.push_back(std::to_string(static_cast<int>(one.source)) + " to " +
                      std::to_string(one.destination >> 16));
    }
    return lines;
  };
  EXPECT_THAT(handed(10, false), ElementsAre("0 to 13", "4 to 13"));
  EXPECT_THAT(handed(10, true), ElementsAre("2 to 14"));
  EXPECT_THAT(handed(20, false), ElementsAre("1 to 8"));
  EXPECT_THAT(handed(20, true), IsEmpty());
}

// No rule can come before those of its IPv4 instance.
TEST_F(StackTablesTest, TheRulesOfVlan0AreHandedOn) {
  Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 0}, "b": {"vid": 10}}})", "vlans.json");
  ASSERT_TRUE(Settle());
  for (std::uint32_t source = 1; source <= 40; ++source) {  // more than is read at a time
    sms_act_cipr_redist(1, 1, static_cast<int>(source), 1, 0, 0);
  }
  sms_act_cipr_redist(1, 1, intent::CODE_STATIC, intent::CODE_OSPF, 0, 0);
  sms_act_cipr_redist(1, 1, intent::CODE_STATIC, intent::CODE_RIP, 10, 0);
  ASSERT_TRUE(Settle());
  const std::vector<views::HandedOn> rules = tables.ReadHandedOn(0, false);
  ASSERT_EQ(1u, rules.size());
  EXPECT_EQ(views::Protocol::STATIC, rules[0].source);
  EXPECT_EQ(intent::CODE_OSPF, rules[0].destination);
  EXPECT_THAT(tables.ReadHandedOn(0, true), IsEmpty());
}

TEST_F(StackTablesTest, RequestsAndRestartsAreCounted) {
  const std::uint64_t before = tables.CountRequests();
  Route("10.9.0.0/16", "10.1.0.1");
  EXPECT_EQ(before + 1, tables.CountRequests());
  EXPECT_EQ(0u, tables.CountRestarts());
  Control().Restart();
  EXPECT_EQ(1u, tables.CountRestarts());
  EXPECT_THAT(tables.CountAll().candidates, ElementsAre(0u, 0u, 0u, 0u, 0u));
}

TEST(NoTables, AHostWhoseStackTellsNothingBeginsWithEmptyAnswers) {
  const views::NoTables none;
  EXPECT_THAT(none.ReadCandidates(10, false, nullptr, 10), IsEmpty());
  EXPECT_THAT(none.ReadCandidatesFrom(10, PrefixOf("0.0.0.0/0"), 10), IsEmpty());
  EXPECT_THAT(none.FindCandidates(10, PrefixOf("0.0.0.0/0")), IsEmpty());
  EXPECT_FALSE(none.FindInstalled(10, PrefixOf("0.0.0.0/0")));
  EXPECT_FALSE(none.FindLongest(10, AddressOf("10.0.0.1"), false));
  EXPECT_THAT(none.Count(10, false).candidates, testing::Each(0u));
  EXPECT_THAT(none.CountAll().installed, testing::Each(0u));
  EXPECT_THAT(none.ReadHandedOn(10, false), IsEmpty());
  EXPECT_EQ(0u, none.CountRestarts());
  EXPECT_EQ(0u, none.CountRequests());
}

}  // namespace
