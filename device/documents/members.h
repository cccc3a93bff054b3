// What members of configuration documents mean, for both of their readers: the protocol routers,
// which carry them out, and the configuration folder, which forecasts what they will do. This
// header needs nothing else of this folder.
#ifndef DEVICE_DOCUMENTS_MEMBERS_H
#define DEVICE_DOCUMENTS_MEMBERS_H

#include "tarsel/options.h"

namespace documents {

/// Whether a VLAN entry's member for a protocol enables the protocol. The last two are mistakes and
/// do not enable it.
enum class Enabling { YES, NO, NOT_AN_OBJECT, NOT_A_FLAG };

/// A protocol that is named is enabled. Its member "enabled" can switch it off while its
/// configuration stays in the document.
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
