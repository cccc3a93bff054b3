// All tables of one stack, and the effects that a row of one has on another.
//
// Interface and address rows are stored even if the instance or the interface does not exist. They
// take effect, as interfaces that are up and connected prefixes of an instance's RIB, while the
// instance exists, the interface exists and is up, and the row itself is valid there; `attachedTo`
// is the life of the instance that an address is attached to at present. Static routes and protocol
// candidates are in the instance's RIB. They go with the instance, and so do its redistribution
// rules and protocol rows.
//
// The tables may be read at any time. Only the functions that store and remove rows change them, so
// that no consequence of a change can be forgotten. Whether a request is acceptable is not judged
// here: the rules of each type of row are in *_rows.cpp and protocol_table.cpp.
//
// A change of one row may concern many others. This is not done at once but kept as work, which is
// done in bounded steps. The engine finishes that work before it takes the next event, so each
// event finds the consequences of all earlier ones.
#ifndef DEVICE_STACK_TABLES_H
#define DEVICE_STACK_TABLES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <tuple>

#include "rib.h"
#include "stack_control.h"

namespace routing_stack {

/// Of the number of an instance whose family is IPv6.
constexpr std::uint32_t kIp6InstanceBit = 0x8000;

/// Outcomes of a request or a walk. A final refusal is kWrongValue for a value that is never right,
/// kInconsistent for values that do not fit each other.
enum Status : unsigned int {
  kDone = 1,
  kWrongValue = 3,
  kInconsistent = 4,
  kRetry = 5,
  kAbsent = 6,
  kEndOfTable = 7,
  kAgentError = 8
};

enum RowStatus : int { kActive = 1, kCreateAndGo = 4, kDestroy = 6 };

inline bool Creates(int rowStatus) { return rowStatus == kActive || rowStatus == kCreateAndGo; }
inline bool IsAdminStatus(int status) { return status == 1 || status == 2; }

struct Instance {
  Instance(std::uint32_t serialNumber, Family instanceFamily, std::uint32_t itsRouterId,
           const Clock& clock, const Forwarding& forwarding, RouteCounts& all)
      : serial(serialNumber),
        family(instanceFamily),
        routerId(itsRouterId),
        rib(instanceFamily, clock, forwarding, all) {}

  const std::uint32_t serial;  // distinguishes the lives of one instance
  const Family family;
  const std::uint32_t routerId;  // an IPv4 address in network order
  std::size_t staticRoutes = 0;
  Rib rib;
};

struct InterfaceKey {
  std::uint32_t instance = 0;
  std::uint32_t ifIndex = 0;
};
inline bool operator<(const InterfaceKey& a, const InterfaceKey& b) {
  return std::tie(a.instance, a.ifIndex) < std::tie(b.instance, b.ifIndex);
}

struct InterfaceRow {
  std::string name;
  std::uint32_t flags = 0;
  std::uint32_t operStatus = 0;
  std::uint32_t mtu = 0;

  bool IsUp() const { return operStatus == 1; }
};

struct AddressKey {
  InterfaceKey interface;
  Family family = Family::kIp4;
  Address address;
};
inline bool operator<(const AddressKey& a, const AddressKey& b) {
  return std::tie(a.interface, a.family, a.address) < std::tie(b.interface, b.family, b.address);
}

struct AddressRow {
  std::uint32_t prefixLength = 0;
  std::uint32_t attachedTo = 0;  // the instance's serial number; an older one means nothing
};

/// The instance is the VLAN value of the request as it came.
struct RedistributionKey {
  std::uint32_t instance = 0;
  std::uint32_t source = 0;
  std::uint32_t destination = 0;
};
inline bool operator<(const RedistributionKey& a, const RedistributionKey& b) {
  return std::tie(a.instance, a.source, a.destination) <
         std::tie(b.instance, b.source, b.destination);
}

struct ProtocolKey {
  std::uint32_t instance = 0;
  std::uint32_t table = 0;
  std::string key;
};
inline bool operator<(const ProtocolKey& a, const ProtocolKey& b) {
  return std::tie(a.instance, a.table, a.key) < std::tie(b.instance, b.table, b.key);
}

struct ProtocolRow {
  int adminStatus = 1;
  std::string payload;
};

struct Limit {
  std::size_t rows = static_cast<std::size_t>(-1);
  unsigned int status = kInconsistent;
};

class Tables {
 public:
  /// `forwarding` tells who hears of changes of the forwarding table, null for nobody; it may
  /// change.
  Tables(const Clock& clock, Listener* const& forwarding)
      : m_clock(clock), m_forwarding(&forwarding) {}

  using InstanceTable = std::map<std::uint32_t, Instance>;
  using InterfaceTable = std::map<InterfaceKey, InterfaceRow>;
  using AddressTable = std::map<AddressKey, AddressRow>;
  using RedistributionTable = std::map<RedistributionKey, int>;  // the admin status
  using ProtocolRowTable = std::map<ProtocolKey, ProtocolRow>;

  const InstanceTable& Instances() const { return m_instances; }
  const InterfaceTable& Interfaces() const { return m_interfaces; }
  const AddressTable& Addresses() const { return m_addresses; }
  const RedistributionTable& Redistributions() const { return m_redistributions; }
  const ProtocolRowTable& ProtocolRows() const { return m_protocolRows; }
  /// The candidates of all instances.
  const RouteCounts& GetRouteCounts() const { return m_routeCounts; }
  /// The static routes of all instances, installed or not.
  std::size_t CountStaticRoutes() const { return m_staticRoutes; }
  /// Null when the instance does not exist.
  const Instance* FindInstance(std::uint32_t instance) const;

  void SetLimit(RowType type, const Limit& limit);
  /// Returns kDone, or the limit's status if one more row than `rows` is too many.
  unsigned int RoomFor(RowType type, std::size_t rows) const;

  /// The kind of row whose request is carried out next: the cause of its changes and of the work
  /// that they leave.
  void SetCause(RowType cause) { m_cause = cause; }

  // Storing adds or overwrites a row. Removing returns whether the row was there.

  /// Adds an instance; interfaces and addresses that are there take effect in it. An instance that
  /// exists stays as it is.
  void AddInstance(std::uint32_t instance, Family family, std::uint32_t routerId);
  /// The instance must exist.
  void SetDistances(std::uint32_t instance, const Distances& distances);
  /// For the VLAN's instances, those to come as well; see Upkeep.
  void SetMostNextHops(std::uint32_t vlan, std::size_t most);
  /// Removes an instance with everything that goes with it.
  bool RemoveInstance(std::uint32_t instance);
  void StoreInterface(const InterfaceKey& key, InterfaceRow row);
  bool RemoveInterface(const InterfaceKey& key);
  void StoreAddress(const AddressKey& key, std::uint32_t prefixLength);
  bool RemoveAddress(const AddressKey& key);
  /// A static route or a protocol's candidate. The instance must exist and have the key's family.
  /// A protocol's candidate has no request: its cause is its own.
  void StoreCandidate(std::uint32_t instance, const CandidateKey& key,
                      const CandidateValues& values);
  bool RemoveCandidate(std::uint32_t instance, const CandidateKey& key);
  void StoreRedistribution(const RedistributionKey& key, int adminStatus);
  bool RemoveRedistribution(const RedistributionKey& key);
  void StoreProtocolRow(const ProtocolKey& key, ProtocolRow row);
  bool RemoveProtocolRow(const ProtocolKey& key);
  /// Forgets all rows and all work; limits and numbers of next hops stay. Nobody hears of what leaves the forwarding table.
  void Clear();
  /// Nobody hears any more of the routes of instances that have been removed before.
  void MuteRemoved();

  bool HasWork() const;
  /// One bounded step of the work that earlier changes left.
  void Work();

 private:
  /// Interfaces of an instance, or addresses of an interface, that have to be looked at again.
  struct InterfaceScan {
    std::uint32_t instance;
    bool begun;
    InterfaceKey last;
  };
  struct AddressScan {
    InterfaceKey interface;
    bool begun;
    AddressKey last;
  };

  void Retire(InstanceTable::iterator instance);
  void ScanInterface();
  void ScanAddress();
  void InterfaceChanged(const InterfaceKey& key, bool isUp);
  void Attach(const AddressKey& key, AddressRow& row);
  void Detach(const AddressKey& key, AddressRow& row);
  void DetachFrom(Instance& instance, const AddressKey& key, AddressRow& row);
  void RibChanged(std::uint32_t id, const Instance& instance);
  Instance* Find(std::uint32_t instance);

  const Clock& m_clock;
  Listener* const* const m_forwarding;
  RowType m_cause = RowType::kRtm;
  RouteCounts m_routeCounts;
  InstanceTable m_instances;
  InterfaceTable m_interfaces;
  AddressTable m_addresses;
  RedistributionTable m_redistributions;
  ProtocolRowTable m_protocolRows;
  std::size_t m_staticRoutes = 0;
  std::array<Limit, kRowTypes> m_limits;
  std::map<std::uint32_t, std::size_t> m_mostNextHops;  // by instance, where it is not 1

  std::uint32_t m_lastSerial = 0;
  std::deque<InterfaceScan> m_interfaceScans;
  std::deque<AddressScan> m_addressScans;
  std::deque<std::uint32_t> m_busyRibs;
  std::deque<InstanceTable::node_type> m_removed;  // instances, freed in steps
};

}  // namespace routing_stack

#endif
