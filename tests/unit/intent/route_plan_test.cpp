#include "device/intent/route_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <utility>

#include "tests/models/random_run.h"
#include "tests/unit/intent/numbered_routes.h"

namespace {

using intent::ResolvedRoute;
using intent::ResolvedRoutes;
using intent::RoutePlan;
using intent_test::Route;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;

RoutePlan PlanRoutes(ResolvedRoutes present, ResolvedRoutes wanted) {
  return intent::PlanRoutes(std::make_shared<const ResolvedRoutes>(std::move(present)),
                            std::make_shared<const ResolvedRoutes>(std::move(wanted)));
}

TEST(PlanRoutes, AsksForNothingWhenNothingDiffers) {
  const ResolvedRoutes rows = {Route(1, 0, 1), Route(2, 0, 2)};
  const RoutePlan plan = PlanRoutes(rows, rows);
  EXPECT_THAT(plan.remove, IsEmpty());
  EXPECT_THAT(plan.add, IsEmpty());
}

TEST(PlanRoutes, AsksForTheDifferencesOnly) {
  const RoutePlan plan =
      PlanRoutes({Route(1), Route(2), Route(4)}, {Route(2), Route(3, 0, 7), Route(5, 0, 8)});
  EXPECT_THAT(plan.remove, ElementsAre(Pointee(Route(1)), Pointee(Route(4))));
  EXPECT_THAT(plan.add, ElementsAre(Pointee(Route(3, 0, 7)), Pointee(Route(5, 0, 8))));
}

TEST(PlanRoutes, AddsARouteAgainWhenItsMetricChanges) {
  const RoutePlan plan = PlanRoutes({Route(1, 0, 1)}, {Route(1, 0, 2)});
  EXPECT_THAT(plan.remove, IsEmpty());
  EXPECT_THAT(plan.add, ElementsAre(Pointee(Route(1, 0, 2))));
}

TEST(PlanRoutes, TakesAnotherInterfaceForAnotherRoute) {
  const RoutePlan plan = PlanRoutes({Route(1, 3)}, {Route(1, 4)});
  EXPECT_THAT(plan.remove, ElementsAre(Pointee(Route(1, 3))));
  EXPECT_THAT(plan.add, ElementsAre(Pointee(Route(1, 4))));
}

TEST(PlanRoutes, CopiesNothing) {
  const RoutePlan plan = PlanRoutes({Route(1)}, {Route(2)});
  EXPECT_EQ(plan.remove.at(0), plan.present->data());
  EXPECT_EQ(plan.add.at(0), plan.wanted->data());
}

// By number and interface, with the metric.
using Rows = std::map<std::pair<unsigned int, std::uint32_t>, std::uint32_t>;

std::pair<unsigned int, std::uint32_t> KeyOf(const ResolvedRoute& route) {
  return {route.target.destination[0], route.ifIndex};
}

Rows RandomRows(test_models::Random& random) {
  Rows rows;
  for (unsigned count = random.Below(12); count > 0; --count) {
    const unsigned number = random.Below(8);
    rows[{number, random.Below(2)}] = random.Below(3);
  }
  return rows;
}

ResolvedRoutes RoutesOf(const Rows& rows) {
  ResolvedRoutes routes;
  for (const auto& [key, metric] : rows) {
    routes.push_back(Route(static_cast<unsigned char>(key.first), key.second, metric));
  }
  return routes;
}

TEST(PlanRoutes, LeadsFromAnyRowsToAnyOthers) {
  test_models::Random random;
  for (unsigned round = test_models::Scaled(2000); round > 0; --round) {
    const Rows present = RandomRows(random);
    const Rows wanted = RandomRows(random);
    const RoutePlan plan = PlanRoutes(RoutesOf(present), RoutesOf(wanted));
    Rows result = present;
    for (const ResolvedRoute* row : plan.remove) {
      ASSERT_EQ(result.erase(KeyOf(*row)), 1u);
    }
    for (const ResolvedRoute* row : plan.add) {
      const auto before = result.find(KeyOf(*row));
      ASSERT_TRUE(before == result.end() || before->second != row->metric);
      result[KeyOf(*row)] = row->metric;
    }
    ASSERT_EQ(result, wanted);
  }
}

}  // namespace
