// What the registry answers.

#include "tests/unit/interfaces/interface_fixture.h"

namespace {

using Tarsel::DcInterfaceMgr;
using Tarsel::Ip4Addr;

class InterfaceQueries : public InterfaceFixture {};

TEST_F(InterfaceQueries, UnknownInterfaceIsNamedLo) {
  EXPECT_STREQ(registry.GetIfName(10, 3), "lo");
  Register(10, 3, "eth0");
  EXPECT_STREQ(registry.GetIfName(10, 4), "lo");
  EXPECT_STREQ(registry.GetIfName(11, 3), "lo");
}

TEST_F(InterfaceQueries, EmptyNameIsAName) {
  Register(10, 3, "");
  EXPECT_STREQ(registry.GetIfName(10, 3), "");
}

TEST_F(InterfaceQueries, AddressByIndexLeavesOutputsAloneWhenUnknown) {
  Ip4Addr address(1, 2, 3, 4);
  Ip4Addr mask(5, 6, 7, 8);
  EXPECT_FALSE(registry.GetIfIpAddr(10, 3, address, mask));
  EXPECT_EQ(address, Ip4Addr(1, 2, 3, 4));
  EXPECT_EQ(mask, Ip4Addr(5, 6, 7, 8));
  Register(10, 3, "eth0");
  EXPECT_TRUE(registry.GetIfIpAddr(10, 3, address, mask));
  EXPECT_EQ(address, Ip4Addr());
  EXPECT_EQ(mask, Ip4Addr());
}

TEST_F(InterfaceQueries, AddressByNameTakesTheIndexOfTheNameAndTheVlanGiven) {
  Register(10, 3, "eth0");
  Register(20, 3, "eth1");
  registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 0, 0, 0));
  registry.AddIpAddress(20, 3, Ip4Addr(10, 2, 2, 3), Ip4Addr(255, 0, 0, 0));
  Ip4Addr address(9, 9, 9, 9);
  EXPECT_FALSE(registry.GetIfIpAddr(10, nullptr, address));
  EXPECT_FALSE(registry.GetIfIpAddr(10, "eth9", address));
  EXPECT_FALSE(registry.GetIfIpAddr(30, "eth0", address));
  EXPECT_EQ(address, Ip4Addr(9, 9, 9, 9));
  EXPECT_TRUE(registry.GetIfIpAddr(10, "eth0", address));
  EXPECT_EQ(address, Ip4Addr(10, 1, 2, 3));
  EXPECT_TRUE(registry.GetIfIpAddr(20, "eth0", address));
  EXPECT_EQ(address, Ip4Addr(10, 2, 2, 3));
}

TEST_F(InterfaceQueries, IndexByNameKnowsNoVlan) {
  Register(10, 3, "eth0");
  unsigned int ifIndex = 77;
  EXPECT_FALSE(registry.GetIfIndex(nullptr, ifIndex));
  EXPECT_FALSE(registry.GetIfIndex("eth1", ifIndex));
  EXPECT_FALSE(registry.GetIfIndex("ETH0", ifIndex));
  EXPECT_EQ(ifIndex, 77U);
  EXPECT_TRUE(registry.GetIfIndex("eth0", ifIndex));
  EXPECT_EQ(ifIndex, 3U);
}

TEST_F(InterfaceQueries, EmptyNameIsLookedUpByIndexAndRefusedByType) {
  unsigned int ifIndex = 77;
  EXPECT_FALSE(registry.GetIfIndex("", ifIndex));
  Register(1, 3, "");
  EXPECT_TRUE(registry.GetIfIndex("", ifIndex));
  EXPECT_EQ(ifIndex, 3U);
  EXPECT_EQ(registry.GetIfType(""), 0U);
}

TEST_F(InterfaceQueries, TypesAreAnsweredForVlan1Only) {
  Register(5, 3, "eth0");
  EXPECT_EQ(registry.GetIfType("eth0"), 0U);
  Register(1, 4, "eth1");
  EXPECT_EQ(registry.GetIfType("eth1"), TYPE);
  EXPECT_EQ(registry.GetIfType("eth2"), 0U);
  EXPECT_EQ(registry.GetIfType(nullptr), 0U);
}

// The name gives the index only; the interface of VLAN 1 with that index need not bear the name.
TEST_F(InterfaceQueries, TypeIsThatOfVlan1sInterfaceWithTheIndex) {
  Register(1, 3, "other");
  Register(5, 3, "eth0");
  EXPECT_EQ(registry.GetIfType("eth0"), TYPE);
}

TEST_F(InterfaceQueries, PrimaryInterfaceIsWhatWasSetLast) {
  EXPECT_EQ(registry.GetPrimaryInterface(10), nullptr);
  registry.SetPrimaryInterface(10, "nowhere");
  EXPECT_STREQ(registry.GetPrimaryInterface(10), "nowhere");
  registry.SetPrimaryInterface(10, "eth1");
  EXPECT_STREQ(registry.GetPrimaryInterface(10), "eth1");
  EXPECT_EQ(registry.GetPrimaryInterface(11), nullptr);
}

TEST_F(InterfaceQueries, NoPrimaryInterfaceIsEverTakenAway) {
  registry.SetPrimaryInterface(10, "");
  EXPECT_EQ(registry.GetPrimaryInterface(10), nullptr);
  Register(10, 3, "eth0");
  registry.SetPrimaryInterface(10, "eth0");
  registry.SetPrimaryInterface(10, "");
  registry.SetPrimaryInterface(10, nullptr);
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_STREQ(registry.GetPrimaryInterface(10), "eth0");
}

TEST_F(InterfaceQueries, PrimaryInterfaceMayBeSetToItself) {
  const std::string name = "an-interface-with-a-name-too-long-for-any-small-buffer";
  registry.SetPrimaryInterface(10, name.c_str());
  registry.SetPrimaryInterface(10, registry.GetPrimaryInterface(10));
  EXPECT_EQ(registry.GetPrimaryInterface(10), name);
}

}  // namespace
