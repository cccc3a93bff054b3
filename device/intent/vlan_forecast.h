// Which VLANs there will be, and which protocols will run, once documents have been applied: both
// are what the VLAN document says. Remote documents add to them (document_cut.h sees to that).
#ifndef DEVICE_INTENT_VLAN_FORECAST_H
#define DEVICE_INTENT_VLAN_FORECAST_H

#include "device/documents/folder.h"

namespace intent {

/// The VLANs of the VLAN document; none without one.
const documents::VlanIds& FindVlans(const documents::ConfigFiles& files);

/// The protocols that run in each of them.
const documents::ProtocolSets& FindEnabledProtocols(const documents::ConfigFiles& files);

/// Returns the VLANs among `present` that will be gone when the wanted documents have been applied.
documents::VlanIds FindLeavingVlans(const documents::VlanIds& present,
                                    const documents::ConfigFiles& wanted);

}  // namespace intent

#endif
