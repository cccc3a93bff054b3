// The five kinds of row writes: plain records, each with the one stack call that writes its row.
#include "vantacore/mib_action.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "src/values/instance.h"
#include "src/values/mask.h"
#include "src/values/row_codes.h"
#include "stack/sms.h"
#include "tarsel/trace.h"

namespace Tarsel {

namespace {

unsigned short InstanceOf(std::uint32_t vlan, bool isIp6) {
  return InstanceOfVlan(static_cast<unsigned short>(vlan), isIp6);
}

// The log shows protocol codes with %p, which wants pointers.
const void* AsPointer(std::int32_t code) {
  return reinterpret_cast<const void*>(
      static_cast<std::uintptr_t>(static_cast<std::uint32_t>(code)));
}

}  // namespace

MibAction::~MibAction() = default;

RouteAction::RouteAction(CfgRouteEntry& entry, unsigned long vlan)
    : m_entry(entry), m_vlan(static_cast<std::uint32_t>(vlan)) {
  // Of an IPv4 address only the first four bytes mean anything.
  const unsigned int length = entry.GetAddressLength();
  std::fill(m_entry.destination + length, std::end(m_entry.destination), 0);
  std::fill(m_entry.gateway + length, std::end(m_entry.gateway), 0);
}

void RouteAction::IssueReq(bool shared) {
  const unsigned short instance = InstanceOf(m_vlan, m_entry.type != TYPE_IPV4);
  const string destination = m_entry.Format(m_entry.destination);
  const string gateway = m_entry.Format(m_entry.gateway);
  TRACE(
      5,
      "Vlan = %d if_index = %u ipaddr = %s/%lu gw = %s metric = %d path_type = %d row status = %d "
      "admin_status = %d\n",
      static_cast<int>(m_vlan), m_entry.ifIndex, destination.c_str(),
      static_cast<unsigned long>(m_entry.prefixLen), gateway.c_str(), m_entry.metric,
      m_entry.pathType, m_entry.rowStatus, m_entry.adminStatus);
  sms_update_route(shared ? 0 : 1, m_entry.rowStatus, m_entry.adminStatus, m_entry.type,
                   m_entry.destination, m_entry.prefixLen, m_entry.gateway, m_entry.pathType,
                   m_entry.ifIndex, instance, m_entry.metric);
}

InterfaceAction::InterfaceAction() : InterfaceAction(0, 0, 0, 0, "", 0, 0, 0) {}

InterfaceAction::InterfaceAction(long rowStatus, unsigned int operStatus, unsigned int vlan,
                                 unsigned int ifIndex, const char* name, unsigned int ifAttr,
                                 long flags, unsigned int extra)
    : m_rowStatus(static_cast<std::int32_t>(rowStatus)),
      m_operStatus(operStatus),
      m_vlan(vlan),
      m_ifIndex(ifIndex),
      m_name(),
      m_ifAttr(ifAttr),
      m_flags(static_cast<std::uint32_t>(flags)),
      m_extra(extra) {
  if (name != nullptr) {
    std::copy_n(name, strnlen(name, NAME_SIZE - 1), m_name);
  }
}

void InterfaceAction::IssueReq(bool shared) {
  TRACE(5,
        "InterfaceAction: shared_context = %d row_status = %ld oper_status = %d vlan = %d "
        "if_index = %d if_name = %s\n",
        shared, static_cast<long>(m_rowStatus), static_cast<int>(m_operStatus),
        static_cast<int>(m_vlan), static_cast<int>(m_ifIndex), m_name);
  const auto request = shared ? sms_bld_amb_test_i3_ei : sms_act_interface;
  request(m_rowStatus, m_operStatus, m_vlan, m_ifIndex, m_name, m_ifAttr, m_flags, m_extra);
}

IPv4AddressAction::IPv4AddressAction() : IPv4AddressAction(0, 0, 0, Ip4Addr(), Ip4Addr()) {}

IPv4AddressAction::IPv4AddressAction(long rowStatus, unsigned int vlan, unsigned int ifIndex,
                                     const Ip4Addr& address, Ip4Addr mask)
    : m_rowStatus(static_cast<std::int32_t>(rowStatus)),
      m_vlan(vlan),
      m_ifIndex(ifIndex),
      m_address(address),
      m_mask(mask) {}

void IPv4AddressAction::IssueReq(bool shared) {
  char address[16] = "";
  Ip4Addr::Uint32ToString(m_address.GetValue(), address, sizeof address);
  TRACE(
      5,
      "AddressAction: shared_context = %d row_status = %ld vlan = %d if_index = %d address = %s\n",
      shared, static_cast<long>(m_rowStatus), static_cast<int>(m_vlan), static_cast<int>(m_ifIndex),
      address);
  sms_act_ipaddr(m_rowStatus, m_vlan, TYPE_IPV4, m_ifIndex, m_address.GetBytes(),
                 CountBits(m_mask));
}

IPv6AddressAction::IPv6AddressAction() : IPv6AddressAction(0, 0, 0, Ip6Addr(), 0) {}

IPv6AddressAction::IPv6AddressAction(long rowStatus, unsigned int vlan, unsigned int ifIndex,
                                     const Ip6Addr& address, unsigned int prefixLen)
    : m_rowStatus(static_cast<std::int32_t>(rowStatus)),
      m_vlan(vlan),
      m_ifIndex(ifIndex),
      m_address(address),
      m_prefixLen(prefixLen) {}

// Unlike the other four it writes no message: a device may have many IPv6 addresses.
void IPv6AddressAction::IssueReq(bool) {
  sms_act_ipaddr(m_rowStatus, InstanceOf(m_vlan, true), TYPE_IPV6, m_ifIndex, m_address.GetBytes(),
                 m_prefixLen);
}

RedistAction::RedistAction() : RedistAction(0, 0, 0, 0, 0, 1, 0) {}

RedistAction::RedistAction(int rowStatus, int adminStatus, int source, int destination,
                           int priority, unsigned int vlan, unsigned int extra)
    : m_rowStatus(rowStatus),
      m_adminStatus(adminStatus),
      m_source(source),
      m_destination(destination),
      m_priority(priority),
      m_vlan(vlan),
      m_extra(extra) {}

void RedistAction::IssueReq(bool shared) {
  TRACE(5,
        "Redist context = %d vlan = %u dest = 0x%p src = 0x%p pri = 0x%p row_status = %d "
        "admin_status = %d\n",
        shared, m_vlan, AsPointer(m_destination), AsPointer(m_source), AsPointer(m_priority),
        m_rowStatus, m_adminStatus);
  const auto request = shared ? sms_bld_amb_test_cipr_redist : sms_act_cipr_redist;
  request(m_rowStatus, m_adminStatus, m_source, m_destination, m_vlan, 0);
}

}  // namespace Tarsel
