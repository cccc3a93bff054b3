// The interfaces as the library has been told of them.
#ifndef DEVICE_APPLY_INTERFACES_H
#define DEVICE_APPLY_INTERFACES_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "device/intent/interface_plan.h"
#include "device/intent/primary_interfaces.h"
#include "host/dc_host_interfaces.h"

namespace apply {

/// Carries out interface plans, and keeps what the library knows: what the last document said, and what
/// has happened to interfaces since. The library's managers are called from inside every operation but
/// the questions; they may ask IsInterfaceUp() then.
class Interfaces : public Tarsel::DcIpInterface {
 public:
  /// Brings the registry and the routers to what a device document says, by the differences only. The
  /// default VLAN is not looked at: the library takes it once, at start-up. Each of `vlans`, and each
  /// VLAN that the document speaks of, has a primary interface afterwards.
  void Apply(const documents::Device& wanted, const std::set<unsigned short>& vlans);

  /// What happens to an interface by itself, between two documents. The library is told each time,
  /// even if the interface is in that state already. The interface must be there. A later document is
  /// compared with what these leave.
  void SetStatus(const documents::InterfaceKey& key, bool up);
  void SetJoined(const documents::InterfaceKey& key, bool joined);
  /// A second IPv4 address takes the first one's place here as in the library.
  void AddAddress(const documents::InterfaceKey& key, const documents::Ip4Network& network);
  void AddAddress(const documents::InterfaceKey& key, const Tarsel::Ip6Prefix& prefix);
  void ChangeAddress(const documents::InterfaceKey& key, const documents::Ip4Network& network);
  /// Whichever IPv4 address is named, the interface has none afterwards, as in the library.
  void DeleteAddress(const documents::InterfaceKey& key, const documents::Ip4Network& network);
  void DeleteAddress(const documents::InterfaceKey& key, const Tarsel::Ip6Prefix& prefix);

  /// Registers everything again, for a stack that has lost it.
  void BringBack() const;

  /// Tells a VLAN's routers, which are new, about the interfaces that were there before them.
  void AnnounceTo(unsigned short vlan) const;

  /// The index of the VLAN's interface of that name, if there is one.
  std::optional<std::uint32_t> IndexOf(unsigned short vlan, const std::string& name) const;

  bool IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const override;

 private:
  void SetPrimaries(const intent::Primaries& wanted);
  void Forget(const documents::InterfaceKey& key, const Tarsel::Ip6Addr& address);

  documents::Interfaces m_interfaces;
  // Of m_interfaces, by VLAN and name.
  std::map<std::pair<unsigned short, std::string>, std::uint32_t> m_indexes;
  intent::Primaries m_primaries;
};

}  // namespace apply

#endif
