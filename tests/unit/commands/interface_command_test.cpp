// The interface table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_interface_mgr.h"

namespace Tarsel {
namespace {

using test_support::NewConsoleLog;
using test_support::RecordingConsole;
using testing::ElementsAre;
using testing::IsEmpty;

const char FLAG_HELP[] =
    "Flags:\nB-Broadcast M-Multicast L-Loopback\nT-MPLS Tunnel P-Point2Point U-Unnumbered\n";
const char HEADER[] = "VLAN    IfIndex     IfName Status    MTU  Flags IPAddress\n";

std::string Table(const std::string& rows) {
  return std::string("\n") + FLAG_HELP + HEADER + rows + "End of Table\n";
}

amb_stubs_i3_ei Interface(std::uint32_t instance, std::uint32_t ifIndex, const char* name,
                          std::uint32_t flags = 0, std::uint32_t operStatus = 1,
                          std::uint32_t mtu = 1500) {
  amb_stubs_i3_ei row = {};
  row.instance = instance;
  row.if_index = ifIndex;
  std::strncpy(row.name, name, sizeof row.name - 1);
  row.flags = flags;
  row.oper_status = operStatus;
  row.mtu = mtu;
  return row;
}

amb_stubs_i3_ea Address(std::uint32_t instance, std::uint32_t ifIndex, const char* text,
                        std::uint32_t prefixLength) {
  amb_stubs_i3_ea row = {};
  row.instance = instance;
  row.if_index = ifIndex;
  row.prefix_length = prefixLength;
  DclIpAddress address(nullptr, 0);
  if (!address.Ip4AddrFromString(text) && !address.Ip6AddrFromString(text)) {
    ADD_FAILURE() << text;
  }
  row.address_type = address.GetLength() == 4 ? 1 : 2;
  std::memcpy(row.address, address.GetBytes(), sizeof row.address);
  return row;
}

// Plays the stack: there is no current one, so starting a walk has no effect.
class InterfaceCommand : public testing::Test {
 protected:
  explicit InterfaceCommand(bool ipv6 = false) : log(NewConsoleLog()) {
    command = new DcInterfaceConsoleCommand(new RecordingConsole(log), 10, ipv6);
    parsed = command->Parse(0, nullptr);
  }
  ~InterfaceCommand() override {
    if (!log->destroyed) {
      delete command;
    }
  }

  unsigned char Respond(unsigned int result, const void* row = nullptr) {
    return DcConsoleCommand::ResponseHandler(static_cast<DcConsoleCommand*>(command), 0, result,
                                             const_cast<void*>(row));
  }
  unsigned char Row(const amb_stubs_i3_ei& row) { return Respond(1, &row); }
  unsigned char Row(const amb_stubs_i3_ea& row) { return Respond(1, &row); }

  // Ends both walks and returns what was printed.
  std::string End() {
    EXPECT_EQ(0, Respond(7));
    EXPECT_FALSE(log->destroyed);
    return EndAddresses();
  }

  void ExpectEndWith(const std::string& output) {
    EXPECT_TRUE(log->destroyed);
    EXPECT_EQ(output, log->all);
    EXPECT_EQ(1, log->ends);
  }

  std::string EndAddresses() {
    EXPECT_EQ(0, Respond(7));
    EXPECT_TRUE(log->destroyed);
    EXPECT_EQ(1, log->ends);
    return log->all;
  }

  std::shared_ptr<test_support::ConsoleLog> log;
  DcInterfaceConsoleCommand* command;
  bool parsed;
};

class InterfaceCommandIp6 : public InterfaceCommand {
 protected:
  InterfaceCommandIp6() : InterfaceCommand(true) {}
};

TEST_F(InterfaceCommand, ParseTakesNoWords) {
  EXPECT_TRUE(parsed);
  char word[] = "word";
  char* argv[] = {word};
  EXPECT_TRUE(command->Parse(1, argv));
  EXPECT_EQ("", log->all);
}

TEST_F(InterfaceCommand, WithoutInterfacesOnlyTheFramePrints) { EXPECT_EQ(Table(""), End()); }

TEST_F(InterfaceCommand, NothingIsPrintedBeforeTheSecondWalkEnds) {
  EXPECT_EQ(1, Row(Interface(10, 3, "eth0")));
  EXPECT_EQ(0, Respond(7));
  EXPECT_EQ(1, Row(Address(10, 3, "10.1.2.3", 24)));
  EXPECT_EQ("", log->all);
  EXPECT_EQ(0, log->ends);
  EXPECT_EQ(Table("  10          3       eth0     UP   1500        10.1.2.3/24\n"), EndAddresses());
}

TEST_F(InterfaceCommand, InterfacesStandInTheOrderOfTheirIndices) {
  Row(Interface(10, 300, "eth2", 8 | 16, 1, 9000));
  Row(Interface(10, 4294967295U, "tun0", 1 | 32, 2, 1400));
  Row(Interface(10, 20, "eth1", 0, 3, 0));
  EXPECT_EQ(Table("  10         20       eth1   DOWN      0        \n"
                  "  10        300       eth2     UP   9000     BM \n"
                  "  10 4294967295       tun0   DOWN   1400     TU \n"),
            End());
}

TEST_F(InterfaceCommand, FurtherAddressesStandBelowTheFirst) {
  Row(Interface(10, 3, "eth0", 8));
  Respond(7);
  Row(Address(10, 3, "10.1.2.3", 24));
  Row(Address(10, 3, "10.1.3.3", 16));
  Row(Address(10, 3, "10.1.4.3", 32));
  const std::string indent(48, ' ');
  EXPECT_EQ(Table("  10          3       eth0     UP   1500      B 10.1.2.3/24\n" + indent +
                  "10.1.3.3/16\n" + indent + "10.1.4.3/32\n"),
            EndAddresses());
}

TEST_F(InterfaceCommand, OnlyStatusOneIsUp) {
  Row(Interface(10, 1, "a", 0, 0));
  Row(Interface(10, 2, "b", 0, 1));
  Row(Interface(10, 3, "c", 0, 2));
  Row(Interface(10, 4, "d", 0, 6));
  EXPECT_EQ(Table("  10          1          a   DOWN   1500        \n"
                  "  10          2          b     UP   1500        \n"
                  "  10          3          c   DOWN   1500        \n"
                  "  10          4          d   DOWN   1500        \n"),
            End());
}

// Columns are least widths, and the MTU has no sign.
TEST_F(InterfaceCommand, LongValuesWidenTheLine) {
  Row(Interface(10, 3, "a-long-name1", 0, 1, 4294967295U));
  EXPECT_EQ(Table("  10          3 a-long-name1     UP 4294967295        \n"), End());
}

TEST_F(InterfaceCommand, RowsAreCopied) {
  {
    amb_stubs_i3_ei interface = Interface(10, 3, "eth0");
    Row(interface);
    interface = Interface(0, 0, "gone");
    Respond(7);
    amb_stubs_i3_ea address = Address(10, 3, "10.1.2.3", 24);
    Row(address);
    address = Address(0, 0, "1.1.1.1", 1);
  }
  EXPECT_EQ(Table("  10          3       eth0     UP   1500        10.1.2.3/24\n"), EndAddresses());
}

TEST_F(InterfaceCommand, TheLastRowOfAnIndexCounts) {
  Row(Interface(10, 3, "old"));
  Row(Interface(10, 3, "new"));
  EXPECT_EQ(Table("  10          3        new     UP   1500        \n"), End());
}

TEST_F(InterfaceCommand, ARowOfALaterInstanceEndsEachWalk) {
  EXPECT_EQ(1, Row(Interface(10, 3, "eth0")));
  EXPECT_EQ(0, Row(Interface(11, 4, "eth1")));
  EXPECT_FALSE(log->destroyed);
  EXPECT_EQ(1, Row(Address(10, 3, "10.1.2.3", 24)));
  EXPECT_EQ(0, Row(Address(11, 4, "10.1.3.3", 24)));
  EXPECT_TRUE(log->destroyed);
  EXPECT_EQ(Table("  10          3       eth0     UP   1500        10.1.2.3/24\n"), log->all);
  EXPECT_EQ(1, log->ends);
}

// Instances are compared as signed numbers, so the highest ones count as earlier.
TEST_F(InterfaceCommand, RowsOfEarlierInstancesAreTaken) {
  EXPECT_EQ(1, Row(Interface(9, 3, "eth0")));
  EXPECT_EQ(1, Row(Interface(0xFFFFFFFFU, 4, "eth1")));
  Respond(7);
  EXPECT_EQ(1, Row(Address(0x80000000U, 3, "10.1.2.3", 24)));
  EXPECT_EQ(Table("   9          3       eth0     UP   1500        10.1.2.3/24\n"
                  "32767          4       eth1     UP   1500        \n"),
            EndAddresses());
}

TEST_F(InterfaceCommand, AnAddressWithoutInterfaceStillHasALine) {
  Respond(7);
  Row(Address(10, 3, "10.1.2.3", 24));
  EXPECT_EQ(Table("   0          0              DOWN      0        10.1.2.3/24\n"), EndAddresses());
}

TEST_F(InterfaceCommand, AnErrorOfTheFirstWalkEndsTheCommand) {
  Row(Interface(10, 3, "eth0"));
  EXPECT_EQ(0, Respond(5));
  ExpectEndWith("Resource Failure\n");
}

TEST_F(InterfaceCommand, AnErrorOfTheSecondWalkEndsTheCommandWithoutATable) {
  Row(Interface(10, 3, "eth0"));
  Respond(7);
  Row(Address(10, 3, "10.1.2.3", 24));
  EXPECT_EQ(0, Respond(2));
  ExpectEndWith("Gen Error\n");
}

TEST_F(InterfaceCommand, ACodeWithoutAMessageEndsTheFirstWalk) {
  const amb_stubs_i3_ei row = Interface(10, 3, "eth0");
  EXPECT_EQ(0, Respond(257, &row));
  ExpectEndWith("");
}

TEST_F(InterfaceCommand, ACodeWithoutAMessageEndsTheSecondWalk) {
  Row(Interface(10, 3, "eth0"));
  Respond(7);
  const amb_stubs_i3_ea row = Address(10, 3, "10.1.2.3", 24);
  EXPECT_EQ(0, Respond(11, &row));
  ExpectEndWith("");
}

TEST_F(InterfaceCommandIp6, ShowsTheIpv6InstanceOfTheVlan) {
  EXPECT_EQ(1, Row(Interface(0x800A, 3, "eth0", 8 | 16)));
  EXPECT_EQ(0, Row(Interface(0x800B, 4, "eth1")));
  Row(Address(0x800A, 3, "2001:db8::3", 64));
  Row(Address(0x800A, 3, "fe80::1", 10));
  EXPECT_EQ(Table("  10          3       eth0     UP   1500     BM 2001:db8::3/64\n" +
                  std::string(48, ' ') + "fe80::1/10\n"),
            EndAddresses());
}

TEST(InterfaceCommandTexts, FlagLettersStandInTheOrderOfTheirBits) {
  const struct {
    std::uint32_t flags;
    const char* letters;
  } cases[] = {{0, ""},        {1, "T"},       {2, "L"},  {4, "P"},
               {8, "B"},       {16, "M"},      {32, "U"}, {8 | 16, "BM"},
               {1 | 32, "TU"}, {63, "TLPBMU"}, {64, ""},  {0xFFFFFFFFU, "TLPBMU"}};
  for (const auto& flags : cases) {
    const amb_stubs_i3_ei row = Interface(10, 3, "eth0", flags.flags);
    EXPECT_STREQ(flags.letters, DcInterfaceConsoleCommand::GetIfFlagsStr(&row).c_str());
  }
  EXPECT_STREQ(FLAG_HELP, DcInterfaceConsoleCommand::GetIfFlagHelpStr().c_str());
}

// Shows what the base was given.
struct VisibleCommand : DcInterfaceConsoleCommand {
  using DcInterfaceConsoleCommand::DcInterfaceConsoleCommand;
  unsigned short GetVlan() const { return m_vlan; }
  bool HasTexts() const { return m_usage != nullptr || m_description != nullptr; }
};

TEST(InterfaceCommandTexts, HasNoUsageTextsAndADefaultVlan) {
  DcConsoleCommand::m_default_vlan = 77;
  const VisibleCommand byDefault(new RecordingConsole(NewConsoleLog()), false);
  const VisibleCommand given(new RecordingConsole(NewConsoleLog()), 10, true);
  EXPECT_EQ(77, byDefault.GetVlan());
  EXPECT_EQ(10, given.GetVlan());
  EXPECT_FALSE(byDefault.HasTexts());
  EXPECT_FALSE(given.HasTexts());
}

// --- on the software stack ---

class InterfaceTable : public test_support::DeviceFixture {
 protected:
  InterfaceTable() {
    Start();
    DcInterfaceMgr& interfaces = *DcInterfaceMgr::GetInstance();
    for (const unsigned short vlan : {10, 20}) {
      const std::string name = "eth" + std::to_string(vlan);
      interfaces.AddInterface(vlan, vlan, name.c_str(), DcInterfaceMgr::INTF_TYPE_NONE, 8 | 32,
                              1400, 1);
      interfaces.AddIpAddress(vlan, vlan, Ip4Addr(10, vlan, 2, 3), Ip4Addr(255, 255, 255, 0));
      Ip6Addr address;
      EXPECT_TRUE(address.FromString("2001:db8::3"));
      interfaces.AddIpAddress(vlan, vlan, address, 64);
    }
    EXPECT_TRUE(Settle());
    TakeCalls();
  }

  std::shared_ptr<test_support::ConsoleLog> Show(unsigned short vlan, bool ipv6) {
    auto log = NewConsoleLog();
    auto* const command = new DcInterfaceConsoleCommand(new RecordingConsole(log), vlan, ipv6);
    EXPECT_TRUE(command->Parse(0, nullptr));
    return log;
  }
};

const char TABLE10[] = "  10         10      eth10     UP   1400     BU 10.10.2.3/24\n";
const char TABLE10_IP6[] = "  10         10      eth10     UP   1400      B 2001:db8::3/64\n";
const char TABLE20[] = "  20         20      eth20     UP   1400     BU 10.20.2.3/24\n";

TEST_F(InterfaceTable, WalksInterfacesThenAddresses) {
  const auto log = Show(10, false);
  EXPECT_EQ("", log->all);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Table(TABLE10), log->all);
  EXPECT_TRUE(log->destroyed);
  EXPECT_EQ(1, log->ends);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_get_next_i3_ei(10)", "sms_get_next_i3_ea(10)"));
}

TEST_F(InterfaceTable, WalksTheIpv6Instance) {
  const auto log = Show(10, true);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Table(TABLE10_IP6), log->all);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_get_next_i3_ei(32778)", "sms_get_next_i3_ea(32778)"));
}

TEST_F(InterfaceTable, SurvivesAStackThatAnswersAtOnce) {
  Control().SetSynchronous(true);
  const auto log = Show(10, false);
  EXPECT_EQ(Table(TABLE10), log->all);
  EXPECT_TRUE(log->destroyed);
  EXPECT_EQ(1, log->ends);
}

TEST_F(InterfaceTable, CommandsRunSideBySide) {
  Control().SetSliceEvents(1);
  const auto first = Show(10, false);
  const auto second = Show(20, false);
  const auto third = Show(10, true);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Table(TABLE10), first->all);
  EXPECT_EQ(Table(TABLE20), second->all);
  EXPECT_EQ(Table(TABLE10_IP6), third->all);
}

TEST_F(InterfaceTable, EndsWithAnErrorWhenTheStackRestarts) {
  const auto log = Show(10, false);
  Control().Restart();
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(log->destroyed);
  EXPECT_EQ(1, log->ends);
  EXPECT_EQ("", log->output);
  EXPECT_NE("", log->errors);
}

}  // namespace
}  // namespace Tarsel
