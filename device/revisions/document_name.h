// Which names documents have.
#ifndef DEVICE_REVISIONS_DOCUMENT_NAME_H
#define DEVICE_REVISIONS_DOCUMENT_NAME_H

#include <string>

namespace revisions {

/// The folder of the remote documents.
constexpr const char* REMOTE = "remote";

/// Whether a configuration folder can have a document of this name: device.json, vlans.json or
/// remote/NAME.json. Any other name might lead out of the folder.
bool IsDocumentName(const std::string& name);

}  // namespace revisions

#endif
