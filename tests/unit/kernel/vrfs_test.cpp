// VRF devices, as links tell of them.

#include "device/kernel/vrfs.h"

#include <gtest/gtest.h>

namespace {

using kernel::Vrfs;

kernel::Link VrfLink(const std::string& name, std::optional<std::uint32_t> table) {
  kernel::Link link;
  link.name = name;
  link.vrfTable = table;
  return link;
}

TEST(VrfsTest, OnlyWhatIsNewsOfAVrfDeviceIsAChange) {
  Vrfs vrfs;
  kernel::Link blue = VrfLink("blue", 100);
  const kernel::Link eth0 = VrfLink("eth0", std::nullopt);
  EXPECT_FALSE(vrfs.Take(2, &eth0));
  EXPECT_TRUE(vrfs.Take(5, &blue));
  EXPECT_FALSE(vrfs.Take(5, &blue));
  blue.isUp = true;
  EXPECT_FALSE(vrfs.Take(5, &blue)) << "its state is a link's";
  blue.vrfTable = 200;
  EXPECT_TRUE(vrfs.Take(5, &blue));
  blue.name = "navy";
  EXPECT_TRUE(vrfs.Take(5, &blue));
  EXPECT_FALSE(vrfs.Take(2, nullptr));
  EXPECT_TRUE(vrfs.Take(5, nullptr));
  EXPECT_FALSE(vrfs.Take(5, nullptr));
}

TEST(VrfsTest, OneIsFoundByItsIndexAndByItsName) {
  Vrfs vrfs;
  const kernel::Link blue = VrfLink("blue", 100);
  const kernel::Link red = VrfLink("red", 0);
  vrfs.Take(5, &blue);
  vrfs.Take(4, &red);
  ASSERT_NE(nullptr, vrfs.Find(5));
  EXPECT_EQ("blue", vrfs.Find(5)->name);
  ASSERT_NE(nullptr, vrfs.Find("blue"));
  EXPECT_EQ(100u, vrfs.Find("blue")->table);
  ASSERT_NE(nullptr, vrfs.Find("red"));
  EXPECT_EQ(0u, vrfs.Find("red")->table);
  EXPECT_EQ(nullptr, vrfs.Find(3));
  EXPECT_EQ(nullptr, vrfs.Find("green"));
  vrfs.Clear();
  EXPECT_EQ(nullptr, vrfs.Find(5));
}

TEST(VrfsTest, AnIndexMayComeBackAsAnotherKindOfLink) {
  Vrfs vrfs;
  const kernel::Link blue = VrfLink("blue", 100);
  const kernel::Link plain = VrfLink("blue", std::nullopt);
  vrfs.Take(5, &blue);
  EXPECT_TRUE(vrfs.Take(5, &plain));
  EXPECT_EQ(nullptr, vrfs.Find("blue"));
}

}  // namespace
