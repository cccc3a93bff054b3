// The address that is tagged with its length.
#include "vantacore/dcl_ip_address.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>

namespace Tarsel {
namespace {

const unsigned char BYTES[24] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};

static_assert(std::has_virtual_destructor<DclIpAddress>::value, "others derive from it");

bool BytesAre(const DclIpAddress& address, unsigned int significant) {
  unsigned char expected[16] = {};
  std::memcpy(expected, BYTES, significant);
  return std::equal(expected, expected + 16, address.GetBytes());
}

TEST(DclIpAddress, KeepsItsBytesAndClearsTheRest) {
  for (const unsigned int length : {0U, 1U, 4U, 15U, 16U}) {
    const DclIpAddress address(BYTES, length);
    EXPECT_EQ(length, address.GetLength());
    EXPECT_TRUE(BytesAre(address, length)) << length;
  }
}

TEST(DclIpAddress, KeepsALengthBeyondItsBytes) {
  const DclIpAddress address(BYTES, 24);
  EXPECT_EQ(24U, address.GetLength());
  EXPECT_TRUE(BytesAre(address, 16));
  EXPECT_TRUE(address == DclIpAddress(BYTES, 24));
  EXPECT_FALSE(address == DclIpAddress(BYTES, 23));
}

TEST(DclIpAddress, InitReplacesEverything) {
  DclIpAddress address(BYTES, 16);
  address.Init(BYTES, 4);
  EXPECT_EQ(4U, address.GetLength());
  EXPECT_TRUE(BytesAre(address, 4));
}

TEST(DclIpAddress, CopiesLengthAndBytes) {
  const DclIpAddress address(BYTES, 4);
  const DclIpAddress copy(address);
  EXPECT_EQ(4U, copy.GetLength());
  EXPECT_TRUE(BytesAre(copy, 4));
  DclIpAddress assigned(BYTES, 16);
  assigned = address;
  EXPECT_EQ(4U, assigned.GetLength());
  EXPECT_TRUE(BytesAre(assigned, 4));
}

TEST(DclIpAddress, AssigningItToItselfChangesNothing) {
  DclIpAddress address(BYTES, 16);
  const DclIpAddress& same = address;
  address = same;
  EXPECT_EQ(16U, address.GetLength());
  EXPECT_TRUE(BytesAre(address, 16));
}

TEST(DclIpAddress, IsReadFromIpv4Text) {
  DclIpAddress address(BYTES, 16);
  EXPECT_TRUE(address.Ip4AddrFromString("1.2.3.4"));
  EXPECT_EQ(4U, address.GetLength());
  EXPECT_TRUE(BytesAre(address, 4));
}

TEST(DclIpAddress, IsReadFromIpv6Text) {
  DclIpAddress address(BYTES, 4);
  EXPECT_TRUE(address.Ip6AddrFromString("102:304:506:708:90a:b0c:d0e:f10"));
  EXPECT_EQ(16U, address.GetLength());
  EXPECT_TRUE(BytesAre(address, 16));
}

TEST(DclIpAddress, KeepsItsValueWhenTheTextIsWrong) {
  DclIpAddress address(BYTES, 4);
  for (const char* text : {"", "1.2.3", "1.2.3.4.5", "x", "2001:db8::1"}) {
    EXPECT_FALSE(address.Ip4AddrFromString(text)) << text;
  }
  for (const char* text : {"", "1.2.3.4", "x", "1:2", "::1::2"}) {
    EXPECT_FALSE(address.Ip6AddrFromString(text)) << text;
  }
  EXPECT_FALSE(address.Ip4AddrFromString(nullptr));
  EXPECT_FALSE(address.Ip6AddrFromString(nullptr));
  EXPECT_EQ(4U, address.GetLength());
  EXPECT_TRUE(BytesAre(address, 4));
}

TEST(DclIpAddress, EqualsAnotherOfTheSameLengthAndBytes) {
  const DclIpAddress address(BYTES, 4);
  EXPECT_TRUE(address == address);
  EXPECT_TRUE(address == DclIpAddress(BYTES, 4));
  EXPECT_FALSE(address == DclIpAddress(BYTES + 1, 4));
  EXPECT_TRUE(DclIpAddress(BYTES, 0) == DclIpAddress(BYTES + 1, 0));
}

TEST(DclIpAddress, NeverEqualsOneOfAnotherLength) {
  const unsigned char zeros[16] = {};
  EXPECT_FALSE(DclIpAddress(zeros, 4) == DclIpAddress(zeros, 16));
  EXPECT_FALSE(DclIpAddress(BYTES, 4) == DclIpAddress(BYTES, 16));
}

TEST(DclIpAddress, EqualsAnIpv4AddressOfTheSameBytes) {
  EXPECT_TRUE(DclIpAddress(BYTES, 4) == Ip4Addr(1, 2, 3, 4));
  EXPECT_FALSE(DclIpAddress(BYTES, 4) == Ip4Addr(1, 2, 3, 5));
  EXPECT_FALSE(DclIpAddress(BYTES, 16) == Ip4Addr(1, 2, 3, 4));
  EXPECT_FALSE(DclIpAddress(BYTES, 3) == Ip4Addr(1, 2, 3, 0));  // four bytes make an IPv4 address
}

TEST(DclIpAddress, ConvertsToEitherFamily) {
  EXPECT_TRUE(Ip4Addr(1, 2, 3, 4) == DclIpAddress(BYTES, 16).ToIp4Addr());
  EXPECT_TRUE(Ip6Addr::FromBytes(BYTES) == DclIpAddress(BYTES, 16).ToIp6Addr());
}

TEST(DclIpAddress, PrintsAsItsLengthSays) {
  EXPECT_STREQ("1.2.3.4", DclIpAddress(BYTES, 4).ToString().c_str());
  EXPECT_STREQ("0.0.0.0", DclIpAddress(BYTES, 0).ToString().c_str());
  EXPECT_STREQ("1.2.3.0", DclIpAddress(BYTES, 3).ToString().c_str());  // always four bytes
  EXPECT_STREQ("102:304:500::", DclIpAddress(BYTES, 5).ToString().c_str());
  EXPECT_STREQ("102:304:506:708:90a:b0c:d0e:f10", DclIpAddress(BYTES, 16).ToString().c_str());
  EXPECT_STREQ("", DclIpAddress(BYTES, 17).ToString().c_str());
}

}  // namespace
}  // namespace Tarsel
