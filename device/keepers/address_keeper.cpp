// A pass looks at all wanted addresses, and then at all rows of the stack for unwanted ones.
#include "address_keeper.h"

#include <algorithm>

#include "device/rows/standings.h"
#include "interface_calls.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace keepers {

using documents::Interface;
using documents::InterfaceKey;
using documents::Ip4Network;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;

namespace {

constexpr std::uint32_t TYPE_IP4 = 1;
constexpr std::uint32_t TYPE_IP6 = 2;
constexpr unsigned int IP4_BITS = 32;
// That are read at a time.
constexpr std::size_t ADDRESSES_OF_AN_INTERFACE = 16;

InterfaceKey KeyOf(const rows::AddressRow& row) { return {row.vlan, row.ifIndex}; }

rows::AddressRow RowOf(const InterfaceKey& key, const Ip4Addr& address) {
  rows::AddressRow row{key.first, key.second, false, {}};
  std::copy_n(address.GetBytes(), sizeof(std::uint32_t), row.address.begin());
  return row;
}

rows::AddressRow RowOf(const InterfaceKey& key, const Ip6Addr& address) {
  rows::AddressRow row{key.first, key.second, true, {}};
  std::copy_n(address.GetBytes(), row.address.size(), row.address.begin());
  return row;
}

rows::AddressRow RowOf(const amb_stubs_i3_ea& present) {
  const InterfaceKey key(Tarsel::VlanOfInstance(present.instance), present.if_index);
  return present.address_type == TYPE_IP6 ? RowOf(key, Ip6Addr::FromBytes(present.address))
                                          : RowOf(key, Ip4Addr::FromBytes(present.address));
}

Ip4Addr Ip4Of(const rows::AddressRow& row) { return Ip4Addr::FromBytes(row.address.data()); }
Ip6Addr Ip6Of(const rows::AddressRow& row) { return Ip6Addr::FromBytes(row.address.data()); }

// The length that the library sends for a mask.
unsigned int LengthOf(const Ip4Network& network) {
  return Tarsel::DcRouterMgr::bitcount(network.mask);
}

Ip4Addr MaskOf(unsigned int length) {
  return Ip4Addr(Ip6Prefix::s_masks32[std::min(length, IP4_BITS)]);
}

const Ip4Network* FindIp4(const Interface& interface, const Ip4Addr& address) {
  const auto found =
      std::find_if(interface.ip4.begin(), interface.ip4.end(),
                   [&](const Ip4Network& network) { return network.address == address; });
  return found != interface.ip4.end() ? &*found : nullptr;
}

const Ip6Prefix* FindIp6(const Interface& interface, const Ip6Addr& address) {
  const auto found =
      std::find_if(interface.ip6.begin(), interface.ip6.end(),
                   [&](const Ip6Prefix& prefix) { return prefix.GetAddress() == address; });
  return found != interface.ip6.end() ? &*found : nullptr;
}

// The length of the address if the interface has it.
std::optional<unsigned int> FindLength(const Interface* interface, const rows::AddressRow& row) {
  if (interface == nullptr) {
    return std::nullopt;
  }
  if (row.ip6) {
    const Ip6Prefix* const prefix = FindIp6(*interface, Ip6Of(row));
    return prefix != nullptr ? std::optional(prefix->GetLength()) : std::nullopt;
  }
  const Ip4Network* const network = FindIp4(*interface, Ip4Of(row));
  return network != nullptr ? std::optional(LengthOf(*network)) : std::nullopt;
}

// Whatever is told of another address, the registry takes for the interface's own.
void TellPrimary(const InterfaceKey& key, const Interface& interface, const Ip4Addr& told) {
  if (!interface.ip4.empty() && interface.ip4.front().address != told) {
    Tell(key, intent::AddIp4{interface.ip4.front()});
  }
}

rows::Standing::Kind Compare(const std::optional<amb_stubs_i3_ea>& present,
                             const std::optional<unsigned int>& length) {
  if (!length) {
    return present ? rows::Standing::Kind::UNWANTED : rows::Standing::Kind::EQUAL;
  }
  if (!present) {
    return rows::Standing::Kind::MISSING;
  }
  return present->prefix_length == *length ? rows::Standing::Kind::EQUAL
                                           : rows::Standing::Kind::OTHER;
}

}  // namespace

AddressKeeper::AddressKeeper(const rows::StackPort& port, const Interfaces& interfaces)
    : m_port(port), m_interfaces(interfaces) {}

std::size_t AddressKeeper::CountWanted() const { return m_interfaces.CountAddresses(); }

const Interface* AddressKeeper::FindInterface(const InterfaceKey& key) const {
  const auto found = m_interfaces.Get().find(key);
  return found != m_interfaces.Get().end() ? &found->second : nullptr;
}

rows::Standing AddressKeeper::Look(const rows::Row& row) const {
  const rows::AddressRow& address = std::get<rows::AddressRow>(row);
  return rows::StandingOf(
      m_port, row,
      Compare(m_port.FindAddress(address), FindLength(FindInterface(KeyOf(address)), address)));
}

void AddressKeeper::AskAgain(const rows::Row& row) {
  const rows::AddressRow& address = std::get<rows::AddressRow>(row);
  const InterfaceKey key = KeyOf(address);
  const Interface* const interface = FindInterface(key);
  const auto length = FindLength(interface, address);
  const auto present = m_port.FindAddress(address);
  if (length && address.ip6) {
    Tell(key, intent::AddIp6{Ip6Prefix(Ip6Of(address), *length)});
  } else if (length) {
    Tell(key, intent::AddIp4{*FindIp4(*interface, Ip4Of(address))});
    TellPrimary(key, *interface, Ip4Of(address));
  } else if (present && address.ip6) {
    Tell(key, intent::DeleteIp6{Ip6Prefix(Ip6Of(address), present->prefix_length)});
  } else if (present) {
    Tell(key, intent::DeleteIp4{{Ip4Of(address), MaskOf(present->prefix_length)}});
    if (interface != nullptr) {
      TellPrimary(key, *interface, Ip4Of(address));
    }
  }
}

void AddressKeeper::LookAtInterface(const InterfaceKey& key, const Found& found) const {
  if (const Interface* const interface = FindInterface(key)) {
    PassInterface(key, *interface, found);
  }
  for (const int family : {Tarsel::DcRtmMgr::PROTO_IPV4, Tarsel::DcRtmMgr::PROTO_IPV6}) {
    amb_stubs_i3_ea last = {};
    last.instance = Tarsel::DcRtmMgr::GetDclProtocolInstanceIdFromVlan(key.first, family);
    last.if_index = key.second;
    last.address_type = TYPE_IP4;  // which comes first
    const std::uint32_t instance = last.instance;
    for (bool isMore = true; isMore;) {
      const auto rows = m_port.ReadAddresses(&last, ADDRESSES_OF_AN_INTERFACE);
      isMore = rows.size() == ADDRESSES_OF_AN_INTERFACE;
      for (const amb_stubs_i3_ea& present : rows) {
        isMore = isMore && present.instance == instance && present.if_index == key.second;
        if (present.instance == instance && present.if_index == key.second) {
          TellIfUnwanted(present, found);
          last = present;
        }
      }
    }
  }
}

// ---- passes

void AddressKeeper::BeginPass() {
  m_isInWanted = true;
  m_lastWanted.reset();
  m_lastPresent.reset();
}

bool AddressKeeper::ContinuePass(std::size_t most, const Found& found) {
  const std::size_t seen = m_isInWanted ? PassWanted(most, found) : 0;
  return m_isInWanted || seen >= most || PassPresent(most - seen, found);
}

void AddressKeeper::TellIfNotEqual(const rows::AddressRow& row, rows::Standing::Kind kind,
                                   const Found& found) const {
  const rows::Standing standing = rows::StandingOf(m_port, row, kind);
  if (standing.kind != rows::Standing::Kind::EQUAL) {
    found(row, standing);
  }
}

void AddressKeeper::TellIfUnwanted(const amb_stubs_i3_ea& present, const Found& found) const {
  const rows::AddressRow row = RowOf(present);
  if (!FindLength(FindInterface(KeyOf(row)), row)) {
    TellIfNotEqual(row, rows::Standing::Kind::UNWANTED, found);
  }
}

std::size_t AddressKeeper::PassInterface(const InterfaceKey& key, const Interface& interface,
                                         const Found& found) const {
  for (const Ip4Network& network : interface.ip4) {
    const rows::AddressRow row = RowOf(key, network.address);
    TellIfNotEqual(row, Compare(m_port.FindAddress(row), LengthOf(network)), found);
  }
  for (const Ip6Prefix& prefix : interface.ip6) {
    const rows::AddressRow row = RowOf(key, prefix.GetAddress());
    TellIfNotEqual(row, Compare(m_port.FindAddress(row), prefix.GetLength()), found);
  }
  return std::max(interface.ip4.size(), std::size_t{1}) + interface.ip6.size();
}

std::size_t AddressKeeper::PassWanted(std::size_t most, const Found& found) {
  const documents::Interfaces& wanted = m_interfaces.Get();
  std::size_t seen = 0;
  auto next = m_lastWanted ? wanted.upper_bound(*m_lastWanted) : wanted.begin();
  for (; seen < most && next != wanted.end(); ++next) {
    seen += PassInterface(next->first, next->second, found);
    m_lastWanted = next->first;
  }
  m_isInWanted = next != wanted.end();
  return seen;
}

bool AddressKeeper::PassPresent(std::size_t most, const Found& found) {
  const auto rows = m_port.ReadAddresses(m_lastPresent ? &*m_lastPresent : nullptr, most);
  for (const amb_stubs_i3_ea& present : rows) {
    TellIfUnwanted(present, found);
  }
  if (rows.empty()) {
    return false;
  }
  m_lastPresent = rows.back();
  return true;
}

}  // namespace keepers
