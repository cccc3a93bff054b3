// The interfaces as the library has been told of them.
#ifndef DEVICE_HOST_DEVICE_STATE_H
#define DEVICE_HOST_DEVICE_STATE_H

#include <optional>
#include <set>

#include "device_document.h"
#include "host/dc_host_interfaces.h"

namespace host {

/// Brings the library's interface registry to what a device document says, by the differences only:
/// what is the same in both is not mentioned to the library again.
class DeviceState : public Tarsel::DcIpInterface {
 public:
  /// The default VLAN is not looked at: the library takes it once, at start-up. Each of `vlans`, and
  /// each VLAN that the document speaks of, has a primary interface afterwards: the one that the
  /// document names, else the first with an IPv4 address, else "lo", which has none.
  void Apply(const DeviceDocument& wanted, const std::set<unsigned short>& vlans);

  /// What happens to an interface by itself, between two documents: told to the library each time,
  /// also when it is no news. The interface must be there. A later document is compared with what
  /// these leave.
  void SetStatus(const InterfaceKey& key, bool up);
  void SetJoined(const InterfaceKey& key, bool joined);
  /// A second IPv4 address takes the first one's place here as in the library.
  void AddAddress(const InterfaceKey& key, const Ip4Network& network);
  void AddAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix);
  void ChangeAddress(const InterfaceKey& key, const Ip4Network& network);
  /// Whichever IPv4 address is named, the interface has none afterwards, as in the library.
  void DeleteAddress(const InterfaceKey& key, const Ip4Network& network);
  void DeleteAddress(const InterfaceKey& key, const Tarsel::Ip6Prefix& prefix);

  /// Registers everything again, for a stack that has lost it.
  void BringBack() const;

  /// Tells a VLAN's routers, which are new, about the interfaces that were there before them.
  void AnnounceTo(unsigned short vlan) const;

  /// The index of the VLAN's interface of that name, if there is one.
  std::optional<std::uint32_t> IndexOf(unsigned short vlan, const std::string& name) const;

  bool IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const override;

 private:
  void Add(const InterfaceKey& key, const Interface& interface);
  void Remove(const InterfaceKey& key, const Interface& interface);
  void Change(const InterfaceKey& key, const Interface& from, const Interface& to);
  void ChangeIp4(const InterfaceKey& key, const std::optional<Ip4Network>& from,
                 const std::optional<Ip4Network>& to);
  void ChangeIp6(const InterfaceKey& key, const std::vector<Tarsel::Ip6Prefix>& from,
                 const std::vector<Tarsel::Ip6Prefix>& to);

  void Forget(const InterfaceKey& key, const Tarsel::Ip6Addr& address);

  std::string FirstWithIp4(unsigned short vlan) const;
  void SetPrimary(unsigned short vlan, const std::string& name);

  std::map<InterfaceKey, Interface> m_interfaces;
  // Of m_interfaces, by VLAN and name.
  std::map<std::pair<unsigned short, std::string>, std::uint32_t> m_indexes;
  std::map<unsigned short, std::string> m_primaries;
};

}  // namespace host

#endif
