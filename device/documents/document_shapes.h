// What whole documents look like: the members that this folder declares, and the protocols'.
#ifndef DEVICE_DOCUMENTS_DOCUMENT_SHAPES_H
#define DEVICE_DOCUMENTS_DOCUMENT_SHAPES_H

#include <cstdint>
#include <vector>

#include "members.h"

namespace documents {

/// The last VLAN. The ids after it are those of IPv6 instances.
constexpr std::uint32_t MAX_VLAN = 32767;

/// The document of the machine: interfaces, addresses, primary interfaces. The words of an
/// interface's flags stand in the order of their bits.
const Object& DeviceShape();

/// A static route of each family.
const Object& Route4Shape();
const Object& Route6Shape();

/// The VLAN document and remote documents. An entry's protocols are those that a library of routers
/// has declared; of the seven that every VLAN has, those without a declaration are an ANY_OBJECT.
/// The shapes of an object are valid as long as it lives; the declarations are borrowed.
class VlanShapes {
 public:
  explicit VlanShapes(const Protocols& protocols);
  VlanShapes(const VlanShapes&) = delete;
  VlanShapes& operator=(const VlanShapes&) = delete;

  /// A whole document.
  const Object& Vlans() const { return m_vlans.root; }
  const Object& Remote() const { return m_remote.root; }
  /// One VLAN's entry of such a document.
  const Object& VlansEntry() const { return m_vlans.entry; }
  const Object& RemoteEntry() const { return m_remote.entry; }

 private:
  /// A kind of document: its list of entries is the only member.
  struct Shape {
    Shape(const char* title, const Member& rtm, const Member& redistribution,
          const Protocols& protocols);
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;

    std::vector<Member> members;  // of the entry
    Object entry;
    Member list;
    Object root;
  };

  Shape m_vlans;
  Shape m_remote;
};

}  // namespace documents

#endif
