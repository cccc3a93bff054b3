// Many rules: slices, the window of requests.
#include <algorithm>
#include <string>

#include "tests/unit/routes/rule_keeper_fixture.h"

namespace {

using namespace routes_test;
using intent::Rules;
using testing::IsEmpty;
using Kind = rows::Standing::Kind;

class ManyRules : public RuleKeeperFixture {
 protected:
  void LoadVlans(unsigned int count) {
    std::string entries;
    for (unsigned int vid = 100; vid < 100 + count; ++vid) {
      entries += (vid == 100 ? "\"" : ", \"") + std::to_string(vid) +
                 "\": {\"vid\": " + std::to_string(vid) +
                 R"(, "RIPV2": {"enabled": true}, "BGP": {"enabled": true}})";
      for (const std::uint32_t code : {intent::CODE_RIP, intent::CODE_BGP}) {
        wanted[{static_cast<unsigned short>(vid), false, code}] = STATIC | CONNECTED | OSPF;
      }
    }
    Reload("{\"VLAN_CONFIGURATIONS\": {" + entries + "}}", "vlans.json");
    ASSERT_TRUE(Settle());
  }
  Rules wanted;
};

TEST_F(ManyRules, AreLookedAtInSlices) {
  LoadVlans(200);
  Want(wanted);
  Turn();
  EXPECT_EQ(keeper.CountUnderWay(), 3 * routes::RuleKeeper::DESTINATIONS_A_TURN);
  // Those that are still to be looked at are under way; a later VLAN's is.
  EXPECT_EQ(Look({{299, false, intent::CODE_RIP}, intent::CODE_STATIC}), Kind::UNDER_WAY);
  EXPECT_EQ(Pass(10).size(), 1200u);
  EXPECT_EQ(keeper.CountOpen(), 3 * routes::RuleKeeper::DESTINATIONS_A_TURN + 1);
  Turn();
  EXPECT_EQ(keeper.CountUnderWay(), 1200u);
  Run(5000);
  EXPECT_EQ(keeper.CountOpen(), 0u);
  EXPECT_EQ(StackRules().size(), 1200u);
  EXPECT_THAT(Pass(10), IsEmpty());
}

TEST_F(ManyRules, AreRequestedInAWindow) {
  LoadVlans(800);
  Tarsel::TimerLoop::SetTickMicroseconds(100);
  Want(wanted);
  std::size_t most = 0;
  for (int i = 0; i < 5000 && StackRules().size() < 4800; ++i) {
    Run(1);
    most = std::max(most, keeper.CountUnderWay());
  }
  EXPECT_GE(most, routes::RuleKeeper::WINDOW);
  EXPECT_LT(most, routes::RuleKeeper::WINDOW + 5);
  Run(100);
  EXPECT_EQ(StackRules().size(), 4800u);
  EXPECT_EQ(keeper.CountOpen(), 0u);
}

// A stack that gives nothing back: there is room again when its lost requests have ended.
TEST_F(ManyRules, GoOnWhenAFullWindowIsLost) {
  LoadVlans(800);
  Tarsel::TimerLoop::SetTickMicroseconds(10);
  Control().Script(routing_stack::RowType::kRedistribution, {routing_stack::Answer::kNever, 0, 0},
                   5000);
  Want(wanted);
  Run(1000);
  ASSERT_GE(keeper.CountUnderWay(), routes::RuleKeeper::WINDOW);
  Control().ClearScripts();
  Control().EndLostRequests();
  Run(60000);
  EXPECT_EQ(StackRules().size(), 4800u);
  EXPECT_EQ(differences.Count(), 0u);
}

}  // namespace
