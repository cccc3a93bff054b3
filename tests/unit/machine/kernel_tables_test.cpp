// Which table of the kernel is which VLAN's.

#include "device/machine/kernel_tables.h"

#include <gtest/gtest.h>

namespace {

using machine::KernelTables;

constexpr auto NO_TABLE = std::nullopt;
using Table = std::optional<std::uint32_t>;
using Owner = std::optional<unsigned short>;

TEST(KernelTablesTest, AVrfDeviceComesBeforeTheMainTableAndThatBeforeTheBase) {
  const KernelTables tables(10, 40000, {{20, 100}, {30, NO_TABLE}});
  EXPECT_EQ(Table(254), tables.Of(10));
  EXPECT_EQ(Table(100), tables.Of(20));
  EXPECT_EQ(Table(), tables.Of(30)) << "its VRF device is away";
  EXPECT_EQ(Table(40040), tables.Of(40));
  EXPECT_EQ(Table(300), KernelTables(10, 40000, {{10, 300}}).Of(10));
}

TEST(KernelTablesTest, TheKernelHasItsNetworksInItsOwnTables) {
  const KernelTables tables(10, 40000, {{20, 100}, {30, NO_TABLE}});
  for (const unsigned int vlan : {10, 20, 30}) {
    EXPECT_TRUE(tables.HasKernelsNetworks(vlan)) << vlan;
    EXPECT_FALSE(tables.NeedsRules(vlan)) << vlan;
  }
  EXPECT_FALSE(tables.HasKernelsNetworks(40));
  EXPECT_TRUE(tables.NeedsRules(40));
  EXPECT_TRUE(tables.HasVrf(30));
  EXPECT_FALSE(tables.HasVrf(10));
}

TEST(KernelTablesTest, ATableIsOneVlansAtMost) {
  const KernelTables tables(10, 40000, {{20, 100}, {30, NO_TABLE}});
  EXPECT_EQ(Owner(10), tables.FindOwner(254));
  EXPECT_EQ(Owner(20), tables.FindOwner(100));
  EXPECT_EQ(Owner(40), tables.FindOwner(40040));
  EXPECT_EQ(Owner(32767), tables.FindOwner(72767));
  EXPECT_EQ(Owner(), tables.FindOwner(72768));
  EXPECT_EQ(Owner(), tables.FindOwner(39999));
  EXPECT_EQ(Owner(), tables.FindOwner(40010)) << "the default VLAN has another one";
  EXPECT_EQ(Owner(), tables.FindOwner(40020));
  EXPECT_EQ(Owner(), tables.FindOwner(40030)) << "and so has a VLAN whose VRF device is away";
  EXPECT_EQ(Owner(), KernelTables(10, 40000, {{10, 300}}).FindOwner(254));
  EXPECT_EQ(Owner(20), KernelTables(10, 40000, {{20, 40020}}).FindOwner(40020));
}

}  // namespace
