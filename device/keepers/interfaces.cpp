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

const documents::Interfaces NO_INTERFACES;

// Whether the same ones of two lists that are equal otherwise are links.
bool HaveSameSources(const documents::Interfaces& a, const documents::Interfaces& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& one, const auto& other) {
    return one.second.isLink == other.second.isLink;
  });
}

// A VLAN that is still to come is told by AnnounceTo; of a remote that joins there the library
// would complain.
bool IsTooEarly(const intent::InterfaceStep& step) {
  return std::holds_alternative<intent::TellJoined>(step.action) &&
         DcRouterMgr::GetInstance()->GetVlans().count(step.key.first) == 0;
}

}  // namespace

void Interfaces::Apply(const documents::Device& wanted, const std::set<unsigned short>& vlans) {
  m_defaultVlan = m_defaultVlan.value_or(wanted.defaultVlan);
  m_settings = wanted.links;
  m_named = wanted.primaries;
  const documents::Interfaces linked = m_links.empty() ? NO_INTERFACES : WithLinks(wanted);
  const documents::Interfaces& all = m_links.empty() ? wanted.interfaces : linked;
  const intent::InterfacePlan plan = intent::PlanInterfaces(m_interfaces, all);
  CarryOut(plan, InterfaceChange::By::DOCUMENT);
  if (!plan.empty() || !HaveSameSources(m_interfaces, all)) {
    m_interfaces = all;
    TakeIndexes();
    CountAll();
  }
  m_hasEvents = false;
  TakePrimaries(intent::ChoosePrimaries(m_named, m_interfaces, vlans));
}

documents::Interfaces Interfaces::WithLinks(const documents::Device& wanted) const {
  documents::Interfaces all = wanted.interfaces;
  intent::AddLinks(wanted.links, m_defaultVlan.value_or(wanted.defaultVlan), m_links, all);
  return all;
}

void Interfaces::CarryOut(const intent::InterfacePlan& plan, InterfaceChange::By by) {
  if (m_listener) {
    TellListener(plan, by);
  }
  for (const auto& step : plan) {
    if (!IsTooEarly(step)) {
      Tell(step.key, step.action);
    }
  }
}

bool Interfaces::IsTakenByDocument(const InterfaceKey& key) const {
  const auto found = m_interfaces.find(key);
  return found != m_interfaces.end() && !found->second.isLink;
}

std::optional<intent::LinkPlace> Interfaces::FindPlaceOf(const intent::Link& link) const {
  auto place = intent::FindPlace(m_settings, GetDefaultVlan(), link);
  if (place && place->problem == nullptr &&
      IsTakenByDocument({static_cast<unsigned short>(place->vlan), link.index})) {
    place->problem = intent::HAS_NO_PLACE;
  }
  return place;
}

std::optional<InterfaceKey> Interfaces::FindKeyOf(const intent::Link& link) const {
  const auto place = FindPlaceOf(link);
  return place && place->problem == nullptr
             ? std::optional<InterfaceKey>({static_cast<unsigned short>(place->vlan), link.index})
             : std::nullopt;
}

bool Interfaces::TakeLinks(const intent::LinkChanges& changes) {
  documents::Interfaces before;
  documents::Interfaces after;
  for (const auto& [index, link] : changes) {
    const auto known = m_links.find(index);
    if (const auto key = known != m_links.end() ? FindKeyOf(known->second) : std::nullopt) {
      const auto interface = m_interfaces.find(*key);
      if (interface != m_interfaces.end()) {
        before.insert(*interface);
      }
    }
    if (link) {
      m_links.insert_or_assign(index, *link);
    } else {
      m_links.erase(index);
    }
    if (const auto key = link ? FindKeyOf(*link) : std::nullopt) {
      after.emplace(*key, intent::InterfaceOf(*link));
    }
  }
  if (!m_defaultVlan) {
    return false;
  }
  CarryOut(intent::PlanInterfaces(before, after), InterfaceChange::By::LINK);
  const auto indexes = m_indexes;
  Replace(before, std::move(after));
  return m_indexes != indexes;
}

void Interfaces::Replace(const documents::Interfaces& before, documents::Interfaces after) {
  const auto hasOther = [](const documents::Interfaces& one, const documents::Interfaces& other) {
    return std::any_of(one.begin(), one.end(), [&other](const auto& entry) {
      const auto same = other.find(entry.first);
      return same == other.end() || same->second.name != entry.second.name;
    });
  };
  std::set<unsigned short> vlans;
  for (const auto& [key, interface] : before) {
    Count(interface, false);
    m_interfaces.erase(key);
    if (after.count(key) == 0) {
      vlans.insert(key.first);
    }
  }
  const bool areOthers = hasOther(before, after) || hasOther(after, before);
  for (auto& [key, interface] : after) {
    const auto old = before.find(key);
    const bool hasSameAddress = old != before.end() && old->second.name == interface.name &&
                                old->second.ip4.empty() == interface.ip4.empty();
    if (!hasSameAddress) {
      vlans.insert(key.first);
    }
    Count(interface, true);
    m_interfaces.insert_or_assign(key, std::move(interface));
  }
  if (areOthers) {
    TakeIndexes();
  }
  ChoosePrimaries(vlans);
}

// Only VLANs that have one by now: the others get theirs with the document that names them.
void Interfaces::ChoosePrimaries(const std::set<unsigned short>& vlans) {
  for (const unsigned short vlan : vlans) {
    if (m_primaries.count(vlan) != 0) {
      SetPrimary(vlan, intent::ChoosePrimary(m_named, m_interfaces, vlan));
    }
  }
}

void Interfaces::SetPrimary(unsigned short vlan, const std::string& name) {
  std::string& known = m_primaries[vlan];
  if (known != name) {
    DcInterfaceMgr::GetInstance()->SetPrimaryInterface(vlan, name.c_str());
    known = name;
  }
}

// An interface that gets another name has the old one until it is removed.
void Interfaces::TellListener(const intent::InterfacePlan& plan, InterfaceChange::By by) const {
  std::map<InterfaceKey, std::string> names;
  for (const auto& [key, interface] : m_interfaces) {
    names.emplace(key, interface.name);
  }
  for (const intent::InterfaceStep& step : plan) {
    const auto& [key, action] = step;
    if (by == InterfaceChange::By::LINK && IsRepeat(step)) {
      continue;
    }
    const auto* const registered = std::get_if<intent::Register>(&action);
    const bool isNew = registered && names.emplace(key, registered->name).second;
    m_listener({key, names.at(key), action, isNew, by});
    if (std::holds_alternative<intent::Unregister>(action)) {
      names.erase(key);
    }
  }
}

// An address that the interface has already, and that the registry is reminded of.
bool Interfaces::IsRepeat(const intent::InterfaceStep& step) const {
  const auto* const added = std::get_if<intent::AddIp4>(&step.action);
  const auto known = m_interfaces.find(step.key);
  if (added == nullptr || known == m_interfaces.end()) {
    return false;
  }
  const std::vector<Ip4Network>& present = known->second.ip4;
  return std::find(present.begin(), present.end(), added->network) != present.end();
}

void Interfaces::Happen(const InterfaceKey& key, const intent::InterfaceAction& action) {
  m_hasEvents = true;
  if (m_listener) {
    m_listener({key, m_interfaces.at(key).name, action, false, InterfaceChange::By::EVENT});
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
    Count(interface, true);
  }
}

void Interfaces::Count(const Interface& interface, bool isThere) {
  const std::size_t addresses = interface.ip4.size() + interface.ip6.size();
  m_up += interface.up && isThere ? 1 : 0;
  m_up -= interface.up && !isThere ? 1 : 0;
  m_addresses += isThere ? addresses : 0;
  m_addresses -= isThere ? 0 : addresses;
}

void Interfaces::ApplyPrimaries(const documents::Device& wanted,
                                const std::set<unsigned short>& vlans) {
  TakePrimaries(intent::ChoosePrimaries(wanted.primaries, WithLinks(wanted), vlans));
}

void Interfaces::TakePrimaries(const intent::Primaries& primaries) {
  for (const auto& [vlan, name] : primaries) {
    SetPrimary(vlan, name);
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

void Interfaces::SetIp4(const InterfaceKey& key, std::vector<Ip4Network> networks) {
  std::vector<Ip4Network>& present = m_interfaces.at(key).ip4;
  m_addresses -= present.size();
  m_addresses += networks.size();
  present = std::move(networks);
}

void Interfaces::AddAddress(const InterfaceKey& key, const Ip4Network& network) {
  SetIp4(key, {network});
  Happen(key, intent::AddIp4{network});
  Happen(key, intent::TellIp4{network.address});
}

void Interfaces::ChangeAddress(const InterfaceKey& key, const Ip4Network& network) {
  SetIp4(key, {network});
  Happen(key, intent::ChangeIp4{network});
}

void Interfaces::DeleteAddress(const InterfaceKey& key, const Ip4Network& network) {
  SetIp4(key, {});
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
