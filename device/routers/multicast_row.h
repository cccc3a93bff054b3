// The interfaces of IGMP and MLD.
#ifndef DEVICE_ROUTERS_MULTICAST_ROW_H
#define DEVICE_ROUTERS_MULTICAST_ROW_H

#include <set>
#include <string>

#include "declared_members.h"
#include "group_reader.h"
#include "tarsel/string.h"

namespace Tarsel {
class DcRouterBase;
}

namespace routers {

/// The columns of an interface, named IGMP_<vlan>_<interface index> or MLD_<vlan>_<interface
/// index>. "GROUPS" holds objects with an "address" each: groups that the interface receives
/// although nobody joined them.
struct MulticastRow {
  static constexpr const char* LIST = "MulticastInterfaces";
  static constexpr const char* MEMBER = IF_LIST;

  unsigned int version;
  unsigned int queryInterval = QUERY_INTERVAL.standard;  // seconds
  std::set<Tarsel::string> groups;                       // as texts in their usual form
  bool enabled = documents::ENABLED.standard != 0;
  int ipProto;

  explicit MulticastRow(int proto);
  void Read(GroupReader& reader);
  bool IsSameRow(const MulticastRow&) const { return true; }
  std::string GetKey(unsigned int id) const { return std::to_string(id); }
  Tarsel::string GetContents() const;
  int GetIpProto() const { return ipProto; }
  void Enter(Tarsel::DcRouterBase&, unsigned int) const {}
  void Leave(Tarsel::DcRouterBase&, unsigned int) const {}

 private:
  void ReadGroups(GroupReader& reader);
};

bool operator==(const MulticastRow& a, const MulticastRow& b);

/// The usual form of a multicast address of the family; empty if the text is not one.
Tarsel::string ParseGroupAddress(const char* text, int ipProto);

}  // namespace routers

#endif
