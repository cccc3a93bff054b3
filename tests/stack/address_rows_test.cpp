// Addresses of interfaces and the prefixes that they connect.

#include <cstring>

#include "stack_test.h"

namespace stack_test {
namespace {

class AddressRowsTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    AddInstance(10 | kIp6Bit);
    AddInterface(10, 3);
    AddInterface(10 | kIp6Bit, 3);
    RunAll();
  }
};

TEST_F(AddressRowsTest, RowsShowWhatWasRequested) {
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10 | kIp6Bit, 3, "2001:db8::3/64");
  RunAll();
  const auto rows = control.Addresses();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(10u, rows[0].instance);
  EXPECT_EQ(3u, rows[0].if_index);
  EXPECT_EQ(1u, rows[0].address_type);
  EXPECT_EQ(24u, rows[0].prefix_length);
  EXPECT_EQ(0, memcmp(rows[0].address, AddressBytes("10.1.2.3").bytes, 16));
  EXPECT_EQ(10u | kIp6Bit, rows[1].instance);
  EXPECT_EQ(2u, rows[1].address_type);
  EXPECT_EQ(0, memcmp(rows[1].address, AddressBytes("2001:db8::3").bytes, 16));
}

TEST_F(AddressRowsTest, TheConnectedPrefixHasNoHostBits) {
  AddAddress(10, 3, "10.1.2.3/22");
  AddAddress(10 | kIp6Bit, 3, "2001:db8::3/62");
  RunAll();
  EXPECT_THAT(Routes(), ElementsAre("10 10.1.0.0/22 proto 2 via 0.0.0.0 if 3 metric 0",
                                    "10 2001:db8::/62 proto 2 via :: if 3 metric 0"));
}

TEST_F(AddressRowsTest, ConnectedRoutesAreLocal) {
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_EQ(3u, control.Routes()[0].route_type);
  EXPECT_EQ(3u, control.Rib()[0].route_type);
}

TEST_F(AddressRowsTest, StatusOneAndFourCreateOrOverwriteTheLength) {
  AddAddress(10, 3, "10.1.2.3/24");
  sms_act_ipaddr(4, 10, 1, 3, AddressBytes("10.1.2.3").bytes, 16);
  sms_act_ipaddr(4, 10, 1, 3, AddressBytes("10.9.2.3").bytes, 25);
  RunAll();
  EXPECT_EQ(2u, control.Addresses().size());
  EXPECT_THAT(Routes(), ElementsAre("10 10.1.0.0/16 proto 2 via 0.0.0.0 if 3 metric 0",
                                    "10 10.9.2.0/25 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(AddressRowsTest, StatusSixRemoves) {
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10, 3, "10.2.2.3/24");
  RemoveAddress(10, 3, "10.1.2.3/24");
  RemoveAddress(10, 3, "10.7.7.7/24");
  RunAll();
  EXPECT_EQ(1u, control.Addresses().size());
  EXPECT_THAT(Routes(), ElementsAre("10 10.2.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
}

// The row is named by its address; a removal need not know the length.
TEST_F(AddressRowsTest, TheLengthOfARemovalPlaysNoPart) {
  AddAddress(10, 3, "10.1.2.3/24");
  RemoveAddress(10, 3, "10.1.2.3/8");
  RunAll();
  EXPECT_TRUE(control.Addresses().empty());
  EXPECT_THAT(Rib(), IsEmpty());
}

TEST_F(AddressRowsTest, AnUnknownStatusChangesNothing) {
  AddAddress(10, 3, "10.1.2.3/24");
  sms_act_ipaddr(2, 10, 1, 3, AddressBytes("10.1.2.3").bytes, 16);
  sms_act_ipaddr(5, 10, 1, 3, AddressBytes("10.1.2.4").bytes, 16);
  RunAll();
  ASSERT_EQ(1u, control.Addresses().size());
  EXPECT_EQ(24u, control.Addresses()[0].prefix_length);
}

TEST_F(AddressRowsTest, TwoAddressesOfOnePrefixConnectItOnce) {
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10, 3, "10.1.2.4/24");
  RunAll();
  EXPECT_EQ(1u, control.Rib().size());
  RemoveAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_EQ(1u, control.Rib().size());
  RemoveAddress(10, 3, "10.1.2.4/24");
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
}

TEST_F(AddressRowsTest, OnePrefixOnTwoInterfacesIsTwoCandidatesAndTheLowerIndexWins) {
  AddInterface(10, 2);
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10, 2, "10.1.2.4/24");
  RunAll();
  EXPECT_THAT(Rib(), ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 2 metric 0",
                                 "  10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
  SetInterface(10, 2, false);
  RunAll();
  EXPECT_THAT(Routes(), ElementsAre("10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(AddressRowsTest, AddressesWaitForTheirInterface) {
  AddAddress(10, 7, "10.7.0.1/16");
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
  AddInterface(10, 7);
  RunAll();
  EXPECT_THAT(Routes(), ElementsAre("10 10.7.0.0/16 proto 2 via 0.0.0.0 if 7 metric 0"));
}

TEST_F(AddressRowsTest, WhatMakesNoSenseIsStoredAndConnectsNothing) {
  AddAddress(10, 3, "10.1.2.3/33");
  AddAddress(10, 3, "0.0.0.0/8");
  AddAddress(10, 3, "2001:db8::3/64");
  AddAddress(10 | kIp6Bit, 3, "2001:db8::4/129");
  AddAddress(10 | kIp6Bit, 3, "::/64");
  AddAddress(10 | kIp6Bit, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_EQ(6u, control.Addresses().size());
  EXPECT_THAT(Rib(), IsEmpty());
}

TEST_F(AddressRowsTest, ALengthThatIsPutRightConnects) {
  AddAddress(10, 3, "10.1.2.3/33");
  AddAddress(10, 3, "10.1.2.3/32");
  RunAll();
  EXPECT_THAT(Routes(), ElementsAre("10 10.1.2.3/32 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(AddressRowsTest, LengthZeroConnectsEverything) {
  AddAddress(10, 3, "10.1.2.3/0");
  RunAll();
  EXPECT_THAT(Routes(), ElementsAre("10 0.0.0.0/0 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(AddressRowsTest, AChangeOfAddressIsARemovalAndACreation) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_EQ(2u, Routes().size());
  RemoveAddress(10, 3, "10.1.2.3/24");
  AddAddress(10, 3, "10.5.2.3/24");
  RunAll();
  EXPECT_THAT(Rib(), ElementsAre("> 10 10.5.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                                 "  10 10.9.0.0/16 proto 3 via 10.1.2.1 if TBD metric 1"));
}

}  // namespace
}  // namespace stack_test
