#include "device/console/form.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace {

using console::Form;
using console::Match;
using console::Words;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Form, MatchesWordsAlternativesAndPlaces) {
  const Form form("interface <name> up|down");
  EXPECT_TRUE(form.IsWhole({"interface", "eth0", "up"}));
  EXPECT_TRUE(form.IsWhole({"interface", "down", "down"}));
  EXPECT_FALSE(form.IsWhole({"interface", "eth0"}));
  EXPECT_FALSE(form.IsWhole({"interface", "eth0", "sideways"}));
  EXPECT_FALSE(form.IsWhole({"interface", "eth0", "up", "up"}));
  EXPECT_FALSE(form.IsWhole({}));
  EXPECT_EQ(form.CountFitting({"interface", "eth0", "sideways"}), 2u);
  EXPECT_EQ(form.CountFitting({"interface", "eth0", "up", "up"}), 3u);
  EXPECT_EQ(form.CountFitting({"Interface"}), 0u);
}

TEST(Form, TakesTheTailAsAWholeOrNotAtAll) {
  const Form form("join <interface> [vrf <vid>]");
  EXPECT_TRUE(form.IsWhole({"join", "eth0"}));
  EXPECT_TRUE(form.IsWhole({"join", "eth0", "vrf", "10"}));
  EXPECT_FALSE(form.IsWhole({"join", "eth0", "vrf"}));
  EXPECT_EQ(form.CountFitting({"join", "eth0", "vrf"}), 3u);
}

TEST(Form, KnowsWhatMayStandWhere) {
  const Form form("stack refuse|retry <n> [vrf <vid>]");
  EXPECT_THAT(form.Following({}), ElementsAre("stack"));
  EXPECT_THAT(form.Following({"stack"}), ElementsAre("refuse", "retry"));
  EXPECT_THAT(form.Following({"stack", "retry"}), IsEmpty());
  EXPECT_THAT(form.Following({"stack", "retry", "3"}), ElementsAre("vrf"));
  EXPECT_THAT(form.Following({"stack", "retry", "3", "vrf"}), IsEmpty());
  EXPECT_THAT(form.Following({"stack", "retry", "3", "vrf", "10"}), IsEmpty());
  EXPECT_THAT(form.Following({"stack", "refine"}), IsEmpty());
  EXPECT_THAT(form.Following({"stack", "retry", "3", "up"}), IsEmpty());
}

TEST(Form, LeavesOutEachBracketOnItsOwn) {
  const Form form("rib [ipv6] [vrf <vid>] detail");
  for (const Words& words :
       {Words{"rib", "detail"}, Words{"rib", "ipv6", "detail"}, Words{"rib", "vrf", "10", "detail"},
        Words{"rib", "ipv6", "vrf", "10", "detail"}}) {
    EXPECT_TRUE(form.IsWhole(words)) << words.size();
    EXPECT_EQ(form.HasOptional(words), words.size() > 2);
  }
  EXPECT_FALSE(form.IsWhole({"rib"}));
  EXPECT_FALSE(form.IsWhole({"rib", "vrf", "10", "ipv6", "detail"}));
  EXPECT_EQ(form.CountFitting({"rib", "vrf", "10", "ipv6", "detail"}), 3u);
  EXPECT_THAT(form.Following({"rib"}), ElementsAre("ipv6", "vrf", "detail"));
  EXPECT_THAT(form.Following({"rib", "ipv6"}), ElementsAre("vrf", "detail"));
  EXPECT_THAT(form.Following({"rib", "vrf", "10"}), ElementsAre("detail"));
  EXPECT_THAT(form.Following({"rib", "detail"}), IsEmpty());
}

TEST(Form, LeavesTheRestToSomebodyElse) {
  const Form form("rtm route|rib [ipv6] [<option> ...]");
  EXPECT_FALSE(form.IsWhole({"rtm"}));
  for (const Words& words :
       {Words{"rtm", "rib"}, Words{"rtm", "rib", "ipv6"}, Words{"rtm", "rib", "vrf", "10"},
        Words{"rtm", "rib", "ipv6", "vrf", "10", "ipv6"}}) {
    EXPECT_TRUE(form.IsWhole(words)) << words.size();
    EXPECT_EQ(form.CountFitting(words), words.size());
  }
  EXPECT_THAT(form.Following({"rtm", "rib"}), ElementsAre("ipv6"));
  EXPECT_THAT(form.Following({"rtm", "rib", "ipv6"}), IsEmpty());
  EXPECT_THAT(form.Following({"rtm", "rib", "vrf"}), IsEmpty());
}

class TwoForms : public testing::Test {
 protected:
  TwoForms() {
    grammar.Add("tick fast|normal");
    grammar.Add("tick <n> times");
    grammar.Add("hold");
  }
  console::Grammar grammar;
};

TEST_F(TwoForms, FindTheFirstThatIsWhole) {
  EXPECT_EQ(grammar.Find({"tick", "fast"}).form, 0u);
  EXPECT_EQ(grammar.Find({"tick", "fast", "times"}).form, 1u);
  EXPECT_EQ(grammar.Find({"hold"}).form, 2u);
  EXPECT_EQ(grammar.Find({"hold"}).misfit, Match::NONE);
  EXPECT_THAT(grammar.Find({"hold"}).begun, IsEmpty());
}

TEST_F(TwoForms, TellTheFirstWordThatFitsNone) {
  const std::pair<Words, std::size_t> cases[] = {{{"on"}, 0},
                                                 {{"tick", "3", "on", "times"}, 2},
                                                 {{"tick", "fast", "fast"}, 2},
                                                 {{"hold", "on", "tick"}, 1}};
  for (const auto& [words, misfit] : cases) {
    const Match match = grammar.Find(words);
    EXPECT_EQ(match.form, Match::NONE) << words[0];
    EXPECT_EQ(match.misfit, misfit) << words[0];
    EXPECT_THAT(match.begun, IsEmpty()) << words[0];
  }
}

TEST_F(TwoForms, TellWhichFormsWordsBegin) {
  EXPECT_THAT(grammar.Find({}).begun, ElementsAre(0u, 1u, 2u));
  EXPECT_THAT(grammar.Find({"tick"}).begun, ElementsAre(0u, 1u));
  const Match match = grammar.Find({"tick", "3"});
  EXPECT_THAT(match.begun, ElementsAre(1u));
  EXPECT_EQ(match.form, Match::NONE);
  EXPECT_EQ(match.misfit, Match::NONE);
}

TEST_F(TwoForms, SayOnceWhatMayFollow) {
  EXPECT_THAT(grammar.Following({}), ElementsAre("tick", "hold"));
  EXPECT_THAT(grammar.Following({"tick"}), ElementsAre("fast", "normal"));
  EXPECT_THAT(grammar.Following({"tick", "fast"}), ElementsAre("times"));
}

}  // namespace
