// The registry of the device's IP interfaces.
#ifndef VANTACORE_DC_INTERFACE_MGR_H
#define VANTACORE_DC_INTERFACE_MGR_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>

#include "tarsel/address.h"
#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

class IpInterface;

/// The process-wide registry of interfaces and addresses, per VLAN. Each event first queues
/// requests for the stack, then updates the record; requests are queued for unknown interfaces too,
/// except by ChangeIpAddress. A request may go out at once, and the stack may call back into any
/// operation of the registry meanwhile. Texts and addresses that are passed as arguments may come
/// from a record of the registry. Interface indices are the host's and the stack's. Never
/// destroyed.
class VANTACORE_API DcInterfaceMgr {
 public:
  /// The host's interface types. Only 0, "none found", has a meaning here.
  enum IntfType : unsigned int { INTF_TYPE_NONE = 0 };

  DcInterfaceMgr(const DcInterfaceMgr&) = delete;
  DcInterfaceMgr& operator=(const DcInterfaceMgr&) = delete;

  /// The singleton, created on first use. Never null: without memory for it the process ends.
  static DcInterfaceMgr* GetInstance();
  /// Stores the default interface for GetDefaultInterface; nothing else uses it.
  void Initialize(unsigned int defaultInterface);
  /// The default interface as last given to Initialize, 0 before.
  unsigned int GetDefaultInterface() const;

  // --- interface events ---

  /// `flags`: 1 MPLS tunnel, 2 loopback, 4 point-to-point, 8 broadcast, 16 multicast, 32 unnumbered
  /// (left out for the IPv6 instance). `extra` goes to the stack unchanged. `status`: 1 up, 2 down.
  /// A known interface keeps its first name, type and addresses. A null name is the empty name,
  /// here and in the events below.
  void AddInterface(unsigned short vlan, unsigned int ifIndex, const char* name, IntfType type,
                    unsigned int flags, unsigned int extra, unsigned int status);
  /// Forgets the record. `name` is only passed to the stack; the record is found by `ifIndex`.
  void RemoveInterface(unsigned short vlan, unsigned int ifIndex, const char* name);
  /// The interface has come up: queues its rows for both instances and stores the status. `name` is
  /// only passed to the stack.
  void SetInterfaceUp(unsigned short vlan, unsigned int ifIndex, const char* name);
  /// The interface has gone down; otherwise like SetInterfaceUp.
  void SetInterfaceDown(unsigned short vlan, unsigned int ifIndex, const char* name);
  /// Queues the interface's rows for both instances of the VLAN; the record is not touched. Row
  /// status: 1 active, 4 create and go, 6 destroy. `ifAttr` and `extra` go to the stack unchanged.
  /// If memory is short for either request, neither is queued, and that is traced.
  void SetInterfaceStatus(unsigned short vlan, unsigned int ifIndex, const char* name,
                          unsigned int rowStatus, unsigned int operStatus, unsigned int ifAttr,
                          unsigned int flags, unsigned int extra);

  // --- address events ---

  // If memory is short, a request is not queued, and nobody is told; the record still changes.

  /// An interface has one IPv4 address: a later one replaces an earlier one.
  void AddIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                    const Ip4Addr& mask);
  /// Queues the removal of this address and clears the stored address, even if it is another one.
  void DeleteIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                       const Ip4Addr& mask);
  /// Queues the removal of the stored address and the new address, stores the new one and tells the
  /// VLAN's routers. Does nothing for an unknown interface.
  void ChangeIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                       const Ip4Addr& mask);
  /// Queues the address's row; the record is not touched.
  void UpdateIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                       const Ip4Addr& mask, unsigned int rowStatus);

  /// Stores the prefix of the address; lengths above 128 count as 128.
  void AddIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip6Addr& addr,
                    unsigned int prefixLen);
  /// Queues the removal of the row. The record forgets the prefix only if it was stored with length
  /// 128; others stay in the record.
  void DeleteIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip6Addr& addr,
                       unsigned int prefixLen);
  /// Queues the address's row; the record is not touched.
  void UpdateIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip6Addr& addr,
                       unsigned int prefixLen, unsigned int rowStatus);

  // --- queries ---

  /// Returns false, with the outputs untouched, if the interface is not registered.
  bool GetIfIpAddr(unsigned short vlan, unsigned int ifIndex, Ip4Addr& addr, Ip4Addr& mask);
  /// Looks the name up among the names of all VLANs' interfaces, then the interface with that
  /// number in `vlan`. Returns false, with `addr` untouched, if the name is null or not registered,
  /// or if the VLAN has no interface with that number.
  bool GetIfIpAddr(unsigned short vlan, const char* name, Ip4Addr& addr);
  /// "lo" for an unregistered interface. Valid while the interface is registered.
  const char* GetIfName(unsigned short vlan, unsigned int ifIndex);
  /// Looks the name up among the names of all VLANs' interfaces. Returns false, with `ifIndex`
  /// untouched, if the name is null or not registered.
  bool GetIfIndex(const char* name, unsigned int& ifIndex);
  /// Looks the name up among the names of all VLANs' interfaces and returns the type of the
  /// interface with that number in VLAN 1; 0 if there is none, or if the name is null or empty.
  IntfType GetIfType(const char* name);
  /// Stores the name of the VLAN's primary interface, for the stack (cGetAddress). The interface
  /// need not exist. A null or empty name is ignored.
  void SetPrimaryInterface(unsigned short vlan, const char* name);
  /// Null when none was set. Valid until the next SetPrimaryInterface of the VLAN.
  const char* GetPrimaryInterface(unsigned short vlan) const;
  /// The record of a registered interface, or null. Valid while the interface is registered.
  const IpInterface* FindInterface(unsigned short vlan, unsigned int ifIndex) const;

 protected:
  DcInterfaceMgr();
  ~DcInterfaceMgr();

 private:
  struct Tables;

  static DcInterfaceMgr* m_instance;

  IpInterface* Find(unsigned short vlan, unsigned int ifIndex);

  std::uint32_t m_defaultInterface;
  std::unique_ptr<Tables> m_tables;
};

/// The record of one interface. Its name and type are those of its first registration.
class VANTACORE_API IpInterface {
 public:
  /// Identifies an interface.
  struct VANTACORE_API Key {
    /// The VLAN that the interface is on.
    unsigned short vlan;
    /// The interface's number within its VLAN.
    std::uint32_t ifIndex;

    /// Orders by VLAN, then by interface index. Names are not compared.
    static bool NameCompare(const Key& a, const Key& b);
  };

  /// Prefixes of an interface.
  typedef std::unordered_set<Ip6Prefix, std::size_t (*)(const Ip6Prefix&)> PrefixSet;

  /// A hash: the first four address bytes as one native word.
  static std::size_t Ip6PrefixHash(const Ip6Prefix& prefix);

  /// Down, without addresses.
  IpInterface(const Key& key_, const char* name_, DcInterfaceMgr::IntfType type_);

  /// VLAN and index.
  Key key;
  std::uint32_t ifIndex;  ///< that of the key; not read
  /// The name of the first registration.
  string name;
  /// The type of the first registration.
  DcInterfaceMgr::IntfType type;
  std::uint32_t status;  ///< 1 up, 2 down
  /// 0.0.0.0 while there is none.
  Ip4Addr address;
  /// The mask that came with the address.
  Ip4Addr mask;
  /// The stored IPv6 prefixes.
  PrefixSet prefixes;
};

}  // namespace Tarsel

#endif
