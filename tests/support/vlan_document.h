// Documents of many VLANs.
#ifndef TESTS_SUPPORT_VLAN_DOCUMENT_H
#define TESTS_SUPPORT_VLAN_DOCUMENT_H

#include <string>

namespace test_support {

/// A VLAN document of about 850 bytes per VLAN (ids 1 to `vlans`), with at most one row in each
/// list. `changed`, when not 0, is a VLAN whose administrative distances differ.
std::string VlanDocument(unsigned int vlans, unsigned int changed = 0);

/// The same with one row in the list of each of a VLAN's seven routers.
std::string FullVlanDocument(unsigned int vlans);

/// The document without any VLAN: withdraws the file.
std::string EmptyDocument();

}  // namespace test_support

#endif
