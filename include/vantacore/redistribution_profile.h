// Which kinds of routes a VLAN hands on to its routing protocols.
#ifndef VANTACORE_REDISTRIBUTION_PROFILE_H
#define VANTACORE_REDISTRIBUTION_PROFILE_H

#include "tarsel/options.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Five flags, all on by default. A plain value.
class VANTACORE_API RedistributionProfile {
 public:
  RedistributionProfile();
  /// Note the order: it is not that of the fields.
  RedistributionProfile(bool static_, bool connected, bool bgp, bool ospf, bool rip);
  /// A copy.
  RedistributionProfile(const RedistributionProfile& other) = default;
  /// Copies the five flags.
  RedistributionProfile& operator=(const RedistributionProfile& other);

  /// All five flags equal.
  bool operator==(const RedistributionProfile& other) const;
  /// Any flag different.
  bool operator!=(const RedistributionProfile& other) const;
  /// All five flags on.
  void Reset();
  /// Takes the flags that "REDISTRIBUTION" of a VLAN entry names; the others keep their values.
  /// Returns false, with nothing changed, if the member is absent or empty.
  bool ParseOption(const OptionsNode& node);

  /// Static routes.
  bool static_;
  /// Networks that the device is attached to.
  bool connected;
  /// Routes of RIP.
  bool rip;
  /// Routes of OSPF.
  bool ospf;
  /// Routes of BGP.
  bool bgp;
};

}  // namespace Tarsel

#endif
