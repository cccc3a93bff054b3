#include "tables.h"

#include <algorithm>
#include <utility>

#include "upkeep.h"

namespace routing_stack {

namespace {

/// The prefix that an address row connects; false if the row is not valid in the instance.
bool ConnectedPrefix(const AddressKey& key, const AddressRow& row, Family family, Prefix* prefix) {
  if (key.family != family || key.interface.ifIndex == 0 || key.address.IsUnspecified() ||
      row.prefixLength > MaximalLength(family)) {
    return false;
  }
  *prefix = Prefix::Of(key.address, row.prefixLength);
  return true;
}

/// While it lives, a protocol's candidate is the cause of what changes. It may come while the work
/// of a request goes on.
class OwnCause {
 public:
  OwnCause(RowType& cause, const CandidateKey& key) : m_cause(cause), m_before(cause) {
    if (key.proto != kStatic) {
      cause = RowType::kProtocol;
    }
  }
  OwnCause(const OwnCause&) = delete;
  OwnCause& operator=(const OwnCause&) = delete;
  ~OwnCause() { m_cause = m_before; }

 private:
  RowType& m_cause;
  const RowType m_before;
};

}  // namespace

const Instance* Tables::FindInstance(std::uint32_t instance) const {
  const auto found = m_instances.find(instance);
  return found == m_instances.end() ? nullptr : &found->second;
}

Instance* Tables::Find(std::uint32_t instance) {
  const auto found = m_instances.find(instance);
  return found == m_instances.end() ? nullptr : &found->second;
}

void Tables::SetLimit(RowType type, const Limit& limit) {
  m_limits[static_cast<std::size_t>(type)] = limit;
}

unsigned int Tables::RoomFor(RowType type, std::size_t rows) const {
  const Limit& limit = m_limits[static_cast<std::size_t>(type)];
  return rows < limit.rows ? static_cast<unsigned int>(kDone) : limit.status;
}

// ---- instances

void Tables::AddInstance(std::uint32_t instance, Family family, std::uint32_t routerId) {
  const auto added =
      m_instances.try_emplace(instance, ++m_lastSerial, family, routerId, m_clock,
                              Forwarding{instance, m_forwarding, &m_cause}, m_routeCounts);
  const auto most = m_mostNextHops.find(instance);
  if (added.second && most != m_mostNextHops.end()) {
    added.first->second.rib.SetMostNextHops(most->second);
  }
  m_interfaceScans.push_back({instance, false, {}});
}

void Tables::SetDistances(std::uint32_t instance, const Distances& distances) {
  Instance& found = *Find(instance);
  found.rib.SetDistances(distances);
  RibChanged(instance, found);
}

void Tables::SetMostNextHops(std::uint32_t vlan, std::size_t most) {
  most = std::clamp<std::size_t>(most, 1, kMostNextHops);
  for (const std::uint32_t instance : {vlan, vlan | kIp6InstanceBit}) {
    const auto before = m_mostNextHops.find(instance);
    if (most == (before == m_mostNextHops.end() ? 1 : before->second)) {
      continue;
    }
    if (most == 1) {
      m_mostNextHops.erase(before);
    } else {
      m_mostNextHops[instance] = most;
    }
    if (Instance* const found = Find(instance)) {
      m_cause = HasWork() ? m_cause : RowType::kRtm;
      found->rib.SetMostNextHops(most);
      RibChanged(instance, *found);
    }
  }
}

bool Tables::RemoveInstance(std::uint32_t instance) {
  const auto found = m_instances.find(instance);
  if (found == m_instances.end()) {
    return false;
  }
  m_staticRoutes -= found->second.staticRoutes;
  Retire(found);
  m_redistributions.erase(m_redistributions.lower_bound({instance, 0, 0}),
                          m_redistributions.upper_bound({instance, UINT32_MAX, UINT32_MAX}));
  auto row = m_protocolRows.lower_bound({instance, 0, {}});
  while (row != m_protocolRows.end() && row->first.instance == instance) {
    row = m_protocolRows.erase(row);
  }
  return true;
}

void Tables::Retire(InstanceTable::iterator instance) {
  instance->second.rib.Retire();
  m_removed.push_back(m_instances.extract(instance));
}

void Tables::RibChanged(std::uint32_t id, const Instance& instance) {
  if (instance.rib.HasWork() &&
      std::find(m_busyRibs.begin(), m_busyRibs.end(), id) == m_busyRibs.end()) {
    m_busyRibs.push_back(id);
  }
}

// ---- interfaces

void Tables::StoreInterface(const InterfaceKey& key, InterfaceRow row) {
  const bool isUp = row.IsUp();
  m_interfaces[key] = std::move(row);
  InterfaceChanged(key, isUp);
}

bool Tables::RemoveInterface(const InterfaceKey& key) {
  const bool removed = m_interfaces.erase(key) != 0;
  if (removed) {
    InterfaceChanged(key, false);
  }
  return removed;
}

void Tables::InterfaceChanged(const InterfaceKey& key, bool isUp) {
  Instance* const instance = Find(key.instance);
  if (instance == nullptr || key.ifIndex == 0) {
    return;
  }
  instance->rib.SetInterface(key.ifIndex, isUp);
  RibChanged(key.instance, *instance);
  m_addressScans.push_back({key, false, {}});
}

// ---- addresses

void Tables::StoreAddress(const AddressKey& key, std::uint32_t prefixLength) {
  AddressRow& row = m_addresses[key];
  Detach(key, row);  // by its old length
  row.prefixLength = prefixLength;
  Attach(key, row);
}

bool Tables::RemoveAddress(const AddressKey& key) {
  const auto row = m_addresses.find(key);
  if (row == m_addresses.end()) {
    return false;
  }
  Detach(key, row->second);
  m_addresses.erase(row);
  return true;
}

void Tables::Attach(const AddressKey& key, AddressRow& row) {
  Instance* const instance = Find(key.interface.instance);
  if (instance == nullptr) {
    return;
  }
  const auto interface = m_interfaces.find(key.interface);
  if (interface == m_interfaces.end() || !interface->second.IsUp()) {
    DetachFrom(*instance, key, row);
    return;
  }
  Prefix prefix;
  if (row.attachedTo != instance->serial && ConnectedPrefix(key, row, instance->family, &prefix)) {
    row.attachedTo = instance->serial;
    instance->rib.AddConnected(prefix, key.interface.ifIndex);
    RibChanged(key.interface.instance, *instance);
  }
}

void Tables::DetachFrom(Instance& instance, const AddressKey& key, AddressRow& row) {
  Prefix prefix;
  if (row.attachedTo == instance.serial && ConnectedPrefix(key, row, instance.family, &prefix)) {
    instance.rib.RemoveConnected(prefix, key.interface.ifIndex);
    RibChanged(key.interface.instance, instance);
  }
  row.attachedTo = 0;
}

void Tables::Detach(const AddressKey& key, AddressRow& row) {
  Instance* const instance = Find(key.interface.instance);
  if (instance != nullptr) {
    DetachFrom(*instance, key, row);
  }
}

// ---- routes and protocol candidates

void Tables::StoreCandidate(std::uint32_t instance, const CandidateKey& key,
                            const CandidateValues& values) {
  Instance& found = *Find(instance);
  const OwnCause cause(m_cause, key);
  if (found.rib.Put(key, values) && key.proto == kStatic) {
    ++found.staticRoutes;
    ++m_staticRoutes;
  }
}

bool Tables::RemoveCandidate(std::uint32_t instance, const CandidateKey& key) {
  Instance* const found = Find(instance);
  const OwnCause cause(m_cause, key);
  if (found == nullptr || !found->rib.Remove(key)) {
    return false;
  }
  if (key.proto == kStatic) {
    --found->staticRoutes;
    --m_staticRoutes;
  }
  return true;
}

// ---- redistribution rules and protocol rows: nothing else follows from them

void Tables::StoreRedistribution(const RedistributionKey& key, int adminStatus) {
  m_redistributions[key] = adminStatus;
}

bool Tables::RemoveRedistribution(const RedistributionKey& key) {
  return m_redistributions.erase(key) != 0;
}

void Tables::StoreProtocolRow(const ProtocolKey& key, ProtocolRow row) {
  m_protocolRows[key] = std::move(row);
}

bool Tables::RemoveProtocolRow(const ProtocolKey& key) { return m_protocolRows.erase(key) != 0; }

// ---- work

bool Tables::HasWork() const {
  return !m_interfaceScans.empty() || !m_addressScans.empty() || !m_busyRibs.empty() ||
         !m_removed.empty();
}

// Interfaces and addresses come before the RIBs, so that a next hop is resolved once for a change
// and not once for each address of an interface.
void Tables::Work() {
  if (!m_interfaceScans.empty()) {
    ScanInterface();
  } else if (!m_addressScans.empty()) {
    ScanAddress();
  } else if (!m_busyRibs.empty()) {
    Instance* const instance = Find(m_busyRibs.front());
    if (instance == nullptr || !instance->rib.HasWork()) {
      m_busyRibs.pop_front();
    } else {
      instance->rib.Work();
    }
  } else if (!m_removed.empty()) {
    if (!m_removed.front().mapped().rib.Shrink()) {
      m_removed.pop_front();
    }
  }
}

void Tables::ScanInterface() {
  InterfaceScan& scan = m_interfaceScans.front();
  const auto next = scan.begun ? m_interfaces.upper_bound(scan.last)
                               : m_interfaces.lower_bound({scan.instance, 0});
  if (next == m_interfaces.end() || next->first.instance != scan.instance) {
    m_interfaceScans.pop_front();
    return;
  }
  scan.begun = true;
  scan.last = next->first;
  InterfaceChanged(next->first, next->second.IsUp());
}

void Tables::ScanAddress() {
  AddressScan& scan = m_addressScans.front();
  const auto next = scan.begun ? m_addresses.upper_bound(scan.last)
                               : m_addresses.lower_bound({scan.interface, Family::kIp4, {}});
  if (next == m_addresses.end() || next->first.interface < scan.interface ||
      scan.interface < next->first.interface) {
    m_addressScans.pop_front();
    return;
  }
  scan.begun = true;
  scan.last = next->first;
  Attach(next->first, next->second);
}

void Tables::Clear() {
  while (!m_instances.empty()) {
    Retire(m_instances.begin());
  }
  MuteRemoved();
  m_interfaces.clear();
  m_addresses.clear();
  m_redistributions.clear();
  m_protocolRows.clear();
  m_staticRoutes = 0;
  m_interfaceScans.clear();
  m_addressScans.clear();
  m_busyRibs.clear();
}

void Tables::MuteRemoved() {
  for (InstanceTable::node_type& removed : m_removed) {
    removed.mapped().rib.Mute();
  }
}

}  // namespace routing_stack
