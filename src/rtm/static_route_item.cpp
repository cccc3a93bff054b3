// One static route on its way to the stack. How often it is sent again, and when that ends, is
// decided by CfgSched::Update (src/pipeline/cfg_sched.cpp); after which answers, by requests.cpp.

#include <cstring>
#include <new>

#include "host/dc_console.h"
#include "item_identifier.h"
#include "src/pipeline/queues.h"
#include "src/values/row_codes.h"
#include "stack/sms.h"
#include "vantacore/cfg_items.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/mib_action.h"
#include "vantacore/serializer.h"

namespace Tarsel {

namespace {

// An IPv4 route's identifier has 13 sub-identifiers. An IPv6 route's has 37: they reach beyond the
// head.
static_assert(IsFetchedAhead<StaticRouteItem>(13));

// A null address leaves `to` all zero, as it is: a stack may answer without a next hop.
void CopyAddress(unsigned char* to, const unsigned char* from, int type) {
  if (from != nullptr) {
    std::memcpy(to, from, type == TYPE_IPV4 ? 4 : 16);
  }
}

char* AddressToStr(char* buffer, const unsigned char* address, int type) {
  return type == TYPE_IPV4 ? Ip4AddrToStr(buffer, address) : Ip6AddrToStr(buffer, address);
}

}  // namespace

StaticRouteItem::StaticRouteItem(unsigned int vlan, int type, int rowStatus, int adminStatus,
                                 const unsigned char* dest, int prefixLen,
                                 const unsigned char* nexthop, unsigned int ifIndex,
                                 unsigned int metric, int pathType, unsigned int extra)
    : m_type(type),
      m_vlan(vlan),
      m_rowStatus(rowStatus),
      m_adminStatus(adminStatus),
      m_dest(),
      m_prefixLen(prefixLen),
      m_nexthop(),
      m_ifIndex(ifIndex),
      m_metric(metric),
      m_pathType(pathType),
      m_extra(extra) {
  CopyAddress(m_dest, dest, type);
  CopyAddress(m_nexthop, nexthop, type);
}

unsigned short StaticRouteItem::GetInstance() const {
  return DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
      static_cast<unsigned short>(m_vlan),
      m_type == TYPE_IPV4 ? DcRtmMgr::PROTO_IPV4 : DcRtmMgr::PROTO_IPV6);
}

bool StaticRouteItem::CfgListReady() {
  const DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  return rtm != nullptr && rtm->IsRtmReady(GetInstance());
}

bool StaticRouteItem::CfgItemReady() { return CfgListReady(); }

// Nothing that goes into the identifier ever changes, so it is built once.
const MibOid& StaticRouteItem::GetOid() {
  if (!IsBuilt(m_oid)) {
    unsigned int subIds[SMS_OID_MAX];
    const unsigned int count =
        sms_get_route_oid(subIds, GetInstance(), m_type, m_dest,
                          static_cast<unsigned int>(m_prefixLen), m_nexthop, m_ifIndex);
    m_oid.SetOid(subIds, count);
  }
  return m_oid;
}

void StaticRouteItem::Send() {
  CfgRouteEntry entry;
  entry.type = m_type;
  CopyAddress(entry.destination, m_dest, m_type);
  CopyAddress(entry.gateway, m_nexthop, m_type);
  entry.prefixLen = static_cast<std::uint32_t>(m_prefixLen);
  entry.ifIndex = m_ifIndex;
  entry.metric = static_cast<std::uint16_t>(m_metric);
  entry.pathType = m_pathType;
  entry.rowStatus = m_rowStatus;
  entry.adminStatus = m_adminStatus;
  MibAction* action = new (std::nothrow) RouteAction(entry, m_vlan);
  if (action == nullptr) {
    return;
  }
  CurrentSerializer()->Insert(GetOid(), action);
  SetActionState(ISSUED);
}

void StaticRouteItem::PrintItem(DcConsole* console) const {
  char dest[48];
  char nexthop[48];
  console->Print(
      "StaticRouteItem: vrf(%d) Dest(%s/%d) NextHop(%s) Intf(%d) metric(%d) Type(%s) RowStatus(%d) "
      "AdminStatus(%d) ActionState(%s) ReasonCode(%d)\n",
      static_cast<int>(m_vlan), AddressToStr(dest, m_dest, m_type), m_prefixLen,
      AddressToStr(nexthop, m_nexthop, m_type), static_cast<int>(m_ifIndex),
      static_cast<int>(m_metric), m_pathType == PATH_TYPE_STATIC ? "Static" : "Other", m_rowStatus,
      m_adminStatus, StateText(GetActionState()), static_cast<int>(GetReasonCode()));
}

}  // namespace Tarsel
