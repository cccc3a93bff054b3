// What the protocols' console handlers print.
#ifndef DEVICE_ROUTERS_SHOW_PROTOCOL_H
#define DEVICE_ROUTERS_SHOW_PROTOCOL_H

#include "protocol_tables.h"
#include "vantacore/dc_router_mgr.h"

namespace routers {

/// What one console word shows: one protocol in one family.
struct ProtocolView {
  const char* tree;  // "ip" or "ip6"
  Tarsel::DcRouterMgr::ProtocolType type;
  int ipProto;
  RedistributionCode code;
  const ProtocolTable* tables[2];  // the second one may be null
  /// Further lines about a router that is enabled; may be null.
  void (*showMore)(Tarsel::DcConsole* console, Tarsel::DcRouterBase& router);
};

/// Shows for each VLAN, or for the one of `vrf <vid>`: the router's state; the rows that documents
/// configure, with their state in the stack; rows in the stack that no document configures any
/// more; and the routes that redistribution hands to the protocol. For other words it prints the
/// usage. `argv[0]` is the protocol's word. The caller keeps the console.
void ShowProtocol(Tarsel::DcConsole* console, const ProtocolView& view, int argc, char** argv);

}  // namespace routers

#endif
