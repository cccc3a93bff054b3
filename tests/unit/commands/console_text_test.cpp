// The texts of the tables.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "vantacore/dc_console_command.h"

namespace Tarsel {
namespace {

const unsigned char IP4[] = {10, 1, 2, 3};
const unsigned char OTHER_IP4[] = {192, 168, 255, 254};
const unsigned char IP6[] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
const unsigned char LONG_IP6[] = {0x20, 0x01, 0x0d, 0xb8, 0x11, 0x11, 0x22, 0x22,
                                  0x33, 0x33, 0x44, 0x44, 0x55, 0x55, 0x66, 0x66};

TEST(ConsoleText, OperationalStates) {
  const char* const expected[] = {"UNKN", "Up", "Down", "Down", "Down", "Down", "UNKN"};
  for (int status = 0; status < 7; ++status) {
    EXPECT_STREQ(expected[status], DcConsoleCommand::OperStatusStr(status)) << status;
  }
  EXPECT_STREQ("UNKN", DcConsoleCommand::OperStatusStr(9));
  EXPECT_STREQ("UNKN", DcConsoleCommand::OperStatusStr(-1));
}

TEST(ConsoleText, TruthValues) {
  const char* const expected[] = {"UNKN", "Yes", "No", "UNKN"};
  for (int value = 0; value < 4; ++value) {
    EXPECT_STREQ(expected[value], DcConsoleCommand::AmbBoolYesNoStr(value)) << value;
  }
  EXPECT_STREQ("UNKN", DcConsoleCommand::AmbBoolYesNoStr(-1));
}

TEST(ConsoleText, TheUnknownWordIsShared) {
  EXPECT_STREQ("UNKN", DclUnknownStr);
  EXPECT_EQ(DclUnknownStr, DcConsoleCommand::OperStatusStr(0));
  EXPECT_EQ(DclUnknownStr, DcConsoleCommand::AmbBoolYesNoStr(0));
}

TEST(ConsoleText, Addresses) {
  EXPECT_STREQ("10.1.2.3", DcConsoleCommand::DcIp4ToIp4Str(IP4));
  EXPECT_STREQ("2001:db8::1", DcConsoleCommand::ToIp6Str(IP6));
}

TEST(ConsoleText, Prefixes) {
  EXPECT_STREQ("10.1.2.3/24", DcConsoleCommand::ToIp4PrefixStr(IP4, 24));
  EXPECT_STREQ("192.168.255.254/32", DcConsoleCommand::ToIp4PrefixStr(OTHER_IP4, 32));
  EXPECT_STREQ("2001:db8::1/64", DcConsoleCommand::ToIp6PrefixStr(IP6, 64));
}

TEST(ConsoleText, LengthsBeyondAnyPrefixStayInTheBuffer) {
  EXPECT_STREQ("192.168.255.254/429", DcConsoleCommand::ToIp4PrefixStr(OTHER_IP4, 4294967295U));
  EXPECT_STREQ("2001:db8:1111:2222:3333:4444:5555:6666/4294967295",
               DcConsoleCommand::ToIp6PrefixStr(LONG_IP6, 4294967295U));
}

TEST(ConsoleText, EachHelperHasOneBuffer) {
  const char* const first = DcConsoleCommand::DcIp4ToIp4Str(IP4);
  EXPECT_EQ(first, DcConsoleCommand::DcIp4ToIp4Str(OTHER_IP4));
  EXPECT_STREQ("192.168.255.254", first);
  DcConsoleCommand::ToIp4PrefixStr(IP4, 24);
  EXPECT_STREQ("192.168.255.254", first);
}

TEST(ConsoleText, NoTwoHelpersShareABuffer) {
  const std::set<const char*> buffers = {
      DcConsoleCommand::DcIp4ToIp4Str(IP4), DcConsoleCommand::ToIp4PrefixStr(IP4, 24),
      DcConsoleCommand::ToIp6Str(IP6), DcConsoleCommand::ToIp6PrefixStr(IP6, 64)};
  EXPECT_EQ(4U, buffers.size());
}

TEST(ConsoleText, AnIpv6PrefixOverwritesTheAddressText) {
  const char* const address = DcConsoleCommand::ToIp6Str(IP6);
  DcConsoleCommand::ToIp6PrefixStr(LONG_IP6, 64);
  EXPECT_STREQ("2001:db8:1111:2222:3333:4444:5555:6666", address);
}

TEST(ConsoleText, AddressesAreComparedByValue) {
  EXPECT_TRUE(DcConsoleCommand::IsEqual(Ip4Addr(10, 1, 2, 3), IP4));
  EXPECT_FALSE(DcConsoleCommand::IsEqual(Ip4Addr(10, 1, 2, 4), IP4));
  const unsigned char none[] = {0, 0, 0, 0};
  EXPECT_TRUE(DcConsoleCommand::IsEqual(Ip4Addr(), none));
}

TEST(ConsoleText, AComparisonLeavesTheAddressThatItCompared) {
  const char* const address = DcConsoleCommand::DcIp4ToIp4Str(IP4);
  DcConsoleCommand::IsEqual(Ip4Addr(10, 1, 2, 3), OTHER_IP4);
  EXPECT_STREQ("192.168.255.254", address);
}

TEST(ConsoleText, Intervals) {
  const struct {
    unsigned int seconds;
    const char* text;
  } cases[] = {{0, "00:00:00"}, {59, "00:00:59"}, {3725, "01:02:05"}, {86399, "23:59:59"},
               {86400, "1d"},   {90061, "1d"},    {604799, "6d"},     {604800, "1w"},
               {604801, "1w"},  {694800, "1w1d"}, {1209599, "1w6d"},  {4294967295U, "7101w3d"}};
  for (const auto& interval : cases) {
    EXPECT_STREQ(interval.text, DcConsoleCommand::DclTimerIntervalString(interval.seconds).c_str())
        << interval.seconds;
  }
}

TEST(ConsoleText, AddressesOfEitherFamilyAreParsed) {
  DclIpAddress address(nullptr, 0);
  EXPECT_TRUE(DcConsoleCommand::DclAddrFromString(1, address, "10.1.2.3"));
  EXPECT_EQ(4U, address.GetLength());
  EXPECT_FALSE(DcConsoleCommand::DclAddrFromString(1, address, "2001:db8::1"));
  EXPECT_EQ(4U, address.GetLength());
  for (const int family : {2, 0, -1}) {
    EXPECT_FALSE(DcConsoleCommand::DclAddrFromString(family, address, "10.1.2.3"));
    EXPECT_TRUE(DcConsoleCommand::DclAddrFromString(family, address, "2001:db8::1"));
    EXPECT_EQ(16U, address.GetLength());
  }
}

}  // namespace
}  // namespace Tarsel
