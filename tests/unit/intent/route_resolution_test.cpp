#include "device/intent/route_resolution.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/intent/numbered_routes.h"

namespace {

using documents::RouteKey;
using intent::ResolvedRoutes;
using intent_test::Route;
using intent_test::Target;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class ResolveRoutes : public testing::Test {
 protected:
  ResolvedRoutes Resolve(const documents::RouteSet& routes) {
    return intent::ResolveRoutes(
        routes, [](unsigned short vlan) { return vlan == 10; },
        [](unsigned short vlan, const std::string& name) {
          return vlan == 10 && name == "eth0" ? std::optional<std::uint32_t>(3) : std::nullopt;
        },
        waiting);
  }

  std::vector<RouteKey> waiting;
};

TEST_F(ResolveRoutes, FindsTheInterfacesIndex) {
  const RouteKey key{Target(10, 1), "eth0"};
  EXPECT_THAT(Resolve({{key, {5, documents::Place("vlans.json")}}}),
              ElementsAre(Pair(Route(1, 3), 5u)));
  EXPECT_THAT(waiting, IsEmpty());
}

TEST_F(ResolveRoutes, TakesARouteWithoutInterface) {
  const RouteKey key{Target(10, 1), ""};
  EXPECT_THAT(Resolve({{key, {5, documents::Place("vlans.json")}}}),
              ElementsAre(Pair(Route(1, 0), 5u)));
}

TEST_F(ResolveRoutes, NamesRoutesWhoseInterfaceIsNotThere) {
  const RouteKey key{Target(10, 1), "eth9"};
  EXPECT_THAT(Resolve({{key, {5, documents::Place("vlans.json")}}}), IsEmpty());
  EXPECT_THAT(waiting, ElementsAre(key));
}

TEST_F(ResolveRoutes, LeavesOutRoutesOfOtherVlans) {
  EXPECT_THAT(Resolve({{RouteKey{Target(11, 1), "eth0"}, {5, documents::Place("vlans.json")}}}),
              IsEmpty());
  EXPECT_THAT(waiting, IsEmpty());
}

}  // namespace
