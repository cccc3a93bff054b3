// The links of the machine as interfaces of the device.
#ifndef DEVICE_INTENT_LINKS_H
#define DEVICE_INTENT_LINKS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "device/documents/device.h"

namespace intent {

/// A link as the kernel has it.
struct Link {
  std::uint32_t index = 0;
  std::string name;
  std::uint32_t flags = 0;  // DcInterfaceMgr::AddInterface's bits
  std::uint32_t mtu = 0;
  bool up = false;
  std::optional<std::uint16_t> tag;        // of a VLAN sub-interface, its 802.1Q id
  std::vector<documents::Ip4Network> ip4;  // the primary one first, no address twice
  std::vector<Tarsel::Ip6Prefix> ip6;      // each with its host bits, no address twice
  bool isVrf = false;                      // a VRF device itself
  std::string vrf;  // the name of the VRF device that enslaves it, if one does

  friend bool operator==(const Link& a, const Link& b);
};

/// By index.
using Links = std::map<std::uint32_t, Link>;
/// What links have become; nothing for those that have gone.
using LinkChanges = std::map<std::uint32_t, std::optional<Link>>;

/// What a link's VLAN follows from.
enum class LinkRule { DOCUMENT, TAG, VRF, NAME, DEFAULT };
/// "document", "tag", "vrf", "name" or "default".
const char* DescribeRule(LinkRule rule);

/// What becomes of a link that the device takes.
struct LinkPlace {
  std::uint32_t vlan = 0;
  LinkRule rule = LinkRule::DEFAULT;
  /// Why it is left out all the same; null if it is not.
  const char* problem = nullptr;
};

/// The problem of a link whose place an interface of the document has.
constexpr const char* HAS_NO_PLACE = "an interface of the document has its VLAN and index";

/// The document's word comes before the 802.1Q id, that before the VLAN of the VRF device that
/// enslaves it, that before the number after the last dot of its name, and the default VLAN is the
/// last. Nothing for a link that the device does not take. A VRF device is taken only if the
/// document has it among its interfaces: no pattern makes it one.
std::optional<LinkPlace> FindPlace(const documents::LinkSettings& settings,
                                   unsigned short defaultVlan, const Link& link);

/// The link as an interface.
documents::Interface InterfaceOf(const Link& link);

/// Adds the links that the device takes to the interfaces of its document. A link whose VLAN and
/// index an interface of the document has is left out.
void AddLinks(const documents::LinkSettings& settings, unsigned short defaultVlan,
              const Links& links, documents::Interfaces& interfaces);

}  // namespace intent

#endif
