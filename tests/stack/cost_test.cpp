// What a change costs, counted in units of work and not in time: one run does at most a slice of
// them, so the number of runs with a slice of one tells the cost.

#include "stack_test.h"

namespace stack_test {
namespace {

class CostTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    for (const unsigned int ifIndex : {3u, 4u}) {
      AddInterface(10, ifIndex);
      AddAddress(10, ifIndex, "10." + std::to_string(ifIndex) + ".0.1/16");
    }
    RunAll();
  }
  /// `count` routes over an interface, each with its own next hop or all with one.
  void AddRoutes(unsigned int ifIndex, unsigned int count, bool ownNextHops) {
    for (unsigned int i = 0; i < count; ++i) {
      const std::string low = std::to_string(i / 250) + "." + std::to_string(i % 250);
      AddRoute(10, std::to_string(100 + ifIndex) + "." + low + ".0/24",
               "10." + std::to_string(ifIndex) + "." + (ownNextHops ? low : "7.7"), 0);
    }
    RunAll();
  }
  /// The units of work that are waiting.
  unsigned int Units() {
    control.SetSliceEvents(1);
    unsigned int units = 1;
    while (RunOnce() == 0) {
      ++units;
    }
    control.SetSliceEvents(2000);
    return units;
  }
  unsigned int UnitsOfAFlap(unsigned int ifIndex) {
    SetInterface(10, ifIndex, false);
    const unsigned int down = Units();
    SetInterface(10, ifIndex, true);
    return down + Units();
  }
};

TEST_F(CostTest, AFlapCostsWhatTheInterfacesRoutesCost) {
  AddRoutes(3, 20, true);
  const unsigned int alone = UnitsOfAFlap(3);
  AddRoutes(4, 5000, true);
  EXPECT_EQ(alone, UnitsOfAFlap(3));
  EXPECT_GE(UnitsOfAFlap(4), 2u * 5000);
  EXPECT_LE(UnitsOfAFlap(4), 2u * 3 * 5000 + 100);
  EXPECT_EQ(5022u, control.Routes().size());
}

// 5,000 routes over one gateway hang on one next hop.
TEST_F(CostTest, RoutesOverOneGatewayShareItsResolution) {
  AddRoutes(4, 5000, false);
  EXPECT_LE(UnitsOfAFlap(4), 2u * 5000 + 100);
}

TEST_F(CostTest, AFlapOfAnInterfaceWithoutRoutesIsCheap) {
  AddRoutes(4, 5000, true);
  AddInterface(10, 9);
  RunAll();
  EXPECT_LE(UnitsOfAFlap(9), 20u);
}

TEST_F(CostTest, ARouteCostsOneUnitWhateverTheTableHolds) {
  AddRoutes(4, 5000, true);
  AddRoute(10, "99.0.0.0/24", "10.4.0.7");
  EXPECT_EQ(1u, Units());
}

TEST_F(CostTest, ReconvergenceIsSliced) {
  AddRoutes(4, 5000, true);
  SetInterface(10, 4, false);
  control.SetSliceEvents(100);
  unsigned int runs = 1;
  while (RunOnce() == 0) {
    ++runs;
  }
  EXPECT_GE(runs, 50u);
  EXPECT_EQ(1u, control.Routes().size());
}

// Events wait for the consequences of earlier ones.
TEST_F(CostTest, TheNextEventFindsTheConsequencesOfEarlierOnes) {
  AddRoutes(4, 1000, true);
  control.SetSliceEvents(10);
  static unsigned int s_rows;
  s_rows = 0;
  SetInterface(10, 4, false);
  sms_get_next_rtm_route(
      [](void*, unsigned int, unsigned int result, void*) -> unsigned char {
        s_rows += result == 1 ? 1 : 0;
        return 1;
      },
      nullptr);
  RunAll();
  EXPECT_EQ(1u, s_rows);
}

TEST_F(CostTest, DroppingAnInstanceIsSliced) {
  AddRoutes(4, 5000, true);
  SendEntity(10, 6);
  EXPECT_GE(Units(), 100u);
  EXPECT_TRUE(control.Rib().empty());
}

// A prefix with very many candidates is no worse than many prefixes.
TEST_F(CostTest, ManyCandidatesOfOnePrefixLoseTheirInterfaceTogether) {
  for (unsigned int i = 0; i < 5000; ++i) {
    AddRoute(10, "99.0.0.0/8", "10.4." + std::to_string(i / 250) + "." + std::to_string(i % 250));
  }
  RunAll();
  SetInterface(10, 4, false);
  EXPECT_LE(Units(), 2u * 5000 + 100);
  EXPECT_EQ(1u, control.Routes().size());
}

}  // namespace
}  // namespace stack_test
