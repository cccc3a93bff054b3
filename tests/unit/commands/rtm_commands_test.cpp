// The route table and the RIB, row by row as a stack would hand them out.
#include "vantacore/rtm_commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/failing_new.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {
namespace {

using test_support::NewConsoleLog;
using test_support::RecordingConsole;
using testing::IsEmpty;

constexpr unsigned short IP4 = 0;
constexpr unsigned short IP6 = 41;
constexpr std::uint32_t IP4_INSTANCE = 10;
constexpr std::uint32_t IP6_INSTANCE = 0x8000 | 10;

const char END_OF_TABLE[] = "End of table\n";
const char OPTIONS_USAGE[] =
    " [vrf <vid>] [destination <Destination Address>] [protocol bgp|connected|static|rip|ospf] "
    "[detail]\n";

void SetAddress(unsigned char* bytes, const char* text) {
  DclIpAddress address(nullptr, 0);
  if (!address.Ip4AddrFromString(text) && !address.Ip6AddrFromString(text)) {
    ADD_FAILURE() << text;
  }
  std::memcpy(bytes, address.GetBytes(), 16);
}

// The two commands, by what differs.
struct Route {
  typedef RtmRouteCommand Command;
  typedef amb_cipr_rtm_route Row;
  static constexpr const char* USAGE = "Usage: rtm route";
  static constexpr const char* DESCRIPTION = "Show Route Information";
  static constexpr const char* DETAIL_END = "\n";
};

struct Rib {
  typedef RtmRibCommand Command;
  typedef amb_cipr_rtm_rib Row;
  static constexpr const char* USAGE = "Usage: rtm rib";
  static constexpr const char* DESCRIPTION = "Show RIB Information";
  static constexpr const char* DETAIL_END = "\nFIB Route?  : no\n";
};

template <class Table>
typename Table::Row MakeRow(std::uint32_t instance, const char* destination,
                            std::uint32_t prefixLength, const char* nextHop,
                            std::uint32_t proto = 3) {
  typename Table::Row row = {};
  row.instance = instance;
  SetAddress(row.destination, destination);
  row.prefix_length = prefixLength;
  SetAddress(row.next_hop, nextHop);
  row.if_index = 3;
  row.route_proto = proto;
  row.age = 7;
  return row;
}

// A command and the stack that answers it; no stack is current, so that a started walk has no
// effect.
template <class Table>
class Session {
 public:
  explicit Session(unsigned short family, unsigned short vlan = 10) : log(NewConsoleLog(vlan)) {
    m_command = new typename Table::Command(new RecordingConsole(log), family);
  }
  ~Session() {
    if (!log->destroyed) {
      delete m_command;
    }
  }

  bool Parse(std::vector<std::string> words = {}) {
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(word.data());
    }
    return m_command->Parse(static_cast<int>(words.size()), argv.data());
  }

  unsigned char Respond(unsigned int result, const void* row = nullptr) {
    return DcConsoleCommand::ResponseHandler(static_cast<DcConsoleCommand*>(m_command), 0, result,
                                             const_cast<void*>(row));
  }
  // Hands a row out, after which every command wants the next one, and returns what was printed.
  std::string Row(const typename Table::Row& row) {
    log->all.clear();
    EXPECT_EQ(1, Respond(1, &row));
    return log->all;
  }
  // The line of a row, without the header if that came first.
  std::string Line(const typename Table::Row& row) {
    const std::string printed = Row(row);
    const std::size_t start = printed.rfind('\n', printed.size() - 2);
    return start == std::string::npos ? printed : printed.substr(start + 1);
  }

  std::shared_ptr<test_support::ConsoleLog> log;

 private:
  typename Table::Command* m_command;
};

template <class Table>
class RtmCommands : public testing::Test {
 protected:
  RtmCommands() {
    DcRtmMgr::GetInstance()->SetRtmReady(10);
    DcInterfaceMgr::GetInstance()->AddInterface(10, 3, "eth0", DcInterfaceMgr::INTF_TYPE_NONE, 24,
                                                0, 1);
  }

  std::string Usage() const { return std::string(Table::USAGE) + OPTIONS_USAGE; }
};

typedef testing::Types<Route, Rib> Tables;
TYPED_TEST_SUITE(RtmCommands, Tables);

// --- words ---

TYPED_TEST(RtmCommands, TakesItsWordsInOrderAndAbbreviated) {
  const std::vector<std::vector<std::string>> accepted = {
      {},
      {"vrf", "10"},
      {"V", "10"},
      {"", "10"},
      {"dest", "10.0.0.0"},
      {"d", "10.0.0.0"},
      {"proto", "bgp"},
      {"pro", "bgp"},
      {"p", "bgp"},
      {"detail"},
      {"de", "10.0.0.0", "de"},
      {"vrf", "10", "dest", "10.0.0.0", "proto", "static", "detail"},
      {"VRF", "10", "DETAIL"}};
  for (const auto& words : accepted) {
    Session<TypeParam> session(IP4);
    EXPECT_TRUE(session.Parse(words)) << testing::PrintToString(words);
    EXPECT_EQ("", session.log->all);
    EXPECT_EQ(0, session.log->ends);
  }
}

TYPED_TEST(RtmCommands, LeftOverWordsFailSilently) {
  const std::vector<std::vector<std::string>> refused = {{"x"},
                                                         {"detail", "vrf", "3"},
                                                         {"destination", "10.0.0.0"},
                                                         {"protocol", "bgp"},
                                                         {"dest", "10.0.0.0", "vrf", "10"},
                                                         {"proto", "bgp", "dest", "10.0.0.0"},
                                                         {"detail", "detail"},
                                                         {"vrf", "10", "vrf", "10"},
                                                         {"vrf", "11", "x"}};
  for (const auto& words : refused) {
    Session<TypeParam> session(IP4);
    EXPECT_FALSE(session.Parse(words)) << testing::PrintToString(words);
    EXPECT_EQ("", session.log->all) << testing::PrintToString(words);
    EXPECT_EQ(0, session.log->ends);
  }
}

TYPED_TEST(RtmCommands, WrongValuesPrintTheUsage) {
  const struct {
    std::vector<std::string> words;
    const char* message;
  } refused[] = {{{"vrf"}, ""},
                 {{"vrf", "1x"}, "Invalid VLAN ID 1x\n"},
                 {{"dest"}, ""},
                 {{"dest", "10.0.0"}, "Invalid IPv4 Destination Address 10.0.0\n"},
                 {{"dest", "2001:db8::"}, "Invalid IPv4 Destination Address 2001:db8::\n"},
                 {{"proto"}, ""},
                 {{"proto", "isis"}, ""},
                 {{"proto", "BGP"}, ""},
                 {{"proto", "bg"}, ""},
                 {{"proto", "connnected"}, ""},
                 {{"proto", ""}, ""}};
  for (const auto& wrong : refused) {
    Session<TypeParam> session(IP4);
    EXPECT_FALSE(session.Parse(wrong.words));
    EXPECT_EQ(wrong.message + this->Usage(), session.log->all);
    EXPECT_EQ(0, session.log->ends);
  }
  Session<TypeParam> session(IP6);
  EXPECT_FALSE(session.Parse({"dest", "10.0.0.0"}));
  EXPECT_EQ("Invalid IPv6 Destination Address 10.0.0.0\n" + this->Usage(), session.log->all);
}

TYPED_TEST(RtmCommands, ANullTextIsPrintedAsTheEmptyOne) {
  typedef RtmRTCommand<typename TypeParam::Row> Command;
  const auto log = NewConsoleLog(10);
  Command command(new RecordingConsole(log), IP4, nullptr, nullptr);
  std::string word = "vrf";
  char* words[] = {word.data()};
  EXPECT_FALSE(command.Parse(1, words));
  EXPECT_FALSE(Command::ParseDestination(command, nullptr));
  Command command6(new RecordingConsole(log), IP6, nullptr, nullptr);
  EXPECT_FALSE(Command::ParseDestination(command6, nullptr));
  EXPECT_EQ("Usage: \nInvalid IPv4 Destination Address \nInvalid IPv6 Destination Address \n",
            log->all);
}

// --- VLAN ---

TYPED_TEST(RtmCommands, TheConsolesVlanCountsAndVrfOverridesIt) {
  DcConsoleCommand::m_default_vlan = 10;
  Session<TypeParam> other(IP4, 11);
  EXPECT_FALSE(other.Parse());
  EXPECT_EQ("VLAN 11 is not present\n", other.log->all);
  EXPECT_EQ(0, other.log->ends);
  EXPECT_EQ(1, other.log->vlanQueries);

  Session<TypeParam> given(IP4, 11);
  EXPECT_TRUE(given.Parse({"vrf", "10"}));
  Session<TypeParam> cut(IP4);
  EXPECT_FALSE(cut.Parse({"vrf", "70000"}));
  EXPECT_EQ("VLAN 4464 is not present\n", cut.log->all);
  Session<TypeParam> instance(IP4);
  EXPECT_FALSE(instance.Parse({"vrf", "32778"}));  // an instance's number is no VLAN's
  EXPECT_EQ("VLAN 32778 is not present\n", instance.log->all);
}

// Notes the words of the VLAN query.
class AskedConsole : public RecordingConsole {
 public:
  using RecordingConsole::RecordingConsole;
  unsigned short GetVlan(int argc, char** argv) override {
    asked.assign(argv, argv + argc);
    return RecordingConsole::GetVlan(argc, argv);
  }

  std::vector<std::string> asked;
};

TYPED_TEST(RtmCommands, TheConsoleIsAskedWithAllWords) {
  auto* const console = new AskedConsole(NewConsoleLog(10));
  typename TypeParam::Command command(console, IP4);
  char vrf[] = "vrf";
  char vid[] = "10";
  char detail[] = "detail";
  char* argv[] = {vrf, vid, detail};
  EXPECT_TRUE(command.Parse(3, argv));
  EXPECT_THAT(console->asked, testing::ElementsAre("vrf", "10", "detail"));
}

TYPED_TEST(RtmCommands, BothViewsAskForTheIpv4Instance) {
  DcRtmMgr::GetInstance()->SetRtmReady(0x8000 | 20);
  DcRtmMgr::GetInstance()->SetRtmReady(30);
  for (const unsigned short family : {IP4, IP6}) {
    Session<TypeParam> only6(family, 20);
    EXPECT_FALSE(only6.Parse());
    EXPECT_EQ("VLAN 20 is not present\n", only6.log->all);
    Session<TypeParam> only4(family, 30);
    EXPECT_TRUE(only4.Parse());
  }
}

// A record is enough: the instance need not be ready.
TYPED_TEST(RtmCommands, AVlanWhoseInstanceIsNotReadyIsThere) {
  DcRtmMgr::GetInstance()->CreateRTMInstance(40, 0, DcRtmMgr::RTMData());
  ASSERT_FALSE(DcRtmMgr::GetInstance()->IsRtmReady(40));
  Session<TypeParam> session(IP4, 40);
  EXPECT_TRUE(session.Parse());
}

// --- end and errors ---

TYPED_TEST(RtmCommands, WithoutRowsOnlyTheEndIsPrinted) {
  Session<TypeParam> session(IP4);
  session.Parse();
  EXPECT_EQ(0, session.Respond(7));
  EXPECT_EQ(END_OF_TABLE, session.log->errors);
  EXPECT_EQ("", session.log->output);
  EXPECT_EQ(1, session.log->ends);
  EXPECT_TRUE(session.log->destroyed);
}

TYPED_TEST(RtmCommands, AnErrorEndsTheCommandWithItsMessage) {
  Session<TypeParam> session(IP4);
  session.Parse();
  session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1"));
  EXPECT_EQ(0, session.Respond(8));
  EXPECT_EQ("Agent Error\n", session.log->errors);
  EXPECT_EQ(1, session.log->ends);
  EXPECT_TRUE(session.log->destroyed);
}

TYPED_TEST(RtmCommands, ACodeWithoutAMessageEndsTheCommandToo) {
  for (const unsigned int result : {0U, 11U, 257U, 4294967295U}) {
    Session<TypeParam> session(IP4);
    session.Parse();
    const auto row = MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
    EXPECT_EQ(0, session.Respond(result, &row)) << result;
    EXPECT_EQ("", session.log->all) << result;
    EXPECT_EQ(1, session.log->ends) << result;
    EXPECT_TRUE(session.log->destroyed) << result;
  }
}

// --- filters ---

TYPED_TEST(RtmCommands, OnlyRowsOfItsInstanceAreShown) {
  Session<TypeParam> session4(IP4);
  Session<TypeParam> session6(IP6);
  session4.Parse();
  session6.Parse();
  const auto row4 = MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  const auto row6 = MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8::", 32, "fe80::1");
  EXPECT_EQ("", session4.Row(row6));
  EXPECT_EQ("", session6.Row(row4));
  EXPECT_EQ("", session4.Row(MakeRow<TypeParam>(11, "10.9.0.0", 16, "10.1.2.1")));
  EXPECT_EQ("", session4.Row(MakeRow<TypeParam>(0x10000 | 10, "10.9.0.0", 16, "10.1.2.1")));
  EXPECT_NE("", session4.Row(row4));
  EXPECT_NE("", session6.Row(row6));
}

TYPED_TEST(RtmCommands, AProtocolWordSelectsItsCode) {
  const struct {
    const char* word;
    std::uint32_t code;
  } protocols[] = {{"bgp", 14}, {"connected", 2}, {"ospf", 13}, {"rip", 8}, {"static", 3}};
  for (const char* const option : {"p", "pro", "proto"}) {
    for (const auto& protocol : protocols) {
      Session<TypeParam> session(IP4);
      ASSERT_TRUE(session.Parse({option, protocol.word}));
      for (std::uint32_t code = 0; code < 20; ++code) {
        const std::string printed =
            session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1", code));
        EXPECT_EQ(code == protocol.code, !printed.empty()) << option << protocol.word << code;
      }
    }
  }
}

TYPED_TEST(RtmCommands, ADestinationComparesAddressesWhateverTheLength) {
  Session<TypeParam> session(IP4);
  session.Parse({"dest", "10.9.0.0"});
  EXPECT_NE("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1")));
  EXPECT_NE("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 24, "10.1.2.1")));
  EXPECT_EQ("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.1.0", 24, "10.1.2.1")));
  EXPECT_EQ("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "0.0.0.0", 0, "10.1.2.1")));

  Session<TypeParam> session6(IP6);
  session6.Parse({"dest", "2001:db8::"});
  EXPECT_NE("", session6.Row(MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8::", 32, "fe80::1")));
  EXPECT_NE("", session6.Row(MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8::", 64, "fe80::1")));
  EXPECT_EQ("", session6.Row(MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8::1", 128, "fe80::1")));
}

TYPED_TEST(RtmCommands, TheUnspecifiedDestinationIsNoFilter) {
  Session<TypeParam> session(IP4);
  session.Parse({"dest", "0.0.0.0"});
  EXPECT_NE("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1")));
  Session<TypeParam> session6(IP6);
  session6.Parse({"dest", "::"});
  EXPECT_NE("", session6.Row(MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8::", 32, "fe80::1")));
}

// Only 41 leads to the IPv6 instance, but any family other than 0 shows IPv6 addresses.
TYPED_TEST(RtmCommands, AnyOtherFamilyShowsTheIpv4InstanceAsIpv6) {
  constexpr unsigned short OTHER_FAMILY = 6;
  Session<TypeParam> refused(OTHER_FAMILY);
  EXPECT_FALSE(refused.Parse({"dest", "10.0.0.0"}));
  EXPECT_EQ("Invalid IPv6 Destination Address 10.0.0.0\n" + this->Usage(), refused.log->all);

  Session<TypeParam> session(OTHER_FAMILY);
  ASSERT_TRUE(session.Parse({"dest", "2001:db8:9::"}));
  EXPECT_EQ("", session.Row(MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8:9::", 48, "fe80::1")));
  EXPECT_EQ("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "2001:db8:8::", 48, "fe80::1")));
  EXPECT_EQ("   10 " + std::string(35, ' ') + "2001:db8:9::/48 " + std::string(39, ' ') +
                "fe80::1       eth0          7 static    \n",
            session.Line(MakeRow<TypeParam>(IP4_INSTANCE, "2001:db8:9::", 48, "fe80::1")));
}

// --- the table ---

TYPED_TEST(RtmCommands, TheHeaderComesOnceAndWithTheFirstRowThatPasses) {
  Session<TypeParam> session(IP4);
  session.Parse({"proto", "static"});
  EXPECT_EQ("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.8.0.0", 16, "10.1.2.1", 2)));
  const std::string line =
      "   10         10.9.0.0/16         10.1.2.1       eth0          7 static    \n";
  EXPECT_EQ(
      "\n VLAN              PREFIX          NEXTHOP      IFACE        AGE      PROTO\n" + line,
      session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1")));
  EXPECT_EQ(line, session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1")));
  session.log->all.clear();
  session.Respond(7);
  EXPECT_EQ(END_OF_TABLE, session.log->all);
}

TYPED_TEST(RtmCommands, Ipv6ColumnsAreWiderAndKeepPrefixAndNextHopApart) {
  Session<TypeParam> session(IP6);
  session.Parse();
  const auto row = MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8:9::", 48, "2001:db8::1");
  EXPECT_EQ("\n VLAN " + std::string(44, ' ') + "PREFIX " + std::string(39, ' ') +
                "NEXTHOP      IFACE        AGE      PROTO\n   10 " + std::string(35, ' ') +
                "2001:db8:9::/48 " + std::string(35, ' ') +
                "2001:db8::1       eth0          7 static    \n",
            session.Row(row));
}

TYPED_TEST(RtmCommands, ProtocolsAreNamedInTheTable) {
  const char* const names[] = {"",    "other", "connnected", "static", "icmp", "", "",
                               "",    "rip",   "",           "",       "",     "", "ospf",
                               "bgp", "idpr",  "",           "",       "",     ""};
  Session<TypeParam> session(IP4);
  session.Parse();
  for (std::uint32_t code = 0; code < 20; ++code) {
    std::string name = names[code];
    name.resize(10, ' ');
    EXPECT_EQ("   10         10.9.0.0/16         10.1.2.1       eth0          7 " + name + "\n",
              session.Line(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1", code)))
        << code;
  }
  auto row = MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1", 0xFFFFFFFFU);
  EXPECT_STREQ("", TypeParam::Command::ProtoStr(&row));
}

TYPED_TEST(RtmCommands, AnUnknownInterfaceIsCalledLo) {
  Session<TypeParam> session(IP4);
  session.Parse();
  auto row = MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  row.if_index = 4;
  row.age = 4294967295U;
  EXPECT_EQ("   10         10.9.0.0/16         10.1.2.1         lo 4294967295 static    \n",
            session.Line(row));
}

TYPED_TEST(RtmCommands, ALongInterfaceNameWidensTheLine) {
  DcInterfaceMgr::GetInstance()->AddInterface(10, 5, "a-long-name1", DcInterfaceMgr::INTF_TYPE_NONE,
                                              24, 0, 1);
  Session<TypeParam> session(IP4);
  session.Parse();
  auto row = MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  row.if_index = 5;
  EXPECT_EQ("   10         10.9.0.0/16         10.1.2.1 a-long-name1          7 static    \n",
            session.Line(row));
}

TYPED_TEST(RtmCommands, TheInterfaceIsLookedUpByVlanInBothViews) {
  Session<TypeParam> session(IP6);
  session.Parse();
  EXPECT_THAT(session.Line(MakeRow<TypeParam>(IP6_INSTANCE, "2001:db8::", 32, "fe80::1")),
              testing::HasSubstr(" eth0 "));
}

// --- the detailed view ---

std::string Detail(const std::string& label, std::string value) {
  std::string line = label;
  line.resize(20, ' ');
  value.resize(40, ' ');
  return line + ":  " + value + "\n";
}

TYPED_TEST(RtmCommands, TheDetailedViewHasThirteenLines) {
  Session<TypeParam> session(IP4);
  session.Parse({"detail"});
  auto row = MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  row.route_type = 4;
  row.route_info = 1;
  row.age = 2;
  row.next_hop_as = 65001;
  row.metric1 = 11;
  row.metric2 = 12;
  row.metric3 = 13;
  row.metric4 = 14;
  row.metric5 = 4294967295U;
  const std::string expected =
      Detail("VLAN", "10") + Detail("Destination", "10.9.0.0/16") + Detail("Nexthop", "10.1.2.1") +
      Detail("Route Type", "remote") + Detail("Protocol", "static") + Detail("Route Info", "1") +
      Detail("Age", "2") + Detail("NextHop AS", "65001") + Detail("Metric1", "11") +
      Detail("Metric2", "12") + Detail("Metric3", "13") + Detail("Metric4", "14") +
      Detail("Metric5", "4294967295") + TypeParam::DETAIL_END;
  EXPECT_EQ(expected, session.Row(row));
  EXPECT_EQ(expected, session.Row(row));  // without any header
}

TYPED_TEST(RtmCommands, LongValuesWrapAtFortyCharacters) {
  Session<TypeParam> session(IP6);
  session.Parse({"detail"});
  const std::string printed = session.Row(
      MakeRow<TypeParam>(IP6_INSTANCE, "2001:1db8:1111:2222:3333:4444:5555:6666", 128, "fe80::1"));
  EXPECT_THAT(printed,
              testing::HasSubstr(Detail("VLAN", "10") +
                                 Detail("Destination", "2001:1db8:1111:2222:3333:4444:5555:6666/") +
                                 Detail("", "128") + Detail("Nexthop", "fe80::1")));
}

TYPED_TEST(RtmCommands, ATextlessValueLeavesItsColumnOut) {
  Session<TypeParam> session(IP4);
  session.Parse({"detail"});
  EXPECT_THAT(session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1", 5)),
              testing::HasSubstr("\nRoute Type          :  \nProtocol            :  \nRoute Info"));
}

TYPED_TEST(RtmCommands, TheDetailedViewObeysTheFilters) {
  Session<TypeParam> session(IP4);
  session.Parse({"proto", "rip", "detail"});
  EXPECT_EQ("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1", 3)));
  EXPECT_NE("", session.Row(MakeRow<TypeParam>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1", 8)));
}

TYPED_TEST(RtmCommands, RouteTypesAreNamed) {
  const char* const names[] = {"", "other", "reject", "local", "remote", "", ""};
  typename TypeParam::Row row = {};
  for (row.route_type = 0; row.route_type < 7; ++row.route_type) {
    EXPECT_STREQ(names[row.route_type], TypeParam::Command::TypeStr(&row));
  }
  row.route_type = 0xFFFFFFFFU;
  EXPECT_STREQ("", TypeParam::Command::TypeStr(&row));
}

// --- construction ---

TYPED_TEST(RtmCommands, HasItsTextsAndTheDefaultVlan) {
  struct Visible : TypeParam::Command {
    using TypeParam::Command::Command;
    using TypeParam::Command::m_description;
    using TypeParam::Command::m_mark;
    using TypeParam::Command::m_usage;
    using TypeParam::Command::m_vlan;
  };
  DcConsoleCommand::m_default_vlan = 77;
  const Visible command(new RecordingConsole(NewConsoleLog()), IP4);
  EXPECT_EQ(77, command.m_vlan);
  EXPECT_EQ(0, command.m_mark);
  EXPECT_EQ(this->Usage(), std::string("Usage: ") + command.m_usage + "\n");
  EXPECT_STREQ(TypeParam::DESCRIPTION, command.m_description);
}

// --- what only the RIB has ---

typedef RtmCommands<Rib> RibCommand;

TEST_F(RibCommand, AnInstalledCandidateIsMarked) {
  Session<Rib> session(IP4);
  session.Parse();
  auto row = MakeRow<Rib>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  row.fib_flag = 1;
  EXPECT_EQ(">  10         10.9.0.0/16         10.1.2.1       eth0          7 static    \n",
            session.Line(row));
  row.fib_flag = 2;
  EXPECT_EQ(' ', session.Line(row)[0]);
}

TEST_F(RibCommand, AnUndeterminedInterfaceIsTbd) {
  Session<Rib> session(IP4);
  session.Parse();
  auto row = MakeRow<Rib>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  row.interface_pending = 1;
  EXPECT_EQ("   10         10.9.0.0/16         10.1.2.1        TBD          7 static    \n",
            session.Line(row));
  row.interface_pending = 2;
  EXPECT_THAT(session.Line(row), testing::HasSubstr(" eth0 "));
}

TEST_F(RibCommand, TheDetailedViewSaysWhetherItIsInstalled) {
  Session<Rib> session(IP4);
  session.Parse({"detail"});
  auto row = MakeRow<Rib>(IP4_INSTANCE, "10.9.0.0", 16, "10.1.2.1");
  row.fib_flag = 1;
  EXPECT_THAT(session.Row(row),
              testing::EndsWith(Detail("Metric5", "0") + "\nFIB Route?  : yes\n"));
  row.fib_flag = 2;
  EXPECT_THAT(session.Row(row), testing::EndsWith("\nFIB Route?  : no\n"));
}

// --- without memory ---

TEST(RtmCommandsWithoutRtmManager, FindNoVlan) {
  Session<Route> session(IP4);
  test_support::FailingNew failing(1);
  EXPECT_FALSE(session.Parse());
  EXPECT_TRUE(failing.HasFailed());
  EXPECT_EQ("VLAN 10 is not present\n", session.log->all);
}

}  // namespace
}  // namespace Tarsel
