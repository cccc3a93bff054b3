// The common base of the OSPF routers.
#ifndef VANTACORE_DC_OSPF_ROUTER_BASE_H
#define VANTACORE_DC_OSPF_ROUTER_BASE_H

#include <map>

#include "routers/ospf_area_cb.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Adds the area table to a router. The operations after CreateConfigList are the OSPF routers' own;
/// their order is fixed. Area and router ids are 32-bit values as OSPF writes them (0 is area
/// 0.0.0.0).
class VANTACORE_API DcOspfRouterBase : public DcRouterBase {
 public:
  DcOspfRouterBase(const string& name, unsigned short vlan, DcProtoConfigBase* config);
  ~DcOspfRouterBase() override;

  bool CreateConfigList(DcConfigLists& lists) override = 0;

  /// The protocol instance that this router runs in.
  virtual unsigned int GetInstanceId() const = 0;
  /// An area's row has come to, or gone from, the stack.
  virtual void ActivateArea(unsigned int areaId) = 0;
  virtual void DeactivateArea(unsigned int areaId) = 0;
  virtual bool IsAreaActive(unsigned int areaId) const = 0;
  virtual void AddAreaInterface(unsigned int areaId, unsigned int ifIndex) = 0;
  virtual void RemoveAreaInterface(unsigned int areaId, unsigned int ifIndex) = 0;
  virtual void SetRouterId(unsigned int routerId) = 0;
  virtual unsigned int GetRouterId() const = 0;
  virtual void SetAdminStatus(bool up) = 0;
  virtual bool GetAdminStatus() const = 0;
  virtual void SetReferenceBandwidth(unsigned int megabitsPerSecond) = 0;
  virtual void SetPassiveInterface(unsigned int ifIndex, bool passive) = 0;
  virtual void DisplayAreas(DcConsole* console) const = 0;

 protected:
  std::map<unsigned int, OspfAreaCB> m_areas;
};

}  // namespace Tarsel

#endif
