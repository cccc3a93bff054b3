// Reads VLAN documents and remote documents.
#ifndef DEVICE_DOCUMENTS_VLAN_DOCUMENT_H
#define DEVICE_DOCUMENTS_VLAN_DOCUMENT_H

#include <string_view>

#include "document_shapes.h"
#include "folder.h"

namespace documents {

/// Reads a document and fills everything of `file` but its stamp; its name and type are there
/// already. What cannot be used is found and left out, the smallest part of it: a member, a row, a
/// route, an entry. Returns whether there is a document at all: the text is JSON and has a list of
/// VLANs.
bool ReadVlanDocument(std::string_view text, const VlanShapes& shapes, ConfigFile& file);

}  // namespace documents

#endif
