// OSPF's areas and interfaces.
#ifndef DEVICE_ROUTERS_OSPF_ROWS_H
#define DEVICE_ROUTERS_OSPF_ROWS_H

#include <string>

#include "declared_members.h"
#include "group_reader.h"
#include "tarsel/string.h"

namespace Tarsel {
class DcRouterBase;
}

namespace routers {

/// The columns of an area, named OSPF_<vlan>_<id>. Without "area" the id is the area's number.
struct OspfArea {
  static constexpr const char* LIST = "OspfAreas";
  static constexpr const char* MEMBER = routers::AREA_LIST;

  unsigned char area[4] = {};
  unsigned int type = AREA_TYPE.standard;  // the index of one of AREA_TYPES
  unsigned int defaultCost = AREA_DEFAULT_COST.standard;
  bool enabled = documents::ENABLED.standard != 0;
  int ipProto;

  explicit OspfArea(int proto) : ipProto(proto) {}
  void Read(GroupReader& reader);
  bool IsSameRow(const OspfArea&) const { return true; }
  std::string GetKey(unsigned int id) const { return std::to_string(id); }
  Tarsel::string GetContents() const;
  int GetIpProto() const { return ipProto; }
  void Enter(Tarsel::DcRouterBase& router, unsigned int id) const;
  void Leave(Tarsel::DcRouterBase& router, unsigned int id) const;
};

bool operator==(const OspfArea& a, const OspfArea& b);

/// The columns of an interface, named OSPF_<vlan>_<interface index>_<number>_<second index>: the
/// number and the second index distinguish several rows of one interface.
struct OspfInterface {
  static constexpr const char* LIST = "OspfInterfaces";
  static constexpr const char* MEMBER = routers::IF_LIST;

  unsigned short number = 0;
  unsigned short secondIndex = 0;
  unsigned char area[4] = {};
  unsigned int cost = OSPF_COST.standard;
  unsigned int priority = OSPF_PRIORITY.standard;
  unsigned int helloInterval = OSPF_HELLO_INTERVAL.standard;  // seconds
  unsigned int deadInterval = OSPF_DEAD_INTERVAL.standard;    // seconds
  bool passive = OSPF_PASSIVE.standard != 0;
  bool enabled = documents::ENABLED.standard != 0;
  int ipProto;

  explicit OspfInterface(int proto) : ipProto(proto) {}
  void Read(GroupReader& reader);
  bool IsSameRow(const OspfInterface& other) const;
  std::string GetKey(unsigned int id) const;
  Tarsel::string GetContents() const;
  int GetIpProto() const { return ipProto; }
  void Enter(Tarsel::DcRouterBase& router, unsigned int id) const;
  void Leave(Tarsel::DcRouterBase& router, unsigned int id) const;
};

bool operator==(const OspfInterface& a, const OspfInterface& b);

}  // namespace routers

#endif
