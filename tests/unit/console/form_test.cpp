#include "device/console/form.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using console::Form;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LabGrammar, MatchesWordsAlternativesAndPlaces) {
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

TEST(LabGrammar, TakesTheTailAsAWholeOrNotAtAll) {
  const Form form("join <interface> [vrf <vid>]");
  EXPECT_TRUE(form.IsWhole({"join", "eth0"}));
  EXPECT_TRUE(form.IsWhole({"join", "eth0", "vrf", "10"}));
  EXPECT_FALSE(form.IsWhole({"join", "eth0", "vrf"}));
  EXPECT_EQ(form.CountFitting({"join", "eth0", "vrf"}), 3u);
}

TEST(LabGrammar, KnowsWhatMayStandWhere) {
  const Form form("stack refuse|retry <n> [vrf <vid>]");
  EXPECT_THAT(form.At(0), ElementsAre("stack"));
  EXPECT_THAT(form.At(1), ElementsAre("refuse", "retry"));
  EXPECT_THAT(form.At(2), IsEmpty());
  EXPECT_THAT(form.At(3), ElementsAre("vrf"));
  EXPECT_THAT(form.At(5), IsEmpty());
}

}  // namespace
