// What is asked for, when, and what becomes of it.
#include "device/routes/route_keeper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/routes/route_keeper_fixture.h"
#include "vantacore/static_routes.h"

namespace {

using Kind = rows::Standing::Kind;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class RouteKeeper : public routes_test::RouteKeeperFixture {
 protected:
  using Fixture = routes_test::RouteKeeperFixture;
};

// The library's own calls, for what the keeper asks for.
void AddByLibrary(const intent::ResolvedRoute& route) {
  const auto& target = route.target;
  if (target.ip6) {
    const auto address = Tarsel::Ip6Addr::FromBytes(target.destination.data());
    Tarsel::AddRoute(target.vlan, address, Tarsel::Ip6Prefix(address, target.length),
                     Tarsel::Ip6Addr::FromBytes(target.gateway.data()), route.ifIndex, route.metric,
                     Tarsel::PATH_TYPE_STATIC, 1);
  } else {
    Tarsel::AddRoute(target.vlan, Tarsel::Ip4Addr::FromBytes(target.destination.data()),
                     Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[target.length]),
                     Tarsel::Ip4Addr::FromBytes(target.gateway.data()), route.ifIndex, route.metric,
                     Tarsel::PATH_TYPE_STATIC, 1);
  }
}

void RemoveByLibrary(const intent::ResolvedRoute& route) {
  const auto& target = route.target;
  if (target.ip6) {
    const auto address = Tarsel::Ip6Addr::FromBytes(target.destination.data());
    Tarsel::RemoveRoute(target.vlan, address, Tarsel::Ip6Prefix(address, target.length),
                        Tarsel::Ip6Addr::FromBytes(target.gateway.data()), route.ifIndex);
  } else {
    Tarsel::RemoveRoute(target.vlan, Tarsel::Ip4Addr::FromBytes(target.destination.data()),
                        Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[target.length]),
                        Tarsel::Ip4Addr::FromBytes(target.gateway.data()), route.ifIndex);
  }
}

TEST_F(RouteKeeper, AsksAsTheLibrarysOwnCallsDo) {
  const intent::ResolvedRoutes routes = {Route(10, 1), Route(10, 2, true, 65536 + 6),
                                         Route(20, 70000)};
  for (const auto& route : routes) {
    AddByLibrary(route);
  }
  const std::vector<std::string> items = Items();
  ASSERT_TRUE(Settle());
  const std::vector<std::string> calls = TakeCalls();
  for (const auto& route : routes) {
    RemoveByLibrary(route);
  }
  const std::vector<std::string> removals = Items();
  ASSERT_TRUE(Settle());
  const std::vector<std::string> removalCalls = TakeCalls();
  ASSERT_THAT(InStack(), IsEmpty());
  ASSERT_THAT(items, SizeIs(3));

  Want(routes);
  TurnOnly();
  EXPECT_EQ(Items(), items);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(TakeCalls(), calls);
  TurnOnly();
  Want({});
  TurnOnly();
  EXPECT_EQ(Items(), removals);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(TakeCalls(), removalCalls);
  EXPECT_THAT(InStack(), IsEmpty());
}

TEST_F(RouteKeeper, KnowsHowFarARouteHasCome) {
  const intent::ResolvedRoute route = Route(10, 1);
  EXPECT_EQ(Look(route), Kind::EQUAL) << "not wanted and not there";
  loop.AdvanceMilliseconds(50);
  const std::uint64_t planned = port.Now();
  Want({route});
  EXPECT_EQ(keeper->CountOpen(), 1u);
  EXPECT_EQ(keeper->CountUnderWay(), 0u);
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  EXPECT_EQ(keeper->Look(RowOf(route)).since, planned);
  loop.AdvanceMilliseconds(1);
  TurnOnly();
  EXPECT_EQ(keeper->CountOpen(), 1u);
  EXPECT_EQ(keeper->CountUnderWay(), 1u);
  EXPECT_EQ(keeper->Look(RowOf(route)).since, planned + 1);
  const std::uint64_t progress = keeper->GetProgress();
  EXPECT_EQ(keeper->CountConcluded(), 0u);
  ASSERT_TRUE(RunUntilSettled(100));
  EXPECT_GT(keeper->GetProgress(), progress);
  EXPECT_EQ(keeper->CountConcluded(), 1u);
  EXPECT_EQ(Look(route), Kind::EQUAL);
  EXPECT_THAT(InStack(), ElementsAre(route));

  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  Want({});
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  EXPECT_FALSE(keeper->HasLeavingRoutes(20));
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  TurnOnly();
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  ASSERT_TRUE(RunUntilSettled(100));
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  EXPECT_EQ(Look(route), Kind::EQUAL);
  EXPECT_THAT(InStack(), IsEmpty());
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteKeeper, AsksForDifferencesOnly) {
  const intent::ResolvedRoute other = Route(10, 2);
  Want({Route(10, 1), other});
  ASSERT_TRUE(RunUntilSettled());
  TakeCalls();
  Want({Route(10, 1), other});
  EXPECT_EQ(keeper->CountOpen(), 0u);
  Want({Route(10, 1, false, 7), other});
  EXPECT_EQ(keeper->CountOpen(), 1u);
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), SizeIs(1));
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1, false, 7), other));
  EXPECT_THAT(*keeper->GetWanted(), ElementsAre(Route(10, 1, false, 7), other));
  EXPECT_EQ(keeper->CountWanted(), 2u);
}

TEST_F(RouteKeeper, AddsBeforeItRemovesInTheOrderOfRoutes) {
  const unsigned int COUNT = 300;
  Want(Routes(10, COUNT));
  ASSERT_TRUE(RunUntilSettled());
  std::vector<std::string> added = TakeCalls();
  intent::ResolvedRoutes others;
  for (unsigned int i = COUNT; i < 2 * COUNT; ++i) {
    others.push_back(Route(10, i));
  }
  Want(others);
  ASSERT_TRUE(RunUntilSettled());
  const std::vector<std::string> calls = TakeCalls();
  ASSERT_THAT(calls, SizeIs(2 * COUNT));
  for (unsigned int i = 0; i < COUNT; ++i) {
    const std::string network = "20.0." + std::to_string(i) + ".0, 24, ";
    EXPECT_THAT(calls[i], HasSubstr("(1, 1, 1, 1, "));
    if (i < 256) {
      EXPECT_THAT(added[i], HasSubstr("(1, 1, 1, 1, " + network));
      EXPECT_THAT(calls[COUNT + i], HasSubstr("(1, 6, 2, 1, " + network));
    }
  }
}

// What changes while a request is under way is asked for when it has been answered.
TEST_F(RouteKeeper, AsksForOneThingOfARouteAtATime) {
  const intent::ResolvedRoute route = Route(10, 1);
  Control().Hold();
  Want({route});
  Run(100);
  Want({});
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  Run(100);
  Want({Route(10, 1, false, 8)});
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  Run(100);
  EXPECT_THAT(Items(), SizeIs(1));
  EXPECT_THAT(TakeCalls(), SizeIs(1));
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), SizeIs(1));
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1, false, 8)));

  Control().Hold();
  Want({});
  Run(100);
  Want({route});
  Run(100);
  Want({});
  Run(100);
  EXPECT_THAT(TakeCalls(), SizeIs(1));
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), IsEmpty()) << "the removal is what is wanted again";
  EXPECT_THAT(InStack(), IsEmpty());

  Control().Hold();
  Want({route});
  Run(100);
  Want({});
  Run(100);
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), SizeIs(2));
  EXPECT_THAT(InStack(), IsEmpty());
}

TEST_F(RouteKeeper, ForgetsWhatItHasNeverAskedFor) {
  const intent::ResolvedRoutes many = Routes(10, 100);
  Control().Hold();
  Want(many);
  Run(50);
  const std::size_t asked = keeper->CountUnderWay();
  ASSERT_LT(asked, many.size());
  Want({});
  EXPECT_EQ(keeper->CountOpen(), asked);
  Control().Release();
  TakeCalls();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), SizeIs(asked)) << "their removals";
  EXPECT_THAT(InStack(), IsEmpty());
}

// A route that is under way, or whose turn has not come, is asked for anyway.
TEST_F(RouteKeeper, AsksAgainForWhatIsOverOnly) {
  Control().Hold();
  Want(Routes(10, 40));
  Run(50);
  const std::size_t asked = keeper->CountUnderWay();
  ASSERT_LT(asked, 40u);
  keeper->AskAgain(RowOf(Route(10, 0)));
  keeper->AskAgain(RowOf(Route(10, 39)));
  EXPECT_EQ(keeper->CountUnderWay(), asked);
  EXPECT_EQ(keeper->CountOpen(), 40u);
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), SizeIs(40));
  keeper->AskAgain(RowOf(Route(10, 0)));
  EXPECT_EQ(keeper->CountUnderWay(), 1u);
  EXPECT_EQ(keeper->CountOpen(), 0u);
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(TakeCalls(), SizeIs(1));
}

TEST_F(RouteKeeper, MakesNoRequestWhileAPlanIsMade) {
  const intent::ResolvedRoute first = Route(10, 1);
  const intent::ResolvedRoute second = Route(10, 2);
  Control().Hold();
  Want({first});
  Run(50);
  const auto plan = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*plan, Share({second}));
  Control().Release();
  Run(100);
  EXPECT_THAT(InStack(), ElementsAre(first));
  TakeCalls();
  Run(100);
  EXPECT_THAT(TakeCalls(), IsEmpty());
  keeper->CarryOut(*plan);
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), ElementsAre(second));

  const auto forsaken = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*forsaken, Share({first}));
  keeper->Forget();
  keeper->CarryOut(*forsaken);
  EXPECT_EQ(keeper->CountOpen(), 0u);
  EXPECT_THAT(*keeper->GetWanted(), IsEmpty());
}

// The old sets are in the plan, for whoever frees it.
TEST_F(RouteKeeper, LeavesTheOldRoutesToThePlan) {
  intent::SharedRoutes first = Share(Routes(10, 10));
  const std::weak_ptr<const intent::ResolvedRoutes> watched = first;
  auto plan = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*plan, std::move(first));
  keeper->CarryOut(*plan);
  plan = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*plan, Share({}));
  keeper->CarryOut(*plan);
  EXPECT_FALSE(watched.expired());
  plan = nullptr;
  EXPECT_TRUE(watched.expired());
}

TEST_F(RouteKeeper, AsksNoMoreInATurnThanItMay) {
  const unsigned int COUNT = 2 * routes::RouteKeeper::ROUTES_A_TURN + 100;
  intent::ResolvedRoutes routes;
  std::vector<unsigned short> vlans;
  for (unsigned short vlan = 10; routes.size() < COUNT; ++vlan) {
    vlans.push_back(vlan);
    for (const auto& route : Routes(vlan, 20)) {
      routes.push_back(route);
    }
  }
  LoadVlans(vlans);
  Want(routes);
  std::size_t before = 0;
  for (int turn = 0; before < COUNT; ++turn) {
    ASSERT_LT(turn, 3);
    TurnOnly();
    EXPECT_EQ(keeper->CountUnderWay() - before,
              std::min<std::size_t>(routes::RouteKeeper::ROUTES_A_TURN, COUNT - before));
    before = keeper->CountUnderWay();
  }
  EXPECT_THAT(Items(), SizeIs(COUNT));
}

TEST_F(RouteKeeper, MayGoBeforeItsItems) {
  Want({Route(10, 1)});
  TurnOnly();
  ASSERT_THAT(Items(), SizeIs(1));
  keeper.reset();
  Run(200);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_THAT(InStack(), IsEmpty());

  keeper.emplace(turns.Get(), port, differences);
  Control().Hold();
  Want({Route(10, 2)});
  Run(100);
  keeper.reset();
  Control().Release();
  Run(100);
  EXPECT_THAT(Items(), IsEmpty());
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 2)));
}

}  // namespace
