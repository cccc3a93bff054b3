// The RIP routers' own part.
#include "vantacore/dc_rip_routers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "routers/rip_interfaces.h"
#include "tests/support/json_text.h"
#include "tests/support/recording_console.h"

namespace {

using test_support::Node;

using namespace Tarsel;

TEST(RipRoutersTest, Names) {
  const DcRipv2Router v2(12);
  EXPECT_EQ(v2.GetName(), "RIPV2");
  EXPECT_EQ(v2.GetDisplayName(), "RIPV2:12");
  EXPECT_EQ(v2.GetVlan(), 12);
  const DcRipngRouter ng(13);
  EXPECT_EQ(ng.GetName(), "RIPNG");
  EXPECT_EQ(ng.GetDisplayName(), "RIPNG:13");
  EXPECT_EQ(ng.GetVlan(), 13);
}

TEST(RipRoutersTest, EachHasItsProtocolsConfiguration) {
  const DcRipv2Router v2(12);
  EXPECT_NE(dynamic_cast<Ripv2Interface*>(v2.GetInterface()), nullptr);
  const DcRipngRouter ng(12);
  EXPECT_NE(dynamic_cast<RipngInterface*>(ng.GetInterface()), nullptr);
}

TEST(RipRoutersTest, TheyAddNoLists) {
  DcConfigLists lists("file", DclConfigObject::VLAN_OPTIONS);
  DcRipv2Router v2(12);
  EXPECT_TRUE(v2.CreateConfigList(lists));
  DcRipngRouter ng(12);
  EXPECT_TRUE(ng.CreateConfigList(lists));
  EXPECT_THAT(lists.GetLists(), testing::IsEmpty());
}

TEST(RipRoutersTest, AnEnablingReloadKeepsAnEmptySetOfLists) {
  DcRipv2Router router(12);
  const Node node(R"({"RIPV2": {"enabled": true}})");
  EXPECT_EQ(router.Reload(node, "file", DclConfigObject::VLAN_OPTIONS), 1);
  EXPECT_TRUE(router.IsEnabled());
  ASSERT_EQ(router.GetConfigLists().size(), 1u);
  EXPECT_THAT(router.GetConfigLists().at("file")->GetLists(), testing::IsEmpty());
  const Node without("{}");
  router.Reload(without, "file", DclConfigObject::VLAN_OPTIONS);
  EXPECT_THAT(router.GetConfigLists(), testing::IsEmpty());
}

TEST(RipRoutersTest, RipngHasNoConsoleCommands) {
  const auto log = test_support::NewConsoleLog();
  auto console = std::make_unique<test_support::RecordingConsole>(log);
  char word[] = "rip";
  char* words[] = {word, nullptr};
  DcRipngRouter::ConsoleCommand(nullptr, console.get(), 1, words);
  EXPECT_EQ(log->all, "");
  EXPECT_EQ(log->ends, 0);
  EXPECT_FALSE(log->destroyed) << "the console stays the caller's";
}

}  // namespace
