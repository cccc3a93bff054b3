// The device document: what the machine around the library looks like.
//
//   { "default_vlan": 10,
//     "interfaces": [
//       { "name": "eth0", "vlan": 10, "index": 3, "flags": ["broadcast", "multicast"], "mtu": 1500,
//         "up": true, "joined": false, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8:1::1/64"] } ],
//     "primary_interfaces": { "10": "eth0" },
//     "kernel": { "interfaces": ["eth*"], "ignore": ["eth9"], "vrfs": { "blue": 20 },
//                 "routes": true, "rules": true, "multipath": { "10": 4 }, "table_base": 40000 } }
//
// "name", "vlan" and "index" are required. An interface is up and has an MTU of 1500 unless the
// document says otherwise; "joined" says that a remote has joined on it. It has one IPv4 address,
// as in the library, and any number of IPv6 ones. "kernel" says what the device has to do with the
// machine's kernel: nothing, unless the document says so. An interface whose name is among those of
// its "interfaces" is a link of the machine: the document says its VLAN, and the kernel the rest.
// What the VRF device "blue" enslaves is in VLAN 20, unless the document says another VLAN or the link
// is a VLAN sub-interface; and VLAN 20 has its table.
#ifndef DEVICE_DOCUMENTS_DEVICE_DOCUMENT_H
#define DEVICE_DOCUMENTS_DEVICE_DOCUMENT_H

#include <string>
#include <string_view>

#include "folder.h"

namespace documents {

/// Reads "ADDRESS/LENGTH". Returns false for any other text; `network` or `prefix` may have been
/// changed then.
bool ReadPrefix(const std::string& text, Ip4Network& network);
bool ReadPrefix(const std::string& text, Tarsel::Ip6Prefix& prefix);

/// Reads the document of this name and fills everything of `file` but its stamp. What cannot be used
/// is found and left out: an optional member alone, an interface without its required members as a
/// whole. Returns whether there is a document at all.
bool ReadDeviceDocument(std::string_view text, const std::string& name, DeviceFile& file);

}  // namespace documents

#endif
