#include "device/rows/differences.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/unit/rows/fake_keeper.h"

namespace {

using rows::Describe;
using rows::DescribeStatus;
using rows::Row;
using rows::Standing;
using rows_test::RouteNumber;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = Standing::Kind;

Standing Missing(unsigned int status = 0) { return {Kind::MISSING, 0, status}; }

class Differences : public testing::Test {
 protected:
  Differences() {
    turns.time.AdvanceMilliseconds(500);  // a clock need not begin at 0
  }

  // Differs, for the keeper and as a difference.
  void Differ(const Row& row, const Standing& standing) {
    keeper.rows[row] = standing;
    differences.Note(row, standing);
  }
  // What a stack does that takes the request and refuses it.
  void RefuseAtOnce() {
    keeper.whenAsked = [this](const Row& row) { differences.Note(row, keeper.rows[row]); };
  }
  std::vector<std::uint64_t> TimesOfRepeats(std::uint64_t milliseconds) {
    std::vector<std::uint64_t> times;
    for (std::uint64_t i = 0; i < milliseconds; ++i) {
      const std::size_t before = keeper.asked.size();
      turns.Turn();
      turns.Turn();
      if (keeper.asked.size() != before) {
        times.push_back(i);
      }
      turns.time.AdvanceMilliseconds(1);
    }
    return times;
  }

  rows_test::Turns turns;
  rows_test::FakeStackPort port{turns.time};
  rows_test::FakeKeeper keeper;
  std::vector<std::string> lines;
  rows::Differences differences{turns.loop.Get(), port,
                                [this](const std::string& line) { lines.push_back(line); },
                                [this](const Row&) -> rows::Keeper& { return keeper; }};
  const Row ROUTE = RouteNumber(10, 9);
};

TEST_F(Differences, TellsWhenOneBeginsAndWhenItEnds) {
  Differ(ROUTE, Missing(3));
  EXPECT_THAT(lines, ElementsAre("VLAN 10: route 10.0.9.0/24 via 10.1.2.1 is missing in the stack: "
                                 "wrong value (status 3)"));
  lines.clear();
  differences.Note(ROUTE, Missing(5));
  differences.Heard(ROUTE);
  turns.Run(10);
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_EQ(differences.GetAll().at(ROUTE).standing.status, 3u);  // as the keeper has it
  keeper.rows.clear();
  differences.Heard(ROUTE);
  EXPECT_TRUE(differences.HasHeard());
  EXPECT_EQ(differences.Count(), 1u);
  turns.Turn();
  EXPECT_FALSE(differences.HasHeard());
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(lines, ElementsAre("VLAN 10: route 10.0.9.0/24 via 10.1.2.1 is as wanted now"));
}

TEST_F(Differences, TellsThatWhatIsNotWantedHasGone) {
  Differ(ROUTE, {Kind::UNWANTED, 0, 0});
  keeper.rows.clear();
  differences.Heard(ROUTE);
  turns.Turn();
  EXPECT_THAT(lines,
              ElementsAre("VLAN 10: route 10.0.9.0/24 via 10.1.2.1 is still in the stack",
                          "VLAN 10: route 10.0.9.0/24 via 10.1.2.1 is gone from the stack now"));
}

TEST_F(Differences, BeginWithWhatIsHeard) {
  differences.Heard(ROUTE);
  turns.Turn();
  EXPECT_EQ(differences.Count(), 0u);
  keeper.rows[ROUTE] = {Kind::UNDER_WAY, 0, 0};
  differences.Heard(ROUTE);
  turns.Turn();
  EXPECT_EQ(differences.Count(), 0u);
  keeper.rows[ROUTE] = {Kind::OTHER, 0, 0};
  differences.Heard(ROUTE);
  turns.Turn();
  EXPECT_EQ(differences.Count(), 1u);
  EXPECT_THAT(lines, ElementsAre("VLAN 10: route 10.0.9.0/24 via 10.1.2.1 has other values in the "
                                 "stack"));
}

TEST_F(Differences, AreOnlyRowsThatDiffer) {
  differences.Note(ROUTE, Standing());
  differences.Note(ROUTE, {Kind::UNDER_WAY, 0, 0});
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_EQ(differences.Find(ROUTE), nullptr);
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Differences, LookOnceAtWhatIsHeardOfOften) {
  for (int i = 0; i < 1000; ++i) {
    differences.Heard(ROUTE);
  }
  turns.Run(5);
  EXPECT_EQ(keeper.looks, 1u);
}

TEST_F(Differences, AreAskedForAgainAfterASecondAndThenLessAndLessOften) {
  RefuseAtOnce();
  Differ(ROUTE, Missing(3));
  EXPECT_THAT(TimesOfRepeats(200000),
              ElementsAre(1000, 3000, 7000, 15000, 31000, 63000, 123000, 183000));
  EXPECT_EQ(differences.GetAll().at(ROUTE).repeats, 8u);
  EXPECT_EQ(differences.GetAll().at(ROUTE).since, 500u);
  EXPECT_FALSE(differences.GetAll().at(ROUTE).isAsked);
  EXPECT_THAT(lines, SizeIs(1));
}

// The pauses of others, however long they have become, are not its own.
TEST_F(Differences, AreEachAskedForInTheirOwnTime) {
  RefuseAtOnce();
  Differ(ROUTE, Missing(3));
  EXPECT_THAT(TimesOfRepeats(10000), ElementsAre(1000, 3000, 7000));
  Differ(RouteNumber(20, 1), Missing(3));
  EXPECT_THAT(TimesOfRepeats(10000), ElementsAre(1000, 3000, 5000, 7000))
      << "the third is of the first route";
}

// The time is measured from the answer on.
TEST_F(Differences, AreNotAskedForAgainBeforeTheAnswer) {
  Differ(ROUTE, Missing());
  keeper.whenAsked = [this](const Row& row) { keeper.rows[row].kind = Kind::UNDER_WAY; };
  EXPECT_THAT(TimesOfRepeats(50000), ElementsAre(1000));
  EXPECT_TRUE(differences.GetAll().at(ROUTE).isAsked);
  keeper.rows[ROUTE] = Missing(5);
  differences.Note(ROUTE, Missing(5));
  EXPECT_FALSE(differences.GetAll().at(ROUTE).isAsked);
  EXPECT_THAT(TimesOfRepeats(10000), ElementsAre(2000));
}

// A keeper may know that there will be no answer, and tell nobody.
TEST_F(Differences, AreAskedForAgainIfTheAnswerIsLost) {
  Differ(ROUTE, Missing());
  EXPECT_THAT(TimesOfRepeats(8000), ElementsAre(1000, 3000, 7000));
}

TEST_F(Differences, EndByThemselvesAtTheNextLook) {
  Differ(ROUTE, Missing());
  keeper.rows.clear();
  turns.Run(999);
  EXPECT_EQ(differences.Count(), 1u);
  turns.Run(1);
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(keeper.asked, IsEmpty());
  EXPECT_THAT(lines, SizeIs(2));
}

TEST_F(Differences, AreAllLookedAtWhenEverythingIs) {
  differences.LookAtAll();
  EXPECT_FALSE(differences.HasHeard()) << "there are none";
  constexpr unsigned int COUNT = 3 * rows::Differences::LOOKS_A_TURN;
  for (unsigned int i = 0; i < COUNT; ++i) {
    Differ(RouteNumber(10, i), Missing(3));
  }
  lines.clear();
  keeper.rows.erase(RouteNumber(10, 0));
  keeper.rows.erase(RouteNumber(10, 300));
  keeper.rows.erase(RouteNumber(10, COUNT - 1));
  turns.Run(10);
  EXPECT_THAT(lines, IsEmpty()) << "nothing was heard of them";
  differences.LookAtAll();
  EXPECT_TRUE(differences.HasHeard());
  turns.Turn();
  EXPECT_TRUE(differences.HasHeard()) << "a turn looks at a slice";
  turns.Run(10);
  EXPECT_FALSE(differences.HasHeard());
  EXPECT_THAT(lines, SizeIs(3));
  EXPECT_EQ(differences.Count(), COUNT - 3);
  EXPECT_THAT(keeper.asked, IsEmpty()) << "none is due";
}

TEST_F(Differences, WaitForAtMostSoManyRepeatsOfAVlan) {
  for (unsigned int i = 0; i < 40; ++i) {
    Differ(RouteNumber(10, i), Missing(5));
  }
  Differ(RouteNumber(20, 1), Missing(5));
  keeper.whenAsked = [this](const Row& row) { keeper.rows[row].kind = Kind::UNDER_WAY; };
  turns.Run(3000);
  EXPECT_THAT(keeper.asked, SizeIs(rows::Differences::REPEATS_A_VLAN + 1));
  EXPECT_EQ(keeper.asked.front(), Describe(RouteNumber(10, 0)));
  EXPECT_EQ(keeper.asked.back(), Describe(RouteNumber(20, 1)));
  // Each answer lets one of the same VLAN in, whatever the answer is.
  keeper.rows.erase(RouteNumber(20, 1));
  differences.Heard(RouteNumber(20, 1));
  turns.Run(10);
  EXPECT_THAT(keeper.asked, SizeIs(16));
  keeper.rows[RouteNumber(10, 3)] = Missing(5);
  differences.Note(RouteNumber(10, 3), Missing(5));
  turns.Run(10);
  EXPECT_THAT(keeper.asked, SizeIs(17));
  EXPECT_EQ(keeper.asked.back(), Describe(RouteNumber(10, 15)));
  keeper.rows.erase(RouteNumber(10, 4));
  differences.Heard(RouteNumber(10, 4));
  turns.Run(10);
  EXPECT_THAT(keeper.asked, SizeIs(18));
  EXPECT_EQ(keeper.asked.back(), Describe(RouteNumber(10, 16)));
}

// A VLAN's routes may be waiting for its instance, which must not wait behind them.
TEST_F(Differences, HoldRoutesAndRulesBackOnly) {
  for (unsigned int i = 0; i < 40; ++i) {
    Differ(RouteNumber(10, i), Missing(5));
  }
  keeper.whenAsked = [this](const Row& row) { keeper.rows[row].kind = Kind::UNDER_WAY; };
  turns.Run(1500);
  ASSERT_THAT(keeper.asked, SizeIs(rows::Differences::REPEATS_A_VLAN));
  keeper.asked.clear();
  Differ(rows::RuleRow{{10, false, intent::CODE_BGP}, intent::CODE_STATIC}, Missing());
  const std::vector<Row> others = {rows::InstanceRow{10, false}, rows::InterfaceRow{10, 3},
                                   rows::AddressRow{10, 3, false, {10, 1, 0, 1}},
                                   rows::ProtocolRow{10, 1, "1"}};
  std::vector<std::string> expected;
  for (const Row& row : others) {
    Differ(row, Missing());
    expected.push_back(Describe(row));
  }
  turns.Run(1500);
  EXPECT_EQ(keeper.asked, expected);
  for (const Row& row : others) {  // nor does their end make a place
    keeper.rows.erase(row);
    differences.Heard(row);
  }
  turns.Run(10);
  EXPECT_EQ(keeper.asked, expected);
}

// Those that turn out to be as wanted, or under way, or that end while they wait, must not leave a
// place empty.
TEST_F(Differences, LetTheNextInWhenOneNeedsNoRepeat) {
  for (unsigned int i = 0; i < 40; ++i) {
    Differ(RouteNumber(10, i), Missing(5));
  }
  keeper.whenAsked = [this](const Row& row) { keeper.rows[row].kind = Kind::UNDER_WAY; };
  turns.Run(1001);
  ASSERT_THAT(keeper.asked, SizeIs(15));
  keeper.rows.erase(RouteNumber(10, 15));
  keeper.rows[RouteNumber(10, 16)].kind = Kind::UNDER_WAY;
  keeper.rows.erase(RouteNumber(10, 17));
  differences.Heard(RouteNumber(10, 17));
  turns.Run(10);
  ASSERT_THAT(keeper.asked, SizeIs(15));
  keeper.rows.erase(RouteNumber(10, 0));
  differences.Heard(RouteNumber(10, 0));
  turns.Run(10);
  EXPECT_THAT(keeper.asked, SizeIs(16));
  EXPECT_EQ(keeper.asked.back(), Describe(RouteNumber(10, 18)));
}

TEST_F(Differences, GetTheirTurnHoweverManyAVlanHas) {
  std::map<Row, unsigned int> repeats;
  keeper.whenAsked = [&](const Row& row) {
    ++repeats[row];
    differences.Note(row, Missing(3));
  };
  for (unsigned int i = 0; i < 1000; ++i) {
    Differ(RouteNumber(10, i), Missing(3));
  }
  turns.Run(4000);
  EXPECT_THAT(repeats, SizeIs(1000));
  for (const auto& row : repeats) {
    EXPECT_EQ(row.second, 2u);
  }
}

// A hundred thousand of one VLAN: those without a place cost nothing until they have one.
TEST_F(Differences, TakeSlicesAndDoNotLookAtThoseWithoutAPlace) {
  for (unsigned int i = 0; i < 100000; ++i) {
    rows::RouteRow row = std::get<rows::RouteRow>(ROUTE);
    row.ifIndex = i;
    Differ(row, Missing(5));
  }
  keeper.whenAsked = [this](const Row& row) { keeper.rows[row].kind = Kind::UNDER_WAY; };
  turns.Run(1000 - 1);
  EXPECT_EQ(keeper.looks, 0u);
  turns.time.AdvanceMilliseconds(1);
  for (int i = 0; i < 1000; ++i) {
    const std::size_t before = keeper.looks;
    turns.Turn();
    EXPECT_LE(keeper.looks - before, rows::Differences::LOOKS_A_TURN);
  }
  EXPECT_EQ(keeper.looks, rows::Differences::REPEATS_A_VLAN);
  turns.Run(1000);
  EXPECT_LE(keeper.looks, 2 * rows::Differences::REPEATS_A_VLAN);
}

TEST_F(Differences, HearInSlices) {
  for (unsigned int i = 0; i < 10000; ++i) {
    keeper.rows[RouteNumber(10, i)] = Missing();
    differences.Heard(RouteNumber(10, i));
  }
  while (differences.HasHeard()) {
    const std::size_t before = keeper.looks;
    turns.Turn();
    EXPECT_LE(keeper.looks - before, rows::Differences::LOOKS_A_TURN);
    ASSERT_GT(keeper.looks, before);
  }
  EXPECT_EQ(differences.Count(), 10000u);
}

// What is heard of all the time does not keep the others from being asked for.
TEST_F(Differences, AreAskedForWhileManyOthersAreHeardOf) {
  Differ(ROUTE, Missing());
  turns.time.AdvanceMilliseconds(1000);
  for (unsigned int i = 0; i < 10000; ++i) {
    differences.Heard(RouteNumber(20, i));
  }
  turns.Turn();
  EXPECT_THAT(keeper.asked, ElementsAre(Describe(ROUTE)));
  EXPECT_TRUE(differences.HasHeard());
}

TEST_F(Differences, NeedNothingWhileTheyWait) {
  Differ(ROUTE, Missing());
  EXPECT_EQ(turns.time.MicrosecondsToNext(), 1000000u);
  turns.Turn();
  EXPECT_EQ(uv_loop_alive(turns.loop.Get()), 0);
  EXPECT_EQ(turns.time.MicrosecondsToNext(), 1000000u);
  keeper.rows.clear();
  differences.Heard(ROUTE);
  turns.Turn();
  EXPECT_EQ(turns.time.MicrosecondsToNext(), UINT64_MAX);
  EXPECT_EQ(uv_loop_alive(turns.loop.Get()), 0);
}

TEST_F(Differences, AreForgottenWithoutALine) {
  for (unsigned int i = 0; i < 40; ++i) {
    Differ(RouteNumber(10, i), Missing());
  }
  turns.Run(1001);
  ASSERT_THAT(keeper.asked, SizeIs(15));
  lines.clear();
  differences.Heard(ROUTE);
  differences.Forget();
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_FALSE(differences.HasHeard());
  EXPECT_EQ(turns.time.MicrosecondsToNext(), UINT64_MAX);
  turns.Run(5000);
  EXPECT_EQ(uv_loop_alive(turns.loop.Get()), 0);
  EXPECT_THAT(keeper.asked, SizeIs(15));
  EXPECT_THAT(lines, IsEmpty());
  // Places are free again.
  for (unsigned int i = 0; i < 40; ++i) {
    Differ(RouteNumber(10, i), Missing());
  }
  keeper.asked.clear();
  turns.Run(1001);
  EXPECT_THAT(keeper.asked, SizeIs(15));
}

// Rows on which others depend are asked for first.
TEST_F(Differences, AreAskedForInTheOrderOfTheirDependence) {
  const rows::InstanceRow instance{10, false};
  const rows::InterfaceRow interface { 10, 3 };
  Differ(ROUTE, Missing());
  Differ(interface, Missing());
  Differ(instance, Missing());
  turns.Run(1001);
  EXPECT_THAT(keeper.asked, ElementsAre(Describe(instance), Describe(interface), Describe(ROUTE)));
}

TEST(Rows, AreDescribed) {
  EXPECT_EQ(Describe(rows::InstanceRow{10, true}), "VLAN 10: IPv6 routing table");
  EXPECT_EQ(Describe(rows::InterfaceRow{7, 3}), "VLAN 7: interface 3");
  EXPECT_EQ(Describe(rows::AddressRow{7, 3, false, {10, 1, 0, 1}}),
            "VLAN 7: address 10.1.0.1 of interface 3");
  EXPECT_EQ(Describe(rows::AddressRow{7, 3, true, {0x20, 1, 0xd, 0xb8}}),
            "VLAN 7: address 2001:db8:: of interface 3");
  EXPECT_EQ(Describe(rows::ProtocolRow{0x800A, 3, "10.1.0.1\n"}),
            "VLAN 10: row 10.1.0.1\\x0a of table 3");
  EXPECT_EQ(Describe(rows::RuleRow{{10, true, intent::CODE_RIP}, intent::CODE_STATIC}),
            "VLAN 10: redistribution of static routes to RIPng");
  EXPECT_EQ(Describe(rows::RuleRow{{10, false, intent::CODE_BGP}, intent::CODE_CONNECTED}),
            "VLAN 10: redistribution of connected routes to BGP for IPv4");
  EXPECT_EQ(Describe(rows::RuleRow{{10, false, intent::CODE_OSPF}, intent::CODE_BGP}),
            "VLAN 10: redistribution of BGP routes to OSPFv2");
  rows::RouteRow route = std::get<rows::RouteRow>(RouteNumber(10, 256));
  route.ifIndex = 3;
  EXPECT_EQ(Describe(route), "VLAN 10: route 10.1.0.0/24 via 10.1.2.1 on interface 3");
  route.target.gateway = {};
  EXPECT_EQ(Describe(route), "VLAN 10: route 10.1.0.0/24 on interface 3");
  const rows::InterfaceNames names = [](unsigned short vlan, std::uint32_t ifIndex) {
    return vlan == 7 || vlan == 10 ? "eth\n" + std::to_string(ifIndex) : "";
  };
  EXPECT_EQ(Describe(route, names), "VLAN 10: route 10.1.0.0/24 on interface 3 eth\\x0a3");
  EXPECT_EQ(Describe(rows::InterfaceRow{7, 4}, names), "VLAN 7: interface 4 eth\\x0a4");
  EXPECT_EQ(Describe(rows::InterfaceRow{8, 4}, names), "VLAN 8: interface 4");
  EXPECT_EQ(Describe(rows::AddressRow{7, 3, false, {10, 1, 0, 1}}, names),
            "VLAN 7: address 10.1.0.1 of interface 3 eth\\x0a3");
  EXPECT_EQ(Describe(rows::InstanceRow{10, true}, names), "VLAN 10: IPv6 routing table");
  route.target.ip6 = true;
  route.target.destination = {0x20, 1, 0xd, 0xb8};
  route.target.gateway = {0xfe, 0x80};
  route.target.length = 32;
  route.ifIndex = 0;
  EXPECT_EQ(Describe(route), "VLAN 10: route 2001:db8::/32 via fe80::");
}

TEST(Rows, HaveAStatusInWords) {
  EXPECT_EQ(DescribeStatus(1), "done (status 1)");
  EXPECT_EQ(DescribeStatus(3), "wrong value (status 3)");
  EXPECT_EQ(DescribeStatus(4), "values that do not fit each other (status 4)");
  EXPECT_EQ(DescribeStatus(5), "try again (status 5)");
  EXPECT_EQ(DescribeStatus(6), "no such row (status 6)");
  EXPECT_EQ(DescribeStatus(8), "agent error (status 8)");
  EXPECT_EQ(DescribeStatus(77), "refused (status 77)");
}

// The first of each pair differs in one member only.
TEST(Rows, DifferInEachMember) {
  const auto Differ = [](const Row& a, const Row& b) { return (a < b) != (b < a); };
  const rows::AddressRow address{1, 2, false, {3}};
  EXPECT_FALSE(Differ(address, address));
  EXPECT_TRUE(Differ(address, rows::AddressRow{2, 2, false, {3}}));
  EXPECT_TRUE(Differ(address, rows::AddressRow{1, 3, false, {3}}));
  EXPECT_TRUE(Differ(address, rows::AddressRow{1, 2, true, {3}}));
  EXPECT_TRUE(Differ(address, rows::AddressRow{1, 2, false, {4}}));
  const rows::ProtocolRow protocol{1, 2, "a"};
  EXPECT_FALSE(Differ(protocol, protocol));
  EXPECT_TRUE(Differ(protocol, rows::ProtocolRow{2, 2, "a"}));
  EXPECT_TRUE(Differ(protocol, rows::ProtocolRow{1, 3, "a"}));
  EXPECT_TRUE(Differ(protocol, rows::ProtocolRow{1, 2, "b"}));
  EXPECT_TRUE(Differ(rows::InstanceRow{1, false}, rows::InstanceRow{1, true}));
  EXPECT_TRUE(Differ(rows::InstanceRow{1, false}, rows::InstanceRow{2, false}));
  EXPECT_TRUE(Differ(rows::InterfaceRow{1, 3}, rows::InterfaceRow{1, 4}));
  EXPECT_TRUE(Differ(rows::InterfaceRow{1, 3}, rows::InterfaceRow{2, 3}));
  const rows::RuleRow rule{{10, true, intent::CODE_RIP}, intent::CODE_STATIC};
  EXPECT_FALSE(Differ(rule, rule));
  EXPECT_TRUE(Differ(rule, rows::RuleRow{{10, false, intent::CODE_RIP}, intent::CODE_STATIC}));
  EXPECT_TRUE(Differ(rule, rows::RuleRow{{10, true, intent::CODE_RIP}, intent::CODE_BGP}));
  rows::RouteRow route = std::get<rows::RouteRow>(RouteNumber(10, 1));
  const Row other = route;
  EXPECT_FALSE(Differ(route, other));
  route.ifIndex = 1;
  EXPECT_TRUE(Differ(route, other));
  EXPECT_TRUE(Differ(RouteNumber(10, 1), RouteNumber(10, 2)));
}

TEST(Rows, BelongToAVlan) {
  EXPECT_EQ(rows::VlanOf(rows::InstanceRow{10, true}), 10u);
  EXPECT_EQ(rows::VlanOf(rows::InterfaceRow{11, 1}), 11u);
  EXPECT_EQ(rows::VlanOf(rows::AddressRow{12, 1, false, {}}), 12u);
  EXPECT_EQ(rows::VlanOf(rows::ProtocolRow{0x800D, 1, "a"}), 13u);
  EXPECT_EQ(rows::VlanOf(RouteNumber(14, 1)), 14u);
  EXPECT_EQ(rows::VlanOf(rows::RuleRow{{15, true, intent::CODE_RIP}, 0}), 15u);
}

}  // namespace
