// What the library has to be told so that its interfaces become the wanted ones.
#ifndef DEVICE_INTENT_INTERFACE_PLAN_H
#define DEVICE_INTENT_INTERFACE_PLAN_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "device/documents/device.h"

namespace intent {

// These go to the library's interface registry.

/// A whole interface without its addresses: a new one, or one with new flags or another MTU.
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

// These go to the VLAN's routers.

struct TellStatus {
  bool up;
};
/// The interface has this IPv4 address, or none (0.0.0.0).
struct TellIp4 {
  Tarsel::Ip4Addr address;
};
/// A remote has joined on the interface, or the last remote has left.
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

/// Returns the differences only. The registry keeps the name with which an interface was
/// registered, so an interface with a new name is removed and registered again. All removals come
/// before any registration, because a name may pass from one interface to another.
InterfacePlan PlanInterfaces(const documents::Interfaces& present,
                             const documents::Interfaces& wanted);

/// Returns all steps for an interface that is not known yet.
InterfacePlan PlanNew(const documents::InterfaceKey& key, const documents::Interface& interface);

}  // namespace intent

#endif
