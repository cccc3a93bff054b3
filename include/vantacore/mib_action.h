// Actions: requests for single rows that wait to go to the routing stack.
#ifndef VANTACORE_MIB_ACTION_H
#define VANTACORE_MIB_ACTION_H

#include <cstdint>

#include "tarsel/address.h"
#include "vantacore/cfg_route.h"
#include "vantacore/export.h"

namespace Tarsel {

/// One request for one row. A producer creates it with `new (std::nothrow)` and hands it to
/// Serializer::Insert together with the row's identifier; the serializer issues it at most once and
/// destroys it right after. An action that is never issued is never destroyed. The outcome of the
/// request is reported through the callback API.
class VANTACORE_API MibAction {
 public:
  virtual ~MibAction();
  /// Makes the stack call, from inside which the stack may call back. `shared` says whether the row
  /// had other requests or had to wait: it is false if the row was idle and the request goes out at
  /// once, true if it is released from the row's queue.
  virtual void IssueReq(bool shared) = 0;
};

/// A static route of one VLAN.
class VANTACORE_API RouteAction : public MibAction {
 public:
  /// Copies the entry (4 address bytes for IPv4, 16 otherwise) and the VLAN.
  RouteAction(CfgRouteEntry& entry, unsigned long vlan);
  void IssueReq(bool shared) override;

 private:
  CfgRouteEntry m_entry;
  std::uint32_t m_vlan;
};

/// An interface of one protocol instance.
class VANTACORE_API InterfaceAction : public MibAction {
 public:
  /// The size of the name's buffer in bytes, terminating null included.
  static constexpr unsigned int NAME_SIZE = 256;

  /// All numbers 0, the name empty.
  InterfaceAction();
  /// `vlan` is the protocol instance id. Of `name` at most 255 characters are kept; null is empty.
  InterfaceAction(long rowStatus, unsigned int operStatus, unsigned int vlan, unsigned int ifIndex,
                  const char* name, unsigned int ifAttr, long flags, unsigned int extra);
  void IssueReq(bool shared) override;

 private:
  std::int32_t m_rowStatus;
  std::uint32_t m_operStatus;
  std::uint32_t m_vlan;
  std::uint32_t m_ifIndex;
  char m_name[NAME_SIZE];
  std::uint32_t m_ifAttr;
  std::uint32_t m_flags;
  std::uint32_t m_extra;
};

/// An IPv4 address of an interface; the stack is given the vid, which is the IPv4 instance.
class VANTACORE_API IPv4AddressAction : public MibAction {
 public:
  /// Numbers 0, address and mask 0.0.0.0.
  IPv4AddressAction();
  /// Keeps the values; the row status as 32 bits.
  IPv4AddressAction(long rowStatus, unsigned int vlan, unsigned int ifIndex, const Ip4Addr& address,
                    Ip4Addr mask);
  void IssueReq(bool shared) override;

 private:
  std::int32_t m_rowStatus;
  std::uint32_t m_vlan;
  std::uint32_t m_ifIndex;
  Ip4Addr m_address;
  Ip4Addr m_mask;
};

/// An IPv6 address of an interface; the stack is given the IPv6 instance of the stored VLAN.
class VANTACORE_API IPv6AddressAction : public MibAction {
 public:
  /// All zero.
  IPv6AddressAction();
  /// Keeps the values; the row status as 32 bits.
  IPv6AddressAction(long rowStatus, unsigned int vlan, unsigned int ifIndex, const Ip6Addr& address,
                    unsigned int prefixLen);
  void IssueReq(bool shared) override;

 private:
  std::int32_t m_rowStatus;
  std::uint32_t m_vlan;
  std::uint32_t m_ifIndex;
  Ip6Addr m_address;
  std::uint32_t m_prefixLen;
};

/// A redistribution rule: routes of the source protocol handed to the destination protocol.
class VANTACORE_API RedistAction : public MibAction {
 public:
  /// All numbers are 0, except the VLAN, which is 1.
  RedistAction();
  /// `priority` and `extra` are carried and not sent.
  RedistAction(int rowStatus, int adminStatus, int source, int destination, int priority,
               unsigned int vlan, unsigned int extra);
  void IssueReq(bool shared) override;

 private:
  std::int32_t m_rowStatus;
  std::int32_t m_adminStatus;
  std::int32_t m_source;
  std::int32_t m_destination;
  std::int32_t m_priority;
  std::uint32_t m_vlan;
  std::uint32_t m_extra;
};

}  // namespace Tarsel

#endif
