// The interfaces of RIP.
#ifndef DEVICE_ROUTERS_RIP_ROW_H
#define DEVICE_ROUTERS_RIP_ROW_H

#include <string>

#include "declared_members.h"
#include "group_reader.h"
#include "tarsel/string.h"

namespace Tarsel {
class DcRouterBase;
}

namespace routers {

/// The columns of an interface, named RIP_<vlan>_<interface index>.
struct RipRow {
  static constexpr const char* LIST = "RipInterfaces";
  static constexpr const char* MEMBER = IF_LIST;

  unsigned int cost = RIP_COST.standard;
  bool passive = RIP_PASSIVE.standard != 0;
  bool enabled = documents::ENABLED.standard != 0;
  int ipProto;

  explicit RipRow(int proto) : ipProto(proto) {}
  void Read(GroupReader& reader);
  bool IsSameRow(const RipRow&) const { return true; }
  std::string GetKey(unsigned int id) const { return std::to_string(id); }
  Tarsel::string GetContents() const;
  int GetIpProto() const { return ipProto; }
  void Enter(Tarsel::DcRouterBase&, unsigned int) const {}
  void Leave(Tarsel::DcRouterBase&, unsigned int) const {}
};

bool operator==(const RipRow& a, const RipRow& b);

}  // namespace routers

#endif
