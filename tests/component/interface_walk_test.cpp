// The interface table on a console: two walks over the stack's tables, one after the other.

#include <memory>

#include "tests/component/component_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_console_command.h"

namespace {

using Tarsel::DcInterfaceConsoleCommand;
using Tarsel::Ip4Addr;
using test_support::ConsoleLog;

const char* const HEADER =
    "\n"
    "Flags:\n"
    "B-Broadcast M-Multicast L-Loopback\n"
    "T-MPLS Tunnel P-Point2Point U-Unnumbered\n"
    "VLAN    IfIndex     IfName Status    MTU  Flags IPAddress\n";

class InterfaceWalk : public ComponentFixture {
 protected:
  void SetUp() override {
    Start();
    LoadVlans({10, 20});
    Quiet();
    AddInterface(10, 3, "eth0", 24, 1400, 1);
    AddInterface(10, 4, "eth1", 0, 0, 2);
    AddInterface(20, 5, "eth2", 0, 0, 1);
    registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
    registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 9, 9), Ip4Addr(255, 255, 0, 0));
    registry.AddIpAddress(10, 3, Address6("2001:db8::3"), 64);
    registry.AddIpAddress(20, 5, Ip4Addr(10, 2, 2, 3), Ip4Addr(255, 255, 255, 0));
    Quiet();
  }

  void AddInterface(unsigned short vlan, unsigned int ifIndex, const char* name, unsigned int flags,
                    unsigned int mtu, unsigned int status) {
    registry.AddInterface(vlan, ifIndex, name, Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, flags, mtu,
                          status);
  }

  // Begins a walk. The command may be gone when this returns.
  std::shared_ptr<ConsoleLog> Begin(unsigned short vlan, bool ipv6) {
    auto log = test_support::NewConsoleLog(vlan);
    auto* command =
        new DcInterfaceConsoleCommand(new test_support::RecordingConsole(log), vlan, ipv6);
    EXPECT_TRUE(command->Parse(0, nullptr));
    return log;
  }

  static void ExpectEnded(const ConsoleLog& log) {
    EXPECT_EQ(log.ends, 1);
    EXPECT_TRUE(log.destroyed);
    EXPECT_EQ(log.errors, "");
  }
};

const char* const ROWS_10 =
    "  10          3       eth0     UP   1400     BM 10.1.2.3/24\n"
    "                                                10.1.9.9/16\n"
    "  10          4       eth1   DOWN   1500        \n"
    "End of Table\n";

TEST_F(InterfaceWalk, SecondWalkBeginsWhereTheFirstEnds) {
  const auto log = Begin(10, false);
  EXPECT_EQ(Take(), Text({"> sms_get_next_i3_ei(10)", ASK, IN_5_MS}));
  EXPECT_EQ(log->all, "");
  EXPECT_FALSE(log->destroyed);
  EXPECT_EQ(After(5), Text({RUN, "> sms_get_next_i3_ea(10)", ASK, IN_5_MS, SET_ALREADY}));
  EXPECT_EQ(log->output, std::string(HEADER) + ROWS_10);
  ExpectEnded(*log);
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
}

TEST_F(InterfaceWalk, Ipv6TableHasTheIpv6InstancesRows) {
  const auto log = Begin(10, true);
  EXPECT_EQ(Take(), Text({"> sms_get_next_i3_ei(32778)", ASK, IN_5_MS}));
  After(5);
  EXPECT_EQ(log->output, std::string(HEADER) +
                             "  10          3       eth0     UP   1400     BM 2001:db8::3/64\n"
                             "  10          4       eth1   DOWN   1500        \n"
                             "End of Table\n");
  ExpectEnded(*log);
}

TEST_F(InterfaceWalk, TableWithoutRowsIsAHeader) {
  const auto log = Begin(0x7FFF, true);
  After(5);
  EXPECT_EQ(log->output, std::string(HEADER) + "End of Table\n");
  ExpectEnded(*log);
}

// One row a run: the command lives from run to run.
TEST_F(InterfaceWalk, WalkGoesOnInTheNextRunWhereItStopped) {
  Control().SetSliceEvents(1);
  const auto log = Begin(10, false);
  EXPECT_EQ(Take(), Text({"> sms_get_next_i3_ei(10)", ASK, IN_5_MS}));
  const std::string oneRow = Text({RUN, "10 Starting Scheduler Timer for 10 ms"});
  EXPECT_EQ(After(5), oneRow);
  EXPECT_EQ(After(10), oneRow);
  // A row that comes before the walk's place is not shown.
  AddInterface(10, 1, "first", 0, 0, 1);
  Take();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(log->output, std::string(HEADER) + ROWS_10);
  ExpectEnded(*log);
}

TEST_F(InterfaceWalk, TwoCommandsWalkSideBySide) {
  const auto first = Begin(10, false);
  const auto second = Begin(20, false);
  After(5);
  EXPECT_EQ(first->output, std::string(HEADER) + ROWS_10);
  EXPECT_EQ(second->output, std::string(HEADER) +
                                "  20          5       eth2     UP   1500        10.2.2.3/24\n"
                                "End of Table\n");
  ExpectEnded(*first);
  ExpectEnded(*second);
}

TEST_F(InterfaceWalk, RestartOfTheStackEndsTheCommand) {
  const auto log = Begin(10, false);
  Control().Restart();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(log->output, "");
  EXPECT_NE(log->errors, "");
  EXPECT_EQ(log->ends, 1);
  EXPECT_TRUE(log->destroyed);
}

// --- the stack calls back from inside of calls ---

TEST_F(InterfaceWalk, WholeTableMayComeFromInsideParse) {
  MakeSynchronous();
  const auto log = Begin(10, false);
  EXPECT_EQ(Take(), Text({"> sms_get_next_i3_ei(10)", ASK, IN_5_MS, "> sms_get_next_i3_ea(10)"}));
  EXPECT_EQ(log->output, std::string(HEADER) + ROWS_10);
  ExpectEnded(*log);
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
}

}  // namespace
