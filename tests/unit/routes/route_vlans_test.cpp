// Routes of many VLANs, of VLANs that go and come back, and of a stack that is restarted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/unit/routes/route_keeper_fixture.h"

namespace {

using routing_stack::Answer;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Kind = rows::Standing::Kind;

class RouteVlans : public routes_test::RouteKeeperFixture {};

TEST_F(RouteVlans, FillTheWindowAndNoMore) {
  std::vector<unsigned short> vlans;
  intent::ResolvedRoutes routes;
  for (unsigned short vlan = 100; vlan < 300; ++vlan) {
    vlans.push_back(vlan);
    for (const auto& route : Routes(vlan, 40)) {
      routes.push_back(route);
    }
  }
  LoadVlans(vlans);
  ASSERT_TRUE(Settle());
  Control().Hold();
  Want(routes);
  Run(100);
  EXPECT_EQ(keeper->CountUnderWay(), routes::RouteKeeper::WINDOW);
  EXPECT_THAT(Items(), SizeIs(routes::RouteKeeper::WINDOW));
  EXPECT_EQ(keeper->CountOpen(), routes.size());
  Control().Release();
  while (keeper->CountOpen() != 0) {
    Run(1);
    ASSERT_LE(keeper->CountUnderWay(), routes::RouteKeeper::WINDOW);
  }
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_EQ(InStack().size(), routes.size());
}

// What the stack never answers stays under way. However much of it there is in a few VLANs, the
// others get their turn.
TEST_F(RouteVlans, AreAskedForBesideAWindowOfRequestsThatAreNeverAnswered) {
  constexpr unsigned short FIRST = 100;
  constexpr unsigned short LAST = 107;
  std::vector<unsigned short> vlans = {10};
  intent::ResolvedRoutes routes;
  for (unsigned short vlan = FIRST; vlan <= LAST; ++vlan) {
    vlans.push_back(vlan);
    for (const auto& route : Routes(vlan, 1200)) {
      routes.push_back(route);
    }
  }
  LoadVlans(vlans);
  ASSERT_TRUE(Settle());
  Want(routes);
  ASSERT_TRUE(RunUntilSettled()) << "so much may be under way of each VLAN now";
  for (unsigned short vlan = FIRST; vlan <= LAST; ++vlan) {
    Control().ScriptVlan(routing_stack::RowType::kRoute, vlan, {Answer::kNever, 0, 0}, 10000);
  }
  Want({});
  Run(5000);
  const std::size_t lost = keeper->CountUnderWay();
  ASSERT_GE(lost, routes::RouteKeeper::WINDOW / 2);
  Want(Routes(10, 2000));
  ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen(10) == 0; }, 5000));
  EXPECT_EQ(InStack().size(), routes.size() + 2000) << "nothing has been removed";
  EXPECT_EQ(keeper->CountUnderWay(), lost) << "and no more is asked for of the others";
  EXPECT_LE(lost, routes::RouteKeeper::WINDOW);
}

// One VLAN of a stack that answers everything does not wait for more than it can use.
TEST_F(RouteVlans, AskForMoreTheMoreIsAccepted) {
  Control().Hold();
  Want(Routes(10, 5000));
  Run(100);
  EXPECT_EQ(keeper->CountUnderWay(), 31u);
  Control().Release();
  std::size_t most = 0;
  while (keeper->CountOpen() != 0) {
    Run(1);
    most = std::max(most, keeper->CountUnderWay());
  }
  EXPECT_EQ(most, 1024u);
  EXPECT_EQ(InStack().size(), 5000u);
}

TEST_F(RouteVlans, TakeTurns) {
  intent::ResolvedRoutes routes = Routes(10, 5000);
  for (const auto& route : Routes(20, 50)) {
    routes.push_back(route);
  }
  Want(routes);
  const auto count = [&](unsigned short vlan) {
    const intent::ResolvedRoutes all = InStack();
    return std::count_if(all.begin(), all.end(),
                         [&](const auto& route) { return route.target.vlan == vlan; });
  };
  ASSERT_TRUE(RunUntil([&] { return count(20) == 50; }, 10000));
  EXPECT_LE(count(10), 200);
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_EQ(InStack().size(), routes.size());
}

TEST_F(RouteVlans, MayNotBeReady) {
  Want({Route(10, 1), Route(50, 1)});
  ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 1; }, 100));
  Run(500);
  EXPECT_EQ(Look(Route(50, 1)), Kind::UNDER_WAY);
  LoadVlans({10, 20, 50});
  ASSERT_TRUE(RunUntilSettled(500));
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1), Route(50, 1)));
}

// Each VLAN has a repeat that is being retried.
class RouteVlansWithRepeats : public RouteVlans {
 protected:
  void SetUp() override {
    Refuse(3, 2);
    Want({Route(10, 1), Route(20, 1)});
    ASSERT_TRUE(RunUntil([&] { return differences.Count() == 2; }, 200));
    Refuse(5, 1000);
    ASSERT_TRUE(RunUntil([&] { return keeper->CountRetried() == 2; }, 2000));
    ASSERT_EQ(keeper->CountUnderWay(), 2u);
    ASSERT_EQ(keeper->CountOpen(), 0u) << "a known difference";
  }
};

// Those of the others still count.
TEST_F(RouteVlansWithRepeats, GoWithTheirOwn) {
  keeper->ForgetVlan(20);
  EXPECT_EQ(keeper->CountUnderWay(), 1u);
  EXPECT_EQ(keeper->CountRetried(), 1u);
  EXPECT_EQ(keeper->CountOpen(), 1u) << "the other is to be asked for again";
  EXPECT_EQ(keeper->CountOpen(10), 0u);
  EXPECT_EQ(keeper->CountOpen(20), 1u);
}

TEST_F(RouteVlansWithRepeats, GoWithAllWhenTheStackIsRestarted) {
  keeper->Forget();
  differences.Forget();
  EXPECT_EQ(keeper->CountUnderWay(), 0u);
  EXPECT_EQ(keeper->CountRetried(), 0u);
  EXPECT_EQ(keeper->CountOpen(), 0u);
  Control().ClearScripts();
  Want({Route(10, 1), Route(20, 1)});
  EXPECT_EQ(keeper->CountOpen(), 2u);
  ASSERT_TRUE(RunUntilSettled());
}

// Items that wait, items that the stack has, and items that were given up.
TEST_F(RouteVlans, GoWithEverythingThatTheLibraryHasOfThem) {
  Want({Route(10, 9), Route(20, 0)});
  ASSERT_TRUE(RunUntilSettled());
  Refuse(3);
  Want({Route(10, 9), Route(20, 0), Route(20, 1)});
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 100));
  Control().Hold();
  Want({Route(10, 9), Route(20, 1), Route(20, 2)});
  Run(100);
  Want({Route(10, 9), Route(20, 1), Route(20, 2), Route(20, 3)});
  TurnOnly();
  ASSERT_THAT(Items(), SizeIs(4)) << "given up, removed, added and not sent";
  LoadVlans({10});
  keeper->ForgetVlan(20);
  EXPECT_FALSE(keeper->HasLeavingRoutes(20));
  EXPECT_EQ(keeper->CountUnderWay(), 0u);
  Want({Route(10, 9)});
  EXPECT_EQ(keeper->CountOpen(), 0u);
  Run(50);
  EXPECT_THAT(Items(), IsEmpty());
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 9)));

  LoadVlans({10, 20});
  Want({Route(10, 9), Route(20, 1), Route(20, 4)});
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 9), Route(20, 1), Route(20, 4)));
}

// The instance has been made anew and is empty.
TEST_F(RouteVlans, AreAskedForAgainThroughTheWindow) {
  intent::ResolvedRoutes routes = Routes(10, 500);
  routes.push_back(Route(11, 1));
  LoadVlans({10, 11});
  Want(routes);
  ASSERT_TRUE(RunUntilSettled());
  LoadVlans({11});
  ASSERT_TRUE(Settle());
  LoadVlans({10, 11});
  ASSERT_TRUE(Settle());
  ASSERT_THAT(InStack(), SizeIs(1));
  TakeCalls();
  keeper->ForgetVlan(10);
  EXPECT_EQ(keeper->CountOpen(), 500u);
  ASSERT_TRUE(RunUntilSettled(2000));
  EXPECT_EQ(InStack(), *Share(routes));
  EXPECT_THAT(TakeCalls(), SizeIs(500)) << "those of the other VLAN are left alone";
}

TEST_F(RouteVlans, MayGoThoughTheyWaitForAnInstanceThatIsRefused) {
  Control().ScriptVlan(routing_stack::RowType::kRtm, 30, {routing_stack::Answer::kStatus, 3, 0}, 1);
  LoadVlans({10, 20, 30});
  ASSERT_TRUE(Settle());
  ASSERT_NE(port.FindInstance({30, false}).has_value(), port.FindInstance({30, true}).has_value())
      << "one of the two is refused";
  Want({Route(10, 1), Route(30, 1), Route(30, 1, true)});
  Run(1000);
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1)))
      << "the library has one queue for both families";
  EXPECT_EQ(keeper->CountOpen(), 2u);
  EXPECT_EQ(keeper->CountOpen(30), 2u);
  EXPECT_EQ(keeper->CountOpen(10), 0u);

  Want({Route(10, 1)});
  Run(100);
  EXPECT_FALSE(keeper->HasLeavingRoutes(30));
  LoadVlans({10, 20});
  keeper->ForgetVlan(30);
  Run(50);
  EXPECT_TRUE(IsSettled());
  EXPECT_EQ(keeper->CountOpen(30), 0u);
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteVlans, MayGoWhileAPlanIsMade) {
  Want({Route(10, 1), Route(20, 1)});
  ASSERT_TRUE(RunUntilSettled());
  const auto plan = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*plan, Share({Route(10, 1)}));
  keeper->ForgetVlan(20);
  keeper->AskAgain(RowOf(Route(10, 1)));
  keeper->CarryOut(*plan);
  EXPECT_FALSE(keeper->HasLeavingRoutes(20));
  TakeCalls();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), ElementsAre(HasSubstr("(1, 1, 1, 1, 20.0.1.0")))
      << "the repeat, and no removal";
}

// The next turn would look at what has been heard.
TEST_F(RouteVlans, AreForgottenWithWhatHasBeenHeardOfThem) {
  for (const bool isWhole : {false, true}) {
    Want({Route(10, 1), Route(20, 1)});
    TurnOnly();
    loop.AdvanceMilliseconds(50);
    ASSERT_THAT(InStack(), SizeIs(2));
    ASSERT_EQ(keeper->CountUnderWay(), 2u) << "not looked at yet";
    if (isWhole) {
      keeper->Forget();
    } else {
      keeper->ForgetVlan(10);
      EXPECT_EQ(keeper->CountOpen(), 2u);
    }
    TurnOnly();
    Want({});
    ASSERT_TRUE(RunUntilSettled());
    EXPECT_THAT(InStack(), SizeIs(isWhole ? 2 : 0));
  }
}

TEST_F(RouteVlans, AreForgottenWithTheStack) {
  Refuse(3);
  intent::ResolvedRoutes routes = Routes(10, 100);
  Want(routes);
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 100));
  Refuse(5, 5);
  Want(Routes(10, 80));
  Run(5);
  const auto plan = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*plan, Share(Routes(20, 5)));
  keeper->AskAgain(RowOf(Route(10, 3)));
  ASSERT_THAT(Items(), Not(IsEmpty()));

  Control().ClearScripts();
  Control().Restart();
  port.EndLostRequests();
  Manager().GetSerializer().Reset();
  Manager().GetCfgSched().Reset();
  differences.Forget();
  keeper->Forget();
  EXPECT_EQ(keeper->CountOpen(), 0u);
  EXPECT_EQ(keeper->CountUnderWay(), 0u);
  EXPECT_EQ(keeper->CountRetried(), 0u);
  EXPECT_THAT(*keeper->GetWanted(), IsEmpty());
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  keeper->CarryOut(*plan);
  EXPECT_THAT(*keeper->GetWanted(), IsEmpty()) << "the plan was for what is forgotten";
  keeper->ForgetVlan(10);
  EXPECT_EQ(keeper->CountOpen(), 0u);

  TakeCalls();
  Want({Route(10, 1), Route(10, 500)});
  Run(2000);
  EXPECT_THAT(Items(), SizeIs(2)) << "what was asked for before is gone";
}

}  // namespace
