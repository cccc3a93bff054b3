// The words `ip protocol` and `ip6 protocol`: which one runs, what it prints, and to whom the
// console belongs afterwards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/unit/manager/console_session.h"
#include "tests/unit/manager/recording_routers.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/static_routes.h"

namespace Tarsel {
namespace {

using console_session::Execution;
using console_session::Ip;
using console_session::Ip6;
using console_session::Owner;
using recording_routers::AllRouters;
using recording_routers::GetBehaviour;
using recording_routers::ManagerFixture;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const char END_OF_TABLE[] = "End of table\n";
const char IP4_SUMMARY_HEADER[] = "   VID  BGP4+ OSPFv2  RIPv2   IGMP\n";
const char IP6_SUMMARY_HEADER[] = "   VID  BGP4+ OSPFv3  RIPng    MLD\n";
const char IPS_USAGE[] =
    "Usage: ips [on|off|status|set filter|reset filter]\n       ips set filter [type|proc] "
    "[in|out] <FILTERLIST>\n       ips reset filter [type|proc] [in|out]\n\n       where "
    "FILTERLIST "
    ":\n                   filter\n                   FILTERLIST, filter\n";

std::string Padded(const std::string& text) { return text + std::string(40 - text.size(), ' '); }

// A help line: the first column, and the second one when there is any.
std::string HelpLine(const std::string& first, const std::string& second = "") {
  return Padded(first) + "    " + (second.empty() ? "" : Padded(second)) + "\n";
}

std::string Ip4Usage() {
  return "Usage: \n" +
         HelpLine(" ip protocol database [vrf <vid>] [dest", "Show Routing Information Base") +
         HelpLine(" <address>] [proto") + HelpLine(" connected|static|bgp|ospf|rip]") +
         HelpLine(" [detail]") +
         HelpLine(" ip protocol mcast-database [vrf <vid>]",
                  "Show Multicast Routing Information Base") +
         HelpLine(" [group <address>]") +
         HelpLine(" ip protocol summary", "Show Summary of IP Protocols") +
         HelpLine(" ip protocol pending-actions [summary]",
                  "Show Pending Protocol Configurations") +
         HelpLine(" ip protocol ips", "IPS Trace Commands");
}

std::string Ip6Usage() {
  return "Usage: \n" +
         HelpLine(" ip6 protocol database [vrf <vid>] [dest", "Show Routing Information Base") +
         HelpLine(" <address>] [proto") + HelpLine(" connected|static|bgp|ospf|rip]") +
         HelpLine(" [detail]");
}

class ProtocolCommands : public ManagerFixture {
 protected:
  ProtocolCommands() {
    Start();
    AddVlan(10);
    TakeCalls();
  }

  void AddVlan(unsigned short vid) {
    Manager().CreateVlan(vid, NoOptions(), DclConfigObject::VLAN_OPTIONS);
  }

  // A route that waits: nothing has told the stack to run yet.
  void AddPendingRoute() {
    AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3, 1, 0x30000,
             1);
  }
};

// --- usage ---

TEST_F(ProtocolCommands, WithoutAWordTheHelpIsPrinted) {
  for (int i = 0; i < 2; ++i) {  // the help is built once and stays the same
    const Execution run = Ip({"protocol"});
    EXPECT_EQ(Ip4Usage(), run.log->all);
    EXPECT_EQ(0, run.log->ends);
    EXPECT_EQ(Owner::kCaller, run.owner);
    const Execution run6 = Ip6({"protocol"});
    EXPECT_EQ(Ip6Usage(), run6.log->all);
    EXPECT_EQ(0, run6.log->ends);
    EXPECT_EQ(Owner::kCaller, run6.owner);
  }
}

TEST_F(ProtocolCommands, UnknownWordsOfIpPrintTheHelp) {
  for (const char* word : {"", "p", "s", "d", "m", "ip", "ipsx", "xx", "protocol"}) {
    const Execution run = Ip({"protocol", word});
    EXPECT_EQ(Ip4Usage(), run.log->all) << word;
    EXPECT_EQ(Owner::kCaller, run.owner) << word;
  }
}

TEST_F(ProtocolCommands, Ip6TakesWholeWordsAndOnlyTwo) {
  for (const char* word : {"su", "summar", "summaryx", "da", "databas", "", "pending-actions",
                           "ips", "mcast-database"}) {
    const Execution run = Ip6({"protocol", word});
    EXPECT_EQ(Ip6Usage(), run.log->all) << word;
    EXPECT_EQ(Owner::kCaller, run.owner) << word;
  }
}

// --- summaries ---

TEST_F(ProtocolCommands, SummariesShowTheEnabledProtocolsAndDeleteTheConsole) {
  AddVlan(65535);
  AddVlan(5);
  GetBehaviour().enabled = {"BGP:10",    "RIPV2:10",    "OSPF:5",   "IGMP:65535",
                            "OSPFV3:10", "RIPNG:65535", "MLD:65535"};
  const Execution run = Ip({"protocol", "summary"});
  EXPECT_EQ(std::string(IP4_SUMMARY_HEADER) +
                "     5     No    Yes     No     No\n"
                "    10    Yes     No    Yes     No\n"
                " 65535     No     No     No    Yes\n",
            run.log->all);
  EXPECT_EQ(0, run.log->ends);
  EXPECT_EQ(Owner::kGone, run.owner);

  const Execution run6 = Ip6({"protocol", "summary"});
  EXPECT_EQ(std::string(IP6_SUMMARY_HEADER) +
                "     5     No     No     No     No\n"
                "    10    Yes    Yes     No     No\n"
                " 65535     No     No    Yes    Yes\n",
            run6.log->all);
  EXPECT_EQ(0, run6.log->ends);
  EXPECT_EQ(Owner::kGone, run6.owner);
}

TEST_F(ProtocolCommands, WordsOfIpAreToldApartByTwoCharacters) {
  for (const char* word : {"su", "SUMMARY", "Summary", "sum", "suspicious"}) {
    const Execution run = Ip({"protocol", word});
    EXPECT_THAT(run.log->all, HasSubstr(IP4_SUMMARY_HEADER)) << word;
  }
  EXPECT_THAT(Ip6({"protocol", "SUMMARY"}).log->all, HasSubstr(IP6_SUMMARY_HEADER));
}

TEST_F(ProtocolCommands, ASummaryOfNoVlanIsItsHeader) {
  Manager().DeleteVlan(10);
  const Execution run = Ip({"protocol", "summary"});
  EXPECT_EQ(IP4_SUMMARY_HEADER, run.log->all);
  EXPECT_EQ(Owner::kGone, run.owner);
  const Execution run6 = Ip6({"protocol", "summary"});
  EXPECT_EQ(IP6_SUMMARY_HEADER, run6.log->all);
  EXPECT_EQ(Owner::kGone, run6.owner);
}

TEST_F(ProtocolCommands, ASummaryIgnoresTheWordsBehindIt) {
  EXPECT_THAT(Ip({"protocol", "summary", "x"}).log->all, StartsWith(IP4_SUMMARY_HEADER));
  EXPECT_THAT(Ip6({"protocol", "summary", "x"}).log->all, StartsWith(IP6_SUMMARY_HEADER));
}

TEST_F(ProtocolCommands, ASummaryAlsoAsksTheRoutersThatItDoesNotShow) {
  traces.Take();
  Ip({"protocol", "summary"});
  EXPECT_THAT(TakeRouterEvents(), ElementsAreArray(AllRouters(10, " asked")));
  Ip6({"protocol", "summary"});
  EXPECT_THAT(TakeRouterEvents(), ElementsAreArray(AllRouters(10, " asked")));
}

TEST_F(ProtocolCommands, AVlanWithoutRoutersShowsNoInEveryColumn) {
  GetBehaviour().enabled = {"BGP:10", "OSPF:10", "MLD:10"};
  std::multimap<DcRouterMgr::ProtocolType, DcRouterBase*> none;
  auto& routers = Manager().GetVlans().at(10)->routers;
  routers.swap(none);
  const std::string row = "    10     No     No     No     No\n";
  EXPECT_EQ(IP4_SUMMARY_HEADER + row, Ip({"protocol", "summary"}).log->all);
  EXPECT_EQ(IP6_SUMMARY_HEADER + row, Ip6({"protocol", "summary"}).log->all);
  routers.swap(none);
}

// A record is open to whoever looks at the VLANs.
TEST_F(ProtocolCommands, SummariesPassOverProtocolsThatThereAreNot) {
  constexpr int NONE[] = {-1, 7, 0x40000000};
  GetBehaviour().enabled = {"RIPNG:99"};
  const std::unique_ptr<DcRouterBase> router(new DcRipngRouter(99));
  auto& routers = Manager().GetVlans().at(10)->routers;
  for (const int type : NONE) {
    routers.emplace(static_cast<DcRouterMgr::ProtocolType>(type), router.get());
  }
  traces.Take();
  const std::string row = "    10     No     No     No     No\n";
  EXPECT_EQ(IP4_SUMMARY_HEADER + row, Ip({"protocol", "summary"}).log->all);
  EXPECT_EQ(IP6_SUMMARY_HEADER + row, Ip6({"protocol", "summary"}).log->all);
  EXPECT_FALSE(traces.Contains("RIPNG:99 asked"));
  for (const int type : NONE) {
    routers.erase(static_cast<DcRouterMgr::ProtocolType>(type));
  }
}

TEST_F(ProtocolCommands, AVlanWithoutARecordHasNoRow) {
  auto& vlans = const_cast<DcRouterMgr::VlanMap&>(Manager().GetVlans());
  vlans.emplace(9, nullptr);
  const std::string row = "    10     No     No     No     No\n";
  EXPECT_EQ(IP4_SUMMARY_HEADER + row, Ip({"protocol", "summary"}).log->all);
  EXPECT_EQ(IP6_SUMMARY_HEADER + row, Ip6({"protocol", "summary"}).log->all);
  vlans.erase(9);
}

// --- pending actions ---

TEST_F(ProtocolCommands, PendingActionsSummaryCountsTheBuckets) {
  AddPendingRoute();
  for (const char* word : {"pending-actions", "pe", "PENDING"}) {
    for (const char* summary : {"summary", "SUMMARY"}) {
      const Execution run = Ip({"protocol", word, summary});
      EXPECT_EQ("Pending Item Buckets: 1\n", run.log->all);
      EXPECT_EQ(0, run.log->ends);
      EXPECT_EQ(Owner::kCaller, run.owner);
    }
  }
}

TEST_F(ProtocolCommands, PendingActionsAreListedUnlessTheOnlyOtherWordIsSummary) {
  AddPendingRoute();
  const std::vector<std::vector<std::string>> variants = {{"protocol", "pe"},
                                                          {"protocol", "pending-actions"},
                                                          {"protocol", "pe", "su"},
                                                          {"protocol", "pe", "x", "y"},
                                                          {"protocol", "pe", "summary", "x"}};
  for (const auto& words : variants) {
    const Execution run = Ip(words);
    EXPECT_EQ(0U, run.log->all.find("==== Item 0 ====\n")) << run.log->all;
    EXPECT_EQ(0, run.log->ends);
    EXPECT_EQ(Owner::kCaller, run.owner);
  }
}

// --- database ---

TEST_F(ProtocolCommands, ADatabaseWalkKeepsTheConsoleUntilItEnds) {
  ASSERT_TRUE(Settle());
  for (const char* word : {"database", "da", "DATA"}) {
    const Execution run = Ip({"protocol", word});
    EXPECT_EQ(Owner::kCommand, run.owner);
    EXPECT_EQ("", run.log->all);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(END_OF_TABLE, run.log->all);
    EXPECT_EQ(1, run.log->ends);
    EXPECT_TRUE(run.log->destroyed);
    EXPECT_FALSE(DcConsoleCommand::Owns(run.console));
  }
  for (const char* word : {"database", "DataBase"}) {
    const Execution run = Ip6({"protocol", word});
    EXPECT_EQ(Owner::kCommand, run.owner);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(END_OF_TABLE, run.log->all);
    EXPECT_TRUE(run.log->destroyed);
  }
}

TEST_F(ProtocolCommands, AWalkThatEndsAtOnceHasDeletedTheConsole) {
  ASSERT_TRUE(Settle());
  Control().SetSynchronous(true);
  for (const Execution& run : {Ip({"protocol", "database"}), Ip6({"protocol", "database"})}) {
    EXPECT_EQ(Owner::kGone, run.owner);
    EXPECT_EQ(END_OF_TABLE, run.log->all);
    EXPECT_EQ(1, run.log->ends);
  }
}

TEST_F(ProtocolCommands, WordsThatADatabaseDoesNotTakeEndTheConsole) {
  for (const Execution& run :
       {Ip({"protocol", "database", "leftover"}), Ip6({"protocol", "database", "leftover"})}) {
    EXPECT_EQ(Owner::kGone, run.owner);
    EXPECT_EQ("", run.log->all);
    EXPECT_EQ(0, run.log->ends);
  }
  for (const Execution& run :
       {Ip({"protocol", "database", "vrf", "11"}), Ip6({"protocol", "database", "vrf", "11"})}) {
    EXPECT_EQ(Owner::kGone, run.owner);
    EXPECT_EQ("VLAN 11 is not present\n", run.log->all);
    EXPECT_EQ(0, run.log->ends);
  }
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(ProtocolCommands, DatabasesShowTheirFamily) {
  DcInterfaceMgr& interfaces = *DcInterfaceMgr::GetInstance();
  interfaces.AddInterface(10, 3, "eth0", DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
  interfaces.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  Ip6Addr address;
  ASSERT_TRUE(address.FromString("2001:db8::3"));
  interfaces.AddIpAddress(10, 3, address, 64);
  ASSERT_TRUE(Settle());

  const Execution run = Ip({"protocol", "database", "vrf", "10"}, 1);
  const Execution run6 = Ip6({"protocol", "database", "vrf", "10"}, 1);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(run.log->output, HasSubstr("10.1.2.0/24"));
  EXPECT_THAT(run.log->output, Not(HasSubstr("2001:db8")));
  EXPECT_THAT(run6.log->output, HasSubstr("2001:db8::/64"));
  EXPECT_THAT(run6.log->output, Not(HasSubstr("10.1.2.0")));
}

// --- multicast ---

TEST_F(ProtocolCommands, MulticastDatabaseRunsWithTheWordsBehindIt) {
  for (const char* word : {"mcast-database", "mc", "MCAST"}) {
    const Execution run = Ip({"protocol", word, "group", "224.1.1.1"});
    EXPECT_EQ("mcast ipv4 2 group\nEnd of Table\n", run.log->all);
    EXPECT_EQ(1, run.log->ends);
    EXPECT_EQ(Owner::kGone, run.owner);
  }
}

TEST_F(ProtocolCommands, ARunningMulticastCommandKeepsTheConsole) {
  GetBehaviour().multicastEnds = false;
  const Execution run = Ip({"protocol", "mcast-database"});
  EXPECT_EQ(Owner::kCommand, run.owner);
  EXPECT_EQ(0, run.log->ends);
  GetBehaviour().endMulticast();
  EXPECT_EQ(1, run.log->ends);
  EXPECT_TRUE(run.log->destroyed);
  EXPECT_FALSE(DcConsoleCommand::Owns(run.console));
}

TEST_F(ProtocolCommands, AMulticastCommandThatCannotParseIsReported) {
  GetBehaviour().multicastParses = false;
  const Execution run = Ip({"protocol", "mcast-database", "x"});
  EXPECT_EQ("mcast ipv4 1 x\nFail to parse mcast-database sub command.\n", run.log->all);
  EXPECT_EQ(0, run.log->ends);
  EXPECT_EQ(Owner::kGone, run.owner);
}

// --- stack traces ---

class IpsCommands : public ProtocolCommands {
 protected:
  // The output of `ip protocol ips` with these words; the console must stay the caller's.
  std::string Ips(std::vector<std::string> words) {
    words.insert(words.begin(), {"protocol", "ips"});
    const Execution run = Ip(words);
    EXPECT_EQ(Owner::kCaller, run.owner);
    EXPECT_EQ(0, run.log->ends);
    return run.log->all;
  }
};

TEST_F(IpsCommands, TracingIsSwitchedOnAndOff) {
  EXPECT_EQ("IPS TRACE is OFF!\n", Ips({"status"}));
  EXPECT_EQ("IPS TRACE is ON!\n", Ips({"on"}));
  EXPECT_EQ("IPS TRACE is ON!\n", Ips({"status"}));
  EXPECT_EQ("IPS TRACE is OFF!\n", Ips({"off"}));
  EXPECT_EQ("IPS TRACE is OFF!\n", Ips({"status"}));
  EXPECT_THAT(TakeCalls(),
              ElementsAre("nbb_get_ips_tracing()", "nbb_trips_control(1)", "nbb_get_ips_tracing()",
                          "nbb_trips_control(0)", "nbb_get_ips_tracing()"));
}

TEST_F(IpsCommands, WordsAreTakenInAnyCase) {
  EXPECT_EQ("IPS TRACE is ON!\n", Ips({"ON"}));
  EXPECT_EQ("IPS TRACE is ON!\n", Ips({"Status"}));
  EXPECT_EQ("IPS TRACE is OFF!\n", Ips({"OFF"}));
  EXPECT_EQ("IPS TRACE filter 3 and type 1 is set!\n", Ips({"SET", "FILTER", "TYPE", "IN", "3"}));
  EXPECT_EQ("IPS TRACE filter type 6 is Reset!\n", Ips({"RESET", "FILTER", "PROC", "OUT"}));
}

TEST_F(IpsCommands, FurtherWordsAreIgnored) {
  EXPECT_EQ("IPS TRACE is ON!\n", Ips({"on", "x"}));
  EXPECT_EQ("IPS TRACE is ON!\n", Ips({"status", "x"}));
  EXPECT_EQ("IPS TRACE is OFF!\n", Ips({"off", "x"}));
  EXPECT_EQ("IPS TRACE filter 3 and type 1 is set!\n",
            Ips({"set", "filter", "type", "in", "3", "x"}));
  EXPECT_EQ("IPS TRACE filter type 1 is Reset!\n", Ips({"reset", "filter", "type", "in", "x"}));
}

TEST_F(IpsCommands, TheWordItselfIsTakenInAnyCaseButWhole) {
  EXPECT_EQ(IPS_USAGE, Ip({"protocol", "IPS"}).log->all);
  EXPECT_EQ(Ip4Usage(), Ip({"protocol", "ip"}).log->all);
}

struct FilterCase {
  const char* kind;
  const char* direction;
  const char* code;
};

const FilterCase FILTERS[] = {
    {"type", "in", "1"}, {"type", "out", "2"}, {"proc", "in", "5"}, {"proc", "out", "6"}};

TEST_F(IpsCommands, AFilterIsSet) {
  for (const FilterCase& filter : FILTERS) {
    const std::string code = filter.code;
    EXPECT_EQ("IPS TRACE filter 3,4 and type " + code + " is set!\n",
              Ips({"set", "filter", filter.kind, filter.direction, "3,4"}));
    EXPECT_THAT(TakeCalls(), ElementsAre("nbb_set_ips_filter(\"3,4\", " + code + ")"));
  }
}

TEST_F(IpsCommands, TheListOfAFilterMayBeEmpty) {
  EXPECT_EQ("IPS TRACE filter  and type 1 is set!\n", Ips({"set", "filter", "type", "in", ""}));
  EXPECT_THAT(TakeCalls(), ElementsAre("nbb_set_ips_filter(\"\", 1)"));
}

TEST_F(IpsCommands, AFilterIsReset) {
  for (const FilterCase& filter : FILTERS) {
    const std::string code = filter.code;
    EXPECT_EQ("IPS TRACE filter type " + code + " is Reset!\n",
              Ips({"reset", "filter", filter.kind, filter.direction}));
    EXPECT_THAT(TakeCalls(), ElementsAre("nbb_set_ips_filter(\"\", " + code + ")"));
  }
}

TEST_F(IpsCommands, WrongWordsPrintTheUsage) {
  const std::vector<std::vector<std::string>> variants = {{},
                                                          {""},
                                                          {"o"},
                                                          {"onn"},
                                                          {"stat"},
                                                          {"set"},
                                                          {"set", "filter", "proc"},
                                                          {"set", "filter", "proc", "in"},
                                                          {"set", "filters", "proc", "in", "3"},
                                                          {"set", "filter", "procs", "in", "3"},
                                                          {"set", "filter", "proc", "inside", "3"},
                                                          {"sets", "filter", "proc", "in", "3"},
                                                          {"reset", "filter", "type"},
                                                          {"reset", "x", "type", "in"},
                                                          {"reset", "filter", "x", "in"},
                                                          {"reset", "filter", "type", "x"}};
  for (const auto& words : variants) {
    EXPECT_EQ(IPS_USAGE, Ips(words));
  }
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

// --- the order of printing and acting ---

// A console that looks at what the stack has been asked when it is printed on.
class WatchingConsole : public test_support::RecordingConsole {
 public:
  WatchingConsole(std::shared_ptr<test_support::ConsoleLog> log,
                  const routing_stack::Control& control)
      : RecordingConsole(std::move(log)), m_control(control) {}

  void VPrint(const char* format, std::va_list arguments) override {
    using routing_stack::Call;
    callsBefore =
        m_control.CountOf(Call::kNbbTripsControl) + m_control.CountOf(Call::kNbbSetIpsFilter);
    RecordingConsole::VPrint(format, arguments);
  }

  std::uint64_t callsBefore = 0;

 private:
  const routing_stack::Control& m_control;
};

TEST_F(IpsCommands, SwitchingActsBeforeItPrintsAndFiltersPrintBeforeTheyAct) {
  const auto callsBefore = [this](std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) {
      argv.push_back(word.data());
    }
    Control().ResetCounts();
    WatchingConsole console(test_support::NewConsoleLog(), Control());
    Manager().ConCmdIpsTrace(&console, static_cast<int>(argv.size()), argv.data());
    return console.callsBefore;
  };
  EXPECT_EQ(1U, callsBefore({"on"}));
  EXPECT_EQ(1U, callsBefore({"off"}));
  EXPECT_EQ(0U, callsBefore({"set", "filter", "type", "in", "3"}));
  EXPECT_EQ(0U, callsBefore({"reset", "filter", "type", "in"}));
}

// --- the other words of the trees ---

TEST_F(ProtocolCommands, Ip6RipPrintsNothingAndLeavesTheConsole) {
  const Execution run = Ip6({"rip", "anything"});
  EXPECT_EQ("", run.log->all);
  EXPECT_EQ(0, run.log->ends);
  EXPECT_EQ(Owner::kCaller, run.owner);
}

}  // namespace
}  // namespace Tarsel
