// What only the documents of a folder together can tell.
#ifndef DEVICE_DOCUMENTS_FOLDER_CHECK_H
#define DEVICE_DOCUMENTS_FOLDER_CHECK_H

#include "folder.h"

namespace documents {

/// Returns warnings, no errors: next hops that no subnet of their VLAN holds, routes and rows whose
/// interface there is not, one subnet on two interfaces, one interface's name in two VLANs, remote
/// entries for VLANs that the VLAN document does not name, and routes that documents give different
/// metrics.
Findings CheckTogether(const Folder& folder);

}  // namespace documents

#endif
