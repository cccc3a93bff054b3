#include "leaving_rows.h"

#include <algorithm>

#include "vantacore/dc_rtm_mgr.h"
#include "vlans.h"

namespace views {

namespace {

constexpr std::uint32_t TYPE_IP6 = 2;

bool IsIp6(std::uint32_t instance) { return (instance & Tarsel::DcRtmMgr::IP6_INSTANCE_BIT) != 0; }

rows::AddressRow RowOf(const amb_stubs_i3_ea& present) {
  const bool ip6 = present.address_type == TYPE_IP6;
  rows::AddressRow row{Tarsel::VlanOfInstance(present.instance), present.if_index, ip6, {}};
  std::copy_n(std::begin(present.address), ip6 ? 16 : 4, row.address.begin());
  return row;
}

}  // namespace

bool LeavingRows::Continue(std::size_t most, const Found& found) {
  bool isMore = false;
  switch (m_stage) {
    case Stage::INSTANCES:
      isMore = FindInstances(most, found);
      break;
    case Stage::INTERFACES:
      isMore = FindInterfaces(most, found);
      break;
    case Stage::ADDRESSES:
      isMore = FindAddresses(most, found);
      break;
    case Stage::END:
      return false;
  }
  m_stage = isMore ? m_stage : static_cast<Stage>(static_cast<int>(m_stage) + 1);
  return m_stage != Stage::END;
}

bool LeavingRows::FindInstances(std::size_t most, const Found& found) {
  const auto all = m_sources.stack.ReadInstances(m_lastInstance ? &*m_lastInstance : nullptr, most);
  for (const rows::StackInstance& present : all) {
    m_lastInstance = present;
    if (!IsVlanThere(present.row.vlan)) {
      found(present.row);
    }
  }
  return !all.empty();
}

// One that is in both instances of its VLAN is told with its IPv4 row.
bool LeavingRows::FindInterfaces(std::size_t most, const Found& found) {
  const auto all =
      m_sources.stack.ReadInterfaces(m_lastInterface ? &*m_lastInterface : nullptr, most);
  for (const amb_stubs_i3_ei& present : all) {
    m_lastInterface = present;
    const rows::InterfaceRow row{Tarsel::VlanOfInstance(present.instance), present.if_index};
    const bool isTold =
        IsIp6(present.instance) && m_sources.stack.FindInterface(row.vlan, row.ifIndex);
    if (!isTold && m_sources.interfaces.Get().count({row.vlan, row.ifIndex}) == 0) {
      found(row);
    }
  }
  return !all.empty();
}

bool LeavingRows::FindAddresses(std::size_t most, const Found& found) {
  const auto all = m_sources.stack.ReadAddresses(m_lastAddress ? &*m_lastAddress : nullptr, most);
  for (const amb_stubs_i3_ea& present : all) {
    m_lastAddress = present;
    const rows::AddressRow row = RowOf(present);
    if (!IsWanted(row)) {
      found(row);
    }
  }
  return !all.empty();
}

bool LeavingRows::IsWanted(const rows::AddressRow& row) const {
  const auto found = m_sources.interfaces.Get().find({row.vlan, row.ifIndex});
  if (found == m_sources.interfaces.Get().end()) {
    return false;
  }
  const documents::Interface& interface = found->second;
  if (!row.ip6) {
    const Tarsel::Ip4Addr address = Tarsel::Ip4Addr::FromBytes(row.address.data());
    return std::any_of(
        interface.ip4.begin(), interface.ip4.end(),
        [&](const documents::Ip4Network& network) { return network.address == address; });
  }
  const Tarsel::Ip6Addr address = Tarsel::Ip6Addr::FromBytes(row.address.data());
  return std::any_of(
      interface.ip6.begin(), interface.ip6.end(),
      [&](const Tarsel::Ip6Prefix& prefix) { return prefix.GetAddress() == address; });
}

}  // namespace views
