// Interfaces: what the row statuses mean, and what an interface does to the routes.

#include "stack_test.h"

namespace stack_test {
namespace {

class InterfaceRowsTest : public StackTest {
 protected:
  void SetUp() override { Start(); }
  amb_stubs_i3_ei Only() {
    const auto rows = control.Interfaces();
    EXPECT_EQ(1u, rows.size());
    return rows.empty() ? amb_stubs_i3_ei{} : rows[0];
  }
};

TEST_F(InterfaceRowsTest, CreationSetsAllAttributes) {
  sms_act_interface(4, 1, 10, 3, "eth0", 7, 24, 9000);
  RunAll();
  const amb_stubs_i3_ei row = Only();
  EXPECT_EQ(10u, row.instance);
  EXPECT_EQ(3u, row.if_index);
  EXPECT_STREQ("eth0", row.name);
  EXPECT_EQ(24u, row.flags);
  EXPECT_EQ(1u, row.oper_status);
  EXPECT_EQ(9000u, row.mtu);
}

TEST_F(InterfaceRowsTest, AnotherCreationOverwritesAllAttributes) {
  sms_act_interface(4, 1, 10, 3, "eth0", 7, 24, 9000);
  sms_act_interface(4, 2, 10, 3, "eth7", 7, 8, 0);
  RunAll();
  const amb_stubs_i3_ei row = Only();
  EXPECT_STREQ("eth7", row.name);
  EXPECT_EQ(8u, row.flags);
  EXPECT_EQ(2u, row.oper_status);
  EXPECT_EQ(1500u, row.mtu);
}

TEST_F(InterfaceRowsTest, WithoutAnMtuItIs1500) {
  sms_act_interface(4, 1, 10, 3, "eth0", 0, 0, 0);
  RunAll();
  EXPECT_EQ(1500u, Only().mtu);
}

TEST_F(InterfaceRowsTest, StatusOneChangesTheOperationalStatusOnly) {
  sms_act_interface(4, 1, 10, 3, "eth0", 0, 24, 9000);
  sms_act_interface(1, 2, 10, 3, "other", 0, 1, 1);
  RunAll();
  const amb_stubs_i3_ei row = Only();
  EXPECT_STREQ("eth0", row.name);
  EXPECT_EQ(24u, row.flags);
  EXPECT_EQ(2u, row.oper_status);
  EXPECT_EQ(9000u, row.mtu);
}

TEST_F(InterfaceRowsTest, StatusOneDoesNothingWhenTheRowIsAbsent) {
  sms_act_interface(1, 1, 10, 3, "eth0", 0, 24, 9000);
  RunAll();
  EXPECT_TRUE(control.Interfaces().empty());
}

TEST_F(InterfaceRowsTest, StatusSixRemovesTheRow) {
  AddInterface(10, 3);
  AddInterface(10, 4);
  RemoveInterface(10, 3);
  RemoveInterface(10, 5);
  RunAll();
  EXPECT_EQ(4u, Only().if_index);
}

TEST_F(InterfaceRowsTest, AnUnknownStatusChangesNothing) {
  AddInterface(10, 3);
  sms_act_interface(2, 2, 10, 3, "x", 0, 0, 0);
  sms_act_interface(5, 1, 10, 4, "x", 0, 0, 0);
  RunAll();
  EXPECT_EQ(1u, Only().oper_status);
}

TEST_F(InterfaceRowsTest, ALongNameIsCut) {
  const std::string name(400, 'n');
  sms_act_interface(4, 1, 10, 3, name.c_str(), 0, 0, 0);
  RunAll();
  EXPECT_EQ(std::string(255, 'n'), Only().name);
}

TEST_F(InterfaceRowsTest, RowsAreStoredWithoutAnInstanceAndTakeEffectWithIt) {
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_EQ(1u, control.Interfaces().size());
  EXPECT_THAT(Rib(), IsEmpty());
  AddInstance(10);
  RunAll();
  EXPECT_THAT(Routes(), ElementsAre("10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(InterfaceRowsTest, ConnectedRoutesFollowTheOperationalStatus) {
  AddInstance(10);
  AddInterface(10, 3, false);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
  SetInterface(10, 3, true);
  RunAll();
  EXPECT_THAT(Rib(), ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
  SetInterface(10, 3, false);
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
  SetInterface(10, 3, true);
  RemoveInterface(10, 3);
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
}

TEST_F(InterfaceRowsTest, AnyStatusOtherThanOneIsDown) {
  AddInstance(10);
  AddAddress(10, 3, "10.1.2.3/24");
  sms_act_interface(4, 7, 10, 3, "eth0", 0, 0, 0);
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
}

TEST_F(InterfaceRowsTest, AnInterfaceOfOneInstanceDoesNothingToAnother) {
  AddInstance(10);
  AddInstance(11);
  AddInterface(10, 3);
  AddAddress(11, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_THAT(Rib(), IsEmpty());
}

TEST_F(InterfaceRowsTest, IndexZeroIsStoredAndTakesNoEffect) {
  AddInstance(10);
  AddInterface(10, 0);
  AddAddress(10, 0, "10.1.2.3/24");
  RunAll();
  EXPECT_EQ(1u, control.Interfaces().size());
  EXPECT_THAT(Rib(), IsEmpty());
}

}  // namespace
}  // namespace stack_test
