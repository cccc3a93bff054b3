// The table of configured static routes.

#include "vantacore/cfg_route.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/recording_console.h"
#include "tests/support/trace_capture.h"
#include "vantacore/config_parser.h"

namespace {

using Tarsel::CfgRoute;
using Tarsel::CfgRouteEntry;
using testing::ElementsAre;

const unsigned char NET_A[4] = {10, 9, 0, 0};
const unsigned char NET_B[4] = {192, 168, 100, 0};
const unsigned char GATEWAY[4] = {10, 1, 2, 1};
const unsigned char OTHER_GATEWAY[4] = {10, 1, 2, 2};
const unsigned char NET6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 9};
const unsigned char GATEWAY6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

class CfgRouteTable : public testing::Test {
 protected:
  bool Add(const unsigned char* net, unsigned int prefixLen = 16, unsigned long ifIndex = 3,
           unsigned short metric = 5) {
    return table.AddEntry(1, net, prefixLen, GATEWAY, ifIndex, 0, metric, 0x30000, 1, 1);
  }

  bool Add6(const unsigned char* net, unsigned int prefixLen = 48) {
    return table.AddEntry(2, net, prefixLen, GATEWAY6, 4, 0, 6, 0x30000, 1, 1);
  }

  std::vector<std::string> Destinations() {
    std::vector<std::string> texts;
    table.IterateAll(
        [](CfgRouteEntry* entry, void* context) {
          static_cast<std::vector<std::string>*>(context)->push_back(
              entry->Format(entry->destination).c_str());
        },
        &texts);
    return texts;
  }

  std::string Printed() {
    const auto log = test_support::NewConsoleLog();
    test_support::RecordingConsole console(log);
    table.PrintTable(&console);
    return log->all;
  }

  CfgRoute table{10};
};

TEST_F(CfgRouteTable, AddedRouteIsFoundAtTheFront) {
  EXPECT_EQ(table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY), nullptr);
  EXPECT_TRUE(table.AddEntry(1, NET_A, 16, GATEWAY, 3, 70, 5, 0x30000, 4, 2));
  const CfgRouteEntry* entry = table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->type, 1);
  EXPECT_EQ(entry->prefixLen, 16U);
  EXPECT_EQ(entry->ifIndex, 3U);
  EXPECT_EQ(entry->metric, 5);
  EXPECT_EQ(entry->other, 70);
  EXPECT_EQ(entry->pathType, 0x30000);
  EXPECT_EQ(entry->rowStatus, 4);
  EXPECT_EQ(entry->adminStatus, 2);
}

TEST_F(CfgRouteTable, AddingTheFrontRouteAgainUpdatesIt) {
  EXPECT_TRUE(table.AddEntry(1, NET_A, 16, GATEWAY, 3, 70, 5, 0x30000, 1, 1));
  EXPECT_FALSE(table.AddEntry(1, NET_A, 16, GATEWAY, 8, 71, 6, 0x20000, 6, 2));
  EXPECT_THAT(Destinations(), ElementsAre("10.9.0.0"));
  const CfgRouteEntry* entry = table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->ifIndex, 8U);
  EXPECT_EQ(entry->metric, 6);
  EXPECT_EQ(entry->other, 71);
  EXPECT_EQ(entry->pathType, 0x20000);
  EXPECT_EQ(entry->rowStatus, 6);
  EXPECT_EQ(entry->adminStatus, 2);
  EXPECT_NE(Printed().find("\nNumber of Entries: 1\n\n"), std::string::npos);
}

TEST_F(CfgRouteTable, RouteThatIsNotAtTheFrontIsNeitherFoundNorUpdated) {
  EXPECT_TRUE(Add(NET_A));
  EXPECT_TRUE(Add(NET_B));
  EXPECT_EQ(table.GetCfgRouteEntry(1, NET_B, 16, GATEWAY), nullptr);
  EXPECT_TRUE(Add(NET_B));
  EXPECT_THAT(Destinations(), ElementsAre("10.9.0.0", "192.168.100.0", "192.168.100.0"));
  EXPECT_NE(Printed().find("\nNumber of Entries: 3\n\n"), std::string::npos);
}

TEST_F(CfgRouteTable, AnyDifferenceOfTypeLengthOrAddressIsAnotherRoute) {
  Add(NET_A);
  EXPECT_EQ(table.GetCfgRouteEntry(2, NET6, 16, GATEWAY6), nullptr);
  EXPECT_EQ(table.GetCfgRouteEntry(1, NET_A, 17, GATEWAY), nullptr);
  EXPECT_EQ(table.GetCfgRouteEntry(1, NET_B, 16, GATEWAY), nullptr);
  EXPECT_EQ(table.GetCfgRouteEntry(1, NET_A, 16, OTHER_GATEWAY), nullptr);
  EXPECT_NE(table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY), nullptr);
}

TEST_F(CfgRouteTable, Ipv4ComparesAndCopiesFourBytes) {
  unsigned char net[16];
  unsigned char gateway[16];
  std::memset(net, 0xAA, sizeof net);
  std::memset(gateway, 0xBB, sizeof gateway);
  std::memcpy(net, NET_A, sizeof NET_A);
  std::memcpy(gateway, GATEWAY, sizeof GATEWAY);
  EXPECT_TRUE(table.AddEntry(1, net, 16, gateway, 3, 0, 5, 0x30000, 1, 1));
  const CfgRouteEntry* entry = table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY);
  ASSERT_NE(entry, nullptr);
  for (int i = 4; i < 16; ++i) {
    EXPECT_EQ(entry->destination[i], 0) << i;
    EXPECT_EQ(entry->gateway[i], 0) << i;
  }
  EXPECT_TRUE(table.DelEntry(1, NET_A, 16, GATEWAY, 3));
  EXPECT_TRUE(Destinations().empty());
}

// The same IPv6 address but for its last byte.
std::array<unsigned char, 16> LastByteChanged(const unsigned char (&address)[16]) {
  std::array<unsigned char, 16> changed;
  std::copy(std::begin(address), std::end(address), changed.begin());
  changed[15] ^= 0xff;
  return changed;
}

TEST_F(CfgRouteTable, Ipv6ComparesSixteenBytesOfTheDestination) {
  const auto other = LastByteChanged(NET6);
  EXPECT_TRUE(Add6(NET6));
  EXPECT_EQ(table.GetCfgRouteEntry(2, other.data(), 48, GATEWAY6), nullptr);
  EXPECT_NE(table.GetCfgRouteEntry(2, NET6, 48, GATEWAY6), nullptr);
  EXPECT_TRUE(table.DelEntry(2, other.data(), 48, GATEWAY6, 4));
  EXPECT_THAT(Destinations(), ElementsAre("2001:db8:9::"));
  EXPECT_TRUE(table.DelEntry(2, NET6, 48, GATEWAY6, 4));
  EXPECT_TRUE(Destinations().empty());
}

TEST_F(CfgRouteTable, Ipv6ComparesSixteenBytesOfTheGateway) {
  const auto other = LastByteChanged(GATEWAY6);
  EXPECT_TRUE(Add6(NET6));
  EXPECT_EQ(table.GetCfgRouteEntry(2, NET6, 48, other.data()), nullptr);
  EXPECT_NE(table.GetCfgRouteEntry(2, NET6, 48, GATEWAY6), nullptr);
  EXPECT_TRUE(table.DelEntry(2, NET6, 48, other.data(), 4));
  EXPECT_THAT(Destinations(), ElementsAre("2001:db8:9::"));
}

TEST_F(CfgRouteTable, AnyTypeButOneIsIpv6) {
  EXPECT_TRUE(table.AddEntry(7, NET6, 48, GATEWAY6, 4, 0, 6, 0, 1, 1));
  EXPECT_THAT(Destinations(), ElementsAre("2001:db8:9::"));
  EXPECT_EQ(table.GetCfgRouteEntry(2, NET6, 48, GATEWAY6), nullptr);
  EXPECT_NE(table.GetCfgRouteEntry(7, NET6, 48, GATEWAY6), nullptr);
}

TEST_F(CfgRouteTable, DeletingTakesEveryCopyAndLeavesTheCount) {
  Add(NET_A);
  Add(NET_B);
  Add(NET_B);
  EXPECT_TRUE(table.DelEntry(1, NET_B, 16, GATEWAY, 3));
  EXPECT_THAT(Destinations(), ElementsAre("10.9.0.0"));
  EXPECT_EQ(Printed(),
            "VLAN ID = 10\n"
            "VLAN Network         Netmask         Nexthop         IfIndex Cost\n"
            "  10 10.9.0.0       /016 10.1.2.1        3        5\n"
            "\nNumber of Entries: 3\n\n");
}

TEST_F(CfgRouteTable, DeletingNeedsEveryValueToMatch) {
  Add(NET_A);
  EXPECT_TRUE(table.DelEntry(1, NET_A, 16, GATEWAY, 4));
  EXPECT_TRUE(table.DelEntry(1, NET_A, 16, GATEWAY, 0x10003));
  EXPECT_TRUE(table.DelEntry(1, NET_A, 15, GATEWAY, 3));
  EXPECT_TRUE(table.DelEntry(1, NET_B, 16, GATEWAY, 3));
  EXPECT_TRUE(table.DelEntry(1, NET_A, 16, OTHER_GATEWAY, 3));
  EXPECT_TRUE(table.DelEntry(2, NET6, 16, GATEWAY6, 3));
  EXPECT_THAT(Destinations(), ElementsAre("10.9.0.0"));
}

// The addresses may be those of an entry that goes.
TEST_F(CfgRouteTable, DeletingMayBeAskedForWithTheAddressesOfAnEntry) {
  Add(NET_A);
  Add(NET_B);
  Add(NET_A);
  Add6(NET6);
  const CfgRouteEntry* entry = table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY);
  ASSERT_NE(entry, nullptr);
  table.DelEntry(1, entry->destination, 16, entry->gateway, 3);
  EXPECT_THAT(Destinations(), ElementsAre("192.168.100.0", "2001:db8:9::"));
}

// There is nothing that an address would be compared with, so that none is read.
TEST_F(CfgRouteTable, DeletingFromAnEmptyTableReadsNoAddress) {
  EXPECT_TRUE(table.DelEntry(1, nullptr, 16, nullptr, 3));
}

TEST_F(CfgRouteTable, IterationVisitsFrontToBackAndMayChangeEntries) {
  Add(NET_A);
  Add(NET_B);
  Add6(NET6);
  table.IterateAll([](CfgRouteEntry* entry, void*) { entry->metric = 77; }, nullptr);
  EXPECT_THAT(Destinations(), ElementsAre("10.9.0.0", "192.168.100.0", "2001:db8:9::"));
  EXPECT_EQ(table.GetCfgRouteEntry(1, NET_A, 16, GATEWAY)->metric, 77);
}

TEST_F(CfgRouteTable, CleaningEmptiesTheTableAndTheCount) {
  Add(NET_A);
  Add(NET_B);
  table.CleanList();
  EXPECT_TRUE(Destinations().empty());
  EXPECT_EQ(Printed(), "VLAN ID = 10\n\nNumber of Entries: 0\n\n");
  EXPECT_TRUE(Add(NET_B));
  EXPECT_NE(Printed().find("\nNumber of Entries: 1\n\n"), std::string::npos);
}

TEST_F(CfgRouteTable, EmptyTablePrintsNoHeader) {
  EXPECT_EQ(Printed(), "VLAN ID = 10\n\nNumber of Entries: 0\n\n");
}

TEST_F(CfgRouteTable, EmptiedTablePrintsTheHeaderStill) {
  Add(NET_A);
  table.DelEntry(1, NET_A, 16, GATEWAY, 3);
  EXPECT_EQ(Printed(),
            "VLAN ID = 10\n"
            "VLAN Network         Netmask         Nexthop         IfIndex Cost\n"
            "\nNumber of Entries: 1\n\n");
}

TEST_F(CfgRouteTable, PrintoutHasOneLineForEachRoute) {
  table.AddEntry(1, NET_B, 24, GATEWAY, 123456, 9, 65535, 0x30000, 1, 1);
  Add6(NET6, 128);
  EXPECT_EQ(Printed(),
            "VLAN ID = 10\n"
            "VLAN Network         Netmask         Nexthop         IfIndex Cost\n"
            "  10 192.168.100.0  /024 10.1.2.1        123456 65535\n"
            "  10 2001:db8:9::   /128 2001:db8::1     4        6\n"
            "\nNumber of Entries: 2\n\n");
}

TEST_F(CfgRouteTable, VlanOfAnyWidthIsPrinted) {
  CfgRoute large(65535);
  large.AddEntry(1, NET_A, 16, GATEWAY, 3, 0, 5, 0x30000, 1, 1);
  const auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  large.PrintTable(&console);
  EXPECT_EQ(log->all,
            "VLAN ID = 65535\n"
            "VLAN Network         Netmask         Nexthop         IfIndex Cost\n"
            "65535 10.9.0.0       /016 10.1.2.1        3        5\n"
            "\nNumber of Entries: 1\n\n");
}

TEST_F(CfgRouteTable, ListGoesToTheLogAtLevelZero) {
  Add(NET_A);
  Add6(NET6);
  table.DelEntry(2, NET6, 48, GATEWAY6, 4);
  Add(NET_B, 24, 4294967295UL, 9);
  test_support::TraceCapture traces;
  table.PrintList();
  EXPECT_THAT(traces.Take(),
              ElementsAre("0:\nVLAN ID = 10\n", "0:\t10\t10.9.0.0/16\t10.1.2.1\t3\t5\n",
                          "0:\t10\t192.168.100.0/24\t10.1.2.1\t4294967295\t9\n",
                          "0:\nNumber of Entries: 3\n"));
}

TEST_F(CfgRouteTable, EmptyListGoesToTheLogWithoutRoutes) {
  test_support::TraceCapture traces;
  table.PrintList();
  EXPECT_THAT(traces.Take(), ElementsAre("0:\nVLAN ID = 10\n", "0:\nNumber of Entries: 0\n"));
}

TEST(CfgRouteEntry, FormatFollowsTheEntrysType) {
  CfgRouteEntry entry;
  entry.type = 1;
  EXPECT_STREQ(entry.Format(GATEWAY).c_str(), "10.1.2.1");
  entry.type = 2;
  EXPECT_STREQ(entry.Format(GATEWAY6).c_str(), "2001:db8::1");
  entry.type = 0;
  EXPECT_STREQ(entry.Format(GATEWAY6).c_str(), "2001:db8::1");
}

TEST(CfgRouteEntry, FieldsLieInTheirFixedOrder) {
  EXPECT_EQ(offsetof(CfgRouteEntry, type), 0U);
  EXPECT_EQ(offsetof(CfgRouteEntry, destination), 4U);
  EXPECT_EQ(offsetof(CfgRouteEntry, gateway), 20U);
  EXPECT_EQ(offsetof(CfgRouteEntry, prefixLen), 36U);
  EXPECT_EQ(offsetof(CfgRouteEntry, ifIndex), 40U);
  EXPECT_EQ(offsetof(CfgRouteEntry, metric), 44U);
  EXPECT_EQ(offsetof(CfgRouteEntry, other), 46U);
  EXPECT_EQ(offsetof(CfgRouteEntry, pathType), 48U);
  EXPECT_EQ(offsetof(CfgRouteEntry, rowStatus), 52U);
  EXPECT_EQ(offsetof(CfgRouteEntry, adminStatus), 56U);
  EXPECT_EQ(sizeof(CfgRouteEntry), 60U);
}

}  // namespace
