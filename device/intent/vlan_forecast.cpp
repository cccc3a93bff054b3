#include "vlan_forecast.h"

#include <algorithm>
#include <iterator>

namespace intent {

using documents::ConfigFiles;
using documents::ProtocolSets;
using documents::VlanIds;
using Tarsel::DclConfigObject;

namespace {

const documents::ConfigFile& VlanDocumentOf(const ConfigFiles& files) {
  static const documents::ConfigFile NONE;
  const auto found = std::find_if(files.begin(), files.end(), [](const auto& file) {
    return file->type == DclConfigObject::VLAN_OPTIONS;
  });
  return found == files.end() ? NONE : **found;
}

}  // namespace

const VlanIds& FindVlans(const ConfigFiles& files) { return VlanDocumentOf(files).vlans; }

const ProtocolSets& FindEnabledProtocols(const ConfigFiles& files) {
  return VlanDocumentOf(files).protocols;
}

VlanIds FindLeavingVlans(const VlanIds& present, const ConfigFiles& wanted) {
  const VlanIds& staying = FindVlans(wanted);
  VlanIds leaving;
  std::set_difference(present.begin(), present.end(), staying.begin(), staying.end(),
                      std::inserter(leaving, leaving.end()));
  return leaving;
}

}  // namespace intent
