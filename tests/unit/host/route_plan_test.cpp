#include "device/host/route_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/models/random_run.h"

namespace {

using host::PlanRoutes;
using host::RouteKey;
using host::RouteTarget;
using host::RowKey;
using host::Rows;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

RouteTarget Target(unsigned short vlan, unsigned char number) {
  RouteTarget target;
  target.vlan = vlan;
  target.destination[0] = number;
  target.length = 8;
  return target;
}

RowKey Row(unsigned char number, std::uint32_t ifIndex = 0) {
  return {Target(10, number), ifIndex};
}

TEST(PlanRoutes, AsksForNothingWhenNothingDiffers) {
  const Rows rows = {{Row(1), 1}, {Row(2), 2}};
  const host::RoutePlan plan = PlanRoutes(rows, rows);
  EXPECT_THAT(plan.remove, IsEmpty());
  EXPECT_THAT(plan.add, IsEmpty());
}

TEST(PlanRoutes, AsksForTheDifferencesOnly) {
  const host::RoutePlan plan =
      PlanRoutes({{Row(1), 1}, {Row(2), 1}, {Row(4), 1}}, {{Row(2), 1}, {Row(3), 7}, {Row(5), 8}});
  EXPECT_THAT(plan.remove, ElementsAre(Row(1), Row(4)));
  EXPECT_THAT(plan.add, ElementsAre(Pair(Row(3), 7u), Pair(Row(5), 8u)));
}

TEST(PlanRoutes, AddsARouteAgainWhenItsMetricChanges) {
  const host::RoutePlan plan = PlanRoutes({{Row(1), 1}}, {{Row(1), 2}});
  EXPECT_THAT(plan.remove, IsEmpty());
  EXPECT_THAT(plan.add, ElementsAre(Pair(Row(1), 2u)));
}

TEST(PlanRoutes, TakesAnotherInterfaceForAnotherRow) {
  const host::RoutePlan plan = PlanRoutes({{Row(1, 3), 1}}, {{Row(1, 4), 1}});
  EXPECT_THAT(plan.remove, ElementsAre(Row(1, 3)));
  EXPECT_THAT(plan.add, ElementsAre(Pair(Row(1, 4), 1u)));
}

Rows RandomRows(test_models::Random& random) {
  Rows rows;
  for (unsigned count = random.Below(12); count > 0; --count) {
    const auto number = static_cast<unsigned char>(random.Below(8));
    const RowKey row = Row(number, random.Below(2));
    rows[row] = random.Below(3);
  }
  return rows;
}

TEST(PlanRoutes, LeadsFromAnyRowsToAnyOthers) {
  test_models::Random random;
  for (unsigned round = test_models::Scaled(2000); round > 0; --round) {
    const Rows present = RandomRows(random);
    const Rows wanted = RandomRows(random);
    const host::RoutePlan plan = PlanRoutes(present, wanted);
    Rows result = present;
    for (const RowKey& row : plan.remove) {
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

class ResolveRoutes : public testing::Test {
 protected:
  Rows Resolve(const host::RouteSet& routes) {
    return host::ResolveRoutes(
        routes, [](unsigned short vlan) { return vlan == 10; },
        [](unsigned short vlan, const std::string& name) {
          return vlan == 10 && name == "eth0" ? std::optional<std::uint32_t>(3) : std::nullopt;
        },
        waiting);
  }

  std::vector<RouteKey> waiting;
};

TEST_F(ResolveRoutes, FindsTheInterfacesIndex) {
  const RouteKey key(Target(10, 1), "eth0");
  EXPECT_THAT(Resolve({{key, {5, ""}}}), ElementsAre(Pair(Row(1, 3), 5u)));
  EXPECT_THAT(waiting, IsEmpty());
}

TEST_F(ResolveRoutes, TakesARouteWithoutInterface) {
  const RouteKey key(Target(10, 1), "");
  EXPECT_THAT(Resolve({{key, {5, ""}}}), ElementsAre(Pair(Row(1, 0), 5u)));
}

TEST_F(ResolveRoutes, NamesRoutesWhoseInterfaceIsNotThere) {
  const RouteKey key(Target(10, 1), "eth9");
  EXPECT_THAT(Resolve({{key, {5, ""}}}), IsEmpty());
  EXPECT_THAT(waiting, ElementsAre(key));
}

TEST_F(ResolveRoutes, LeavesOutRoutesOfOtherVlans) {
  EXPECT_THAT(Resolve({{RouteKey(Target(11, 1), "eth0"), {5, ""}}}), IsEmpty());
  EXPECT_THAT(waiting, IsEmpty());
}

}  // namespace
