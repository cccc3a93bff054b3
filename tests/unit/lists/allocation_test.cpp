// What happens when memory runs out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_objects.h"
#include "tests/support/failing_new.h"
#include "tests/support/json_text.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/static_routes.h"

namespace {

using config_test::TestRouter;
using test_support::FailingNew;
using test_support::Node;
using namespace Tarsel;

// A configuration that allocates nothing, so that the first allocation is the router's.
class EnabledConfig : public DcProtoInterfaceBase {
 public:
  void ParseOptions(const OptionsNode&, const string&, DclConfigObject::OptionType) override {}
  void DeleteOptions(const string&, DclConfigObject::OptionType) override {}
  bool IsEnabled() override { return true; }
  void Display(DcConsole*) override {}
  bool IsReady() override { return true; }
  bool IsReady(unsigned int) override { return true; }
  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}
  void ProcessIPAddressChange(unsigned int, const Ip4Addr&) override {}
};

TEST(AllocationTest, ListsThatCannotBeMadeAreAskedForAgain) {
  TestRouter router(12, new EnabledConfig);
  const Node node(R"({"TEST": {"tag": "x"}})");
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
