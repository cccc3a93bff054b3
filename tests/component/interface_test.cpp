// An interface with its addresses: from the host through the registry into the stack.

#include "tests/component/component_fixture.h"

namespace {

using Tarsel::Ip4Addr;

const Ip4Addr ADDRESS(10, 1, 2, 3);
const Ip4Addr MASK(255, 255, 255, 0);
const Ip4Addr OTHER(10, 1, 9, 9);
const Ip4Addr OTHER_MASK(255, 255, 0, 0);

std::string InterfaceTrace(int shared, int rowStatus, int operStatus, int instance) {
  return "5 InterfaceAction: shared_context = " + std::to_string(shared) +
         " row_status = " + std::to_string(rowStatus) +
         " oper_status = " + std::to_string(operStatus) + " vlan = " + std::to_string(instance) +
         " if_index = 3 if_name = eth0";
}

std::string AddressTrace(int shared, int rowStatus, const char* address) {
  return "5 AddressAction: shared_context = " + std::to_string(shared) +
         " row_status = " + std::to_string(rowStatus) +
         " vlan = 10 if_index = 3 address = " + address;
}

class Interfaces : public ComponentFixture {
 protected:
  void SetUp() override {
    Start();
    LoadVlans({10});
    Quiet();
  }

  void AddInterface() {
    registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 0x38, 1400, 1);
  }

  // "instance/ifIndex name flags status mtu" of each interface.
  std::string StackInterfaces() {
    std::string text;
    for (const amb_stubs_i3_ei& row : Control().Interfaces()) {
      text += std::to_string(row.instance) + "/" + std::to_string(row.if_index) + " " + row.name +
              " " + std::to_string(row.flags) + " " + std::to_string(row.oper_status) + " " +
              std::to_string(row.mtu) + "\n";
    }
    return text;
  }

  // "instance/ifIndex length" of each address.
  std::string StackAddresses() {
    std::string text;
    for (const amb_stubs_i3_ea& row : Control().Addresses()) {
      text += std::to_string(row.instance) + "/" + std::to_string(row.if_index) + " " +
              std::to_string(row.address[0]) + "." + std::to_string(row.address[1]) + "." +
              std::to_string(row.address[2]) + "." + std::to_string(row.address[3]) + "/" +
              std::to_string(row.prefix_length) + "\n";
    }
    return text;
  }
};

TEST_F(Interfaces, NewInterfaceIsSentAtOnceAndItsNextRequestWaits) {
  AddInterface();
  EXPECT_EQ(Take(), Text({
                        InterfaceTrace(0, 4, 1, 10),
                        "> sms_act_interface(4, 1, 10, 3, \"eth0\", 0, 56, 1400)",
                        ASK,
                        IN_5_MS,
                        InterfaceTrace(0, 4, 1, 32778),
                        "> sms_act_interface(4, 1, 32778, 3, \"eth0\", 0, 24, 1400)",
                    }));
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  EXPECT_EQ(Take(), Text({
                        AddressTrace(0, 1, "10.1.2.3"),
                        "> sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                    }));
  registry.SetInterfaceDown(10, 3, "eth0");
  EXPECT_EQ(Take(), "");
  EXPECT_EQ(After(5), Text({
                          RUN,
                          InterfaceTrace(1, 1, 2, 10),
                          "> sms_bld_amb_test_i3_ei(1, 2, 10, 3, \"eth0\", 0, 0, 0)",
                          ASK,
                          IN_5_MS,
                          InterfaceTrace(1, 1, 2, 32778),
                          "> sms_bld_amb_test_i3_ei(1, 2, 32778, 3, \"eth0\", 0, 0, 0)",
                          SET_ALREADY,
                      }));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(StackInterfaces(), "10/3 eth0 56 2 1400\n32778/3 eth0 24 2 1400\n");
  EXPECT_EQ(StackAddresses(), "10/3 10.1.2.3/24\n");
}

TEST_F(Interfaces, RequestsOfOneRowKeepTheirOrder) {
  AddInterface();
  registry.SetInterfaceDown(10, 3, "eth0");
  registry.SetInterfaceUp(10, 3, "eth0");
  registry.RemoveInterface(10, 3, "eth0");
  AddInterface();
  Quiet();
  EXPECT_EQ(StackInterfaces(), "10/3 eth0 56 1 1400\n32778/3 eth0 24 1 1400\n");
}

TEST_F(Interfaces, ChangedAddressIsWithdrawnAndSetAnewAndTheRoutersAreTold) {
  AddInterface();
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Quiet();
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_EQ(Take(), Text({
                        AddressTrace(0, 6, "10.1.2.3"),
                        "> sms_act_ipaddr(6, 10, 1, 3, 10.1.2.3, 24)",
                        ASK,
                        IN_5_MS,
                        AddressTrace(0, 1, "10.1.9.9"),
                        "> sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)",
                        "10 Updating IP Address Change to Interface 3",
                    }));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  EXPECT_EQ(StackAddresses(), "10/3 10.1.9.9/16\n");
}

TEST_F(Interfaces, Ipv6AddressIsSentWithoutATrace) {
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  EXPECT_EQ(Take(), Text({"> sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 64)", ASK, IN_5_MS}));
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 64);
  EXPECT_EQ(After(5), Text({RUN, "> sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::1, 64)", ASK, IN_5_MS,
                            SET_ALREADY}));
  Quiet();
  EXPECT_EQ(StackAddresses(), "");
}

TEST_F(Interfaces, AddressGoesWithItsDeletion) {
  AddInterface();
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Quiet();
  registry.DeleteIpAddress(10, 3, ADDRESS, MASK);
  EXPECT_EQ(Take(), Text({
                        AddressTrace(0, 6, "10.1.2.3"),
                        "> sms_act_ipaddr(6, 10, 1, 3, 10.1.2.3, 24)",
                        ASK,
                        IN_5_MS,
                    }));
  Quiet();
  EXPECT_EQ(StackAddresses(), "");
}

// An unanswered row stops its own queue only.
TEST_F(Interfaces, RowThatIsNeverCompletedHoldsBackItsOwnRequestsOnly) {
  Control().Script(routing_stack::RowType::kInterface, {routing_stack::Answer::kNever, 0, 0}, 1);
  AddInterface();
  registry.SetInterfaceDown(10, 3, "eth0");
  Take();
  EXPECT_EQ(After(5), Text({
                          RUN,
                          InterfaceTrace(1, 1, 2, 32778),
                          "> sms_bld_amb_test_i3_ei(1, 2, 32778, 3, \"eth0\", 0, 0, 0)",
                          ASK,
                          IN_5_MS,
                          SET_ALREADY,
                      }));
  EXPECT_EQ(Meanwhile(2000), "");
}

// --- the stack calls back from inside of calls ---

class SynchronousInterfaces : public Interfaces {
 protected:
  void SetUp() override {
    Interfaces::SetUp();
    MakeSynchronous();
  }
};

TEST_F(SynchronousInterfaces, NothingEverWaits) {
  AddInterface();
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  registry.SetInterfaceDown(10, 3, "eth0");
  EXPECT_EQ(Take(), Text({
                        InterfaceTrace(0, 4, 1, 10),
                        "> sms_act_interface(4, 1, 10, 3, \"eth0\", 0, 56, 1400)",
                        ASK,
                        IN_5_MS,
                        InterfaceTrace(0, 4, 1, 32778),
                        "> sms_act_interface(4, 1, 32778, 3, \"eth0\", 0, 24, 1400)",
                        AddressTrace(0, 1, "10.1.2.3"),
                        "> sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                        InterfaceTrace(0, 1, 2, 10),
                        "> sms_act_interface(1, 2, 10, 3, \"eth0\", 0, 0, 0)",
                        InterfaceTrace(0, 1, 2, 32778),
                        "> sms_act_interface(1, 2, 32778, 3, \"eth0\", 0, 0, 0)",
                    }));
  EXPECT_EQ(StackInterfaces(), "10/3 eth0 56 2 1400\n32778/3 eth0 24 2 1400\n");
  EXPECT_EQ(StackAddresses(), "10/3 10.1.2.3/24\n");
}

TEST_F(SynchronousInterfaces, ChangedAddressIsSetWhenTheCallReturns) {
  AddInterface();
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Quiet();
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_EQ(Take(), Text({
                        AddressTrace(0, 6, "10.1.2.3"),
                        "> sms_act_ipaddr(6, 10, 1, 3, 10.1.2.3, 24)",
                        ASK,
                        IN_5_MS,
                        AddressTrace(0, 1, "10.1.9.9"),
                        "> sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)",
                        "10 Updating IP Address Change to Interface 3",
                    }));
  EXPECT_EQ(StackAddresses(), "10/3 10.1.9.9/16\n");
  Ip4Addr address;
  Ip4Addr mask;
  EXPECT_TRUE(registry.GetIfIpAddr(10, 3, address, mask));
  EXPECT_EQ(address, OTHER);
  EXPECT_EQ(mask, OTHER_MASK);
}

TEST_F(SynchronousInterfaces, RemovedInterfaceLeavesNothing) {
  AddInterface();
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_EQ(StackInterfaces(), "");
  EXPECT_EQ(StackAddresses(), "");
}

}  // namespace
