// What happens when memory runs out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_documents.h"
#include "test_objects.h"
#include "tests/support/failing_new.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/static_routes.h"

namespace {

using config_test::Node;
using test_support::FailingNew;
using namespace Tarsel;

TEST(AllocationTest, ListsThatCannotBeMadeAreAskedForAgain) {
  DcRipv2Router router(12);
  const Node node(R"({"RIPV2": {"enabled": true}})");
  {
    FailingNew failure(1);
    EXPECT_EQ(router.Reload(node, "file", DclConfigObject::VLAN_OPTIONS), 1);
    EXPECT_TRUE(failure.HasFailed());
  }
  EXPECT_THAT(router.GetConfigLists(), testing::IsEmpty());
  EXPECT_EQ(router.Reload(node, "file", DclConfigObject::VLAN_OPTIONS), 1);
  EXPECT_EQ(router.GetConfigLists().size(), 1u);
}

TEST(AllocationTest, ARouterWhoseConfigurationCannotBeMadeHasNone) {
  FailingNew failure(1);
  DcRipngRouter router(12);
  EXPECT_TRUE(failure.HasFailed());
  EXPECT_EQ(router.GetInterface(), nullptr);
  const Node node(R"({"RIPNG": {"enabled": true}})");
  EXPECT_EQ(router.Reload(node, "file", DclConfigObject::VLAN_OPTIONS), 1);
  EXPECT_FALSE(router.IsEnabled());
}

TEST(AllocationTest, AddRouteAnswersOneWithoutAnRtmManager) {
  FailingNew failure(1);
  EXPECT_EQ(AddRoute(10, IP4_ANY, IP4_ANY, IP4_ANY, 1, 1, 0x30000, 1), 1);
  EXPECT_TRUE(failure.HasFailed());
}

}  // namespace
