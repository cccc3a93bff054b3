// What the protocols' console handlers print.
#ifndef DEVICE_ROUTERS_SHOW_PROTOCOL_H
#define DEVICE_ROUTERS_SHOW_PROTOCOL_H

#include "protocol_tables.h"
#include "vantacore/dc_router_mgr.h"

namespace Tarsel {

/// What an operator asks to see: one protocol in one family.
struct ProtocolView {
  const char* tree;  // "ip" or "ip6"
  DcRouterMgr::ProtocolType type;
  int ipProto;
  RedistributionCode code;
  const ProtocolTable* tables[2];  // null when there is no second one
  /// Further lines about a router that is enabled; may be null.
  void (*showMore)(DcConsole* console, DcRouterBase& router);
};

/// Shows, VLAN by VLAN or for the one of `vrf <vid>`, the router's state, the rows that documents
/// configure with their state in the stack, rows in the stack that no document configures any more,
/// and the routes that redistribution hands to the protocol. Other words print how the command is
/// written. `argv[0]` is the protocol's word. The console stays the caller's.
void ShowProtocol(DcConsole* console, const ProtocolView& view, int argc, char** argv);

}  // namespace Tarsel

#endif
