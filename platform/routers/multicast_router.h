// The multicast routers and their console commands.
#ifndef ROUTERS_MULTICAST_ROUTER_H
#define ROUTERS_MULTICAST_ROUTER_H

#include "tarsel/export.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

/// IGMP (IPv4, configured by the member "IGMP") or MLD (IPv6, "MLD") of one VLAN.
class TARSEL_API DcMulticastRouter : public DcRouterBase {
 public:
  /// `ipProto` is 0 for IGMP, 41 for MLD.
  DcMulticastRouter(unsigned short vid, int ipProto);
  ~DcMulticastRouter() override;
  bool CreateConfigList(DcConfigLists& lists) override;

  /// A remote has joined on the interface.
  void AddInterface(unsigned int ifIndex);

  /// Shows the routers of one family; `ipv6` chooses MLD. The console stays the caller's.
  static void ConsoleCommand(void* context, DcConsole* console, int argc, char** argv, bool ipv6);
  /// Console handler of `ip igmp`; vantacore supplies it and calls ConsoleCommand.
  static void Ip4ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);

 private:
  int m_ipProto;
};

/// Lists multicast interfaces and groups: `mcast-database`. The router has all of it, so Parse
/// prints and ends the command: if it returns true, command and console have been deleted.
class TARSEL_API MulticastRoutingTableConsoleCommand : public DcConsoleCommand {
 public:
  /// Takes ownership of `console`.
  MulticastRoutingTableConsoleCommand(DcConsole* console, bool ipv6);
  ~MulticastRoutingTableConsoleCommand() override;
  bool Parse(int argc, char** argv) override;
  unsigned int Display(unsigned int context, unsigned int result, const void* row) override;

  /// The handler of "group <address>".
  static bool ParseGroup(DcConsoleCommand& command, const char* text);

 private:
  void PrintTable(DcRouterBase& router) const;

  bool m_ipv6;
  string m_group;  // the one that is asked for; empty for all
};

}  // namespace Tarsel

#endif
