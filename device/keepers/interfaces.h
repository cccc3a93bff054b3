// The interfaces as the library has been told of them.
#ifndef DEVICE_KEEPERS_INTERFACES_H
#define DEVICE_KEEPERS_INTERFACES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "device/intent/interface_plan.h"
#include "device/intent/links.h"
#include "device/intent/primary_interfaces.h"
#include "device/intent/route_resolution.h"
#include "host/dc_host_interfaces.h"

namespace keepers {

/// Something that happens to an interface.
struct InterfaceChange {
  const documents::InterfaceKey& key;
  const std::string& name;
  const intent::InterfaceAction& action;
  bool isNew;  // the interface was not there before
  enum class By { DOCUMENT, EVENT, LINK } by;
};

/// Carries out interface plans, and keeps what the library knows: what the last document said, what
/// the machine's links are like, and what has happened to interfaces since. Every operation except
/// Get, GetLinks, IndexOf, GetIndexes and IsInterfaceUp calls the library's managers, which may call
/// IsInterfaceUp meanwhile.
class Interfaces : public Tarsel::DcIpInterface {
 public:
  /// Tells the registry and the routers the differences to what a device document says, and to the
  /// links that it takes. The default VLAN counts once, at the first time, as the library takes it
  /// once. Afterwards each of `vlans`, and each VLAN that the document gives a primary interface,
  /// has one.
  void Apply(const documents::Device& wanted, const std::set<unsigned short>& vlans);

  /// The second half of Apply alone: each of these VLANs has a primary interface afterwards.
  void ApplyPrimaries(const documents::Device& wanted, const std::set<unsigned short>& vlans);

  /// What links of the machine have become. Before the first document this is only noted; later the
  /// registry and the routers are told what follows from it, in the order of a plan. Returns whether
  /// an interface has come or gone.
  bool TakeLinks(const intent::LinkChanges& changes);
  /// All links, whether the device takes them or not.
  const intent::Links& GetLinks() const { return m_links; }
  /// As FindPlace, by the last document; with a problem for a link that had to be left out.
  std::optional<intent::LinkPlace> FindPlaceOf(const intent::Link& link) const;
  /// The default VLAN of the first document.
  unsigned short GetDefaultVlan() const { return m_defaultVlan.value_or(0); }

  /// The next functions are for changes of an interface between two documents. The library is told
  /// each time, even if the interface is in that state already. The interface must exist. A later
  /// document is compared with the state that these leave.
  void SetStatus(const documents::InterfaceKey& key, bool up);
  void SetJoined(const documents::InterfaceKey& key, bool joined);
  /// A second IPv4 address replaces the first, as in the library.
  void AddAddress(const documents::InterfaceKey& key, const documents::Ip4Network& network);
  void AddAddress(const documents::InterfaceKey& key, const Tarsel::Ip6Prefix& prefix);
  void ChangeAddress(const documents::InterfaceKey& key, const documents::Ip4Network& network);
  /// The interface has no IPv4 address afterwards, whichever one `network` names, as in the
  /// library.
  void DeleteAddress(const documents::InterfaceKey& key, const documents::Ip4Network& network);
  void DeleteAddress(const documents::InterfaceKey& key, const Tarsel::Ip6Prefix& prefix);

  /// From now on `listener` hears of each action before the library is told; an empty one ends
  /// that. It must not call this object or the library. What is told again (BringBack, AnnounceTo)
  /// has not changed.
  void SetListener(std::function<void(const InterfaceChange&)> listener) {
    m_listener = std::move(listener);
  }

  /// Registers everything again, for a stack that has restarted.
  void BringBack() const;

  /// Tells the routers of a new VLAN about the interfaces that existed before them.
  void AnnounceTo(unsigned short vlan) const;

  /// What is wanted: what the last document said, and what has happened to interfaces since.
  const documents::Interfaces& Get() const { return m_interfaces; }

  /// Whether anything has happened to interfaces since the last document was applied, beside what
  /// has become of links.
  bool HasEvents() const { return m_hasEvents; }

  /// Returns the index of the VLAN's interface of that name, if there is one.
  std::optional<std::uint32_t> IndexOf(unsigned short vlan, const std::string& name) const;

  /// The indexes of the VLANs' interfaces by name. The map does not change: when interfaces do,
  /// this returns another one.
  const std::shared_ptr<const intent::InterfaceIndexes>& GetIndexes() const { return m_indexes; }

  /// How many interfaces are up, and how many addresses all have. Kept, not counted.
  std::size_t CountUp() const { return m_up; }
  std::size_t CountAddresses() const { return m_addresses; }

  bool IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const override;

 private:
  documents::Interfaces WithLinks(const documents::Device& wanted) const;
  bool IsTakenByDocument(const documents::InterfaceKey& key) const;
  std::optional<documents::InterfaceKey> FindKeyOf(const intent::Link& link) const;
  void CarryOut(const intent::InterfacePlan& plan, InterfaceChange::By by);
  void Replace(const documents::Interfaces& before, documents::Interfaces after);
  void ChoosePrimaries(const std::set<unsigned short>& vlans);
  void TakePrimaries(const intent::Primaries& primaries);
  void SetPrimary(unsigned short vlan, const std::string& name);
  void TellListener(const intent::InterfacePlan& plan, InterfaceChange::By by) const;
  bool IsRepeat(const intent::InterfaceStep& step) const;
  void Happen(const documents::InterfaceKey& key, const intent::InterfaceAction& action);
  void TakeIndexes();
  void CountAll();
  void Count(const documents::Interface& interface, bool isThere);
  void SetIp4(const documents::InterfaceKey& key, std::vector<documents::Ip4Network> networks);
  void Forget(const documents::InterfaceKey& key, const Tarsel::Ip6Addr& address);

  intent::Links m_links;
  documents::LinkSettings m_settings;           // of the last document
  intent::Primaries m_named;                    // so too
  std::optional<unsigned short> m_defaultVlan;  // nothing before the first document
  documents::Interfaces m_interfaces;
  std::shared_ptr<const intent::InterfaceIndexes> m_indexes =
      std::make_shared<const intent::InterfaceIndexes>();  // of m_interfaces
  intent::Primaries m_primaries;
  std::size_t m_up = 0;
  std::size_t m_addresses = 0;
  bool m_hasEvents = false;
  std::function<void(const InterfaceChange&)> m_listener;
};

}  // namespace keepers

#endif
