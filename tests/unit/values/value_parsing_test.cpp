// Single values out of texts.
#include <gtest/gtest.h>

#include <string>

#include "vantacore/config_parser.h"

namespace {

using namespace Tarsel;

// ---- addresses

TEST(ParseAddressTest, ReadsDottedIp4) {
  Ip4Addr address;
  EXPECT_NE(ParseAddress(address, "10.1.2.3"), 0);
  EXPECT_EQ(address, Ip4Addr(10, 1, 2, 3));
}

TEST(ParseAddressTest, LeavesTheAddressAloneOnFailure) {
  for (const char* text : {"", "10.1.2", "10.1.2.256", "10.1.2.3.4", "10.1.2.3x", "dynamic",
                           "10.1.2.3/24", "2001:db8::1", " 10.1.2.3 x"}) {
    Ip4Addr address(1, 2, 3, 4);
    EXPECT_EQ(ParseAddress(address, text), 0) << text;
    EXPECT_EQ(address, Ip4Addr(1, 2, 3, 4)) << text;
  }
}

TEST(ParseAddressTest, NullTextFailsAndChangesNothing) {
  Ip4Addr address(1, 2, 3, 4);
  EXPECT_EQ(ParseAddress(address, nullptr), 0);
  EXPECT_EQ(address, Ip4Addr(1, 2, 3, 4));
}

TEST(ParseAddressDynamicTest, TakesDynamicInAnyCaseAndLeavesTheAddress) {
  for (const char* text : {"dynamic", "DYNAMIC", "DyNaMiC"}) {
    Ip4Addr address(1, 2, 3, 4);
    EXPECT_EQ(ParseAddressDynamic(address, text), 1) << text;
    EXPECT_EQ(address, Ip4Addr(1, 2, 3, 4)) << text;
  }
}

TEST(ParseAddressDynamicTest, ReadsAnAddressOtherwise) {
  Ip4Addr address;
  EXPECT_NE(ParseAddressDynamic(address, "192.0.2.1"), 0);
  EXPECT_EQ(address, Ip4Addr(192, 0, 2, 1));
  EXPECT_EQ(ParseAddressDynamic(address, "dynamics"), 0);
  EXPECT_EQ(ParseAddressDynamic(address, "dynami"), 0);
  EXPECT_EQ(ParseAddressDynamic(address, " dynamic"), 0);
  EXPECT_EQ(ParseAddressDynamic(address, ""), 0);
  EXPECT_EQ(address, Ip4Addr(192, 0, 2, 1));
}

TEST(ParseAddressDynamicTest, NullTextFails) {
  Ip4Addr address(1, 2, 3, 4);
  EXPECT_EQ(ParseAddressDynamic(address, nullptr), 0);
  EXPECT_EQ(address, Ip4Addr(1, 2, 3, 4));
}

Ip6Addr Ip6(const char* text) {
  Ip6Addr address;
  EXPECT_TRUE(address.FromString(text)) << text;
  return address;
}

TEST(ParseIp6AddressTest, ReadsColonForms) {
  Ip6Addr address;
  EXPECT_NE(ParseIp6Address(address, "2001:db8::1"), 0);
  EXPECT_EQ(address, Ip6("2001:db8:0:0:0:0:0:1"));
}

TEST(ParseIp6AddressTest, LeavesTheAddressAloneOnFailure) {
  for (const char* text : {static_cast<const char*>(nullptr), "", ":", "1::2::3", "2001:db8::g",
                           "10.1.2.3", "2001:db8::1/64", "dynamic", "::1%eth0"}) {
    Ip6Addr address = Ip6("fe80::1");
    EXPECT_EQ(ParseIp6Address(address, text), 0);
    EXPECT_EQ(address, Ip6("fe80::1"));
  }
}

TEST(ParseIp6AddressDynamicTest, TakesDynamicInAnyCaseAndLeavesTheAddress) {
  Ip6Addr address = Ip6("fe80::1");
  EXPECT_EQ(ParseIp6AddressDynamic(address, "DYNAMIC"), 1);
  EXPECT_EQ(ParseIp6AddressDynamic(address, "dynamic"), 1);
  EXPECT_EQ(address, Ip6("fe80::1"));
}

TEST(ParseIp6AddressDynamicTest, ReadsAnAddressOtherwise) {
  Ip6Addr address = Ip6("fe80::1");
  EXPECT_EQ(ParseIp6AddressDynamic(address, nullptr), 0);
  EXPECT_EQ(ParseIp6AddressDynamic(address, "dynamic6"), 0);
  EXPECT_EQ(address, Ip6("fe80::1"));
  EXPECT_NE(ParseIp6AddressDynamic(address, "::2"), 0);
  EXPECT_EQ(address, Ip6("::2"));
}

TEST(ParseIp6PrefixTest, JoinsAddressAndLength) {
  Ip6Prefix prefix;
  EXPECT_NE(ParseIp6Prefix(prefix, "2001:db8::", "32"), 0);
  EXPECT_EQ(prefix, Ip6Prefix(Ip6("2001:db8::"), 32));
  EXPECT_NE(ParseIp6Prefix(prefix, "::", "0"), 0);
  EXPECT_EQ(prefix, Ip6Prefix());
  EXPECT_NE(ParseIp6Prefix(prefix, "::1", "128"), 0);
  EXPECT_EQ(prefix, Ip6Prefix(Ip6("::1"), 128));
}

TEST(ParseIp6PrefixTest, NeedsBothTexts) {
  const Ip6Prefix before(Ip6("2001:db8::"), 32);
  Ip6Prefix prefix = before;
  EXPECT_EQ(ParseIp6Prefix(prefix, nullptr, "64"), 0);
  EXPECT_EQ(ParseIp6Prefix(prefix, "2001:db8::", nullptr), 0);
  EXPECT_EQ(ParseIp6Prefix(prefix, nullptr, nullptr), 0);
  EXPECT_EQ(prefix, before);
}

TEST(ParseIp6PrefixTest, RefusesWhatIsNoPrefix) {
  const Ip6Prefix before(Ip6("2001:db8::"), 32);
  Ip6Prefix prefix = before;
  const char* const texts[][2] = {
      {"2001:db8::", ""}, {"2001:db8::", "129"}, {"2001:db8::", "-1"},   {"2001:db8::", "64x"},
      {"", "64"},         {"10.0.0.0", "8"},     {"2001:db8::/64", "1"}, {"%s%n", "%s%n"}};
  for (const auto& text : texts) {
    EXPECT_EQ(ParseIp6Prefix(prefix, text[0], text[1]), 0) << text[0] << " / " << text[1];
  }
  EXPECT_EQ(prefix, before);
}

// ---- flags

TEST(ParseBoolTest, TakesZeroAndOne) {
  bool flag = true;
  EXPECT_EQ(ParseBool(&flag, "0"), 1);
  EXPECT_FALSE(flag);
  EXPECT_EQ(ParseBool(&flag, "1"), 1);
  EXPECT_TRUE(flag);
}

TEST(ParseBoolTest, TakesNothingElseAndLeavesTheFlag) {
  for (const char* text : {"true", "false", "yes", "no", "", "2", "00", "01", " 1", "1 ", "+1"}) {
    for (bool before : {false, true}) {
      bool flag = before;
      EXPECT_EQ(ParseBool(&flag, text), 0) << text;
      EXPECT_EQ(flag, before) << text;
    }
  }
  bool flag = true;
  EXPECT_EQ(ParseBool(&flag, nullptr), 0);
  EXPECT_TRUE(flag);
}

// ---- numbers

struct NumberCase {
  const char* text;
  int result;
  unsigned int value;
};

void PrintTo(const NumberCase& c, std::ostream* out) { *out << '"' << c.text << '"'; }

class ParseNumberTest : public testing::TestWithParam<NumberCase> {};

TEST_P(ParseNumberTest, StoresTheValueWhetherItSucceedsOrNot) {
  unsigned int value = 77;
  EXPECT_EQ(ParseNumber(&value, GetParam().text) != 0, GetParam().result != 0);
  EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseNumberTest,
    testing::Values(
        NumberCase{"", 1, 0}, NumberCase{"0", 1, 0}, NumberCase{"12", 1, 12},
        NumberCase{"12a", 0, 12}, NumberCase{"12 ", 0, 12}, NumberCase{"a12", 0, 0},
        NumberCase{"  12", 1, 12}, NumberCase{"\t\n\v\f\r12", 1, 12}, NumberCase{"+12", 1, 12},
        NumberCase{" +12", 1, 12}, NumberCase{"007", 1, 7}, NumberCase{"0x10", 0, 0},
        NumberCase{"1e3", 0, 1}, NumberCase{"3.5", 0, 3},
        // Without a digit nothing is taken, not even what could have introduced a number.
        NumberCase{" ", 0, 0}, NumberCase{"-", 0, 0}, NumberCase{"+", 0, 0},
        NumberCase{"+-1", 0, 0}, NumberCase{"- 1", 0, 0}, NumberCase{"\xff", 0, 0},
        NumberCase{"%n", 0, 0}));

// The values are those of a machine whose long has 32 bits, on every machine.
INSTANTIATE_TEST_SUITE_P(
    WidthOfLong, ParseNumberTest,
    testing::Values(
        NumberCase{"4294967295", 1, 4294967295u}, NumberCase{"4294967296", 1, 4294967295u},
        NumberCase{"4294967297", 1, 4294967295u}, NumberCase{"4294967299", 1, 4294967295u},
        NumberCase{"12345678901", 1, 4294967295u},
        NumberCase{"18446744073709551616", 1, 4294967295u},
        NumberCase{"18446744073709551617", 1, 4294967295u},
        NumberCase{"99999999999999999999999999999999999999999999", 1, 4294967295u},
        NumberCase{"99999999999999999999999999999999999999999999x", 0, 4294967295u},
        NumberCase{"00000000000000000000000000000000000000000012", 1, 12}, NumberCase{"-0", 1, 0},
        NumberCase{"-1", 1, 4294967295u}, NumberCase{"-5", 1, 4294967291u},
        NumberCase{"-4294967295", 1, 1}, NumberCase{"-4294967296", 1, 4294967295u},
        NumberCase{"-42949672950", 1, 4294967295u}, NumberCase{"-12345678901", 1, 4294967295u}));

TEST(ParseNumberNullTest, NullTextFailsAndChangesNothing) {
  unsigned int value = 77;
  EXPECT_EQ(ParseNumber(&value, nullptr), 0);
  EXPECT_EQ(value, 77u);
}

TEST(ParseNumberLengthTest, TakesAVeryLongTextInOneGo) {
  const std::string digits(1000000, '9');
  unsigned int value = 0;
  EXPECT_NE(ParseNumber(&value, digits.c_str()), 0);
  EXPECT_EQ(value, 4294967295u);
}

// ---- ranges

struct RangeCase {
  const char* text;
  int result;
  unsigned int low;
  unsigned int high;
};

void PrintTo(const RangeCase& c, std::ostream* out) { *out << '"' << c.text << '"'; }

class ParseRangeTest : public testing::TestWithParam<RangeCase> {};

TEST_P(ParseRangeTest, ReadsItsText) {
  unsigned int low = 1000;
  unsigned int high = 2000;
  EXPECT_EQ(ParseRange(&low, &high, GetParam().text) != 0, GetParam().result != 0);
  EXPECT_EQ(low, GetParam().low);
  EXPECT_EQ(high, GetParam().high);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseRangeTest,
    testing::Values(RangeCase{"7", 1, 7, 7}, RangeCase{"3-9", 1, 3, 9}, RangeCase{"9-3", 1, 9, 3},
                    RangeCase{"5-", 1, 5, 0}, RangeCase{"", 1, 0, 0}, RangeCase{" 3- 9", 1, 3, 9},
                    RangeCase{"+3-+9", 1, 3, 9}, RangeCase{"-3", 1, 4294967293u, 4294967293u},
                    RangeCase{"5--3", 1, 5, 4294967293u}, RangeCase{"-", 1, 0, 0},
                    RangeCase{"1-4294967296", 1, 1, 4294967295u},
                    // The first number is stored in any case, the second once it has been reached.
                    RangeCase{"3:9", 0, 3, 2000}, RangeCase{"3 -9", 0, 3, 2000},
                    RangeCase{"x", 0, 0, 2000}, RangeCase{"3-9x", 0, 3, 9},
                    RangeCase{"3-9-12", 0, 3, 9}, RangeCase{"3-x", 0, 3, 0},
                    RangeCase{"3,9", 0, 3, 2000}));

TEST(ParseRangeNullTest, NullTextFailsAndChangesNothing) {
  unsigned int low = 1000;
  unsigned int high = 2000;
  EXPECT_EQ(ParseRange(&low, &high, nullptr), 0);
  EXPECT_EQ(low, 1000u);
  EXPECT_EQ(high, 2000u);
}

}  // namespace
