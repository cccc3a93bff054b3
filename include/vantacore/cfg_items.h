// The two kinds of configuration items: static routes and redistribution rules.
#ifndef VANTACORE_CFG_ITEMS_H
#define VANTACORE_CFG_ITEMS_H

#include <cstdint>

#include "vantacore/cfg_sched.h"
#include "vantacore/export.h"
#include "vantacore/mib_oid.h"

namespace Tarsel {

/// Redistribution rules in the scheduler.
constexpr std::uint32_t ROW_TYPE_REDISTRIBUTION = 0x3D000002;
/// Static routes in the scheduler.
constexpr std::uint32_t ROW_TYPE_STATIC_ROUTE = 0x3D000003;

/// The path type of a static route.
constexpr std::int32_t PATH_TYPE_STATIC = 0x30000;
/// RIP as a destination of redistribution. Any code other than those of RIP and OSPF means BGP.
constexpr std::int32_t PROTOCOL_CODE_RIP = 0x80000;
/// OSPF as a destination.
constexpr std::int32_t PROTOCOL_CODE_OSPF = 0xD0000;

/// One static route of one VLAN. It waits until the RTM instance of its address family is ready.
/// The first call of GetOid asks the stack for the row's identifier; later calls return the same
/// one.
class VANTACORE_API StaticRouteItem : public CfgItem {
 public:
  /// `type` 1 is IPv4 (4 bytes of each address are copied), anything else IPv6 (16 bytes). A null
  /// address is all zero. `extra` is stored and not used.
  StaticRouteItem(unsigned int vlan, int type, int rowStatus, int adminStatus,
                  const unsigned char* dest, int prefixLen, const unsigned char* nexthop,
                  unsigned int ifIndex, unsigned int metric, int pathType, unsigned int extra);

  bool CfgListReady() override;
  bool CfgItemReady() override;
  void PrintItem(DcConsole* console) const override;
  void Send() override;
  const MibOid& GetOid() override;

 private:
  unsigned short GetInstance() const;

  std::int32_t m_type;
  std::uint32_t m_vlan;
  std::int32_t m_rowStatus;
  std::int32_t m_adminStatus;
  unsigned char m_dest[16];
  std::int32_t m_prefixLen;
  unsigned char m_nexthop[16];
  std::uint32_t m_ifIndex;
  std::uint32_t m_metric;
  std::int32_t m_pathType;
  std::uint32_t m_extra;
  MibOid m_oid;
};

/// One redistribution rule of one VLAN. It waits until its RTM instance is ready. If the router of
/// its destination is not ready when a pass then examines the rule, the rule is dropped. The first
/// call of GetOid asks the stack for the row's identifier and keeps it; Send asks the stack anew.
class VANTACORE_API RouteRedistributeItem : public CfgItem {
 public:
  /// All numbers are 0, except the instance, which is 1.
  RouteRedistributeItem();
  /// `vlan` may carry the IPv6 instance bit.
  RouteRedistributeItem(int rowStatus, int adminStatus, int source, int destination, int priority,
                        unsigned int vlan, unsigned int extra);

  bool CfgListReady() override;
  bool CfgItemReady() override;
  void PrintItem(DcConsole* console) const override;
  void Send() override;
  const MibOid& GetOid() override;
  bool RemoveOnNotReady() const override;

 private:
  std::int32_t m_rowStatus;
  std::int32_t m_adminStatus;
  std::int32_t m_source;
  std::int32_t m_destination;
  std::int32_t m_priority;
  std::uint32_t m_instance;
  std::uint32_t m_extra;
  MibOid m_oid;
};

}  // namespace Tarsel

#endif
