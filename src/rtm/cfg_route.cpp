// The table of configured static routes.
//
// Only the first entry is ever looked up, so a route that is a later entry is appended again and
// may be listed several times. The count is that of additions; deleting does not change it. Users
// of the table depend on both.

#include "vantacore/cfg_route.h"

#include <cstring>

#include "host/dc_console.h"
#include "src/values/row_codes.h"
#include "tarsel/trace.h"
#include "vantacore/config_parser.h"

namespace Tarsel {

namespace {

bool IsSameRoute(const CfgRouteEntry& entry, int type, const void* dest, unsigned int prefixLen,
                 const void* gateway) {
  const unsigned int length = entry.GetAddressLength();
  return entry.type == type && entry.prefixLen == prefixLen &&
         std::memcmp(entry.destination, dest, length) == 0 &&
         std::memcmp(entry.gateway, gateway, length) == 0;
}

}  // namespace

string CfgRouteEntry::Format(const void* address) const {
  return type == TYPE_IPV4 ? FormatIp4Addr(address) : FormatIp6Addr(address);
}

CfgRoute::CfgRoute(unsigned short vlan) : m_count(0), m_vlan(vlan) {}

CfgRoute::~CfgRoute() { CleanList(); }

CfgRouteEntry* CfgRoute::GetCfgRouteEntry(int type, const void* dest, unsigned int prefixLen,
                                          const void* gateway) {
  if (m_entries.empty() || !IsSameRoute(m_entries.front(), type, dest, prefixLen, gateway)) {
    return nullptr;
  }
  return &m_entries.front();
}

bool CfgRoute::AddEntry(int type, const void* dest, unsigned int prefixLen, const void* gateway,
                        unsigned long ifIndex, unsigned short other, unsigned short metric,
                        long pathType, long rowStatus, long adminStatus) {
  CfgRouteEntry* entry = GetCfgRouteEntry(type, dest, prefixLen, gateway);
  const bool isNew = entry == nullptr;
  if (isNew) {
    m_entries.emplace_back();
    entry = &m_entries.back();
    entry->type = type;
    std::memcpy(entry->destination, dest, entry->GetAddressLength());
    std::memcpy(entry->gateway, gateway, entry->GetAddressLength());
    entry->prefixLen = prefixLen;
    ++m_count;
  }
  entry->ifIndex = static_cast<std::uint32_t>(ifIndex);
  entry->metric = metric;
  entry->other = other;
  entry->pathType = static_cast<std::int32_t>(pathType);
  entry->rowStatus = static_cast<std::int32_t>(rowStatus);
  entry->adminStatus = static_cast<std::int32_t>(adminStatus);
  return isNew;
}

bool CfgRoute::DelEntry(int type, const void* dest, unsigned int prefixLen, const void* gateway,
                        unsigned long ifIndex) {
  if (m_entries.empty()) {
    return true;
  }
  // The addresses may be those of an entry that goes, so they are copied before any does.
  CfgRouteEntry wanted;
  wanted.type = type;
  std::memcpy(wanted.destination, dest, wanted.GetAddressLength());
  std::memcpy(wanted.gateway, gateway, wanted.GetAddressLength());
  m_entries.remove_if([&](const CfgRouteEntry& entry) {
    return IsSameRoute(entry, type, wanted.destination, prefixLen, wanted.gateway) &&
           entry.ifIndex == static_cast<std::uint32_t>(ifIndex);
  });
  return true;
}

void CfgRoute::IterateAll(void (*callback)(CfgRouteEntry*, void*), void* context) {
  for (CfgRouteEntry& entry : m_entries) {
    callback(&entry, context);
  }
}

void CfgRoute::CleanList() {
  m_entries.clear();
  m_count = 0;
}

void CfgRoute::PrintTable(DcConsole* console) {
  console->Print("VLAN ID = %d\n", static_cast<int>(m_vlan));
  if (m_count != 0) {
    console->Print("%-4s %-15s %-15s %-15s %-5s %-4s\n", "VLAN", "Network", "Netmask", "Nexthop",
                   "IfIndex", "Cost");
  }
  for (const CfgRouteEntry& entry : m_entries) {
    console->Print("%4u %-15s/%03u %-15s %-5u %4u\n", m_vlan,
                   entry.Format(entry.destination).c_str(), entry.prefixLen,
                   entry.Format(entry.gateway).c_str(), entry.ifIndex, entry.metric);
  }
  console->Print("\nNumber of Entries: %u\n\n", m_count);
}

void CfgRoute::PrintList() {
  TRACE(0, "\nVLAN ID = %d\n", static_cast<int>(m_vlan));
  for (const CfgRouteEntry& entry : m_entries) {
    TRACE(0, "\t%u\t%s/%lu\t%s\t%u\t%u\n", m_vlan, entry.Format(entry.destination).c_str(),
          static_cast<unsigned long>(entry.prefixLen), entry.Format(entry.gateway).c_str(),
          entry.ifIndex, entry.metric);
  }
  TRACE(0, "\nNumber of Entries: %u\n", m_count);
}

}  // namespace Tarsel
