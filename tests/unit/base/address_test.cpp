#include "tarsel/address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;
using Tarsel::string;

namespace {

std::string Hex(const unsigned char* bytes, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    text += digits;
  }
  return text;
}

std::string Hex(const Ip6Addr& address) { return Hex(address.GetBytes(), 16); }

Ip6Addr Address(const char* text) {
  Ip6Addr address;
  EXPECT_TRUE(address.FromString(text)) << text;
  return address;
}

Ip6Prefix Prefix(const char* text) {
  Ip6Prefix prefix;
  EXPECT_TRUE(prefix.FromString(text)) << text;
  return prefix;
}

}  // namespace

// ---- IPv4

TEST(Ip4Addr, LiesInMemoryInNetworkOrder) {
  const Ip4Addr address(10, 1, 2, 3);
  EXPECT_EQ(Hex(address.GetBytes(), 4), "0a010203");
  EXPECT_EQ(address.GetValue(), htonl(0x0a010203));
  EXPECT_EQ(std::memcmp(&address, "\x0a\x01\x02\x03", 4), 0);
  EXPECT_EQ(sizeof(Ip4Addr), 4u);
}

TEST(Ip4Addr, IsMadeFromItsWordAndFromBytes) {
  EXPECT_TRUE(Ip4Addr(htonl(0xc0a80001)) == Ip4Addr(192, 168, 0, 1));
  const unsigned char unaligned[] = {0, 192, 168, 0, 1};
  EXPECT_TRUE(Ip4Addr::FromBytes(unaligned + 1) == Ip4Addr(192, 168, 0, 1));
  EXPECT_EQ(Ip4Addr().GetValue(), 0u);
}

TEST(Ip4Addr, ComparesAndMasks) {
  EXPECT_TRUE(Ip4Addr(10, 0, 0, 1) == Ip4Addr(10, 0, 0, 1));
  EXPECT_FALSE(Ip4Addr(10, 0, 0, 1) == Ip4Addr(1, 0, 0, 10));
  EXPECT_TRUE(Ip4Addr(10, 0, 0, 1) != Ip4Addr(10, 0, 0, 2));
  EXPECT_FALSE(Ip4Addr(10, 0, 0, 1) != Ip4Addr(10, 0, 0, 1));
  EXPECT_TRUE((Ip4Addr(10, 1, 2, 3) & Ip4Addr(255, 255, 0, 0)) == Ip4Addr(10, 1, 0, 0));
}

TEST(Ip4Addr, IsWrittenInDottedDecimal) {
  EXPECT_STREQ(Ip4Addr(10, 1, 2, 3).ToString().c_str(), "10.1.2.3");
  EXPECT_STREQ(Ip4Addr().ToString().c_str(), "0.0.0.0");
  EXPECT_STREQ(Ip4Addr(255, 255, 255, 255).ToString().c_str(), "255.255.255.255");
}

TEST(Ip4Addr, WritesAWordIntoABufferThatIsLargeEnough) {
  char buffer[20] = "untouched";
  EXPECT_TRUE(Ip4Addr::Uint32ToString(htonl(0x0a010203), buffer, sizeof buffer));
  EXPECT_STREQ(buffer, "10.1.2.3");
  EXPECT_TRUE(Ip4Addr::Uint32ToString(htonl(0xffffffff), buffer, 16));
  EXPECT_STREQ(buffer, "255.255.255.255");
  EXPECT_TRUE(Ip4Addr::Uint32ToString(0, buffer, 8));
  EXPECT_STREQ(buffer, "0.0.0.0");
}

TEST(Ip4Addr, LeavesABufferThatIsTooSmall) {
  char buffer[20] = "untouched";
  EXPECT_FALSE(Ip4Addr::Uint32ToString(htonl(0xffffffff), buffer, 15));
  EXPECT_FALSE(Ip4Addr::Uint32ToString(0, buffer, 7));
  EXPECT_FALSE(Ip4Addr::Uint32ToString(0, buffer, 0));
  EXPECT_STREQ(buffer, "untouched");
  EXPECT_FALSE(Ip4Addr::Uint32ToString(0, nullptr, 20));
}

TEST(ParseIpAddr, ReadsFourDecimalNumbers) {
  const struct {
    const char* text;
    Ip4Addr want;
  } cases[] = {
      {"0.0.0.0", Ip4Addr(0, 0, 0, 0)},
      {"10.1.2.3", Ip4Addr(10, 1, 2, 3)},
      {"255.255.255.255", Ip4Addr(255, 255, 255, 255)},
      {"1.20.100.9", Ip4Addr(1, 20, 100, 9)},
  };
  for (const auto& c : cases) {
    Ip4Addr address(9, 9, 9, 9);
    EXPECT_NE(Tarsel::Parse_IpAddr()(address, c.text), 0) << c.text;
    EXPECT_TRUE(address == c.want) << c.text;
  }
}

TEST(ParseIpAddr, RefusesEverythingElse) {
  const char* const texts[] = {
      "",           "1",          "1.2",
      "1.2.3",      "1.2.3.",     ".1.2.3.4",
      "1.2.3.4.",   "1.2.3.4.5",  "256.0.0.0",
      "0.0.0.256",  "1.2.3.1000", "-1.2.3.4",
      "+1.2.3.4",   " 1.2.3.4",   "1.2.3.4 ",
      "1. 2.3.4",   "1..2.3",     "a.b.c.d",
      "0x0a.1.2.3", "1.2.3.4/8",  "1.2.3.4\n",
      "1,2,3,4",    "::1",        "167837955",
      "dynamic",    "eth0",       "4294967296.0.0.0",
  };
  for (const char* text : texts) {
    Ip4Addr address(9, 9, 9, 9);
    EXPECT_EQ(Tarsel::Parse_IpAddr()(address, text), 0) << text;
    EXPECT_TRUE(address == Ip4Addr(9, 9, 9, 9)) << text;
  }
  Ip4Addr address(9, 9, 9, 9);
  EXPECT_EQ(Tarsel::Parse_IpAddr()(address, nullptr), 0);
  EXPECT_TRUE(address == Ip4Addr(9, 9, 9, 9));
}

// ---- IPv6

TEST(Ip6Addr, IsSixteenBytesInNetworkOrder) {
  EXPECT_EQ(sizeof(Ip6Addr), 16u);
  EXPECT_EQ(Hex(Ip6Addr()), "00000000000000000000000000000000");
  const Ip6Addr address = Address("2001:db8:9:a:b:c:d:e");
  EXPECT_EQ(Hex(address), "20010db80009000a000b000c000d000e");
  EXPECT_EQ(std::memcmp(&address, address.GetBytes(), 16), 0);
  EXPECT_TRUE(Ip6Addr::FromBytes(address.GetBytes()) == address);
}

TEST(Ip6Addr, ReadsTheColonForms) {
  EXPECT_EQ(Hex(Address("::")), "00000000000000000000000000000000");
  EXPECT_EQ(Hex(Address("::1")), "00000000000000000000000000000001");
  EXPECT_EQ(Hex(Address("2001:DB8::1")), "20010db8000000000000000000000001");
  EXPECT_EQ(Hex(Address("fe80::")), "fe800000000000000000000000000000");
  EXPECT_EQ(Hex(Address("0001:0002:0003:0004:0005:0006:0007:0008")),
            "00010002000300040005000600070008");
  EXPECT_EQ(Hex(Address("::ffff:10.1.2.3")), "00000000000000000000ffff0a010203");
}

TEST(Ip6Addr, RefusesEverythingElse) {
  const char* const texts[] = {
      "",
      ":",
      ":::",
      "1::2::3",
      "1:2:3:4:5:6:7",
      "1:2:3:4:5:6:7:8:9",
      "12345::",
      "g::",
      "::1 ",
      " ::1",
      "::1/64",
      "fe80::1%eth0",
      "1.2.3.4",
      "[::1]",
      "::1.2.3",
      "::256.0.0.1",
      "1:2:3:4:5:6:7:8::",
      "dynamic",
  };
  for (const char* text : texts) {
    Ip6Addr address = Address("2001:db8::9");
    EXPECT_FALSE(address.FromString(text)) << text;
    EXPECT_EQ(Hex(address), "20010db8000000000000000000000009") << text;
  }
  Ip6Addr address;
  EXPECT_FALSE(address.FromString(string("::1\0", 4)));
}

TEST(Ip6Addr, IsWrittenInTheShortestForm) {
  const char* const texts[] = {
      "::", "::1", "2001:db8::1", "fe80::a:b:c", "1:2:3:4:5:6:7:8", "2001:db8:0:1::", "ff02::1"};
  for (const char* text : texts) {
    EXPECT_STREQ(Address(text).ToString().c_str(), text);
  }
  EXPECT_STREQ(Address("2001:0DB8:0000:0000:0001:0000:0000:0001").ToString().c_str(),
               "2001:db8::1:0:0:1");
}

TEST(Ip6Addr, ComparesAllBytes) {
  const Ip6Addr address = Address("2001:db8::1");
  for (int i = 0; i < 16; ++i) {
    unsigned char bytes[16];
    std::memcpy(bytes, address.GetBytes(), 16);
    bytes[i] ^= 1;
    EXPECT_TRUE(Ip6Addr::FromBytes(bytes) != address);
    EXPECT_FALSE(Ip6Addr::FromBytes(bytes) == address);
  }
  EXPECT_TRUE(Ip6Addr::FromBytes(address.GetBytes()) == address);
  EXPECT_FALSE(Ip6Addr::FromBytes(address.GetBytes()) != address);
}

// ---- Prefixes

TEST(Ip6Prefix, IsTheDefaultRouteAtFirst) {
  EXPECT_EQ(Ip6Prefix().GetLength(), 0u);
  EXPECT_TRUE(Ip6Prefix().GetAddress() == Ip6Addr());
}

TEST(Ip6Prefix, KeepsTheHostBitsThatItIsMadeWith) {
  const Ip6Prefix prefix(Address("2001:db8::1"), 32);
  EXPECT_TRUE(prefix.GetAddress() == Address("2001:db8::1"));
  EXPECT_EQ(prefix.GetLength(), 32u);
  EXPECT_STREQ(prefix.ToString().c_str(), "2001:db8::1/32");
}

TEST(Ip6Prefix, ReadsAddressAndLengthAndClearsTheHostBits) {
  EXPECT_STREQ(Prefix("2001:db8::/32").ToString().c_str(), "2001:db8::/32");
  EXPECT_STREQ(Prefix("2001:db8::1/128").ToString().c_str(), "2001:db8::1/128");
  EXPECT_STREQ(Prefix("2001:db8:ffff::1/32").ToString().c_str(), "2001:db8::/32");
  EXPECT_STREQ(Prefix("ffff:ffff::1/0").ToString().c_str(), "::/0");
  EXPECT_STREQ(Prefix("2001:db8::1/064").ToString().c_str(), "2001:db8::/64");
}

TEST(Ip6Prefix, ClearsExactlyTheHostBits) {
  for (unsigned int length = 0; length <= 128; ++length) {
    string text;
    text.Format("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/%u", length);
    const Ip6Prefix prefix = Prefix(text.c_str());
    EXPECT_EQ(prefix.GetLength(), length);
    for (unsigned int bit = 0; bit < 128; ++bit) {
      const int set = prefix.GetAddress().GetBytes()[bit / 8] >> (7 - bit % 8) & 1;
      EXPECT_EQ(set, bit < length ? 1 : 0) << "bit " << bit << " of /" << length;
    }
  }
}

TEST(Ip6Prefix, RefusesEverythingElse) {
  const char* const texts[] = {
      "",
      "/",
      "2001:db8::",
      "2001:db8::/",
      "/32",
      "2001:db8::/129",
      "::/1000",
      "::/0000",
      "::/-1",
      "::/+1",
      "::/ 1",
      "::/1 ",
      "::/1x",
      "::/a",
      "::/1/1",
      "::/4294967328",
      "10.0.0.0/8",
      "g::/8",
      "2001:db8::/32\n",
  };
  for (const char* text : texts) {
    Ip6Prefix prefix = Prefix("2001:db8::/48");
    EXPECT_FALSE(prefix.FromString(text)) << text;
    EXPECT_STREQ(prefix.ToString().c_str(), "2001:db8::/48") << text;
  }
  Ip6Prefix prefix;
  EXPECT_FALSE(prefix.FromString(string("::/8\0", 5)));
}

TEST(Ip6Prefix, ComparesAddressAndLength) {
  EXPECT_TRUE(Prefix("2001:db8::/32") == Prefix("2001:db8::1/32"));
  EXPECT_FALSE(Prefix("2001:db8::/32") == Prefix("2001:db8::/33"));
  EXPECT_FALSE(Prefix("2001:db8::/32") == Prefix("2001:db9::/32"));
  EXPECT_TRUE(Prefix("2001:db8::/32") != Prefix("2001:db8::/33"));
  EXPECT_FALSE(Prefix("2001:db8::/32") != Prefix("2001:db8::/32"));
}

TEST(Ip6Prefix, MasksAreBigEndianWordsInMemory) {
  EXPECT_EQ(Ip6Prefix::s_masks32[0], 0u);
  EXPECT_EQ(Ip6Prefix::s_masks32[32], 0xffffffffu);
  EXPECT_EQ(Hex(reinterpret_cast<const unsigned char*>(&Ip6Prefix::s_masks32[9]), 4), "ff800000");
  std::uint32_t ones = 0;
  for (unsigned int n = 1; n <= 32; ++n) {
    ones |= 1u << (32 - n);
    EXPECT_EQ(Ip6Prefix::s_masks32[n], htonl(ones)) << n;
  }
}

// ---- Well-known addresses

namespace {

// Read while this file's variables are initialised: whatever the order of the files, they are set.
const std::string g_early = std::string(Tarsel::Ip6AllNodes().ToString().c_str()) + " " +
                            Tarsel::IP4_BROADCAST.ToString().c_str() + " " +
                            std::to_string(Ip6Prefix::s_masks32[32]);

}  // namespace

TEST(WellKnownAddresses, HaveTheirValues) {
  EXPECT_STREQ(Tarsel::IP4_BROADCAST.ToString().c_str(), "255.255.255.255");
  EXPECT_STREQ(Tarsel::IP4_MULTICAST.ToString().c_str(), "224.0.0.0");
  EXPECT_STREQ(Tarsel::IP4_ANY.ToString().c_str(), "0.0.0.0");
  EXPECT_STREQ(Tarsel::Ip6AllNodes().ToString().c_str(), "ff02::1");
  EXPECT_STREQ(Tarsel::Ip6Multicast().ToString().c_str(), "ff00::");
  EXPECT_STREQ(Tarsel::Ip6MulticastPrefix().ToString().c_str(), "ff00::/8");
  EXPECT_STREQ(Tarsel::Ip6DefaultPrefix().ToString().c_str(), "::/0");
  EXPECT_STREQ(Tarsel::Ip6LinkLocalPrefix().ToString().c_str(), "fe80::/10");
  EXPECT_STREQ(Tarsel::Ip6SiteLocalPrefix().ToString().c_str(), "fec0::/10");
  EXPECT_STREQ(Tarsel::Ip6UniqueLocalPrefix().ToString().c_str(), "fc00::/7");
}

TEST(WellKnownAddresses, AreThereBeforeMain) {
  EXPECT_EQ(g_early, "ff02::1 255.255.255.255 4294967295");
}
