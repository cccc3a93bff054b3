// Addresses as text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "vantacore/config_parser.h"

namespace {

using namespace Tarsel;

const unsigned char IP4[] = {10, 0, 200, 255};
const unsigned char IP6[] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x1f};

TEST(Ip4AddrToStrTest, WritesTheBytesInMemoryOrderAndReturnsTheBuffer) {
  char buffer[16];
  EXPECT_EQ(Ip4AddrToStr(buffer, IP4), buffer);
  EXPECT_STREQ(buffer, "10.0.200.255");
}

TEST(Ip4AddrToStrTest, StaysInsideSixteenBytes) {
  char buffer[17];
  std::memset(buffer, '#', sizeof buffer);
  const unsigned char widest[] = {255, 255, 255, 255};
  Ip4AddrToStr(buffer, widest);
  EXPECT_STREQ(buffer, "255.255.255.255");
  EXPECT_EQ(buffer[16], '#');
}

TEST(Ip4AddrToStrTest, WritesEveryValueOfAByte) {
  for (unsigned int value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    const unsigned char address[] = {byte, 1, byte, 2};
    const std::string text = std::to_string(value);
    char buffer[16];
    EXPECT_EQ(Ip4AddrToStr(buffer, address), text + ".1." + text + ".2");
  }
}

TEST(Ip6AddrToStrTest, WritesTheUsualTextAndReturnsTheBuffer) {
  char buffer[48];
  EXPECT_EQ(Ip6AddrToStr(buffer, IP6), buffer);
  EXPECT_STREQ(buffer, "2001:db8::1f");
  const unsigned char any[16] = {};
  EXPECT_STREQ(Ip6AddrToStr(buffer, any), "::");
}

TEST(Ip6AddrToStrTest, StaysInsideFortyEightBytes) {
  char buffer[49];
  std::memset(buffer, '#', sizeof buffer);
  unsigned char widest[16];
  std::memset(widest, 0xff, sizeof widest);
  Ip6AddrToStr(buffer, widest);
  EXPECT_STREQ(buffer, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
  EXPECT_EQ(buffer[48], '#');
}

TEST(FormatIp4AddrTest, FormatsTheWordAsItLiesInMemory) {
  unsigned int word;
  std::memcpy(&word, IP4, sizeof word);
  EXPECT_EQ(FormatIp4Addr(word), "10.0.200.255");
  EXPECT_EQ(FormatIp4Addr(0u), "0.0.0.0");
}

TEST(FormatIp4AddrTest, FormatsFourBytes) {
  EXPECT_EQ(FormatIp4Addr(static_cast<const void*>(IP4)), "10.0.200.255");
}

TEST(FormatIp6AddrTest, FormatsSixteenBytes) { EXPECT_EQ(FormatIp6Addr(IP6), "2001:db8::1f"); }

TEST(FormatAddressTest, TakesBytesOfAnyAlignment) {
  unsigned char bytes[17];
  std::memcpy(bytes + 1, IP6, sizeof IP6);
  char buffer[48];
  EXPECT_EQ(FormatIp6Addr(bytes + 1), "2001:db8::1f");
  EXPECT_STREQ(Ip6AddrToStr(buffer, bytes + 1), "2001:db8::1f");
  EXPECT_EQ(FormatIp4Addr(static_cast<const void*>(bytes + 1)), "32.1.13.184");
  EXPECT_STREQ(Ip4AddrToStr(buffer, bytes + 1), "32.1.13.184");
}

}  // namespace
