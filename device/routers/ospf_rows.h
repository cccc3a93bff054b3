// OSPF's areas and interfaces.
#ifndef DEVICE_ROUTERS_OSPF_ROWS_H
#define DEVICE_ROUTERS_OSPF_ROWS_H

#include <string>

#include "group_reader.h"
#include "tarsel/string.h"

namespace Tarsel {
class DcRouterBase;
}

namespace routers {

/// The columns of an area, named OSPF_<vlan>_<id>. Without "area" the id is the area's number.
struct OspfArea {
  static constexpr const char* LIST = "OspfAreas";
  static constexpr const char* MEMBER = "AREA_LIST";

  enum Type : unsigned int { NORMAL, STUB, NSSA };

  unsigned char area[4] = {};
  Type type = NORMAL;
  unsigned int defaultCost = 1;
  bool enabled = true;
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
  static constexpr const char* MEMBER = "IF_LIST";

  unsigned short number = 0;
  unsigned short secondIndex = 0;
  unsigned char area[4] = {};
  unsigned int cost = 10;
  unsigned int priority = 1;
  unsigned int helloInterval = 10;  // seconds
  unsigned int deadInterval = 40;   // seconds
  bool passive = false;
  bool enabled = true;
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
