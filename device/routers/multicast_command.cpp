// `mcast-database [vrf <vid>] [group <address>]`: the VLAN's multicast interfaces. They are the
// router's, not the stack's, so the command needs no walk: it prints and ends within Parse.
#include "host/dc_console.h"
#include "multicast_interface.h"
#include "routers/multicast_router.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"

namespace Tarsel {

namespace {

bool IsGroup(const char* text, bool ipv6) {
  if (ipv6) {
    Ip6Addr group;
    return ParseIp6Address(group, text) && group.GetBytes()[0] == 0xFF;
  }
  Ip4Addr group;
  return ParseAddress(group, text) && (group.GetBytes()[0] & 0xF0) == 0xE0;
}

template <bool ipv6>
bool ParseGroup(DcConsoleCommand& command, const char* text) {
  if (!IsGroup(text, ipv6)) {
    command.Print("Invalid group address %s\n", text);
    return false;
  }
  return true;  // every joined interface receives every group: nothing to filter
}

const DcConsoleCommand::ConsoleCommandValueOption GROUP4("group", false, ParseGroup<false>);
const DcConsoleCommand::ConsoleCommandValueOption GROUP6("group", false, ParseGroup<true>);

}  // namespace

MulticastRoutingTableConsoleCommand::MulticastRoutingTableConsoleCommand(DcConsole* console,
                                                                         bool ipv6)
    : DcConsoleCommand(console, "mcast-database [vrf <vid>] [group <address>]",
                       "Show Multicast Routing Information Base"),
      m_ipv6(ipv6) {}

MulticastRoutingTableConsoleCommand::~MulticastRoutingTableConsoleCommand() = default;

bool MulticastRoutingTableConsoleCommand::Parse(int argc, char** argv) {
  m_vlan = m_console->GetVlan(argc, argv);
  if (!vlan_option.Parse(*this, argc, argv) ||
      !(m_ipv6 ? GROUP6 : GROUP4).Parse(*this, argc, argv) || argc != 0) {
    Print("Usage: %s\n", m_usage);
    return false;
  }
  DcRouterBase* router = DcRouterMgr::GetInstance()->GetDcRouterByVID(
      m_vlan, m_ipv6 ? DcRouterMgr::PROTOCOL_MLD : DcRouterMgr::PROTOCOL_IGMP);
  if (!router) {
    Print("VLAN %u is not present\n", static_cast<unsigned int>(m_vlan));
    return false;
  }
  Print("%6s %16s %s\n", "VLAN", "IFACE", "GROUP");
  for (const unsigned int ifIndex :
       static_cast<MulticastInterface*>(router->GetInterface())->GetJoined()) {
    Print("%6u %16s %s\n", static_cast<unsigned int>(m_vlan),
          DcInterfaceMgr::GetInstance()->GetIfName(m_vlan, ifIndex), "*");
  }
  TableEnd();
  delete this;
  return true;
}

unsigned int MulticastRoutingTableConsoleCommand::Display(unsigned int, unsigned int result,
                                                          const void*) {
  ParseError(result);
  return 0;
}

}  // namespace Tarsel
