#include "vantacore/redistribution_profile.h"

namespace Tarsel {

RedistributionProfile::RedistributionProfile()
    : static_(true), connected(true), rip(true), ospf(true), bgp(true) {}

RedistributionProfile::RedistributionProfile(bool static_on, bool connected_on, bool bgp_on,
                                             bool ospf_on, bool rip_on)
    : static_(static_on), connected(connected_on), rip(rip_on), ospf(ospf_on), bgp(bgp_on) {}

RedistributionProfile& RedistributionProfile::operator=(const RedistributionProfile& other) =
    default;

bool RedistributionProfile::operator==(const RedistributionProfile& other) const {
  return static_ == other.static_ && connected == other.connected && rip == other.rip &&
         ospf == other.ospf && bgp == other.bgp;
}

bool RedistributionProfile::operator!=(const RedistributionProfile& other) const {
  return !(*this == other);
}

void RedistributionProfile::Reset() { *this = RedistributionProfile(); }

bool RedistributionProfile::ParseOption(const OptionsNode& node) {
  const OptionsNode profile = node.GetChildNode("REDISTRIBUTION");
  if (profile.IsEmpty()) {
    return false;
  }
  // A flag that cannot be read keeps its value, so the results do not matter.
  profile.AsVal(static_, "static");
  profile.AsVal(connected, "connected");
  profile.AsVal(bgp, "bgp");
  profile.AsVal(rip, "rip");
  profile.AsVal(ospf, "ospf");
  return true;
}

}  // namespace Tarsel
