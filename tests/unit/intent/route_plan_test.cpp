#include "device/intent/route_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/models/random_run.h"
#include "tests/unit/intent/numbered_routes.h"

namespace {

using intent::PlanRoutes;
using intent::ResolvedRoute;
using intent::ResolvedRoutes;
using intent_test::Route;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(PlanRoutes, AsksForNothingWhenNothingDiffers) {
  const ResolvedRoutes rows = {{Route(1), 1}, {Route(2), 2}};
  const intent::RoutePlan plan = PlanRoutes(rows, rows);
  EXPECT_THAT(plan.remove, IsEmpty());
  EXPECT_THAT(plan.add, IsEmpty());
}

TEST(PlanRoutes, AsksForTheDifferencesOnly) {
  const intent::RoutePlan plan = PlanRoutes({{Route(1), 1}, {Route(2), 1}, {Route(4), 1}},
                                            {{Route(2), 1}, {Route(3), 7}, {Route(5), 8}});
  EXPECT_THAT(plan.remove, ElementsAre(Route(1), Route(4)));
  EXPECT_THAT(plan.add, ElementsAre(Pair(Route(3), 7u), Pair(Route(5), 8u)));
}

TEST(PlanRoutes, AddsARouteAgainWhenItsMetricChanges) {
  const intent::RoutePlan plan = PlanRoutes({{Route(1), 1}}, {{Route(1), 2}});
  EXPECT_THAT(plan.remove, IsEmpty());
  EXPECT_THAT(plan.add, ElementsAre(Pair(Route(1), 2u)));
}

TEST(PlanRoutes, TakesAnotherInterfaceForAnotherRoute) {
  const intent::RoutePlan plan = PlanRoutes({{Route(1, 3), 1}}, {{Route(1, 4), 1}});
  EXPECT_THAT(plan.remove, ElementsAre(Route(1, 3)));
  EXPECT_THAT(plan.add, ElementsAre(Pair(Route(1, 4), 1u)));
}

ResolvedRoutes RandomRoutes(test_models::Random& random) {
  ResolvedRoutes rows;
  for (unsigned count = random.Below(12); count > 0; --count) {
    const auto number = static_cast<unsigned char>(random.Below(8));
    const ResolvedRoute row = Route(number, random.Below(2));
    rows[row] = random.Below(3);
  }
  return rows;
}

TEST(PlanRoutes, LeadsFromAnyRowsToAnyOthers) {
  test_models::Random random;
  for (unsigned round = test_models::Scaled(2000); round > 0; --round) {
    const ResolvedRoutes present = RandomRoutes(random);
    const ResolvedRoutes wanted = RandomRoutes(random);
    const intent::RoutePlan plan = PlanRoutes(present, wanted);
    ResolvedRoutes result = present;
    for (const ResolvedRoute& row : plan.remove) {
      ASSERT_EQ(result.erase(row), 1u);
    }
    for (const auto& [row, metric] : plan.add) {
      const auto before = result.find(row);
      ASSERT_TRUE(before == result.end() || before->second != metric);
      result[row] = metric;
    }
    ASSERT_EQ(result, wanted);
  }
}

}  // namespace
