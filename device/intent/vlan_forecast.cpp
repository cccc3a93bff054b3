#include "vlan_forecast.h"

namespace intent {

using documents::ConfigFiles;
using documents::ProtocolSets;
using documents::VlanIds;
using Tarsel::DclConfigObject;

VlanIds FindLeavingVlans(const PresentVlans& present, const ConfigFiles& wanted) {
  VlanIds leaving;
  for (const auto& vlan : present) {
    leaving.insert(vlan.first);
  }
  for (const auto& file : wanted) {
    for (const unsigned short vlan : file->vlans) {
      const auto known = present.find(vlan);
      if (known != present.end() && (file->type == DclConfigObject::VLAN_OPTIONS ||
                                     known->second.documents.count(file->name) != 0)) {
        leaving.erase(vlan);
      }
    }
  }
  return leaving;
}

ProtocolSets FindEnabledProtocols(const PresentVlans& present, const AppliedDocuments& applied,
                                  const ConfigFiles& wanted) {
  ProtocolSets enabled;
  for (const auto& file : wanted) {
    for (const auto& [vlan, protocols] : file->protocols) {
      if (file->type == DclConfigObject::VLAN_OPTIONS) {
        enabled[vlan] |= protocols;
      } else if (applied.count(file->name) != 0) {
        const auto known = present.find(vlan);
        enabled[vlan] |= known == present.end() ? 0 : protocols & known->second.protocols;
      }
    }
  }
  return enabled;
}

}  // namespace intent
