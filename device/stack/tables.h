// All tables of one stack, and what follows when a row of one concerns another.
//
// Interface and address rows are stored whatever exists. They take effect, as interfaces that are up
// and connected prefixes of an instance's RIB, while the instance exists, the interface exists and is
// up, and the row itself makes sense; `attachedTo` says to which life of the instance an address is
// attached at present. Static routes and protocol candidates live in the instance's RIB, so they go
// with it; redistribution and protocol rows are removed by the entity's row.
//
// A change of one row may concern many others. These consequences are not drawn at once but kept as
// work of bounded steps, which the engine finishes before it takes the next event: each event finds
// settled tables.
#ifndef DEVICE_STACK_TABLES_H
#define DEVICE_STACK_TABLES_H

#include <array>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "rib.h"
#include "stack_control.h"

namespace routing_stack {

/// Outcomes of a request. What a final refusal is for: kWrongValue for a value that is never right,
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
  Instance(std::uint32_t serialNumber, Family instanceFamily, const Clock& clock)
      : serial(serialNumber), family(instanceFamily), rib(instanceFamily, clock) {}

  const std::uint32_t serial;  // tells lives of the same instance apart
  const Family family;
  std::uint32_t routerId = 0;  // an IPv4 address as it lies in memory
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
  explicit Tables(const Clock& clock) : m_clock(clock) {}

  // The tables. The rules of their rows are in *_rows.cpp and protocol_table.cpp; whoever changes a
  // row there calls the matching function below.
  std::map<std::uint32_t, std::unique_ptr<Instance>> instances;
  std::map<InterfaceKey, InterfaceRow> interfaces;
  std::map<AddressKey, AddressRow> addresses;
  std::map<RedistributionKey, int> redistributions;  // the admin status
  std::map<ProtocolKey, ProtocolRow> protocolRows;
  std::size_t staticRoutes = 0;  // of all instances

  std::array<Limit, kRowTypes> limits;
  /// Done, or the limit's status when one more row is too many.
  unsigned int RoomFor(RowType type, std::size_t rows) const;

  Instance* FindInstance(std::uint32_t instance) const;
  /// A new instance; interfaces and addresses that are there take effect in it.
  Instance& AddInstance(std::uint32_t instance, Family family);
  /// Drops an instance with everything that goes with it.
  void DropInstance(std::uint32_t instance);
  /// An interface was stored, changed or removed.
  void InterfaceChanged(const InterfaceKey& interface);
  void AddressStored(const AddressKey& key);
  /// To be called before the row is removed or its prefix length is changed.
  void DetachAddress(const AddressKey& key);
  /// An instance's RIB was changed and may have work to do.
  void RibChanged(std::uint32_t instance);

  bool HasWork() const;
  void Work();

  /// Forgets all rows and all work; limits stay.
  void Clear();

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

  void ScanInterface();
  void ScanAddress();
  void Attach(const AddressKey& key, AddressRow& row);
  void Detach(Instance& instance, const AddressKey& key, AddressRow& row);
  void Bury(std::unique_ptr<Instance> instance);

  const Clock& m_clock;
  std::uint32_t m_lastSerial = 0;
  std::deque<InterfaceScan> m_interfaceScans;
  std::deque<AddressScan> m_addressScans;
  std::deque<std::uint32_t> m_busyRibs;
  std::deque<std::unique_ptr<Instance>> m_buried;  // freed in steps
};

}  // namespace routing_stack

#endif
