// What a document says of its VLANs besides routes, as plain data.
#ifndef DEVICE_DOCUMENTS_VLAN_SETTINGS_H
#define DEVICE_DOCUMENTS_VLAN_SETTINGS_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "element_names.h"
#include "place.h"

namespace documents {

/// The VLANs that a document names.
using VlanIds = std::set<unsigned short>;

/// Which routes of a VLAN are handed to its protocols: the flags of "REDISTRIBUTION".
struct Sources {
  bool fromStatic = true;
  bool fromConnected = true;
  bool fromBgp = true;
  bool fromRip = true;
  bool fromOspf = true;
};

struct Profile {
  Sources sources;
  Place origin;
};

/// The profile of each VLAN that has one: an entry with a "REDISTRIBUTION" that is not empty.
using Profiles = std::map<unsigned short, Profile>;

/// Sets of protocols by VLAN: bit n stands for the protocol type n (DcRouterMgr::ProtocolType).
using ProtocolSets = std::map<unsigned short, unsigned int>;

/// A row that belongs to an interface of the VLAN, by the interface's index.
struct InterfaceRow {
  unsigned short vlan = 0;
  std::uint16_t index = 0;
  Position position;              // of its name
  ElementNames::Element element;  // for InterfaceRows::PlaceOf
};

/// Those of one document.
class InterfaceRows {
 public:
  const std::vector<InterfaceRow>& Get() const { return m_rows; }
  /// Where the row's name is.
  Place PlaceOf(const InterfaceRow& row, const std::string& file) const {
    return {file, row.position, MemberPath(m_names.PathOf(row.element), "Name")};
  }

 private:
  friend class RowsCheck;

  std::vector<InterfaceRow> m_rows;
  ElementNames m_names;
};

}  // namespace documents

#endif
