#include "device/console/grammar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/console/words.h"

namespace {

using console::Grammar;
using console::Parse;
using console::Split;
using console::Words;
using testing::ElementsAre;
using testing::IsEmpty;

Grammar Of(std::initializer_list<const char*> patterns, bool canAbbreviate = true) {
  Grammar grammar(canAbbreviate);
  for (const char* pattern : patterns) {
    grammar.Add(pattern);
  }
  return grammar;
}

// What may follow, places in angle brackets.
Words Following(const Grammar& grammar, const std::string& line) {
  Words words;
  for (const console::Atom& atom : grammar.Read(Split(line)).following) {
    words.push_back(atom.isPlace ? "<" + atom.text + ">" : atom.text);
  }
  return words;
}

bool IsWhole(const Grammar& grammar, const std::string& line) {
  return grammar.Read(Split(line)).form != Parse::NONE;
}

TEST(Grammar, TakesWordsAlternativesAndPlaces) {
  const Grammar grammar = Of({"interface <name> up|down"});
  EXPECT_TRUE(IsWhole(grammar, "interface eth0 up"));
  EXPECT_TRUE(IsWhole(grammar, "interface down down"));
  EXPECT_FALSE(IsWhole(grammar, "interface eth0"));
  EXPECT_FALSE(IsWhole(grammar, ""));
  EXPECT_EQ(grammar.Read(Split("interface eth0 sideways")).misfit, 2u);
  EXPECT_EQ(grammar.Read(Split("interface eth0 up up")).misfit, 3u);
  EXPECT_EQ(grammar.Read(Split("Interface")).misfit, 0u);
  const Parse parse = grammar.Read(Split("interface eth0 up"));
  ASSERT_TRUE(parse.Has("name"));
  EXPECT_EQ(*parse.Find("name"), "eth0");
  EXPECT_EQ(parse.Where("name"), 1u);
  EXPECT_TRUE(parse.Has("up"));
  EXPECT_FALSE(parse.Has("down"));
}

TEST(Grammar, TakesABracketAsAWholeOrNotAtAll) {
  const Grammar grammar = Of({"join <interface> [vrf <vid>]"});
  EXPECT_TRUE(IsWhole(grammar, "join eth0"));
  EXPECT_TRUE(IsWhole(grammar, "join eth0 vrf 10"));
  const Parse begun = grammar.Read(Split("join eth0 vrf"));
  EXPECT_EQ(begun.form, Parse::NONE);
  EXPECT_EQ(begun.misfit, Parse::NONE);
  EXPECT_THAT(begun.begun, ElementsAre(0u));
  EXPECT_EQ(grammar.Read(Split("join eth0 vrf ten")).misfit, 3u);
  EXPECT_EQ(grammar.Read(Split("join eth0 vrf 10 vrf")).misfit, 4u);
}

TEST(Grammar, TakesBracketsSideBySideInAnyOrderEachOnce) {
  const Grammar grammar = Of({"rib [ipv6] [vrf <vid>|all] [detail|brief]"});
  for (const char* line :
       {"rib", "rib detail ipv6", "rib vrf 10 ipv6 brief", "rib brief vrf all"}) {
    EXPECT_TRUE(IsWhole(grammar, line)) << line;
  }
  EXPECT_EQ(grammar.Read(Split("rib detail vrf 10 detail")).misfit, 4u);
  EXPECT_EQ(grammar.Read(Split("rib detail brief")).misfit, 2u);
  EXPECT_THAT(Following(grammar, "rib vrf 10"), ElementsAre("ipv6", "detail", "brief"));
  EXPECT_THAT(Following(grammar, "rib detail vrf"), ElementsAre("<vid>", "all"));
  EXPECT_THAT(Following(grammar, "rib detail vrf all ipv6"), IsEmpty());
}

TEST(Grammar, TakesAnInnerBracketAfterTheLastAlternativeOfTheOuterOne) {
  const Grammar grammar = Of({"route [<address>|<prefix> [longer]] [json]"});
  EXPECT_TRUE(IsWhole(grammar, "route 10.0.0.0/8 longer"));
  EXPECT_TRUE(IsWhole(grammar, "route 10.0.0.0/8 json longer"));
  EXPECT_TRUE(IsWhole(grammar, "route json 10.0.0.1"));
  EXPECT_EQ(grammar.Read(Split("route longer")).misfit, 1u);
  EXPECT_EQ(grammar.Read(Split("route 10.0.0.1 longer")).misfit, 2u);
  EXPECT_EQ(grammar.Read(Split("route 10.0.0.0/8 10.0.0.1")).misfit, 2u);
  EXPECT_THAT(Following(grammar, "route 10.0.0.0/8"), ElementsAre("longer", "json"));
  EXPECT_THAT(Following(grammar, "route"), ElementsAre("<address>", "<prefix>", "json"));
}

TEST(Grammar, TakesBracesInAnyOrderAndNotWithoutThem) {
  const Grammar grammar = Of({"explain {<address>} [vrf <vid>] [json]"});
  for (const char* line : {"explain 10.0.0.1", "explain 10.0.0.1 json vrf 10",
                           "explain vrf 10 10.0.0.1 json", "explain json vrf 10 10.0.0.1"}) {
    const Parse parse = grammar.Read(Split(line));
    ASSERT_EQ(parse.form, 0u) << line;
    EXPECT_EQ(*parse.Find("address"), "10.0.0.1") << line;
  }
  for (const char* line : {"explain", "explain json", "explain vrf 10", "explain json vrf 10"}) {
    const Parse parse = grammar.Read(Split(line));
    EXPECT_EQ(parse.form, Parse::NONE) << line;
    EXPECT_THAT(parse.begun, ElementsAre(0u)) << line;
  }
  EXPECT_EQ(grammar.Read(Split("explain 10.0.0.1 10.0.0.1")).misfit, 2u);
  EXPECT_THAT(Following(grammar, "explain json"), ElementsAre("<address>", "vrf"));
  EXPECT_THAT(Following(grammar, "explain json 10.0.0.1 vrf 10"), IsEmpty());
  EXPECT_FALSE(IsWhole(Of({"a [b] {c} d"}), "a b d")) << "nor does a word follow before";
  EXPECT_TRUE(IsWhole(Of({"a [b] {c} d"}), "a c b d"));
}

TEST(Grammar, TakesTheRest) {
  const Grammar grammar = Of({"ip [<word> ...]"});
  for (const char* line : {"ip", "ip protocol", "ip protocol database detail vrf"}) {
    EXPECT_TRUE(IsWhole(grammar, line)) << line;
  }
  EXPECT_EQ(grammar.Read(Split("ip protocol database")).words, Split("ip protocol database"));
}

TEST(Grammar, TakesTheFirstFormThatFits) {
  const Grammar grammar = Of({"a <x>", "a <y> [<z>]"});
  EXPECT_EQ(grammar.Read(Split("a 1")).form, 0u);
  EXPECT_EQ(grammar.Read(Split("a 1 2")).form, 1u);
  EXPECT_THAT(grammar.Read(Split("a")).begun, ElementsAre(0u, 1u));
}

TEST(Grammar, WritesAbbreviationsOut) {
  const Grammar grammar = Of({"route [installed|waiting] [proto <protocol>]", "route6", "requests",
                              "reload [force]", "revision <n>"});
  const Parse parse = grammar.Read(Split("ro pr stat inst"));
  EXPECT_EQ(parse.form, 0u);
  EXPECT_THAT(parse.words, ElementsAre("route", "proto", "static", "installed"));
  EXPECT_EQ(*parse.Find("protocol"), "static");
  EXPECT_EQ(grammar.Read(Split("route")).form, 0u) << "others begin with it";
  EXPECT_EQ(grammar.Read(Split("req")).form, 2u);
  EXPECT_EQ(grammar.Read(Split("rev 3")).form, 4u) << "reload is no candidate";
  const Parse ambiguous = grammar.Read(Split("re"));
  EXPECT_EQ(ambiguous.misfit, 0u);
  EXPECT_THAT(ambiguous.ambiguous, ElementsAre("requests", "revision"));
  EXPECT_EQ(grammar.Read(Split("rel")).misfit, 0u);
  EXPECT_EQ(grammar.Read(Split("reload f")).misfit, 1u);
  EXPECT_EQ(grammar.Read(Split("route proto s6")).misfit, 2u);
}

TEST(Grammar, TakesAbbreviationsOnlyWhereTheyAreAllowed) {
  const Grammar grammar = Of({"tick fast|normal"}, false);
  EXPECT_EQ(grammar.Read(Split("tick f")).misfit, 1u);
  EXPECT_EQ(grammar.Read(Split("tic fast")).misfit, 0u);
  EXPECT_TRUE(IsWhole(grammar, "tick fast"));
}

TEST(Grammar, PrefersAWordToAValue) {
  const Grammar grammar = Of({"dev <name>|any"});
  EXPECT_TRUE(grammar.Read(Split("dev any")).Has("any"));
  EXPECT_EQ(*grammar.Read(Split("dev eth0")).Find("name"), "eth0");
}

TEST(Choose, KnowsWholeWordsBeginningsAndDoubt) {
  EXPECT_THAT(console::Choose("ip", {"ip", "ip6"}), ElementsAre("ip"));
  EXPECT_THAT(console::Choose("i", {"ip", "ip6"}), ElementsAre("ip"));
  EXPECT_THAT(console::Choose("i", {"ip6", "include"}), ElementsAre("ip6", "include"));
  EXPECT_THAT(console::Choose("x", {"ip"}), IsEmpty());
  EXPECT_THAT(console::Choose("qui", {"quit"}), IsEmpty());
}

}  // namespace
