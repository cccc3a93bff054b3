// The registry's requests to the stack: interface rows and address rows.
//
// Every row is queued in the serializer under the identifier that the stack gives it. An interface
// has a row in both protocol instances of its VLAN, an address in the one of its family.

#include <new>

#include "src/pipeline/queues.h"
#include "src/values/row_codes.h"
#include "stack/sms.h"
#include "tarsel/trace.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/mib_action.h"
#include "vantacore/serializer.h"

namespace Tarsel {

namespace {

// The IPv6 instance never sees an interface as unnumbered.
constexpr unsigned int FLAG_UNNUMBERED = 0x20;

void Enqueue(const MibOid& oid, MibAction* action) {
  Serializer* const serializer = CurrentSerializer();
  if (serializer == nullptr) {
    delete action;
    return;
  }
  serializer->Insert(oid, action);
}

void EnqueueInterface(unsigned short instance, unsigned int ifIndex, MibAction* action) {
  unsigned int oid[SMS_OID_MAX];
  const unsigned int length = sms_set_i3_ei_oid(oid, instance, ifIndex);
  Enqueue(MibOid(oid, length), action);
}

void EnqueueAddress(unsigned short instance, unsigned int ifIndex, const unsigned char* address,
                    int type, MibAction* action) {
  unsigned int oid[SMS_OID_MAX];
  const unsigned int length = sms_set_i3_ea_oid(oid, instance, ifIndex, address, type);
  Enqueue(MibOid(oid, length), action);
}

}  // namespace

void DcInterfaceMgr::SetInterfaceStatus(unsigned short vlan, unsigned int ifIndex, const char* name,
                                        unsigned int rowStatus, unsigned int operStatus,
                                        unsigned int ifAttr, unsigned int flags,
                                        unsigned int extra) {
  const unsigned short ip4 = DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, DcRtmMgr::PROTO_IPV4);
  const unsigned short ip6 = DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, DcRtmMgr::PROTO_IPV6);
  const long row = static_cast<long>(rowStatus);
  auto* ip4Action = new (std::nothrow)
      InterfaceAction(row, operStatus, ip4, ifIndex, name, ifAttr, static_cast<long>(flags), extra);
  auto* ip6Action =
      new (std::nothrow) InterfaceAction(row, operStatus, ip6, ifIndex, name, ifAttr,
                                         static_cast<long>(flags & ~FLAG_UNNUMBERED), extra);
  if (ip4Action == nullptr || ip6Action == nullptr) {
    TRACE(1, "Error in Allocating InterfaceAction\n");
    delete ip4Action;
    delete ip6Action;
    return;
  }
  EnqueueInterface(ip4, ifIndex, ip4Action);
  EnqueueInterface(ip6, ifIndex, ip6Action);
}

void DcInterfaceMgr::UpdateIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                                     const Ip4Addr& mask, unsigned int rowStatus) {
  auto* action =
      new (std::nothrow) IPv4AddressAction(static_cast<long>(rowStatus), vlan, ifIndex, addr, mask);
  if (action != nullptr) {
    EnqueueAddress(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, DcRtmMgr::PROTO_IPV4), ifIndex,
                   addr.GetBytes(), TYPE_IPV4, action);
  }
}

void DcInterfaceMgr::UpdateIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip6Addr& addr,
                                     unsigned int prefixLen, unsigned int rowStatus) {
  auto* action = new (std::nothrow)
      IPv6AddressAction(static_cast<long>(rowStatus), vlan, ifIndex, addr, prefixLen);
  if (action != nullptr) {
    EnqueueAddress(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, DcRtmMgr::PROTO_IPV6), ifIndex,
                   addr.GetBytes(), TYPE_IPV6, action);
  }
}

}  // namespace Tarsel
