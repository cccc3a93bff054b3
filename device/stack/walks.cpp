#include "walks.h"

#include <cstring>

namespace routing_stack {

namespace {

enum RouteType : std::uint32_t { kLocal = 3, kRemote = 4 };

constexpr std::uint64_t kMsPerSecond = 1000;

// What the rows of the RIB and of the route table have in common; the field names are the same.
template <typename Row>
void FillRoute(std::uint32_t instance, const RibEntry& entry, Row* row) {
  row->instance = instance;
  entry.destination.ToBytes(row->destination);
  row->prefix_length = entry.length;
  entry.GetNextHop().ToBytes(row->next_hop);
  row->if_index = entry.OutInterface();
  row->route_type = entry.proto == kConnected ? kLocal : kRemote;
  row->route_proto = entry.proto;
  row->metric1 = entry.metric;
}

}  // namespace

std::uint32_t AgeOf(std::uint64_t since, std::uint64_t now) {
  return now < since ? 0 : static_cast<std::uint32_t>((now - since) / kMsPerSecond);
}

amb_stubs_i3_ei ToRow(const InterfaceKey& key, const InterfaceRow& row) {
  amb_stubs_i3_ei out;
  std::memset(&out, 0, sizeof out);
  out.instance = key.instance;
  out.if_index = key.ifIndex;
  row.name.copy(out.name, sizeof out.name - 1);
  out.flags = row.flags;
  out.oper_status = row.operStatus;
  out.mtu = row.mtu;
  return out;
}

amb_stubs_i3_ea ToRow(const AddressKey& key, const AddressRow& row) {
  amb_stubs_i3_ea out;
  std::memset(&out, 0, sizeof out);
  out.instance = key.interface.instance;
  out.if_index = key.interface.ifIndex;
  out.address_type = static_cast<std::uint32_t>(key.family);
  key.address.ToBytes(out.address);
  out.prefix_length = row.prefixLength;
  return out;
}

amb_cipr_rtm_rib ToRibRow(std::uint32_t instance, const RibEntry& entry, std::uint64_t now) {
  amb_cipr_rtm_rib out;
  std::memset(&out, 0, sizeof out);
  FillRoute(instance, entry, &out);
  out.age = AgeOf(entry.created, now);
  out.fib_flag = entry.installed || entry.beside ? 1 : 0;
  out.interface_pending = entry.OutInterface() == 0 ? 1 : 0;
  return out;
}

amb_cipr_rtm_route ToRouteRow(std::uint32_t instance, const RibEntry& entry, std::uint64_t now) {
  amb_cipr_rtm_route out;
  std::memset(&out, 0, sizeof out);
  FillRoute(instance, entry, &out);
  out.age = AgeOf(entry.installedAt, now);
  return out;
}

bool Walk::Step(const Tables& tables, std::uint64_t now) {
  if (isEnding) {
    return End(kAgentError);
  }
  switch (table) {
    case WalkTable::kInterfaces:
      return StepInterfaces(tables);
    case WalkTable::kAddresses:
      return StepAddresses(tables);
    case WalkTable::kRoutes:
      return StepRoutes(tables, now);
    case WalkTable::kRib:
      return StepRib(tables, now);
  }
  return false;
}

bool Walk::Hand(void* row) { return handler(command, number, kDone, row) != 0; }

bool Walk::End(unsigned int result) {
  handler(command, number, result, nullptr);
  return false;
}

bool Walk::StepInterfaces(const Tables& tables) {
  const auto next = begun ? tables.Interfaces().upper_bound(address.interface)
                          : tables.Interfaces().lower_bound({instance, 0});
  if (next == tables.Interfaces().end()) {
    return End(kEndOfTable);
  }
  begun = true;
  address.interface = next->first;
  amb_stubs_i3_ei row = ToRow(next->first, next->second);
  return Hand(&row);
}

bool Walk::StepAddresses(const Tables& tables) {
  const auto next = begun ? tables.Addresses().upper_bound(address)
                          : tables.Addresses().lower_bound({{instance, 0}, Family::kIp4, {}});
  if (next == tables.Addresses().end()) {
    return End(kEndOfTable);
  }
  begun = true;
  address = next->first;
  amb_stubs_i3_ea row = ToRow(next->first, next->second);
  return Hand(&row);
}

/// The entry after the last one, in its instance or in the first later instance that has any.
/// `find` looks in one RIB, after the last entry if `goOn` is true and from the beginning
/// otherwise.
template <typename Find>
const RibEntry* Walk::NextOfAll(const Tables& tables, Find find) {
  for (auto it = tables.Instances().lower_bound(instance); it != tables.Instances().end(); ++it) {
    const bool goOn = begun && it->first == instance;
    const RibEntry* const entry = find(it->second.rib, goOn);
    if (entry != nullptr) {
      begun = true;
      instance = it->first;
      candidate = entry->GetKey();
      return entry;
    }
  }
  return nullptr;
}

bool Walk::StepRoutes(const Tables& tables, std::uint64_t now) {
  const RibEntry* const entry = NextOfAll(tables, [this](const Rib& rib, bool goOn) {
    return rib.InstalledAfter(goOn ? &candidate.prefix : nullptr);
  });
  if (entry == nullptr) {
    return End(kEndOfTable);
  }
  amb_cipr_rtm_route row = ToRouteRow(instance, *entry, now);
  return Hand(&row);
}

bool Walk::StepRib(const Tables& tables, std::uint64_t now) {
  const RibEntry* const entry = NextOfAll(
      tables, [this](const Rib& rib, bool goOn) { return rib.After(goOn ? &candidate : nullptr); });
  if (entry == nullptr) {
    return End(kEndOfTable);
  }
  amb_cipr_rtm_rib row = ToRibRow(instance, *entry, now);
  return Hand(&row);
}

Walk& Walks::Begin() {
  Walk& walk = m_walks[++m_last];
  walk.number = walk.first = m_last;
  return walk;
}

Walk* Walks::Find(unsigned int number) {
  const auto found = m_walks.find(number);
  return found == m_walks.end() ? nullptr : &found->second;
}

std::vector<RunningWalk> Walks::List() const {
  std::vector<RunningWalk> list;
  for (const auto& [number, walk] : m_walks) {
    list.push_back({number, walk.first, walk.isHeld});
  }
  return list;
}

std::vector<Walk*> Walks::All() {
  std::vector<Walk*> all;
  for (auto& entry : m_walks) {
    all.push_back(&entry.second);
  }
  return all;
}

}  // namespace routing_stack
