// Configuration documents (the VLAN document and remote ones) before the library sees them.
#ifndef DEVICE_DOCUMENTS_VLAN_DOCUMENT_H
#define DEVICE_DOCUMENTS_VLAN_DOCUMENT_H

#include <json/value.h>

#include <set>

#include "device/program/report.h"

namespace documents {

/// The VLANs that a document names, as the library reads them.
using VlanIds = std::set<unsigned short>;

/// Goes through a document and reports what nobody will be able to use: entries without a VLAN id,
/// values of wrong types. Entries that the library would pass over anyway are taken out, so that each
/// is complained about once and clearly. False, and `document` is not to be applied, when the list of
/// VLANs is no list.
bool CheckVlanDocument(Json::Value& document, const std::string& file,
                       const program::Report& report, VlanIds& vlans);

}  // namespace documents

#endif
