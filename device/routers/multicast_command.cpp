// `mcast-database [vrf <vid>] [group <address>]`: the VLAN's multicast interfaces and the groups
// that they receive. A remote joins the VLAN's network as a whole, so a joined interface receives
// every group; the others receive those of the document. All of it is the router's, not the
// stack's, so the command needs no walk: it prints and ends within Parse.
#include "host/dc_console.h"
#include "multicast_interface.h"
#include "multicast_row.h"
#include "routers/multicast_router.h"
#include "row_object.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

using routers::ConfigRow;
using routers::MulticastInterface;
using routers::MulticastRow;
using routers::ParseGroupAddress;

namespace {

const char EVERY_GROUP[] = "*";

const char* InterfaceName(unsigned short vlan, unsigned int ifIndex) {
  return DcInterfaceMgr::GetInstance()->GetIfName(vlan, ifIndex);
}

/// Prints a line per group of each configured interface.
class GroupPrinter : public DclConfigListIteratorFunc {
 public:
  GroupPrinter(const DcConsoleCommand& command, const string& wanted)
      : m_command(command), m_wanted(wanted) {}

  bool operator()(DclConfigObject* object) override {
    const auto* const row = static_cast<ConfigRow<MulticastRow>*>(object);
    for (const string& group : row->GetColumns().groups) {
      if (m_wanted.empty() || m_wanted == group) {
        PrintLine(row->GetVlan(), row->GetId(), group.c_str(), row->Describe().c_str());
      }
    }
    return true;
  }

  void PrintLine(unsigned short vlan, unsigned int ifIndex, const char* group,
                 const char* state) const {
    m_command.Print("%6u %16s %-39s %s\n", static_cast<unsigned int>(vlan),
                    InterfaceName(vlan, ifIndex), group, state);
  }

 private:
  const DcConsoleCommand& m_command;
  const string& m_wanted;
};

const DcConsoleCommand::ConsoleCommandValueOption GROUP(
    "group", false, MulticastRoutingTableConsoleCommand::ParseGroup);

}  // namespace

MulticastRoutingTableConsoleCommand::MulticastRoutingTableConsoleCommand(DcConsole* console,
                                                                         bool ipv6)
    : DcConsoleCommand(console, "mcast-database [vrf <vid>] [group <address>]",
                       "Show Multicast Routing Information Base"),
      m_ipv6(ipv6) {}

MulticastRoutingTableConsoleCommand::~MulticastRoutingTableConsoleCommand() = default;

bool MulticastRoutingTableConsoleCommand::ParseGroup(DcConsoleCommand& command, const char* text) {
  auto& self = static_cast<MulticastRoutingTableConsoleCommand&>(command);
  self.m_group = ParseGroupAddress(text, self.m_ipv6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4);
  if (self.m_group.empty()) {
    self.Print("Invalid group address %s\n", text);
    return false;
  }
  return true;
}

bool MulticastRoutingTableConsoleCommand::Parse(int argc, char** argv) {
  m_vlan = m_console->GetVlan(argc, argv);
  if (!vlan_option.Parse(*this, argc, argv) || !GROUP.Parse(*this, argc, argv) || argc != 0) {
    Print("Usage: %s\n", m_usage);
    return false;
  }
  DcRouterBase* const router = DcRouterMgr::GetInstance()->GetDcRouterByVID(
      m_vlan, m_ipv6 ? DcRouterMgr::PROTOCOL_MLD : DcRouterMgr::PROTOCOL_IGMP);
  if (router == nullptr) {
    Print("VLAN %u is not present\n", static_cast<unsigned int>(m_vlan));
    return false;
  }
  PrintTable(*router);
  TableEnd();
  delete this;
  return true;
}

void MulticastRoutingTableConsoleCommand::PrintTable(DcRouterBase& router) const {
  auto* const multicast = static_cast<MulticastInterface*>(router.GetInterface());
  Print("%6s %16s %-39s %s\n", "VLAN", "IFACE", "GROUP", "STATE");
  GroupPrinter printer(*this, m_group);
  for (const unsigned int ifIndex : multicast->GetJoined()) {
    printer.PrintLine(m_vlan, ifIndex, EVERY_GROUP, "joined");
  }
  multicast->ForEachRow(printer);
}

unsigned int MulticastRoutingTableConsoleCommand::Display(unsigned int, unsigned int result,
                                                          const void*) {
  ParseError(result);
  return 0;
}

}  // namespace Tarsel
