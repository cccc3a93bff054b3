// What is known of routes, without a device.
#include "device/apply/route_book.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace {

using apply::RouteRow;
using apply::RouteState;
using Place = apply::RouteBook::Place;

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
    apply::RouteBook::Plan plan = book.BeginPlan();
    apply::RouteBook::Make(plan, std::make_shared<const intent::ResolvedRoutes>(std::move(routes)));
    book.CarryOut(plan);
  }
  void Set(unsigned char number, RouteState::Kind kind, std::uint32_t value = 0) {
    book.Set(book.Find(Row(number)), Row(number), book.GetLanes().Get(10), {kind, value});
  }
  RouteState::Kind KindOf(unsigned char number) const {
    return book.StateOf(book.Find(Row(number)), Row(number)).kind;
  }
  Place::Where WhereIs(unsigned char number) const { return book.Find(Row(number)).where; }

  apply::RouteBook book;
};

TEST_F(RouteBook, KeepsLeavingRoutesUntilTheLastHasGone) {
  Want({Route(1), Route(2), Route(3)});
  for (const unsigned char number : {1, 2, 3}) {
    Set(number, RouteState::SETTLED);
  }
  Want({Route(2)});
  EXPECT_EQ(book.GetLeaving().routes->size(), 2u);
  EXPECT_EQ(book.CountToAsk(), 2u);
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
  EXPECT_EQ(book.CountToAsk(), 0u);
}

TEST_F(RouteBook, NamesTheNextRouteToAskForInOrder) {
  Want({Route(1), Route(2), Route(3)});
  apply::RouteLane& lane = book.GetLanes().Get(10);
  EXPECT_EQ(book.NextToAsk(lane).position, 0u);
  Set(1, RouteState::UNDER_WAY);
  Set(2, RouteState::UNDER_WAY);
  EXPECT_EQ(book.NextToAsk(lane).position, 2u);
  Set(2, RouteState::TO_ASK);
  EXPECT_EQ(book.NextToAsk(lane).position, 1u);
  Set(2, RouteState::SETTLED);
  EXPECT_EQ(book.NextToAsk(lane).position, 2u);
  Set(3, RouteState::SETTLED);
  EXPECT_EQ(lane.work.CountToAsk(), 0u);
  Set(1, RouteState::TO_ASK);
  EXPECT_EQ(book.NextToAsk(lane).position, 0u);
  Want({Route(1)});
  EXPECT_EQ(book.NextToAsk(lane).where, Place::LEAVING) << "removals come first";
  EXPECT_EQ(book.CountToAsk(), 3u);
}

}  // namespace
