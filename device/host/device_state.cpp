#include "device_state.h"

#include <algorithm>

#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"

namespace host {

using Tarsel::DcInterfaceMgr;
using Tarsel::DcRouterMgr;

namespace {

constexpr unsigned int STATUS_UP = 1;
constexpr unsigned int STATUS_DOWN = 2;

constexpr std::uint32_t FLAG_LOOPBACK = 2;

// The numbers that network management gives to interface types.
constexpr unsigned int TYPE_ETHERNET = 6;
constexpr unsigned int TYPE_LOOPBACK = 24;

unsigned int StatusOf(const Interface& interface) { return interface.up ? STATUS_UP : STATUS_DOWN; }

DcInterfaceMgr::IntfType TypeOf(const Interface& interface) {
  return static_cast<DcInterfaceMgr::IntfType>(
      (interface.flags & FLAG_LOOPBACK) != 0 ? TYPE_LOOPBACK : TYPE_ETHERNET);
}

void AddInterface(const InterfaceKey& key, const Interface& interface) {
  DcInterfaceMgr::GetInstance()->AddInterface(key.first, key.second, interface.name.c_str(),
                                              TypeOf(interface), interface.flags, interface.mtu,
                                              StatusOf(interface));
}

void TellStatus(const InterfaceKey& key, const Interface& interface) {
  DcRouterMgr::GetInstance()->ProcessInterfaceStatusChange(
      key.first, key.second, static_cast<unsigned short>(StatusOf(interface)));
}

void TellRegistryStatus(const InterfaceKey& key, const Interface& interface) {
  const auto set =
      interface.up ? &DcInterfaceMgr::SetInterfaceUp : &DcInterfaceMgr::SetInterfaceDown;
  (DcInterfaceMgr::GetInstance()->*set)(key.first, key.second, interface.name.c_str());
}

// A VLAN that is still to come is told by AnnounceTo.
bool IsThere(unsigned short vlan) {
  return DcRouterMgr::GetInstance()->GetVlans().count(vlan) != 0;
}

void TellJoined(const InterfaceKey& key, bool joined) {
  const auto tell = joined ? &DcRouterMgr::JoinNetwork : &DcRouterMgr::LeaveNetwork;
  (DcRouterMgr::GetInstance()->*tell)(key.first, key.second);
}

void TellAddress(const InterfaceKey& key, const Tarsel::Ip4Addr& address) {
  DcRouterMgr::GetInstance()->ProcessIPAddressChange(key.first, key.second, address);
}

}  // namespace

void DeviceState::Apply(const DeviceDocument& wanted, const std::set<unsigned short>& vlans) {
  // The registry keeps the name that an interface came with, so one with a new name goes and comes
  // again. All go before any comes: a name may pass from one interface to another.
  for (const auto& [key, interface] : m_interfaces) {
    const auto kept = wanted.interfaces.find(key);
    if (kept == wanted.interfaces.end() || kept->second.name != interface.name) {
      Remove(key, interface);
    }
  }
  for (const auto& [key, interface] : wanted.interfaces) {
    const auto known = m_interfaces.find(key);
    if (known == m_interfaces.end() || known->second.name != interface.name) {
      Add(key, interface);
    } else {
      Change(key, known->second, interface);
    }
  }
  m_interfaces = wanted.interfaces;
  m_indexes.clear();
  for (const auto& [key, interface] : m_interfaces) {
    m_indexes.emplace(std::pair(key.first, interface.name), key.second);
  }
  for (const auto& [vlan, name] : wanted.primaries) {
    SetPrimary(vlan, name);
  }
  for (const unsigned short vlan : vlans) {
    if (wanted.primaries.count(vlan) == 0) {
      SetPrimary(vlan, FirstWithIp4(vlan));
    }
  }
}

// The stack asks for a new VLAN's primary interface, and the library counts on there being one.
std::string DeviceState::FirstWithIp4(unsigned short vlan) const {
  const auto end = m_interfaces.end();
  for (auto i = m_interfaces.lower_bound({vlan, 0}); i != end && i->first.first == vlan; ++i) {
    if (i->second.ip4) {
      return i->second.name;
    }
  }
  return "lo";
}

void DeviceState::SetPrimary(unsigned short vlan, const std::string& name) {
  std::string& known = m_primaries[vlan];
  if (known != name) {
    DcInterfaceMgr::GetInstance()->SetPrimaryInterface(vlan, name.c_str());
    known = name;
  }
}

void DeviceState::Add(const InterfaceKey& key, const Interface& interface) {
  AddInterface(key, interface);
  TellStatus(key, interface);
  ChangeIp4(key, std::nullopt, interface.ip4);
  ChangeIp6(key, {}, interface.ip6);
  if (interface.joined && IsThere(key.first)) {
    TellJoined(key, true);
  }
}

void DeviceState::Remove(const InterfaceKey& key, const Interface& interface) {
  ChangeIp6(key, interface.ip6, {});
  ChangeIp4(key, interface.ip4, std::nullopt);
  Interface down = interface;
  down.up = false;
  TellStatus(key, down);
  DcInterfaceMgr::GetInstance()->RemoveInterface(key.first, key.second, interface.name.c_str());
}

void DeviceState::Change(const InterfaceKey& key, const Interface& from, const Interface& to) {
  if (from.flags != to.flags || from.mtu != to.mtu) {
    AddInterface(key, to);
  } else if (from.up != to.up) {
    TellRegistryStatus(key, to);
  }
  if (from.up != to.up) {
    TellStatus(key, to);
  }
  ChangeIp4(key, from.ip4, to.ip4);
  ChangeIp6(key, from.ip6, to.ip6);
  if (from.joined != to.joined && IsThere(key.first)) {
    TellJoined(key, to.joined);
  }
}

void DeviceState::ChangeIp4(const InterfaceKey& key, const std::optional<Ip4Network>& from,
                            const std::optional<Ip4Network>& to) {
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  if (from && to) {
    if (from->address != to->address || from->mask != to->mask) {
      registry->ChangeIpAddress(key.first, key.second, to->address, to->mask);
    }
  } else if (to) {
    registry->AddIpAddress(key.first, key.second, to->address, to->mask);
    TellAddress(key, to->address);
  } else if (from) {
    registry->DeleteIpAddress(key.first, key.second, from->address, from->mask);
    TellAddress(key, Tarsel::IP4_ANY);
  }
}

void DeviceState::ChangeIp6(const InterfaceKey& key, const std::vector<Tarsel::Ip6Prefix>& from,
                            const std::vector<Tarsel::Ip6Prefix>& to) {
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  const Ip6Prefixes before(from.begin(), from.end());
  const Ip6Prefixes after(to.begin(), to.end());
  for (const Tarsel::Ip6Prefix& prefix : from) {
    if (after.count(prefix) == 0) {
      registry->DeleteIpAddress(key.first, key.second, prefix.GetAddress(), prefix.GetLength());
    }
  }
  for (const Tarsel::Ip6Prefix& prefix : to) {
    if (before.count(prefix) == 0) {
      registry->AddIpAddress(key.first, key.second, prefix.GetAddress(), prefix.GetLength());
    }
  }
}

void DeviceState::SetStatus(const InterfaceKey& key, bool up) {
  Interface& interface = m_interfaces.at(key);
  interface.up = up;
  TellRegistryStatus(key, interface);
  TellStatus(key, interface);
}

void DeviceState::SetJoined(const InterfaceKey& key, bool joined) {
  m_interfaces.at(key).joined = joined;
  TellJoined(key, joined);
}

void DeviceState::AddAddress(const InterfaceKey& key, const Ip4Network& network) {
  m_interfaces.at(key).ip4 = network;
  DcInterfaceMgr::GetInstance()->AddIpAddress(key.first, key.second, network.address, network.mask);
  TellAddress(key, network.address);
}

void DeviceState::ChangeAddress(const InterfaceKey& key, const Ip4Network& network) {
  m_interfaces.at(key).ip4 = network;
  DcInterfaceMgr::GetInstance()->ChangeIpAddress(key.first, key.second, network.address,
                                                 network.mask);
}

void DeviceState::DeleteAddress(const InterfaceKey& key, const Ip4Network& network) {
  m_interfaces.at(key).ip4.reset();
  DcInterfaceMgr::GetInstance()->DeleteIpAddress(key.first, key.second, network.address,
                                                 network.mask);
  TellAddress(key, Tarsel::IP4_ANY);
}

void DeviceState::AddAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix) {
  Forget(key, prefix.GetAddress());
  m_interfaces.at(key).ip6.push_back(prefix);
  DcInterfaceMgr::GetInstance()->AddIpAddress(key.first, key.second, prefix.GetAddress(),
                                              prefix.GetLength());
}

void DeviceState::DeleteAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix) {
  Forget(key, prefix.GetAddress());
  DcInterfaceMgr::GetInstance()->DeleteIpAddress(key.first, key.second, prefix.GetAddress(),
                                                 prefix.GetLength());
}

// The length is no part of an address's identity.
void DeviceState::Forget(const InterfaceKey& key, const Tarsel::Ip6Addr& address) {
  std::vector<Tarsel::Ip6Prefix>& prefixes = m_interfaces.at(key).ip6;
  prefixes.erase(std::remove_if(prefixes.begin(), prefixes.end(),
                                [&](const auto& prefix) { return prefix.GetAddress() == address; }),
                 prefixes.end());
}

void DeviceState::BringBack() const {
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  for (const auto& [key, interface] : m_interfaces) {
    AddInterface(key, interface);
    if (interface.ip4) {
      registry->AddIpAddress(key.first, key.second, interface.ip4->address, interface.ip4->mask);
    }
    for (const Tarsel::Ip6Prefix& prefix : interface.ip6) {
      registry->AddIpAddress(key.first, key.second, prefix.GetAddress(), prefix.GetLength());
    }
  }
  for (const auto& [vlan, name] : m_primaries) {
    registry->SetPrimaryInterface(vlan, name.c_str());
  }
}

void DeviceState::AnnounceTo(unsigned short vlan) const {
  const auto end = m_interfaces.end();
  for (auto i = m_interfaces.lower_bound({vlan, 0}); i != end && i->first.first == vlan; ++i) {
    TellStatus(i->first, i->second);
    if (i->second.ip4) {
      TellAddress(i->first, i->second.ip4->address);
    }
    if (i->second.joined) {
      TellJoined(i->first, true);
    }
  }
}

std::optional<std::uint32_t> DeviceState::IndexOf(unsigned short vlan,
                                                  const std::string& name) const {
  const auto found = m_indexes.find({vlan, name});
  return found == m_indexes.end() ? std::nullopt : std::optional(found->second);
}

bool DeviceState::IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const {
  const auto found = m_interfaces.find({vlan, ifIndex});
  return found != m_interfaces.end() && found->second.up;
}

}  // namespace host
