#include "interfaces.h"

#include <algorithm>
#include <utility>

#include "interface_calls.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"

namespace apply {

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
  for (const auto& step : plan) {
    if (!IsTooEarly(step)) {
      Tell(step.key, step.action);
    }
  }
  if (!plan.empty()) {
    m_interfaces = wanted.interfaces;
    TakeIndexes();
  }
  ApplyPrimaries(wanted, vlans);
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
  interface.up = up;
  Tell(key, intent::SetStatus{interface.name, up});
  Tell(key, intent::TellStatus{up});
}

void Interfaces::SetJoined(const InterfaceKey& key, bool joined) {
  m_interfaces.at(key).joined = joined;
  Tell(key, intent::TellJoined{joined});
}

void Interfaces::AddAddress(const InterfaceKey& key, const Ip4Network& network) {
  m_interfaces.at(key).ip4 = network;
  Tell(key, intent::AddIp4{network});
  Tell(key, intent::TellIp4{network.address});
}

void Interfaces::ChangeAddress(const InterfaceKey& key, const Ip4Network& network) {
  m_interfaces.at(key).ip4 = network;
  Tell(key, intent::ChangeIp4{network});
}

void Interfaces::DeleteAddress(const InterfaceKey& key, const Ip4Network& network) {
  m_interfaces.at(key).ip4.reset();
  Tell(key, intent::DeleteIp4{network});
  Tell(key, intent::TellIp4{Tarsel::IP4_ANY});
}

void Interfaces::AddAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix) {
  Forget(key, prefix.GetAddress());
  m_interfaces.at(key).ip6.push_back(prefix);
  Tell(key, intent::AddIp6{prefix});
}

void Interfaces::DeleteAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix) {
  Forget(key, prefix.GetAddress());
  Tell(key, intent::DeleteIp6{prefix});
}

// The length is not part of an address's identity.
void Interfaces::Forget(const InterfaceKey& key, const Tarsel::Ip6Addr& address) {
  std::vector<Tarsel::Ip6Prefix>& prefixes = m_interfaces.at(key).ip6;
  prefixes.erase(std::remove_if(prefixes.begin(), prefixes.end(),
                                [&](const auto& prefix) { return prefix.GetAddress() == address; }),
                 prefixes.end());
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

}  // namespace apply
