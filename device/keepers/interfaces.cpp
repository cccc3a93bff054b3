#include "interfaces.h"

#include <algorithm>
#include <map>
#include <utility>

#include "interface_calls.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"

namespace keepers {

using documents::Interface;
using documents::InterfaceKey;
using documents::Ip4Network;
using Tarsel::DcInterfaceMgr;
using Tarsel::DcRouterMgr;

namespace {

// A VLAN that is still to come is told by AnnounceTo; of a remote that joins there the library
// would complain.
bool IsTooEarly(const intent::InterfaceStep& step) {
  return std::holds_alternative<intent::TellJoined>(step.action) &&
         DcRouterMgr::GetInstance()->GetVlans().count(step.key.first) == 0;
}

}  // namespace

void Interfaces::Apply(const documents::Device& wanted, const std::set<unsigned short>& vlans) {
  const intent::InterfacePlan plan = intent::PlanInterfaces(m_interfaces, wanted.interfaces);
  if (m_listener) {
    TellListener(plan);
  }
  for (const auto& step : plan) {
    if (!IsTooEarly(step)) {
      Tell(step.key, step.action);
    }
  }
  if (!plan.empty()) {
    m_interfaces = wanted.interfaces;
    TakeIndexes();
    CountAll();
  }
  m_hasEvents = false;
  ApplyPrimaries(wanted, vlans);
}

// An interface that gets another name has the old one until it is removed.
void Interfaces::TellListener(const intent::InterfacePlan& plan) const {
  std::map<InterfaceKey, std::string> names;
  for (const auto& [key, interface] : m_interfaces) {
    names.emplace(key, interface.name);
  }
  for (const auto& [key, action] : plan) {
    const auto* const registered = std::get_if<intent::Register>(&action);
    const bool isNew = registered && names.emplace(key, registered->name).second;
    m_listener({key, names.at(key), action, isNew, true});
    if (std::holds_alternative<intent::Unregister>(action)) {
      names.erase(key);
    }
  }
}

void Interfaces::Happen(const InterfaceKey& key, const intent::InterfaceAction& action) {
  m_hasEvents = true;
  if (m_listener) {
    m_listener({key, m_interfaces.at(key).name, action, false, false});
  }
  Tell(key, action);
}

void Interfaces::TakeIndexes() {
  intent::InterfaceIndexes indexes;
  for (const auto& [key, interface] : m_interfaces) {
    indexes.emplace(std::pair(key.first, interface.name), key.second);
  }
  if (indexes != *m_indexes) {
    m_indexes = std::make_shared<const intent::InterfaceIndexes>(std::move(indexes));
  }
}

void Interfaces::CountAll() {
  m_up = 0;
  m_addresses = 0;
  for (const auto& [key, interface] : m_interfaces) {
    m_up += interface.up ? 1 : 0;
    m_addresses += interface.ip6.size() + (interface.ip4 ? 1 : 0);
  }
}

void Interfaces::ApplyPrimaries(const documents::Device& wanted,
                                const std::set<unsigned short>& vlans) {
  for (const auto& [vlan, name] : intent::ChoosePrimaries(wanted, vlans)) {
    std::string& known = m_primaries[vlan];
    if (known != name) {
      DcInterfaceMgr::GetInstance()->SetPrimaryInterface(vlan, name.c_str());
      known = name;
    }
  }
}

void Interfaces::SetStatus(const InterfaceKey& key, bool up) {
  Interface& interface = m_interfaces.at(key);
  m_up += up ? 1 : 0;
  m_up -= interface.up ? 1 : 0;
  interface.up = up;
  Happen(key, intent::SetStatus{interface.name, up});
  Happen(key, intent::TellStatus{up});
}

void Interfaces::SetJoined(const InterfaceKey& key, bool joined) {
  m_interfaces.at(key).joined = joined;
  Happen(key, intent::TellJoined{joined});
}

void Interfaces::AddAddress(const InterfaceKey& key, const Ip4Network& network) {
  Interface& interface = m_interfaces.at(key);
  m_addresses += interface.ip4 ? 0 : 1;
  interface.ip4 = network;
  Happen(key, intent::AddIp4{network});
  Happen(key, intent::TellIp4{network.address});
}

void Interfaces::ChangeAddress(const InterfaceKey& key, const Ip4Network& network) {
  Interface& interface = m_interfaces.at(key);
  m_addresses += interface.ip4 ? 0 : 1;
  interface.ip4 = network;
  Happen(key, intent::ChangeIp4{network});
}

void Interfaces::DeleteAddress(const InterfaceKey& key, const Ip4Network& network) {
  Interface& interface = m_interfaces.at(key);
  m_addresses -= interface.ip4 ? 1 : 0;
  interface.ip4.reset();
  Happen(key, intent::DeleteIp4{network});
  Happen(key, intent::TellIp4{Tarsel::IP4_ANY});
}

void Interfaces::AddAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix) {
  Forget(key, prefix.GetAddress());
  m_interfaces.at(key).ip6.push_back(prefix);
  ++m_addresses;
  Happen(key, intent::AddIp6{prefix});
}

void Interfaces::DeleteAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix) {
  Forget(key, prefix.GetAddress());
  Happen(key, intent::DeleteIp6{prefix});
}

// The length is not part of an address's identity.
void Interfaces::Forget(const InterfaceKey& key, const Tarsel::Ip6Addr& address) {
  std::vector<Tarsel::Ip6Prefix>& prefixes = m_interfaces.at(key).ip6;
  m_addresses -= prefixes.size();
  prefixes.erase(std::remove_if(prefixes.begin(), prefixes.end(),
                                [&](const auto& prefix) { return prefix.GetAddress() == address; }),
                 prefixes.end());
  m_addresses += prefixes.size();
}

void Interfaces::BringBack() const {
  for (const auto& [key, interface] : m_interfaces) {
    for (const auto& step : intent::PlanNew(key, interface)) {
      if (!step.IsForRouters()) {
        Tell(key, step.action);
      }
    }
  }
  for (const auto& [vlan, name] : m_primaries) {
    DcInterfaceMgr::GetInstance()->SetPrimaryInterface(vlan, name.c_str());
  }
}

void Interfaces::AnnounceTo(unsigned short vlan) const {
  const auto end = m_interfaces.end();
  for (auto i = m_interfaces.lower_bound({vlan, 0}); i != end && i->first.first == vlan; ++i) {
    for (const auto& step : intent::PlanNew(i->first, i->second)) {
      if (step.IsForRouters()) {
        Tell(step.key, step.action);
      }
    }
  }
}

std::optional<std::uint32_t> Interfaces::IndexOf(unsigned short vlan,
                                                 const std::string& name) const {
  const auto found = m_indexes->find({vlan, name});
  return found == m_indexes->end() ? std::nullopt : std::optional(found->second);
}

bool Interfaces::IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const {
  const auto found = m_interfaces.find({vlan, ifIndex});
  return found != m_interfaces.end() && found->second.up;
}

}  // namespace keepers
