// The wanted routes and the stack's, side by side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/models/random_run.h"
#include "tests/unit/routes/route_keeper_fixture.h"
#include "vantacore/static_routes.h"

namespace {

using routing_stack::Answer;
using rows::Standing;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = Standing::Kind;

class RoutePass : public routes_test::RouteKeeperFixture {
 protected:
  RoutePass() : RouteKeeperFixture({10, 20, 30}) {}

  // Behind the keeper's back, by the stack's own function.
  void Put(const intent::ResolvedRoute& route, bool isUp = true) {
    const auto& target = route.target;
    sms_update_route(1, 1, isUp ? 1 : 2, target.ip6 ? 2 : 1, target.destination.data(),
                     target.length, target.gateway.data(), Tarsel::PATH_TYPE_STATIC, route.ifIndex,
                     static_cast<unsigned short>(target.vlan | (target.ip6 ? 0x8000 : 0)),
                     static_cast<unsigned short>(route.metric));
  }
  void Take(const intent::ResolvedRoute& route) {
    const auto& target = route.target;
    sms_update_route(1, 6, 2, target.ip6 ? 2 : 1, target.destination.data(), target.length,
                     target.gateway.data(), 0, route.ifIndex,
                     static_cast<unsigned short>(target.vlan | (target.ip6 ? 0x8000 : 0)), 0);
  }
  struct Found {
    intent::ResolvedRoute route;
    Kind kind;
    friend bool operator==(const Found& a, const Found& b) {
      return a.route.target == b.route.target && a.route.ifIndex == b.route.ifIndex &&
             a.kind == b.kind;
    }
  };
  // In the order of routes.
  std::vector<Found> Differences(std::size_t most = 1000) {
    std::vector<Found> found;
    for (const auto& [row, standing] : Pass(most)) {
      found.push_back({{row.target, row.ifIndex, 0}, standing.kind});
    }
    std::sort(found.begin(), found.end(),
              [](const Found& a, const Found& b) { return a.route.ComesBefore(b.route); });
    return found;
  }
};

TEST_F(RoutePass, FindsNothingWhereAllIsWell) {
  EXPECT_THAT(Differences(), IsEmpty());
  Want({Route(10, 1), Route(10, 2, true), Route(20, 1, true), Route(30, 1)});
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(Differences(), IsEmpty());
}

TEST_F(RoutePass, FindsEachKindOfDifference) {
  intent::ResolvedRoutes routes = {Route(10, 1),       Route(10, 5, true), Route(20, 3),
                                   Route(20, 4, true), Route(30, 1),       Route(30, 2, true)};
  Want(routes);
  ASSERT_TRUE(RunUntilSettled());
  Take(Route(10, 5, true));
  Take(Route(20, 3));
  Put(Route(20, 4, true, 77));
  Put(Route(30, 1), false);
  Put(Route(10, 0));
  Put(Route(30, 9, true));
  ASSERT_TRUE(Settle());
  const std::vector<Found> expected = {
      {Route(10, 0), Kind::UNWANTED}, {Route(10, 5, true), Kind::MISSING},
      {Route(20, 3), Kind::MISSING},  {Route(20, 4, true), Kind::OTHER},
      {Route(30, 1), Kind::OTHER},    {Route(30, 9, true), Kind::UNWANTED},
  };
  for (const std::size_t most : {1000, 3, 2, 1}) {
    EXPECT_EQ(Differences(most), expected) << "in slices of " << most;
  }
  for (const Found& found : expected) {
    EXPECT_EQ(Look(found.route), found.kind);
  }
  for (const auto& [row, standing] : Pass()) {
    differences.Note(row, standing);
  }
  ASSERT_TRUE(RunUntilSettled(1500));
  EXPECT_EQ(InStack(), routes);
  EXPECT_THAT(Differences(), IsEmpty());
  EXPECT_THAT(lines, SizeIs(2 * expected.size()));
}

TEST_F(RoutePass, TellsWhatIsUnderWay) {
  Want({Route(10, 1), Route(10, 2)});
  ASSERT_TRUE(RunUntilSettled());
  Control().Hold();
  Want({Route(10, 2, false, 9), Route(20, 1, true)});
  const std::vector<Found> expected = {{Route(10, 1), Kind::UNDER_WAY},
                                       {Route(10, 2), Kind::UNDER_WAY},
                                       {Route(20, 1, true), Kind::UNDER_WAY}};
  EXPECT_EQ(Differences(), expected) << "to be asked for";
  Run(100);
  EXPECT_EQ(Differences(), expected);
  EXPECT_EQ(Differences(1), expected);
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(Differences(), IsEmpty());
}

TEST_F(RoutePass, TellsAStrayThatIsUnderWay) {
  Put(Route(10, 1));
  ASSERT_TRUE(Settle());
  keeper->AskAgain(RowOf(Route(10, 1)));
  EXPECT_EQ(Differences(), (std::vector<Found>{{Route(10, 1), Kind::UNDER_WAY}}));
  EXPECT_EQ(Look(Route(10, 1)), Kind::UNDER_WAY);
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  EXPECT_EQ(keeper->CountOpen(), 0u) << "a known difference";
  Want({Route(10, 2)});
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  Want({});
  Run(100);
  EXPECT_THAT(InStack(), IsEmpty());
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  EXPECT_THAT(Differences(), IsEmpty());
}

// Its removal is under way; then it is wanted.
TEST_F(RoutePass, MayFindAStrayThatIsWantedAfterAll) {
  Put(Route(10, 1));
  ASSERT_TRUE(Settle());
  Control().Hold();
  keeper->AskAgain(RowOf(Route(10, 1)));
  Run(50);
  Want({Route(10, 1)});
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  Run(50);
  EXPECT_THAT(Items(), SizeIs(1));
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1)));
}

TEST_F(RoutePass, MayFindAStrayWhoseRemovalIsRefused) {
  Put(Route(10, 1));
  ASSERT_TRUE(Settle());
  Refuse(4, 10);
  keeper->AskAgain(RowOf(Route(10, 1)));
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 1200));
  EXPECT_EQ(keeper->Look(RowOf(Route(10, 1))).status, 4u);
  EXPECT_EQ(Differences(), (std::vector<Found>{{Route(10, 1), Kind::UNWANTED}}));
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  ASSERT_TRUE(RunUntilSettled(1500));
  EXPECT_THAT(InStack(), IsEmpty());
}

// The request is over when it is asked for again, and with it what was known of the route.
TEST_F(RoutePass, MayFindWhatALostRemovalHasLeft) {
  const intent::ResolvedRoute route = Route(20, 1);
  for (const bool isStray : {true, false}) {
    for (const bool hasInstance : {true, false}) {
      SCOPED_TRACE(testing::Message() << isStray << hasInstance);
      isStray ? Put(route) : Want({route});
      ASSERT_TRUE(Settle());
      ASSERT_TRUE(RunUntilSettled());
      Run(1000);  // or the keeper could look for lost requests before the test does
      Answer({Answer::kNever, 0, 0});
      isStray ? keeper->AskAgain(RowOf(route)) : Want({});
      Run(50);
      Control().EndLostRequests();
      if (!hasInstance) {
        LoadVlans({10, 30});
      }
      ASSERT_TRUE(Settle());
      ASSERT_EQ(keeper->CountUnderWay(), 1u) << "the keeper has not looked yet";
      keeper->AskAgain(RowOf(route));
      EXPECT_EQ(keeper->CountUnderWay(), hasInstance ? 1u : 0u);
      EXPECT_EQ(keeper->HasLeavingRoutes(20), hasInstance);
      ASSERT_TRUE(RunUntilSettled(1500));
      EXPECT_THAT(InStack(), IsEmpty());
      EXPECT_FALSE(keeper->HasLeavingRoutes(20));
      EXPECT_THAT(Items(), IsEmpty());
      LoadVlans({10, 20, 30});
      ASSERT_TRUE(Settle());
    }
  }
}

// That is heard of at once, and not when the next repeat is due.
TEST_F(RoutePass, EndsADifferenceOfARouteThatGoesWithItsInstance) {
  const intent::ResolvedRoute route = Route(20, 1);
  Want({route});
  ASSERT_TRUE(RunUntilSettled());
  Refuse(4, 10);
  Want({});
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 2000));
  Answer({Answer::kNever, 0, 0});
  ASSERT_TRUE(RunUntil([&] { return keeper->CountUnderWay() == 1; }, 1500));
  Run(50);
  LoadVlans({10, 30});
  EXPECT_EQ(differences.Count(), 1u);
  Control().EndLostRequests();
  ASSERT_TRUE(RunUntil([&] { return keeper->CountUnderWay() == 0; }, 1500));
  Run(2);
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(lines, SizeIs(2));
  EXPECT_THAT(InStack(), IsEmpty());
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RoutePass, ForgetsTheStraysOfAVlanAndNoOthers) {
  Put(Route(10, 1));
  Put(Route(20, 1));
  ASSERT_TRUE(Settle());
  Control().Hold();
  keeper->AskAgain(RowOf(Route(10, 1)));
  keeper->AskAgain(RowOf(Route(20, 1)));
  Run(50);
  ASSERT_EQ(Look(Route(20, 1)), Kind::UNDER_WAY);
  keeper->ForgetVlan(20);
  EXPECT_EQ(Look(Route(20, 1)), Kind::UNWANTED);
  EXPECT_EQ(Look(Route(10, 1)), Kind::UNDER_WAY);
  EXPECT_FALSE(keeper->HasLeavingRoutes(20));
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  EXPECT_EQ(Look(Route(10, 1)), Kind::EQUAL);
}

TEST_F(RoutePass, FindsAllRoutesOfAnInstanceThatIsGone) {
  Want({Route(10, 1), Route(20, 1), Route(20, 2, true), Route(30, 1)});
  ASSERT_TRUE(RunUntilSettled());
  amb_cipr_rtm_entity entity = {};
  entity.word[0] = 20;
  entity.word[1] = 6;
  entity.word[2] = 2;
  sms_act_rtm(&entity);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Differences(), (std::vector<Found>{{Route(20, 1), Kind::MISSING}}));
}

// A route that is wanted and there is one step, or a pass would take twice as many turns.
TEST_F(RoutePass, ComparesAsManyRoutesInAStretchAsItMay) {
  intent::ResolvedRoutes routes = Routes(10, 20);
  for (const auto& route : Routes(20, 20)) {
    routes.push_back(route);
  }
  Want(routes);
  ASSERT_TRUE(RunUntilSettled());
  for (const std::size_t most : {40, 20, 10, 8}) {
    keeper->BeginPass();
    for (std::size_t compared = most; compared <= routes.size(); compared += most) {
      ASSERT_TRUE(keeper->ContinuePass(most, [](const auto&, const auto&) { FAIL(); }));
    }
    // The ends of both families, and what has to go.
    EXPECT_FALSE(keeper->ContinuePass(most, [](const auto&, const auto&) { FAIL(); }))
        << "in stretches of " << most;
  }
}

// It keeps nothing of what the one before has read and passed.
TEST_F(RoutePass, MayBeginAnewAfterAnyStepOfAnother) {
  intent::ResolvedRoutes routes;
  for (unsigned int i = 10; i < 20; ++i) {
    routes.push_back(Route(20, i, i % 2 != 0));
  }
  Want(routes);
  ASSERT_TRUE(RunUntilSettled());
  // Steps that take nothing of what was read of the stack, so that a stretch ends inside of it.
  const intent::ResolvedRoutes missing = {routes[2], routes[3]};
  const intent::ResolvedRoutes strange = {Route(10, 1), Route(10, 1, true), Route(20, 15),
                                          Route(30, 1, true)};
  std::vector<Found> withStrange;
  for (const auto& route : missing) {
    Take(route);
    withStrange.push_back({route, Kind::MISSING});
  }
  const std::vector<Found> without = withStrange;
  for (const auto& route : strange) {
    withStrange.push_back({route, Kind::UNWANTED});
  }
  const auto comesBefore = [](const Found& a, const Found& b) {
    return a.route.ComesBefore(b.route);
  };
  std::sort(withStrange.begin(), withStrange.end(), comesBefore);
  bool isStrange = false;
  for (std::size_t most = 1; most <= 6; ++most) {
    for (std::size_t stretches = 1; stretches <= 18 / most; ++stretches) {
      isStrange = !isStrange;
      keeper->BeginPass();
      for (std::size_t i = 0; i < stretches; ++i) {
        keeper->ContinuePass(most, [](const auto&, const auto&) {});
      }
      for (const auto& route : strange) {
        isStrange ? Put(route) : Take(route);
      }
      ASSERT_TRUE(Settle());
      ASSERT_EQ(Differences(most), isStrange ? withStrange : without)
          << "after " << stretches << " stretches of " << most;
    }
  }
}

// Random sets, in random slices, with another set wanted in between.
TEST_F(RoutePass, FindsWhatASearchFinds) {
  test_models::Random random;
  const auto draw = [&](unsigned int range) { return random.Below(range); };
  for (int round = 0; round < 60; ++round) {
    intent::ResolvedRoutes wanted;
    for (const unsigned short vlan : {10, 20, 30}) {
      for (const bool ip6 : {false, true}) {
        for (unsigned int i = 0, share = draw(4); i < 12; ++i) {
          if (draw(3) < share) {
            wanted.push_back(Route(vlan, i, ip6));
          }
        }
      }
    }
    Want(wanted);
    ASSERT_TRUE(RunUntilSettled());
    for (unsigned int i = draw(15); i != 0; --i) {
      const auto route = Route(static_cast<unsigned short>(10 * (1 + draw(3))), draw(12),
                               draw(2) != 0, 5 + draw(2));
      draw(2) != 0 ? Put(route) : Take(route);
    }
    ASSERT_TRUE(Settle());
    std::vector<Found> expected;
    intent::ResolvedRoutes all = wanted;
    for (const auto& route : InStack()) {
      all.push_back(route);
    }
    std::sort(all.begin(), all.end(),
              [](const auto& a, const auto& b) { return a.ComesBefore(b); });
    all.erase(std::unique(all.begin(), all.end(),
                          [](const auto& a, const auto& b) { return !a.ComesBefore(b); }),
              all.end());
    for (const auto& route : all) {
      if (Look(route) != Kind::EQUAL) {
        expected.push_back({route, Look(route)});
      }
    }
    ASSERT_EQ(Differences(1 + draw(40)), expected) << "round " << round;
    for (const auto& [row, standing] : Pass()) {
      differences.Note(row, standing);
    }
  }
}

// What is there before and after is not told twice and not left out.
TEST_F(RoutePass, GoesOnAfterAChange) {
  intent::ResolvedRoutes routes;
  for (unsigned int i = 10; i < 40; ++i) {
    routes.push_back(Route(20, i, i % 2 != 0));
  }
  Want(routes);
  ASSERT_TRUE(RunUntilSettled());
  for (const auto& route : routes) {
    Take(route);
  }
  ASSERT_TRUE(Settle());
  for (std::size_t before = 0; before < 30; before += 3) {
    std::vector<rows::RouteRow> found;
    const auto note = [&](const rows::Row& row, const Standing& standing) {
      if (standing.kind == Kind::MISSING) {
        found.push_back(std::get<rows::RouteRow>(row));
      }
    };
    keeper->BeginPass();
    ASSERT_TRUE(before == 0 || keeper->ContinuePass(before, note));
    intent::ResolvedRoutes others = routes;
    others.push_back(Route(30, static_cast<unsigned int>(before)));
    // Now more and now less of what comes before.
    for (unsigned int i = 0; i < before * 5 % 8; ++i) {
      others.push_back(Route(10, i));
      others.push_back(Route(10, i, true));
    }
    Want(others);
    while (keeper->ContinuePass(7, note)) {
    }
    EXPECT_THAT(found, SizeIs(routes.size())) << "after " << before;
    std::sort(found.begin(), found.end());
    EXPECT_EQ(std::unique(found.begin(), found.end(),
                          [](const auto& a, const auto& b) { return !(a < b) && !(b < a); }),
              found.end())
        << "after " << before;
    ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 0; }, 1000));
  }
}

}  // namespace
