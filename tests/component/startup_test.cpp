// The device starts.

#include "tests/component/component_fixture.h"

namespace {

using Tarsel::Ip4Addr;

class StartUp : public ComponentFixture {
 protected:
  void AddInterfaceBeforeTheStart() {
    registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 1400, 1);
    registry.SetInterfaceDown(10, 3, "eth0");
    registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
    Take();
  }
};

TEST_F(StartUp, StackIsStartedAndFirstRunWhenItAsks) {
  Start(7);
  EXPECT_EQ(Take(), Text({
                        "10 Creating new Instance of Manager",
                        "10 Creating DC Scheduler",
                        "10 Creating DcRouterMgr",
                        "10 Initializing Manager",
                        "10 in DcRouterMgr::Initialize vlan = 7 ",
                        "10 Starting Metaswitch",
                        "> smsi_init(\"ripv2 ripng bgp ospf ospfv3 igmp pim\")",
                        ASK,
                        IN_5_MS,
                        "10 Initializing SckDescriptor",
                    }));
  EXPECT_EQ(After(4), "");
  EXPECT_EQ(After(1), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(After(999), "");
  EXPECT_EQ(After(1), Text({RUN, IN_1000_MS}));
}

TEST_F(StartUp, RowsOfBeforeTheStartAreReleasedByTheReadySignal) {
  AddInterfaceBeforeTheStart();
  Start();
  Take();
  EXPECT_EQ(After(5),
            Text({
                RUN,
                "5 InterfaceAction: shared_context = 1 row_status = 4 oper_status = 1 vlan = 10 "
                "if_index = 3 if_name = eth0",
                "> sms_bld_amb_test_i3_ei(4, 1, 10, 3, \"eth0\", 0, 24, 1400)",
                ASK,
                IN_5_MS,
                "5 InterfaceAction: shared_context = 1 row_status = 4 oper_status = 1 vlan = 32778 "
                "if_index = 3 if_name = eth0",
                "> sms_bld_amb_test_i3_ei(4, 1, 32778, 3, \"eth0\", 0, 24, 1400)",
                "5 AddressAction: shared_context = 1 row_status = 1 vlan = 10 if_index = 3 address "
                "= 10.1.2.3",
                "> sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                // The rows are finished one by one; each one's second request follows at once.
                "5 InterfaceAction: shared_context = 1 row_status = 1 oper_status = 2 vlan = 10 "
                "if_index = 3 if_name = eth0",
                "> sms_bld_amb_test_i3_ei(1, 2, 10, 3, \"eth0\", 0, 0, 0)",
                "5 InterfaceAction: shared_context = 1 row_status = 1 oper_status = 2 vlan = 32778 "
                "if_index = 3 if_name = eth0",
                "> sms_bld_amb_test_i3_ei(1, 2, 32778, 3, \"eth0\", 0, 0, 0)",
                SET_ALREADY,
            }));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_TRUE(stack.IsIdle());
}

TEST_F(StartUp, RepeatedReadySignalIssuesNothingAgain) {
  Start();
  Quiet();
  registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  Take();
  Control().RepeatReady();
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
}

// --- the stack calls back from inside of calls ---

TEST_F(StartUp, ReadySignalMayComeFromInsideTheStart) {
  MakeSynchronous();
  Start(7);
  EXPECT_EQ(Take(), Text({
                        "10 Creating new Instance of Manager",
                        "10 Creating DC Scheduler",
                        "10 Creating DcRouterMgr",
                        "10 Initializing Manager",
                        "10 in DcRouterMgr::Initialize vlan = 7 ",
                        "10 Starting Metaswitch",
                        "> smsi_init(\"ripv2 ripng bgp ospf ospfv3 igmp pim\")",
                        ASK,
                        IN_5_MS,
                        "10 Initializing SckDescriptor",
                    }));
  registry.SetInterfaceUp(10, 3, "eth0");
  EXPECT_EQ(Take(),
            Text({
                "5 InterfaceAction: shared_context = 0 row_status = 1 oper_status = 1 vlan = 10 "
                "if_index = 3 if_name = eth0",
                "> sms_act_interface(1, 1, 10, 3, \"eth0\", 0, 0, 0)",
                "5 InterfaceAction: shared_context = 0 row_status = 1 oper_status = 1 vlan = 32778 "
                "if_index = 3 if_name = eth0",
                "> sms_act_interface(1, 1, 32778, 3, \"eth0\", 0, 0, 0)",
            }));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
}

// A row is finished, and its next request issued, before the ready signal gets to the next row.
TEST_F(StartUp, EveryWaitingRowIsReleasedOnceWhenRowsFinishAtOnce) {
  AddInterfaceBeforeTheStart();
  MakeSynchronous();
  Start();
  EXPECT_EQ(
      Take(),
      Text({
          "10 Initializing Manager",
          "10 in DcRouterMgr::Initialize vlan = 1 ",
          "10 Starting Metaswitch",
          "> smsi_init(\"ripv2 ripng bgp ospf ospfv3 igmp pim\")",
          ASK,
          IN_5_MS,
          "5 InterfaceAction: shared_context = 1 row_status = 4 oper_status = 1 vlan = 10 "
          "if_index = 3 if_name = eth0",
          "> sms_bld_amb_test_i3_ei(4, 1, 10, 3, \"eth0\", 0, 24, 1400)",
          "5 InterfaceAction: shared_context = 1 row_status = 1 oper_status = 2 vlan = 10 "
          "if_index = 3 if_name = eth0",
          "> sms_bld_amb_test_i3_ei(1, 2, 10, 3, \"eth0\", 0, 0, 0)",
          "5 InterfaceAction: shared_context = 1 row_status = 4 oper_status = 1 vlan = 32778 "
          "if_index = 3 if_name = eth0",
          "> sms_bld_amb_test_i3_ei(4, 1, 32778, 3, \"eth0\", 0, 24, 1400)",
          "5 InterfaceAction: shared_context = 1 row_status = 1 oper_status = 2 vlan = 32778 "
          "if_index = 3 if_name = eth0",
          "> sms_bld_amb_test_i3_ei(1, 2, 32778, 3, \"eth0\", 0, 0, 0)",
          "5 AddressAction: shared_context = 1 row_status = 1 vlan = 10 if_index = 3 address = "
          "10.1.2.3",
          "> sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
          "10 Initializing SckDescriptor",
      }));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
}

}  // namespace
