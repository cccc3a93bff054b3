// The record of an interface and the order and hash it is found by.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "vantacore/dc_interface_mgr.h"

namespace {

using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;
using Tarsel::IpInterface;

bool Less(IpInterface::Key a, IpInterface::Key b) { return IpInterface::Key::NameCompare(a, b); }

TEST(IpInterfaceKey, OrdersByVlanThenByIndex) {
  EXPECT_TRUE(Less({1, 9}, {2, 3}));
  EXPECT_FALSE(Less({2, 3}, {1, 9}));
  EXPECT_TRUE(Less({2, 3}, {2, 4}));
  EXPECT_FALSE(Less({2, 4}, {2, 3}));
  EXPECT_FALSE(Less({2, 3}, {2, 3}));
  EXPECT_TRUE(Less({2, 0x7FFFFFFF}, {2, 0x80000000}));
  EXPECT_TRUE(Less({0x7FFF, 0}, {0x8000, 0}));
}

Ip6Prefix MakePrefix(const unsigned char (&bytes)[16], unsigned int length) {
  return Ip6Prefix(Ip6Addr::FromBytes(bytes), length);
}

TEST(Ip6PrefixHash, IsTheFirstAddressWordAsItLiesInMemory) {
  const unsigned char bytes[16] = {0x20, 0x01, 0x0d, 0xb8};
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  EXPECT_EQ(IpInterface::Ip6PrefixHash(MakePrefix(bytes, 64)), word);
}

TEST(Ip6PrefixHash, NothingElseEnters) {
  const unsigned char a[16] = {0x20, 0x01, 0x0d, 0xb8, 1, 2, 3};
  const unsigned char b[16] = {0x20, 0x01, 0x0d, 0xb8, 4, 5, 6};
  const unsigned char c[16] = {0x20, 0x01, 0x0d, 0xb9};
  EXPECT_EQ(IpInterface::Ip6PrefixHash(MakePrefix(a, 64)),
            IpInterface::Ip6PrefixHash(MakePrefix(b, 128)));
  EXPECT_NE(IpInterface::Ip6PrefixHash(MakePrefix(a, 64)),
            IpInterface::Ip6PrefixHash(MakePrefix(c, 64)));
}

TEST(IpInterfaceRecord, StartsDownWithoutAddresses) {
  const IpInterface record({10, 3}, "eth0", static_cast<Tarsel::DcInterfaceMgr::IntfType>(6));
  EXPECT_EQ(record.key.vlan, 10);
  EXPECT_EQ(record.ifIndex, 3U);
  EXPECT_STREQ(record.name.c_str(), "eth0");
  EXPECT_EQ(record.type, 6U);
  EXPECT_EQ(record.status, 2U);
  EXPECT_EQ(record.address, Tarsel::Ip4Addr());
  EXPECT_EQ(record.mask, Tarsel::Ip4Addr());
  EXPECT_TRUE(record.prefixes.empty());
  EXPECT_EQ(record.prefixes.hash_function(), &IpInterface::Ip6PrefixHash);
  EXPECT_EQ(record.prefixes.bucket_count(), IpInterface::PrefixSet().bucket_count());
}

TEST(IpInterfaceRecord, FieldsLieInTheirFixedOrder) {
  const IpInterface record({10, 3}, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE);
  const void* fields[] = {&record.key,    &record.ifIndex, &record.name, &record.type,
                          &record.status, &record.address, &record.mask, &record.prefixes};
  for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i) {
    EXPECT_LT(fields[i - 1], fields[i]) << i;
  }
  EXPECT_LT(static_cast<const void*>(&record.key.vlan),
            static_cast<const void*>(&record.key.ifIndex));
}

}  // namespace
