// The `protocol` word of the operator's `ip` and `ip6` trees.
//
// What becomes of the console depends on the word. The summaries delete it. A command object that
// cannot parse its words is deleted together with it; one that can keeps it until its walk is over.
// All other words leave it to the caller. The trees differ on purpose: `ip` compares two characters
// of the long words, `ip6` compares whole words.
#include <strings.h>

#include "host/dc_console.h"
#include "routers/multicast_router.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/rtm_commands.h"
#include "vantacore/two_columns_formatter.h"

namespace Tarsel {

namespace {

/// A sub-command's line in the help.
struct HelpRow {
  const char* syntax;
  const char* description;
};

const HelpRow IP4_HELP[] = {
    {" ip protocol database [vrf <vid>] [dest <address>] [proto connected|static|bgp|ospf|rip] "
     "[detail]",
     "Show Routing Information Base"},
    {" ip protocol mcast-database [vrf <vid>] [group <address>]",
     "Show Multicast Routing Information Base"},
    {" ip protocol summary", "Show Summary of IP Protocols"},
    {" ip protocol pending-actions [summary]", "Show Pending Protocol Configurations"},
    {" ip protocol ips", "IPS Trace Commands"},
};

const HelpRow IP6_HELP[] = {
    {" ip6 protocol database [vrf <vid>] [dest <address>] [proto connected|static|bgp|ospf|rip] "
     "[detail]",
     "Show Routing Information Base"},
};

const char IPS_USAGE[] =
    "Usage: ips [on|off|status|set filter|reset filter]\n"
    "       ips set filter [type|proc] [in|out] <FILTERLIST>\n"
    "       ips reset filter [type|proc] [in|out]\n"
    "\n"
    "       where FILTERLIST :\n"
    "                   filter\n"
    "                   FILTERLIST, filter\n";

template <std::size_t N>
string BuildHelp(const HelpRow (&rows)[N]) {
  TwoColumnsFormatter formatter;
  for (const HelpRow& row : rows) {
    formatter.PushRow(row.syntax, row.description);
  }
  return formatter.Format();
}

void PrintUsage(DcConsole* console, const string& help) {
  console->Print("Usage: \n");
  console->Print("%s", help.c_str());
}

bool IsWord(const char* word, const char* name) { return strcasecmp(word, name) == 0; }

// The long words of the `ip` tree are told apart by two characters.
bool BeginsLike(const char* word, const char* name) { return strncasecmp(word, name, 2) == 0; }

// The command deletes itself when its walk is over; one that does not start is deleted here.
void RunRibCommand(DcConsole* console, unsigned short ipProto, int argc, char** argv) {
  RtmRibCommand* const command = new RtmRibCommand(console, ipProto);
  if (!command->Parse(argc, argv)) {
    delete command;
  }
}

void RunMulticastCommand(DcConsole* console, int argc, char** argv) {
  MulticastRoutingTableConsoleCommand* const command =
      new MulticastRoutingTableConsoleCommand(console, false);
  if (!command->Parse(argc, argv)) {
    console->Print("Fail to parse mcast-database sub command.\n");
    delete command;
  }
}

/// A column of a summary: the protocol whose state it shows.
struct SummaryColumn {
  const char* title;
  DcRouterMgr::ProtocolType type;
};

constexpr std::size_t SUMMARY_COLUMNS = 4;

const SummaryColumn IP4_SUMMARY[SUMMARY_COLUMNS] = {{"BGP4+", DcRouterMgr::PROTOCOL_BGP},
                                                    {"OSPFv2", DcRouterMgr::PROTOCOL_OSPFV2},
                                                    {"RIPv2", DcRouterMgr::PROTOCOL_RIPV2},
                                                    {"IGMP", DcRouterMgr::PROTOCOL_IGMP}};

// BGP appears in both tables: one router serves both families.
const SummaryColumn IP6_SUMMARY[SUMMARY_COLUMNS] = {{"BGP4+", DcRouterMgr::PROTOCOL_BGP},
                                                    {"OSPFv3", DcRouterMgr::PROTOCOL_OSPFV3},
                                                    {"RIPng", DcRouterMgr::PROTOCOL_RIPNG},
                                                    {"MLD", DcRouterMgr::PROTOCOL_MLD}};

void PrintSummaryRow(DcConsole* console, unsigned short vid, const DcRouterMgr::VlanRouters& record,
                     const SummaryColumn (&columns)[SUMMARY_COLUMNS]) {
  bool enabled[DcRouterMgr::PROTOCOL_COUNT] = {};
  for (const auto& [type, router] : record.routers) {
    if (type >= 0 && type < DcRouterMgr::PROTOCOL_COUNT) {
      enabled[type] = router != nullptr && router->IsEnabled();
    }
  }
  console->Print("%6u", vid);
  for (const SummaryColumn& column : columns) {
    console->Print(" %6s", enabled[column.type] ? "Yes" : "No");
  }
  console->Print("\n");
}

void PrintSummary(DcConsole* console, const DcRouterMgr::VlanMap& vlans,
                  const SummaryColumn (&columns)[SUMMARY_COLUMNS]) {
  console->Print("%6s %6s %6s %6s %6s\n", "VID", columns[0].title, columns[1].title,
                 columns[2].title, columns[3].title);
  for (const auto& [vid, record] : vlans) {
    if (record != nullptr) {
      PrintSummaryRow(console, vid, *record, columns);
    }
  }
  delete console;
}

// The stack's number of a trace filter, made of "type" or "proc" and "in" or "out"; 0 when one of
// the words is neither.
unsigned short FilterCode(const char* kind, const char* direction) {
  const bool isProc = IsWord(kind, "proc");
  if (!isProc && !IsWord(kind, "type")) {
    return 0;
  }
  const unsigned short base = isProc ? 4 : 0;
  if (IsWord(direction, "in")) {
    return static_cast<unsigned short>(base + 1);
  }
  return IsWord(direction, "out") ? static_cast<unsigned short>(base + 2) : 0;
}

// `set filter <kind> <direction> <list>`; false when the words are wrong.
bool SetFilter(DcRouterMgr& manager, DcConsole* console, int argc, char** argv) {
  if (argc < 5 || !IsWord(argv[0], "set") || !IsWord(argv[1], "filter")) {
    return false;
  }
  const unsigned short code = FilterCode(argv[2], argv[3]);
  if (code == 0) {
    return false;
  }
  console->Print("IPS TRACE filter %s and type %d is set!\n", argv[4], code);
  manager.SetIPSFilter(argv[4], code);
  return true;
}

// `reset filter <kind> <direction>`; false when the words are wrong.
bool ResetFilter(DcRouterMgr& manager, DcConsole* console, int argc, char** argv) {
  if (argc < 4 || !IsWord(argv[0], "reset") || !IsWord(argv[1], "filter")) {
    return false;
  }
  const unsigned short code = FilterCode(argv[2], argv[3]);
  if (code == 0) {
    return false;
  }
  console->Print("IPS TRACE filter type %d is Reset!\n", code);
  char empty[1] = {0};  // the stack takes a writable text
  manager.SetIPSFilter(empty, code);
  return true;
}

}  // namespace

void DcRouterMgr::ConCmdIp4Rtm(void*, DcConsole* console, int argc, char** argv) {
  static const string usage = BuildHelp(IP4_HELP);
  DcRouterMgr* const manager = GetInstance();
  if (argc > 1 && manager != nullptr) {
    const char* const word = argv[1];
    if (BeginsLike(word, "pending-actions")) {
      if (argc == 3 && IsWord(argv[2], "summary")) {
        manager->m_cfgSched.PrintSummary(console);
      } else {
        manager->m_cfgSched.Print(console);
      }
      return;
    }
    if (BeginsLike(word, "summary")) {
      manager->ConCmdIp4RtmSummary(console);
      return;
    }
    if (BeginsLike(word, "database")) {
      RunRibCommand(console, DcRtmMgr::PROTO_IPV4, argc - 2, argv + 2);
      return;
    }
    if (IsWord(word, "ips")) {
      manager->ConCmdIpsTrace(console, argc - 2, argv + 2);
      return;
    }
    if (BeginsLike(word, "mcast-database")) {
      RunMulticastCommand(console, argc - 2, argv + 2);
      return;
    }
  }
  PrintUsage(console, usage);
}

void DcRouterMgr::ConCmdIp6Rtm(void*, DcConsole* console, int argc, char** argv) {
  static const string usage = BuildHelp(IP6_HELP);
  DcRouterMgr* const manager = GetInstance();
  if (argc > 1 && manager != nullptr) {
    if (IsWord(argv[1], "summary")) {
      manager->ConCmdIp6RtmSummary(console);
      return;
    }
    if (IsWord(argv[1], "database")) {
      RunRibCommand(console, DcRtmMgr::PROTO_IPV6, argc - 2, argv + 2);
      return;
    }
  }
  PrintUsage(console, usage);
}

void DcRouterMgr::ConCmdIp4RtmSummary(DcConsole* console) {
  PrintSummary(console, m_vlans, IP4_SUMMARY);
}

void DcRouterMgr::ConCmdIp6RtmSummary(DcConsole* console) {
  PrintSummary(console, m_vlans, IP6_SUMMARY);
}

void DcRouterMgr::ConCmdIpsTrace(DcConsole* console, int argc, char** argv) {
  if (argc >= 1) {
    if (IsWord(argv[0], "on")) {
      TripsControl(true);
      console->Print("IPS TRACE is ON!\n");
      return;
    }
    if (IsWord(argv[0], "off")) {
      TripsControl(false);
      console->Print("IPS TRACE is OFF!\n");
      return;
    }
    if (IsWord(argv[0], "status")) {
      console->Print("IPS TRACE is %s!\n", GetIPSTracing() ? "ON" : "OFF");
      return;
    }
    if (SetFilter(*this, console, argc, argv) || ResetFilter(*this, console, argc, argv)) {
      return;
    }
  }
  console->Print("%s", IPS_USAGE);
}

// The protocol routers' library declares this handler and leaves its definition to this library: a
// console handler of the `ip` tree has no argument for the family.
void DcMulticastRouter::Ip4ConsoleCommand(void* context, DcConsole* console, int argc,
                                          char** argv) {
  ConsoleCommand(context, console, argc, argv, false);
}

}  // namespace Tarsel
