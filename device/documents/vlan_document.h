// Checks configuration documents (the VLAN document and remote ones) before the library gets them.
#ifndef DEVICE_DOCUMENTS_VLAN_DOCUMENT_H
#define DEVICE_DOCUMENTS_VLAN_DOCUMENT_H

#include <json/value.h>

#include <set>

#include "device/program/report.h"

namespace documents {

/// The VLANs that a document names, as the library reads them.
using VlanIds = std::set<unsigned short>;

/// Checks a document and reports what cannot be used: entries without a VLAN id, values of wrong
/// types. Removes the entries that the library would skip, so that each is reported only once, and
/// adds the VLANs of the others to `vlans`. Returns false if VLAN_CONFIGURATIONS is a number, a
/// text or a flag; the document must not be applied then.
bool CheckVlanDocument(Json::Value& document, const std::string& file,
                       const program::Report& report, VlanIds& vlans);

}  // namespace documents

#endif
