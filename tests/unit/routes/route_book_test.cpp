// What is known of routes, without a device.
#include "device/routes/route_book.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace {

using routes::Asking;
using routes::RouteState;
using rows::RouteRow;
using Place = routes::RouteBook::Place;

class RouteBook : public testing::Test {
 protected:
  static intent::ResolvedRoute Route(unsigned char number, std::uint32_t metric = 5) {
    intent::ResolvedRoute route;
    route.target.vlan = 10;
    route.target.destination[0] = number;
    route.metric = metric;
    return route;
  }
  static RouteRow Row(unsigned char number) { return {Route(number).target, 0}; }

  void Want(intent::ResolvedRoutes routes) {
    routes::RouteBook::Plan plan = book.BeginPlan(holding);
    routes::RouteBook::Make(plan,
                            std::make_shared<const intent::ResolvedRoutes>(std::move(routes)));
    book.CarryOut(plan);
  }
  void Set(unsigned char number, RouteState::Kind kind, std::uint32_t value = 0) {
    book.Set(book.Find(Row(number)), Row(number), book.GetLanes().Get(10), {kind, value});
  }
  RouteState::Kind KindOf(unsigned char number) const {
    return book.StateOf(book.Find(Row(number)), Row(number)).kind;
  }
  Place::Where WhereIs(unsigned char number) const { return book.Find(Row(number)).where; }

  std::size_t CountToAsk() const {
    return book.CountToAsk(Asking::ADDITIONS) + book.CountToAsk(Asking::REMOVALS);
  }

  routes::RouteBook book;
  routes::RouteBook::Holding holding;
};

TEST_F(RouteBook, KeepsLeavingRoutesUntilTheLastHasGone) {
  Want({Route(1), Route(2), Route(3)});
  for (const unsigned char number : {1, 2, 3}) {
    Set(number, RouteState::SETTLED);
  }
  Want({Route(2)});
  EXPECT_EQ(book.GetLeaving().routes->size(), 2u);
  EXPECT_EQ(CountToAsk(), 2u);
  Set(1, RouteState::SETTLED);
  EXPECT_EQ(WhereIs(1), Place::LEAVING);
  Set(1, RouteState::UNDER_WAY, 7);  // it is there again
  Set(3, RouteState::SETTLED);
  EXPECT_EQ(WhereIs(3), Place::LEAVING);
  const unsigned int edition = book.GetEdition();
  Set(1, RouteState::SETTLED);
  EXPECT_EQ(WhereIs(1), Place::NOWHERE);
  EXPECT_TRUE(book.GetLeaving().routes->empty());
  EXPECT_NE(book.GetEdition(), edition);
}

TEST_F(RouteBook, PlansWithoutLeavingRoutesThatHaveGone) {
  Want({Route(1), Route(2), Route(3), Route(4)});
  for (const unsigned char number : {1, 2, 3, 4}) {
    Set(number, RouteState::SETTLED);
  }
  Want({});
  Set(1, RouteState::SETTLED);
  Set(3, RouteState::SETTLED);
  Want({Route(1)});
  EXPECT_EQ(KindOf(1), RouteState::NEVER_ASKED);
  EXPECT_EQ(WhereIs(2), Place::LEAVING);
  EXPECT_EQ(WhereIs(3), Place::NOWHERE);
  EXPECT_EQ(WhereIs(4), Place::LEAVING);
  EXPECT_EQ(book.GetLanes().Find(10)->work.removals, 2u);
}

TEST_F(RouteBook, KnowsWhatAPlanMakesOfEachState) {
  const auto want = [&](RouteState::Kind kind, std::uint32_t value) {
    Want({Route(1)});
    Set(1, kind, value);
  };
  const std::vector<std::pair<RouteState::Kind, RouteState::Kind>> ofLeaving = {
      {RouteState::TO_ASK, RouteState::TO_ASK},
      {RouteState::UNDER_WAY, RouteState::UNDER_WAY},
      {RouteState::SETTLED, RouteState::TO_ASK},
      {RouteState::REFUSED, RouteState::TO_ASK}};
  for (const auto& [before, after] : ofLeaving) {
    want(before, 1);
    Want({});
    ASSERT_EQ(WhereIs(1), Place::LEAVING);
    EXPECT_EQ(KindOf(1), after) << "from " << static_cast<int>(before);
    EXPECT_EQ(book.StateOf(book.Find(Row(1)), Row(1)).HasGivenUp(),
              before == RouteState::REFUSED || before == RouteState::TO_ASK);
    Want({Route(1)});
    EXPECT_EQ(KindOf(1), after) << "and back";
    book.Forget();

    want(before, 1);
    Want({Route(1)});
    EXPECT_EQ(KindOf(1), before) << "the same again";
    Want({Route(1, 6)});
    EXPECT_EQ(KindOf(1), after) << "with another metric";
    book.Forget();
  }
  Want({Route(1)});
  Want({Route(1, 6)});
  EXPECT_EQ(KindOf(1), RouteState::NEVER_ASKED);
  Want({});
  EXPECT_EQ(WhereIs(1), Place::NOWHERE);
  EXPECT_EQ(CountToAsk(), 0u);
}

TEST_F(RouteBook, KeepsAStrayUntilItHasGone) {
  const auto removals = [&] { return book.GetLanes().Get(10).work.removals; };
  Set(9, RouteState::UNDER_WAY, 1);
  EXPECT_EQ(WhereIs(9), Place::STRAY);
  EXPECT_EQ(removals(), 1u);
  Set(9, RouteState::REFUSED, 4);
  EXPECT_EQ(WhereIs(9), Place::STRAY);
  EXPECT_EQ(removals(), 0u);
  Set(9, RouteState::UNDER_WAY, 2);
  Set(8, RouteState::UNDER_WAY, 3);
  Set(9, RouteState::SETTLED);
  EXPECT_EQ(WhereIs(9), Place::NOWHERE);
  EXPECT_EQ(book.GetStrays().size(), 1u);
  EXPECT_EQ(WhereIs(8), Place::STRAY);
  EXPECT_EQ(removals(), 1u);
}

TEST_F(RouteBook, NamesTheNextRouteToAskForInOrder) {
  Want({Route(1), Route(2), Route(3)});
  routes::RouteLane& lane = book.GetLanes().Get(10);
  const auto next = [&] { return book.NextToAsk(lane, Asking::ADDITIONS); };
  EXPECT_EQ(next().position, 0u);
  Set(1, RouteState::UNDER_WAY);
  Set(2, RouteState::UNDER_WAY);
  EXPECT_EQ(next().position, 2u);
  Set(2, RouteState::TO_ASK);
  EXPECT_EQ(next().position, 1u);
  Set(2, RouteState::SETTLED);
  EXPECT_EQ(next().position, 2u);
  Set(3, RouteState::SETTLED);
  EXPECT_EQ(lane.work.CountToAsk(), 0u);
  Set(1, RouteState::TO_ASK);
  EXPECT_EQ(next().position, 0u);
  Want({Route(1)});
  EXPECT_EQ(next().position, 0u);
  EXPECT_EQ(book.NextToAsk(lane, Asking::REMOVALS).where, Place::LEAVING);
  EXPECT_EQ(book.CountToAsk(Asking::ADDITIONS), 1u);
  EXPECT_EQ(book.CountToAsk(Asking::REMOVALS), 2u);
}

// Routes of one prefix by several gateways.
class HeldRoutes : public RouteBook {
 protected:
  static intent::ResolvedRoute Via(unsigned char gateway, unsigned char number = 1,
                                   std::uint32_t metric = 5) {
    intent::ResolvedRoute route = Route(number, metric);
    route.target.gateway[0] = gateway;
    return route;
  }
  static RouteRow RowVia(unsigned char gateway) { return {Via(gateway).target, 0}; }
  void SetVia(unsigned char gateway, RouteState state) {
    book.Set(book.Find(RowVia(gateway)), RowVia(gateway), book.GetLanes().Get(10), state);
  }
  RouteState StateVia(unsigned char gateway) const {
    return book.StateOf(book.Find(RowVia(gateway)), RowVia(gateway));
  }
  // The route by the first gateway has this state, and one by the second is wanted.
  void Replace(RouteState state) {
    book.Forget();
    Want({Via(1)});
    SetVia(1, state);
    Want({Via(2)});
  }
};

TEST_F(HeldRoutes, AreThoseOfWhosePrefixOthersAreWanted) {
  Replace({RouteState::SETTLED, 0});
  EXPECT_EQ(StateVia(1).kind, RouteState::AWAITING);
  EXPECT_EQ(StateVia(1).value, 0u);
  EXPECT_EQ(book.CountAwaiting(), 1u);
  EXPECT_EQ(book.CountToAsk(Asking::REMOVALS), 0u);
  EXPECT_EQ(book.GetLanes().Find(10)->CountOpen(), 2u) << "the new one and the old one's removal";
  EXPECT_TRUE(book.MayHaveRoutes(10));

  Replace({RouteState::REFUSED, 3});
  EXPECT_EQ(StateVia(1).value, RouteState::GIVEN_UP | RouteState::CHANGED);
  EXPECT_TRUE(StateVia(1).HasGivenUp());
  Replace(RouteState::ToAsk(false));
  EXPECT_EQ(StateVia(1).value, std::uint32_t{RouteState::CHANGED});
  Replace({RouteState::UNDER_WAY, 7});
  EXPECT_EQ(StateVia(1).kind, RouteState::UNDER_WAY);

  // The neighbours on both sides count, other lengths do not.
  book.Forget();
  intent::ResolvedRoute longer = Via(9);
  longer.target.length = 8;
  Want({Via(1), Via(3), longer, Via(2, 2)});
  EXPECT_TRUE(book.GetLeaving().states.empty());
  for (const unsigned char gateway : {1, 3}) {
    SetVia(gateway, {RouteState::SETTLED, 0});
  }
  Want({Via(2), longer});
  EXPECT_EQ(book.CountAwaiting(), 2u);
  Want({longer});
  EXPECT_EQ(book.CountAwaiting(), 0u);
  EXPECT_EQ(StateVia(1).kind, RouteState::TO_ASK);
  EXPECT_EQ(book.CountToAsk(Asking::REMOVALS), 2u);
}

TEST_F(HeldRoutes, MayBeWantedAgain) {
  Replace({RouteState::SETTLED, 0});
  Want({Via(1)});
  EXPECT_EQ(StateVia(1).kind, RouteState::SETTLED);
  EXPECT_EQ(book.CountAwaiting(), 0u);
  Replace({RouteState::SETTLED, 0});
  Want({Via(1, 1, 6)});
  EXPECT_EQ(StateVia(1).kind, RouteState::TO_ASK) << "with another metric";
  Replace(RouteState::ToAsk(false));
  Want({Via(1)});
  EXPECT_EQ(StateVia(1).kind, RouteState::TO_ASK) << "nobody knows what the stack has of it";
}

TEST_F(HeldRoutes, GoWhenAPlanSaysSo) {
  Replace({RouteState::SETTLED, 0});
  SetVia(2, {RouteState::SETTLED, 0});
  SetVia(1, {RouteState::KEPT, 0});
  EXPECT_EQ(book.CountKept(), 1u);
  EXPECT_EQ(book.CountAwaiting(), 0u);
  Want({Via(2)});
  EXPECT_EQ(book.CountKept(), 1u) << "it is no other configuration";
  holding.endsKept = true;
  Want({Via(2), Via(3)});
  EXPECT_EQ(StateVia(1).kind, RouteState::AWAITING) << "of another one";
  SetVia(3, {RouteState::SETTLED, 0});
  Want({Via(2), Via(3)});
  EXPECT_EQ(StateVia(1).kind, RouteState::AWAITING) << "it is not kept";
  SetVia(1, {RouteState::KEPT, RouteState::GIVEN_UP});
  routes::RouteBook::Plan plan = book.BeginPlan(holding);
  routes::RouteBook::Make(
      plan, std::make_shared<const intent::ResolvedRoutes>(intent::ResolvedRoutes{Via(2), Via(3)}));
  book.CarryOut(plan);
  EXPECT_EQ(plan.endedCount, 1u);
  ASSERT_EQ(plan.ended.size(), 1u);
  EXPECT_EQ(routes::CompareRoutes(plan.ended[0], RowVia(1)), 0);
  EXPECT_EQ(StateVia(1).kind, RouteState::TO_ASK);
  EXPECT_EQ(StateVia(1).value, RouteState::GIVEN_UP | RouteState::DUE);
  EXPECT_EQ(book.CountKept(), 0u);
  EXPECT_EQ(book.CountToAsk(Asking::REMOVALS), 1u);
  Want({Via(2), Via(4)});
  EXPECT_EQ(StateVia(1).kind, RouteState::TO_ASK) << "it is due";

  holding = {true, false, true};
  Replace({RouteState::SETTLED, 0});
  EXPECT_EQ(StateVia(1).kind, RouteState::AWAITING) << "it was not held before";
  Want({Via(2)});
  EXPECT_EQ(StateVia(1).value, std::uint32_t{RouteState::DUE});
  holding = {false, false, false};
  Replace({RouteState::SETTLED, 0});
  EXPECT_EQ(StateVia(1).kind, RouteState::TO_ASK);
}

TEST_F(HeldRoutes, AreForgottenWithTheirVlan) {
  for (const bool hasGone : {false, true}) {
    Replace({RouteState::SETTLED, 0});
    book.ForgetVlan(10, hasGone);
    EXPECT_EQ(book.CountAwaiting(), 0u);
    EXPECT_EQ(book.CountToAsk(Asking::ADDITIONS), hasGone ? 0u : 1u);
    EXPECT_EQ(StateVia(2).kind, RouteState::NEVER_ASKED);
    EXPECT_FALSE(book.MayHaveRoutes(10));
    Want({Via(2)});
    EXPECT_EQ(book.CountToAsk(Asking::ADDITIONS), 1u);
  }
}

// A route keeps the revision that it came with, unless its metric changes.
TEST_F(RouteBook, KeepsWhatHasHappenedToARoute) {
  const auto want = [this](intent::ResolvedRoutes routes, std::uint32_t revision) {
    routes::RouteBook::Plan plan = book.BeginPlan(holding, revision);
    routes::RouteBook::Make(plan,
                            std::make_shared<const intent::ResolvedRoutes>(std::move(routes)));
    book.CarryOut(plan);
  };
  const auto life = [this](unsigned char number) { return *book.LifeOf(book.Find(Row(number))); };
  want({Route(1), Route(2)}, 7);
  Set(1, RouteState::SETTLED);
  book.LifeOf(book.Find(Row(1)))->Asked(5999);
  book.LifeOf(book.Find(Row(1)))->Answered(9000, 3);
  want({Route(1), Route(3)}, 8);
  EXPECT_EQ(life(1).revision, 7u);
  EXPECT_EQ(life(1).asked, 5u);
  EXPECT_EQ(life(1).answeredIn, 4u);
  EXPECT_EQ(life(1).count, 1u);
  EXPECT_EQ(life(1).status, 3u);
  EXPECT_EQ(life(3).revision, 8u);
  want({Route(1, 6)}, 9);
  EXPECT_EQ(life(1).revision, 9u);
  EXPECT_EQ(life(1).count, 1u);
  want({}, 10);
  ASSERT_EQ(WhereIs(1), Place::LEAVING);
  EXPECT_EQ(life(1).count, 1u);
}

TEST(RouteLife, StaysAtTheGreatestNumbers) {
  routes::RouteLife life;
  for (int i = 0; i < 70000; ++i) {
    life.Asked(1000);
  }
  life.Answered(100000000, 1000);
  EXPECT_EQ(life.count, UINT16_MAX);
  EXPECT_EQ(life.answeredIn, UINT16_MAX);
  EXPECT_EQ(life.status, 255u);
  life.Asked(2000);
  EXPECT_EQ(life.status, 0u) << "there is no answer yet";
  EXPECT_EQ(sizeof life, 12u);
}

}  // namespace
