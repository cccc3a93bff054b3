// The common base of the OSPF routers.
#ifndef VANTACORE_DC_OSPF_ROUTER_BASE_H
#define VANTACORE_DC_OSPF_ROUTER_BASE_H

#include <map>

#include "routers/ospf_area_cb.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Adds the area table to a router. The operations after CreateConfigList are the OSPF routers'
/// own; their order is fixed. Area and router ids are 32-bit values as OSPF writes them (0 is area
/// 0.0.0.0).
class VANTACORE_API DcOspfRouterBase : public DcRouterBase {
 public:
  /// Like DcRouterBase's constructor; the area table is empty.
  DcOspfRouterBase(const string& name, unsigned short vlan, DcProtoConfigBase* config);
  ~DcOspfRouterBase() override;

  bool CreateConfigList(DcConfigLists& lists) override = 0;

  /// The protocol instance that this router runs in.
  virtual unsigned int GetInstanceId() const = 0;
  /// The area's row now exists in the stack; an unknown area is created.
  virtual void ActivateArea(unsigned int areaId) = 0;
  /// The area's row no longer exists in the stack.
  virtual void DeactivateArea(unsigned int areaId) = 0;
  /// Whether the area's row is in the stack; false for an unknown area.
  virtual bool IsAreaActive(unsigned int areaId) const = 0;
  /// Adds an interface to the area; an unknown area is created.
  virtual void AddAreaInterface(unsigned int areaId, unsigned int ifIndex) = 0;
  /// Removes an interface from the area.
  virtual void RemoveAreaInterface(unsigned int areaId, unsigned int ifIndex) = 0;
  /// Stores the router id, 0 for none.
  virtual void SetRouterId(unsigned int routerId) = 0;
  /// The router id as last set, 0 before.
  virtual unsigned int GetRouterId() const = 0;
  /// Stores whether the protocol is to run.
  virtual void SetAdminStatus(bool up) = 0;
  /// What was last set.
  virtual bool GetAdminStatus() const = 0;
  /// The bandwidth from which interface costs are derived, in Mbit/s.
  virtual void SetReferenceBandwidth(unsigned int megabitsPerSecond) = 0;
  /// A passive interface is announced but forms no adjacencies.
  virtual void SetPassiveInterface(unsigned int ifIndex, bool passive) = 0;
  /// Prints the areas and their interfaces; the console stays the caller's.
  virtual void DisplayAreas(DcConsole* console) const = 0;

 protected:
  /// By area id.
  std::map<unsigned int, OspfAreaCB> m_areas;
};

}  // namespace Tarsel

#endif
