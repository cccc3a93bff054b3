// What has to be told so that the interfaces become the wanted ones.
#ifndef DEVICE_INTENT_INTERFACE_PLAN_H
#define DEVICE_INTENT_INTERFACE_PLAN_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "device/documents/device.h"

namespace intent {

// The library's registry is told of these.

/// The whole of an interface, without its addresses: a new one, or new flags or another MTU.
struct Register {
  std::string name;
  std::uint32_t flags;
  std::uint32_t mtu;
  bool up;
};
struct Unregister {
  std::string name;
};
struct SetStatus {
  std::string name;
  bool up;
};
struct AddIp4 {
  documents::Ip4Network network;
};
/// The registry tells the VLAN's routers itself.
struct ChangeIp4 {
  documents::Ip4Network network;
};
struct DeleteIp4 {
  documents::Ip4Network network;
};
struct AddIp6 {
  Tarsel::Ip6Prefix prefix;
};
struct DeleteIp6 {
  Tarsel::Ip6Prefix prefix;
};

// The VLAN's routers are told of these.

struct TellStatus {
  bool up;
};
/// The interface has this IPv4 address, or none (0.0.0.0).
struct TellIp4 {
  Tarsel::Ip4Addr address;
};
/// A remote has joined on the interface, or the last one has left.
struct TellJoined {
  bool joined;
};

using InterfaceAction = std::variant<Register, Unregister, SetStatus, AddIp4, ChangeIp4, DeleteIp4,
                                     AddIp6, DeleteIp6, TellStatus, TellIp4, TellJoined>;

/// One thing to be told, about one interface.
struct InterfaceStep {
  documents::InterfaceKey key;
  InterfaceAction action;

  /// Whether it is for the VLAN's routers and not for the registry.
  bool IsForRouters() const;
};

/// In the order in which they are carried out.
using InterfacePlan = std::vector<InterfaceStep>;

/// The differences only: what is the same in both is not mentioned again. The registry keeps the name
/// that an interface came with, so one with a new name goes and comes again. All that go do so before
/// any comes: a name may pass from one interface to another.
InterfacePlan PlanInterfaces(const documents::Interfaces& present,
                             const documents::Interfaces& wanted);

/// All there is to tell about an interface that nobody knows yet.
InterfacePlan PlanNew(const documents::InterfaceKey& key, const documents::Interface& interface);

}  // namespace intent

#endif
