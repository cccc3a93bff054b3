// The OSPF routers.
#ifndef ROUTERS_OSPF_ROUTERS_H
#define ROUTERS_OSPF_ROUTERS_H

#include <set>

#include "routers/protocol_interface.h"
#include "tarsel/export.h"
#include "vantacore/dc_ospf_router_base.h"

namespace Tarsel {

class DcConsole;

/// The area and interface bookkeeping that both OSPF routers share.
class TARSEL_API DcOspfRouter : public DcOspfRouterBase {
 public:
  /// `ipProto` is 0 for OSPFv2, 41 for OSPFv3. Takes ownership of `config`.
  DcOspfRouter(const string& name, unsigned short vid, int ipProto, DcProtoConfigBase* config);
  ~DcOspfRouter() override;

  bool CreateConfigList(DcConfigLists& lists) override;
  unsigned int GetInstanceId() const override;
  void ActivateArea(unsigned int areaId) override;
  void DeactivateArea(unsigned int areaId) override;
  bool IsAreaActive(unsigned int areaId) const override;
  void AddAreaInterface(unsigned int areaId, unsigned int ifIndex) override;
  void RemoveAreaInterface(unsigned int areaId, unsigned int ifIndex) override;
  void SetRouterId(unsigned int routerId) override;
  unsigned int GetRouterId() const override;
  void SetAdminStatus(bool up) override;
  bool GetAdminStatus() const override;
  void SetReferenceBandwidth(unsigned int megabitsPerSecond) override;
  void SetPassiveInterface(unsigned int ifIndex, bool passive) override;
  void DisplayAreas(DcConsole* console) const override;

 private:
  int m_ipProto;
  unsigned int m_routerId;
  unsigned int m_referenceBandwidth;
  bool m_adminUp;
  std::set<unsigned int> m_passive;
};

/// OSPFv2 of one VLAN; configured by the member "OSPF".
class TARSEL_API DcOspfv2Router : public DcOspfRouter {
 public:
  /// For one VLAN; created by the router manager.
  explicit DcOspfv2Router(unsigned short vid);
  /// Console handler of `ip ospf`.
  static void ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);
};

/// OSPFv3 of one VLAN; configured by the member "OSPFV3".
class TARSEL_API DcOspfv3Router : public DcOspfRouter {
 public:
  /// For one VLAN; created by the router manager.
  explicit DcOspfv3Router(unsigned short vid);
  /// Console handler of `ip6 ospf`.
  static void ConsoleCommand(void* context, DcConsole* console, int argc, char** argv);
};

/// OSPFv3's protocol configuration.
class TARSEL_API Ospfv3Interface : public ProtocolInterface {
 public:
  /// Keeps the reference only: the router is still being built.
  explicit Ospfv3Interface(DcRouterBase& router);
};

}  // namespace Tarsel

#endif
