// What the members of configuration documents mean to everybody who reads them: the protocol routers,
// which carry them out, and the configuration folder, which says beforehand what they will do. A leaf:
// nothing else of this folder is needed to use it.
#ifndef DEVICE_DOCUMENTS_MEMBERS_H
#define DEVICE_DOCUMENTS_MEMBERS_H

#include "tarsel/options.h"

namespace documents {

/// Whether a VLAN entry's member for a protocol enables the protocol. The last two do not, and are
/// mistakes.
enum class Enabling { YES, NO, NOT_AN_OBJECT, NOT_A_FLAG };

/// A protocol that is named runs. With "enabled" it can be switched off while its configuration stays in
/// the document.
inline Enabling ReadEnabling(const Tarsel::OptionsNode& member) {
  if (!member.IsObject()) {
    return Enabling::NOT_AN_OBJECT;
  }
  bool enabled = false;
  if (member.AsVal(enabled, "enabled")) {
    return enabled ? Enabling::YES : Enabling::NO;
  }
  return member.GetChildNode("enabled").IsNull() ? Enabling::YES : Enabling::NOT_A_FLAG;
}

}  // namespace documents

#endif
