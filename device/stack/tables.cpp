#include "tables.h"

#include <algorithm>

namespace routing_stack {

namespace {

/// The prefix that an address row connects; false when the row makes no sense in the instance.
bool ConnectedPrefix(const AddressKey& key, const AddressRow& row, Family family, Prefix* prefix) {
  if (key.family != family || key.interface.ifIndex == 0 || key.address.IsUnspecified() ||
      row.prefixLength > MaximalLength(family)) {
    return false;
  }
  *prefix = Prefix::Of(key.address, row.prefixLength);
  return true;
}

}  // namespace

unsigned int Tables::RoomFor(RowType type, std::size_t rows) const {
  const Limit& limit = limits[static_cast<std::size_t>(type)];
  return rows < limit.rows ? static_cast<unsigned int>(kDone) : limit.status;
}

Instance* Tables::FindInstance(std::uint32_t instance) const {
  const auto found = instances.find(instance);
  return found == instances.end() ? nullptr : found->second.get();
}

Instance& Tables::AddInstance(std::uint32_t instance, Family family) {
  std::unique_ptr<Instance>& slot = instances[instance];
  slot = std::make_unique<Instance>(++m_lastSerial, family, m_clock);
  m_interfaceScans.push_back({instance, false, {}});
  return *slot;
}

void Tables::DropInstance(std::uint32_t instance) {
  const auto found = instances.find(instance);
  if (found == instances.end()) {
    return;
  }
  staticRoutes -= found->second->staticRoutes;
  Bury(std::move(found->second));
  instances.erase(found);
  redistributions.erase(redistributions.lower_bound({instance, 0, 0}),
                        redistributions.upper_bound({instance, UINT32_MAX, UINT32_MAX}));
  auto row = protocolRows.lower_bound({instance, 0, {}});
  while (row != protocolRows.end() && row->first.instance == instance) {
    row = protocolRows.erase(row);
  }
}

void Tables::Bury(std::unique_ptr<Instance> instance) { m_buried.push_back(std::move(instance)); }

void Tables::InterfaceChanged(const InterfaceKey& interface) {
  Instance* const instance = FindInstance(interface.instance);
  if (instance == nullptr || interface.ifIndex == 0) {
    return;
  }
  const auto row = interfaces.find(interface);
  instance->rib.SetInterface(interface.ifIndex, row != interfaces.end() && row->second.IsUp());
  RibChanged(interface.instance);
  m_addressScans.push_back({interface, false, {}});
}

void Tables::AddressStored(const AddressKey& key) {
  const auto row = addresses.find(key);
  if (row != addresses.end()) {
    Attach(key, row->second);
  }
}

void Tables::DetachAddress(const AddressKey& key) {
  const auto row = addresses.find(key);
  Instance* const instance = FindInstance(key.interface.instance);
  if (row != addresses.end() && instance != nullptr) {
    Detach(*instance, key, row->second);
  }
}

void Tables::Attach(const AddressKey& key, AddressRow& row) {
  Instance* const instance = FindInstance(key.interface.instance);
  if (instance == nullptr) {
    return;
  }
  const auto interface = interfaces.find(key.interface);
  if (interface == interfaces.end() || !interface->second.IsUp()) {
    Detach(*instance, key, row);
    return;
  }
  Prefix prefix;
  if (row.attachedTo != instance->serial && ConnectedPrefix(key, row, instance->family, &prefix)) {
    row.attachedTo = instance->serial;
    instance->rib.AddConnected(prefix, key.interface.ifIndex);
    RibChanged(key.interface.instance);
  }
}

void Tables::Detach(Instance& instance, const AddressKey& key, AddressRow& row) {
  Prefix prefix;
  if (row.attachedTo == instance.serial && ConnectedPrefix(key, row, instance.family, &prefix)) {
    instance.rib.RemoveConnected(prefix, key.interface.ifIndex);
    RibChanged(key.interface.instance);
  }
  row.attachedTo = 0;
}

void Tables::RibChanged(std::uint32_t instance) {
  const Instance* const found = FindInstance(instance);
  if (found != nullptr && found->rib.HasWork() &&
      std::find(m_busyRibs.begin(), m_busyRibs.end(), instance) == m_busyRibs.end()) {
    m_busyRibs.push_back(instance);
  }
}

bool Tables::HasWork() const {
  return !m_interfaceScans.empty() || !m_addressScans.empty() || !m_busyRibs.empty() ||
         !m_buried.empty();
}

// Interfaces and addresses come before the RIBs, so that a next hop is resolved once for a change and
// not once for each address of an interface.
void Tables::Work() {
  if (!m_interfaceScans.empty()) {
    ScanInterface();
  } else if (!m_addressScans.empty()) {
    ScanAddress();
  } else if (!m_busyRibs.empty()) {
    Instance* const instance = FindInstance(m_busyRibs.front());
    if (instance == nullptr || !instance->rib.HasWork()) {
      m_busyRibs.pop_front();
    } else {
      instance->rib.Work();
    }
  } else if (!m_buried.empty()) {
    if (!m_buried.front()->rib.Shrink()) {
      m_buried.pop_front();
    }
  }
}

void Tables::ScanInterface() {
  InterfaceScan& scan = m_interfaceScans.front();
  const auto next =
      scan.begun ? interfaces.upper_bound(scan.last) : interfaces.lower_bound({scan.instance, 0});
  if (next == interfaces.end() || next->first.instance != scan.instance) {
    m_interfaceScans.pop_front();
    return;
  }
  scan.begun = true;
  scan.last = next->first;
  InterfaceChanged(next->first);
}

void Tables::ScanAddress() {
  AddressScan& scan = m_addressScans.front();
  const auto next = scan.begun ? addresses.upper_bound(scan.last)
                               : addresses.lower_bound({scan.interface, Family::kIp4, {}});
  if (next == addresses.end() || next->first.interface < scan.interface ||
      scan.interface < next->first.interface) {
    m_addressScans.pop_front();
    return;
  }
  scan.begun = true;
  scan.last = next->first;
  Attach(next->first, next->second);
}

void Tables::Clear() {
  for (auto& instance : instances) {
    Bury(std::move(instance.second));
  }
  instances.clear();
  interfaces.clear();
  addresses.clear();
  redistributions.clear();
  protocolRows.clear();
  staticRoutes = 0;
  m_interfaceScans.clear();
  m_addressScans.clear();
  m_busyRibs.clear();
}

}  // namespace routing_stack
