// The route table and the RIB.
//
// Both walks run over the whole table, all instances of all VLANs; Display picks the rows that this
// invocation asked for. The two row types differ in two fields of the RIB, which the small
// functions below hide from the template.
#include "vantacore/rtm_commands.h"

#include <cstddef>
#include <cstring>
#include <map>

#include "printed_text.h"
#include "stack/sms.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/two_columns_formatter.h"
#include "walk_answers.h"

namespace Tarsel {

namespace {

// The usage texts name the options by longer words than those that are taken.
const char ROUTE_USAGE[] =
    "rtm route [vrf <vid>] [destination <Destination Address>] "
    "[protocol bgp|connected|static|rip|ospf] [detail]";
const char RIB_USAGE[] =
    "rtm rib [vrf <vid>] [destination <Destination Address>] "
    "[protocol bgp|connected|static|rip|ospf] [detail]";

constexpr unsigned int DETAIL_LABEL_WIDTH = 20;
const char DETAIL_SEPARATOR[] = ":  ";

/// Column widths of one address family.
struct Widths {
  int prefix;
  int nextHop;
};

Widths WidthsOf(unsigned short family) { return family != 0 ? Widths{50, 46} : Widths{19, 16}; }

template <std::size_t N>
const char* NameOfCode(const char* const (&names)[N], std::uint32_t code) {
  return code < N ? names[code] : "";
}

bool IsInFib(const amb_cipr_rtm_route*) { return false; }
bool IsInFib(const amb_cipr_rtm_rib* row) { return row->fib_flag == 1; }

bool IsInterfacePending(const amb_cipr_rtm_route*) { return false; }
bool IsInterfacePending(const amb_cipr_rtm_rib* row) { return row->interface_pending == 1; }

// Copies: the two texts share a buffer in the IPv6 view, and both go into one line.

template <class T>
string PrefixText(const T* row, unsigned short family) {
  return family != 0 ? DcConsoleCommand::ToIp6PrefixStr(row->destination, row->prefix_length)
                     : DcConsoleCommand::ToIp4PrefixStr(row->destination, row->prefix_length);
}

template <class T>
string NextHopText(const T* row, unsigned short family) {
  return family != 0 ? DcConsoleCommand::ToIp6Str(row->next_hop)
                     : DcConsoleCommand::DcIp4ToIp4Str(row->next_hop);
}

template <class T>
const char* InterfaceText(const T* row) {
  if (IsInterfacePending(row)) {
    return "TBD";
  }
  return DcInterfaceMgr::GetInstance()->GetIfName(VlanOfInstance(row->instance), row->if_index);
}

}  // namespace

// The option objects are made when the library is loaded and stay for the life of the process.
template <class T>
const DcConsoleCommand::ConsoleCommandOption* const RtmRTCommand<T>::m_opts[4] = {
    &DcConsoleCommand::vlan_option,
    new DcConsoleCommand::ConsoleCommandValueOption("dest", false,
                                                    &RtmRTCommand<T>::ParseDestination),
    new DcConsoleCommand::ConsoleCommandValueOption("proto", false,
                                                    &RtmRTCommand<T>::ParseProtocol),
    new DcConsoleCommand::ConsoleCommandFlagOption("detail", &RtmRTCommand<T>::SetDetail),
};

template <class T>
RtmRTCommand<T>::RtmRTCommand(DcConsole* console, unsigned short family, const char* usage,
                              const char* description)
    : DcConsoleCommand(console, usage, description),
      m_detail(false),
      m_family(family),
      m_proto(0) {}

template <class T>
bool RtmRTCommand<T>::Parse(int argc, char** argv) {
  m_vlan = m_console->GetVlan(argc, argv);
  for (const ConsoleCommandOption* option : m_opts) {
    if (!option->Parse(*this, argc, argv)) {
      Print("Usage: %s\n", PrintedText(m_usage));
      return false;
    }
  }
  if (argc > 0) {
    return false;
  }
  // Both views ask for the IPv4 instance; a VLAN's two instances come and go together.
  const DcRtmMgr* const rtm = DcRtmMgr::GetInstance();
  if (rtm == nullptr || !rtm->HasRtmRecord(m_vlan)) {
    Print("VLAN %u is not present\n", m_vlan);
    return false;
  }
  return true;
}

template <class T>
unsigned int RtmRTCommand<T>::Display(unsigned int, unsigned int result, const void* row) {
  if (result != RESULT_ROW) {
    ParseError(result);
    return END_COMMAND;
  }
  const T* const entry = static_cast<const T*>(row);
  if (!PassesFilters(entry)) {
    return NEXT_ROW;
  }
  if (m_detail) {
    PrintEntry(entry);
    return NEXT_ROW;
  }
  if (m_mark == 0) {
    PrintTableHeader();
    m_mark = 1;
  }
  PrintTableRow(entry);
  return NEXT_ROW;
}

template <class T>
bool RtmRTCommand<T>::PassesFilters(const T* row) const {
  if (row->instance != DcRtmMgr::GetDclProtocolInstanceIdFromVlan(m_vlan, m_family)) {
    return false;
  }
  if (m_proto != 0 && m_proto != row->route_proto) {
    return false;
  }
  if (m_family != 0) {
    return m_dest6 == Ip6Addr() ||
           std::memcmp(m_dest6.GetBytes(), row->destination, sizeof(row->destination)) == 0;
  }
  return m_dest4 == IP4_ANY || IsEqual(m_dest4, row->destination);
}

template <class T>
void RtmRTCommand<T>::PrintTableHeader() {
  const Widths widths = WidthsOf(m_family);
  Print("\n %4s %*s %*s %10s %10s %10s\n", "VLAN", widths.prefix, "PREFIX", widths.nextHop,
        "NEXTHOP", "IFACE", "AGE", "PROTO");
}

template <class T>
void RtmRTCommand<T>::PrintTableRow(const T* row) const {
  const Widths widths = WidthsOf(m_family);
  const string prefix = PrefixText(row, m_family);
  const string nextHop = NextHopText(row, m_family);
  Print("%c%4u %*s %*s %10s %10u %-10s\n", IsInFib(row) ? '>' : ' ', VlanOfInstance(row->instance),
        widths.prefix, prefix.c_str(), widths.nextHop, nextHop.c_str(), InterfaceText(row),
        row->age, ProtoStr(row));
}

template <class T>
void RtmRTCommand<T>::PrintEntry(const T* row) const {
  TwoColumnsFormatter formatter;
  formatter.PushRow("VLAN", VlanOfInstance(row->instance));
  formatter.PushRow("Destination", PrefixText(row, m_family));
  formatter.PushRow("Nexthop", NextHopText(row, m_family));
  formatter.PushRow("Route Type", TypeStr(row));
  formatter.PushRow("Protocol", ProtoStr(row));
  formatter.PushRow("Route Info", row->route_info);
  formatter.PushRow("Age", row->age);
  formatter.PushRow("NextHop AS", row->next_hop_as);
  formatter.PushRow("Metric1", row->metric1);
  formatter.PushRow("Metric2", row->metric2);
  formatter.PushRow("Metric3", row->metric3);
  formatter.PushRow("Metric4", row->metric4);
  formatter.PushRow("Metric5", row->metric5);
  m_console->Print("%s",
                   formatter.Format(DETAIL_LABEL_WIDTH, TwoColumnsFormatter::DEFAULT_COL2_WIDTH,
                                    DETAIL_SEPARATOR));
  Print("\n");
}

template <class T>
bool RtmRTCommand<T>::ParseDestination(DcConsoleCommand& cmd, const char* text) {
  RtmRTCommand& self = static_cast<RtmRTCommand&>(cmd);
  if (self.m_family != 0) {
    if (!self.m_dest6.FromString(text)) {
      self.Print("Invalid IPv6 Destination Address %s\n", PrintedText(text));
      return false;
    }
    return true;
  }
  if (!ParseAddress(self.m_dest4, text)) {
    self.Print("Invalid IPv4 Destination Address %s\n", PrintedText(text));
    return false;
  }
  return true;
}

template <class T>
bool RtmRTCommand<T>::ParseProtocol(DcConsoleCommand& cmd, const char* text) {
  static const std::map<string, unsigned int> protos = {
      {"bgp", 14}, {"connected", 2}, {"ospf", 13}, {"rip", 8}, {"static", 3}};
  const auto proto = protos.find(text);
  if (proto == protos.end()) {
    return false;
  }
  static_cast<RtmRTCommand&>(cmd).m_proto = proto->second;
  return true;
}

template <class T>
void RtmRTCommand<T>::SetDetail(DcConsoleCommand& cmd) {
  static_cast<RtmRTCommand&>(cmd).m_detail = true;
}

template <class T>
const char* RtmRTCommand<T>::ProtoStr(const T* row) {
  // "connnected" is how the table has always shown it, and scripts look for it.
  static const char* const route_proto[] = {"", "other", "connnected", "static", "icmp", "",
                                            "", "",      "rip",        "",       "",     "",
                                            "", "ospf",  "bgp",        "idpr",   "",     ""};
  return NameOfCode(route_proto, row->route_proto);
}

template <class T>
const char* RtmRTCommand<T>::TypeStr(const T* row) {
  static const char* const route_type[] = {"", "other", "reject", "local", "remote"};
  return NameOfCode(route_type, row->route_type);
}

template class RtmRTCommand<amb_cipr_rtm_route>;
template class RtmRTCommand<amb_cipr_rtm_rib>;

RtmRouteCommand::RtmRouteCommand(DcConsole* console, unsigned short family)
    : RtmRTCommand(console, family, ROUTE_USAGE, "Show Route Information") {}

bool RtmRouteCommand::Parse(int argc, char** argv) {
  if (!RtmRTCommand::Parse(argc, argv)) {
    return false;
  }
  sms_get_next_rtm_route(ResponseHandler, static_cast<DcConsoleCommand*>(this));
  return true;
}

RtmRibCommand::RtmRibCommand(DcConsole* console, unsigned short family)
    : RtmRTCommand(console, family, RIB_USAGE, "Show RIB Information") {}

bool RtmRibCommand::Parse(int argc, char** argv) {
  if (!RtmRTCommand::Parse(argc, argv)) {
    return false;
  }
  sms_get_next_rtm_rib(ResponseHandler, static_cast<DcConsoleCommand*>(this));
  return true;
}

void RtmRibCommand::PrintEntry(const amb_cipr_rtm_rib* row) const {
  RtmRTCommand::PrintEntry(row);
  Print("FIB Route?  : %s\n", IsInFib(row) ? "yes" : "no");
}

}  // namespace Tarsel
